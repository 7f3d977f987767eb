// Networks of a hundred thousand nodes: right by closed forms, in seconds, on a small stack.
#include <gtest/gtest.h>
#include <pthread.h>

#include <chrono>
#include <functional>

#include "agreement/engine_trial.h"

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

// The networks of this file have no undirected cycle.
constexpr int kForestEngines[] = {ALG_JOIN_TREE, ALG_POLYTREE, ALG_CLIQUE_TREE, ALG_RELEVANCE_BATCHES,
                                  ALG_RELEVANCE_HALVING};

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
    for (int engine : kForestEngines) {
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
    for (int engine : kForestEngines) {
      network.SetBeliefAlgorithm(engine);
      EXPECT_EQ(network.UpdateBeliefs(), QVR_OKAY) << engine;
      ExpectFirstOutcomes(network, expected);
    }
  });
}

}  // namespace
}  // namespace qvr
