// The split of observed noisy-MAX nodes: no table, and the posteriors of the full model.
#include <gtest/gtest.h>

#include <chrono>

#include "definitions/noisy_max.h"
#include "model/network.h"
#include "support/log_guard.h"
#include "support/network_builder.h"
#include "support/random_canonical.h"

namespace qvr {
namespace {

#ifdef NDEBUG
constexpr double kMostSeconds = 1e-3;
#else
constexpr double kMostSeconds = 1;
#endif

// A noisy-MAX child of binary roots with the prior 0.3, 0.7.
int MakeFan(QVR_network& network, int parentCount) {
  std::vector<int> parents;
  for (int i = 0; i < parentCount; ++i) {
    std::string id = "p";
    id += std::to_string(i);
    parents.push_back(AddChance(network, id.c_str(), 2, {}, {.3, .7}));
  }
  TestRandom random(17);
  const int child = AddOfType(network, kTypeNoisyMax, "x", 2, parents);
  return SetRandomNumbers(network, child, {}, random) ? child : QVR_OUT_OF_RANGE;
}

// The chance that parent i leaves the child at its distinguished outcome, by the parent's outcome.
std::vector<double> Factor(const QVR_noisyMAX& definition, int i) {
  std::vector<double> factor(2);
  for (int place = 0; place < 2; ++place) {
    const int row = definition.GetParentOffset(i) + place;
    factor[static_cast<std::size_t>(definition.GetStrengths(i)[static_cast<std::size_t>(place)])] =
        definition.GetCiWeights().GetItems()[2 * row + 1];
  }
  return factor;
}

TEST(NoisyMaxSplit, IsFastExactAndNeverMakesTheTable) {
  for (int parentCount : {20, 40}) {
    for (int engine : {ALG_JOIN_TREE, ALG_CLIQUE_TREE, ALG_RELEVANCE_BATCHES, ALG_RELEVANCE_HALVING}) {
      QVR_network network;
      const int child = MakeFan(network, parentCount);
      network.SetBeliefAlgorithm(engine);
      EXPECT_EQ(network.userProperties.Add("QVR_NOISYMAXRELEVANCE", "1"), QVR_OKAY);
      const std::int64_t before = QVR_Dmatrix::MemoryInUse();
      double best = 1e9;
      for (int round = 0; round < 5; ++round) {
        ValueOf(network, child).ClearEvidence();
        const auto start = std::chrono::steady_clock::now();
        EXPECT_EQ(ValueOf(network, child).SetEvidence(1), QVR_OKAY);
        EXPECT_EQ(network.UpdateBeliefs(), QVR_OKAY);
        best =
            std::min(best, std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
      }
      EXPECT_LT(best, kMostSeconds);
      const auto& definition = dynamic_cast<QVR_noisyMAX&>(*network.NodeAt(child)->definition);
      EXPECT_FALSE(definition.IsUpToDate());
      EXPECT_LT(QVR_Dmatrix::MemoryInUse() - before, 1 << 16);
      for (int i = 0; i < parentCount; ++i) {
        const std::vector<double> factor = Factor(definition, i);
        EXPECT_NEAR(BeliefOf(network, i)[0], .3 * factor[0] / (.3 * factor[0] + .7 * factor[1]), 1e-12);
      }
    }
  }
}

// Off, or with another observation, the table is needed; beyond the limit of memory it can't be had.
TEST(NoisyMaxSplit, IsOnlyForTheDistinguishedOutcome) {
  struct {
    const char* property;  // null for none
    char field;
    int outcome;
    bool splits;
  } const cases[] = {{nullptr, 0, 1, false}, {nullptr, 1, 1, true}, {"0", 1, 1, false},
                     {"text", 1, 1, false},  {"2", 0, 1, true},     {"1", 1, 0, false}};
  for (const auto& c : cases) {
    const LogGuard guard;
    QVR_network network;
    const int child = MakeFan(network, 40);
    network.noisyMaxRelevance = c.field;
    if (c.property != nullptr) {
      EXPECT_EQ(network.userProperties.Add("QVR_NOISYMAXRELEVANCE", c.property), QVR_OKAY);
    }
    EXPECT_EQ(ValueOf(network, child).SetEvidence(c.outcome), QVR_OKAY);
    EXPECT_EQ(network.UpdateBeliefs(), c.splits ? QVR_OKAY : QVR_OUT_OF_MEMORY);
  }
}

}  // namespace
}  // namespace qvr
