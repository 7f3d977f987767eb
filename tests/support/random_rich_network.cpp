#include "support/random_rich_network.h"

#include <algorithm>
#include <vector>

#include "definitions/equation.h"
#include "definitions/mau.h"
#include "definitions/utility_table.h"
#include "model/dynamic_extension.h"
#include "model/special_numbers.h"
#include "support/network_builder.h"
#include "support/random_canonical.h"

namespace qvr {
namespace {

constexpr TableStyle kStyle = {.zeroFraction = 0.2, .certainRowFraction = 0.1};

std::vector<int> TypesOf(RichKind kind) {
  switch (kind) {
    case RichKind::kChance:
      return {kTypeCpt, kTypeCpt, kTypeTruthTable, kTypeNoisyMax, kTypeNoisyAdder, kTypeCast, kTypeDeMorgan};
    case RichKind::kInfluence:
      return {kTypeCpt, kTypeTruthTable, kTypeList, kTypeTable, kTypeTable, kTypeMau};
    case RichKind::kEquations:
      return {kTypeEquation};
    case RichKind::kMixed:
      break;
  }
  return {kTypeCpt,      kTypeTruthTable, kTypeNoisyMax, kTypeNoisyAdder, kTypeCast,
          kTypeDeMorgan, kTypeEquation,   kTypeList,     kTypeTable,      kTypeMau};
}

double Number(TestRandom& random) {
  return random.Chance(0.2) ? random.Below(9) - 4 : (random.Unit() - 0.5) * (random.Chance(0.1) ? 1e300 : 9);
}

QVR_doubleArray Numbers(int count, double marker, TestRandom& random) {
  QVR_doubleArray numbers;
  for (int i = 0; i < count; ++i) {
    numbers.Add(random.Chance(0.1) ? marker : Number(random));
  }
  return numbers;
}

std::string Formula(const std::vector<std::string>& names, TestRandom& random) {
  std::string text = FormatGeneral(Number(random), 16);
  for (const std::string& name : names) {
    text += random.Chance(0.5) ? "-" : "*";
    text += random.Chance(0.3) ? "Exp(" + name + "/3)" : "(" + name + "+2)";
  }
  return text;
}

// Equations bring their own arcs, from these nodes.
bool SetEquation(QVR_network& network, int handle, const std::vector<int>& parents, TestRandom& random) {
  auto& definition = dynamic_cast<QVR_equation&>(*network.NodeAt(handle)->definition);
  std::vector<std::string> names;
  for (const int parent : parents) {
    names.push_back(network.NodeAt(parent)->GetId());
  }
  const double lower = random.Chance(0.5) ? -1.0 : -10 * random.Unit() - 1;
  const double upper = random.Chance(0.5) ? 1.0 : 10 * random.Unit() + 1;
  definition.SetBounds(lower, upper);
  std::vector<DiscretizationInterval> intervals;
  for (int i = 0, count = random.Below(3) * 2; i < count; ++i) {
    intervals.push_back({"i" + std::to_string(i), lower + (upper - lower) * (i + 1) / 5});
  }
  const std::string noise = random.Chance(0.5) ? "+Normal(0,1)" : "";
  return definition.SetEquation(
             (network.NodeAt(handle)->GetId() + "=" + Formula(names, random) + noise).c_str()) == QVR_OKAY &&
         (intervals.empty() || definition.SetDiscIntervals(intervals) == QVR_OKAY);
}

bool SetMau(QVR_network& network, QVR_mau& mau, TestRandom& random) {
  if (random.Chance(0.5)) {
    return mau.SetWeights(Numbers(mau.GetWeights().GetNumElements(), 1.0, random)) == QVR_OKAY;
  }
  QVR_intArray others;
  mau.GetOtherParents(others);
  std::vector<std::string> names;
  for (const int parent : others) {
    names.push_back(network.NodeAt(parent)->GetId());
  }
  std::vector<std::string> formulas;
  for (int i = 0; i < mau.GetExpressionCount(); ++i) {
    formulas.push_back(Formula(names, random));
  }
  std::string message;
  return mau.SetExpressions(formulas, message) == QVR_OKAY;
}

bool SetNumbers(QVR_network& network, int handle, const std::vector<int>& parents, TestRandom& random) {
  QVR_nodeDefinition& definition = *network.NodeAt(handle)->definition;
  switch (definition.GetType()) {
    case kTypeEquation:
      return SetEquation(network, handle, parents, random);
    case kTypeMau:
      return SetMau(network, dynamic_cast<QVR_mau&>(definition), random);
    case kTypeTable:
      return dynamic_cast<QVR_table&>(definition)
                 .SetUtilities(Numbers(definition.GetSize(), kUndefined, random)) == QVR_OKAY;
    case kTypeList:
      return true;
    case kTypeTruthTable: {
      QVR_intArray states;
      for (int i = 0; i < definition.GetSize() / definition.GetNumberOfOutcomes(); ++i) {
        states.Add(random.Below(definition.GetNumberOfOutcomes()));
      }
      return definition.SetResultingStates(states) == QVR_OKAY;
    }
    default:
      return SetRandomNumbers(network, handle, kStyle, random);
  }
}

QVR_rectangle RandomBox(TestRandom& random) {
  QVR_rectangle box;
  box.centerX = random.Below(2000) - 500;
  box.centerY = random.Below(2000) - 500;
  box.width = random.Below(300);
  box.height = random.Below(300);
  return box;
}

void DecorateScreen(QVR_screenInfo& screen, TestRandom& random) {
  screen.position = RandomBox(random);
  screen.color = random.Below(1 << 24);
  screen.fontColor = random.Below(1 << 24);
  screen.borderColor = random.Below(1 << 24);
  screen.borderThickness = random.Below(4) + 1;
}

void DecorateHeader(QVR_header& header, TestRandom& random) {
  header.SetName(RandomText(random, true).c_str());
  header.SetComment(RandomText(random, true).c_str());
}

void AddLinks(QVR_documentation& links, TestRandom& random) {
  for (int i = random.Below(3); i > 0; --i) {
    links.titles.Add(RandomText(random, false).c_str());
    links.links.Add(RandomText(random, false).c_str());
  }
}

void AddProperties(QVR_userProperties& properties, TestRandom& random) {
  for (int i = random.Below(3); i > 0; --i) {
    properties.Add(("p" + std::to_string(i)).c_str(), RandomText(random, true).c_str());
  }
}

void DecorateOutcomes(QVR_node& node, TestRandom& random) {
  QVR_extraDefinition& extra = *node.extra;
  const int count = std::max(node.GetNumberOfOutcomes(), 0);
  // Gates have no states of their own in files.
  const bool hasStates = (node.GetType() & (kTypeBitCast | kTypeBitDeMorgan)) == 0 && count > 0;
  for (int i = 0; i < count; ++i) {
    if (hasStates && random.Chance(0.3)) {
      extra.SetFaultLabel(i, ("L" + node.GetId() + std::to_string(i)).c_str());
      extra.SetFault(i, random.Below(2));
    }
    if (random.Chance(0.3)) {
      extra.SetFaultName(i, RandomText(random, false).c_str());
      extra.SetStateComment(i, RandomText(random, true).c_str());
      extra.SetRepairInfo(i, RandomText(random, true).c_str());
      AddLinks(*extra.GetStateDocumentation(i), random);
    }
  }
  if (hasStates && random.Chance(0.3)) {
    extra.SetDefaultOutcome(random.Below(count));
    extra.setAsDefault = 1;
  }
  extra.diagnosisType = random.Below(3);
  extra.ranked = static_cast<char>(random.Below(2));
  extra.mandatory = static_cast<char>(random.Below(2));
  extra.showAs = random.Below(5);
  extra.question = RandomText(random, true);
}

std::vector<int> AddSubmodels(QVR_network& network, TestRandom& random) {
  QVR_submodelHandler& handler = network.GetSubmodels();
  std::vector<int> handles = {QVR_submodelHandler::kMainSubmodel};
  for (int i = random.Below(5); i > 0; --i) {
    const int parent = handles[static_cast<std::size_t>(random.Below(static_cast<int>(handles.size())))];
    handles.push_back(handler.CreateSubmodel(parent, nullptr));
    DecorateScreen(handler.GetSubmodel(handles.back())->screen, random);
    handler.GetSubmodel(handles.back())->windowPosition = RandomBox(random);
  }
  for (const int handle : handles) {
    QVR_submodel& submodel = *handler.GetSubmodel(handle);
    DecorateHeader(submodel.header, random);
    if (handle == QVR_submodelHandler::kMainSubmodel) {  // whose name is an attribute
      submodel.header.SetName(RandomText(random, false).c_str());
    }
    for (int i = random.Below(3); i > 0; --i) {
      submodel.textBoxes.boxes.Add(RandomBox(random));
      submodel.textBoxes.texts.Add(RandomText(random, true).c_str());
    }
  }
  return handles;
}

// Arcs into the last node of the order, and its numbers.
bool CompleteNode(QVR_network& network, const std::vector<int>& order, TestRandom& random) {
  const int handle = order.back();
  const int type = network.NodeAt(handle)->GetType();
  std::vector<int> parents;
  for (const int place : RandomOrder(static_cast<int>(order.size()) - 1, random)) {
    const int parent = order[static_cast<std::size_t>(place)];
    if (parents.size() < 3 && random.Chance(0.6) &&
        QVR_nodeDefinition::TakesParent(type, network.NodeAt(parent)->GetType())) {
      parents.push_back(parent);
    }
  }
  const bool linked = type == kTypeEquation || network.AddArcs(parents, handle) == QVR_OKAY;
  return linked && SetNumbers(network, handle, parents, random);
}

void DecorateNetwork(QVR_network& network, TestRandom& random) {
  network.GetSubmodels().GetSubmodel(QVR_submodelHandler::kMainSubmodel)->header.SetId("N1");
  network.sampleCount = random.Below(5000);
  network.discSamples = random.Below(5000);
  network.discAvoidZero = static_cast<char>(random.Below(2));
  network.rejectOutliers = static_cast<char>(random.Below(2));
  network.reservedMode = random.Below(4);
  if (random.Chance(0.5)) {
    network.SetEpisParameters({.propLength = 7, .eps1 = 0.1 + random.Unit()});
  }
  AddProperties(network.userProperties, random);
}

}  // namespace

std::string RandomText(TestRandom& random, bool lines) {
  static constexpr std::string_view kCharacters = "\n\t\\ab <>&\"'ny\xE9\xDF\xFF\x80\xA0]]>;  ";
  std::string text;
  const int first = lines ? 0 : 2;
  for (int i = random.Below(12); i > 0; --i) {
    text += kCharacters[static_cast<std::size_t>(first +
                                                 random.Below(static_cast<int>(kCharacters.size()) - first))];
  }
  return text;
}

bool FillRichNetwork(RichKind kind, TestRandom& random, QVR_network& network) {
  DecorateNetwork(network, random);
  const std::vector<int> submodels = AddSubmodels(network, random);
  const std::vector<int> types = TypesOf(kind);
  const int count = 1 + random.Below(8);
  bool taken = true;
  for (int i = 0; i < count; ++i) {
    const int type = types[static_cast<std::size_t>(random.Below(static_cast<int>(types.size())))];
    const std::string id = "n" + std::to_string(i);
    const bool hasOutcomes = QVR_nodeDefinition::IsDiscreteParentType(type);
    const int handle = hasOutcomes ? AddOfType(network, type, id.c_str(), 2 + random.Below(3), {})
                                   : network.AddNode(type, id.c_str());
    taken = handle >= 0 && taken;
  }
  std::vector<int> order;
  for (const int handle : RandomOrder(count, random)) {
    order.push_back(handle);
    taken = CompleteNode(network, order, random) && taken;
  }
  for (const int handle : order) {
    QVR_node& node = *network.NodeAt(handle);
    DecorateHeader(node.info->header, random);
    DecorateScreen(node.info->screen, random);
    AddProperties(node.info->userProperties, random);
    AddLinks(node.info->documentation, random);
    DecorateOutcomes(node, random);
    node.SetSubmodel(submodels[static_cast<std::size_t>(random.Below(static_cast<int>(submodels.size())))]);
    if (random.Chance(0.3)) {
      network.SetTarget(handle);
    }
  }
  return taken;
}

bool AddRandomCosts(TestRandom& random, QVR_network& network) {
  const std::vector<int> handles = AllNodes(network);
  bool taken = true;
  for (const int child : handles) {
    for (const int parent : handles) {
      const bool takes = QVR_nodeDefinition::IsDiscreteParentType(network.NodeAt(parent)->GetType());
      if (parent > child && takes && random.Chance(0.15)) {
        taken = network.AddArc(parent, child, kCostLayer) == QVR_OKAY && taken;
      }
    }
    QVR_nodeCost& cost = *network.NodeAt(child)->cost;
    if (random.Chance(0.5)) {
      const QVR_doubleArray costs = Numbers(cost.GetCosts().GetNumElements(), kNotAvailable, random);
      taken = cost.SetCosts(costs) == QVR_OKAY && taken;
    }
  }
  return taken;
}

bool AddRandomPlate(TestRandom& random, QVR_network& network) {
  constexpr int kTypes[] = {kDynamicPlate, kDynamicPlate, kDynamicTerminal, kDynamicAnchor};
  QVR_dynamicExtension& temporal = *network.UseDynamicExtension();
  const QVR_intArray& order = network.GetTopologicalOrder();
  std::vector<int> plate;
  for (int i = order.GetNumItems() - 1; i >= 0; --i) {  // children decide on their parents
    const int type = kTypes[random.Below(4)];
    const bool fits = type != kDynamicPlate || network.NodeAt(order[i])->GetNumberOfOutcomes() > 0;
    if (fits && network.SetDynamicType(order[i], type) == QVR_OKAY && type == kDynamicPlate) {
      plate.push_back(order[i]);
    }
  }
  const auto any = [&] {
    return plate[static_cast<std::size_t>(random.Below(static_cast<int>(plate.size())))];
  };
  for (int i = plate.empty() ? 5 : 0; i < 5; ++i) {
    const int parent = any();
    temporal.AddTemporalArc(parent, any(), 1 + random.Below(3));  // not every class takes every parent
  }
  bool taken = true;
  for (const int handle : plate) {
    for (const int listed : temporal.GetTemporalOrders(handle)) {
      QVR_nodeDefinition& table = *temporal.GetTemporalDefinition(handle, listed);
      taken = SetNumbers(*table.GetNetwork(), table.GetHandle(), {}, random) && taken;
    }
  }
  temporal.SetSliceCount(temporal.GetMaxOrder() > 0 ? random.Below(6) : 2);
  temporal.plateArea = RandomBox(random);
  temporal.leftWidth = random.Below(300);
  return taken;
}

}  // namespace qvr
