// Networks of a hundred thousand nodes: right by closed forms, in seconds, on a small stack.
#include <gtest/gtest.h>
#include <pthread.h>

#include <chrono>
#include <functional>

#include "agreement/engine_trial.h"
#include "support/log_guard.h"

namespace qvr {
namespace {

constexpr int kNodeCount = kSanitized ? 20000 : 100000;
constexpr std::chrono::seconds kPatience(kSanitized ? 600 : 60);  // quadratic work would take hours

// A walk as deep as the network is long would overflow this stack.
void RunOnSmallStack(const std::function<void()>& work) {
  constexpr std::size_t kStackBytes = kSanitized ? 1 << 20 : 1 << 18;
  pthread_attr_t attributes;
  ASSERT_EQ(pthread_attr_init(&attributes), 0);
  ASSERT_EQ(pthread_attr_setstacksize(&attributes, kStackBytes), 0);
  const auto run = [](void* argument) -> void* {
    (*static_cast<const std::function<void()>*>(argument))();
    return nullptr;
  };
  std::function<void()> owned = work;
  pthread_t thread;
  const auto start = std::chrono::steady_clock::now();
  ASSERT_EQ(pthread_create(&thread, &attributes, run, &owned), 0);
  pthread_join(thread, nullptr);
  pthread_attr_destroy(&attributes);
  EXPECT_LT(std::chrono::steady_clock::now() - start, kPatience);
}

// Without these, ids 11 and 12 go through the whole network once for each small group of targets.
void AllowLargeGroups(QVR_network& network) {
  ASSERT_EQ(network.userProperties.Add("QVR_REL_DECOMP_THRESHOLD", "1000000"), QVR_OKAY);
  ASSERT_EQ(network.userProperties.Add("QVR_REL_DECOMP_THRESHOLD2", "100000000"), QVR_OKAY);
}

void FillLarge(const ParentLists& parents, QVR_network& network) {
  TestRandom random(7);
  ASSERT_TRUE(FillNetwork(parents, std::vector<int>(parents.size(), 2), {}, random, network));
  ASSERT_EQ(network.GetTopologicalOrder().GetNumItems(), kNodeCount);
  AllowLargeGroups(network);
}

// The beliefs of a forest without evidence: from each parent straight to its children.
std::vector<double> FirstOutcomes(QVR_network& network, const ParentLists& parents) {
  std::vector<double> beliefs;
  for (std::size_t i = 0; i < parents.size(); ++i) {
    const QVR_Dmatrix& table = *TableOf(network, static_cast<int>(i));
    const double above = parents[i].empty() ? 1 : beliefs[static_cast<std::size_t>(parents[i][0])];
    beliefs.push_back(above * table.Subscript(0) +
                      (parents[i].empty() ? 0 : (1 - above) * table.Subscript(2)));
  }
  return beliefs;
}

void ExpectFirstOutcomes(QVR_network& network, const std::vector<double>& expected) {
  double largest = 0;
  for (std::size_t i = 0; i < expected.size(); ++i) {
    const std::vector<double> belief = BeliefOf(network, static_cast<int>(i));
    ASSERT_TRUE(ValueOf(network, static_cast<int>(i)).IsValueValid());
    largest = std::max(largest, std::abs(belief[0] - expected[i]));
  }
  EXPECT_LE(largest, kTolerance);
}

void ExpectForest(const ParentLists& parents) {
  RunOnSmallStack([&parents] {
    QVR_network network;
    FillLarge(parents, network);
    EXPECT_EQ(network.IsAcyclic(), 1);
    EXPECT_EQ(network.IsPolytree(), 1);
    const std::vector<double> expected = FirstOutcomes(network, parents);
    for (int engine : kExactEngines) {
      SCOPED_TRACE(engine);
      network.InvalidateAll();
      network.SetBeliefAlgorithm(engine);
      EXPECT_EQ(network.UpdateBeliefs(), QVR_OKAY);
      ExpectFirstOutcomes(network, expected);
    }
  });
}

TEST(Large, Chain) { ExpectForest(ChainParents(kNodeCount)); }
TEST(Large, Hub) { ExpectForest(HubParents(kNodeCount - 1)); }

TEST(Large, WideTree) {
  TestRandom random(11);
  ExpectForest(TreeParents(kNodeCount, random));
}

// Evidence at the far end, so that messages have to come all the way back.
TEST(Large, ChainWithEvidenceAtItsEnd) {
  RunOnSmallStack([] {
    QVR_network network;
    FillLarge(ChainParents(kNodeCount), network);
    const int last = kNodeCount - 1;
    ASSERT_EQ(ValueOf(network, last).SetEvidence(0), QVR_OKAY);
    ASSERT_EQ(ValueOf(network, 0).SetEvidence(1), QVR_OKAY);
    const std::vector<double> forward = [&network] {
      std::vector<double> beliefs{0};
      for (int i = 1; i < kNodeCount; ++i) {
        const QVR_Dmatrix& table = *TableOf(network, i);
        beliefs.push_back(beliefs.back() * table.Subscript(0) + (1 - beliefs.back()) * table.Subscript(2));
      }
      return beliefs;
    }();
    std::vector<double> expected(forward);
    double zero = 1;  // how much the evidence below favours either outcome
    double one = 0;
    for (int i = last; i > 0; --i) {
      const double above = forward[static_cast<std::size_t>(i)];
      expected[static_cast<std::size_t>(i)] = above * zero / (above * zero + (1 - above) * one);
      const QVR_Dmatrix& table = *TableOf(network, i);
      const double before = table.Subscript(0) * zero + table.Subscript(1) * one;
      one = table.Subscript(2) * zero + table.Subscript(3) * one;
      zero = before / (before + one);
      one = 1 - zero;
    }
    for (int engine : kExactEngines) {
      network.SetBeliefAlgorithm(engine);
      EXPECT_EQ(network.UpdateBeliefs(), QVR_OKAY) << engine;
      ExpectFirstOutcomes(network, expected);
    }
  });
}

// The product of the likelihoods is far below the smallest double.
TEST(Large, ThousandsOfObservedChildrenOfOneNode) {
  constexpr int kPairs = 2000;
  const LogGuard log;
  RunOnSmallStack([] {
    QVR_network network;
    const int hub = AddChance(network, "hub", 2, {}, {0.5, 0.5});
    const UpdateFlagsOff quiet(network, UPDATE_TRACK_CHANGES);
    for (int i = 0; i < 2 * kPairs; ++i) {
      const std::string id = "leaf" + std::to_string(i);
      const int leaf = AddChance(network, id.c_str(), 3, {hub}, {0.3, 0.1, 0.6, 0.1, 0.3, 0.6});
      ASSERT_EQ(ValueOf(network, leaf).SetEvidence(i < 2 * kPairs - 2 ? i % 2 : 0), QVR_OKAY);
    }
    const int free = AddChance(network, "free", 2, {hub}, {0.9, 0.1, 0.2, 0.8});
    AllowLargeGroups(network);
    for (int engine : kExactEngines) {
      network.InvalidateAll();
      network.SetBeliefAlgorithm(engine);
      EXPECT_EQ(network.UpdateBeliefs(), QVR_OKAY) << engine;
      // Pairs cancel, but for the last, which favours the hub's first outcome by (0.3 / 0.1) squared.
      EXPECT_NEAR(BeliefOf(network, hub)[0], 0.9, kTolerance);
      EXPECT_NEAR(BeliefOf(network, free)[0], 0.9 * 0.9 + 0.1 * 0.2, kTolerance);
    }
  });
  EXPECT_TRUE(LogGuard::Messages().empty());
}

// All pairs of forty roots have a child: one tree for all of them has no room, but a group of children
// needs only its own roots.
class Pairs : public testing::Test {
 protected:
  static constexpr int kRoots = 40;

  void SetUp() override {
    const UpdateFlagsOff quiet(network, UPDATE_TRACK_CHANGES);
    for (int i = 0; i < kRoots; ++i) {
      AddChance(network, nullptr, 2, {}, {RootBelief(i), 1 - RootBelief(i)});
    }
    for (int i = 0; i < kRoots; ++i) {
      for (int j = i + 1; j < kRoots; ++j) {
        AddChance(network, nullptr, 2, {i, j}, {0.1, 0.9, 0.4, 0.6, 0.7, 0.3, 0.8, 0.2});
      }
    }
  }

  static double RootBelief(int root) { return 0.2 + 0.01 * root; }

  void ExpectAllBeliefs() {
    int child = kRoots;
    for (int i = 0; i < kRoots; ++i) {
      const double p = RootBelief(i);
      EXPECT_NEAR(BeliefOf(network, i)[0], p, kTolerance);
      for (int j = i + 1; j < kRoots; ++j, ++child) {
        const double q = RootBelief(j);
        const double expected = 0.1 * p * q + 0.4 * p * (1 - q) + 0.7 * (1 - p) * q + 0.8 * (1 - p) * (1 - q);
        EXPECT_NEAR(BeliefOf(network, child)[0], expected, kTolerance);
      }
    }
  }

  LogGuard log;
  QVR_network network;
};

TEST_F(Pairs, GroupsAnswerWhatOneTreeCannot) {
  for (int engine : {ALG_JOIN_TREE, ALG_RELEVANCE_BATCHES, ALG_RELEVANCE_HALVING}) {
    SCOPED_TRACE(engine);
    network.InvalidateAll();
    network.SetBeliefAlgorithm(engine);
    EXPECT_EQ(network.UpdateBeliefs(), QVR_OKAY);
    ExpectAllBeliefs();
    EXPECT_EQ(network.GetTargetCount(), 0);
  }
  EXPECT_TRUE(LogGuard::Messages().empty());
}

TEST_F(Pairs, RefusalsWithoutFallback) {
  network.SetBeliefAlgorithm(ALG_CLIQUE_TREE);
  EXPECT_EQ(network.UpdateBeliefs(), QVR_OUT_OF_MEMORY);
  // With every child observed the roots hang together however few of them are wanted.
  const UpdateFlagsOff quiet(network, UPDATE_TRACK_CHANGES);
  for (int child = kRoots; child < network.GetNumberOfNodes(); ++child) {
    ASSERT_EQ(ValueOf(network, child).SetEvidence(0), QVR_OKAY);
  }
  ASSERT_EQ(network.SetTarget(3), QVR_OKAY);
  for (int engine : kExactEngines) {
    network.SetBeliefAlgorithm(engine);
    EXPECT_EQ(network.UpdateBeliefs(), QVR_OUT_OF_MEMORY) << engine;
    EXPECT_EQ(network.IsTarget(3), 1);
  }
  network.ClearAllEvidence();
  network.ClearAllTargets();
  ASSERT_EQ(network.userProperties.Add("QVR_REL_DECOMP_DISABLE_FALLBACK", nullptr), QVR_OKAY);
  network.SetBeliefAlgorithm(ALG_JOIN_TREE);
  EXPECT_EQ(network.UpdateBeliefs(), QVR_OUT_OF_MEMORY);
}

TEST(NoUpdate, ValuesThatNothingReachedHoldZeros) {
  QVR_network network;
  const int handle = AddChance(network, "a", 3, {}, {0.2, 0.3, 0.5});
  EXPECT_EQ(BeliefOf(network, handle), (std::vector<double>{0, 0, 0}));
  EXPECT_EQ(network.NodeAt(handle)->definition->AddOutcome("late"), QVR_OKAY);
  EXPECT_EQ(BeliefOf(network, handle), (std::vector<double>{0, 0, 0, 0}));
  EXPECT_FALSE(ValueOf(network, handle).IsValueValid());
}

}  // namespace
}  // namespace qvr
