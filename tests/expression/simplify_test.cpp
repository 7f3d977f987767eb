// Each rule on its own, and that none changes the value.
#include <gtest/gtest.h>

#include <cmath>

#include "expression/formula_support.h"

namespace qvr {
namespace {

// Where nothing stands behind the formula, nothing changes.
constexpr const char* kRules = R"(
  -(x+y) => -x+-y;  1+-3 => -2;  0+-x => -x;  -x+0 => -x;  x+-2 => x-2;  -2+x => x+-2;  x+y;
  x+1+2 => x+3;  x-5+2 => x+-3;  x-1+5 => x+4;  -(x+1)+2 => -x+-1+2;  x*1+0*y => x+0;
  1e+308*10+x;  1e+308+1e+308;  x+1e+308+1e+308;

  -(x-y) => y-x;  1-3 => -2;  0-x => -x;  0--x => x;  x-0 => x;  x--2 => x+2;  2--x => 2+x;  x--y;
  x+3-1 => x+2;  x+1-3 => x+-2;  x-1-2 => x-3;  -(x-1)-2 => 1-x-2;  (x+0)-(0+y) => x-y;

  -(x*y) => -x*y;  -2*3 => -6;  0*Normal(0,1) => 0;  x*0 => 0;  1*x => x;  x*1 => x;  -1*x => -x;
  x*-1 => -1*x;  x*2 => 2*x;  a*(b+c) => a*b+a*c;  a*-(b-c) => -(a*b-a*c);  (a+b)*c => a*c+b*c;
  -(a-b)*c => -(a*c-b*c);  a*b*(c+d);
  (a+b)*(c+d) => a*c+a*d+b*c+b*d;  (a-b)*(c+d) => a*c+a*d-b*c-b*d;
  (a+b)*(c-d) => a*c-a*d+b*c-b*d;  (a-b)*-(c-d) => -(a*c-a*d-b*c+b*d);
  Normal(0,1)*(a+b);  (a+b)*Sin(Normal(0,1));  (a+Normal(0,1))*(c+d);
  a*(b+Normal(0,1)) => a*b+a*Normal(0,1);

  -(x/y) => -x/y;  -1/4 => -0.25;  -0/x => -0;  x/1 => x;  x/-4 => -0.25*x;  1/0;  -x/x => -1;  x/y;
  (a+b)/c => a/c+b/c;  -(a-b)/c => -(a/c-b/c);  (a+b)/Normal(1,2);  (x+0)/0;  x/4.94066e-324;
  (0+x)/y => 0/y+x/y;  (0+x)/(y+z) => x/(y+z);

  2^3 => 8;  -(2^2) => 4;  x^0 => 1;  -(x^0) => -1;  (x+0)^2 => x^2;  0^-1;
  1<2 => 1;  -(1<2) => 1;  2<>2 => 0;  x+0>=y*1 => x>=y;
  Max(1+1,x,0+y) => Max(2,x,y);  0+x ? 1*y : 2-1 => x ? y : 1;  x;  -3
)";

TEST(Simplify, AppliesOneRuleAPass) {
  for (const auto& [text, once, unused] : ReadCases(kRules)) {
    ExpressionPtr tree = ParseOrFail(text);
    EXPECT_EQ(QVR_expression::Simplify(tree), !once.empty()) << text;
    EXPECT_EQ(tree->GetText(), once.empty() ? text : once) << text;
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

int CountDistributions(ExpressionPtr& tree) {
  std::vector<ExpressionPtr*> owners;
  QVR_expression::CollectDistributions(tree, owners);
  return static_cast<int>(owners.size());
}

TEST(Simplify, NeverDrawsTwiceForOne) {
  RandomFormula random(78, FormulaKind::Stochastic);
  for (int i = 0; i < 5'000; ++i) {
    ExpressionPtr tree = random.Make(4);
    const std::string text = tree->GetText();
    const int count = CountDistributions(tree);
    QVR_expression::SimplifyFully(tree);
    ASSERT_LE(CountDistributions(tree), count) << text << " became " << tree->GetText();
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
