// What the samplers share, and what they say when they can't answer.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numeric>
#include <thread>

#include "inference/clip_rules.h"
#include "inference/draw_thresholds.h"
#include "inference/importance_sampler.h"
#include "inference/sample_net_run.h"
#include "model/random_source.h"
#include "support/log_guard.h"
#include "support/network_builder.h"
#include "support/random_network.h"

namespace qvr {
namespace {

constexpr const char* kNoSamples = "No useful samples have been generated for some of nodes.";

int Update(QVR_network& network, int id) {
  network.SetBeliefAlgorithm(id);
  return network.UpdateBeliefs();
}

std::vector<double> AllBeliefs(QVR_network& network) {
  std::vector<double> beliefs;
  for (const int handle : AllNodes(network)) {
    const std::vector<double> own = BeliefOf(network, handle);
    beliefs.insert(beliefs.end(), own.begin(), own.end());
  }
  return beliefs;
}

// The first outcome at which the sum is above u; without any, the last one.
int OutcomeAbove(const std::vector<double>& row, double u) {
  double sum = 0;
  for (std::size_t k = 0; k < row.size(); ++k) {
    sum += row[k];
    if (sum > u) {
      return static_cast<int>(k);
    }
  }
  return static_cast<int>(row.size()) - 1;
}

// The first outcome at which the sum reaches u; without any, the last one that is possible.
int OutcomeReached(const std::vector<double>& row, double u) {
  double sum = 0;
  std::size_t possible = row.size() - 1;
  for (std::size_t k = 0; k < row.size(); ++k) {
    sum += row[k];
    possible = row[k] != 0 ? k : possible;
    if (sum >= u) {
      return static_cast<int>(k);
    }
  }
  return static_cast<int>(possible);
}

TEST(Draws, ChooseAsTheAccumulatedSumsDo) {
  TestRandom random(5);
  for (int trial = 0; trial < 60; ++trial) {
    const int count = 1 + random.Below(trial % 2 == 0 ? 5 : 40);
    std::vector<double> row = RandomTable(1, count, {.zeroFraction = 0.4}, random);
    for (double& entry : row) {
      entry *= trial % 3 == 0 ? 0.9 : 1;  // rows needn't sum to 1
    }
    std::vector<std::uint16_t> plain(row.size());
    std::vector<std::uint16_t> learned(row.size());
    MakeThresholds(row, count, plain.data());
    MakeSampleThresholds(row, count, learned.data());
    for (int draw = 0; draw <= 32767; ++draw) {
      const double inside = std::clamp(draw / 32767.0, 1e-11, 1.0 - 1e-11);
      ASSERT_EQ(DrawOutcome(plain.data(), count, draw), OutcomeAbove(row, draw / 32767.0)) << draw;
      ASSERT_EQ(DrawOutcome(learned.data(), count, draw), OutcomeReached(row, inside)) << draw;
    }
  }
}

TEST(ClipRules, KeepRowsThatSumToOneAndExcludeNothingPossible) {
  const std::vector<double> rows[] = {{0.9938994, 0.0061, 3e-7, 2e-7, 1e-7},
                                      {0.99, 0.01, 0, 0, 0},
                                      {0.2, 0.2, 0.2, 0.2, 0.2},
                                      {1, 0},
                                      {0.5, 0.3, 0.15, 0.04, 0.005, 0.005}};
  for (const std::vector<double>& row : rows) {
    const int count = static_cast<int>(row.size());
    std::vector<std::vector<double>> clipped(5, row);
    ClipByRule(row, count, clipped[0]);
    SpreadUniformly(row, count, clipped[1]);
    ClipByEpsilon({}, count, clipped[2]);
    ClipByEpsilon({.eps1 = 0.3, .eps2 = 0.3}, count, clipped[3]);
    ClipByEpsilon({.eps1 = HUGE_VAL, .eps2 = HUGE_VAL}, count, clipped[4]);
    for (const std::vector<double>& result : clipped) {
      SCOPED_TRACE(testing::PrintToString(row) + testing::PrintToString(result));
      EXPECT_NEAR(std::accumulate(result.begin(), result.end(), 0.0), 1, 1e-9);
      for (std::size_t k = 0; k < row.size(); ++k) {
        EXPECT_EQ(result[k] > 0, row[k] > 0);
      }
    }
  }
  std::vector<double> payer(4);
  ClipByRule(std::vector{0.05, 0.75, 0.17, 0.03}, 4, payer);  // the largest entry pays for all
  EXPECT_NEAR(payer[1], 0.63, 1e-12);
  EXPECT_EQ(payer[2], 0.17);
  payer = {0.001, 0.7, 0.299, 0};
  ClipByEpsilon({}, 4, payer);  // both entries above the floor of 0.006 pay alike
  EXPECT_NEAR(payer[1], 0.6975, 1e-12);
  EXPECT_NEAR(payer[2], 0.2965, 1e-12);
  payer = {0.05, 0.02, 0, 0};
  ClipByRule(std::vector{0.05, 0.02, 0.0, 0.0}, 4, payer);  // too little in the row to pay with
  EXPECT_GT(payer[0], 0);
}

// A root of three outcomes of which each is excluded by one of three observed children, which no single table
// shows; and beside it a pair of nodes without contradiction.
struct ContradictoryNetwork {
  ContradictoryNetwork() {
    root = AddChance(network, "root", 3, {}, {0.2, 0.3, 0.5});
    for (int excluded = 0; excluded < 3; ++excluded) {
      std::vector<double> table = {0.5, 0.5, 0.5, 0.5, 0.5, 0.5};
      table[static_cast<std::size_t>(2 * excluded)] = 0;
      table[static_cast<std::size_t>(2 * excluded + 1)] = 1;
      children.push_back(AddChance(network, nullptr, 2, {root}, table));
    }
  }
  void AddPair() {
    const int upper = AddChance(network, nullptr, 2, {}, {0.3, 0.7});
    pair = {upper, AddChance(network, nullptr, 2, {upper}, {0.9, 0.1, 0.2, 0.8})};
  }
  void Observe() {
    for (const int child : children) {
      EXPECT_EQ(ValueOf(network, child).SetEvidence(0), QVR_OKAY);
    }
  }
  [[nodiscard]] bool ArePairsValid(bool valid) {
    return std::all_of(pair.begin(), pair.end(),
                       [&](int node) { return ValueOf(network, node).IsValueValid() == valid; });
  }

  QVR_network network;
  int root = -1;
  std::vector<int> children;
  std::vector<int> pair;
};

TEST(Samplers, TellWhereNoSampleIsUseful) {
  for (const bool endsWell : {false, true}) {
    for (int id = ALG_LOGIC_SAMPLING; id <= ALG_LOOPY_BELIEF; ++id) {
      if (id == ALG_POLYTREE) {
        continue;
      }
      SCOPED_TRACE(testing::Message() << id << endsWell);
      const LogGuard log;
      ContradictoryNetwork trial;
      QVR_network& network = trial.network;
      if (endsWell) {
        trial.AddPair();
      }
      trial.Observe();
      const bool older = id < ALG_ADAPTIVE_IMPORTANCE;
      const bool loopy = id == ALG_LOOPY_BELIEF;
      EXPECT_EQ(Update(network, id), loopy || (older && endsWell) ? QVR_OKAY : QVR_NO_SAMPLES);
      EXPECT_EQ(LogGuard::Messages(), std::vector<std::string>(loopy ? 0 : 1, kNoSamples));
      EXPECT_EQ(ValueOf(network, trial.root).IsValueValid(), !older && !loopy);
      EXPECT_TRUE(trial.ArePairsValid(older));
      for (const double belief : AllBeliefs(network)) {
        EXPECT_TRUE(std::isfinite(belief));
      }
      // Without a sample to draw every component fails, however harmless.
      GetErrorLog().Clear();
      network.ClearAllEvidence();
      network.sampleCount = 0;
      EXPECT_EQ(Update(network, id), loopy ? QVR_OKAY : QVR_NO_SAMPLES);
      EXPECT_EQ(LogGuard::Messages().size(), loopy ? 0U : older && endsWell ? 2U : 1U);
    }
  }
}

TEST(Samplers, RepeatToTheLastBitFromASeed) {
  TestRandom random(3);
  QVR_network network;
  ASSERT_TRUE(FillNetwork(RandomParents(12, 3, 6, random), RandomOutcomeCounts(12, 2, 4, 1e9, random),
                          {.zeroFraction = 0.1}, random, network));
  ASSERT_EQ(
      SetLikelihoods(network, 11, RandomTable(1, network.NodeAt(11)->GetNumberOfOutcomes(), {}, random)),
      QVR_OKAY);
  const auto run = [&network](std::uint32_t seed) {
    SeedRandomStreams(seed);
    std::vector<double> beliefs;
    for (int id = ALG_LOGIC_SAMPLING; id <= ALG_LOOPY_BELIEF; ++id) {
      if (id != ALG_POLYTREE) {
        EXPECT_EQ(Update(network, id), QVR_OKAY);
        const std::vector<double> own = AllBeliefs(network);
        beliefs.insert(beliefs.end(), own.begin(), own.end());
      }
    }
    QVR_randomSource fresh(0);
    beliefs.push_back(fresh.NextDouble());
    return beliefs;
  };
  const std::vector<double> first = run(11);
  EXPECT_NE(run(12), first);
  std::vector<double> elsewhere;
  std::thread([&] { elsewhere = run(11); }).join();
  EXPECT_EQ(elsewhere, first);
  QVR_randomSource old(0);
  SeedRandomStreams(11);
  const double drawn = old.NextDouble();
  SeedRandomStreams(11);
  EXPECT_EQ(old.NextDouble(), drawn);  // also a source that has started before
  SeedRandomStreams(0);
  EXPECT_NE(old.NextDouble(), drawn);
}

TEST(Samplers, AreOneUntilTheTablesPart) {
  ContradictoryNetwork trial;
  ValueOf(trial.network, trial.children[0]).SetEvidence(0);
  std::vector<std::vector<double>> found;
  for (const int id : {ALG_LIKELIHOOD_WEIGHTING, ALG_LIKELIHOOD_WEIGHTING_2, ALG_SELF_IMPORTANCE}) {
    trial.network.sampleCount = 100;
    SeedRandomStreams(5);
    EXPECT_EQ(Update(trial.network, id), QVR_OKAY);
    found.push_back(AllBeliefs(trial.network));
  }
  EXPECT_EQ(found[1], found[0]);
  EXPECT_EQ(found[2], found[0]);
}

// Drawn with probability q, an outcome of prior p and likelihood L weighs (p/q)^2 L, and the tables lean half
// towards the weights: their shares s settle where s ~ p^2 L / q and q = (s + p) / 2. For p of 0.1 and 0.9
// and L of 0.9 and 0.1 that is near 0.31, where the posterior is one half.
TEST(Samplers, SelfImportanceCountsItsRatioTwice) {
  QVR_network network;
  const int cause = AddChance(network, "cause", 2, {}, {0.1, 0.9});
  ValueOf(network, AddChance(network, "sign", 2, {cause}, {0.9, 0.1, 0.1, 0.9})).SetEvidence(0);
  double q = 0.1;
  double share = 0;
  for (int i = 0; i < 200; ++i) {
    const double first = 0.1 * 0.1 / q * 0.9;
    const double second = 0.9 * 0.9 / (1 - q) * 0.1;
    share = first / (first + second);
    q += 0.1 * ((share + 0.1) / 2 - q);
  }
  EXPECT_NEAR(share, 0.31, 0.01);
  network.sampleCount = 400000;
  EXPECT_EQ(Update(network, ALG_SELF_IMPORTANCE), QVR_OKAY);
  EXPECT_NEAR(BeliefOf(network, cause)[0], share, 0.01);
}

// 0.2^2000 0.3^2000 is far below a double's range; the two kinds of children cancel but for the last.
TEST(Samplers, KeepWeightsOfThousandsOfObservations) {
  QVR_network network;
  network.SetUpdateFlags(0);
  const int hub = AddChance(network, "hub", 2, {}, {0.5, 0.5});
  for (int i = 0; i < 4000; ++i) {
    const std::vector<double> table =
        i % 2 == 0 ? std::vector<double>{0.2, 0.8, 0.3, 0.7} : std::vector<double>{0.3, 0.7, 0.2, 0.8};
    ValueOf(network, AddChance(network, nullptr, 2, {hub}, table)).SetEvidence(0);
  }
  ValueOf(network, AddChance(network, "last", 2, {hub}, {0.2, 0.8, 0.6, 0.4})).SetEvidence(0);
  SeedRandomStreams(2);
  network.sampleCount = 4000;
  for (int id = ALG_LIKELIHOOD_WEIGHTING; id <= ALG_LOOPY_BELIEF; ++id) {
    EXPECT_EQ(Update(network, id), QVR_OKAY);
    EXPECT_NEAR(BeliefOf(network, hub)[0], 0.25, id == ALG_LOOPY_BELIEF ? 1e-9 : 0.04) << id;
  }
}

TEST(Samplers, EndWithoutMemoryAndKeepWhatWasAnswered) {
  const LogGuard log;
  TestRandom random(1);
  QVR_network network;
  const int alone = AddChance(network, "alone", 2, {}, {0.25, 0.75});
  const int big = AddChance(network, "big", 300, {}, RandomTable(1, 300, {}, random));
  AddChance(network, "bigger", 300, {big}, RandomTable(300, 300, {}, random));
  for (const int id :
       {ALG_LOGIC_SAMPLING, ALG_BACKWARD_SAMPLING, ALG_ADAPTIVE_IMPORTANCE, ALG_LOOPY_BELIEF}) {
    network.InvalidateAll();
    QVR_Dmatrix::SetMemoryCeiling(QVR_Dmatrix::MemoryInUse() + 4096);
    EXPECT_EQ(Update(network, id), QVR_OUT_OF_MEMORY);
    QVR_Dmatrix::SetMemoryCeiling(std::int64_t{1} << 40);
    EXPECT_EQ(ValueOf(network, alone).IsValueValid(), id != ALG_LOOPY_BELIEF);
    EXPECT_FALSE(ValueOf(network, big).IsValueValid());
    EXPECT_EQ(Update(network, id), QVR_OKAY);
  }
}

// A record without a node takes part as observed and is written nowhere.
TEST(Samplers, PassOverRecordsWithoutNodes) {
  QVR_network network;
  const int cause = AddChance(network, "cause", 2, {}, {0.1, 0.9});
  const int sign = AddChance(network, "sign", 2, {cause}, {0.9, 0.1, 0.1, 0.9});
  ValueOf(network, sign).SetEvidence(0);
  EXPECT_EQ(RunSampleNet(network,
                         [](SampleNet& net) {
                           for (RelevanceNode* record : net.records) {
                             record->node = record->evidence >= 0 ? nullptr : record->node;
                           }
                           return ImportanceSampler(net).Estimate(20000);
                         }),
            QVR_OKAY);
  EXPECT_NEAR(BeliefOf(network, cause)[0], 0.5, 0.02);
}

// An observation at one end of a chain takes one round for each arc, and one more to be believed.
TEST(MessageRounds, RunExactlyAsManyAsAskedFor) {
  constexpr int kLength = 9;
  QVR_network network;
  int last = AddChance(network, nullptr, 2, {}, {0.25, 0.75});
  for (int i = 1; i < kLength; ++i) {
    last = AddChance(network, nullptr, 2, {last}, {0.9, 0.1, 0.2, 0.8});
  }
  ValueOf(network, last).SetEvidence(0);
  for (int rounds = 1; rounds <= kLength; ++rounds) {
    EpisParameters parameters;
    parameters.propLength = rounds;
    ASSERT_EQ(network.SetEpisParameters(parameters), QVR_OKAY);
    EXPECT_EQ(Update(network, ALG_LOOPY_BELIEF), QVR_OKAY);
    EXPECT_FALSE(ValueOf(network, 0).IsValueValid());
    EXPECT_TRUE(ValueOf(network, last).IsValueValid());
    EXPECT_EQ(std::abs(BeliefOf(network, 0)[0] - 0.25) > 1e-6, rounds == kLength) << rounds;
  }
}

}  // namespace
}  // namespace qvr
