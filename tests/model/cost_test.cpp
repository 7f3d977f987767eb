// Observation costs and the arcs that they depend on.
#include "model/node_cost.h"

#include <gtest/gtest.h>

#include "support/log_guard.h"
#include "support/network_builder.h"

namespace qvr {
namespace {

// Nodes of 2, 3 and 4 outcomes, one without any, and one that bears the costs.
class CostTest : public testing::Test {
 protected:
  CostTest() {
    for (int count : {2, 3, 4}) {
      AddChance(network, nullptr, count, {},
                std::vector<double>(static_cast<std::size_t>(count), 1.0 / count));
    }
    network.AddNode(kTypeNone, nullptr);
    network.AddNode(kTypeCpt, nullptr);
  }
  ~CostTest() override { EXPECT_EQ(network.CheckInvariants(), ""); }
  [[nodiscard]] QVR_nodeCost& Cost() { return *network.NodeAt(4)->cost; }
  [[nodiscard]] std::vector<int> Sizes() {
    const auto sizes = Cost().GetCosts().GetDimensions().View();
    return {sizes.begin(), sizes.end()};
  }
  [[nodiscard]] std::vector<double> Cells() {
    const auto cells = Cost().GetCosts().GetItems().Vector();
    return {cells.begin(), cells.end()};
  }
  // Cell i gets the cost i + 1.
  void Number() {
    QVR_doubleArray costs;
    for (int i = 0; i < Cost().GetCosts().GetNumElements(); ++i) {
      costs.Add(i + 1);
    }
    ASSERT_EQ(Cost().SetCosts(costs), QVR_OKAY);
  }

  LogGuard log;
  QVR_network network;
};

TEST_F(CostTest, RefusedArcsLeaveNoTrace) {
  EXPECT_EQ(Cells(), std::vector<double>{0});
  EXPECT_EQ(network.AddArc(3, 4, kCostLayer), -2);
  EXPECT_EQ(LogGuard::Messages(-2), std::vector<std::string>{"Arc cannot be added"});
  EXPECT_EQ(network.AddArc(4, 4, kCostLayer), -2);
  EXPECT_EQ(network.AddArc(0, 9, kCostLayer), -2);
  EXPECT_EQ(network.RemoveArc(0, 4, kCostLayer), -2);
  EXPECT_EQ(network.GetNumberOfChildren(3, kCostLayer) + network.GetNumberOfParents(4, kCostLayer), 0);
  EXPECT_EQ(Cost().AddCostParent(0), -2);  // no cost arc calls for it
  EXPECT_EQ(Cost().RemoveCostParent(0), QVR_OKAY);
  EXPECT_EQ(Cost().SetCosts(QVR_doubleArray{1, 2}), -2);
}

TEST_F(CostTest, DimensionsFollowTheParents) {
  ASSERT_EQ(network.AddArc(0, 4, kCostLayer), QVR_OKAY);
  ASSERT_EQ(network.AddArc(1, 4, kCostLayer), QVR_OKAY);
  EXPECT_EQ(network.AddArc(4, 0, kCostLayer), QVR_OKAY);  // cost arcs may run in circles
  EXPECT_EQ(Sizes(), (std::vector<int>{2, 3, 1}));
  Number();
  ASSERT_EQ(network.NodeAt(1)->definition->InsertOutcome(1, "late"), QVR_OKAY);
  EXPECT_EQ(Cells(), (std::vector<double>{1, 0, 2, 3, 4, 0, 5, 6}));
  QVR_intArray order{3, 2, 1, 0};
  ASSERT_EQ(network.NodeAt(1)->definition->ReorderOutcomes(order), QVR_OKAY);
  EXPECT_EQ(Cells(), (std::vector<double>{3, 2, 0, 1, 6, 5, 0, 4}));
  ASSERT_EQ(network.NodeAt(1)->definition->RemoveOutcome(2), QVR_OKAY);
  EXPECT_EQ(Cells(), (std::vector<double>{3, 2, 1, 6, 5, 4}));
  ASSERT_EQ(network.AddArc(2, 4, kCostLayer), QVR_OKAY);
  EXPECT_EQ(Sizes(), (std::vector<int>{2, 3, 4, 1}));
  ASSERT_EQ(network.DeleteNode(0), QVR_OKAY);
  EXPECT_EQ(Sizes(), (std::vector<int>{3, 4, 1}));
  EXPECT_EQ(Cells(), (std::vector<double>{3, 3, 3, 3, 2, 2, 2, 2, 1, 1, 1, 1}));
  ASSERT_EQ(network.NodeAt(1)->definition->SetNumberOfOutcomes(5), QVR_OKAY);
  EXPECT_EQ(Cells(), std::vector<double>(20, 0));
}

TEST_F(CostTest, AParentMayStandTwice) {
  for (int i = 0; i < 2; ++i) {
    ASSERT_EQ(network.AddArc(0, 4, kCostLayer), QVR_OKAY);
  }
  Number();
  ASSERT_EQ(network.NodeAt(0)->definition->AddOutcome("late"), QVR_OKAY);
  EXPECT_EQ(Cells(), (std::vector<double>{1, 2, 0, 3, 4, 0, 0, 0, 0}));
  ASSERT_EQ(network.NodeAt(0)->definition->RemoveOutcome(0), QVR_OKAY);
  EXPECT_EQ(Cells(), (std::vector<double>{4, 0, 0, 0}));
  EXPECT_EQ(Cost().ParentOutcomeRemoved(0, 2), -2);
  EXPECT_EQ(Cost().ParentOutcomeAdded(0, -1), -2);
  EXPECT_EQ(network.CheckInvariants(), "");
  ASSERT_EQ(network.RemoveArc(0, 4, kCostLayer), QVR_OKAY);
  EXPECT_EQ(Sizes(), (std::vector<int>{2, 1}));
  EXPECT_EQ(network.GetNumberOfChildren(0, kCostLayer), 1);
}

TEST_F(CostTest, ATypeWithoutOutcomesLosesItsDimension) {
  ASSERT_EQ(network.AddArc(0, 4, kCostLayer), QVR_OKAY);
  ASSERT_EQ(network.AddArc(1, 4, kCostLayer), QVR_OKAY);
  ASSERT_EQ(network.NodeAt(0)->ChangeType(kTypeNone), QVR_OKAY);
  EXPECT_EQ(Sizes(), (std::vector<int>{3, 1}));
  EXPECT_EQ(LogGuard::Messages(-2), std::vector<std::string>{"Parent could not be added"});
  ASSERT_EQ(network.NodeAt(0)->ChangeType(kTypeCpt), QVR_OKAY);
  EXPECT_EQ(Sizes(), (std::vector<int>{2, 3, 1}));
  ASSERT_EQ(Cost().RemoveCostParent(0), QVR_OKAY);
  EXPECT_EQ(Cost().AddCostParent(0), QVR_OKAY);
  EXPECT_EQ(Sizes(), (std::vector<int>{2, 3, 1}));  // at its old place
}

TEST_F(CostTest, GrowthIsTestedBeforehand) {
  ASSERT_EQ(network.AddArc(0, 4, kCostLayer), QVR_OKAY);
  EXPECT_EQ(Cost().TestParentGrowth(0), QVR_OKAY);
  ASSERT_EQ(network.NodeAt(1)->definition->SetNumberOfOutcomes(3000), QVR_OKAY);
  ASSERT_EQ(network.NodeAt(2)->definition->SetNumberOfOutcomes(60000), QVR_OKAY);
  ASSERT_EQ(network.AddArc(1, 4, kCostLayer), QVR_OKAY);
  EXPECT_EQ(network.AddArc(2, 4, kCostLayer), -2);  // 2 * 3000 * 60000 is too much for a table in total
  EXPECT_EQ(Sizes(), (std::vector<int>{2, 3000, 1}));
}

TEST_F(CostTest, TestGroupsEndWithTheirLastMember) {
  struct Case {
    const char* value;
    bool isGroup;
  };
  for (const Case& c : {Case{"True", true}, {"tRUE", true}, {"False", false}, {"Tru", false}, {"", false}}) {
    QVR_userProperties& properties = network.NodeAt(0)->info->userProperties;
    properties.Add("DIAG_TESTGROUPCOST", c.value);
    EXPECT_EQ(network.IsTestGroupCost(0), c.isGroup) << c.value;
    for (int child : {1, 4}) {
      ASSERT_EQ(network.AddArc(0, child, kCostLayer), QVR_OKAY);
    }
    network.RemoveArc(0, 1, kCostLayer);
    EXPECT_EQ(properties.GetCount(), 1);
    network.RemoveArc(0, 4, kCostLayer);
    EXPECT_EQ(properties.GetCount(), c.isGroup ? 0 : 1) << c.value;
    properties.Delete(0);
  }
  EXPECT_FALSE(network.IsTestGroupCost(77));
}

}  // namespace
}  // namespace qvr
