// Every structure of up to four nodes, with every set of hard evidence.
#include <gtest/gtest.h>

#include "agreement/engine_trial.h"

namespace qvr {
namespace {

constexpr TableStyle kStyles[] = {
    {},
    {.zeroFraction = 0.5},
    {.certainRowFraction = 1},
    {.zeroFraction = 0.2, .certainRowFraction = 0.4},
};

// Bit k of `arcs` is the k-th pair of nodes, the lower one the parent.
ParentLists StructureOf(int nodeCount, int arcs) {
  ParentLists parents(static_cast<std::size_t>(nodeCount));
  for (int child = 1; child < nodeCount; ++child) {
    for (int parent = 0; parent < child; ++parent) {
      if ((arcs & 1) != 0) {
        parents[static_cast<std::size_t>(child)].push_back(parent);
      }
      arcs >>= 1;
    }
  }
  return parents;
}

std::vector<int> OutcomeCountsOf(int nodeCount, int pattern) {
  std::vector<int> counts(static_cast<std::size_t>(nodeCount));
  for (int& count : counts) {
    count = 2 + (pattern & 1);
    pattern >>= 1;
  }
  return counts;
}

// Steps through all sets of evidence as an odometer does, so that each step overwrites one outcome or
// retracts those before it.
void TryAllEvidence(QVR_network& network, const std::vector<int>& outcomeCounts) {
  Trial trial(network);
  trial.CheckEngines();
  std::vector<int> states(outcomeCounts.size(), -1);
  std::size_t at = 0;
  while (at < states.size() && !testing::Test::HasFailure()) {
    if (++states[at] == outcomeCounts[at]) {
      states[at] = -1;
      if (trial.Entered().outcomes[at] >= 0) {
        trial.Retract(static_cast<int>(at));
      }
      ++at;
      continue;
    }
    trial.Observe(static_cast<int>(at), states[at]);
    trial.CheckEngines();
    at = 0;
  }
}

TEST(Enumerated, AllSmallNetworksUnderAllEvidence) {
  int networkCount = 0;
  for (int nodeCount = 1; nodeCount <= 4; ++nodeCount) {
    const int structureCount = 1 << (nodeCount * (nodeCount - 1) / 2);
    // For four nodes the whole product of structures and outcome counts would take minutes.
    const int patternCount = nodeCount < 4 ? 1 << nodeCount : kSanitized ? 1 : 11;
    const int patternStep = nodeCount < 4 ? 1 : 10;
    for (int arcs = 0; arcs < structureCount; ++arcs) {
      for (int pattern = 0; pattern < patternCount; pattern += patternStep) {
        for (const TableStyle& style : kStyles) {
          SCOPED_TRACE("nodes " + std::to_string(nodeCount) + " arcs " + std::to_string(arcs) + " counts " +
                       std::to_string(pattern) + " style " + std::to_string(&style - kStyles));
          const std::vector<int> counts = OutcomeCountsOf(nodeCount, pattern);
          TestRandom random(static_cast<std::uint64_t>(arcs * 100 + pattern));
          QVR_network network;
          ASSERT_TRUE(FillNetwork(StructureOf(nodeCount, arcs), counts, style, random, network));
          TryAllEvidence(network, counts);
          ASSERT_FALSE(HasFailure());
          ++networkCount;
        }
      }
    }
  }
  RecordProperty("networks", networkCount);
}

}  // namespace
}  // namespace qvr
