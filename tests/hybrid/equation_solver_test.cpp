// Deterministic equations: known solutions, solutions put back, and what has none.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>

#include "expression/expression.h"
#include "hybrid/equation_support.h"
#include "support/random_network.h"

namespace qvr {
namespace {

constexpr const char* kNoRoot = "Failed in solving nonlinear quations.";
constexpr const char* kNoSet = "Failed in computing SCC.";

double NumberOf(QVR_network& network, const std::string& id) {
  const QVR_valEqEvaluation& value = EquationValueOf(network, network.FindNode(id.c_str()));
  EXPECT_TRUE(value.IsValueValid()) << id;
  EXPECT_TRUE(value.mean == value.minimum && value.mean == value.maximum && value.stdDeviation == 0) << id;
  EXPECT_TRUE(value.exact == 1 && value.GetSamples().empty() && value.GetDiscretePosterior().empty()) << id;
  return value.mean;
}

TEST(EquationSolver, EvaluatesAlongTheArcs) {
  const LogGuard log;
  QVR_network network;
  network.rejectOutliers = 1;  // plays no part
  AddEquation(network, "a", "a=Uniform(8,9)", 0, 9);
  AddEquation(network, "b", "-b=2*a-Sqrt(a+1)", -99, 0);
  AddEquation(network, "c", "c=(a>b?a*b:0)", -999, 0);
  ASSERT_EQ(network.UpdateBeliefs(), 0);
  for (double number : {3.0, 8.0}) {  // the samples are gone
    ASSERT_EQ(EquationOf(network, 0).SetEquation("a=3"), 0);
    ASSERT_EQ(number == 3 ? 0 : ValueOf(network, 0).SetEvidenceValue(number), 0);
    ASSERT_EQ(network.UpdateBeliefs(), 0);
    const double b = std::sqrt(number + 1) - 2 * number;
    EXPECT_EQ(NumberOf(network, "a"), number);
    EXPECT_EQ(NumberOf(network, "b"), b);
    EXPECT_EQ(NumberOf(network, "c"), number * b);
  }
}

// The constant terms are those of a solution that is known beforehand.
TEST(EquationSolver, SolvesLinearSetsWithParentsFromAnywhere) {
  for (int seed = 0; seed < 40; ++seed) {
    SCOPED_TRACE(seed);
    TestRandom random(static_cast<std::uint64_t>(seed));
    Doubles solution(static_cast<std::size_t>(1 + random.Below(8)));
    std::generate(solution.begin(), solution.end(), [&random] { return 40 * random.Unit() - 20; });
    Strings names;
    for (std::size_t i = 0; i < solution.size(); ++i) {
      names.push_back("s" + std::to_string(i));
    }
    QVR_network network;
    for (std::size_t i = 0; i < solution.size(); ++i) {
      const std::string parent = "p" + std::to_string(i);  // comes behind the member before it
      const int handle = AddEquation(network, parent.c_str(), (parent + "=" + std::to_string(i)).c_str());
      double rest = solution[i] - 3 * static_cast<double>(i);
      std::string text = names[i] + "=3*" + parent;
      for (std::size_t j = 0; j < solution.size(); ++j) {
        const double coefficient = (2 * random.Unit() - 1) / static_cast<double>(solution.size());
        rest -= coefficient * solution[j];
        text += "+" + FormatGeneral(coefficient, 17) + "*" + names[j];
      }
      text += "+" + FormatGeneral(rest, 17);
      ASSERT_GE(AddUnknown(network, names[i].c_str(), text.c_str(), names, {handle}), 0);
    }
    ASSERT_EQ(network.UpdateBeliefs(), 0);
    for (std::size_t i = 0; i < solution.size(); ++i) {
      EXPECT_NEAR(NumberOf(network, names[i]), solution[i], 1e-9);
    }
  }
}

TEST(EquationSolver, PutsNonlinearSolutionsBackOrGivesUp) {
  const struct {
    Strings equations;  // of a, b and c, each naming all; p = 2 is their parent
    bool isSolvable;
  } cases[] = {
      {{"a=Cos(a)"}, true},
      {{"a*a=p"}, true},
      {{"b=p+1", "a=2*b"}, true},  // a pivot of 0
      {{"a=Exp(-b)", "b=0.5*a+p"}, true},
      {{"a*b+a=p+10", "a-b=1"}, true},
      {{"a^3+b=p", "b=Sin(c)+a", "c=a*b/4"}, true},
      {{"a=1e8+p-b/3", "b=a/1e7+c", "c=Sqrt(Abs(b)+1)"}, true},
      {{"a=-1e9-b", "b=Abs(a)/3"}, true},
      {{"a=a+1"}, false},
      {{"a*a=-1"}, false},
      {{"a=b+p", "b=a+p"}, false},
      {{"Exp(a)=0*p"}, false},
      {{"a=Ln(p-3)"}, false},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::PrintToString(c.equations));
    const LogGuard log;
    QVR_network network;
    const int parent = AddEquation(network, "p", "p=2");
    Strings names = {"a", "b", "c"};
    names.resize(c.equations.size());
    for (std::size_t i = 0; i < names.size(); ++i) {
      ASSERT_GT(AddUnknown(network, names[i].c_str(), c.equations[i].c_str(), names, {parent}), 0);
    }
    ASSERT_EQ(network.UpdateBeliefs(), c.isSolvable ? 0 : -2);
    EXPECT_EQ(LogGuard::Messages(), c.isSolvable ? Strings{} : (Strings{kNoRoot, kNoSet}));
    EXPECT_EQ(EquationValueOf(network, 1).IsValueValid(), c.isSolvable);
    for (std::size_t i = 0; c.isSolvable && i < names.size(); ++i) {
      const ExpressionPtr equation = QVR_expression::Parse(c.equations[i].c_str(), nullptr, nullptr);
      equation->AssignVariable("p", 2);
      for (const std::string& name : names) {
        equation->AssignVariable(name, NumberOf(network, name));
      }
      const double left = equation->GetChild(0)->EvaluateSigned();
      EXPECT_NEAR(left, equation->GetChild(1)->EvaluateSigned(), 1e-6 * (1 + std::abs(left)));
    }
  }
}

TEST(EquationSolver, OrdersSetsOrRefuses) {
  const struct {
    std::function<void(QVR_network&)> build;
    int status;
    Strings messages;
  } cases[] = {
      {[](QVR_network& n) {  // t needs s, a set of its own; u is observed; v was called w
         AddUnknown(n, "s", "s=s/2+3", {"s"});
         AddUnknown(n, "t", "t=s+u+w", {"s", "u", "w"});
         ValueOf(n, AddUnknown(n, "u", "u=u*u+t+5", {"t"})).SetEvidenceValue(4);
         n.NodeAt(AddUnknown(n, "w", "w=t/3+w-w", {"t", "w"}))->SetId("v");
       },
       0,
       {}},
      {[](QVR_network& n) { AddUnknown(n, "s", "s=1+t", {"t"}); }, -2, {kNoSet}},
      {[](QVR_network& n) { AddUnknown(n, "s", "s=1", {"z"}); }, -2, {kNoSet}},
      {[](QVR_network& n) {  // b needs q, which needs a, which needs b
         AddUnknown(n, "a", "a=b", {"b"});
         const int q = AddEquation(n, "q", "q=a");
         AddUnknown(n, "b", "b=q/2+1+a", {"a"}, {q});
       },
       -2,
       {kNoSet}},
      {[](QVR_network& n) { AddUnknown(n, "s", "s=Normal(0,1)", {}); },
       -2,
       {"Unable to solve: the network contains strongly-coupled components with distribution definitions."}},
      {[](QVR_network& n) {
         AddChance(n, "s", 2, {}, {0.5, 0.5});
       },
       -2,
       {"Unable to handle hybrid networks with equation solver."}},
      {[](QVR_network& n) {  // told before any routine is chosen
         AddChance(n, "t", 2, {}, {0.5, 0.5});
         ValueOf(n, AddEquation(n, "s", "s=z*z")).SetEvidenceValue(1);
       },
       -2,
       {"Unable to handle hybrid networks with equation solver."}},
      {[](QVR_network& n) {
         AddChance(n, "t", 2, {}, {0.5, 0.5});
         CutEvenly(n, AddEquation(n, "s", "s=z"), 0, 2, 2);
         n.discretize = 1;
       },
       -2,
       {"Unable to handle hybrid networks with equation solver."}},
      {[](QVR_network& n) { AddEquation(n, "s", "s+1=z"); }, -6, {"Can't solve the equation for s : s+1=z"}},
  };
  for (const auto& c : cases) {
    for (const char* root : {"z=1", "z=Normal(0,1)"}) {
      const LogGuard log;
      QVR_network network;
      AddEquation(network, "z", root);
      c.build(network);
      EXPECT_EQ(network.UpdateBeliefs(), c.status);
      EXPECT_EQ(LogGuard::Messages(), c.messages);
      if (c.status == 0) {
        EXPECT_NEAR(EquationValueOf(network, network.FindNode("t")).mean, 15, 1e-9);
        EXPECT_NEAR(EquationValueOf(network, network.FindNode("v")).mean, 5, 1e-9);
      }
    }
  }
}

}  // namespace
}  // namespace qvr
