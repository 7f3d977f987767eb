// Operations that find no memory for their tables: whatever is refused, the network stays whole, and solves
// as soon as there is memory again.
#include <gtest/gtest.h>

#include "agreement/engine_trial.h"
#include "support/log_guard.h"

namespace qvr {
namespace {

// Leaves room for this many more bytes of tables while it lives.
class TightMemory {
 public:
  explicit TightMemory(std::int64_t room) {
    QVR_Dmatrix::SetMemoryCeiling(QVR_Dmatrix::MemoryInUse() + room);
  }
  ~TightMemory() { QVR_Dmatrix::SetMemoryCeiling(std::int64_t{1} << 34); }
  TightMemory(const TightMemory&) = delete;
  TightMemory& operator=(const TightMemory&) = delete;
};

int AnyNode(const QVR_network& network, TestRandom& random) {
  const std::vector<int> nodes = AllNodes(network);
  return nodes[static_cast<std::size_t>(random.Below(static_cast<int>(nodes.size())))];
}

// The code of a random operation.
int Disturb(QVR_network& network, TestRandom& random) {
  const int a = AnyNode(network, random);
  const int b = AnyNode(network, random);
  QVR_node& node = *network.NodeAt(a);
  if (!node.definition || !network.NodeAt(b)->definition) {
    return network.DeleteNode(node.definition ? b : a);  // added without memory for its parts
  }
  switch (random.Below(12)) {
    case 0:
      return network.AddNode(kTypeCpt, nullptr);
    case 1:
      return network.GetNumberOfNodes() > 3 ? network.DeleteNode(a) : 0;
    case 2:
      return network.AddArc(a, b, kOrdinaryLayer);
    case 3:
      return network.RemoveArc(a, b, kOrdinaryLayer);
    case 4:
      return node.definition->AddOutcome("added");
    case 5:
      return node.definition->RemoveOutcome(0);
    case 6:
      return node.definition->SetNumberOfOutcomes(2 + random.Below(4));
    case 7:
      return node.CopyDefinition(*network.NodeAt(b)->definition);
    case 8:
      return node.definition->AdoptFrom(*network.NodeAt(b)->definition);
    case 9:
      return node.value->SetEvidence(random.Below(3));
    case 10:
      return node.value->ClearEvidence();
    default:
      return network.UpdateBeliefs();
  }
}

TEST(MemoryCeiling, RefusedOperationsLeaveTheNetworkWhole) {
  const LogGuard log;
  int refused = 0;
  for (std::uint64_t seed = FirstSeed(), end = seed + (kSanitized ? 60 : 300); seed < end; ++seed) {
    TestRandom random(seed);
    QVR_network network;
    const ParentLists parents = RandomParents(5, 3, 5, random);
    ASSERT_TRUE(FillNetwork(parents, {3, 4, 2, 5, 3}, {0.1, 0.1}, random, network));
    for (int step = 0; step < 25; ++step) {
      const TightMemory memory(8 * random.Below(200));
      refused += Disturb(network, random) == QVR_OUT_OF_MEMORY ? 1 : 0;
      ASSERT_EQ(network.CheckInvariants(), "") << "seed " << seed << " step " << step;
    }
    for (const int node : AllNodes(network)) {
      if (!network.NodeAt(node)->definition) {
        network.DeleteNode(node);
        continue;
      }
      ASSERT_NE(network.NodeAt(node)->value, nullptr);
      if (TableOf(network, node)->GetNumElements() == 0) {
        network.NodeAt(node)->definition->RebuildFromNetwork();
      }
      network.NodeAt(node)->value->ClearEvidence();
      const int outcomes = network.NodeAt(node)->GetNumberOfOutcomes();
      const int rows = TableOf(network, node)->GetNumElements() / outcomes;
      ASSERT_EQ(SetTable(network, node, RandomTable(rows, outcomes, {}, random)), QVR_OKAY);
    }
    Trial trial(network);
    trial.CheckEngines();
    ASSERT_FALSE(HasFailure()) << "seed " << seed;
    GetErrorLog().Clear();
  }
  EXPECT_GT(refused, 100);
}

TEST(MemoryCeiling, OverflowingProductsAreScaledLikeVanishingOnes) {
  QVR_network network;
  const int a = AddChance(network, "A", 2, {}, {1e200, 2e200});
  AddChance(network, "B", 2, {a}, {1e200, 1e200, 1e200, 1e200});
  for (const int engine : kExactEngines) {
    network.SetBeliefAlgorithm(engine);
    ASSERT_EQ(network.UpdateBeliefs(), QVR_OKAY);
    EXPECT_NEAR(BeliefOf(network, a)[1], 2.0 / 3, 1e-12) << engine;
  }
}

}  // namespace
}  // namespace qvr
