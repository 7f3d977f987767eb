// Multi-attribute utilities: weights and formulas that follow the parents.
#include "definitions/mau.h"

#include <gtest/gtest.h>

#include <functional>

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

using Edit = std::function<int(QVR_network&)>;

QVR_nodeDefinition& At(QVR_network& n, int node) { return *n.NodeAt(node)->definition; }

TEST(Mau, WeightsAndFormulasFollowTheParents) {
  const struct {
    Edit edit;
    Cells weights;
    Names formulas;
  } cases[] = {
      {[](QVR_network&) { return 0; }, {1, 2, 3, 4}, {"u+v", "u-v"}},
      {[](QVR_network& n) { return At(n, kDecision).InsertOutcome(0, "x"); },
       {1, 1, 1, 2, 3, 4},
       {"u+v", "u+v", "u-v"}},
      {[](QVR_network& n) {
         return At(n, kDecision).ReorderOutcomes({1, 0});
       },
       {3, 4, 1, 2},
       {"u-v", "u+v"}},
      {[](QVR_network& n) { return At(n, kDecision).AddOutcome("x") + At(n, kDecision).RemoveOutcome(0); },
       {3, 4, 1, 1},
       {"u-v", "u+v"}},
      {[](QVR_network& n) { return n.RemoveArc(kDecision, kMau, kOrdinaryLayer); }, {1, 2}, {"u+v"}},
      {[](QVR_network& n) { return n.RemoveArc(kFirst, kMau, kOrdinaryLayer); }, {2, 4}, {"v", "v"}},
      {[](QVR_network& n) { return n.RemoveArc(kFirst, kMau, kOrdinaryLayer) + n.DeleteNode(kSecond); },
       {1, 1},
       {"0", "0"}},
      {[](QVR_network& n) { return n.AddArc(kSpare, kMau, kOrdinaryLayer); },
       {1, 2, 1, 3, 4, 1},
       {"u+v", "u-v"}},
      {[](QVR_network& n) { return n.AddArc(n.AddNode(kTypeList, "e"), kMau, kOrdinaryLayer); },
       {1, 2, 1, 2, 3, 4, 3, 4},
       {"u+v", "u+v", "u-v", "u-v"}},
      {[](QVR_network& n) {
         return At(n, kMau).ReorderParents({2, 1, 0});
       },
       {2, 1, 4, 3},
       {"u+v", "u-v"}},
      {[](QVR_network& n) { return n.NodeAt(kFirst)->SetId("z"); }, {1, 2, 3, 4}, {"z+v", "z-v"}},
      {[](QVR_network& n) { return n.NodeAt(kFirst)->ChangeType(kTypeMau); }, {1, 2, 3, 4}, {"u+v", "u-v"}},
      {[](QVR_network& n) { return n.NodeAt(kDecision)->ChangeType(kTypeCpt); }, {1, 2}, {"u+v"}},
      {[](QVR_network& n) { return n.NodeAt(kDecision)->ChangeType(kTypeTable); }, {1, 1, 1}, {}},
      {[](QVR_network& n) {
         return At(n, kMau).ReorderParents({0, 1, 1}) + 2;
       },
       {1, 2, 3, 4},
       {"u+v", "u-v"}},
      {[](QVR_network& n) { return n.AddArc(kChance, kMau, kOrdinaryLayer) + 51; },
       {1, 2, 3, 4},
       {"u+v", "u-v"}},
  };
  for (const auto& row : cases) {
    for (bool hasFormulas : {false, true}) {
      SCOPED_TRACE(std::to_string(&row - cases) + (hasFormulas ? " formulas" : " weights"));
      const LogGuard log;
      QVR_network network;
      BuildDiagram(network);
      auto& mau = DefinitionOf<QVR_mau>(network, kMau);
      ASSERT_EQ(mau.SetWeights({1, 2, 3, 4}), 0);
      std::string error;
      if (hasFormulas) {
        ASSERT_EQ(mau.SetExpressions(Names{"u+v", "u-v"}, error), 0) << error;
      }
      EXPECT_EQ(row.edit(network), 0);
      EXPECT_EQ(CellsOf(mau.GetWeights()), row.weights);
      EXPECT_EQ(FormulasOf(network, kMau), hasFormulas ? row.formulas : Names{});
      EXPECT_EQ(network.CheckInvariants(), "");
      QVR_network copy(network);
      EXPECT_EQ(CellsOf(DefinitionOf<QVR_mau>(copy, kMau).GetWeights()), row.weights);
      EXPECT_EQ(FormulasOf(copy, kMau), FormulasOf(network, kMau));
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
