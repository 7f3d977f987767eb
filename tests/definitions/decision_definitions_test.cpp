// Truth tables, lists of choices and utility tables: what they refuse, and how they follow others.
#include <gtest/gtest.h>

#include <limits>

#include "definitions/decision_support.h"
#include "definitions/fake_definition.h"
#include "definitions/list.h"
#include "definitions/truth_table.h"
#include "definitions/utility_table.h"
#include "model/special_numbers.h"
#include "support/log_guard.h"

namespace qvr {
namespace {

constexpr double kNan = std::numeric_limits<double>::quiet_NaN();

// A parent of two outcomes, and a deterministic child of three that copies its parent.
struct Determined {
  Determined() {
    parent = AddChance(network, "p", 2, {}, {0.25, 0.75});
    node = network.AddNode(kTypeTruthTable, "t");
    Table().SetNumberOfOutcomes(3);
    network.AddArc(parent, node, kOrdinaryLayer);
  }
  QVR_truthTable& Table() { return DefinitionOf<QVR_truthTable>(network, node); }
  Names States() {
    QVR_stringArray names;
    EXPECT_EQ(Table().GetResultingStates(names), 0);
    Names texts;
    for (int i = 0; i < names.GetNumItems(); ++i) {
      texts.emplace_back(names.Get(i));
    }
    return texts;
  }

  QVR_network network;
  int parent;
  int node;
};

TEST(TruthTable, StaysDeterministicWhateverHappens) {
  const struct {
    const char* edit;
    int status;
    const char* states;
  } cases[] = {
      {"1 leave", 0, "State0 State0"},
      {"1 rows 2 1", 0, "State2 State1"},
      {"1 rows 2 3", -2, "State0 State0"},
      {"1 rows 2 1 0 0 0 0", -4, "State0 State0"},
      {"1 states x State1", 0, "State0 State1"},
      {"1 states State1", -4, "State0 State0"},
      {"1 rows 2 1; 0 insert 1 x", 0, "State2 State2 State1"},  // of equal cells the last one wins
      {"1 rows 2 1; 0 insert 1 x; 0 reorder 2 0 1", 0, "State1 State2 State2"},
      {"1 rows 2 1; 1 reorder 1 2 0", 0, "State2 State1"},
      {"1 rows 2 1; 0 insert 1 x; 0 remove 0", 0, "State2 State1"},
      {"1 rows 2 1; 0 unlink 1; 0 link 1", 0, "State2 State2"},
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(row.edit);
    Determined d;
    EXPECT_EQ(Edit(d.network, row.edit), row.status);
    EXPECT_EQ(d.States(), Words(row.states));
    d.Table().CheckConsistency(1);
    EXPECT_TRUE(d.Table().IsConsistent());
    EXPECT_EQ(d.network.CheckInvariants(), "");
  }
  Determined d;
  ASSERT_EQ(d.Table().SetProbabilities(Numbers({1, 0, 0, 0.5, 0.5, 0})), 0);
  EXPECT_FALSE(d.Table().IsConsistent());
  EXPECT_EQ(d.States(), (Names{"State0", "State0"}));
}

TEST(TruthTable, TakesTheGreatestOfEachAdoptedRow) {
  const struct {
    int type;
    Cells source;
    Cells expected;
  } cases[] = {
      {kTypeCpt, {0.2, 0.8, 0.5, 0.5}, {0, 1, 0, 1}},
      {kTypeCpt, {0.6, 0.4, 0, 0}, {1, 0, 0, 1}},
      {kTypeCpt, {-1, -2, kNan, kNan}, {1, 0, 1, 0}},
      {kTypeTable, {30, 10}, {1, 0, 0, 1}},
      {kTypeMau, {}, {1, 0, 1, 0}},
      {kTypeEquation, {}, {1, 0, 1, 0}},
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(&row - cases);
    QVR_network network;
    const int parent = AddChance(network, "p", 2, {}, {0.5, 0.5});
    const int node = AddNode(network, kTypeTruthTable, "t", {parent});
    FakeDefinition source(network, node, row.type, row.type == kTypeCpt ? 2 : 0, row.source);
    EXPECT_EQ(network.NodeAt(node)->definition->AdoptFrom(source), 0);
    EXPECT_EQ(CellsOf(*TableOf(network, node)), row.expected);
  }
}

struct Decision {
  Decision() : list(DefinitionOf<QVR_list>(network, network.AddNode(kTypeList, "d"))) {
    list.SetNumberOfOutcomes(Texts({"a", "b", "c"}));
    list.SetChoiceValues({1, 2, 3});
  }
  QVR_network network;
  QVR_list& list;
};

TEST(List, KeepsNamesAndValuesInStep) {
  const struct {
    const char* edit;
    int status;
    const char* names;
    Cells values;
  } cases[] = {
      {"0 add b", 0, "a b c Choice3", {1, 2, 3, 0}}, {"0 insert 0 e", 0, "e a b c", {0, 1, 2, 3}},
      {"0 insert 4 e", -2, "a b c", {1, 2, 3}},      {"0 remove 1; 0 remove 0", -2, "a c", {1, 3}},
      {"0 reorder 2 0 1", 0, "c a b", {3, 1, 2}},    {"0 reorder 2 2 1", -2, "a b c", {1, 2, 3}},
      {"0 rename x x y z", 0, "x x0 y", {1, 2, 3}},  {"0 rename x y", -2, "a b c", {1, 2, 3}},
      {"0 states 1 ? 1", 0, "1 ? 1", {1, 2, 3}},     {"0 states x y", -2, "a b c", {1, 2, 3}},
      {"0 count -5", 0, "Choice0 Choice1", {}},      {"0 outcomes x y? u", 0, "Choice0 Choice1 Choice2", {}},
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(row.edit);
    Decision d;
    EXPECT_EQ(Edit(d.network, row.edit), row.status);
    EXPECT_EQ(NamesOf(d.list), Words(row.names));
    EXPECT_EQ(Cells(d.list.GetChoiceValues().begin(), d.list.GetChoiceValues().end()), row.values);
    EXPECT_EQ(d.network.CheckInvariants(), "");
  }
  for (const char* edit : {"0 insert 3 e", "0 remove 2", "0 reorder 2 0 1"}) {
    Decision d;
    EXPECT_EQ(d.list.SetChoiceValues({1, 2}), 0);  // not one for each choice: they stay as they are
    EXPECT_EQ(Edit(d.network, edit), 0);
    EXPECT_EQ(Cells(d.list.GetChoiceValues().begin(), d.list.GetChoiceValues().end()), (Cells{1, 2}));
  }
  Decision d;
  QVR_nodeValue& value = *d.network.NodeAt(0)->value;
  ASSERT_EQ(value.SetEvidence(1), 0);
  ASSERT_EQ(value.AddIndexingParent(d.network.AddNode(kTypeList, "e")), 0);
  EXPECT_EQ(d.list.SetNumberOfOutcomes(*d.list.GetOutcomeNames()), 0);  // its own array
  EXPECT_EQ(NamesOf(d.list), Words("a b c"));
  EXPECT_EQ(value.GetFlags() + value.GetIndexingParents().GetNumItems(), 0);
}

TEST(List, AdoptsNamesAndItsParentsOnlyInform) {
  const struct {
    int type;
    int outcomes;
    int status;
    Names names;
  } cases[] = {
      {kTypeCpt, 3, 0, {"f0", "f1", "f2"}},       {kTypeDeMorgan, 2, 0, {"f0", "f1"}},
      {kTypeTable, 0, 0, {"Choice0", "Choice1"}}, {kTypeEquation, 0, 0, {"Choice0", "Choice1"}},
      {kTypeMau, 0, -2, {"Choice0", "Choice1"}},  {kTypeDChildHParent, 3, -2, {"Choice0", "Choice1"}},
  };
  for (const auto& row : cases) {
    Decision d;
    const int parent = AddChance(d.network, "p", 2, {}, {0.5, 0.5});
    const int child = AddNode(d.network, kTypeTable, "u", {0});
    ASSERT_EQ(d.network.AddArc(parent, 0, kOrdinaryLayer), 0);
    FakeDefinition source(d.network, 0, row.type, row.outcomes, {});
    EXPECT_EQ(d.list.AdoptFrom(source), row.status) << row.type;
    EXPECT_EQ(NamesOf(d.list), row.names) << row.type;
    EXPECT_EQ(d.network.CheckInvariants(), "");
    EXPECT_EQ(d.list.SetNumberOfOutcomes(4), -19);
    ASSERT_EQ(d.network.NodeAt(parent)->definition->AddOutcome("more"), 0);
    ASSERT_EQ(d.network.RemoveArc(0, child, kOrdinaryLayer), 0);
    EXPECT_EQ(d.list.DropUnsupportedParents(), 0);
    EXPECT_EQ(d.network.GetNumberOfParents(0), 0);
  }
}

TEST(UtilityTable, FollowsItsParents) {
  const Cells given = {1, 2, 3, 4, 5, 6};
  const struct {
    const char* edit;
    int status;
    Cells expected;
  } cases[] = {
      {"0 insert 1 x", 0, {1, 2, 3, 0, 0, 0, 4, 5, 6}},
      {"1 remove 0", 0, {2, 3, 5, 6}},
      {"1 reorder 2 0 1", 0, {3, 1, 2, 6, 4, 5}},
      {"2 parents 1 0; 2 parents 1 0", 0, given},  // the caller permutes the list
      {"0 unlink 2", 0, {1, 2, 3}},
      {"1 type 8", 0, {1, 4}},
      {"2 absorbroot 1", 0, {2.25, 5.25}},
      {"2 absorbroot 0", -2, given},
      {"2 absorb 0", -2, given},
      {"0 observe 1; 2 absorb 0", 0, {4, 5, 6}},
      {"2 rebuild", 0, Cells(6, 0)},
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(row.edit);
    QVR_network network;
    const int decision = network.AddNode(kTypeList, "d");
    const int chance = AddChance(network, "c", 3, {}, {0.25, 0.25, 0.5});
    const int node = AddNode(network, kTypeTable, "u", {decision, chance});
    QVR_table& table = DefinitionOf<QVR_table>(network, node);
    ASSERT_EQ(table.SetUtilities({1, 2, 3}), -2);
    ASSERT_EQ(table.SetUtilities(Numbers(given)), 0);
    EXPECT_EQ(Edit(network, row.edit), row.status);
    QVR_Dmatrix* matrix = nullptr;
    ASSERT_EQ(table.GetMatrix(matrix), 0);
    EXPECT_EQ(CellsOf(*matrix), row.expected);
    EXPECT_EQ(network.CheckInvariants(), "");
  }
}

TEST(UtilityTable, AdoptsTheNumbersOfAnyTableOfItsSize) {
  QVR_network network;
  const int decision = network.AddNode(kTypeList, "d");
  const int chance = AddChance(network, "c", 2, {}, {0.25, 0.75});
  const int node = AddNode(network, kTypeTable, "u", {decision});
  const int wide = AddNode(network, kTypeTable, "w", {decision, chance});
  for (int target : {node, wide}) {
    QVR_table& table = DefinitionOf<QVR_table>(network, target);
    EXPECT_EQ(table.AdoptFrom(*network.NodeAt(chance)->definition), 0);
    QVR_Dmatrix* matrix = nullptr;
    ASSERT_EQ(table.GetMatrix(matrix), 0);
    EXPECT_EQ(CellsOf(*matrix), target == node ? (Cells{0.25, 0.75}) : Cells(4, 0));
  }
}

TEST(UtilityTable, RescalesAndWeighsItsParents) {
  const struct {
    Cells cells;
    double from[2];
    double to[2];
    Cells expected;
    double epsilon;
    int isRelevant;  // the parent, before
  } cases[] = {
      {{0.25, 0.5}, {0, 1}, {0, 100}, {25, 50}, 0.999, 1},
      {{0.5, 2}, {0, 1}, {0, 100}, {25, 100}, 1, 0},
      {{5, 7}, {0, 0}, {0, 1}, {0, 1}, 0, 1},
      {{5, 5}, {0, 0}, {0, 1}, {1, 1}, 0, 0},
      {{5, 7}, {0, 10}, {3, 3}, {3, 3}, 0.5, 1},
      {{5, 7}, {0, 10}, {0, 10}, {5, 7}, 0.5, 1},
      {{kUndefined, 4}, {0, 4}, {0, 8}, {kUndefined, 8}, 0.5, 1},
      {{kUndefined, 4}, {0, 0}, {2, 2}, {2, 2}, 0.5, 1},
      {{kNan, 4}, {0, 4}, {0, 8}, {kNan, 8}, 0.5, 1},
      {{0, 3}, {0, 5}, {0, 7}, {0, 3 * 7 / 5.0}, 0.5, 1},  // not 3 * (7 / 5.0)
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(&row - cases);
    QVR_network network;
    const int node = AddNode(network, kTypeTable, "u", {network.AddNode(kTypeList, "d")});
    QVR_table& table = DefinitionOf<QVR_table>(network, node);
    ASSERT_EQ(table.SetUtilities(Numbers(row.cells)), 0);
    int isRelevant = -1;
    EXPECT_EQ(table.CheckParentInfluence(1, 0, isRelevant), -2);
    EXPECT_EQ(table.CheckParentInfluence(0, row.epsilon, isRelevant), 0);
    EXPECT_EQ(isRelevant, row.isRelevant);
    EXPECT_EQ(table.RescaleUtilities(row.from[0], row.from[1], row.to[0], row.to[1]), 0);
    QVR_Dmatrix* matrix = nullptr;
    ASSERT_EQ(table.GetMatrix(matrix), 0);
    for (int i = 0; i < 2; ++i) {
      const double wanted = row.expected[static_cast<std::size_t>(i)];
      EXPECT_TRUE(SameBits(matrix->Subscript(i), wanted) || std::isnan(wanted)) << matrix->Subscript(i);
    }
  }
}

}  // namespace
}  // namespace qvr
