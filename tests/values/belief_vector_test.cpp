// The states of a belief vector, and what moves between them.
#include "values/belief_vector.h"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <limits>

#include "support/log_guard.h"
#include "support/network_builder.h"

namespace qvr {
namespace {

using Numbers = std::vector<double>;

// Letters of a history: a digit sets that evidence, x sets it out of range, c clears it, d deduces outcome 1,
// D clears the deduction, v sets virtual evidence, u what an update does, i invalidates, r reinitialises.
int Apply(QVR_nodeValue& value, char letter) {
  const QVR_doubleArray likelihoods{2, 6};
  switch (letter) {
    case 'x':
      return value.SetEvidence(2);
    case 'c':
      return value.ClearEvidence();
    case 'd':
      return value.SetPropagatedEvidence(1);
    case 'D':
      return value.ClearPropagatedEvidence();
    case 'v':
      return value.SetVirtualEvidence(likelihoods);
    case 'u':
      value.SetValueValid();
      return 0;
    case 'i':
      value.SetValueInvalid();
      return 0;
    case 'r':
      return value.Reinitialize();
    default:
      return value.SetEvidence(letter - '0');
  }
}

struct StateCase {
  const char* history;
  int lastStatus;
  int flags;
  int evidence;  // what GetEvidence answers
};

TEST(BeliefVector, StatesFollowTheirHistory) {
  const StateCase cases[] = {
      {"u", 0, 2, -2},    {"ui", 0, 0, -2},  {"1", 0, 3, 1},    {"1x", -2, 0, -2},  {"x", -2, 0, -2},
      {"11", 0, 3, 1},    {"10", 0, 3, 0},   {"c", -2, 0, -2},  {"uc", -2, 2, -2},  {"1c", 0, 0, -2},
      {"1cc", -2, 0, -2}, {"d", 0, 6, 1},    {"dd", -2, 6, 1},  {"1d", -2, 3, 1},   {"d1", 0, 3, 1},
      {"d0", -26, 6, 1},  {"dx", -26, 6, 1}, {"dc", -2, 6, 1},  {"dD", 0, 0, -2},   {"D", -2, 0, -2},
      {"1D", -2, 3, 1},   {"v", 0, 16, -2},  {"vu", 0, 18, -2}, {"v1", 0, 3, 1},    {"vd", 0, 6, 1},
      {"1v", 0, 16, -2},  {"vc", 0, 0, -2},  {"vx", -2, 0, -2}, {"vux", -2, 0, -2}, {"dv", 0, 22, 1},
      {"dvD", 0, 16, -2}, {"dvc", 0, 6, 1},  {"dv1", 0, 3, 1},  {"1r", 0, 0, -2},   {"vr", 0, 16, -2},
      {"vur", 0, 16, -2},
  };
  for (const StateCase& row : cases) {
    SCOPED_TRACE(row.history);
    QVR_network network;
    QVR_nodeValue& value = ValueOf(network, AddChance(network, "a", 2, {}, {0.3, 0.7}));
    int status = 0;
    for (const char* letter = row.history; *letter != '\0'; ++letter) {
      status = Apply(value, *letter);
    }
    EXPECT_EQ(status, row.lastStatus);
    EXPECT_EQ(value.GetFlags(), row.flags);
    EXPECT_EQ(value.GetEvidence(), row.evidence);
    if (row.evidence >= 0) {
      EXPECT_EQ(BeliefOf(network, 0)[static_cast<std::size_t>(row.evidence)], 1.0);
      EXPECT_EQ(BeliefOf(network, 0)[static_cast<std::size_t>(1 - row.evidence)], 0.0);
    }
    QVR_doubleArray likelihoods;
    EXPECT_EQ(value.GetVirtualEvidence(likelihoods), (row.flags & 16) != 0 ? 0 : -2);
    if ((row.flags & 16) != 0) {
      EXPECT_EQ(likelihoods[0], 0.25);
      EXPECT_EQ(likelihoods[1], 0.75);
    }
  }
}

TEST(BeliefVector, LikelihoodsAreScaledToSumToOne) {
  const double huge = std::numeric_limits<double>::max();
  const struct {
    Numbers given;
    Numbers stored;  // empty if refused
  } cases[] = {
      {{2, 2}, {0.5, 0.5}},
      {{0.3, 0.7000001}, {0.3, 0.7000001}},
      {{0, 4}, {0, 1}},
      {{0.3, 0.70001}, {0.3 / 1.00001, 0.70001 / 1.00001}},
      {{0, 0}, {}},
      {{-0.5, 1.5}, {}},
      {{0.5, std::nan("")}, {}},
      {{huge, huge}, {}},
      {{1}, {}},
      {{1, 1, 1}, {}},
  };
  for (const auto& row : cases) {
    QVR_network network;
    const int node = AddChance(network, "a", 2, {}, {0.3, 0.7});
    ASSERT_EQ(ValueOf(network, node).SetEvidence(1), 0);
    EXPECT_EQ(SetLikelihoods(network, node, row.given), row.stored.empty() ? -2 : 0);
    EXPECT_EQ(ValueOf(network, node).HasEvidence(), row.stored.empty());  // a refusal changes nothing
    QVR_doubleArray stored;
    ValueOf(network, node).GetVirtualEvidence(stored);
    ASSERT_EQ(stored.Length(), static_cast<int>(row.stored.size()));
    for (int i = 0; i < stored.Length(); ++i) {
      EXPECT_DOUBLE_EQ(stored[i], row.stored[static_cast<std::size_t>(i)]);
    }
  }
}

TEST(BeliefVector, OutcomesCarryTheValueAlong) {
  const QVR_intArray order{2, 0, 1};
  const struct {
    const char* name;
    std::function<int(QVR_nodeDefinition&)> change;
    int evidence;         // afterwards, of the node observed in outcome 2
    Numbers likelihoods;  // of the node with 0.1, 0.2, 0.7; empty for none
  } cases[] = {
      {"reordered", [&order](QVR_nodeDefinition& d) { return d.ReorderOutcomes(order); }, 0, {0.7, 0.1, 0.2}},
      {"added", [](QVR_nodeDefinition& d) { return d.AddOutcome("x"); }, -2, {}},
      {"removed", [](QVR_nodeDefinition& d) { return d.RemoveOutcome(0); }, -2, {}},
      {"other count", [](QVR_nodeDefinition& d) { return d.SetNumberOfOutcomes(4); }, -2, {}},
      {"same count", [](QVR_nodeDefinition& d) { return d.SetNumberOfOutcomes(3); }, 2, {0.1, 0.2, 0.7}},
      {"renamed", [](QVR_nodeDefinition& d) { return d.RenameOutcome(2, "last"); }, 2, {0.1, 0.2, 0.7}},
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(row.name);
    QVR_network network;
    const int hard = AddChance(network, "a", 3, {}, {0.2, 0.3, 0.5});
    const int soft = AddChance(network, "b", 3, {}, {0.2, 0.3, 0.5});
    ASSERT_EQ(ValueOf(network, hard).SetEvidence(2), 0);
    ASSERT_EQ(SetLikelihoods(network, soft, {0.1, 0.2, 0.7}), 0);
    ASSERT_EQ(row.change(*network.NodeAt(hard)->definition), 0);
    ASSERT_EQ(row.change(*network.NodeAt(soft)->definition), 0);
    EXPECT_EQ(ValueOf(network, hard).GetEvidence(), row.evidence);
    if (row.evidence >= 0) {
      EXPECT_EQ(BeliefOf(network, hard)[static_cast<std::size_t>(row.evidence)], 1.0);
    }
    QVR_doubleArray likelihoods;
    ValueOf(network, soft).GetVirtualEvidence(likelihoods);
    EXPECT_EQ(Numbers(likelihoods.View().begin(), likelihoods.View().end()), row.likelihoods);
    EXPECT_EQ(network.CheckInvariants(), "");
  }
}

TEST(BeliefVector, IndexingParentsStandInFrontOfTheOutcomes) {
  QVR_network network;
  const int node = AddChance(network, "a", 2, {}, {0.3, 0.7});
  const int first = AddChance(network, "p", 3, {}, {0.2, 0.3, 0.5});
  const int second = AddChance(network, "q", 4, {}, Numbers(4, 0.25));
  QVR_nodeValue& value = ValueOf(network, node);
  EXPECT_EQ(value.AddIndexingParent(99), -2);
  for (int parent : {first, second, first}) {
    EXPECT_EQ(value.AddIndexingParent(parent), 0);
  }
  EXPECT_EQ(ValueOf(network, first).AddIndexingParent(node), 0);  // two values never index each other
  EXPECT_EQ(ValueOf(network, first).GetIndexingParents().GetNumItems(), 0);
  EXPECT_TRUE(value.GetMatrix()->HasShape(std::vector<int>{3, 4, 2}));
  ASSERT_EQ(network.NodeAt(second)->definition->AddOutcome("x"), 0);  // its dimension lost its meaning
  EXPECT_TRUE(value.GetMatrix()->HasShape(std::vector<int>{2}));
  ASSERT_EQ(value.AddIndexingParent(first), 0);
  ASSERT_EQ(value.SetEvidence(1), 0);
  EXPECT_EQ(BeliefOf(network, node), (Numbers{0, 1}));
  ASSERT_EQ(value.ClearEvidence(), 0);
  ASSERT_EQ(value.AddIndexingParent(first), 0);
  ASSERT_EQ(network.DeleteNode(first), 0);
  EXPECT_TRUE(value.GetMatrix()->HasShape(std::vector<int>{2}));
}

TEST(BeliefVector, AdoptionTakesWhatFitsTheOutcomes) {
  const struct {
    const char* history;
    int flagsFrom2;  // adopted by a value of as many outcomes
    int evidence;
  } cases[] = {{"u", 2, -2}, {"1", 3, 1}, {"d", 6, 1}, {"v", 16, -2}, {"vu", 18, -2}, {"", 0, -2}};
  for (const auto& row : cases) {
    SCOPED_TRACE(row.history);
    QVR_network network;
    QVR_nodeValue& source = ValueOf(network, AddChance(network, "a", 2, {}, {0.3, 0.7}));
    for (const char* letter = row.history; *letter != '\0'; ++letter) {
      Apply(source, *letter);
    }
    source.GetMatrix()->Subscript(0) += 0.125;
    const std::unique_ptr<QVR_beliefVector> target = std::make_unique<QVR_beliefVector>(&network, 0);
    const UpdateFlagsOff quiet(network, UPDATE_TRACK_CHANGES);
    ASSERT_EQ(target->AdoptValue(source), 0);
    EXPECT_EQ(target->GetFlags(), row.flagsFrom2);
    EXPECT_EQ(target->GetEvidence(), row.evidence);
    if (row.evidence < 0) {
      EXPECT_EQ(target->GetMatrix()->Subscript(0), 0.125);
    }
    // A clone keeps every number as it stands; a value of another number of outcomes takes none.
    QVR_beliefVector clone(dynamic_cast<QVR_beliefVector&>(source));
    EXPECT_EQ(clone.GetFlags(), source.GetFlags());
    EXPECT_EQ(clone.GetMatrix()->Subscript(0), source.GetMatrix()->Subscript(0));
    ASSERT_EQ(network.NodeAt(0)->definition->AddOutcome("x"), 0);
    ASSERT_EQ(target->AdoptValue(clone), 0);
    EXPECT_EQ(target->GetFlags(), 0);
    EXPECT_EQ(target->GetMatrix()->GetNumElements(), 3);
  }
}

}  // namespace
}  // namespace qvr
