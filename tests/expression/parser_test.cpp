// What the parser refuses and why, what it makes of the rest, and that printing is its inverse.
#include "expression/expression_parser.h"

#include <gtest/gtest.h>

#include <cstdlib>

#include "expression/formula_support.h"

namespace qvr {
namespace {

std::string Repeat(const std::string& text, int count) {
  std::string result;
  for (int i = 0; i < count; ++i) {
    result += text;
  }
  return result;
}

void ExpectRefused(const std::string& text, const std::string& message, int position) {
  std::string errorText = "old";
  int errorPosition = -1;
  EXPECT_EQ(QVR_expression::Parse(text.c_str(), &errorText, &errorPosition), nullptr) << text;
  EXPECT_EQ(errorText, message) << text;
  EXPECT_EQ(errorPosition, position) << text;
  EXPECT_EQ(QVR_expression::Parse(text.c_str(), nullptr, nullptr), nullptr);
}

constexpr const char* kFaults = R"(
  a b => Invalid expression => 3;  (1)) => Invalid expression => 4;  1.5e => Invalid expression => 4;
  0x => Invalid expression => 2;  1 ? 2 => ':' expected => 5;  1 ? 2 , 3 => ':' expected => 7;
  1 + Foo(x) => Unknown function: Foo => 8;
  Sin() => Too few parameters in function call => 5;  Atan2(1) => Too few parameters in function call => 8;
  Atan2(1,) => Too few parameters in function call => 9;
  Atan2(1 2) => Comma expected in a function call => 9;  Atan2(1 => Comma expected in a function call => 7;
  Sum(1 2) => Comma expected in a function call => 7;  Sum(1 => Comma expected in a function call => 5;
  Sum() => Too few parameters in vararg function call => 5;
  Sum(1,) => Too few parameters in vararg function call => 7;
  Sin(1,2) => ')' expected in a function call => 6;  Pi(1) => ')' expected in a function call => 4;
  (1 => ')' expected => 2;  (1 2 => ')' expected => 4;
  x == 1 => Factor expected => 4;  +1 => Factor expected => 1;  2* => Factor expected => 2;
  Sum(,1) => Factor expected => 5;  x != 1 => Invalid token => 3;  _x => Invalid token => 1;
  x + $ + ) => Invalid token => 5;  . => Invalid token => 1;  1+1e999 => Invalid token => 7
)";

TEST(Parser, RefusesWithMessageAndPlace) {
  for (const auto& [text, message, position] : ReadCases(kFaults)) {
    ExpectRefused(text, message, std::stoi(position));
  }
  ExpectRefused("", "Empty expression", 0);
  ExpectRefused(" \t\n", "Empty expression", 3);
  ExpectRefused("x\xe9", "Invalid token", 2);
  ExpectRefused("Sum(" + Repeat("1,", 64) + "1)", "Max parameter count for vararg function call exceeded",
                133);
  const char* const tooComplex = "Expression too complex";
  ExpectRefused(Repeat("(", 501) + "1", tooComplex, 502);
  ExpectRefused(Repeat("-", 501) + "1", tooComplex, 501);
  ExpectRefused(Repeat("Sin(", 501) + "1", tooComplex, 2005);
  ExpectRefused(Repeat("1?1:", 501) + "1", tooComplex, 2003);
  ExpectRefused("1" + Repeat("+1", 10'000), tooComplex, 20001);
}

// Each with its value where all variables are 7, and how it prints if not as it stands.
constexpr const char* kAccepted = R"(
  2^3^2 => 64;  2^(3^2) => 512;  2^-1 => 0.5;  -2^2 => 4;  -(2^2) => -4;  - -x => 7 => x;
  10 - 4 - 3 => 3 => 10-4-3;  10-(4-3) => 9;  12/2/(3*2) => 1;  (1+2)*3 => 9;  x-(-y)*2 => 21 => x--y*2;
  1<2=1 => 1;  1<(2=1) => 0;  3 <> 3 => 0 => 3<>3;  3>=3>2 => 0;  2<=1 => 0;
  1 ? 0 : 3 ? 4 : 5 => 0;  (1 ? 0 : 3) ? 4 : 5 => 5;  1 ? 0 ? 1 : 2 : 3 => 2;  -(1 ? 2 : 3)+1 => -1;
  x_1*SIN(0)+ sum(1,2, ) => 3 => x_1*Sin(0)+Sum(1,2);  Pi()-Pi()*1 => 0;  Pi => 7;
  1e5 => 100000 => 100000;  1.5E-3+.5+2. => 2.5015 => 0.0015+0.5+2;  0x1P4 => 16 => 16;
  0.3333333333333333 => 0.3333333333333333;
  0.1234567890123 => 0.1234567890123;  0.30000000000000004 => 0.30000000000000004;
  5e-324 => 5e-324 => 4.94066e-324
)";

TEST(Parser, GroupsAndPrints) {
  for (const auto& [text, value, printed] : ReadCases(kAccepted)) {
    const ExpressionPtr tree = ParseOrFail(text);
    for (const char* name : {"x", "y", "x_1", "Pi"}) {
      tree->AssignVariable(name, 7);
    }
    EXPECT_EQ(tree->EvaluateSigned(), std::strtod(value.c_str(), nullptr)) << text;
    EXPECT_EQ(tree->GetText(), printed.empty() ? text : printed);
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
  constexpr const char* kCases = R"(
    1+bad*2 => Invalid variable 'bad': not known;  keep(bad,1) => Invalid variable 'bad': not known;
    1+no(2,3) => refused;  bad $ => Invalid token;  keep(1) => Too few parameters in function call;
    2*first(x+1,y) => 2*(x+1);  -keep(1,x) => -keep(1,x)
  )";
  OwnLanguage parser;
  for (const auto& [text, result, unused] : ReadCases(kCases)) {
    std::string message;
    const ExpressionPtr tree = parser.Parse(text.c_str(), &message, nullptr);
    EXPECT_EQ(tree == nullptr ? message : tree->GetText(), result) << text;
  }
}

}  // namespace
}  // namespace qvr
