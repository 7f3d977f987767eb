// What the solvers do with the order of decisions, with failures, with scales, and with the user's network.
#include <gtest/gtest.h>

#include <cmath>

#include "decision/cooper_solver.h"
#include "definitions/mau.h"
#include "definitions/utility_table.h"
#include "model/special_numbers.h"
#include "support/log_guard.h"
#include "support/network_builder.h"

namespace qvr {
namespace {

using Numbers = std::vector<double>;

int AddDecision(QVR_network& network, const char* id, const std::vector<int>& known = {}, int choices = 2) {
  const int handle = network.AddNode(kTypeList, id);
  network.NodeAt(handle)->definition->SetNumberOfOutcomes(choices);
  for (int parent : known) {
    network.AddArc(parent, handle, kOrdinaryLayer);
  }
  return handle;
}

int AddUtility(QVR_network& network, const char* id, const std::vector<int>& parents, const Numbers& cells) {
  const int handle = network.AddNode(kTypeTable, id);
  for (int parent : parents) {
    network.AddArc(parent, handle, kOrdinaryLayer);
  }
  QVR_doubleArray numbers;
  numbers.Assign(cells);
  const int status = dynamic_cast<QVR_table&>(*network.NodeAt(handle)->definition).SetUtilities(numbers);
  return status < 0 ? status : handle;
}

int AddCombination(QVR_network& network, const std::vector<int>& parents, const Numbers& weights) {
  const int handle = network.AddNode(kTypeMau, nullptr);
  for (int parent : parents) {
    network.AddArc(parent, handle, kOrdinaryLayer);
  }
  QVR_doubleArray numbers;
  numbers.Assign(weights);
  const int status = dynamic_cast<QVR_mau&>(*network.NodeAt(handle)->definition).SetWeights(numbers);
  return status < 0 ? status : handle;
}

TEST(CooperSolver, OrdersDecisionsOnceAndLeavesNothingElseBehind) {
  const LogGuard log;
  QVR_network network;
  const int first = AddDecision(network, "first");
  const int seen = AddChance(network, "seen", 2, {}, {0.4, 0.6});
  const int second = AddDecision(network, "second", {seen});
  AddUtility(network, "u", {first, second, seen}, {0, 1, 2, 3, 4, 5, 6, 7});
  AddUtility(network, "v", {second}, {1, 2});
  const int hidden = AddChance(network, "hidden", 2, {}, {0.5, 0.5});
  network.SetTarget(hidden);
  const int nodeCount = network.GetNumberOfNodes();
  network.SetUpdateFlags(network.GetUpdateFlags() | UPDATE_IMMEDIATELY);
  const unsigned flags = network.GetUpdateFlags();
  for (int round = 0; round < 2; ++round) {
    EXPECT_EQ(network.UpdateBeliefs(), 0);
    EXPECT_EQ(LogGuard::Messages(),
              std::vector<std::string>{"Temporal order assumed: node [first] before node [second]"});
    EXPECT_EQ(ListOf(network.GetParents(second)), (std::vector<int>{seen, first}));
    EXPECT_EQ(network.GetNumberOfNodes(), nodeCount);
    EXPECT_EQ(network.GetUpdateFlags(), flags);
    EXPECT_EQ(network.GetRelevanceMask(), kDefaultRelevanceMask);
    EXPECT_EQ(BeliefOf(network, first).size(), 2U);
    EXPECT_NEAR(BeliefOf(network, first)[0], 0.4 * 4 + 0.6 * 5, 1e-12);  // u + v after the better second
    EXPECT_TRUE(ValueOf(network, hidden).IsValueValid());
    EXPECT_EQ(network.CheckInvariants(), "");
  }
  ASSERT_EQ(ValueOf(network, first).SetEvidence(0), 0);  // updates at once
  EXPECT_TRUE(ValueOf(network, second).IsValueValid());
  EXPECT_EQ(network.GetNumberOfNodes(), nodeCount);
}

// The gardener of docs/decisions.md.
TEST(CooperSolver, CoversThePlants) {
  QVR_network network;
  const int frost = AddChance(network, "Frost", 2, {}, {0.3, 0.7});
  const int forecast = AddChance(network, "Forecast", 2, {frost}, {0.8, 0.2, 0.1, 0.9});
  const int cover = AddDecision(network, "Cover", {forecast});
  AddUtility(network, "Harvest", {frost, cover}, {60, 0, 80, 100});
  ASSERT_EQ(network.UpdateBeliefs(), 0);
  const Numbers expected = {64.516, 22.581, 78.261, 91.304};
  for (std::size_t i = 0; i < expected.size(); ++i) {
    EXPECT_NEAR(BeliefOf(network, cover).at(i), expected[i], 5e-4);
  }
}

TEST(CooperSolver, KeepsTheRangeOfUtilities) {
  const struct {
    double lowest, highest;
  } ranges[] = {{-8, -3}, {1e300, 3e300}, {-1.5e308, 1.2e308}, {-1e-300, 2e-300}, {1e6, 1e6 + 1e-3}, {0, 0}};
  for (const auto& [lowest, highest] : ranges) {
    SCOPED_TRACE(highest);
    QVR_network network;
    const int chance = AddChance(network, "c", 2, {}, {0.25, 0.75});
    const int decision = AddDecision(network, "d");
    const double middle = lowest / 2 + highest / 2;
    const int utility = AddUtility(network, "u", {decision, chance}, {lowest, highest, middle, middle});
    ASSERT_EQ(network.UpdateBeliefs(), 0);
    const double tolerance = 1e-9 * (highest / 2 - lowest / 2) + 1e-15 * std::abs(highest);
    const Numbers expected = {0.25 * lowest + 0.75 * highest, middle};
    for (int k = 0; k < 2; ++k) {
      EXPECT_NEAR(BeliefOf(network, utility)[static_cast<std::size_t>(k)],
                  expected[static_cast<std::size_t>(k)], tolerance);
      EXPECT_NEAR(BeliefOf(network, decision)[static_cast<std::size_t>(k)],
                  expected[static_cast<std::size_t>(k)], tolerance);
    }
  }
}

// A soft finding in which two observations meet tells the one of the other.
TEST(CooperSolver, SeesThroughLikelihoods) {
  QVR_network network;
  const int first = AddDecision(network, "first");
  const int a = AddChance(network, "a", 2, {}, {0.5, 0.5});
  const int b = AddChance(network, "b", 2, {}, {0.5, 0.5});
  const int same = AddChance(network, "same", 2, {a, b}, {0.9, 0.1, 0.1, 0.9, 0.1, 0.9, 0.9, 0.1});
  const int second = AddDecision(network, "second", {first, a, b, same});
  AddUtility(network, "u", {first, a, b, second}, {10, 0, 0, 0, 0, 0, 10, 0, 11, 0, 1, 0, 1, 0, 11, 0});
  ASSERT_EQ(SetLikelihoods(network, same, {0.8, 0.2}), QVR_OKAY);
  ASSERT_EQ(network.UpdateBeliefs(), 0);
  // The likelihood is 0.9 * 0.8 + 0.1 * 0.2 = 0.74 where a and b are equal, else 0.26.
  EXPECT_NEAR(BeliefOf(network, first)[0], 7.4, 1e-7);
  EXPECT_NEAR(BeliefOf(network, first)[1], 8.4, 1e-7);
  const Numbers expected = {0.74, 0.26, 0.26, 0.74};  // of b, by a
  const Numbers actual = BeliefOf(network, b);
  ASSERT_EQ(actual.size(), expected.size());
  for (std::size_t i = 0; i < expected.size(); ++i) {
    EXPECT_NEAR(actual[i], expected[i], 1e-7);
  }
}

TEST(CooperSolver, NamesImpossibleScenariosAndGoesOn) {
  const LogGuard log;
  QVR_network network;
  const int left = AddChance(network, "left", 2, {}, {0.5, 0.5});
  const int right = AddChance(network, "right", 2, {}, {0.5, 0.5});
  // The result of the test is the sum, so that only joined with a hidden coin it can't be 0.
  const int test = AddChance(network, "test", 3, {left, right}, {1, 0, 0, 0, 1, 0, 0, 1, 0, 0, 0, 1});
  const int same = AddChance(network, "same", 2, {left, right}, {1, 0, 0.5, 0.5, 0.5, 0.5, 1, 0});
  const int decision = AddDecision(network, "d", {test, same});
  AddUtility(network, "u", {left, decision}, {-1, -2, -7, -3});
  ASSERT_EQ(network.UpdateBeliefs(), 0);
  const Numbers expected = {-1, -2, 0, 0, -4, -2.5, -4, -2.5, -7, -3, 0, 0};
  const Numbers actual = BeliefOf(network, decision);
  ASSERT_EQ(actual.size(), expected.size());
  for (std::size_t i = 0; i < expected.size(); ++i) {
    EXPECT_EQ(IsUndefined(actual[i]), expected[i] == 0) << i;
    EXPECT_NEAR(actual[i], expected[i], 1e-12) << i;
  }
}

TEST(CooperSolver, EndsOnlyOnEvidenceThatIsImpossibleAsAWhole) {
  const LogGuard log;
  QVR_network network;
  const int cause = AddChance(network, "cause", 4, {}, {0.1, 0.2, 0.3, 0.4});
  const int left = AddChance(network, "left", 2, {cause}, {0.5, 0.5, 0.3, 0.7, 0, 1, 0, 1});
  const int right = AddChance(network, "right", 2, {cause}, {0, 1, 0, 1, 0.5, 0.5, 0.3, 0.7});
  const int decision = AddDecision(network, "d", {right});
  AddUtility(network, "u", {cause, decision}, {1, 2, 3, 4, 5, 6, 7, 8});
  AddUtility(network, "v", {decision}, {1, 2});
  ASSERT_EQ(ValueOf(network, left).SetEvidence(0), 0);
  ASSERT_EQ(network.UpdateBeliefs(), 0);  // right can't be seen at 0
  EXPECT_EQ(LogGuard::Messages(QVR_NO_SAMPLES),
            (std::vector<std::string>{
                "The following scenario could not be evaluated:", "right = State0", "d = Choice0",
                "The following scenario could not be evaluated:", "right = State0", "d = Choice1"}));
  EXPECT_TRUE(IsUndefined(BeliefOf(network, decision)[1]));
  EXPECT_NEAR(BeliefOf(network, decision)[3], (0.05 * 2 + 0.06 * 4) / 0.11 + 2, 1e-12);
  ASSERT_EQ(ValueOf(network, right).SetEvidence(0), 0);
  const int nodeCount = network.GetNumberOfNodes();
  ASSERT_EQ(ValueOf(network, decision).SetEvidence(0), 0);
  EXPECT_EQ(network.UpdateBeliefs(), QVR_NO_SAMPLES);
  EXPECT_EQ(LogGuard::Messages().back(), "Error when running Cooper's algorithm");
  EXPECT_FALSE(ValueOf(network, cause).IsValueValid());
  EXPECT_EQ(network.GetNumberOfNodes(), nodeCount);
}

TEST(CooperSolver, WithoutUtilitiesAnswersForChancesAlone) {
  const LogGuard log;
  QVR_network network;
  const int decision = AddDecision(network, "d");
  const int chance = AddChance(network, "c", 2, {decision}, {0.2, 0.8, 0.6, 0.4});
  EXPECT_EQ(network.UpdateBeliefs(), 0);
  EXPECT_EQ(LogGuard::Messages(QVR_OUT_OF_RANGE),
            std::vector<std::string>{"Utilities not specified. Policies cannot be evaluated"});
  EXPECT_NEAR(BeliefOf(network, chance)[0], 0.4, 1e-12);
  EXPECT_TRUE(ValueOf(network, chance).IsValueValid());
  EXPECT_FALSE(ValueOf(network, decision).IsValueValid());
}

class CountingSolver : public QVR_CooperSolver {
 public:
  int scenarios = 0;

 protected:
  void BeforeEvaluation(int phase) override { scenarios += phase == 0 ? 1 : 0; }
};

// Scenarios that can't be reached, or that ask nothing new, aren't solved.
TEST(CooperSolver, SolvesEachScenarioOnce) {
  QVR_network apart;
  AddUtility(apart, "u", {AddDecision(apart, "d", {}, 3)}, {1, 2, 3});
  AddUtility(apart, "v", {AddDecision(apart, "e", {apart.FindNode("d")}, 4)}, {1, 2, 3, 4});
  CountingSolver solver;
  ASSERT_EQ(solver.Solve(apart), 0);
  EXPECT_EQ(solver.scenarios, 4 + 2);

  const LogGuard log;
  QVR_network impossible;
  const int hidden = AddChance(impossible, "h", 2, {}, {0.5, 0.5});
  const int first = AddChance(impossible, "a", 2, {hidden}, {0.5, 0.5, 0.5, 0.5});
  const int clash = AddChance(impossible, "x", 2, {hidden, first}, {0, 1, 1, 0, 0, 1, 0.5, 0.5});
  const int decision = AddDecision(impossible, "d", {first, clash}, 5);
  AddUtility(impossible, "w", {hidden, first, decision}, Numbers(20, 0.5));
  ASSERT_EQ(ValueOf(impossible, clash).SetEvidence(0), 0);
  CountingSolver second;
  ASSERT_EQ(second.Solve(impossible), 0);
  EXPECT_LE(second.scenarios, 1 + 5);
}

TEST(ShachterSolver, WeighsChoicesAndGivesTiesToTheHighest) {
  const struct {
    Numbers first, second;  // utilities of three choices
    Numbers weights;        // of the two in a first and a second combination; none: their plain sum
    int best;
  } cases[] = {
      {{1, 5, 2}, {0, 0, 0}, {}, 1},
      {{4, 1, 4}, {1, 1, 1}, {}, 2},                  // a tie
      {{7, 7, 7}, {7, 7, 7}, {}, 2},                  // nothing to choose
      {{0, 3, 0}, {2, 0, 0}, {0.5, 0.5, 0.4, 0}, 1},  // the first counts 0.9, the second 0.5
      {{0, 3, 0}, {2, 0, 0}, {0.5, 2, 0.4, 0}, 0},    // 2.7 against 4; 0.5 * 0.4 would say the same of 0.6
      {{0, 1, 0}, {2, 3, 0}, {-1, -1, 0, 0}, 2},
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(testing::PrintToString(row.first) + testing::PrintToString(row.weights));
    QVR_network network;
    network.SetDecisionAlgorithm(7);  // ignored
    EXPECT_EQ(network.GetDecisionAlgorithm(), DECISION_COOPER);
    network.SetDecisionAlgorithm(DECISION_SHACHTER);
    const int decision = AddDecision(network, "d", {}, 3);
    const int first = AddUtility(network, "u", {decision}, row.first);
    const int second = AddUtility(network, "v", {decision}, row.second);
    if (!row.weights.empty()) {
      AddCombination(network, {first, second}, {row.weights[0], row.weights[1]});
      AddCombination(network, {first, second}, {row.weights[2], row.weights[3]});
    }
    ASSERT_EQ(network.UpdateBeliefs(), 0);
    Numbers expected(3, 0.0);
    expected[static_cast<std::size_t>(row.best)] = 1;
    EXPECT_EQ(BeliefOf(network, decision), expected);
    EXPECT_TRUE(ValueOf(network, decision).IsValueValid());
    EXPECT_FALSE(ValueOf(network, first).IsValueValid());
    EXPECT_EQ(network.GetRelevanceMask(), kDefaultRelevanceMask);
  }
}

TEST(ShachterSolver, FixesLaterDecisionsOverTheAverageOfWhatIsNotKnown) {
  QVR_network network;
  network.SetDecisionAlgorithm(DECISION_SHACHTER);
  const int first = AddDecision(network, "first");
  const int seen = AddChance(network, "seen", 2, {first}, {0.5, 0.5, 0.9, 0.1});
  const int second = AddDecision(network, "second", {seen});
  // With foresight "first" 0 is worth 10; but one choice for both observations makes 1 the better.
  AddUtility(network, "u", {first, seen, second}, {10, 0, 0, 10, 8, 0, 8, 0});
  ASSERT_EQ(network.UpdateBeliefs(), 0);
  EXPECT_EQ(BeliefOf(network, first), (Numbers{0, 1}));
  network.SetDecisionAlgorithm(DECISION_COOPER);
  ASSERT_EQ(network.UpdateBeliefs(), 0);
  EXPECT_NEAR(BeliefOf(network, first)[0], 10, 1e-12);
  EXPECT_NEAR(BeliefOf(network, first)[1], 8, 1e-12);
}

TEST(ShachterSolver, RefusesWhatItCannotSolve) {
  constexpr const char* kUnsolvable = "Can't solve this network using best policy algorithm";
  constexpr const char* kTooMany =
      "Cannot solve this network using SHACHTER's algorithm. Error while merging utility nodes (too many "
      "parents)";
  const struct {
    const char* name;
    int parentCount;
    bool isKnown, isMade, hasFormula;
    const char* message;  // the last; null for success
    unsigned mask;
  } cases[] = {
      {"plain", 20, true, false, false, nullptr, kDefaultRelevanceMask},
      {"unknown parent", 2, false, false, false, kUnsolvable, kDefaultRelevanceMask},
      {"made already", 2, false, true, false, "Error when running Shachter's algorithm",
       kDefaultRelevanceMask},
      {"many parents", 21, true, false, false, kTooMany, 0},
      {"formula", 2, true, false, true, kUnsolvable, 0},
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(row.name);
    const LogGuard log;
    QVR_network network;
    network.SetDecisionAlgorithm(DECISION_SHACHTER);
    const int known = AddChance(network, "k", 2, {}, {0.5, 0.5});
    const int decision = AddDecision(network, "d", {known});
    int utility = AddUtility(network, "u", {known, decision}, {1, 2, 3, 4});
    for (int i = 2; i < row.parentCount; ++i) {
      const std::string number = std::to_string(i);
      const int chance = AddChance(network, ("c" + number).c_str(), 2, {}, {0.5, 0.5});
      utility = AddUtility(network, ("u" + number).c_str(), {chance}, {1, 2});
    }
    std::string text;
    const std::vector<std::string> formulas = {"u*u"};
    if (row.hasFormula) {
      auto& mau =
          dynamic_cast<QVR_mau&>(*network.NodeAt(AddCombination(network, {utility}, {1}))->definition);
      ASSERT_EQ(mau.SetExpressions(formulas, text), 0);
    }
    if (row.isKnown) {
      ASSERT_EQ(ValueOf(network, known).SetEvidence(0), 0);
    }
    if (row.isMade) {
      ASSERT_EQ(ValueOf(network, decision).SetEvidence(0), 0);
    }
    EXPECT_EQ(network.UpdateBeliefs(), row.message == nullptr ? 0 : QVR_OUT_OF_RANGE);
    EXPECT_EQ(LogGuard::Messages(),
              row.message == nullptr ? std::vector<std::string>{} : std::vector<std::string>{row.message});
    EXPECT_EQ(network.GetRelevanceMask(), row.mask);
  }
}

}  // namespace
}  // namespace qvr
