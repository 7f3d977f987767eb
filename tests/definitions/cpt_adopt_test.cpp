// What a conditional probability table takes over from definitions of every class.
#include <gtest/gtest.h>

#include "definitions/cpt.h"
#include "definitions/fake_definition.h"
#include "support/log_guard.h"
#include "support/network_builder.h"

namespace qvr {
namespace {

using Cells = std::vector<double>;

struct AdoptCase {
  const char* name;
  int sourceType;
  bool hasParent;
  int sourceOutcomes;
  Cells source;
  std::vector<std::string> names;
  Cells expected;
  int parentsLeft;
};

const std::vector<std::string> kStates = {"State0", "State1"};
const std::vector<std::string> kTrueFalse = {"True", "False"};
const Cells kHalves(6, 0.5);

TEST(CptAdopt, TakesWhatTheClassOfTheSourceOffers) {
  const Cells rows = {0.1, 0.9, 0.2, 0.8, 0.3, 0.7};
  const Cells wide = {0.1, 0.2, 0.7, 0.2, 0.3, 0.5, 0.3, 0.3, 0.4};
  const AdoptCase cases[] = {
      {"an equation", kTypeEquation, true, 0, {}, kStates, kHalves, 1},
      {"utilities", kTypeTable, true, 0, {10, 20, 12.5}, kStates, {0, 1, 1, 0, 0.25, 0.75}, 1},
      {"equal utilities", kTypeTable, false, 0, {7}, kStates, {0, 1}, 0},
      {"a list", kTypeList, true, 3, {}, {"f0", "f1", "f2"}, Cells(3, 1.0 / 3), 0},
      {"a table", kTypeCpt, true, 2, rows, {"f0", "f1"}, rows, 1},
      {"a truth table, more outcomes", kTypeTruthTable, true, 3, wide, {"f0", "f1", "f2"}, wide, 1},
      {"a noisy-MAX", kTypeNoisyMax, true, 3, wide, {"f0", "f1", "f2"}, wide, 1},
      {"a noisy adder too large to expand", kTypeNoisyAdder, true, 2, {}, {"f0", "f1"}, kHalves, 1},
      {"a cast", kTypeCast, true, 2, rows, {"f0", "f1"}, rows, 1},
      {"a cast without parents", kTypeCast, false, 2, {0.3, 0.7}, kTrueFalse, {0.3, 0.7}, 0},
      {"a gate", kTypeDeMorgan, true, 2, rows, kTrueFalse, rows, 1},
      {"a multi-attribute utility", kTypeMau, true, 0, {}, kStates, kHalves, 1},
      {"a discrete child of hybrid parents", kTypeDChildHParent, true, 2, {}, {"f0", "f1"}, kHalves, 1},
      {"a distribution", kTypeDistribution, true, 0, {}, kStates, kHalves, 1},
  };
  for (const AdoptCase& row : cases) {
    SCOPED_TRACE(row.name);
    LogGuard log;
    QVR_network network;
    const int parent = AddChance(network, "p", 3, {}, {0.2, 0.3, 0.5});
    const int node = AddChance(network, "c", 2, {}, {0.4, 0.6});
    const int child = AddChance(network, "d", 2, {node}, {0.1, 0.9, 0.2, 0.8});
    if (row.hasParent) {
      ASSERT_EQ(network.AddArc(parent, node, kOrdinaryLayer), 0);
    }
    FakeDefinition source(network, node, row.sourceType, row.sourceOutcomes, row.source);
    ASSERT_EQ(ValueOf(network, node).SetEvidence(1), 0);
    QVR_nodeDefinition& definition = *network.NodeAt(node)->definition;
    EXPECT_EQ(definition.AdoptFrom(source), 0);
    EXPECT_EQ(CellsOf(network, node), row.expected);
    ASSERT_EQ(definition.GetNumberOfOutcomes(), static_cast<int>(row.names.size()));
    for (std::size_t i = 0; i < row.names.size(); ++i) {
      EXPECT_EQ(definition.GetOutcomeNames()->Get(static_cast<int>(i)), row.names[i]);
    }
    EXPECT_EQ(network.GetNumberOfParents(node), row.parentsLeft);
    EXPECT_EQ(network.CheckInvariants(), "");
    // With the old number of outcomes the evidence and the child's numbers stay.
    const bool sameCount = row.names.size() == 2;
    EXPECT_EQ(ValueOf(network, node).HasEvidence(), sameCount);
    EXPECT_EQ(TableOf(network, child)->GetItems()[0], sameCount ? 0.1 : 0.5);
    EXPECT_EQ(GetErrorLog().GetCount(), 0);
  }
}

TEST(CptAdopt, RefusesASourceThatIsNotReady) {
  QVR_network network;
  const int node = AddChance(network, "c", 2, {}, {0.4, 0.6});
  FakeDefinition source(network, node, kTypeCpt, 2, {0.1, 0.9});
  FakeDefinition other(network, -1, kTypeCpt, 2, {0.1, 0.9});
  other.CheckReady(0);
  EXPECT_EQ(network.NodeAt(node)->definition->AdoptFrom(other), -567);
  EXPECT_EQ(TableOf(network, node)->GetItems()[0], 0.4);
}

TEST(CptAdopt, DropsParentsThatItsClassDoesNotTake) {
  LogGuard log;
  QVR_network network;
  const int equation = AddChance(network, "e", 2, {}, {0.5, 0.5});
  const int parent = AddChance(network, "p", 2, {}, {0.5, 0.5});
  const int node = AddChance(network, "c", 2, {equation, parent}, {0.1, 0.9, 0.2, 0.8, 0.3, 0.7, 0.4, 0.6});
  network.NodeAt(equation)->definition =
      std::make_unique<FakeDefinition>(network, equation, kTypeEquation, 0, Cells{});
  QVR_nodeDefinition& definition = *network.NodeAt(node)->definition;
  ASSERT_EQ(definition.DropUnsupportedParents(), 0);
  EXPECT_EQ(CellsOf(network, node), (Cells{0.1, 0.9, 0.2, 0.8}));  // found by its place
  EXPECT_EQ(network.GetNumberOfParents(node), 1);
  // A rebuild that finds such a parent logs it and takes the arc away.
  network.NodeAt(parent)->definition =
      std::make_unique<FakeDefinition>(network, parent, kTypeEquation, 0, Cells{});
  ASSERT_EQ(definition.RebuildFromNetwork(), 0);
  EXPECT_EQ(network.GetNumberOfParents(node), 0);
  EXPECT_EQ(log.Messages(-2), std::vector<std::string>{"Parent could not be added"});
}

}  // namespace
}  // namespace qvr
