// Random networks of discrete and continuous nodes against enumeration and integration, by every routine.
#include <gtest/gtest.h>

#include "hybrid/posterior_check.h"
#include "model/random_source.h"
#include "support/hybrid_reference.h"
#include "support/network_builder.h"
#include "values/continuous_value.h"

namespace qvr {
namespace {

struct MixedCase {
  MixedModel model;
  std::map<int, double> evidence;
};

// Evidence on any nodes, near where a continuous one lies anyway.
MixedCase MakeCase(const ParentLists& parents, TestRandom& random) {
  const int count = static_cast<int>(parents.size());
  MixedCase made{RandomMixed(parents, random), {}};
  for (int attempts = 1 + random.Below(3); attempts-- > 0;) {
    const int node = random.Below(count);
    const MixedReference sofar(made.model, made.evidence);
    std::map<int, double> more = made.evidence;
    const bool isDiscrete = made.model[static_cast<std::size_t>(node)].IsDiscrete();
    more[node] =
        isDiscrete ? random.Below(2) : sofar.Mean(node) + (3 * random.Unit() - 1.5) * sofar.Deviation(node);
    if (static_cast<int>(more.size()) < count && MixedReference(made.model, more).IsDefined()) {
      made.evidence = more;
    }
  }
  return made;
}

void EnterEvidence(const MixedCase& mixed, QVR_network& network) {
  for (const auto& [node, number] : mixed.evidence) {
    if (mixed.model[static_cast<std::size_t>(node)].IsDiscrete()) {
      ValueOf(network, node).SetEvidence(static_cast<int>(number));
    } else {
      ValueOf(network, node).SetEvidenceValue(number);
    }
  }
}

void ExpectPosteriors(const MixedCase& mixed, QVR_network& network, int algorithm) {
  const MixedReference exact(mixed.model, mixed.evidence);
  for (int node = 0; node < network.GetNumberOfNodes(); ++node) {
    const std::string trace = "id " + std::to_string(algorithm) + ", node " + std::to_string(node);
    const testing::ScopedTrace scope(__FILE__, __LINE__, trace);
    const bool byMessages = algorithm == 15;
    if (mixed.evidence.contains(node)) {
      continue;
    }
    if (mixed.model[static_cast<std::size_t>(node)].IsDiscrete()) {
      const double error = byMessages ? 0.05
                                      : kMostStandardErrors * std::max(exact.Deviation(node), 0.02) /
                                            std::sqrt(kLeastEffectiveSamples);
      EXPECT_TRUE(ValueOf(network, node).IsValueValid());
      EXPECT_NEAR(BeliefOf(network, node)[1], exact.Mean(node), error);
      continue;
    }
    const auto& value = dynamic_cast<QVR_valcontinuous&>(ValueOf(network, node));
    if ((value.GetFlags() & kValuePropagatedEvidence) != 0) {
      EXPECT_NEAR(value.evidenceValue, exact.Mean(node), 1e-9);
      continue;
    }
    ASSERT_TRUE(value.IsValueValid());
    EXPECT_EQ(value.sampleCount, static_cast<int>(value.samples.size()));
    (byMessages ? ExpectByMessages : ExpectSampled)(value.samples, exact.Mean(node), exact.Deviation(node));
  }
}

class MixedNetworks : public testing::TestWithParam<int> {};

TEST_P(MixedNetworks, HaveTheIntegratedPosteriors) {
  const int algorithm = GetParam();
  for (int seed = 1; seed <= 30; ++seed) {
    const testing::ScopedTrace scope(__FILE__, __LINE__, "seed " + std::to_string(seed));
    TestRandom random(static_cast<std::uint64_t>(seed));
    const int count = 3 + random.Below(5);
    const ParentLists parents =
        algorithm == 15 ? PolytreeParents(count, 3, random) : RandomParents(count, 3, count, random);
    const MixedCase mixed = MakeCase(parents, random);
    QVR_network network;
    ASSERT_TRUE(FillMixed(mixed.model, network));
    EnterEvidence(mixed, network);
    network.SetHybridAlgorithm(algorithm);
    network.sampleCount = 20'000;
    SeedRandomStreams(static_cast<std::uint32_t>(seed));
    ASSERT_EQ(network.UpdateBeliefs(), 0);
    ExpectPosteriors(mixed, network, algorithm);
  }
}

INSTANTIATE_TEST_SUITE_P(Hybrid, MixedNetworks, testing::Values(13, 14, 15, 16));

}  // namespace
}  // namespace qvr
