#include "model/network.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <new>

#include "model/dynamic_extension.h"
#include "model/error_log.h"

namespace qvr {

namespace {

// Definition and value, or neither.
int CreateParts(QVR_node& node, int definitionType) {
  int status = node.CreateDefinition(definitionType);
  if (status >= 0) {
    status = node.CreateValue(definitionType);
  }
  if (status < 0) {
    node.definition.reset();
    node.value.reset();
  }
  return status;
}

// The nodes of a simultaneous set name each other without arcs.
void RenameUnknown(QVR_network& network, int handle, const char* oldId, const char* newId) {
  for (int other = network.FirstNode(); other >= 0; other = network.NextNode(other)) {
    const QVR_node& node = *network.NodeAt(other);
    if (other != handle && node.GetType() == kTypeEquationScc) {
      node.definition->RenameParent(handle, oldId, newId);
    }
  }
}

}  // namespace

int QVR_network::AddNode(int definitionType, const char* identifier) {
  if (identifier != nullptr && (loadFlags & kLoadAcceptsDuplicateIds) == 0 &&
      IsIdentifierTaken(identifier, -1)) {
    return QVR_OUT_OF_RANGE;
  }
  const int handle = TakeSlot();
  if (handle < 0) {
    return handle;
  }
  if (int status = OccupySlot(handle, identifier); status < 0) {
    return status;
  }
  QVR_node& node = *Entry(handle).node;
  GetErrorLog().Log(CreateParts(node, definitionType), nullptr);
  node.info->screen.InheritFrom(submodels.nodeDefaults);
  node.CheckReady(1);
  return handle;
}

// An empty node with its identifier, or a slot that is still free.
int QVR_network::OccupySlot(int handle, const char* identifier) {
  QVR_nodeEntry& entry = Entry(handle);
  int status = QVR_OUT_OF_MEMORY;
  try {
    entry.node = std::make_unique<QVR_node>(kTypeNone, handle, this);
    status = StoreFirstId(*entry.node, identifier);
  } catch (const std::bad_alloc&) {
    if (entry.node) {
      IdentifierStored(handle, entry.node->GetId(), std::string());
    }
  }
  if (status < 0) {
    entry.node.reset();
    return status == QVR_OUT_OF_MEMORY ? status : QVR_OUT_OF_RANGE;
  }
  entry.dynamicType = kDynamicNormal;
  entry.flags = 0;
  ++numNodes;
  return QVR_OKAY;
}

int QVR_network::StoreFirstId(QVR_node& node, const char* identifier) {
  int status = identifier != nullptr ? node.SetId(identifier) : QVR_OUT_OF_RANGE;
  if (status < 0) {
    status = node.SetId(GenerateNodeId().c_str());
  }
  node.info->header.SetName(node.GetId().c_str());
  return status;
}

int QVR_network::GrowTable() {
  const std::size_t newSize = nodes.size() + static_cast<std::size_t>(delta);
  try {
    // The table grows in small steps, its memory by doubling.
    if (newSize > nodes.capacity()) {
      nodes.reserve(std::max(newSize, 2 * nodes.capacity()));
    }
    nodes.resize(newSize);
  } catch (const std::bad_alloc&) {
    return QVR_OUT_OF_MEMORY;
  }
  return QVR_OKAY;
}

int QVR_network::TakeSlot() {
  if (numNodes == GetTableSize()) {
    if (int status = GrowTable(); status < 0) {
      return status;
    }
  }
  if (!Entry(numNodes).node) {
    return numNodes;
  }
  while (Entry(lowestFree).node) {
    ++lowestFree;
  }
  return lowestFree;
}

bool QVR_network::IsSubmodelId(const char* identifier) const {
  // During a load the main submodel's identifier is the network's own name, which a node may share.
  return ((loadFlags & kLoading) != 0 ? submodels.IdExistsBelowMain(identifier)
                                      : submodels.IdExists(identifier)) != 0;
}

std::string QVR_network::GenerateNodeId() {
  for (std::int64_t number = numNodes;; ++number) {
    number = ids.FirstFreeNumber("Node", number);
    std::string candidate = "Node" + std::to_string(number);
    if (!IsSubmodelId(candidate.c_str())) {
      return candidate;
    }
  }
}

bool QVR_network::IsIdentifierTaken(const char* identifier, int exceptHandle) const {
  if (identifier == nullptr || identifier[0] == '@') {
    return false;
  }
  return ids.FindOther(identifier, exceptHandle) >= 0 || IsSubmodelId(identifier);
}

void QVR_network::IdentifierStored(int handle, const std::string& oldId, const std::string& newId) {
  if (oldId == newId) {
    return;
  }
  if (!newId.empty()) {
    ids.Insert(newId, handle);
  }
  if (!oldId.empty()) {
    ids.Erase(oldId, handle);
  }
}

bool QVR_network::ChangeNodeId(int handle, const char* oldId, const char* newId) {
  if (!IsValidHandle(handle) || newId == nullptr) {
    return false;
  }
  if (oldId != nullptr && std::strcmp(oldId, newId) == 0) {
    return true;
  }
  if ((loadFlags & kLoadAcceptsDuplicateIds) == 0 && IsIdentifierTaken(newId, handle)) {
    return false;
  }
  if (QVR_nodeDefinition* definition = Entry(handle).node->definition.get()) {
    definition->RenameParent(handle, oldId, newId);  // an equation names its own node, too
  }
  for (int child : Entry(handle).children) {
    if (QVR_nodeDefinition* definition = Entry(child).node->definition.get()) {
      definition->RenameParent(handle, oldId, newId);
    }
  }
  if (Entry(handle).node->GetType() == kTypeEquationScc) {
    RenameUnknown(*this, handle, oldId, newId);
  }
  return true;
}

int QVR_network::DeleteNode(int handle) {
  if (!IsValidHandle(handle)) {
    return QVR_OUT_OF_RANGE;
  }
  bool hadArcs = false;
  {
    // An update halfway would put back the arcs that order a decision.
    const UpdateFlagsOff quiet(*this, UPDATE_IMMEDIATELY);
    for (; Entry(handle).children.GetNumItems() > 0; hadArcs = true) {
      RemoveArc(handle, Entry(handle).children[0], kOrdinaryLayer);
    }
    // From the last parent on: its place in lists and sums is at hand.
    for (; Entry(handle).parents.GetNumItems() > 0; hadArcs = true) {
      const QVR_intArray& parents = Entry(handle).parents;
      RemoveArc(parents[parents.GetNumItems() - 1], handle, kOrdinaryLayer);
    }
    while (Entry(handle).costChildren.GetNumItems() > 0) {
      RemoveCostArc(handle, Entry(handle).costChildren[0]);
    }
    while (Entry(handle).costParents.GetNumItems() > 0) {
      RemoveCostArc(Entry(handle).costParents[0], handle);
    }
    if (Entry(handle).node->definition) {
      ReinitializeIndexedValues(handle);
    }
    FreeSlot(handle);
    cases.NodeDeleted(handle);
  }
  if (hadArcs && TracksChanges() && (relevanceMask & kRelevanceArcRemoved) != 0) {
    UpdateIfImmediate();
  }
  return QVR_OKAY;
}

void QVR_network::FreeSlot(int handle) {
  QVR_nodeEntry& entry = Entry(handle);
  targetCount -= (entry.flags & kEntryTarget) != 0 ? 1 : 0;
  plateCount -= entry.dynamicType == kDynamicPlate ? 1 : 0;
  IdentifierStored(handle, entry.node->GetId(), std::string());
  entry = QVR_nodeEntry();
  --numNodes;
  lowestFree = std::min(lowestFree, handle);
  if (dynamicExtension) {
    dynamicExtension->NodeDeleted(handle);
  }
}

void QVR_network::ReinitializeIndexedValues(int handle) {
  if (!valuesInUse) {
    return;
  }
  for (QVR_nodeEntry& entry : nodes) {
    QVR_nodeValue* value = entry.node ? entry.node->value.get() : nullptr;
    if (value != nullptr && value->GetIndexingParents().Contains(handle) != 0) {
      value->DropIndexingParents();
    }
  }
}

bool QVR_network::IsValidHandle(int handle) const {
  return handle >= 0 && handle < GetTableSize() && Entry(handle).node;
}

QVR_node* QVR_network::NodeAt(int handle) {
  return IsValidHandle(handle) ? Entry(handle).node.get() : nullptr;
}

const QVR_node* QVR_network::NodeAt(int handle) const {
  return IsValidHandle(handle) ? Entry(handle).node.get() : nullptr;
}

int QVR_network::FirstNode() const {
  const int size = GetTableSize();
  for (int handle = 0; handle < size; ++handle) {
    if (Entry(handle).node) {
      return handle;
    }
  }
  return QVR_OUT_OF_RANGE;
}

int QVR_network::LastNode() const {
  for (int handle = GetTableSize() - 1; handle >= 0; --handle) {
    if (Entry(handle).node) {
      return handle;
    }
  }
  return QVR_OUT_OF_RANGE;
}

int QVR_network::NextNode(int handle) const {
  const int size = GetTableSize();
  if (handle < 0 || handle >= size) {
    return QVR_OUT_OF_RANGE;
  }
  for (int next = handle + 1; next < size; ++next) {
    if (Entry(next).node) {
      return next;
    }
  }
  return QVR_OUT_OF_RANGE;
}

void QVR_network::GetAllNodes(QVR_intArray& list) const {
  for (int handle = FirstNode(); handle >= 0; handle = NextNode(handle)) {
    list.Add(handle);
  }
}

int QVR_network::FindNode(const char* identifier) const {
  return identifier != nullptr ? ids.Find(identifier) : QVR_OUT_OF_RANGE;
}

void QVR_network::FilterByType(const QVR_intArray& list, int mask, QVR_intArray& out) const {
  QVR_intArray selected;
  for (int handle : list) {
    const QVR_node* node = NodeAt(handle);
    if (node != nullptr && (node->GetType() & mask) != 0) {
      selected.Add(handle);
    }
  }
  out.Swap(selected);
}

int QVR_network::SetTarget(int handle) {
  if (IsTarget(handle) != 0) {
    return QVR_OUT_OF_RANGE;
  }
  Entry(handle).flags |= kEntryTarget;
  ++targetCount;
  return QVR_OKAY;
}

int QVR_network::UnsetTarget(int handle) {
  if (IsTarget(handle) != 1) {
    return QVR_OUT_OF_RANGE;
  }
  Entry(handle).flags &= ~static_cast<unsigned>(kEntryTarget);
  --targetCount;
  return QVR_OKAY;
}

int QVR_network::IsTarget(int handle) const {
  if (!IsValidHandle(handle)) {
    return QVR_OUT_OF_RANGE;
  }
  return (Entry(handle).flags & kEntryTarget) != 0 ? 1 : 0;
}

void QVR_network::ClearAllTargets() {
  ClearEntryBits(kEntryTarget);
  targetCount = 0;
}

}  // namespace qvr
