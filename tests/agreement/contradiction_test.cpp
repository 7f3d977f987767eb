// What each engine says of evidence that is contradictory only in its combination.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "agreement/engine_trial.h"
#include "support/log_guard.h"

namespace qvr {
namespace {

// Two symptoms of a hidden cause of four outcomes. State0 of the left one leaves the first two outcomes
// of the cause, State0 of the right one the last two: neither fixes anything alone.
class Contradiction : public testing::Test {
 protected:
  void SetUp() override {
    cause = AddChance(network, "cause", 4, {}, {0.1, 0.2, 0.3, 0.4});
    left = AddChance(network, "left", 2, {cause}, {0.5, 0.5, 0.3, 0.7, 0, 1, 0, 1});
    right = AddChance(network, "right", 2, {cause}, {0, 1, 0, 1, 0.5, 0.5, 0.3, 0.7});
    effect = AddChance(network, "effect", 2, {cause}, {0.9, 0.1, 0.8, 0.2, 0.3, 0.7, 0.4, 0.6});
    apart = AddChance(network, "apart", 2, {}, {0.25, 0.75});
    ASSERT_EQ(ValueOf(network, left).SetEvidence(0), QVR_OKAY);
    ASSERT_EQ(ValueOf(network, right).SetEvidence(0), QVR_OKAY);
  }

  [[nodiscard]] int Update(int engine) {
    network.SetBeliefAlgorithm(engine);
    return network.UpdateBeliefs();
  }

  LogGuard log;
  QVR_network network;
  int cause = -1;
  int left = -1;
  int right = -1;
  int effect = -1;
  int apart = -1;
};

TEST_F(Contradiction, TreeEnginesNameEveryNodeWithoutResult) {
  for (const auto& [engine, expected] :
       {std::pair{ALG_JOIN_TREE, QVR_ZERO_POTENTIAL}, std::pair{ALG_RELEVANCE_BATCHES, QVR_OKAY},
        std::pair{ALG_RELEVANCE_HALVING, QVR_OKAY}}) {
    ASSERT_EQ(Update(ALG_CLIQUE_TREE), QVR_OKAY);  // leaves values that are marked as valid
    EXPECT_EQ(Update(engine), expected) << engine;
    std::vector<std::string> named = LogGuard::Messages(QVR_ZERO_POTENTIAL);
    std::sort(named.begin(), named.end());
    EXPECT_EQ(named, (std::vector<std::string>{"All potential entries are zeros for node cause",
                                               "All potential entries are zeros for node effect"}));
    GetErrorLog().Clear();
    EXPECT_FALSE(ValueOf(network, cause).IsValueValid());
    EXPECT_FALSE(ValueOf(network, effect).IsValueValid());
    EXPECT_TRUE(ValueOf(network, apart).IsValueValid());
    EXPECT_EQ(BeliefOf(network, apart), (std::vector<double>{0.25, 0.75}));
  }
}

TEST_F(Contradiction, CliqueTreeWritesNoNumbersAndReportsNothing) {
  EXPECT_EQ(Update(ALG_CLIQUE_TREE), QVR_OKAY);
  for (int handle : {cause, effect}) {
    EXPECT_TRUE(ValueOf(network, handle).IsValueValid());
    for (double cell : BeliefOf(network, handle)) {
      EXPECT_TRUE(std::isnan(cell));
    }
  }
  EXPECT_EQ(BeliefOf(network, apart), (std::vector<double>{0.25, 0.75}));
  EXPECT_TRUE(LogGuard::Messages().empty());
}

TEST_F(Contradiction, OnlyTargetsRaiseIt) {
  ASSERT_EQ(network.SetTarget(apart), QVR_OKAY);
  EXPECT_EQ(Update(ALG_JOIN_TREE), QVR_OKAY);
  ASSERT_EQ(network.SetTarget(effect), QVR_OKAY);
  EXPECT_EQ(Update(ALG_JOIN_TREE), QVR_ZERO_POTENTIAL);
  EXPECT_EQ(LogGuard::Messages(),
            std::vector<std::string>{"All potential entries are zeros for node effect"});
}

TEST_F(Contradiction, LikelihoodsTakePartInIt) {
  ASSERT_EQ(ValueOf(network, right).ClearEvidence(), QVR_OKAY);
  ASSERT_EQ(SetLikelihoods(network, cause, {0, 0, 0.5, 0.5}), QVR_OKAY);
  EXPECT_EQ(Update(ALG_JOIN_TREE), QVR_ZERO_POTENTIAL);
  EXPECT_EQ(LogGuard::Messages(QVR_ZERO_POTENTIAL).size(), 3U);
  EXPECT_EQ(network.GetNumberOfNodes(), 5);
}

}  // namespace
}  // namespace qvr
