// Hybrid definitions: elements, and how their table follows parents and outcomes.
#include <gtest/gtest.h>

#include <array>
#include <functional>

#include "definitions/def_continuous.h"
#include "definitions/def_dchild_hparent.h"
#include "support/log_guard.h"
#include "support/network_builder.h"

namespace qvr {
namespace {

using Doubles = std::vector<double>;

template <typename Class>
Class& DefinitionOf(QVR_network& network, int handle) {
  return dynamic_cast<Class&>(*network.NodeAt(handle)->definition);
}

// The elements' formulas, in the order of the table.
std::string TextsOf(const QVR_defHEquation& definition) {
  std::string texts;
  for (int i = 0; i < definition.GetSize(); ++i) {
    texts +=
        (i > 0 ? " " : "") + dynamic_cast<const QVR_equationElement&>(definition.GetElements()[i]).GetText();
  }
  return texts;
}

int SetFormula(QVR_defHEquation& definition, const QVR_intArray& coordinates, const std::string& text) {
  std::unique_ptr<QVR_Helement> element = std::make_unique<QVR_equationElement>();
  EXPECT_EQ(dynamic_cast<QVR_equationElement&>(*element).SetFormula(text.c_str()), 0);
  const int status = definition.SetElement(coordinates, element);
  EXPECT_EQ(element == nullptr, status == 0);  // taken over, or left to the caller
  return status;
}

TEST(Hybrid, CopyFromANodeWithOtherParentsIsRebuilt) {
  QVR_network network;  // a discrete and a continuous parent, and a child of each
  for (const int type : {kTypeDChildHParent, kTypeHEquation, kTypeHEquation, kTypeHEquation}) {
    network.AddNode(type, nullptr);
  }
  EXPECT_EQ(network.AddArc(0, 2, kOrdinaryLayer), QVR_OKAY);
  EXPECT_EQ(network.AddArc(1, 3, kOrdinaryLayer), QVR_OKAY);
  EXPECT_EQ(network.NodeAt(2)->CopyDefinition(*network.NodeAt(3)->definition), QVR_OKAY);
  EXPECT_EQ(network.CheckInvariants(), "");
}

TEST(Hybrid, TableFollowsParentsAndTheirOutcomes) {
  using Change = std::function<int(QVR_network&)>;  // nodes: c, d, e with 2, 3, 2 outcomes, z continuous, h
  const std::pair<Change, const char*> cases[] = {
      {[](QVR_network& n) { return n.AddArc(2, 4, 0); },
       "0 0 1 1 2 2 3 3 4 4 zz+5.0000000001 zz+5.0000000001"},
      {[](QVR_network& n) { return n.RemoveArc(0, 4, 0); }, "0 1 2"},
      {[](QVR_network& n) { return n.RemoveArc(1, 4, 0); }, "0 3"},
      {[](QVR_network& n) { return n.RemoveArc(3, 4, 0); }, "0 1 2 3 4 0"},
      {[](QVR_network& n) { return n.DeleteNode(3); }, "0 1 2 3 4 0"},
      {[](QVR_network& n) { return n.NodeAt(0)->definition->InsertOutcome(0, "a"); },
       "0 0 0 0 1 2 3 4 zz+5.0000000001"},
      {[](QVR_network& n) { return n.NodeAt(1)->definition->InsertOutcome(1, "a"); },
       "0 0 1 2 3 0 4 zz+5.0000000001"},
      {[](QVR_network& n) { return n.NodeAt(1)->definition->AddOutcome("a"); },
       "0 1 2 0 3 4 zz+5.0000000001 0"},
      {[](QVR_network& n) { return n.NodeAt(1)->definition->RemoveOutcome(0); }, "1 2 4 zz+5.0000000001"},
      {[](QVR_network& n) {
         return n.NodeAt(1)->definition->ReorderOutcomes({2, 0, 1});
       },
       "2 0 1 zz+5.0000000001 3 4"},
      {[](QVR_network& n) {
         return ReorderParents(n, 4, {2, 1, 0});
       },
       "0 3 1 4 2 zz+5.0000000001"},
      {[](QVR_network& n) { return n.NodeAt(0)->ChangeType(kTypeDChildHParent); },
       "0 1 2 3 4 zz+5.0000000001"},
      {[](QVR_network& n) { return n.NodeAt(1)->ChangeType(kTypeDistribution); }, "0 0"},
      {[](QVR_network& n) { return n.NodeAt(1)->ChangeType(kTypeEquation); }, "0 3"},
  };
  for (const auto& [change, expected] : cases) {
    SCOPED_TRACE(expected);
    const LogGuard log;
    QVR_network network;
    AddChance(network, "c", 2, {}, {0.5, 0.5});
    AddChance(network, "d", 3, {}, {0.5, 0.5, 0});
    AddChance(network, "e", 2, {}, {0.5, 0.5});
    network.AddNode(kTypeDistribution, "z");
    auto& equation = DefinitionOf<QVR_defHEquation>(network, network.AddNode(kTypeHEquation, "h"));
    ASSERT_EQ(equation.GetSize(), 1);
    for (int parent : {0, 3, 1}) {
      ASSERT_EQ(network.AddArc(parent, 4, kOrdinaryLayer), 0);
    }
    for (int i = 0; i < 5; ++i) {
      ASSERT_EQ(SetFormula(equation, {i / 3, i % 3}, std::to_string(i)), 0);
    }
    ASSERT_EQ(SetFormula(equation, {1, 2}, "z+5.0000000001"), 0);
    EXPECT_EQ(SetFormula(equation, {1, 3}, "7"), -2);
    EXPECT_EQ(SetFormula(equation, {1}, "7"), -2);
    EXPECT_EQ(network.NodeAt(3)->SetId("zz"), 0);
    EXPECT_EQ(change(network), 0);
    EXPECT_EQ(TextsOf(equation), expected);
    EXPECT_EQ(network.CheckInvariants(), "");
    QVR_network copy(network);
    EXPECT_EQ(TextsOf(DefinitionOf<QVR_defHEquation>(copy, 4)), expected);
  }
}

TEST(Hybrid, ElementsAnswerWhatTheirKindKnows) {
  double value = 0;
  double variance = 0;
  QVR_equationElement equation;
  EXPECT_EQ(equation.SetFormula("-(a*2-b)"), 0);
  EXPECT_EQ(equation.SetInverse("a", QVR_expression::Parse("(b-x)/2", nullptr, nullptr)), 0);
  EXPECT_EQ(equation.SetFormula("a*"), -2);
  equation.AssignVariable("a", 3);
  equation.AssignVariable("b", 1);
  equation.AssignVariable("x", -5);
  EXPECT_EQ(equation.GetValue(value), 0);
  EXPECT_EQ(value, -5);
  EXPECT_EQ(equation.GetInverseValue("a", value), 0);
  EXPECT_EQ(value, 3);
  EXPECT_EQ(equation.GetInverseValue("b", value), -2);
  equation.RenameVariable("a", "longer");
  EXPECT_EQ(equation.Clone()->GetInverseValue("longer", value), 0);
  EXPECT_EQ(equation.GetText(), "-(longer*2-b)");
  EXPECT_EQ(equation.GetSample(value), -52);

  QVR_distributionElement distribution;
  for (const char* refused : {"3", "-Normal(0,1)", "Normal(0,1)+1", "Normal(0"}) {
    EXPECT_EQ(distribution.SetDistribution(refused), -2) << refused;
  }
  EXPECT_EQ(distribution.SetDistribution("Uniform(a,a+6)"), 0);
  distribution.AssignVariable("a", 2);
  EXPECT_EQ(distribution.GetMoments(value, variance), 0);
  EXPECT_EQ(value, 5);
  EXPECT_EQ(distribution.GetValue(value), -52);
  EXPECT_EQ(equation.GetDensity(0), -52.0);
}

TEST(Hybrid, DiscreteElementWeighsItsOutcomes) {
  const struct {
    std::array<const char*, 3> formulas;
    Doubles weights;  // with a = 2
  } cases[] = {
      {{"1", "1", "2"}, {0.25, 0.25, 0.5}},    {{"a", "a*3", "0"}, {0.25, 0.75, 0}},
      {{"-1", "4", "Ln(-1)"}, {0, 1, 0}},      {{"0", "-a", "0"}, {1.0 / 3, 1.0 / 3, 1.0 / 3}},
      {{"-(1-a)", "a-1", "0"}, {0.5, 0.5, 0}},
  };
  QVR_discreteElement element(3);
  Doubles weights(3);
  for (const auto& row : cases) {
    for (int i = 0; i < 3; ++i) {
      EXPECT_EQ(element.SetFormula(i, row.formulas[static_cast<std::size_t>(i)]), 0);
    }
    element.AssignVariable("a", 2);
    EXPECT_EQ(element.Clone()->GetOutcomeWeight(weights), 0);
    EXPECT_EQ(weights, row.weights) << row.formulas[0];
  }
  EXPECT_EQ(element.GetOutcomeWeight(std::span<double>(weights).first(2)), -2);
  EXPECT_EQ(element.SetFormula(3, "1"), -2);
}

TEST(Hybrid, DiscreteChildrenKeepTheirElementsInStepWithTheirOutcomes) {
  const LogGuard log;
  QVR_network network;
  const int d = network.AddNode(kTypeDChildHParent, "d");
  const int h = network.AddNode(kTypeHEquation, "h");
  ASSERT_EQ(network.AddArc(d, h, kOrdinaryLayer), 0);
  EXPECT_EQ(network.AddArc(AddEquation(network, "e", "e=1"), h, kOrdinaryLayer), -51);
  auto& discrete = DefinitionOf<QVR_defDchildHparent>(network, d);
  Doubles weights(3);
  EXPECT_EQ(discrete.InsertOutcome(0, "State0"), 0);  // taken already
  EXPECT_STREQ(discrete.GetOutcomeNames()->Get(0), "State2");
  EXPECT_EQ(discrete.ReorderOutcomes({1, 0, 2}), 0);
  EXPECT_EQ(discrete.GetElements()[0].GetOutcomeWeight(weights), 0);
  EXPECT_EQ(weights, (Doubles{0.5, 0, 0.5}));
  EXPECT_EQ(network.NodeAt(h)->definition->GetSize(), 3);
  EXPECT_EQ(network.CheckInvariants(), "");
  EXPECT_EQ(discrete.RemoveOutcome(1), 0);
  EXPECT_EQ(discrete.RemoveOutcome(1), -2);
  std::unique_ptr<QVR_Helement> threeOutcomes = std::make_unique<QVR_discreteElement>(3);
  EXPECT_EQ(discrete.SetElement({}, threeOutcomes), -2);
  QVR_stringArray names;
  names.Add("low");
  names.Add("low");
  EXPECT_EQ(discrete.RenameOutcomes(names), 0);
  EXPECT_STREQ(discrete.GetOutcomeNames()->Get(1), "State1");
  EXPECT_EQ(discrete.SetNumberOfOutcomes(3), -19);
  EXPECT_EQ(network.NodeAt(h)->ChangeType(kTypeDistribution), 0);
  auto& distribution = DefinitionOf<QVR_defDistribution>(network, h);
  EXPECT_EQ(distribution.SetUpperBound(3), 0);
  EXPECT_EQ(distribution.AdoptFrom(discrete), -2);
  EXPECT_TRUE(distribution.GetLowerBound() == -10 && distribution.GetUpperBound() == 10);
  EXPECT_EQ(distribution.GetSize(), 2);
  EXPECT_EQ(network.NodeAt(h)->ChangeType(kTypeCpt), 0);
  EXPECT_EQ(network.CheckInvariants(), "");
}

}  // namespace
}  // namespace qvr
