// Hybrid definitions: elements, and how their table follows parents and outcomes.
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <functional>

#include "definitions/def_continuous.h"
#include "definitions/def_dchild_hparent.h"
#include "support/log_guard.h"
#include "support/network_builder.h"
#include "support/random_network.h"

namespace qvr {
namespace {

using Ints = std::vector<int>;
using Doubles = std::vector<double>;
using Strings = std::vector<std::string>;

template <typename Class>
Class& DefinitionOf(QVR_network& network, int handle) {
  return dynamic_cast<Class&>(*network.NodeAt(handle)->definition);
}

QVR_equationElement& ElementOf(QVR_defHEquation& definition, int index) {
  QVR_intArray coordinates;
  for (int i = 0; i < definition.GetElements().GetDimensions().GetNumItems(); ++i) {
    const int stride = definition.GetElements().GetStrides()[i];
    coordinates.Add(index / stride);
    index %= stride;
  }
  QVR_Helement* element = nullptr;
  EXPECT_EQ(definition.GetElement(coordinates, element), 0);
  return dynamic_cast<QVR_equationElement&>(*element);
}

// The elements' formulas, in the order of the table.
Strings TextsOf(QVR_defHEquation& definition) {
  Strings texts;
  for (int i = 0; i < definition.GetSize(); ++i) {
    texts.push_back(ElementOf(definition, i).GetText());
  }
  return texts;
}

// Counts through all coordinates, the last fastest.
void ForEach(const Ints& sizes, const std::function<void(const Ints&)>& visit) {
  Ints at(sizes.size(), 0);
  for (std::size_t i = sizes.size();;) {
    visit(at);
    for (i = sizes.size(); i-- > 0 && ++at[i] == sizes[i];) {
      at[i] = 0;
    }
    if (i == static_cast<std::size_t>(-1)) {
      return;
    }
  }
}

// The table as it must be: each new cell is the old one whose coordinates `origin` makes of its own, or the
// first where it gives false.
Strings Rearrange(const Strings& old, const Ints& oldSizes, const Ints& sizes,
                  const std::function<bool(Ints&)>& origin) {
  Strings texts;
  ForEach(sizes, [&](const Ints& at) {
    Ints from = at;
    std::size_t index = 0;
    if (origin(from)) {
      for (std::size_t i = 0; i < oldSizes.size(); ++i) {
        index = index * static_cast<std::size_t>(oldSizes[i]) + static_cast<std::size_t>(from[i]);
      }
    }
    texts.push_back(old[index]);
  });
  return texts;
}

TEST(Hybrid, TableFollowsParentsAndTheirOutcomes) {
  const LogGuard log;
  TestRandom random(5);
  QVR_network network;
  for (int i = 0; i < 4; ++i) {
    AddChance(network, ("c" + std::to_string(i)).c_str(), 2, {}, {0.5, 0.5});
  }
  const int other = network.AddNode(kTypeHEquation, "other");
  const int node = network.AddNode(kTypeHEquation, "h");
  ASSERT_EQ(network.AddArc(other, node, kOrdinaryLayer), 0);
  auto& definition = DefinitionOf<QVR_defHEquation>(network, node);
  ASSERT_EQ(definition.GetSize(), 1);
  int nextFormula = 0;
  for (int step = 0; step < 600; ++step) {
    for (int i = 0; i < definition.GetSize(); ++i) {
      ElementOf(definition, i).SetFormula(std::to_string(nextFormula++).c_str());
    }
    const Strings before = TextsOf(definition);
    Ints owners;
    Ints sizes;
    for (int parent : network.GetParents(node)) {
      if (parent != other) {
        owners.push_back(parent);
        sizes.push_back(network.NodeAt(parent)->GetNumberOfOutcomes());
      }
    }
    const int parent = random.Below(4);
    const auto found = std::find(owners.begin(), owners.end(), parent);
    const auto place = found - owners.begin();
    const auto dimension = static_cast<std::size_t>(place);
    QVR_nodeDefinition& changed = *network.NodeAt(parent)->definition;
    const int count = changed.GetNumberOfOutcomes();
    const int position = random.Below(count);
    Ints newSizes = sizes;
    std::function<bool(Ints&)> origin;
    if (found == owners.end()) {
      ASSERT_EQ(network.AddArc(parent, node, kOrdinaryLayer), 0);
      newSizes.push_back(count);
      origin = [](Ints& at) { return at.pop_back(), true; };
    } else if (const int kind = random.Below(4); kind == 0) {
      ASSERT_EQ(network.RemoveArc(parent, node, kOrdinaryLayer), 0);
      newSizes.erase(newSizes.begin() + place);
      origin = [&](Ints& at) { return at.insert(at.begin() + place, 0), true; };
    } else if (kind == 1 && count < 4) {
      ASSERT_EQ(changed.InsertOutcome(position, nullptr), 0);
      ++newSizes[dimension];
      origin = [&](Ints& at) {
        const bool isNew = at[dimension] == position;
        at[dimension] -= at[dimension] > position ? 1 : 0;
        return !isNew;
      };
    } else if (kind == 2 && count > 2) {
      ASSERT_EQ(changed.RemoveOutcome(position), 0);
      --newSizes[dimension];
      origin = [&](Ints& at) { return at[dimension] += at[dimension] >= position ? 1 : 0, true; };
    } else {
      QVR_intArray rotation;
      for (int i = 0; i < count; ++i) {
        rotation.Add((i + 1) % count);
      }
      ASSERT_EQ(changed.ReorderOutcomes(rotation), 0);
      origin = [&](Ints& at) { return at[dimension] = (at[dimension] + 1) % count, true; };
    }
    ASSERT_EQ(TextsOf(definition), Rearrange(before, sizes, newSizes, origin)) << step;
    ASSERT_EQ(network.CheckInvariants(), "") << step;
  }
  // The last two dimensions change places; the continuous parent in between has none.
  const Strings before = TextsOf(DefinitionOf<QVR_defHEquation>(network, node));
  const QVR_network copy(network);
  EXPECT_EQ(copy.CheckInvariants(), "");
  QVR_intArray order;
  const int parentCount = network.GetNumberOfParents(node);
  for (int i = parentCount; i-- > 0;) {
    order.Add(i);
  }
  EXPECT_EQ(definition.ReorderParents(order), 0);
  EXPECT_EQ(definition.ReorderParents(order), 0);
  EXPECT_EQ(TextsOf(definition), before);
  EXPECT_EQ(definition.ReorderParents({0, 0}), -2);
}

TEST(Hybrid, ElementsAnswerWhatTheirKindKnows) {
  double value = 0;
  double variance = 0;
  QVR_equationElement equation;
  EXPECT_EQ(equation.GetText(), "0");
  EXPECT_EQ(equation.SetFormula("-(a*2-b)"), 0);
  EXPECT_EQ(equation.SetInverse("a", QVR_expression::Parse("(b-x)/2", nullptr, nullptr)), 0);
  EXPECT_EQ(equation.SetFormula("a*"), -2);
  equation.AssignVariable("a", 3);
  equation.AssignVariable("b", 1);
  equation.AssignVariable("x", -5);
  EXPECT_FALSE(equation.IsEvaluated());
  EXPECT_EQ(equation.GetValue(value), 0);
  EXPECT_EQ(value, -5);
  EXPECT_TRUE(equation.IsEvaluated());
  EXPECT_EQ(equation.GetInverseValue("a", value), 0);
  EXPECT_EQ(value, 3);
  EXPECT_EQ(equation.GetInverseValue("b", value), -2);
  equation.RenameVariable("a", "longer");
  EXPECT_EQ(equation.Clone()->GetInverseValue("longer", value), 0);
  EXPECT_EQ(equation.GetText(), "-(longer*2-b)");
  EXPECT_EQ(equation.GetSample(value), -52);

  QVR_distributionElement distribution;
  EXPECT_EQ(distribution.GetText(), "Normal(0,1)");
  for (const char* refused : {"3", "-Normal(0,1)", "Normal(0,1)+1", "Normal(0"}) {
    EXPECT_EQ(distribution.SetDistribution(refused), -2) << refused;
  }
  EXPECT_EQ(distribution.SetDistribution("Uniform(a,a+6)"), 0);
  distribution.AssignVariable("a", 2);
  EXPECT_EQ(distribution.GetMoments(value, variance), 0);
  EXPECT_EQ(value, 5);
  EXPECT_EQ(distribution.GetSample(value), 0);
  EXPECT_TRUE(value >= 2 && value <= 8);
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
  EXPECT_EQ(element.GetOutcomeWeight(weights), 0);
  EXPECT_EQ(weights, Doubles(3, 1.0 / 3));
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

TEST(Hybrid, DefinitionsFollowTheGraphAndTestTheirElements) {
  const LogGuard log;
  QVR_network network;
  const int c = AddChance(network, "c", 2, {}, {0.5, 0.5});
  const int z = network.AddNode(kTypeDistribution, "z");
  const int d = network.AddNode(kTypeDChildHParent, "d");
  const int h = network.AddNode(kTypeHEquation, "h");
  const int e = AddEquation(network, "e", "e=1");
  for (int parent : {c, z, d}) {
    ASSERT_EQ(network.AddArc(parent, h, kOrdinaryLayer), 0);
  }
  ASSERT_EQ(network.AddArc(z, d, kOrdinaryLayer), 0);
  EXPECT_EQ(network.AddArc(e, h, kOrdinaryLayer), -51);
  auto& equation = DefinitionOf<QVR_defHEquation>(network, h);
  EXPECT_EQ(equation.GetSize(), 4);
  EXPECT_TRUE(equation.GetLowerBound() == -10 && equation.GetUpperBound() == 10);

  std::unique_ptr<QVR_Helement> wrong = std::make_unique<QVR_distributionElement>();
  std::unique_ptr<QVR_Helement> none;
  auto named = std::make_unique<QVR_equationElement>();
  ASSERT_EQ(named->SetFormula("z+0.12345678901"), 0);
  std::unique_ptr<QVR_Helement> right = std::move(named);
  EXPECT_EQ(equation.SetElement({1, 1}, wrong), -2);
  EXPECT_EQ(equation.SetElement({1, 1}, none), -2);
  EXPECT_EQ(equation.SetElement({1, 2}, right), -2);
  EXPECT_EQ(equation.SetElement({1}, right), -2);
  ASSERT_TRUE(wrong != nullptr && right != nullptr);
  EXPECT_EQ(equation.SetElement({1, 1}, right), 0);
  EXPECT_EQ(right, nullptr);
  EXPECT_EQ(network.NodeAt(z)->SetId("zz"), 0);
  EXPECT_EQ(TextsOf(equation), (Strings{"0", "0", "0", "zz+0.12345678901"}));

  // The discrete child's outcomes: its own elements, its child's table, its value.
  auto& discrete = DefinitionOf<QVR_defDchildHparent>(network, d);
  EXPECT_EQ(discrete.InsertOutcome(0, "State0"), 0);  // taken already
  EXPECT_STREQ(discrete.GetOutcomeNames()->Get(0), "State2");
  EXPECT_EQ(TextsOf(equation)[5], "zz+0.12345678901");
  Doubles weights(3);
  EXPECT_EQ(discrete.GetElements()[0].GetOutcomeWeight(weights), 0);
  EXPECT_EQ(weights, (Doubles{0, 0.5, 0.5}));
  EXPECT_EQ(discrete.ReorderOutcomes({1, 0, 2}), 0);
  EXPECT_EQ(discrete.GetElements()[0].GetOutcomeWeight(weights), 0);
  EXPECT_EQ(weights, (Doubles{0.5, 0, 0.5}));
  EXPECT_EQ(network.CheckInvariants(), "");
  EXPECT_EQ(discrete.RemoveOutcome(1), 0);
  EXPECT_EQ(discrete.RemoveOutcome(1), -2);
  EXPECT_EQ(equation.GetSize(), 4);
  QVR_stringArray names;
  names.Add("low");
  names.Add("low");
  EXPECT_EQ(discrete.RenameOutcomes(names), 0);
  EXPECT_STREQ(discrete.GetOutcomeNames()->Get(1), "State1");
  EXPECT_EQ(discrete.SetNumberOfOutcomes(3), -19);

  // A continuous parent that goes takes the elements that name it along.
  EXPECT_EQ(network.RemoveArc(z, h, kOrdinaryLayer), 0);
  EXPECT_EQ(TextsOf(equation), Strings(4, "0"));
  // One that changes its class keeps its dimension, gets one, or loses it with the arc.
  EXPECT_EQ(network.NodeAt(c)->ChangeType(kTypeDChildHParent), 0);
  EXPECT_EQ(equation.GetSize(), 4);
  EXPECT_EQ(network.NodeAt(d)->ChangeType(kTypeHEquation), 0);
  EXPECT_EQ(equation.GetSize(), 2);
  EXPECT_EQ(network.CheckInvariants(), "");
  EXPECT_EQ(network.NodeAt(c)->ChangeType(kTypeEquation), 0);
  EXPECT_EQ(equation.GetSize(), 1);
  EXPECT_EQ(network.NodeAt(h)->ChangeType(kTypeDistribution), 0);
  EXPECT_EQ(network.NodeAt(h)->definition->AdoptFrom(*network.NodeAt(e)->definition), -2);
  EXPECT_EQ(network.NodeAt(h)->ChangeType(kTypeCpt), 0);
  network.DeleteNode(z);
  EXPECT_EQ(network.CheckInvariants(), "");
}

}  // namespace
}  // namespace qvr
