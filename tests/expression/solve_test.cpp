// Solving for a variable: the solution, put back, gives what one started from.
#include <gtest/gtest.h>

#include <cmath>
#include <random>

#include "expression/formula_support.h"
#include "expression/isolate_variable.h"
#include "model/status.h"

namespace qvr {
namespace {

// Solves formula = y for x, and compares the solution at y = formula(x) with x. Other variables are a.
void ExpectInverse(const std::string& formula, double x, double a) {
  const ExpressionPtr forward = ParseOrFail(formula);
  ExpressionPtr left = forward->Clone();
  ExpressionPtr solution = MakeVariable("y");
  ASSERT_EQ(IsolateVariable(left, solution, "x"), QVR_OKAY) << formula;
  EXPECT_EQ(left->GetText(), "x");
  EXPECT_EQ(solution->CountVariable("x"), 0);
  forward->AssignVariable("x", x);
  forward->AssignVariable("a", a);
  const double y = forward->EvaluateSigned();
  ASSERT_TRUE(std::isfinite(y)) << formula << " at " << x;
  solution->AssignVariable("a", a);
  solution->AssignVariable("y", y);
  EXPECT_NEAR(solution->EvaluateSigned(), x, 1e-9 * (1 + std::fabs(x)))
      << formula << " solved to " << solution->GetText() << " at x=" << x << " a=" << a;
}

// With the range of x; a lies between 1.2 and 3.
constexpr const char* kInvertible = R"(
  x+a => -9 => 9;  a+x => -9 => 9;  x-a => -9 => 9;  a-x => -9 => 9;  x*a => -9 => 9;  a*x => -9 => 9;
  x/a => -9 => 9;  a/x => 0.1 => 9;  x^a => 0.1 => 5;  a^x => -5 => 5;  Sin(x) => -1.5 => 1.5;
  Asin(x) => -0.99 => 0.99;  Cos(x) => 0.05 => 3.1;  Acos(x) => -0.99 => 0.99;  Tan(x) => -1.5 => 1.5;
  Atan(x) => -9 => 9;  Exp(x) => -5 => 5;  Ln(x) => 0.1 => 9;  Sqr(x) => 0.1 => 9;  Sqrt(x) => 0.1 => 9;
  Pow10(x) => -3 => 3;  Log10(x) => 0.1 => 9;  Log(x,a) => 0.1 => 9;  Log(a,x) => 1.1 => 9
)";

TEST(Solve, InvertsEveryOperatorAndFunction) {
  std::mt19937 random(5);
  for (const auto& [f, low, high] : ReadCases(kInvertible)) {
    std::uniform_real_distribution<double> range(std::stod(low), std::stod(high));
    std::string mirrored = f;
    mirrored.replace(f.rfind('x'), 1, "-x");
    for (int i = 0; i < 20; ++i) {
      const double x = range(random);
      const double a = std::uniform_real_distribution<double>(1.2, 3)(random);
      ExpectInverse(f, x, a);
      ExpectInverse("-(" + f + ")", x, a);
      ExpectInverse(mirrored, -x, a);
      ExpectInverse("a-3*(2-" + f + "/4)", x, a);
    }
  }
}

TEST(Solve, UnwindsRandomLayers) {
  std::mt19937 random(6);
  for (int i = 0; i < 500; ++i) {
    std::string formula = "x";
    for (int layer = 0; layer < 8; ++layer) {
      static const char* const kBefore[] = {"(", "a-(", "2*(", "-(", "-(1+(", "5*Atan(0.1*("};
      static const char* const kAfter[] = {")/3", ")", ")", ")-a", "))", "))"};
      const std::size_t kind = random() % 6;
      formula.insert(0, kBefore[kind]).append(kAfter[kind]);
    }
    ExpectInverse(formula, 1 + static_cast<double>(random() % 1000) / 999.0, 1.5);
  }
}

// With the solution for x, if there is one.
constexpr const char* kEquations = R"(
  x=Normal(0,1) => Normal(0,1);  y+1=x+3 => y-2;  -x=2^2 => -4;  -x=1<2 => -1;  x*0+x=y => y;
  z=x*(y+w) => z/(y+w);  x*x=y;  x+x=y;  a=b;  Abs(x)=y;  Sum(x,1)=y;  (x<1)=y;  (x ? 1 : 2)=y;
  Normal(x,1)=y;  Atan2(x,1)=y
)";

TEST(Solve, WholeEquations) {
  for (const auto& [text, solution, unused] : ReadCases(kEquations)) {
    const ExpressionPtr equation = ParseOrFail(text);
    QVR_binaryOperator* const pair = AsBinary(*equation);
    const int status = IsolateVariable(pair->left, pair->right, "x");
    EXPECT_EQ(status, solution.empty() ? QVR_OUT_OF_RANGE : QVR_OKAY) << text;
    if (status == QVR_OKAY) {
      EXPECT_EQ(equation->GetText(), "x=" + solution) << text;
    }
  }
}

TEST(Solve, StepTakesTheLeftOccurrence) {
  ExpressionPtr side = ParseOrFail("-(x*Sin(x))");
  ExpressionPtr other = ParseOrFail("y+1");
  EXPECT_FALSE(QVR_expression::SolveStep("z", side, other));
  EXPECT_EQ(side->GetText() + "=" + other->GetText(), "-(x*Sin(x))=y+1");
  EXPECT_TRUE(QVR_expression::SolveStep("x", side, other));
  EXPECT_EQ(side->GetText() + "=" + other->GetText(), "x=-(y+1)/Sin(x)");
  EXPECT_FALSE(QVR_expression::SolveStep("x", side, other));
}

}  // namespace
}  // namespace qvr
