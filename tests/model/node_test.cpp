// A node's own data: change of type, metadata, diagnostic attributes, observation costs.
#include "model/node.h"

#include <gtest/gtest.h>

#include "support/log_guard.h"
#include "support/network_builder.h"

namespace qvr {
namespace {

// a -> c <- b, c -> d, with all values valid.
class ChangeTypeTest : public testing::Test {
 protected:
  ChangeTypeTest() {
    AddChance(network, "a", 2, {}, {0.5, 0.5});
    AddChance(network, "b", 2, {}, {0.5, 0.5});
    AddChance(network, "c", 3, {0, 1}, std::vector<double>(12, 1.0 / 3));
    AddChance(network, "d", 2, {2}, std::vector<double>(6, 0.5));
    for (int handle : AllNodes(network)) {
      ValueOf(network, handle).SetValueValid();
    }
  }
  [[nodiscard]] std::vector<int> ValidNodes() {
    std::vector<int> valid;
    for (int handle : AllNodes(network)) {
      const QVR_nodeValue* value = network.NodeAt(handle)->value.get();
      if (value != nullptr && value->IsValueValid()) {
        valid.push_back(handle);
      }
    }
    return valid;
  }

  LogGuard log;
  QVR_network network;
};

TEST_F(ChangeTypeTest, UnknownOrPresentTypeChangesNothing) {
  QVR_node& node = *network.NodeAt(2);
  const QVR_nodeDefinition* definition = node.definition.get();
  EXPECT_EQ(node.ChangeType(kTypeCpt), QVR_OKAY);
  EXPECT_EQ(node.ChangeType("CPT"), QVR_OKAY);
  EXPECT_EQ(node.ChangeType(3), -2);
  for (const char* name : {"cpt", "EQUATION_SCC", "", "CPT "}) {
    EXPECT_EQ(node.ChangeType(name), -2) << name;
  }
  EXPECT_EQ(node.definition.get(), definition);
  EXPECT_EQ(ValidNodes(), (std::vector<int>{0, 1, 2, 3}));
}

TEST_F(ChangeTypeTest, NoTypeCutsTheNodeOffAndInvalidatesBothSides) {
  ASSERT_EQ(ValueOf(network, 3).SetEvidence(1), QVR_OKAY);
  for (int handle : AllNodes(network)) {
    ValueOf(network, handle).SetValueValid();
  }
  QVR_node& node = *network.NodeAt(2);
  node.extra->diagnosisType = 0;
  ASSERT_EQ(node.ChangeType(kTypeNone), QVR_OKAY);
  EXPECT_EQ(node.definition, nullptr);
  EXPECT_EQ(node.value, nullptr);
  EXPECT_EQ(node.extra->diagnosisType, 2);
  EXPECT_EQ(ValidNodes(), std::vector<int>{3});  // its evidence is its value
  EXPECT_EQ(TableOf(network, 3)->GetNumElements(), 2);
  EXPECT_FALSE(node.IsReady());
  EXPECT_EQ(network.CheckInvariants(), "");
  ASSERT_EQ(node.ChangeType("CPT"), QVR_OKAY);
  EXPECT_TRUE(node.IsReady());
  EXPECT_EQ(node.GetNumberOfOutcomes(), 2);
  EXPECT_EQ(network.CheckInvariants(), "");
  EXPECT_EQ(GetErrorLog().GetCount(), 0);
}

TEST_F(ChangeTypeTest, UntrackedChangesLeaveTheValidBits) {
  const UpdateFlagsOff quiet(network, UPDATE_TRACK_CHANGES);
  ASSERT_EQ(network.NodeAt(2)->ChangeType(kTypeNone), QVR_OKAY);
  EXPECT_EQ(ValidNodes(), (std::vector<int>{0, 1, 3}));
}

TEST(NodeInfo, DefaultsSubmodelsAndCopies) {
  const LogGuard log;
  QVR_network network;
  QVR_submodelHandler& submodels = network.GetSubmodels();
  submodels.nodeDefaults.color = 5;
  QVR_node& node = *network.NodeAt(network.AddNode(kTypeCpt, "first"));
  EXPECT_EQ(node.info->screen.color, 5);
  node.info->header.SetComment(nullptr);
  EXPECT_EQ(node.info->header.GetComment(), "");
  EXPECT_EQ(node.SetSubmodel("nowhere"), -30);
  EXPECT_EQ(LogGuard::Messages(-30), std::vector<std::string>{"Unknown submodel"});
  EXPECT_EQ(node.SetSubmodel(nullptr), -2);
  EXPECT_EQ(node.SetSubmodel(1), -2);
  EXPECT_EQ(node.submodel, QVR_submodelHandler::kMainSubmodel);
  const int group = submodels.CreateSubmodel(0, "group");
  EXPECT_EQ(node.SetSubmodel(group & ~QVR_submodelHandler::kHandleBit), QVR_OKAY);
  EXPECT_EQ(node.submodel, group);

  // A copy outside the network takes a name without touching the network's.
  QVR_node copy(node);
  EXPECT_EQ(copy.SetId("second"), QVR_OKAY);
  EXPECT_EQ(network.FindNode("second"), -2);
  EXPECT_EQ(network.FindNode("first"), 0);
}

// A node of three outcomes, each with its number as the fault's name and as its cost.
class ExtraTest : public testing::Test {
 protected:
  ExtraTest() {
    AddChance(network, "node", 3, {}, {0.2, 0.3, 0.5});
    AddChance(network, "other", 2, {}, {0.5, 0.5});
    for (int i = 0; i < 3; ++i) {
      Extra(0).SetFaultName(i, std::to_string(i).c_str());
      Extra(0).SetFault(i, i == 1 ? 7 : 0);
      Extra(0).GetOutcomeCosts().costs[i] = i;
    }
    Extra(0).SetDefaultOutcome(1);
  }
  [[nodiscard]] QVR_extraDefinition& Extra(int handle) { return *network.NodeAt(handle)->extra; }
  [[nodiscard]] QVR_nodeDefinition& Definition() { return *network.NodeAt(0)->definition; }
  [[nodiscard]] std::string Names() {
    std::string names;
    for (int i = 0; i < Extra(0).GetFaultNames().GetNumItems(); ++i) {
      names += std::string(Extra(0).GetFaultNames().Get(i)) + ",";
    }
    return names;
  }

  LogGuard log;
  QVR_network network;
};

TEST_F(ExtraTest, ListsFollowTheOutcomes) {
  ASSERT_EQ(Definition().InsertOutcome(1, "late"), QVR_OKAY);
  EXPECT_EQ(Names(), "0,,1,2,");
  EXPECT_EQ(Extra(0).GetDefaultOutcome(), 2);
  EXPECT_EQ(ListOf(Extra(0).GetFaultStates()), (std::vector<int>{0, 0, 1, 0}));
  ASSERT_EQ(Definition().ReorderOutcomes(QVR_intArray({3, 2, 1, 0})), QVR_OKAY);
  EXPECT_EQ(Names(), "2,1,,0,");
  EXPECT_EQ(Extra(0).GetDefaultOutcome(), 1);
  EXPECT_EQ(Extra(0).GetOutcomeCosts().costs[0], 2);
  ASSERT_EQ(Definition().RemoveOutcome(0), QVR_OKAY);
  EXPECT_EQ(Names(), "1,,0,");
  EXPECT_EQ(Extra(0).GetDefaultOutcome(), 0);
  Extra(0).SetDefaultOutcome(2);
  ASSERT_EQ(Definition().RemoveOutcome(2), QVR_OKAY);
  EXPECT_EQ(Extra(0).GetDefaultOutcome(), 0);
  EXPECT_EQ(Extra(0).GetOutcomeCosts().flags.GetNumItems(), 2);
  ASSERT_EQ(Definition().SetNumberOfOutcomes(4), QVR_OKAY);
  EXPECT_EQ(Names(), ",,,,");
  EXPECT_EQ(Extra(0).GetOutcomeCosts().costs[0], 0);
  EXPECT_EQ(network.CheckInvariants(), "");
}

TEST_F(ExtraTest, RefusalsChangeNothing) {
  QVR_extraDefinition& extra = Extra(0);
  for (int i : {-1, 3, 7}) {
    EXPECT_EQ(extra.SetFault(i, 1), -2);
    EXPECT_EQ(extra.SetFaultName(i, "x"), -2);
    EXPECT_EQ(extra.SetFaultLabel(i, "x"), -2);
    EXPECT_EQ(extra.GetStateDocumentation(i), nullptr);
    EXPECT_EQ(extra.RemoveOutcome(i), -2);
    EXPECT_EQ(extra.AddOutcome(i == 3 ? 4 : i), -2);
  }
  EXPECT_EQ(extra.SetFaults(QVR_intArray({1, 1})), -2);
  EXPECT_EQ(extra.PermuteOutcomes(QVR_intArray({0, 0, 1})), -2);
  EXPECT_EQ(extra.PermuteOutcomes(QVR_intArray({1, 0})), -2);
  EXPECT_EQ(Names(), "0,1,2,");
  EXPECT_EQ(ListOf(extra.GetFaultStates()), (std::vector<int>{0, 1, 0}));
  EXPECT_EQ(extra.GetDefaultOutcome(), 1);
  EXPECT_EQ(extra.SetDefaultOutcome(3), -2);
  EXPECT_EQ(extra.GetDefaultOutcome(), 0);
}

TEST_F(ExtraTest, FaultLabelsAreUniqueAmongNodes) {
  ASSERT_EQ(Extra(1).SetFaultLabel(0, "F6"), QVR_OKAY);
  EXPECT_EQ(Extra(0).SetFaultLabel(0, "F6"), -2);
  EXPECT_EQ(Extra(0).SetFaultLabel(0, "no label"), -2);
  EXPECT_EQ(Extra(0).SetFaultLabel(0, ""), QVR_OKAY);
  EXPECT_EQ(Extra(0).MakeFaultLabel("F"), "F7");  // 3 and 2 outcomes, and F6 is taken
  QVR_stringArray labels;
  for (const char* label : {"own", "F6", "own"}) {
    labels.Add(label);
  }
  EXPECT_EQ(Extra(0).SetFaultLabels(labels), -2);
  const QVR_idArray& stored = Extra(0).GetFaultLabels();
  EXPECT_STREQ(stored.Get(0), "own");
  EXPECT_STREQ(stored.Get(1), "F7");
  EXPECT_STREQ(stored.Get(2), "F8");
  EXPECT_TRUE(Extra(0).IsFaultLabelUsed("F6", 0));
  EXPECT_FALSE(Extra(0).IsFaultLabelUsed("F6", 1));
  labels.Delete(2);
  labels.SetItem(1, "mine");
  EXPECT_EQ(Extra(0).SetFaultLabels(labels), -2);  // one short, but what there is goes in
  EXPECT_STREQ(stored.Get(1), "mine");
}

}  // namespace
}  // namespace qvr
