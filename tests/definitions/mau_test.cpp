// Multi-attribute utilities: weights and formulas that follow the parents.
#include "definitions/mau.h"

#include <gtest/gtest.h>

#include "definitions/decision_support.h"
#include "support/log_guard.h"

namespace qvr {
namespace {

enum Handle { kDecision, kFirst, kSecond, kMau, kSpare, kChild, kChance };

// A decision of two outcomes and the utilities u and v above the node; the utility w beside it, the node's
// own child m2, and a chance node c.
void BuildDiagram(QVR_network& network) {
  network.AddNode(kTypeList, "d");
  network.AddNode(kTypeTable, "u");
  network.AddNode(kTypeTable, "v");
  ASSERT_EQ(AddNode(network, kTypeMau, "m", {kFirst, kDecision, kSecond}), kMau);
  network.AddNode(kTypeTable, "w");
  AddNode(network, kTypeMau, "m2", {kMau});
  AddChance(network, "c", 2, {}, {0.5, 0.5});
}

std::vector<int> ParentsOf(const QVR_network& network) {
  return {network.GetParents(kMau).begin(), network.GetParents(kMau).end()};
}

TEST(Mau, WeightsAndFormulasFollowTheParents) {
  const struct {
    const char* edit;  // 0 d, 1 u, 2 v, 3 m, 4 w, 6 c
    int status;
    Cells weights;
    const char* formulas;
  } cases[] = {
      {"0 insert 0 x", 0, {1, 1, 1, 2, 3, 4}, "u+v u+v u-v"},
      {"0 reorder 1 0", 0, {3, 4, 1, 2}, "u-v u+v"},
      {"0 add x; 0 remove 0", 0, {3, 4, 1, 1}, "u-v u+v"},
      {"0 unlink 3", 0, {1, 2}, "u+v"},
      {"1 unlink 3", 0, {2, 4}, "v v"},
      {"1 unlink 3; 2 delete", 0, {1, 1}, "0 0"},
      {"4 link 3", 0, {1, 2, 1, 3, 4, 1}, "u+v u-v"},
      {"6 type 17; 6 link 3", 0, {1, 2, 1, 2, 3, 4, 3, 4}, "u+v u+v u-v u-v"},
      {"3 parents 2 1 0", 0, {2, 1, 4, 3}, "u+v u-v"},
      {"3 parents 0 1 1", -2, {1, 2, 3, 4}, "u+v u-v"},
      {"1 name z", 0, {1, 2, 3, 4}, "z+v z-v"},
      {"1 type 520", 0, {1, 2, 3, 4}, "u+v u-v"},
      {"0 type 18", 0, {1, 2}, "u+v"},
      {"0 type 8", 0, {1, 1, 1}, ""},
      {"6 link 3", -51, {1, 2, 3, 4}, "u+v u-v"},
  };
  for (const auto& row : cases) {
    for (bool hasFormulas : {false, true}) {
      SCOPED_TRACE(std::string(row.edit) + (hasFormulas ? ", formulas" : ", weights"));
      const LogGuard log;
      QVR_network network;
      BuildDiagram(network);
      auto& mau = DefinitionOf<QVR_mau>(network, kMau);
      ASSERT_EQ(mau.SetWeights({1, 2, 3, 4}), 0);
      std::string error;
      if (hasFormulas) {
        ASSERT_EQ(mau.SetExpressions(Names{"u+v", "u-v"}, error), 0) << error;
      }
      EXPECT_EQ(Edit(network, row.edit), row.status);
      const QVR_network copy(network);
      EXPECT_EQ(network.CheckInvariants() + copy.CheckInvariants(), "");
      for (const QVR_network* one : {static_cast<const QVR_network*>(&network), &copy}) {
        EXPECT_EQ(CellsOf(dynamic_cast<QVR_mau&>(*one->NodeAt(kMau)->definition).GetWeights()), row.weights);
        EXPECT_EQ(FormulasOf(*one, kMau), hasFormulas ? Words(row.formulas) : Names{});
      }
    }
  }
}

TEST(Mau, FormulasDecideOnTheParentsOrChangeNothing) {
  const struct {
    Names texts;
    std::string error;
    std::vector<int> parents;
  } cases[] = {
      {{"v", "2*v"}, "", {kDecision, kSecond}},
      {{"w+u", "w"}, "", {kFirst, kDecision, kSpare}},
      {{"1", "2"}, "", {kDecision}},
      {{"u"}, "Wrong matrix dimensions", {}},
      {{"u", "v", "u"}, "Wrong matrix dimensions", {}},
      {{"u", "u+"}, "Invalid expression at index 1: ", {}},
      {{"u", "Normal(0,1)"}, "Distributions not allowed", {}},
      {{"u", "m"}, "self-references not allowed", {}},
      {{"m2", "u"}, "only non-descendant utility/ALU/MAU nodes are allowed", {}},
      {{"c", "u"}, "only non-descendant utility/ALU/MAU nodes are allowed", {}},
      {{"d", "u"}, "only non-descendant utility/ALU/MAU nodes are allowed", {}},
      {{"w", "x"}, "unknown identifier", {}},
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(row.texts.back());
    QVR_network network;
    BuildDiagram(network);
    auto& mau = DefinitionOf<QVR_mau>(network, kMau);
    std::string error;
    ASSERT_EQ(mau.SetExpressions(Names{"u*v", "u/v"}, error), 0);
    EXPECT_EQ(mau.SetExpressions(row.texts, error), row.error.empty() ? 0 : -2);
    EXPECT_TRUE(error == row.error || (row.error.ends_with(": ") && error.starts_with(row.error))) << error;
    EXPECT_EQ(FormulasOf(network, kMau), row.error.empty() ? row.texts : (Names{"u*v", "u/v"}));
    EXPECT_EQ(ParentsOf(network),
              row.error.empty() ? row.parents : (std::vector<int>{kFirst, kDecision, kSecond}));
    EXPECT_EQ(network.CheckInvariants(), "");
    EXPECT_EQ(mau.SetWeights(Numbers(Cells(static_cast<std::size_t>(mau.GetSize()), 2))), 0);
    EXPECT_EQ(mau.GetExpressionTable(), nullptr);
    EXPECT_EQ(mau.SetWeights({1}), -2);
  }
}

TEST(Mau, TakesFormulasOnlyAboutItsOwnParents) {
  QVR_network network;
  BuildDiagram(network);
  auto& mau = DefinitionOf<QVR_mau>(network, kMau);
  std::string error;
  ASSERT_EQ(mau.SetWeights({1, 2, 3, 4}), 0);
  ASSERT_EQ(mau.SetExpressions(Names{"u*v", "u/v"}, error), 0);
  const int same = AddNode(network, kTypeMau, "m3", {kFirst, kDecision, kSecond});
  const int other = AddNode(network, kTypeMau, "m4", {kFirst, kDecision, kSpare});
  for (int node : {same, other}) {
    EXPECT_EQ(network.NodeAt(node)->definition->AdoptFrom(mau), 0);
    EXPECT_EQ(CellsOf(DefinitionOf<QVR_mau>(network, node).GetWeights()), (Cells{1, 2, 3, 4}));
    EXPECT_EQ(FormulasOf(network, node), node == same ? (Names{"u*v", "u/v"}) : Names{});
    ASSERT_EQ(network.NodeAt(node)->CopyDefinition(mau), 0);
    EXPECT_EQ(FormulasOf(network, node), node == same ? (Names{"u*v", "u/v"}) : Names{});
  }
  QVR_network elsewhere(network);
  ASSERT_EQ(elsewhere.NodeAt(same)->CopyDefinition(mau), 0);  // its identifiers may mean other nodes here
  EXPECT_EQ(FormulasOf(elsewhere, same), Names{});
  EXPECT_EQ(network.CheckInvariants() + elsewhere.CheckInvariants(), "");
}

TEST(Mau, ARefusedArcPutsEverythingBack) {
  const LogGuard log;
  QVR_network network;
  BuildDiagram(network);
  auto& mau = DefinitionOf<QVR_mau>(network, kMau);
  std::string error;
  ASSERT_EQ(mau.SetExpressions(Names{"u*v", "u/v"}, error), 0);
  const int late = network.AddNode(kTypeTable, "t");
  ASSERT_EQ(network.SetDynamicType(late, kDynamicTerminal), 0);  // may not have an ordinary child
  EXPECT_EQ(mau.SetExpressions(Names{"w", "t"}, error), -51);
  EXPECT_EQ(FormulasOf(network, kMau), (Names{"u*v", "u/v"}));
  EXPECT_EQ(ParentsOf(network), (std::vector<int>{kFirst, kDecision, kSecond}));
  EXPECT_EQ(network.GetNumberOfChildren(kSpare), 0);
  EXPECT_EQ(network.CheckInvariants(), "");
}

}  // namespace
}  // namespace qvr
