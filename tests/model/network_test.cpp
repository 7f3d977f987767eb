// The node table, identifiers, arcs and their refusals, settings.
#include "model/network.h"

#include <gtest/gtest.h>

#include <ctime>
#include <limits>

#include "support/log_guard.h"
#include "support/network_builder.h"

namespace qvr {
namespace {

void AddNodes(QVR_network& network, int count) {
  for (int i = 0; i < count; ++i) {
    ASSERT_EQ(network.AddNode(kTypeCpt, nullptr), i);
  }
}

TEST(NetworkTable, HandlesStayAndGapsAreReused) {
  QVR_network network;
  EXPECT_EQ(network.FirstNode(), -2);
  EXPECT_EQ(network.FindNode("Node0"), -2);
  AddNodes(network, 51);
  EXPECT_EQ(network.GetTableSize(), 100);
  for (int handle : {3, 10, 50}) {
    ASSERT_EQ(network.DeleteNode(handle), QVR_OKAY);
    EXPECT_EQ(network.DeleteNode(handle), -2);
  }
  EXPECT_EQ(network.LastNode(), 49);
  EXPECT_EQ(network.NextNode(49), -2);
  EXPECT_EQ(network.NextNode(-1), -2);
  EXPECT_EQ(network.NextNode(2), 4);
  EXPECT_EQ(network.CheckInvariants(), "");
  // The slot at the number of nodes comes first, if it's free; then the lowest free one.
  for (int handle : {3, 10, 50, 51}) {
    EXPECT_EQ(network.AddNode(kTypeCpt, nullptr), handle);
  }
  EXPECT_EQ(network.GetNumberOfNodes(), 52);
  EXPECT_EQ(network.CheckInvariants(), "");
  network.CleanUp(1);
  EXPECT_EQ(network.GetTableSize(), 0);
  EXPECT_EQ(network.AddNode(kTypeCpt, nullptr), 0);  // usable again, from nothing
}

TEST(NetworkTable, IdentifiersOfNewNodes) {
  struct Case {
    const char* identifier;
    int expected;
    const char* stored;
  };
  constexpr Case kCases[] = {{"Node3", 1, "Node3"},  {"A", -2, nullptr},    {"Sub0", -2, nullptr},
                             {"Group", -2, nullptr}, {"@", 2, "@"},         {"@", 3, "@"},
                             {nullptr, 4, "Node4"},  {"Node6", 5, "Node6"}, {"1 bad", 6, "Node7"},
                             {"", 7, "Node8"},       {"a", 8, "a"}};
  const LogGuard log;
  QVR_network network;
  ASSERT_EQ(network.AddNode(kTypeCpt, "A"), 0);
  ASSERT_GT(network.GetSubmodels().CreateSubmodel(QVR_submodelHandler::kMainSubmodel, "Group"), 0);
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.identifier != nullptr ? c.identifier : "null");
    ASSERT_EQ(network.AddNode(kTypeCpt, c.identifier), c.expected);
    if (c.stored != nullptr) {
      EXPECT_EQ(network.NodeAt(c.expected)->GetId(), c.stored);
      EXPECT_EQ(network.NodeAt(c.expected)->info->header.GetName(), c.stored);
    }
  }
  EXPECT_EQ(LogGuard::Messages(-30), std::vector<std::string>(2, "Illegal identifier"));
  EXPECT_EQ(network.CheckInvariants(), "");
  EXPECT_EQ(network.FindNode("@"), 2);
  ASSERT_EQ(network.DeleteNode(2), QVR_OKAY);
  EXPECT_EQ(network.FindNode("@"), 3);
  EXPECT_EQ(network.FindNode(nullptr), -2);
}

TEST(NetworkTable, RenamingKeepsTheIndex) {
  const LogGuard log;
  QVR_network network;
  AddNodes(network, 2);
  QVR_node& node = *network.NodeAt(1);
  EXPECT_EQ(node.SetId("Node0"), -30);
  EXPECT_EQ(node.SetId("Sub0"), -30);
  EXPECT_EQ(GetErrorLog().GetCount(), 0);
  EXPECT_EQ(node.SetId("no good"), -30);
  EXPECT_EQ(node.SetId(nullptr), -30);
  EXPECT_EQ(LogGuard::Messages(-30), std::vector<std::string>(2, "Illegal identifier"));
  EXPECT_EQ(node.GetId(), "Node1");
  EXPECT_EQ(node.SetId(node.GetId().c_str()), QVR_OKAY);
  EXPECT_EQ(node.SetId("longer_name"), QVR_OKAY);
  EXPECT_EQ(node.SetId("@"), QVR_OKAY);
  EXPECT_EQ(network.FindNode("Node1"), -2);
  EXPECT_EQ(network.FindNode("longer_name"), -2);
  EXPECT_EQ(network.NodeAt(0)->SetId("Node1"), QVR_OKAY);
  EXPECT_FALSE(network.ChangeNodeId(7, "Node1", "x"));
  EXPECT_EQ(network.CheckInvariants(), "");
}

TEST(NetworkTable, UnreadyNodesGo) {
  const LogGuard log;
  QVR_network network;
  AddNodes(network, 1);
  EXPECT_EQ(network.AddNode(kTypeNone, "none"), 1);
  EXPECT_EQ(network.AddNode(3, "unknown"), 2);
  EXPECT_EQ(LogGuard::Messages(-2), std::vector<std::string>{"OUT OF RANGE"});
  EXPECT_EQ(network.NodeAt(2)->GetType(), 0);
  EXPECT_EQ(network.NodeAt(2)->GetNumberOfOutcomes(), -51);
  EXPECT_EQ(network.CheckInvariants(), "");
  network.CheckReady(1);
  EXPECT_TRUE(network.IsReady());
  EXPECT_EQ(AllNodes(network), std::vector<int>{0});
  EXPECT_EQ(network.CheckInvariants(), "");
}

TEST(NetworkTable, OneInconsistentNodeIsReported) {
  const LogGuard log;
  QVR_network network;
  AddNodes(network, 3);
  network.CheckConsistency(1);
  EXPECT_TRUE(network.IsConsistent());
  for (int handle : {1, 2}) {
    ASSERT_EQ(SetTable(network, handle, {0.5, 0.6}), QVR_OKAY);
  }
  network.CheckConsistency(1);
  EXPECT_FALSE(network.IsConsistent());
  EXPECT_EQ(LogGuard::Messages(-568),
            std::vector<std::string>{"ERROR: Node [Node1] is not consistent. Inference may not be correct"});
}

TEST(NetworkArcs, RefusedArcsChangeNothing) {
  struct Case {
    int parent;
    int child;
    int expected;
    int logged;
  };
  constexpr Case kCases[] = {{0, 1, -2, 0},  {1, 0, -2, 0},  {0, 0, -2, 0},  {0, 99, -2, 0}, {-1, 0, -2, 0},
                             {2, 0, -11, 0}, {0, 3, -51, 1}, {3, 0, -51, 1}, {4, 5, -51, 1}, {9, 0, -2, 0}};
  QVR_network network;
  AddNodes(network, 3);
  ASSERT_EQ(network.AddNode(kTypeNone, nullptr), 3);
  for (const char* id : {"wide", "wider"}) {  // together they exceed what a table may hold
    ASSERT_GE(AddChance(network, id, 20000, {}, std::vector<double>(20000, 1.0 / 20000)), 4);
  }
  ASSERT_EQ(network.AddArc(0, 1, kOrdinaryLayer), QVR_OKAY);
  ASSERT_EQ(network.AddArc(1, 2, kOrdinaryLayer), QVR_OKAY);
  for (const Case& c : kCases) {
    SCOPED_TRACE(testing::Message() << c.parent << " -> " << c.child);
    const LogGuard log;
    EXPECT_EQ(network.AddArc(c.parent, c.child, kOrdinaryLayer), c.expected);
    EXPECT_EQ(LogGuard::Messages(-51),
              std::vector<std::string>(static_cast<std::size_t>(c.logged), "Arc rejected by child node"));
    EXPECT_EQ(network.CheckInvariants(), "");
    int arcs = 0;
    for (int handle : AllNodes(network)) {
      arcs += network.GetNumberOfParents(handle) + network.GetNumberOfChildren(handle);
    }
    EXPECT_EQ(arcs, 4);
  }
  EXPECT_EQ(network.RemoveArc(0, 2, kOrdinaryLayer), -2);
  EXPECT_EQ(network.RemoveArc(1, 0, kOrdinaryLayer), -2);
  EXPECT_EQ(network.GetNumberOfParents(99), -2);
  EXPECT_EQ(network.GetParents(99).GetNumItems() + network.GetChildren(-5, kCostLayer).GetNumItems(), 0);
}

TEST(NetworkTime, ArcsAndTypesAgreeWhicheverComesFirst) {
  // By parent and child: normal, anchor, terminal, plate.
  constexpr bool kAllowed[4][4] = {{true, true, true, true},
                                   {true, true, true, true},
                                   {false, false, true, false},
                                   {false, false, true, true}};
  for (int parentType = 0; parentType < 4; ++parentType) {
    for (int childType = 0; childType < 4; ++childType) {
      SCOPED_TRACE(testing::Message() << parentType << " -> " << childType);
      const bool allowed = kAllowed[parentType][childType];
      QVR_network network;
      AddNodes(network, 2);
      network.SetDynamicType(0, parentType);
      network.SetDynamicType(1, childType);
      EXPECT_EQ(network.AddArc(0, 1, kOrdinaryLayer), allowed ? QVR_OKAY : -51);
      // The child's type first, or the parent's, to which a terminal child is never in the way.
      for (const bool childFirst : {true, false}) {
        QVR_network linked;
        AddNodes(linked, 2);
        ASSERT_EQ(linked.AddArc(0, 1, kOrdinaryLayer), QVR_OKAY);
        ASSERT_EQ(linked.SetDynamicType(1, childFirst ? childType : kDynamicTerminal), QVR_OKAY);
        EXPECT_EQ(linked.SetDynamicType(0, parentType), allowed || !childFirst ? QVR_OKAY : -2);
        EXPECT_TRUE(childFirst || linked.SetDynamicType(1, childType) == (allowed ? QVR_OKAY : -2));
      }
    }
  }
  QVR_network network;
  AddNodes(network, 1);
  EXPECT_EQ(network.SetDynamicType(0, 4), -4);
  EXPECT_EQ(network.SetDynamicType(0, -1), -4);
  EXPECT_EQ(network.SetDynamicType(1, 4), -2);
  EXPECT_EQ(network.GetDynamicType(0), 0);
  EXPECT_EQ(network.GetDynamicType(1), -2);
}

TEST(NetworkSettings, OutOfRangeIsRefused) {
  QVR_network network;
  for (int id : {13, -1}) {
    network.SetBeliefAlgorithm(12);
    network.SetBeliefAlgorithm(id);
    EXPECT_EQ(network.GetBeliefAlgorithm(), 12);
  }
  for (int id : {12, 17}) {
    network.SetHybridAlgorithm(16);
    network.SetHybridAlgorithm(id);
    EXPECT_EQ(network.GetHybridAlgorithm(), 16);
  }
  EXPECT_EQ(network.SetSamplingPasses(0), -2);
  EXPECT_EQ(network.GetSamplingPasses(), 5);
  const double nan = std::numeric_limits<double>::quiet_NaN();
  const EpisParameters badEpis[] = {{.propLength = 0}, {.numStates1 = 8}, {.numStates2 = 20},
                                    {.eps1 = 0.00001}, {.eps2 = 0.00001}, {.eps1 = nan}};
  for (const EpisParameters& record : badEpis) {
    EXPECT_EQ(network.SetEpisParameters(record), -2);
  }
  EXPECT_EQ(network.SetEpisParameters({.eps4 = -1}), QVR_OKAY);
  EXPECT_EQ(network.GetEpisParameters().eps4, -1);
  const AdaptationParameters badAdaptation[] = {{.rate = 0.49}, {.rate = 1},    {.rate = nan}, {.step = 0},
                                                {.step = 0.99}, {.maximum = 0}, {.floor = 0},  {.first = 0},
                                                {.second = 0},  {.second = 21}};
  for (const AdaptationParameters& record : badAdaptation) {
    EXPECT_EQ(network.SetAdaptationParameters(record), -2);
  }
  EXPECT_EQ(network.GetAdaptationParameters().second, 10);
}

// Each of these takes minutes if any step looks at the whole graph or a whole list.
TEST(NetworkSize, ChainAndHubOfAHundredThousand) {
  constexpr int kCount = 100000;
  const std::clock_t start = std::clock();
  for (bool chain : {true, false}) {
    QVR_network network;
    AddNodes(network, kCount);
    for (int i = 1; i < kCount; ++i) {
      ASSERT_EQ(network.AddArc(chain ? kCount - i : 0, chain ? kCount - i - 1 : i, kOrdinaryLayer), QVR_OKAY);
    }
    EXPECT_EQ(network.AddArc(chain ? 0 : kCount / 2, chain ? kCount - 1 : 0, kOrdinaryLayer),
              chain ? -11 : -2);
    EXPECT_EQ(network.GetTopologicalOrder()[0], chain ? kCount - 1 : 0);
    EXPECT_EQ(network.ComputeLevels(), chain ? kCount - 1 : 1);
    EXPECT_EQ(network.IsAcyclic(), 1);
    EXPECT_EQ(network.IsPolytree(), 1);
    EXPECT_EQ(network.CheckInvariants(), "");
    QVR_intArray descendants;
    network.GetDescendants(chain ? kCount - 1 : 0, descendants);
    EXPECT_EQ(descendants.GetNumItems(), kCount - 1);
    const QVR_network copy(network);
    EXPECT_EQ(copy.FindNode("Node99999"), kCount - 1);
    const int deleted = chain ? kCount / 2 : kCount / 100;
    for (int handle = 1; handle <= deleted; ++handle) {
      ASSERT_EQ(network.DeleteNode(handle), QVR_OKAY);
    }
    for (int handle = 1; handle <= deleted; ++handle) {
      ASSERT_GE(network.AddNode(kTypeCpt, ("again" + std::to_string(handle)).c_str()), 0);
    }
    EXPECT_EQ(network.GetTableSize(), kCount);
  }
  EXPECT_LT((std::clock() - start) / CLOCKS_PER_SEC, 60);
}

}  // namespace
}  // namespace qvr
