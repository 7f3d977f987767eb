// Solving for a variable: the solution, put back, gives what one started from.
#include <gtest/gtest.h>

#include <cmath>
#include <random>

#include "expression/isolate_variable.h"
#include "expression/random_formula.h"
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

TEST(Solve, InvertsEveryOperatorAndFunction) {
  const struct {
    const char* formula;
    double low;  // range of x; a lies in 1.2 to 3
    double high;
  } cases[] = {
      {"x+a", -9, 9},        {"a+x", -9, 9},           {"x-a", -9, 9},        {"a-x", -9, 9},
      {"x*a", -9, 9},        {"a*x", -9, 9},           {"x/a", -9, 9},        {"a/x", 0.1, 9},
      {"x^a", 0.1, 5},       {"a^x", -5, 5},           {"Sin(x)", -1.5, 1.5}, {"Asin(x)", -0.99, 0.99},
      {"Cos(x)", 0.05, 3.1}, {"Acos(x)", -0.99, 0.99}, {"Tan(x)", -1.5, 1.5}, {"Atan(x)", -9, 9},
      {"Exp(x)", -5, 5},     {"Ln(x)", 0.1, 9},        {"Sqr(x)", 0.1, 9},    {"Sqrt(x)", 0.1, 9},
      {"Pow10(x)", -3, 3},   {"Log10(x)", 0.1, 9},     {"Log(x,a)", 0.1, 9},  {"Log(a,x)", 1.1, 9},
  };
  std::mt19937 random(5);
  for (const auto& item : cases) {
    const std::string f = item.formula;
    std::string mirrored = f;
    mirrored.replace(f.rfind('x'), 1, "-x");
    for (int i = 0; i < 20; ++i) {
      const double x = std::uniform_real_distribution<double>(item.low, item.high)(random);
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
      formula = kBefore[kind] + formula + kAfter[kind];
    }
    ExpectInverse(formula, 1 + static_cast<double>(random() % 1000) / 999.0, 1.5);
  }
}

TEST(Solve, WholeEquations) {
  const struct {
    const char* text;
    const char* solution;  // for x; null if there is none
  } cases[] = {
      {"x=Normal(0,1)", "Normal(0,1)"},
      {"y+1=x+3", "y-2"},
      {"-x=2^2", "-4"},
      {"-x=1<2", "-1"},
      {"x*0+x=y", "y"},
      {"z=x*(y+w)", "z/(y+w)"},
      {"x*x=y", nullptr},
      {"x+x=y", nullptr},
      {"a=b", nullptr},
      {"Abs(x)=y", nullptr},
      {"Sum(x,1)=y", nullptr},
      {"(x<1)=y", nullptr},
      {"(x ? 1 : 2)=y", nullptr},
      {"Normal(x,1)=y", nullptr},
      {"Atan2(x,1)=y", nullptr},
  };
  for (const auto& item : cases) {
    const ExpressionPtr equation = ParseOrFail(item.text);
    QVR_binaryOperator* const pair = AsBinary(*equation);
    const int status = IsolateVariable(pair->left, pair->right, "x");
    EXPECT_EQ(status, item.solution == nullptr ? QVR_OUT_OF_RANGE : QVR_OKAY) << item.text;
    if (status == QVR_OKAY && item.solution != nullptr) {
      EXPECT_EQ(equation->GetText(), std::string("x=") + item.solution) << item.text;
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
