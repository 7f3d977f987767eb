// Evaluation of trees and of their compiled form, copies, variables, and trees as high as they may get.
#include <gtest/gtest.h>

#include <cmath>

#include "expression/compiled_expression.h"
#include "expression/expression_parser.h"
#include "expression/formula_support.h"
#include "expression/isolate_variable.h"
#include "expression/value_table.h"

namespace qvr {
namespace {

std::string traced;

// T notes its argument, a digit, and returns it.
constexpr FunctionRow kTracingRow = {.name = "T", .arity = 1, .evaluate = [](const ArgumentBlock& block) {
                                       traced += static_cast<char>('0' + static_cast<int>(block.values[0]));
                                       return block.values[0];
                                     }};

class TracingParser : public QVR_expressionParser {
 protected:
  bool LookupFunction(std::string_view name, std::unique_ptr<QVR_function>& function, int& arity) override {
    arity = 1;
    function = std::make_unique<QVR_function>(kTracingRow);
    return name == "T" || QVR_expressionParser::LookupFunction(name, function, arity);
  }
};

constexpr const char* kOrders = R"(
  T(1)+T(2)*T(3) => 123;  (T(1)<T(2))^T(3) => 123;  T(1+T(4)) => 45;  T(0) ? T(1) : T(2) => 02;
  -T(1) ? T(2) : T(3) => 12;  T(1)+(T(0) ? 5 : T(0) ? 6 : -T(7))*T(8) => 10078;
  If(T(1),T(2),T(3)) => 123;  Sum(T(3),T(0) ? T(1) : 4,T(2)) => 302
)";

TEST(Evaluate, GoesInOrderAndOnlyWhereItMust) {
  for (const auto& [text, order, unused] : ReadCases(kOrders)) {
    const ExpressionPtr tree = TracingParser().Parse(text.c_str(), nullptr, nullptr);
    ASSERT_NE(tree, nullptr) << text;
    traced.clear();
    const double value = tree->EvaluateSigned();
    EXPECT_EQ(traced, order) << text;
    traced.clear();
    const ValueTable none;
    EXPECT_TRUE(SameNumber(CompiledExpression(*tree, none).Evaluate(none), value)) << text;
    EXPECT_EQ(traced, order) << text;
  }
}

TEST(Evaluate, CompiledFormAgreesBitForBit) {
  RandomFormula random(31, FormulaKind::Any);
  ValueTable table;
  const int slot = table.GetOrAddVariable("h");
  table.GetOrAddVariable("a");
  for (int i = 0; i < 10'000; ++i) {
    const ExpressionPtr tree = random.Make(1 + i % 7);
    if (!tree->IsDeterministic()) {
      continue;
    }
    tree->AssignVariable("b", i);
    CompiledExpression compiled(*tree, table);
    tree->Bind(&table);
    table[slot] = i % 5 - 2;
    ASSERT_TRUE(SameNumber(compiled.Evaluate(table), tree->EvaluateSigned())) << tree->GetText();
  }
}

TEST(Evaluate, UnknownCallsAreNotANumber) {
  const ValueTable none;
  const ExpressionPtr tree =
      MakeBinary(ExpressionType::Plus, MakeConstant(1.0), std::make_unique<QVR_unknownFunction>("f"));
  EXPECT_TRUE(std::isnan(tree->Evaluate()));
  EXPECT_TRUE(std::isnan(CompiledExpression(*tree, none).Evaluate(none)));
  EXPECT_EQ(tree->Clone()->GetText(), "1+f()");
}

TEST(Tree, VariablesAreBoundNamedAndCounted) {
  const ExpressionPtr tree = ParseOrFail("y+x*Sum(x,z)-(x ? y : w)");
  std::vector<std::string> names = {"x"};
  tree->GetVariables(names);
  EXPECT_EQ(names, (std::vector<std::string>{"x", "y", "z", "w"}));
  EXPECT_EQ(tree->CountVariable("x"), 3);
  tree->RenameVariable("x", "v");
  EXPECT_EQ(tree->GetText(), "y+v*Sum(v,z)-(v ? y : w)");
  for (const char* name : {"y", "v", "z", "w"}) {
    EXPECT_TRUE(IsUndefined(MakeVariable(name)->Evaluate()));
    tree->AssignVariable(name, 1.0);
  }
  ValueTable table;
  table[table.GetOrAddVariable("v")] = 10.0;
  EXPECT_EQ(table.GetOrAddVariable("v"), 0);
  tree->Bind(&table);
  tree->AssignVariable("v", 5.0);
  EXPECT_EQ(tree->Evaluate(), 1.0 + 10.0 * (10.0 + 1.0) - 1.0);
  EXPECT_EQ(tree->Clone()->Evaluate(), 1.0 + 5.0 * (5.0 + 1.0) - 1.0);
  tree->Bind(nullptr);
  EXPECT_EQ(tree->Evaluate(), tree->Clone()->Evaluate());
}

TEST(Tree, DistributionsCanBeReplaced) {
  ExpressionPtr tree = ParseOrFail("Normal(0,1) ? -Normal(Normal(1,2),3) : Max(x,1+Uniform(0,1))");
  EXPECT_FALSE(tree->IsDeterministic());
  std::vector<ExpressionPtr*> owners;
  QVR_expression::CollectDistributions(tree, owners);
  ASSERT_EQ(owners.size(), 3U);
  for (std::size_t i = 0; i < owners.size(); ++i) {
    *owners[i] = MakeVariable("n" + std::to_string(i));
  }
  EXPECT_EQ(tree->GetText(), "n0 ? n1 : Max(x,1+n2)");
  EXPECT_TRUE(tree->IsDeterministic());
}

// The operations on trees at the limits: long sums lean to the left, nested ones to the right.
TEST(Tree, EveryOperationTakesTheGreatestHeight) {
  std::string sum = "x";
  for (int i = 1; i < kMaxExpressionHeight; ++i) {
    sum += "+1";
  }
  std::string nested = "1+x";
  for (int i = 1; i < 500; ++i) {
    nested.insert(0, "1+(").append(")");
  }
  std::string branches = "x";
  for (int i = 0; i < 500; ++i) {
    branches.insert(0, "0 ? 1 : ");
  }
  const struct {
    std::string text;
    int height;
    double added;
    bool solvable;
  } cases[] = {{sum, kMaxExpressionHeight, kMaxExpressionHeight - 1.0, true},
               {nested, 501, 500.0, true},
               {branches, 501, 0.0, false}};
  for (const auto& item : cases) {
    const ExpressionPtr parsed = ParseOrFail(item.text);
    parsed->AssignVariable("x", 0.5);
    ExpressionPtr tree = parsed->Clone();
    EXPECT_EQ(tree->GetHeight(), item.height);
    EXPECT_EQ(tree->GetText(), item.text);
    EXPECT_EQ(tree->Evaluate(), 0.5 + item.added);
    const ValueTable none;
    EXPECT_EQ(CompiledExpression(*tree, none).Evaluate(none), 0.5 + item.added);
    ExpressionPtr other = MakeVariable("y");
    EXPECT_EQ(IsolateVariable(tree, other, "x") == 0, item.solvable);
    other->AssignVariable("y", 0.0);
    EXPECT_EQ(other->EvaluateSigned(), item.solvable ? -item.added : 0.0);
  }
}

// All but evaluation goes on where the parser stops.
TEST(Tree, HeightCostsNoStack) {
  ExpressionPtr tree = MakeVariable("x");
  for (int i = 0; i < 200'000; ++i) {
    tree = MakeBinary(ExpressionType::Minus, MakeVariable("y"), std::move(tree));
  }
  EXPECT_FALSE(QVR_expression::Simplify(tree));
  EXPECT_TRUE(tree->Clone()->GetText() == tree->GetText());
  EXPECT_EQ(tree->GetHeight(), 200'001);
}

}  // namespace
}  // namespace qvr
