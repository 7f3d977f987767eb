// A conditional probability table on its own, and its refusals.
#include "definitions/cpt.h"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>

#include "definitions/fake_definition.h"
#include "support/log_guard.h"
#include "support/network_builder.h"

namespace qvr {
namespace {

using Cells = std::vector<double>;
using Names = std::vector<std::string>;

QVR_cpt& CptOf(QVR_network& network, int handle) {
  return dynamic_cast<QVR_cpt&>(*network.NodeAt(handle)->definition);
}

Names NamesOf(QVR_cpt& definition) {
  Names names;
  for (int i = 0; i < definition.GetNumberOfOutcomes(); ++i) {
    names.emplace_back(definition.GetOutcomeNames()->Get(i));
  }
  return names;
}

template <typename... Text>
QVR_stringArray Texts(Text... texts) {
  QVR_stringArray list;
  (list.Add(texts), ...);
  return list;
}

template <typename... Number>
QVR_intArray Ints(Number... numbers) {
  return {numbers...};
}

template <typename... Number>
QVR_doubleArray Reals(Number... numbers) {
  return {numbers...};
}

int ChangeOutcomes(QVR_cpt& definition, const QVR_stringArray& names, QVR_intArray mapping) {
  return definition.ChangeOutcomes(names, mapping);
}

using Operation = std::function<int(QVR_cpt&)>;

// A node with outcomes State0, State1, State2 and 0.1, 0.2, 0.7.
struct ThreeOutcomes {
  ThreeOutcomes() : definition(CptOf(network, AddChance(network, "a", 3, {}, {0.1, 0.2, 0.7}))) {}

  QVR_network network;
  QVR_cpt& definition;
};

TEST(Cpt, RefusalsChangeNothing) {
  const struct {
    int status;
    Operation operation;
  } cases[] = {
      {-2, [](QVR_cpt& d) { return d.InsertOutcome(4, "x"); }},
      {-2, [](QVR_cpt& d) { return d.InsertOutcome(-1, "x"); }},
      {-2, [](QVR_cpt& d) { return d.RemoveOutcome(3); }},
      {-2, [](QVR_cpt& d) { return d.ReorderOutcomes(Ints(2, 0, 2)); }},
      {-2, [](QVR_cpt& d) { return d.ReorderOutcomes(Ints(1, 0)); }},
      {-2, [](QVR_cpt& d) { return d.ReorderParents(Ints(1)); }},
      {-2, [](QVR_cpt& d) { return d.RenameOutcomes(Texts("a", "b")); }},
      {-2, [](QVR_cpt& d) { return d.RenameOutcome(0, "State1"); }},
      {-2, [](QVR_cpt& d) { return d.RenameOutcome(3, "x"); }},
      {-2, [](QVR_cpt& d) { return d.SetNumberOfOutcomes(0); }},
      {-42, [](QVR_cpt& d) { return d.SetNumberOfOutcomes(0x10000001); }},
      {-2, [](QVR_cpt& d) { return d.SetProbabilities(Reals(0.5, 0.5)); }},
      {-2, [](QVR_cpt& d) { return d.SetMatrix(QVR_Dmatrix(Ints(1, 3))); }},
      {-2, [](QVR_cpt& d) { return ChangeOutcomes(d, Texts("a"), Ints(0)); }},
      {-2, [](QVR_cpt& d) { return ChangeOutcomes(d, Texts("a", "b"), Ints(1, 1)); }},
      {-2, [](QVR_cpt& d) { return ChangeOutcomes(d, Texts("a", "b"), Ints(0, 3)); }},
      {-2, [](QVR_cpt& d) { return ChangeOutcomes(d, Texts("a", "b"), Ints(0, 1, 2)); }},
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(&row - cases);
    ThreeOutcomes node;
    ASSERT_EQ(ValueOf(node.network, 0).SetEvidence(1), 0);
    EXPECT_EQ(row.operation(node.definition), row.status);
    EXPECT_EQ(CellsOf(node.network, 0), (Cells{0.1, 0.2, 0.7}));
    EXPECT_EQ(NamesOf(node.definition), (Names{"State0", "State1", "State2"}));
    EXPECT_EQ(ValueOf(node.network, 0).GetEvidence(), 1);
  }
}

TEST(Cpt, NamesAreRepairedAndConsistencyFollowsTheNumbers) {
  const Names kOld = {"State0", "State1", "State2"};
  const Names kMore = {"State0", "State1", "State2", "State3"};
  const struct {
    Operation operation;
    Names names;
    bool consistent;
  } cases[] = {
      {[](QVR_cpt& d) { return d.AddOutcome("State1"); }, kMore, true},
      {[](QVR_cpt& d) { return d.AddOutcome(nullptr); }, kMore, true},
      {[](QVR_cpt& d) { return d.InsertOutcome(1, "x y"); }, {"State0", "State3", "State1", "State2"}, true},
      {[](QVR_cpt& d) { return d.RemoveOutcome(0); }, {"State1", "State2"}, false},
      {[](QVR_cpt& d) { return d.RenameOutcomes(Texts("a", "a", "c", "d")); }, {"a", "a0", "c"}, true},
      {[](QVR_cpt& d) { return d.SetNumberOfOutcomes(1); }, {"State0", "State1"}, true},
      {[](QVR_cpt& d) { return d.SetNumberOfOutcomes(Texts("a b", "a_b")); }, {"a_b", "a_b2"}, true},
      {[](QVR_cpt& d) { return d.SetNumberOfOutcomes(*d.GetOutcomeNames()); }, kOld, true},
      {[](QVR_cpt& d) { return ChangeOutcomes(d, Texts("State2", "b", "c"), Ints(-1, 2, -1)); },
       {"State2", "b", "c"},
       false},
      {[](QVR_cpt& d) { return d.SetProbabilities(Reals(-0.5, 0.5, 1.0)); }, kOld, false},
      {[](QVR_cpt& d) { return d.SetValues(Reals(0.2, 0.1)); }, kOld, true},
      {[](QVR_cpt& d) { return d.SetValues(Reals(0.1, 0.199996)); }, kOld, true},
      {[](QVR_cpt& d) { return d.SetValues(Reals(0.1, 0.199994)); }, kOld, false},
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(&row - cases);
    ThreeOutcomes node;
    EXPECT_EQ(row.operation(node.definition), 0);
    EXPECT_EQ(NamesOf(node.definition), row.names);
    EXPECT_EQ(node.definition.IsConsistent(), row.consistent);
    EXPECT_EQ(node.network.CheckInvariants(), "");
  }
}

TEST(Cpt, AbsorbingAParentTakesTheArc) {
  QVR_network network;
  const int root = AddChance(network, "p", 2, {}, {0.25, 0.75});
  const int seen = AddChance(network, "q", 2, {root}, {0.5, 0.5, 0.5, 0.5});
  const int child = AddChance(network, "c", 2, {root, seen}, {0.1, 0.9, 0.2, 0.8, 0.3, 0.7, 0.4, 0.6});
  EXPECT_EQ(CptOf(network, child).AbsorbObservedParent(seen), -2);
  EXPECT_EQ(CptOf(network, child).AbsorbRootParent(seen), -2);  // its table is no prior
  ASSERT_EQ(ValueOf(network, seen).SetEvidence(1), 0);
  EXPECT_EQ(CptOf(network, child).AbsorbRootParent(seen), -2);
  EXPECT_EQ(CptOf(network, child).AbsorbObservedParent(seen), 0);
  EXPECT_EQ(CellsOf(network, child), (Cells{0.2, 0.8, 0.4, 0.6}));
  EXPECT_EQ(CptOf(network, child).AbsorbRootParent(root), 0);
  EXPECT_NEAR(CellsOf(network, child)[0], 0.25 * 0.2 + 0.75 * 0.4, 1e-15);
  EXPECT_EQ(network.GetNumberOfParents(child), 0);
  EXPECT_EQ(network.CheckInvariants(), "");
}

TEST(Cpt, MemoryEndsTheGrowthOfATableNotItsShape) {
  LogGuard log;
  QVR_network network;
  const int child = AddChance(network, "c", 2, {}, {0.2, 0.8});
  std::vector<int> parents;
  for (int i = 0; i < 30; ++i) {
    parents.push_back(AddChance(network, nullptr, 2, {}, {0.5, 0.5}));
  }
  QVR_Dmatrix::SetMemoryCeiling(QVR_Dmatrix::MemoryInUse() + (1 << 20));
  int accepted = 0;
  for (int parent : parents) {
    accepted += network.AddArc(parent, child, kOrdinaryLayer) == 0 ? 1 : 0;
  }
  EXPECT_GT(accepted, 10);
  EXPECT_LT(accepted, 17);
  EXPECT_EQ(network.GetNumberOfParents(child), accepted);
  EXPECT_EQ(CptOf(network, parents[0]).AddOutcome("x"), -42);  // the child can't follow
  EXPECT_EQ(network.CheckInvariants(), "");
  QVR_Dmatrix::SetMemoryCeiling(std::int64_t{1} << 40);
}

TEST(Cpt, AnOutcomeThatAChildHasNoRoomForIsRefused) {
  QVR_network network;
  const int parent = AddChance(network, "p", 2, {}, {0.2, 0.8});
  const int child = AddChance(network, "c", 2, {parent}, {0.2, 0.8, 0.3, 0.7});
  auto full = std::make_unique<FakeDefinition>(network, child, kTypeCpt, 2, Cells{0.2, 0.8, 0.3, 0.7});
  full->growthStatus = -42;
  network.NodeAt(child)->definition = std::move(full);
  ASSERT_EQ(ValueOf(network, parent).SetEvidence(1), 0);
  EXPECT_EQ(CptOf(network, parent).AddOutcome("x"), -42);
  EXPECT_EQ(CptOf(network, parent).InsertOutcome(0, "x"), -42);
  EXPECT_EQ(CellsOf(network, parent), (Cells{0.2, 0.8}));
  EXPECT_EQ(ValueOf(network, parent).GetEvidence(), 1);
}

TEST(Cpt, ParentInfluenceIsTheLargestDistanceBetweenRows) {
  QVR_network network;
  const int first = AddChance(network, "p", 2, {}, {0.5, 0.5});
  const int second = AddChance(network, "q", 3, {}, {0.2, 0.3, 0.5});
  const int child = AddChance(network, "c", 2, {first, second},
                              {0.25, 0.75, 0.25, 0.75, 0.25, 0.75, 0.25, 0.75, 0.25, 0.75, 0.26, 0.74});
  // Only the last row differs: from its neighbours along both dimensions.
  const double distance = std::hypot(std::sqrt(0.26) - 0.5, std::sqrt(0.74) - std::sqrt(0.75));
  QVR_cpt& definition = CptOf(network, child);
  int isRelevant = 7;
  EXPECT_EQ(definition.CheckParentInfluence(2, 0.1, isRelevant), -2);
  EXPECT_EQ(isRelevant, 7);
  for (int dimension : {0, 1}) {
    EXPECT_EQ(definition.CheckParentInfluence(dimension, distance * 0.99, isRelevant), 0);
    EXPECT_EQ(isRelevant, 1);
    EXPECT_EQ(definition.CheckParentInfluence(dimension, distance * 1.01, isRelevant), 0);
    EXPECT_EQ(isRelevant, 0);
  }
}

}  // namespace
}  // namespace qvr
