// What the hybrid solver does with paths, seeds, targets, likelihoods and failures.
#include <gtest/gtest.h>

#include <climits>

#include "definitions/def_continuous.h"
#include "definitions/def_dchild_hparent.h"
#include "hybrid/hybrid_paths.h"
#include "hybrid/kernel_density.h"
#include "hybrid/posterior_check.h"
#include "model/random_source.h"
#include "support/log_guard.h"
#include "support/network_builder.h"
#include "values/continuous_value.h"

namespace qvr {
namespace {

using Inverses = std::vector<std::pair<const char*, const char*>>;

int AddLaw(QVR_network& network, const char* id, const std::vector<int>& parents, const char* law) {
  const int handle = network.AddNode(kTypeDistribution, id);
  auto element = std::make_unique<QVR_distributionElement>();
  element->SetDistribution(law);
  std::unique_ptr<QVR_Helement> placed = std::move(element);
  dynamic_cast<QVR_defHybrid&>(*network.NodeAt(handle)->definition).SetElement(QVR_intArray(), placed);
  network.AddArcs(parents, handle);  // every outcome of a discrete parent gets a copy of the element
  return handle;
}

int AddFormula(QVR_network& network, const char* id, const std::vector<int>& parents, const char* formula,
               const Inverses& inverses = {}) {
  const int handle = network.AddNode(kTypeHEquation, id);
  auto element = std::make_unique<QVR_equationElement>();
  element->SetFormula(formula);
  for (const auto& [name, inverse] : inverses) {
    element->SetInverse(name, QVR_expression::Parse(inverse, nullptr, nullptr));
  }
  std::unique_ptr<QVR_Helement> placed = std::move(element);
  dynamic_cast<QVR_defHybrid&>(*network.NodeAt(handle)->definition).SetElement(QVR_intArray(), placed);
  network.AddArcs(parents, handle);  // every outcome of a discrete parent gets a copy of the element
  return handle;
}

QVR_valcontinuous& Continuous(QVR_network& network, int handle) {
  return dynamic_cast<QVR_valcontinuous&>(ValueOf(network, handle));
}

TEST(SamplingOrder, PrefersShortPathsToLawsWithADensityThatHaveNoOtherChild) {
  QVR_network network;
  const int count = AddLaw(network, "count", {}, "Binomial(4,0.5)");
  const int shared = AddLaw(network, "shared", {}, "Normal(0,1)");
  const int single = AddLaw(network, "single", {}, "Normal(0,1)");
  const int middle = AddFormula(network, "middle", {single}, "single*2", {{"single", "middle/2"}});
  const Inverses all = {
      {"count", "e-shared-middle"}, {"shared", "e-count-middle"}, {"middle", "e-count-shared"}};
  const int e = AddFormula(network, "e", {count, shared, middle}, "count+shared+middle", all);
  const int f = AddFormula(network, "f", {shared, middle}, "shared-middle",
                           {{"shared", "f+middle"}, {"middle", "shared-f"}});
  Continuous(network, e).SetEvidenceValue(1);
  Continuous(network, f).SetEvidenceValue(2);
  HybridNetwork compiled(network);
  ASSERT_EQ(compiled.Build(), 0);
  const SamplingOrder order(compiled);
  const auto slot = [&](int handle) { return compiled.table.FindVariable(network.NodeAt(handle)->GetId()); };
  // f then has only middle left, which e's path needs first: it is solved from f, after shared.
  EXPECT_EQ(order.GetPaths(), (std::vector<SolvedPath>{{slot(e), slot(shared)}}));
  EXPECT_EQ(order.GetLowerNodes()[static_cast<std::size_t>(slot(shared))], slot(e));
}

// y = b + x with a counted b and an x that is observed: b follows, and is a whole number.
TEST(HybridSolver, RoundsSolvedCounts) {
  QVR_network network;
  const int b = AddLaw(network, "b", {}, "Binomial(10,0.3)");
  const int y = AddFormula(network, "y", {b}, "b/3", {{"b", "y*3"}});
  for (const auto& [observed, status] : {std::pair{4.0 / 3, 0}, std::pair{1.4, -5}}) {
    const LogGuard log;
    Continuous(network, y).SetEvidenceValue(observed);
    EXPECT_EQ(network.UpdateBeliefs(), status);
    EXPECT_EQ(Continuous(network, b).IsValueValid(), status == 0);
  }
  Continuous(network, y).SetEvidenceValue(4.0 / 3);
  ASSERT_EQ(network.UpdateBeliefs(), 0);
  EXPECT_EQ(Continuous(network, b).samples[0].value, 4.0);
}

// P(d) by hand: the likelihoods of virtual evidence, times the density under each outcome.
TEST(HybridSolver, CombinesVirtualEvidenceWithDensities) {
  for (const int algorithm : {13, 14, 15}) {
    QVR_network network;
    const int d = AddChance(network, "d", 2, {}, {0.3, 0.7});
    const int x = AddLaw(network, "x", {d}, "Normal(2*d,1)");
    SetLikelihoods(network, d, {0.8, 0.2});
    Continuous(network, x).SetEvidenceValue(1.5);
    network.SetHybridAlgorithm(algorithm);
    network.sampleCount = 20'000;
    SeedRandomStreams(3);
    ASSERT_EQ(network.UpdateBeliefs(), 0);
    const double first = 0.3 * 0.8 * std::exp(-1.125);
    const double second = 0.7 * 0.2 * std::exp(-0.125);
    EXPECT_NEAR(BeliefOf(network, d)[0], first / (first + second), algorithm == 15 ? 0.001 : 0.02);
  }
}

TEST(HybridSolver, RepeatsWithTheSameSeedToTheLastBit) {
  for (const int algorithm : {13, 14, 15}) {
    std::vector<WeightedSample> runs[3];
    for (int run = 0; run < 3; ++run) {
      QVR_network network;
      const int x = AddLaw(network, "x", {}, "Normal(0,1)");
      const int y = AddLaw(network, "y", {x}, "Normal(x,1)");
      Continuous(network, y).SetEvidenceValue(1);
      network.SetHybridAlgorithm(algorithm);
      SeedRandomStreams(run == 2 ? 8 : 7);
      ASSERT_EQ(network.UpdateBeliefs(), 0);
      runs[run] = Continuous(network, x).samples;
    }
    const auto same = [](const WeightedSample& a, const WeightedSample& b) {
      return a.value == b.value && a.weight == b.weight;
    };
    EXPECT_TRUE(std::equal(runs[0].begin(), runs[0].end(), runs[1].begin(), runs[1].end(), same));
    EXPECT_FALSE(std::equal(runs[0].begin(), runs[0].end(), runs[2].begin(), runs[2].end(), same));
  }
}

TEST(HybridSolver, WritesTargetsOnly) {
  QVR_network network;
  const int x = AddLaw(network, "x", {}, "Normal(0,1)");
  const int y = AddLaw(network, "y", {x}, "Normal(x,1)");
  const int fixed = AddFormula(network, "fixed", {}, "3");
  ASSERT_EQ(network.UpdateBeliefs(), 0);
  EXPECT_TRUE(Continuous(network, x).IsValueValid());
  network.SetTarget(y);
  ASSERT_EQ(network.UpdateBeliefs(), 0);
  EXPECT_FALSE(Continuous(network, x).IsValueValid());
  EXPECT_EQ(Continuous(network, y).density.samples.size(), 1000U);
  EXPECT_EQ(Continuous(network, fixed).GetFlags() & kValueAnyEvidence, kValuePropagatedEvidence);
  EXPECT_EQ(Continuous(network, fixed).evidenceValue, 3.0);
}

TEST(HybridSolver, RefusesSamplesBeyondMemory) {
  const LogGuard log;
  QVR_network network;
  const int x = AddLaw(network, "x", {}, "Normal(0,1)");
  network.sampleCount = INT_MAX;
  EXPECT_EQ(network.UpdateBeliefs(), QVR_OUT_OF_MEMORY);
  EXPECT_FALSE(Continuous(network, x).IsValueValid());
}

struct FailureCase {
  const char* name;
  void (*spoil)(QVR_network&);
};
const FailureCase kFailures[] = {
    {"no samples wanted", [](QVR_network& network) { network.sampleCount = 0; }},
    {"evidence that contradicts itself",
     [](QVR_network& network) {
       const int x = network.FindNode("x");
       for (const char* id : {"e", "f"}) {
         const std::string text = id;
         const int node = AddFormula(network, id, {x}, "x+1", {{"x", id[0] == 'e' ? "e-1" : "f-1"}});
         Continuous(network, node).SetEvidenceValue(id[0] == 'e' ? 1 : 2);
       }
     }},
    {"a number that the formula never gives",
     [](QVR_network& network) {
       const int node = AddFormula(network, "e", {network.FindNode("x")}, "Sqrt(x)", {{"x", "Sqr(e)"}});
       Continuous(network, node).SetEvidenceValue(-1);
     }},
    {"a formula that names a node without an arc",
     [](QVR_network& network) {
       AddLaw(network, "z", {}, "Normal(0,1)");
       AddFormula(network, "e", {network.FindNode("x")}, "z");
     }},
};

TEST(HybridSolver, EndsWithoutSamplesInOneWay) {
  for (const FailureCase& c : kFailures) {
    for (const int algorithm : {13, 14}) {
      const testing::ScopedTrace scope(__FILE__, __LINE__, c.name);
      const LogGuard log;
      QVR_network network;
      const int x = AddLaw(network, "x", {}, "Normal(0,1)");
      ASSERT_EQ(network.UpdateBeliefs(), 0);
      c.spoil(network);
      network.SetHybridAlgorithm(algorithm);
      EXPECT_EQ(network.UpdateBeliefs(), QVR_NO_SAMPLES);
      EXPECT_EQ(LogGuard::Messages(QVR_NO_SAMPLES),
                std::vector<std::string>{"No useful samples have been generated for some of nodes."});
      EXPECT_FALSE(Continuous(network, x).IsValueValid());
    }
  }
}

TEST(KernelDensity, KeepsTheSamplesMomentsAndIntegratesToOne) {
  KernelDensity estimate;
  estimate.Build(std::vector<WeightedSample>{{0, 1}, {1, 2}, {4, 1}, {2, 0}, {NAN, 1}}, 0.001);
  double sums[3] = {};
  for (double x = -20; x < 25; x += 0.001) {
    const double mass = 0.001 * estimate.GetDensity(x);
    sums[0] += mass;
    sums[1] += mass * x;
    sums[2] += mass * x * x;
  }
  EXPECT_NEAR(sums[0], 1.0, 1e-9);
  EXPECT_NEAR(sums[1], 1.5, 1e-9);               // (0 + 2 + 4) / 4
  EXPECT_NEAR(sums[2] - 1.5 * 1.5, 2.25, 1e-6);  // (2 + 16) / 4 less the mean's square
  std::vector<WeightedSample> drawn;
  QVR_randomSource source(1);
  for (int i = 0; i < 20'000; ++i) {
    drawn.push_back({estimate.Draw(source), 1.0});
  }
  ExpectSampled(drawn, 1.5, 1.5);
}

}  // namespace
}  // namespace qvr
