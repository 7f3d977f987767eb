// The solver of singly connected networks: against the joint, against the join tree, and where it refuses.
#include <gtest/gtest.h>

#include <array>

#include "agreement/engine_trial.h"
#include "definitions/fake_definition.h"
#include "support/log_guard.h"

namespace qvr {
namespace {

constexpr int kNetworkCount = kSanitized ? 100 : 1000;
constexpr int kPolytree[] = {ALG_POLYTREE};
constexpr TableStyle kStyles[] = {{}, {.zeroFraction = 0.3}, {.certainRowFraction = 0.6}};

using Row = std::vector<double>;

int Update(QVR_network& network, int engine = ALG_POLYTREE) {
  network.SetBeliefAlgorithm(engine);
  return network.UpdateBeliefs();
}

TEST(Polytree, AgreesWithTheJointWhateverIsEntered) {
  const std::uint64_t seed = FirstSeed() + 9000000;
  for (std::uint64_t i = 0; i < kNetworkCount && !HasFailure(); ++i) {
    SCOPED_TRACE("seed " + std::to_string(seed + i));
    TestRandom random(seed + i);
    const int nodeCount = 1 + random.Below(12);
    const ParentLists parents = PolytreeParents(nodeCount, 1 + random.Below(4), random);
    QVR_network network;
    ASSERT_TRUE(FillNetwork(parents, RandomOutcomeCounts(nodeCount, 2, 4, 1 << 14, random), kStyles[i % 3],
                            random, network));
    Trial trial(network);
    trial.CheckEngines(kPolytree);
    for (int step = 0; step < 12 && !HasFailure(); ++step) {
      trial.EnterSomething(random);
      trial.CheckEngines(kPolytree);
    }
  }
}

TEST(Polytree, AgreesWithTheJoinTreeOnManyParentsAndObservations) {
  constexpr int kNodeCount = 10000;
  TestRandom random(FirstSeed());
  QVR_network network;
  ASSERT_TRUE(FillNetwork(PolytreeParents(kNodeCount, 5, random), std::vector<int>(kNodeCount, 2),
                          {.zeroFraction = 0.1}, random, network));
  const UpdateFlagsOff quiet(network, UPDATE_TRACK_CHANGES | UPDATE_PROPAGATE_EVIDENCE);
  const std::vector<int> states = SampleStates(network, random);
  for (int handle = 0; handle < kNodeCount; handle += 3) {
    ASSERT_EQ(ValueOf(network, handle).SetEvidence(states[static_cast<std::size_t>(handle)]), QVR_OKAY);
  }
  ASSERT_EQ(Update(network, ALG_JOIN_TREE), QVR_OKAY);
  std::vector<Row> expected;
  for (int handle = 0; handle < kNodeCount; ++handle) {
    expected.push_back(BeliefOf(network, handle));
  }
  ASSERT_EQ(Update(network), QVR_OKAY);
  for (int handle = 0; handle < kNodeCount; ++handle) {
    ASSERT_NEAR(BeliefOf(network, handle)[0], expected[static_cast<std::size_t>(handle)][0], kTolerance);
  }
}

// Each half of the symptoms all but rules out what the other can't be without.
TEST(Polytree, ManyObservedChildrenLeaveAnOutcomeThatBothHalvesDisfavour) {
  QVR_network network;
  const int cause = AddChance(network, "cause", 3, {}, {0.3, 0.3, 0.4});
  int watcher = -1;
  for (int i = 0; i < 1400; ++i) {
    const Row table = i < 700 ? Row{1, 0, 0.5, 0.5, 0, 1} : Row{0, 1, 0.5, 0.5, 1, 0};
    ASSERT_EQ(ValueOf(network, AddChance(network, nullptr, 2, {cause}, table)).SetEvidence(0), QVR_OKAY);
    if (i == 699) {
      watcher = AddChance(network, "watcher", 2, {cause}, {0.9, 0.1, 0.25, 0.75, 0.6, 0.4});
    }
  }
  EXPECT_EQ(Update(network), QVR_OKAY);
  EXPECT_EQ(BeliefOf(network, cause), (Row{0, 1, 0}));
  EXPECT_EQ(BeliefOf(network, watcher), (Row{0.25, 0.75}));
}

TEST(Polytree, ContradictionLeavesZerosWhereItReaches) {
  const LogGuard log;
  QVR_network network;
  const int cause = AddChance(network, "cause", 4, {}, {0.1, 0.2, 0.3, 0.4});
  const int left = AddChance(network, "left", 2, {cause}, {0.5, 0.5, 0.3, 0.7, 0, 1, 0, 1});
  const int right = AddChance(network, "right", 2, {cause}, {0, 1, 0, 1, 0.5, 0.5, 0.3, 0.7});
  const int behind = AddChance(network, "behind", 2, {left}, {0.9, 0.1, 0.2, 0.8});
  const int only = AddChance(network, "only", 2, {cause}, {1, 0, 1, 0, 1, 0, 1, 0});
  network.NodeAt(only)->definition =
      std::make_unique<FakeDefinition>(network, only, kTypeTruthTable, 1, Row{1, 1, 1, 1});
  const int apart = AddChance(network, "apart", 2, {}, {0.25, 0.75});
  const Row apartBefore = BeliefOf(network, apart);
  ASSERT_EQ(ValueOf(network, left).SetEvidence(0), QVR_OKAY);
  ASSERT_EQ(ValueOf(network, right).SetEvidence(0), QVR_OKAY);
  EXPECT_EQ(Update(network), QVR_OKAY);
  EXPECT_EQ(BeliefOf(network, cause), Row(4, 0.0));
  EXPECT_EQ(BeliefOf(network, left), (Row{1, 0}));
  EXPECT_EQ(BeliefOf(network, behind), (Row{0.9, 0.1}));  // an observed node lets nothing through
  EXPECT_EQ(BeliefOf(network, only), Row{1});
  EXPECT_EQ(BeliefOf(network, apart), apartBefore);  // no message comes to another part
  EXPECT_TRUE(ValueOf(network, cause).IsValueValid() && ValueOf(network, apart).IsValueValid());
  EXPECT_TRUE(LogGuard::Messages().empty());
}

TEST(Polytree, RefusesLoopsAndForeignTablesBeforeItWrites) {
  const LogGuard log;
  QVR_network network;
  TestRandom random(1);
  ASSERT_TRUE(FillNetwork({{}, {0}, {0}, {1}}, {2, 3, 2, 2}, {}, random, network));
  ASSERT_EQ(ValueOf(network, 0).GetMatrix()->SetDimensions(std::array{2, 2}), QVR_OKAY);
  ASSERT_EQ(TableOf(network, 3)->SetDimensions(std::array{2, 2}), QVR_OKAY);
  EXPECT_EQ(Update(network), QVR_OUT_OF_RANGE);
  EXPECT_TRUE(LogGuard::Messages().empty());
  ASSERT_EQ(network.AddArc(2, 3, kOrdinaryLayer), QVR_OKAY);
  EXPECT_EQ(Update(network), QVR_GENERAL_ERROR);
  EXPECT_EQ(LogGuard::Messages(QVR_GENERAL_ERROR),
            std::vector<std::string>{"PolyTree algorithm can not be applied to this network, because it is "
                                     "not singly connected."});
  EXPECT_EQ(ValueOf(network, 0).GetMatrix()->GetNumElements(), 4);
  EXPECT_FALSE(ValueOf(network, 0).IsValueValid());
}

}  // namespace
}  // namespace qvr
