// Random networks from a printed seed: small ones against the joint, larger ones against themselves.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <thread>

#include "agreement/engine_trial.h"
#include "support/log_guard.h"
#include "support/random_canonical.h"

namespace qvr {
namespace {

constexpr int kNetworkCount = kSanitized ? 300 : 2500;
constexpr int kLargerCount = kSanitized ? 20 : 150;

constexpr TableStyle kStyles[] = {
    {},
    {.zeroFraction = 0.3},
    {.zeroFraction = 0.1, .certainRowFraction = 0.2},
    {.zeroFraction = 0.5, .certainRowFraction = 0.5},
};

// Limits so small that groups are split down to single nodes, texts that count as no number, and none.
void AddThresholds(QVR_network& network, TestRandom& random) {
  constexpr const char* kValues[] = {"1", "2", "3", "7", "40", "0", "-5", "text"};
  for (const char* key :
       {"QVR_REL_DECOMP_THRESHOLD", "QVR_REL_DECOMP_THRESHOLD2", "QVR_REL_DECOMP_THRESHOLD3"}) {
    if (random.Chance(0.5)) {
      EXPECT_EQ(network.userProperties.Add(key, kValues[random.Below(8)]), QVR_OKAY);
    }
  }
  if (random.Chance(0.2)) {
    EXPECT_EQ(network.userProperties.Add("QVR_REL_DECOMP_DISABLE_FALLBACK", ""), QVR_OKAY);
  }
}

// Some nodes become deterministic: each row keeps its likeliest outcome alone.
void AddTruthTables(QVR_network& network, TestRandom& random) {
  for (const int handle : AllNodes(network)) {
    if (network.NodeAt(handle)->GetType() == kTypeCpt && random.Chance(0.4)) {
      EXPECT_EQ(network.NodeAt(handle)->ChangeType(kTypeTruthTable), QVR_OKAY);
    }
  }
}

// The split of noisy-MAX nodes: off, on by the field, or as the property says whatever the field is.
void ChooseSplit(QVR_network& network, TestRandom& random) {
  network.noisyMaxRelevance = random.Chance(0.5) ? 1 : 0;
  if (random.Chance(0.5)) {
    EXPECT_EQ(network.userProperties.Add("QVR_NOISYMAXRELEVANCE", random.Chance(0.7) ? "1" : "0"), QVR_OKAY);
  }
}

void TryRandomNetwork(std::uint64_t seed, const TableStyle& style) {
  SCOPED_TRACE("seed " + std::to_string(seed));
  TestRandom random(seed);
  const int nodeCount = 2 + random.Below(11);
  const ParentLists parents = RandomParents(nodeCount, 1 + random.Below(4), nodeCount, random);
  const std::vector<int> counts = RandomOutcomeCounts(nodeCount, 2, 4, 1 << 14, random);
  QVR_network network;
  const bool isMixed = random.Chance(0.6);
  ASSERT_TRUE(isMixed ? FillMixedNetwork(parents, counts, style, random, network)
                      : FillNetwork(parents, counts, style, random, network));
  if (seed % 3 == 0 && style.zeroFraction > 0) {
    AddTruthTables(network, random);
  }
  AddThresholds(network, random);
  ChooseSplit(network, random);
  Trial trial(network);
  trial.CheckEngines();
  for (int step = 0; step < 6 && !testing::Test::HasFailure(); ++step) {
    for (int entries = 1 + random.Below(3); entries > 0; --entries) {
      trial.EnterSomething(random);
    }
    trial.CheckEngines();
  }
}

TEST(Random, EnginesAgreeWithTheJoint) {
  const std::uint64_t seed = FirstSeed();
  for (int i = 0; i < kNetworkCount; ++i) {
    TryRandomNetwork(seed + static_cast<std::uint64_t>(i), kStyles[i % 4]);
    ASSERT_FALSE(HasFailure());
  }
}

TEST(Random, TwoThreadsWorkOnTwoNetworks) {
  const std::uint64_t seed = FirstSeed() + 1000000;
  const auto work = [](std::uint64_t first) {
    for (std::uint64_t i = 0; i < kNetworkCount / 10; ++i) {
      TryRandomNetwork(first + i, {});
    }
  };
  std::thread other(work, seed);
  work(seed + 1000000);
  other.join();
}

using Beliefs = std::vector<std::vector<double>>;

Beliefs UpdatedBeliefs(QVR_network& network, int engine) {
  network.SetBeliefAlgorithm(engine);
  EXPECT_EQ(network.UpdateBeliefs(), QVR_OKAY);
  Beliefs beliefs;
  for (int handle : AllNodes(network)) {
    EXPECT_TRUE(ValueOf(network, handle).IsValueValid());
    beliefs.push_back(BeliefOf(network, handle));
  }
  return beliefs;
}

double LargestDifference(const Beliefs& a, const Beliefs& b) {
  double largest = 0;
  for (std::size_t node = 0; node < a.size(); ++node) {
    for (std::size_t i = 0; i < a[node].size(); ++i) {
      const double difference = std::abs(a[node][i] - b[node][i]);
      largest = std::isnan(difference) ? HUGE_VAL : std::max(largest, difference);
    }
  }
  return largest;
}

// Weighing what is believed under each outcome of x by the belief in that outcome gives what is believed.
void ExpectTotalProbability(QVR_network& network, const Beliefs& beliefs, int x) {
  const UpdateFlagsOff noDeductions(network,
                                    UPDATE_PROPAGATE_EVIDENCE);  // they would drop likelihoods for good
  Beliefs total = beliefs;
  for (std::vector<double>& row : total) {
    row.assign(row.size(), 0);
  }
  const std::vector<double>& weights = beliefs[static_cast<std::size_t>(x)];
  for (std::size_t outcome = 0; outcome < weights.size(); ++outcome) {
    if (weights[outcome] < 1e-12) {
      continue;
    }
    ASSERT_EQ(ValueOf(network, x).SetEvidence(static_cast<int>(outcome)), QVR_OKAY);
    const Beliefs given = UpdatedBeliefs(network, network.GetBeliefAlgorithm());
    for (std::size_t node = 0; node < total.size(); ++node) {
      for (std::size_t i = 0; i < total[node].size(); ++i) {
        total[node][i] += weights[outcome] * given[node][i];
      }
    }
  }
  EXPECT_EQ(ValueOf(network, x).ClearEvidence(), QVR_OKAY);
  EXPECT_LE(LargestDifference(total, beliefs), kTolerance);
}

TEST(Random, LargerNetworksAgreeWithThemselves) {
  const std::uint64_t seed = FirstSeed() + 5000000;
  for (int i = 0; i < kLargerCount; ++i) {
    SCOPED_TRACE("network " + std::to_string(i));
    TestRandom random(seed + static_cast<std::uint64_t>(i));
    const int nodeCount = 30 + random.Below(31);
    const ParentLists parents = RandomParents(nodeCount, 3, 6, random);
    const std::vector<int> counts = RandomOutcomeCounts(nodeCount, 2, 3, 1e300, random);
    QVR_network network;
    ASSERT_TRUE(FillNetwork(parents, counts, kStyles[i % 4], random, network));
    AddThresholds(network, random);
    const std::vector<int> states = SampleStates(network, random);
    for (int observed = random.Below(8); observed > 0; --observed) {
      const int handle = random.Below(nodeCount);
      if (!ValueOf(network, handle).HasEvidence()) {
        ASSERT_EQ(ValueOf(network, handle).SetEvidence(states[static_cast<std::size_t>(handle)]), QVR_OKAY);
      }
    }
    const int weighed = random.Below(nodeCount);
    if (!ValueOf(network, weighed).HasEvidence()) {
      const int count = counts[static_cast<std::size_t>(weighed)];
      ASSERT_EQ(SetLikelihoods(network, weighed, RandomTable(1, count, {}, random)), QVR_OKAY);
    }
    const Beliefs beliefs = UpdatedBeliefs(network, ALG_JOIN_TREE);
    for (int engine : kExactEngines) {
      EXPECT_LE(LargestDifference(UpdatedBeliefs(network, engine), beliefs), kTolerance) << engine;
    }
    const int x = random.Below(nodeCount);
    const int flags = ValueOf(network, x).GetFlags();
    if ((flags & (kValueAnyEvidence | kValueVirtualEvidence)) == 0) {
      network.SetBeliefAlgorithm(kExactEngines[i % 4]);
      ExpectTotalProbability(network, beliefs, x);
    }
    ASSERT_FALSE(HasFailure());
  }
}

}  // namespace
}  // namespace qvr
