// Each rule on its own, and that none changes the value.
#include <gtest/gtest.h>

#include <cmath>

#include "expression/random_formula.h"

namespace qvr {
namespace {

TEST(Simplify, AppliesOneRuleAPass) {
  const struct {
    const char* text;
    const char* once;  // null if nothing changes
  } cases[] = {
      {"-(x+y)", "-x+-y"},
      {"1+-3", "-2"},
      {"0+-x", "-x"},
      {"-x+0", "-x"},
      {"x+-2", "x-2"},
      {"-2+x", "x+-2"},
      {"x+1+2", "x+3"},
      {"x-5+2", "x+-3"},
      {"x-1+5", "x+4"},
      {"-(x+1)+2", "-x+-1+2"},
      {"x+y", nullptr},
      {"x*1+0*y", "x+0"},
      {"1e+308*10+x", nullptr},
      {"1e+308+1e+308", nullptr},
      {"x+1e+308+1e+308", nullptr},

      {"-(x-y)", "y-x"},
      {"1-3", "-2"},
      {"0-x", "-x"},
      {"0--x", "x"},
      {"x-0", "x"},
      {"x--2", "x+2"},
      {"2--x", "2+x"},
      {"x--y", nullptr},
      {"x+3-1", "x+2"},
      {"x+1-3", "x+-2"},
      {"x-1-2", "x-3"},
      {"-(x-1)-2", "1-x-2"},
      {"(x+0)-(0+y)", "x-y"},

      {"-(x*y)", "-x*y"},
      {"-2*3", "-6"},
      {"0*Normal(0,1)", "0"},
      {"x*0", "0"},
      {"1*x", "x"},
      {"x*1", "x"},
      {"-1*x", "-x"},
      {"x*-1", "-1*x"},
      {"x*2", "2*x"},
      {"a*(b+c)", "a*b+a*c"},
      {"a*-(b-c)", "-(a*b-a*c)"},
      {"(a+b)*c", "a*c+b*c"},
      {"-(a-b)*c", "-(a*c-b*c)"},
      {"a*b*(c+d)", nullptr},
      {"(a+b)*(c+d)", "a*c+a*d+b*c+b*d"},
      {"(a-b)*(c+d)", "a*c+a*d-b*c-b*d"},
      {"(a+b)*(c-d)", "a*c-a*d+b*c-b*d"},
      {"(a-b)*-(c-d)", "-(a*c-a*d-b*c+b*d)"},
      {"Normal(0,1)*(a+b)", nullptr},
      {"(a+b)*Sin(Normal(0,1))", nullptr},
      {"(a+Normal(0,1))*(c+d)", nullptr},
      {"a*(b+Normal(0,1))", "a*b+a*Normal(0,1)"},

      {"-(x/y)", "-x/y"},
      {"-1/4", "-0.25"},
      {"-0/x", "-0"},
      {"x/1", "x"},
      {"x/-4", "-0.25*x"},
      {"(a+b)/c", "a/c+b/c"},
      {"-(a-b)/c", "-(a/c-b/c)"},
      {"(a+b)/Normal(1,2)", nullptr},
      {"(x+0)/0", nullptr},
      {"1/0", nullptr},
      {"-x/x", "-1"},
      {"x/y", nullptr},
      {"(0+x)/y", "0/y+x/y"},
      {"(0+x)/(y+z)", "x/(y+z)"},
      {"x/4.94066e-324", nullptr},

      {"2^3", "8"},
      {"-(2^2)", "4"},
      {"x^0", "1"},
      {"-(x^0)", "-1"},
      {"(x+0)^2", "x^2"},
      {"0^-1", nullptr},
      {"1<2", "1"},
      {"-(1<2)", "1"},
      {"2<>2", "0"},
      {"x+0>=y*1", "x>=y"},
      {"Max(1+1,x,0+y)", "Max(2,x,y)"},
      {"0+x ? 1*y : 2-1", "x ? y : 1"},
      {"x", nullptr},
      {"-3", nullptr},
  };
  for (const auto& item : cases) {
    ExpressionPtr tree = ParseOrFail(item.text);
    EXPECT_EQ(QVR_expression::Simplify(tree), item.once != nullptr) << item.text;
    EXPECT_EQ(tree->GetText(), item.once == nullptr ? item.text : item.once) << item.text;
  }
}

TEST(Simplify, KeepsTheValueOfExactFormulas) {
  RandomFormula random(77, FormulaKind::Exact);
  int changed = 0;
  for (int i = 0; i < 20'000; ++i) {
    const ExpressionPtr original = random.Make(1 + i % 4);
    ExpressionPtr simple = original->Clone();
    QVR_expression::SimplifyFully(simple);
    changed += SameTree(*simple, *original) ? 0 : 1;
    for (int point = 0; point < 3; ++point) {
      const Point values = random.ExactPoint();
      AssignPoint(*original, values);
      AssignPoint(*simple, values);
      const double value = original->EvaluateSigned();
      ASSERT_TRUE(!std::isfinite(value) || simple->EvaluateSigned() == value)
          << original->GetText() << " became " << simple->GetText();
    }
  }
  EXPECT_GT(changed, 10'000);
}

int CountDistributions(const QVR_expression& tree) {
  const std::string text = tree.GetText();
  int count = 0;
  for (std::size_t at = text.find("Normal"); at != std::string::npos; at = text.find("Normal", at + 1)) {
    ++count;
  }
  return count;
}

TEST(Simplify, NeverDrawsTwiceForOne) {
  RandomFormula random(78, FormulaKind::Stochastic);
  for (int i = 0; i < 5'000; ++i) {
    ExpressionPtr tree = random.Make(4);
    const std::string text = tree->GetText();
    const int count = CountDistributions(*tree);
    QVR_expression::SimplifyFully(tree);
    ASSERT_LE(CountDistributions(*tree), count) << text << " became " << tree->GetText();
  }
}

TEST(Simplify, StopsBeforeProductsExplode) {
  std::string text = "(a+b)";
  for (int i = 0; i < 40; ++i) {
    text += "*(a+b)";
  }
  ExpressionPtr tree = ParseOrFail(text);
  QVR_expression::SimplifyFully(tree);
  EXPECT_GT(tree->CountNodes(), 10'000);
  EXPECT_LT(tree->CountNodes(), 50'000);
  tree->AssignVariable("a", 1.0);
  tree->AssignVariable("b", 1.0);
  EXPECT_EQ(tree->Evaluate(), std::ldexp(1.0, 41));
}

}  // namespace
}  // namespace qvr
