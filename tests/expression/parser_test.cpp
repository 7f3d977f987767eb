// What the parser refuses and why, what it makes of the rest, and that printing is its inverse.
#include "expression/expression_parser.h"

#include <gtest/gtest.h>

#include "expression/random_formula.h"

namespace qvr {
namespace {

std::string Repeat(const std::string& text, int count) {
  std::string result;
  for (int i = 0; i < count; ++i) {
    result += text;
  }
  return result;
}

TEST(Parser, RefusesWithMessageAndPlace) {
  const struct {
    std::string text;
    const char* message;
    int position;
  } cases[] = {
      {"", "Empty expression", 0},
      {" \t\n", "Empty expression", 3},
      {"a b", "Invalid expression", 3},
      {"(1))", "Invalid expression", 4},
      {"1.5e", "Invalid expression", 4},
      {"0x", "Invalid expression", 2},
      {"1 ? 2", "':' expected", 5},
      {"1 ? 2 , 3", "':' expected", 7},
      {"1 + Foo(x)", "Unknown function: Foo", 8},
      {"Sin()", "Too few parameters in function call", 5},
      {"Atan2(1)", "Too few parameters in function call", 8},
      {"Atan2(1,)", "Too few parameters in function call", 9},
      {"Atan2(1 2)", "Comma expected in a function call", 9},
      {"Atan2(1", "Comma expected in a function call", 7},
      {"Sum(1 2)", "Comma expected in a function call", 7},
      {"Sum(1", "Comma expected in a function call", 5},
      {"Sum()", "Too few parameters in vararg function call", 5},
      {"Sum(1,)", "Too few parameters in vararg function call", 7},
      {"Sum(" + Repeat("1,", 64) + "1)", "Max parameter count for vararg function call exceeded", 133},
      {"Sin(1,2)", "')' expected in a function call", 6},
      {"Pi(1)", "')' expected in a function call", 4},
      {"(1", "')' expected", 2},
      {"(1 2", "')' expected", 4},
      {"x == 1", "Factor expected", 4},
      {"+1", "Factor expected", 1},
      {"2*", "Factor expected", 2},
      {"Sum(,1)", "Factor expected", 5},
      {"x != 1", "Invalid token", 3},
      {"_x", "Invalid token", 1},
      {"x + $ + )", "Invalid token", 5},
      {"x\xe9", "Invalid token", 2},
      {".", "Invalid token", 1},
      {"1+1e999", "Invalid token", 7},
      {Repeat("(", 501) + "1", "Expression too complex", 502},
      {Repeat("-", 501) + "1", "Expression too complex", 501},
      {Repeat("Sin(", 501) + "1", "Expression too complex", 2005},
      {Repeat("1?1:", 501) + "1", "Expression too complex", 2003},
      {"1" + Repeat("+1", 10'000), "Expression too complex", 20001},
  };
  for (const auto& item : cases) {
    std::string message = "old";
    int position = -1;
    EXPECT_EQ(QVR_expression::Parse(item.text.c_str(), &message, &position), nullptr) << item.text;
    EXPECT_EQ(message, item.message) << item.text;
    EXPECT_EQ(position, item.position) << item.text;
    EXPECT_EQ(QVR_expression::Parse(item.text.c_str(), nullptr, nullptr), nullptr);
  }
}

TEST(Parser, GroupsAndPrints) {
  // The last column is the printed text if it isn't the first one.
  const struct {
    const char* text;
    double value;  // with all variables 7
    const char* printed;
  } cases[] = {
      {"2^3^2", 64, nullptr},
      {"2^(3^2)", 512, nullptr},
      {"2^-1", 0.5, nullptr},
      {"-2^2", 4, nullptr},
      {"-(2^2)", -4, nullptr},
      {"- -x", 7, "x"},
      {"10 - 4 - 3", 3, "10-4-3"},
      {"10-(4-3)", 9, nullptr},
      {"12/2/(3*2)", 1, nullptr},
      {"(1+2)*3", 9, nullptr},
      {"1<2=1", 1, nullptr},
      {"1<(2=1)", 0, nullptr},
      {"3 <> 3", 0, "3<>3"},
      {"3>=3>2", 0, nullptr},
      {"2<=1", 0, nullptr},
      {"1 ? 0 : 3 ? 4 : 5", 0, nullptr},
      {"(1 ? 0 : 3) ? 4 : 5", 5, nullptr},
      {"1 ? 0 ? 1 : 2 : 3", 2, nullptr},
      {"-(1 ? 2 : 3)+1", -1, nullptr},
      {"x-(-y)*2", 21, "x--y*2"},
      {"x_1*SIN(0)+ sum(1,2, )", 3, "x_1*Sin(0)+Sum(1,2)"},
      {"Pi()-Pi()*1", 0, nullptr},
      {"Pi", 7, nullptr},
      {"1e5", 1e5, "100000"},
      {"1.5E-3+.5+2.", 2.5015, "0.0015+0.5+2"},
      {"0x1P4", 16, "16"},
      {"0.1234567890123", 0.1234567890123, nullptr},
      {"0.30000000000000004", 0.1 + 0.2, nullptr},
      {"5e-324", 5e-324, "4.94066e-324"},
  };
  for (const auto& item : cases) {
    const ExpressionPtr tree = ParseOrFail(item.text);
    for (const char* name : {"x", "y", "x_1", "Pi"}) {
      tree->AssignVariable(name, 7);
    }
    EXPECT_DOUBLE_EQ(tree->EvaluateSigned(), item.value) << item.text;
    EXPECT_EQ(tree->GetText(), item.printed == nullptr ? item.text : item.printed);
  }
}

TEST(Parser, ReadsBackWhatIsPrinted) {
  RandomFormula random(20240611, FormulaKind::Any);
  for (int i = 0; i < 10'000; ++i) {
    const ExpressionPtr tree = random.Make(1 + i % 6);
    const ExpressionPtr again = ParseOrFail(tree->GetText());
    ASSERT_TRUE(SameTree(*again, *tree)) << tree->GetText();
    ASSERT_TRUE(!tree->IsDeterministic() || SameNumber(again->EvaluateSigned(), tree->EvaluateSigned()));
  }
}

// A language of its own: no variable "bad", one unknown call with a fixed count, and two translations.
class OwnLanguage : public QVR_expressionParser {
 protected:
  bool ValidateVariable(std::string_view name, std::string& reason) override {
    reason = "not known";
    return name != "bad";
  }
  bool LookupFunction(std::string_view name, std::unique_ptr<QVR_function>& function, int& arity) override {
    arity = 2;
    function = std::make_unique<QVR_unknownFunction>(name);
    return true;
  }
  ExpressionPtr TranslateFunction(std::unique_ptr<QVR_function> function, std::string& reason) override {
    if (function->GetName() == "first") {
      return std::move(function->arguments[0]);
    }
    reason = "refused";
    return function->GetName() == "no" ? nullptr : std::move(function);
  }
};

TEST(Parser, AsksItsSubclass) {
  const struct {
    const char* text;
    const char* result;
  } cases[] = {
      {"1+bad*2", "Invalid variable 'bad': not known"},
      {"1+no(2,3)", "refused"},
      {"keep(bad,1)", "Invalid variable 'bad': not known"},
      {"bad $", "Invalid token"},
      {"keep(1)", "Too few parameters in function call"},
      {"2*first(x+1,y)", "2*(x+1)"},
      {"-keep(1,x)", "-keep(1,x)"},
  };
  OwnLanguage parser;
  for (const auto& item : cases) {
    std::string message;
    const ExpressionPtr tree = parser.Parse(item.text, &message, nullptr);
    EXPECT_EQ(tree == nullptr ? message : tree->GetText(), item.result) << item.text;
  }
}

}  // namespace
}  // namespace qvr
