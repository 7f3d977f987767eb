// The values that decision analysis leaves, and the evidence of decisions.
#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <string>

#include "definitions/mau.h"
#include "model/special_numbers.h"
#include "support/log_guard.h"
#include "support/network_builder.h"
#include "values/list_of_decisions.h"
#include "values/mau_expected_utility.h"

namespace qvr {
namespace {

using Numbers = std::vector<double>;

TEST(ListOfDecisions, StatesFollowTheirHistory) {
  // A digit sets that evidence, c clears it, d deduces outcome 1, x an outcome that there isn't, D clears the
  // deduction, v sets virtual evidence, i drops the indexing parents.
  const struct {
    const char* history;
    int lastStatus;
    int flags;
    int evidence;  // what GetEvidence answers
  } cases[] = {
      {"2", 0, 3, 2},   {"5", 0, 0, -2},  {"15", 0, 0, -2}, {"1c", 0, 0, -2}, {"c", -2, 0, -2},
      {"d", 0, 6, 1},   {"d1", 0, 3, 1},  {"d0", -2, 6, 1}, {"x", 0, 0, -2},  {"dd", -2, 6, 1},
      {"dD", 0, 0, -2}, {"1D", -2, 3, 1}, {"1d", -2, 3, 1}, {"dc", -2, 6, 1}, {"1v", -51, 3, 1},
      {"2i", 0, 3, 2},  {"di", 0, 6, 1},  {"i", 0, 0, -2},
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(row.history);
    QVR_network network;
    const int handle = network.AddNode(kTypeList, "d");
    ASSERT_EQ(network.NodeAt(handle)->definition->SetNumberOfOutcomes(3), 0);
    QVR_nodeValue& value = ValueOf(network, handle);
    value.GetMatrix()->Fill(7);
    int status = 0;
    const std::map<char, std::function<int()>> steps = {
        {'c', [&] { return value.ClearEvidence(); }},
        {'d', [&] { return value.SetPropagatedEvidence(1); }},
        {'x', [&] { return value.SetPropagatedEvidence(3); }},
        {'D', [&] { return value.ClearPropagatedEvidence(); }},
        {'v',
         [&] {
           return value.SetVirtualEvidence({1, 2});
         }},
        {'i', [&] { return value.DropIndexingParents(); }},
    };
    for (const char* letter = row.history; *letter != '\0'; ++letter) {
      status = steps.contains(*letter) ? steps.at(*letter)() : value.SetEvidence(*letter - '0');
    }
    EXPECT_EQ(status, row.lastStatus);
    EXPECT_EQ(value.GetFlags(), row.flags);
    EXPECT_EQ(value.GetEvidence(), row.evidence);
    EXPECT_EQ(BeliefOf(network, handle), Numbers(3, std::string(row.history).ends_with('i') ? 0 : 7));
  }
}

TEST(ListOfDecisions, EvidenceStaysWithItsOutcomeAndPassesBetweenClasses) {
  QVR_network network;
  const int decision = network.AddNode(kTypeList, "d");
  const int other = network.AddNode(kTypeList, "e");
  QVR_node& node = *network.NodeAt(decision);
  ASSERT_EQ(ValueOf(network, decision).SetEvidence(1), 0);
  ASSERT_EQ(node.value->AddIndexingParent(other), 0);
  EXPECT_EQ(node.value->GetMatrix()->GetNumElements(), 4);
  ASSERT_EQ(node.definition->ReorderOutcomes({1, 0}), 0);
  EXPECT_EQ(node.value->GetEvidence(), 0);
  ASSERT_EQ(network.NodeAt(other)->definition->AddOutcome("x"), 0);
  EXPECT_EQ(node.value->GetEvidence(), 0);  // the table alone has lost its meaning
  EXPECT_EQ(BeliefOf(network, decision), Numbers(2, 0.0));
  ASSERT_EQ(node.ChangeType(kTypeCpt), 0);
  EXPECT_EQ(node.value->GetEvidence(), 0);
  EXPECT_EQ(BeliefOf(network, decision), (Numbers{1, 0}));
  ASSERT_EQ(node.ChangeType(kTypeList), 0);
  EXPECT_EQ(node.value->GetEvidence(), 0);
  ASSERT_EQ(node.definition->AddOutcome("x"), 0);
  EXPECT_EQ(node.value->GetFlags(), 0);
  ASSERT_EQ(ValueOf(network, decision).SetEvidence(1), 0);
  ASSERT_EQ(node.ChangeType(kTypeTable), 0);
  EXPECT_EQ(node.value->GetFlags(), 0);
  EXPECT_EQ(node.value->SetEvidence(0), -51);
  EXPECT_EQ(network.CheckInvariants(), "");
}

TEST(ListOfDecisions, AdoptsEvidenceAsIfItWereEntered) {
  QVR_network network;
  const int decisions[] = {network.AddNode(kTypeList, "d"), network.AddNode(kTypeList, "e")};
  const int utility = network.AddNode(kTypeTable, "u");
  ASSERT_EQ(network.AddArc(decisions[1], utility, kOrdinaryLayer), 0);
  ASSERT_EQ(ValueOf(network, decisions[0]).SetEvidence(1), 0);
  ValueOf(network, utility).SetValueValid();
  ASSERT_EQ(ValueOf(network, decisions[1]).AdoptValue(ValueOf(network, decisions[0])), 0);
  EXPECT_EQ(ValueOf(network, decisions[1]).GetFlags(), 3);
  EXPECT_FALSE(ValueOf(network, utility).IsValueValid());
}

TEST(ExpectedUtility, RescalesAndStaysWithItsClass) {
  QVR_network network;
  const int decision = network.AddNode(kTypeList, "d");
  const int node = network.AddNode(kTypeTable, "u");
  auto& value = dynamic_cast<QVR_expectedUtility&>(ValueOf(network, node));
  ASSERT_EQ(value.AddIndexingParent(decision), 0);
  ASSERT_EQ(value.GetMatrix()->GetItems().Assign(Numbers{0.5, kUndefined}), 0);
  EXPECT_EQ(value.RescaleValues(0, 1, 0, 100), 0);
  EXPECT_EQ(BeliefOf(network, node), (Numbers{50, kUndefined}));
  value.GetMatrix()->Subscript(0) = 3;
  EXPECT_EQ(value.RescaleValues(0, 5, 0, 7), 0);
  EXPECT_EQ(value.GetMatrix()->Subscript(0), 3 * (7 / 5.0));  // not 3 * 7 / 5.0
  value.SetValueValid();
  QVR_network copy(network);
  EXPECT_EQ(BeliefOf(copy, node), (Numbers{3 * (7 / 5.0), kUndefined}));
  ASSERT_EQ(network.NodeAt(node)->ChangeType(kTypeMau), 0);
  EXPECT_EQ(BeliefOf(network, node), Numbers{0});
  EXPECT_FALSE(ValueOf(network, node).IsValueValid());
}

// Decisions a (2) and b (3); u is indexed by both, v by b, and their combination by all or by a alone.
struct CombinedUtility {
  explicit CombinedUtility(const std::vector<int>& indexing) {
    for (const int type : {kTypeList, kTypeList, kTypeTable, kTypeTable, kTypeMau}) {
      network.AddNode(type, std::string(1, "abuvm"[network.GetNumberOfNodes()]).c_str());
    }
    network.NodeAt(1)->definition->SetNumberOfOutcomes(3);
    for (int parent : {2, 1, 3}) {
      network.AddArc(parent, 4, kOrdinaryLayer);
    }
    Index(2, {0, 1}, {1, 2, 3, 4, 5, 6});
    Index(3, {1}, {10, 20, 30});
    Index(4, indexing, Numbers(std::size_t{2} * (indexing.size() == 2 ? 3 : 1)));
  }
  void Index(int node, const std::vector<int>& by, const Numbers& cells) {
    for (int parent : by) {
      EXPECT_EQ(ValueOf(network, node).AddIndexingParent(parent), 0);
    }
    EXPECT_EQ(ValueOf(network, node).GetMatrix()->GetItems().Assign(cells), 0);
  }
  Numbers Compute() {
    EXPECT_EQ(dynamic_cast<QVR_mauExpectedUtility&>(ValueOf(network, 4)).ComputeMultiAttributeUtility(), 0);
    return BeliefOf(network, 4);
  }
  QVR_mau& Definition() { return dynamic_cast<QVR_mau&>(*network.NodeAt(4)->definition); }

  QVR_network network;
};

TEST(MauExpectedUtility, TakesEachUtilityAndWeightWhereItStands) {
  CombinedUtility m({1, 0});
  // Cells by b, then a; weights by b, for u and v.
  ASSERT_EQ(m.Definition().SetWeights({1, 0, 0.5, 0.5, 2, -1}), 0);
  EXPECT_EQ(m.Compute(), (Numbers{1, 4, 11, 12.5, -24, -18}));
  std::string error;
  ASSERT_EQ(m.Definition().SetExpressions(std::vector<std::string>{"-(u+v)", "v", "u*u"}, error), 0);
  EXPECT_EQ(m.Compute(), (Numbers{-11, -14, 20, 20, 9, 36}));
  ValueOf(m.network, 3).GetMatrix()->Subscript(1) = kUndefined;
  EXPECT_EQ(m.Compute(), (Numbers{-11, -14, kUndefined, kUndefined, 9, 36}));
}

TEST(MauExpectedUtility, ReadsWhatDoesNotIndexItAtTheChoiceMade) {
  CombinedUtility m({0});
  ASSERT_EQ(m.Definition().SetWeights({1, 1, 2, 2, 3, 3}), 0);
  EXPECT_EQ(m.Compute(), (Numbers{11, 14}));
  ASSERT_EQ(ValueOf(m.network, 1).SetEvidence(2), 0);
  EXPECT_EQ(m.Compute(), (Numbers{99, 108}));
}

}  // namespace
}  // namespace qvr
