// Operations that find no memory for their tables: whatever is refused, the network stays whole, and solves
// as soon as there is memory again.
#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <span>

#include "agreement/engine_trial.h"
#include "support/log_guard.h"
#include "support/random_canonical.h"

namespace qvr {
namespace {

constexpr int kTypes[] = {kTypeCpt,          kTypeTruthTable, kTypeCast,        kTypeDeMorgan,
                          kTypeNoisyMax,     kTypeNoisyAdder, kTypeList,        kTypeTable,
                          kTypeMau,          kTypeEquation,   kTypeEquationScc, kTypeDChildHParent,
                          kTypeDistribution, kTypeHEquation};
constexpr int kChanceTypes = 6;  // at the head of the list

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
  const int count = std::max(0, node.GetNumberOfOutcomes());
  const int type =
      kTypes[random.Below(random.Chance(0.6) ? kChanceTypes : static_cast<int>(std::size(kTypes)))];
  QVR_Dmatrix* table = nullptr;
  switch (random.Below(16)) {
    case 0:
      return network.GetNumberOfNodes() < 8 ? network.AddNode(type, nullptr) : network.DeleteNode(a);
    case 1:
      return node.ChangeType(type);
    case 2:
    case 3:
      return network.AddArc(a, b, kOrdinaryLayer);
    case 4:
      return network.RemoveArc(a, b, kOrdinaryLayer);
    case 5:
      return count < 5 ? node.definition->InsertOutcome(random.Below(count + 1), "added") : 0;
    case 6:
      return node.definition->RemoveOutcome(0);
    case 7:
      return node.definition->SetNumberOfOutcomes(2 + random.Below(4));
    case 8:
      return node.definition->ReorderOutcomes(ShuffledOrder(count, random));
    case 9:
      return node.definition->GetMatrix(table);
    case 10:
      return network.NodeAt(b)->value->GetValueType() == node.value->GetValueType()
                 ? node.CopyDefinition(*network.NodeAt(b)->definition)
                 : 0;  // the value's class would be another
    case 11:
      return node.definition->AdoptFrom(*network.NodeAt(b)->definition);
    case 12:
      return random.Chance(0.5) ? node.value->SetEvidence(random.Below(3))
                                : SetLikelihoods(network, a, RandomTable(1, std::max(1, count), {}, random));
    case 13:
      return node.value->ClearEvidence();
    case 14:
      return node.value->AddIndexingParent(b);
    default:
      return network.UpdateBeliefs();
  }
}

// Nodes of chance alone are left, each with new numbers.
void Recover(QVR_network& network, TestRandom& random) {
  const auto chanceTypes = std::span(kTypes).first(kChanceTypes);
  for (const int handle : AllNodes(network)) {
    QVR_node& node = *network.NodeAt(handle);
    if (!node.definition) {
      network.DeleteNode(handle);
    } else if (std::find(chanceTypes.begin(), chanceTypes.end(), node.GetType()) == chanceTypes.end()) {
      ASSERT_EQ(node.ChangeType(kTypeCpt), QVR_OKAY);
    }
  }
  for (const int handle : AllNodes(network)) {
    QVR_node& node = *network.NodeAt(handle);
    if (!node.definition->IsReady() || CellsOf(network, handle).empty()) {
      ASSERT_EQ(node.definition->RebuildFromNetwork(), QVR_OKAY);
    }
    node.value->ClearEvidence();
    ASSERT_TRUE(SetRandomNumbers(network, handle, {}, random)) << node.GetType();
  }
  ASSERT_EQ(network.CheckInvariants(), "");
}

TEST(MemoryCeiling, RefusedOperationsLeaveTheNetworkWhole) {
  const LogGuard log;
  int refused = 0;
  for (std::uint64_t seed = FirstSeed(), end = seed + (kSanitized ? 150 : 600); seed < end; ++seed) {
    TestRandom random(seed);
    QVR_network network;
    const ParentLists parents = RandomParents(5, 3, 5, random);
    ASSERT_TRUE(FillNetwork(parents, {3, 4, 2, 5, 3}, {0.1, 0.1}, random, network));
    const unsigned flags = network.GetUpdateFlags();
    network.SetUpdateFlags(flags | (seed % 3 == 0 ? UPDATE_IMMEDIATELY : 0U));
    for (int step = 0; step < 25; ++step) {
      const TightMemory memory(8 * random.Below(100));
      refused += Disturb(network, random) == QVR_OUT_OF_MEMORY ? 1 : 0;
      ASSERT_EQ(network.CheckInvariants(), "") << "seed " << seed << " step " << step;
    }
    network.SetUpdateFlags(flags);
    Recover(network, random);
    ASSERT_FALSE(HasFailure()) << "seed " << seed;
    Trial trial(network);
    trial.CheckEngines();
    ASSERT_FALSE(HasFailure()) << "seed " << seed;
    GetErrorLog().Clear();
  }
  EXPECT_GT(refused, 100);
}

// Numbers at both ends of what a double holds.
TEST(Extremes, NeitherOverflowNorVanish) {
  struct Case {
    std::vector<double> prior;
    std::vector<double> first;   // what the first observed child says of each outcome
    std::vector<double> second;  // and the second one
    std::vector<double> expected;
  };
  const Case cases[] = {
      {{1e200, 2e200}, {1e200, 1e200}, {1, 1}, {1.0 / 3, 2.0 / 3}},
      {{0.2, 0.3, 0.5}, {1, 1e-310, 1e-310}, {0, 0.5, 0.5}, {0, 0.375, 0.625}},
      {{0.2, 0.4, 0.4}, {1, 1e-310, 4e-310}, {0, 0.5, 0.5}, {0, 0.2, 0.8}},
  };
  for (const int engine : {ALG_JOIN_TREE, ALG_POLYTREE, ALG_LOOPY_BELIEF, ALG_CLIQUE_TREE,
                           ALG_RELEVANCE_BATCHES, ALG_RELEVANCE_HALVING}) {
    for (const Case& tested : cases) {
      if (engine == ALG_POLYTREE && tested.first[0] > 1) {
        continue;  // it asks for probabilities
      }
      QVR_network network;
      network.SetBeliefAlgorithm(engine);
      const int outcomes = static_cast<int>(tested.prior.size());
      const int x = AddChance(network, "x", outcomes, {}, tested.prior);
      for (const std::vector<double>* said : {&tested.first, &tested.second}) {
        std::vector<double> table;
        for (const double number : *said) {
          table.insert(table.end(), {number, number > 1 ? number : 1 - number});
        }
        ASSERT_EQ(ValueOf(network, AddChance(network, nullptr, 2, {x}, table)).SetEvidence(0), QVR_OKAY);
      }
      ASSERT_EQ(network.UpdateBeliefs(), QVR_OKAY);
      for (int outcome = 0; outcome < outcomes; ++outcome) {
        const auto at = static_cast<std::size_t>(outcome);
        EXPECT_NEAR(BeliefOf(network, x)[at], tested.expected[at], 1e-9) << engine;
      }
    }
  }
}

}  // namespace
}  // namespace qvr
