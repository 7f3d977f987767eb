// Deterministic equations: known solutions, solutions put back, and systems without any.
#include <gtest/gtest.h>

#include <cmath>
#include <functional>

#include "expression/expression.h"
#include "hybrid/equation_support.h"
#include "hybrid/linear_system.h"
#include "support/log_guard.h"
#include "support/random_network.h"

namespace qvr {
namespace {

using Strings = std::vector<std::string>;

double NumberOf(QVR_network& network, const char* id) {
  const QVR_valEqEvaluation& value = EquationValueOf(network, network.FindNode(id));
  EXPECT_TRUE(value.IsValueValid()) << id;
  EXPECT_TRUE(value.mean == value.minimum && value.mean == value.maximum && value.stdDeviation == 0) << id;
  EXPECT_TRUE(value.exact == 1 && value.GetSamples().empty() && value.GetDiscretePosterior().empty()) << id;
  return value.mean;
}

TEST(EquationSolver, EvaluatesAlongTheArcs) {
  const LogGuard log;
  QVR_network network;
  AddEquation(network, "a", "a=3");
  AddEquation(network, "b", "-b=2*a-Sqrt(a+1)");  // far out of its bounds, which play no part
  AddEquation(network, "c", "c=(a>b?a*b:0)");
  network.rejectOutliers = 1;
  ASSERT_EQ(network.UpdateBeliefs(), 0);
  EXPECT_EQ(NumberOf(network, "a"), 3);
  EXPECT_EQ(NumberOf(network, "b"), -4);
  EXPECT_EQ(NumberOf(network, "c"), -12);
  // A first run of another kind leaves nothing behind.
  ASSERT_EQ(EquationOf(network, 0).SetEquation("a=Normal(0,1)"), 0);
  ASSERT_EQ(network.UpdateBeliefs(), 0);
  EXPECT_FALSE(EquationValueOf(network, 0).GetSamples().empty());
  ASSERT_EQ(EquationOf(network, 0).SetEquation("a=0"), 0);
  ASSERT_EQ(ValueOf(network, 0).SetEvidenceValue(8), 0);
  ASSERT_EQ(network.UpdateBeliefs(), 0);
  EXPECT_EQ(NumberOf(network, "a"), 8);
  EXPECT_EQ(NumberOf(network, "b"), -13);
}

// Coefficients for a solution that is known beforehand.
TEST(EquationSolver, SolvesLinearSetsWithParentsFromAnywhere) {
  for (int seed = 0; seed < 40; ++seed) {
    SCOPED_TRACE(seed);
    const LogGuard log;
    TestRandom random(static_cast<std::uint64_t>(seed));
    const int count = 1 + random.Below(8);
    const double solved = 20 * random.Unit() - 10;
    QVR_network network;
    Strings names;
    std::vector<double> solution;
    for (int i = 0; i < count; ++i) {
      names.push_back("s" + std::to_string(i));
      solution.push_back(40 * random.Unit() - 20);
    }
    for (int i = 0; i < count; ++i) {
      // Each member's parent comes behind the member before it.
      const std::string parent = "p" + std::to_string(i);
      const int handle = AddEquation(network, parent.c_str(), (parent + "=" + std::to_string(i)).c_str());
      double rest = solution[static_cast<std::size_t>(i)] - solved * i;
      std::string text = names[static_cast<std::size_t>(i)] + "=" + FormatGeneral(solved, 17) + "*" + parent;
      for (int j = 0; j < count; ++j) {
        const double coefficient = (2 * random.Unit() - 1) / count;
        rest -= coefficient * solution[static_cast<std::size_t>(j)];
        text += "+" + FormatGeneral(coefficient, 17) + "*" + names[static_cast<std::size_t>(j)];
      }
      text += "+" + FormatGeneral(rest, 17);
      ASSERT_GE(
          AddUnknown(network, names[static_cast<std::size_t>(i)].c_str(), text.c_str(), names, {handle}), 0);
    }
    AddEquation(network, "last", ("last=2*" + names.back()).c_str());
    ASSERT_EQ(network.UpdateBeliefs(), 0);
    for (int i = 0; i < count; ++i) {
      const auto place = static_cast<std::size_t>(i);
      EXPECT_NEAR(NumberOf(network, names[place].c_str()), solution[place], 1e-9);
    }
    EXPECT_NEAR(NumberOf(network, "last"), 2 * solution.back(), 1e-8);
  }
}

struct SetCase {
  Strings equations;  // of the nodes a, b, c, each naming the others; p = 2 is their parent
  bool isSolvable;
};

TEST(EquationSolver, PutsNonlinearSolutionsBackOrGivesUp) {
  const SetCase cases[] = {
      {{"a=Cos(a)"}, true},
      {{"a*a=p"}, true},
      {{"a=Exp(-b)", "b=0.5*a+p"}, true},
      {{"a*b+a=p+10", "a-b=1"}, true},
      {{"a^3+b=p", "b=Sin(c)+a", "c=a*b/4"}, true},
      {{"a=1e8+p-b/3", "b=a/1e7+c", "c=Sqrt(Abs(b)+1)"}, true},
      {{"a=-1e9-b", "b=Abs(a)/3"}, true},
      {{"a=a+1"}, false},
      {{"a*a=-1"}, false},
      {{"a=b", "b=a"}, false},
      {{"a=b+p", "b=a+p"}, false},
      {{"Exp(a)=0*p"}, false},
      {{"a=Ln(p-3)"}, false},
  };
  for (const SetCase& c : cases) {
    SCOPED_TRACE(testing::PrintToString(c.equations));
    const LogGuard log;
    QVR_network network;
    const int parent = AddEquation(network, "p", "p=2");
    const Strings names(c.equations.size() == 1   ? Strings{"a"}
                        : c.equations.size() == 2 ? Strings{"a", "b"}
                                                  : Strings{"a", "b", "c"});
    for (std::size_t i = 0; i < names.size(); ++i) {
      const bool namesParent = c.equations[i].find('p') != std::string::npos;  // or seems to
      ASSERT_GE(AddUnknown(network, names[i].c_str(), c.equations[i].c_str(), names,
                           namesParent ? std::vector<int>{parent} : std::vector<int>{}),
                0);
    }
    if (!c.isSolvable) {
      EXPECT_EQ(network.UpdateBeliefs(), QVR_OUT_OF_RANGE);
      EXPECT_EQ(LogGuard::Messages(-2),
                (Strings{"Failed in solving nonlinear quations.", "Failed in computing SCC."}));
      EXPECT_FALSE(EquationValueOf(network, 1).IsValueValid());
      continue;
    }
    ASSERT_EQ(network.UpdateBeliefs(), 0);
    for (const std::string& text : c.equations) {
      const ExpressionPtr equation = QVR_expression::Parse(text.c_str(), nullptr, nullptr);
      for (int handle : AllNodes(network)) {
        const std::string& id = network.NodeAt(handle)->GetId();
        equation->AssignVariable(id, NumberOf(network, id.c_str()));
      }
      const double left = equation->GetChild(0)->EvaluateSigned();
      const double right = equation->GetChild(1)->EvaluateSigned();
      EXPECT_NEAR(left, right, 1e-6 * (1 + std::abs(left))) << text;
    }
  }
}

TEST(EquationSolver, KeepsSetsApart) {
  const LogGuard log;
  QVR_network network;
  // t names s, which is a set of its own; u is observed and leaves the set.
  ASSERT_EQ(AddUnknown(network, "s", "s=s/2+3", {"s"}), 0);
  ASSERT_EQ(AddUnknown(network, "t", "t=s+u+v", {"s", "u", "v"}), 1);
  ASSERT_EQ(AddUnknown(network, "u", "u=u*u+t+5", {"t"}), 2);
  ASSERT_EQ(AddUnknown(network, "v", "v=t/3", {"t"}), 3);
  ASSERT_EQ(ValueOf(network, 2).SetEvidenceValue(4), 0);
  ASSERT_EQ(network.UpdateBeliefs(), 0);
  EXPECT_NEAR(NumberOf(network, "s"), 6, 1e-9);
  EXPECT_NEAR(NumberOf(network, "t"), 15, 1e-9);
  EXPECT_NEAR(NumberOf(network, "v"), 5, 1e-9);
  EXPECT_EQ(NumberOf(network, "u"), 4);
}

TEST(EquationSolver, RefusesWhatItCannotOrder) {
  constexpr const char* kSet = "Failed in computing SCC.";
  const struct {
    std::function<void(QVR_network&)> build;
    int status;
    Strings messages;
  } cases[] = {
      {[](QVR_network& n) { AddUnknown(n, "s", "s=1+t", {"t"}); }, -2, {kSet}},
      {[](QVR_network& n) {
         AddEquation(n, "t", "t=1");
         AddUnknown(n, "s", "s=1", {"t"});
       },
       -2,
       {kSet}},
      {[](QVR_network& n) {  // b needs q, which needs a
         const int a = AddUnknown(n, "a", "a=b", {"b"});
         AddEquation(n, "q", "q=a");
         ASSERT_EQ(n.FindNode("a"), a);
         AddUnknown(n, "b", "b=q/2+1+a", {"a"}, {n.FindNode("q")});
       },
       -2,
       {kSet}},
      {[](QVR_network& n) { AddUnknown(n, "s", "s=Normal(0,1)", {}); },
       -2,
       {"Unable to solve: the network contains strongly-coupled components with distribution definitions."}},
      {[](QVR_network& n) {
         AddChance(n, "s", 2, {}, {0.5, 0.5});
       },
       -2,
       {"Unable to handle hybrid networks with equation solver."}},
      {[](QVR_network& n) { AddEquation(n, "s", "s+1=z"); }, -6, {"Can't solve the equation for s : s+1=z"}},
  };
  for (const auto& c : cases) {
    const LogGuard log;
    QVR_network network;
    for (const char* text : {"z=1", "z=Normal(0,1)"}) {
      GetErrorLog().Clear();
      if (network.GetNumberOfNodes() == 0) {
        AddEquation(network, "z", text);
        c.build(network);
      }
      ASSERT_EQ(EquationOf(network, 0).SetEquation(text), 0);
      EXPECT_EQ(network.UpdateBeliefs(), c.status);
      EXPECT_EQ(LogGuard::Messages(), c.messages);
    }
  }
}

TEST(LinearSystem, ExchangesRowsOnlyForPivotsOfZero) {
  std::vector<double> matrix = {0, 2, 1, 1, 0, 0, 3, 0, 4};
  std::vector<double> rhs = {7, 1, 15};
  std::vector<double> solution(3, 0.0);
  ASSERT_EQ(SolveLinear(matrix, rhs, solution, 3), 0);
  EXPECT_EQ(solution, (std::vector<double>{1, 2, 3}));
  matrix = {1, 0, 2, 0};
  EXPECT_EQ(SolveLinear(matrix, rhs, solution, 2), -2);
  EXPECT_EQ(solution, (std::vector<double>{1, 2, 3}));
}

}  // namespace
}  // namespace qvr
