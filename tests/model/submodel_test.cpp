// The tree of submodels.
#include <gtest/gtest.h>

#include "support/log_guard.h"
#include "support/network_builder.h"
#include "support/random_network.h"

namespace qvr {
namespace {

constexpr int kMain = QVR_submodelHandler::kMainSubmodel;

// main -> a -> b, main -> c
class SubmodelTest : public testing::Test {
 protected:
  LogGuard log;
  QVR_network network;
  QVR_submodelHandler& submodels{network.GetSubmodels()};
  int a = submodels.CreateSubmodel(kMain, "a");
  int b = submodels.CreateSubmodel(a, "b");
  int c = submodels.CreateSubmodel(kMain, nullptr);
};

TEST_F(SubmodelTest, Refusals) {
  EXPECT_EQ(submodels.CreateSubmodel(-1, "x"), -2);
  EXPECT_EQ(submodels.CreateSubmodel(kMain + 5, "x"), -2);
  EXPECT_EQ(submodels.CreateSubmodel(kMain, "a"), -2);
  EXPECT_EQ(submodels.CreateSubmodel(kMain, "no id"), -30);
  EXPECT_EQ(LogGuard::Messages(-30), std::vector<std::string>{"Illegal identifier"});
  EXPECT_EQ(submodels.NextSubmodel(c), -2);
  EXPECT_EQ(submodels.FindSubmodel(nullptr), -2);
  EXPECT_EQ(submodels.FindSubmodel("no id"), -2);
  EXPECT_EQ(submodels.GetSubmodel(kMain + 4), nullptr);
  EXPECT_EQ(submodels.GetParent(-1), -2);
  EXPECT_EQ(submodels.GetParent(kMain), -8888);
  submodels.CleanUp(1);
  EXPECT_EQ(submodels.CreateSubmodel(kMain, "x"), -567);
  EXPECT_EQ(submodels.FindSubmodel("a"), -567);
  EXPECT_EQ(submodels.Reset(), -567);
  EXPECT_EQ(QVR_network().GetSubmodels().Assign(submodels), -567);
}

TEST_F(SubmodelTest, MovesNeverCloseACircle) {
  const int all[] = {kMain, a, b, c};
  for (int inner : all) {
    for (int outer : all) {
      const bool expected = (outer == kMain && inner != kMain) || (inner == b && outer == a);
      EXPECT_EQ(submodels.IsIncluded(inner, outer), expected ? 1 : 0) << inner << " in " << outer;
      if (inner == kMain || inner == outer || submodels.IsIncluded(outer, inner) == 1) {
        EXPECT_EQ(submodels.MoveSubmodel(inner, outer), -2);
      }
    }
  }
  EXPECT_EQ(submodels.IsIncluded(a, 3 * kMain), -2);
  EXPECT_EQ(submodels.MoveSubmodel(a, c), QVR_OKAY);
  EXPECT_EQ(submodels.IsIncluded(b, c), 1);
  EXPECT_EQ(submodels.GetParent(a), c);
}

TEST_F(SubmodelTest, ListsFollowTheTree) {
  TestRandom random(8);
  for (int i = 0; i < 30; ++i) {
    submodels.CreateSubmodel(kMain + random.Below(4 + i), nullptr);
    submodels.MoveSubmodel(kMain + random.Below(4 + i), kMain + random.Below(4 + i));
  }
  QVR_intArray deep;
  EXPECT_EQ(submodels.GetDeepSubmodels(deep), 34);
  std::vector<int> expected = {kMain};
  for (std::size_t next = 0; next < expected.size(); ++next) {
    std::vector<int> children;
    for (int handle = submodels.FirstSubmodel(); handle >= 0; handle = submodels.NextSubmodel(handle)) {
      if (submodels.GetParent(handle) == expected[next]) {
        children.push_back(handle);
      }
    }
    QVR_intArray listed;
    EXPECT_EQ(submodels.GetIncludedSubmodels(expected[next], listed), static_cast<int>(children.size()));
    EXPECT_EQ(ListOf(listed), children);
    expected.insert(expected.end(), children.begin(), children.end());
  }
  EXPECT_EQ(ListOf(deep), expected);
  EXPECT_EQ(submodels.GetIncludedSubmodels(-1, deep), -2);
}

TEST_F(SubmodelTest, IdentifiersAreIndexed) {
  EXPECT_EQ(submodels.GetSubmodel(b)->header.SetId("renamed"), QVR_OKAY);
  EXPECT_EQ(submodels.GetSubmodel(b)->header.SetId("1"), -30);
  EXPECT_EQ(submodels.GetSubmodel(kMain)->header.SetId("net"), QVR_OKAY);
  EXPECT_EQ(submodels.FindSubmodel("renamed"), b);
  EXPECT_EQ(submodels.FindSubmodel("b"), -2);
  EXPECT_EQ(submodels.IdExists("net"), 1);
  EXPECT_EQ(submodels.IdExistsBelowMain("net"), 0);
  EXPECT_EQ(submodels.IdExists("Sub0"), 0);
}

TEST_F(SubmodelTest, ResetBringsTheNodesHome) {
  for (int submodel : {kMain, b, b}) {
    ASSERT_EQ(network.NodeAt(network.AddNode(kTypeCpt, nullptr))->SetSubmodel(submodel), QVR_OKAY);
  }
  QVR_intArray included{7};
  EXPECT_EQ(submodels.GetIncludedNodes(b, included), 2);
  EXPECT_EQ(ListOf(included), (std::vector<int>{7, 1, 2}));
  EXPECT_EQ(submodels.GetIncludedNodes(-1, included), -2);
  submodels.GetSubmodel(kMain)->header.SetId("net");
  EXPECT_EQ(submodels.Reset(), QVR_OKAY);
  EXPECT_EQ(submodels.GetSubmodel(kMain)->header.GetId(), "Sub0");
  EXPECT_EQ(submodels.NextSubmodel(kMain), -2);
  EXPECT_EQ(submodels.FindSubmodel("a"), -2);
  EXPECT_EQ(submodels.GetIncludedNodes(0, included), 3);
  EXPECT_EQ(network.CheckInvariants(), "");
}

TEST_F(SubmodelTest, SlotsEndWhereTheHandleBitBegins) {
  int made = 3;
  while (submodels.CreateSubmodel(kMain, nullptr) >= 0) {
    ++made;
  }
  EXPECT_EQ(made, 16383);
  EXPECT_EQ(submodels.CreateSubmodel(kMain, nullptr), -42);
  EXPECT_EQ(submodels.FindSubmodel("Sub16383"), kMain + 16383);
}

}  // namespace
}  // namespace qvr
