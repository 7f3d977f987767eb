// The structural agreement that every operation of a network keeps, spelled out for tests.

#include <algorithm>
#include <map>

#include "model/dynamic_extension.h"
#include "model/network.h"

namespace qvr {

namespace {

// Every arc stands as often in its child's list as in its parent's; ordinary arcs don't repeat.
std::string CheckArcs(const QVR_network& network, int handle, int layer) {
  const QVR_intArray& list = network.GetChildren(handle, layer);
  std::vector<int> children(list.begin(), list.end());
  std::sort(children.begin(), children.end());
  for (auto child = children.begin(); child != children.end();) {
    const auto next = std::upper_bound(child, children.end(), *child);
    const QVR_intArray& back = network.GetParents(*child, layer);
    if (*child == handle || std::count(back.begin(), back.end(), handle) != next - child) {
      return "a child doesn't list its parent";
    }
    if (layer == kOrdinaryLayer && next - child > 1) {
      return "an arc is listed twice";
    }
    child = next;
  }
  return {};
}

// The outcome counts of those nodes of the list that have a dimension in tables.
std::vector<int> DimensionsOf(const QVR_network& network, const QVR_intArray& list) {
  std::vector<int> sizes;
  for (int handle : list) {
    const QVR_node& node = *network.NodeAt(handle);
    if (QVR_nodeDefinition::IsDiscreteParentType(node.GetType())) {
      sizes.push_back(node.GetNumberOfOutcomes());
    }
  }
  return sizes;
}

// One that found no memory is empty until it's rebuilt.
bool HasTableOfShape(QVR_nodeDefinition& definition, std::vector<int> sizes, int last) {
  sizes.push_back(last);
  QVR_Dmatrix* table = nullptr;
  return definition.GetMatrix(table) == QVR_OKAY && (table->GetNumElements() == 0 || table->HasShape(sizes));
}

// Weights for each combination of the decisions' outcomes, one for each other parent.
bool HasWeightsOfShape(const QVR_network& network, const QVR_nodeDefinition& definition) {
  long long combinations = 1;
  int others = 0;
  for (int parent : network.GetParents(definition.GetHandle())) {
    const QVR_node& node = *network.NodeAt(parent);
    if ((node.GetType() & kTypeBitDecision) == 0) {
      ++others;
    } else if (definition.GetParentDimension(parent) != node.GetNumberOfOutcomes()) {
      return false;
    } else {
      combinations *= node.GetNumberOfOutcomes();
    }
  }
  return definition.GetSize() == combinations * std::max(others, 1);
}

bool HasRightShape(const QVR_network& network, const QVR_node& node) {
  const std::vector<int> sizes = DimensionsOf(network, network.GetParents(node.handle));
  switch (node.GetType()) {
    case kTypeCpt:
    case kTypeTruthTable:
    case kTypeCast:
    case kTypeDeMorgan:
      return HasTableOfShape(*node.definition, sizes, node.GetNumberOfOutcomes());
    case kTypeTable:
      return HasTableOfShape(*node.definition, sizes, 1);
    case kTypeMau:
      return HasWeightsOfShape(network, *node.definition);
    default:
      return true;
  }
}

int CountCombinations(const QVR_network& network, int handle) {
  QVR_intArray discrete;
  network.GetDiscreteParents(handle, kOrdinaryLayer, discrete);
  int count = 1;
  for (int parent : discrete) {
    count *= network.NodeAt(parent)->GetNumberOfOutcomes();
  }
  return count;
}

std::string CheckDefinition(const QVR_network& network, const QVR_node& node) {
  const int type = node.GetType();
  if (node.definition->GetHandle() != node.handle || node.definition->GetNetwork() != &network) {
    return "the definition belongs to another node";
  }
  for (int parent : network.GetParents(node.handle)) {
    if (!QVR_nodeDefinition::TakesParent(type, network.NodeAt(parent)->GetType())) {
      return "the definition doesn't take one of its parents";
    }
  }
  if (QVR_nodeDefinition::IsDiscreteParentType(type) && type != kTypeList) {
    for (int parent : network.GetParents(node.handle)) {
      if (node.definition->GetParentDimension(parent) != network.NodeAt(parent)->GetNumberOfOutcomes()) {
        return "the definition has no room for just the outcomes of a parent";
      }
    }
  }
  if (!HasRightShape(network, node)) {
    return "the table hasn't the shape that the parents and outcomes give";
  }
  if ((type & kTypeBitHybrid) != 0 && node.definition->GetSize() != CountCombinations(network, node.handle)) {
    return "there isn't an element for each combination of the discrete parents";
  }
  if (!node.definition->FitsParents()) {
    return "the definition is about other parents";
  }
  const QVR_stringArray* names = node.definition->GetOutcomeNames();
  if (names != nullptr && names->GetNumItems() != node.GetNumberOfOutcomes()) {
    return "the outcomes haven't as many names";
  }
  return {};
}

std::string CheckValue(const QVR_network& network, const QVR_node& node) {
  const bool hasOutcomes = (node.GetType() & kTypeBitDiscrete) != 0;
  if (!hasOutcomes && (node.GetType() & kTypeBitUtility) == 0) {
    return {};
  }
  std::vector<int> sizes = DimensionsOf(network, node.value->GetIndexingParents());
  sizes.push_back(hasOutcomes ? node.GetNumberOfOutcomes() : 1);
  const QVR_Dmatrix* matrix = node.value->GetMatrix();
  if (network.GetDynamicType(node.handle) == kDynamicPlate && matrix != nullptr &&
      matrix->GetNumDimensions() == static_cast<int>(sizes.size()) + 1) {
    sizes.insert(sizes.begin(), matrix->GetDimension(0));  // the slices of the last update
  }
  // One that found no memory is empty until the next update.
  const bool holdsResult = matrix != nullptr && (matrix->GetNumElements() > 0 || node.value->IsValueValid());
  if (holdsResult && !matrix->HasShape(sizes)) {
    return "the value hasn't the shape that the outcomes give";
  }
  if (hasOutcomes && node.value->HasEvidence() && node.value->GetEvidence() >= node.GetNumberOfOutcomes()) {
    return "the evidence names no outcome";
  }
  return {};
}

std::string CheckCosts(const QVR_network& network, const QVR_node& node) {
  const QVR_intArray& owners = node.cost->GetDimensionIds();
  const QVR_intArray& parents = network.GetParents(node.handle, kCostLayer);
  std::vector<int> sizes = DimensionsOf(network, owners);
  sizes.push_back(1);
  if (!node.cost->GetCosts().HasShape(sizes)) {
    return "the costs haven't the shape that their parents give";
  }
  const int* place = parents.begin();
  for (int owner : owners) {
    place = std::find(place, parents.end(), owner);
    if (place == parents.end()) {
      return "the costs have a dimension of a node that is no cost parent";
    }
    ++place;
  }
  return {};
}

std::string CheckExtra(const QVR_node& node) {
  const int count = std::max(0, node.GetNumberOfOutcomes());
  const QVR_extraDefinition& extra = *node.extra;
  for (const QVR_stringArray* list :
       {&extra.GetStateComments(), &extra.GetFaultNames(), &extra.GetRepairInfo(),
        static_cast<const QVR_stringArray*>(&extra.GetFaultLabels())}) {
    if (list->GetNumItems() != count) {
      return "a list of diagnostic attributes hasn't an entry for each outcome";
    }
  }
  return extra.GetFaultStates().GetNumItems() == count ? "" : "the fault states don't fit the outcomes";
}

std::string CheckNode(const QVR_network& network, const QVR_node& node, int handle) {
  if (node.handle != handle || node.network != &network || node.info->header.owner != &node) {
    return "the node doesn't know its place";
  }
  if (network.GetSubmodels().GetSubmodel(node.submodel) == nullptr) {
    return "the node's submodel doesn't exist";
  }
  for (int layer : {kOrdinaryLayer, kCostLayer}) {
    if (std::string fault = CheckArcs(network, handle, layer); !fault.empty()) {
      return fault;
    }
  }
  if ((node.definition == nullptr) != (node.value == nullptr)) {
    return "a definition without a value, or the other way round";
  }
  std::string fault = CheckCosts(network, node);
  if (fault.empty() && node.definition) {
    fault = CheckDefinition(network, node);
    fault = fault.empty() ? CheckValue(network, node) : fault;
    fault = fault.empty() ? CheckExtra(node) : fault;
  }
  return fault;
}

bool IsEmptySlot(const QVR_nodeEntry& entry) {
  return entry.flags == 0 && entry.dynamicType == kDynamicNormal &&
         entry.parents.GetNumItems() + entry.children.GetNumItems() == 0 &&
         entry.costParents.GetNumItems() + entry.costChildren.GetNumItems() == 0;
}

}  // namespace

std::string QVR_network::CheckInvariants() const {
  int occupied = 0;
  int targets = 0;
  int unmatchedArcs = 0;
  int inPlate = 0;
  for (int handle = 0; handle < GetTableSize(); ++handle) {
    const QVR_nodeEntry& entry = Entry(handle);
    if (!entry.node) {
      if (!IsEmptySlot(entry) || handle < lowestFree) {
        return "free slot " + std::to_string(handle) + " isn't empty";
      }
      continue;
    }
    ++occupied;
    inPlate += entry.dynamicType == kDynamicPlate ? 1 : 0;
    targets += (entry.flags & kEntryTarget) != 0 ? 1 : 0;
    unmatchedArcs += entry.children.GetNumItems() - entry.parents.GetNumItems() +
                     entry.costChildren.GetNumItems() - entry.costParents.GetNumItems();
    if (std::string fault = CheckNode(*this, *entry.node, handle); !fault.empty()) {
      return "node " + std::to_string(handle) + " [" + entry.node->GetId() + "]: " + fault;
    }
  }
  if (occupied != numNodes || targets != targetCount || inPlate != plateCount || unmatchedArcs != 0) {
    return "the counts of nodes, targets, the plate or arcs are wrong";
  }
  if (std::string fault = dynamicExtension ? dynamicExtension->CheckInvariants() : ""; !fault.empty()) {
    return fault;
  }
  const std::string fault = cases.CheckInvariants();
  return fault.empty() ? CheckIndex() : fault;
}

std::string QVR_network::CheckIndex() const {
  std::map<std::string, std::pair<int, int>> firstTwo;  // by identifier: the lowest handles that bear it
  for (int handle = FirstNode(); handle >= 0; handle = NextNode(handle)) {
    const auto [place, isNew] = firstTwo.try_emplace(Entry(handle).node->GetId(), handle, QVR_OUT_OF_RANGE);
    if (!isNew && place->second.second < 0) {
      place->second.second = handle;
    }
  }
  for (const auto& [id, handles] : firstTwo) {
    if (!id.empty() &&
        (ids.Find(id) != handles.first || ids.FindOther(id, handles.first) != handles.second)) {
      return "the index doesn't know [" + id + "]";
    }
  }
  return {};
}

}  // namespace qvr
