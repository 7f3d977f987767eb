// Truth tables, lists of choices and utility tables: what they refuse, and how they follow others.
#include <gtest/gtest.h>

#include <functional>
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
  Cells Numbers() { return CellsOf(*TableOf(network, node)); }
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

TEST(TruthTable, RowsAreSetByNameOrByIndexOrNotAtAll) {
  const struct {
    std::function<int(QVR_truthTable&)> set;
    int status;
    Names states;
  } cases[] = {
      {[](QVR_truthTable&) { return 0; }, 0, {"State0", "State0"}},
      {[](QVR_truthTable& t) {
         return t.SetResultingStates(QVR_intArray{2, 1});
       },
       0,
       {"State2", "State1"}},
      {[](QVR_truthTable& t) {
         return t.SetResultingStates(QVR_intArray{2, 3});
       },
       -2,
       {"State0", "State0"}},
      {[](QVR_truthTable& t) {
         return t.SetResultingStates(QVR_intArray{2, 1, 0, 0, 0, 0});
       },
       -4,
       {"State0", "State0"}},
      {[](QVR_truthTable& t) {
         return t.SetResultingStates(Texts({"x", "State1"}));
       },
       0,
       {"State0", "State1"}},
      {[](QVR_truthTable& t) { return t.SetResultingStates(Texts({"State1"})); }, -4, {"State0", "State0"}},
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(&row - cases);
    Determined d;
    EXPECT_EQ(row.set(d.Table()), row.status);
    EXPECT_EQ(d.States(), row.states);
    d.Table().CheckConsistency(1);
    EXPECT_TRUE(d.Table().IsConsistent());
  }
  Determined d;
  ASSERT_EQ(d.Table().SetProbabilities(Numbers({1, 0, 0, 0.5, 0.5, 0})), 0);
  EXPECT_FALSE(d.Table().IsConsistent());
  EXPECT_EQ(d.States(), (Names{"State0", "State0"}));
}

TEST(TruthTable, StaysDeterministicWhenParentsChange) {
  Determined d;
  ASSERT_EQ(d.Table().SetResultingStates(QVR_intArray{2, 1}), 0);
  QVR_nodeDefinition& parent = *d.network.NodeAt(d.parent)->definition;
  ASSERT_EQ(parent.InsertOutcome(1, "between"), 0);
  EXPECT_EQ(d.States(), (Names{"State2", "State2", "State1"}));  // of equal cells the last one wins
  ASSERT_EQ(parent.ReorderOutcomes({2, 0, 1}), 0);
  EXPECT_EQ(d.States(), (Names{"State1", "State2", "State2"}));
  ASSERT_EQ(d.Table().ReorderOutcomes({1, 2, 0}), 0);
  EXPECT_EQ(d.States(), (Names{"State1", "State2", "State2"}));
  ASSERT_EQ(parent.RemoveOutcome(1), 0);
  EXPECT_EQ(d.Numbers(), (Cells{1, 0, 0, 0, 1, 0}));
  EXPECT_EQ(d.network.CheckInvariants(), "");
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
    std::function<int(QVR_list&)> operation;
    int status;
    Names names;
    Cells values;
  } cases[] = {
      {[](QVR_list& d) { return d.AddOutcome("b"); }, 0, {"a", "b", "c", "Choice3"}, {1, 2, 3, 0}},
      {[](QVR_list& d) { return d.InsertOutcome(0, "e"); }, 0, {"e", "a", "b", "c"}, {0, 1, 2, 3}},
      {[](QVR_list& d) { return d.InsertOutcome(4, "e"); }, -2, {"a", "b", "c"}, {1, 2, 3}},
      {[](QVR_list& d) { return d.RemoveOutcome(1) + d.RemoveOutcome(0); }, -2, {"a", "c"}, {1, 3}},
      {[](QVR_list& d) {
         return d.ReorderOutcomes({2, 0, 1});
       },
       0,
       {"c", "a", "b"},
       {3, 1, 2}},
      {[](QVR_list& d) {
         return d.ReorderOutcomes({2, 2, 1});
       },
       -2,
       {"a", "b", "c"},
       {1, 2, 3}},
      {[](QVR_list& d) {
         return d.RenameOutcomes(Texts({"x", "x", "y", "z"}));
       },
       0,
       {"x", "x0", "y"},
       {1, 2, 3}},
      {[](QVR_list& d) {
         return d.RenameOutcomes(Texts({"x", "y"}));
       },
       -2,
       {"a", "b", "c"},
       {1, 2, 3}},
      {[](QVR_list& d) {
         return d.SetResultingStates(Texts({"1", "", "1"}));
       },
       0,
       {"1", "", "1"},
       {1, 2, 3}},
      {[](QVR_list& d) {
         return d.SetChoiceNames(Texts({"x", "y"}));
       },
       -2,
       {"a", "b", "c"},
       {1, 2, 3}},
      {[](QVR_list& d) {
         return d.SetChoiceValues({1, 2});
       },
       -2,
       {"a", "b", "c"},
       {1, 2, 3}},
      {[](QVR_list& d) { return d.SetNumberOfOutcomes(-5); }, 0, {"Choice0", "Choice1"}, {}},
      {[](QVR_list& d) {
         return d.SetNumberOfOutcomes(Texts({"x", "y z", "u"}));
       },
       0,
       {"Choice0", "Choice1", "Choice2"},
       {}},
      {[](QVR_list& d) { return d.SetNumberOfOutcomes(*d.GetOutcomeNames()); }, 0, {"a", "b", "c"}, {}},
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(&row - cases);
    Decision d;
    EXPECT_EQ(row.operation(d.list), row.status);
    EXPECT_EQ(NamesOf(d.list), row.names);
    const std::span<const double> values = d.list.GetChoiceValues().View();
    EXPECT_EQ(Cells(values.begin(), values.begin() + d.list.GetChoiceValues().GetNumItems()), row.values);
    EXPECT_EQ(d.network.CheckInvariants(), "");
  }
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
  using Edit = std::function<int(QVR_network&)>;
  const auto definition = [](QVR_network& n, int node) -> QVR_nodeDefinition& {
    return *n.NodeAt(node)->definition;
  };
  const struct {
    Edit edit;
    Cells expected;
  } cases[] = {
      {[&](QVR_network& n) { return definition(n, 0).InsertOutcome(1, "x"); }, {1, 2, 3, 0, 0, 0, 4, 5, 6}},
      {[&](QVR_network& n) { return definition(n, 1).RemoveOutcome(0); }, {2, 3, 5, 6}},
      {[&](QVR_network& n) {
         return definition(n, 1).ReorderOutcomes({2, 0, 1});
       },
       {3, 1, 2, 6, 4, 5}},
      {[&](QVR_network& n) {
         return definition(n, 2).ReorderParents({1, 0});
       },
       {1, 4, 2, 5, 3, 6}},
      {[&](QVR_network& n) { return n.RemoveArc(0, 2, kOrdinaryLayer); }, {1, 2, 3}},
      {[&](QVR_network& n) { return n.NodeAt(1)->ChangeType(kTypeTable); }, {1, 4}},
      {[&](QVR_network& n) { return definition(n, 2).AbsorbRootParent(1); }, {2.25, 5.25}},
      {[&](QVR_network& n) { return definition(n, 2).AbsorbRootParent(0); }, {-2}},
      {[&](QVR_network& n) { return definition(n, 2).AbsorbObservedParent(0); }, {-2}},
      {[&](QVR_network& n) {
         return ValueOf(n, 0).SetEvidence(1) + definition(n, 2).AbsorbObservedParent(0);
       },
       {4, 5, 6}},
      {[&](QVR_network& n) { return definition(n, 2).RebuildFromNetwork(); }, Cells(6, 0)},
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(&row - cases);
    QVR_network network;
    const int decision = network.AddNode(kTypeList, "d");
    const int chance = AddChance(network, "c", 3, {}, {0.25, 0.25, 0.5});
    const int node = AddNode(network, kTypeTable, "u", {decision, chance});
    QVR_table& table = DefinitionOf<QVR_table>(network, node);
    ASSERT_EQ(table.SetUtilities({1, 2, 3}), -2);
    ASSERT_EQ(table.SetUtilities({1, 2, 3, 4, 5, 6}), 0);
    const int status = row.edit(network);
    const bool isRefused = row.expected == Cells{-2};
    EXPECT_EQ(status, isRefused ? -2 : 0);
    QVR_Dmatrix* matrix = nullptr;
    ASSERT_EQ(table.GetMatrix(matrix), 0);
    EXPECT_EQ(CellsOf(*matrix), isRefused ? (Cells{1, 2, 3, 4, 5, 6}) : row.expected);
    if (&row - cases != 3) {  // the caller of ReorderParents permutes the list
      EXPECT_EQ(network.CheckInvariants(), "");
    }
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
