#include "model/network.h"

#include "model/error_log.h"

namespace qvr {

namespace {

const QVR_intArray& EmptyList() {
  static const QVR_intArray empty;
  return empty;
}

void DropLast(QVR_intArray& list) { list.Delete(list.GetNumItems() - 1); }

}  // namespace

const QVR_intArray& QVR_network::GetParents(int handle, int layer) const {
  if (handle < 0 || handle >= GetTableSize()) {
    return EmptyList();
  }
  return layer == kCostLayer ? Entry(handle).costParents : Entry(handle).parents;
}

const QVR_intArray& QVR_network::GetChildren(int handle, int layer) const {
  if (handle < 0 || handle >= GetTableSize()) {
    return EmptyList();
  }
  return layer == kCostLayer ? Entry(handle).costChildren : Entry(handle).children;
}

int QVR_network::GetNumberOfParents(int handle, int layer) const {
  return IsValidHandle(handle) ? GetParents(handle, layer).GetNumItems() : QVR_OUT_OF_RANGE;
}

int QVR_network::GetNumberOfChildren(int handle, int layer) const {
  return IsValidHandle(handle) ? GetChildren(handle, layer).GetNumItems() : QVR_OUT_OF_RANGE;
}

void QVR_network::GetDiscreteParents(int handle, int layer, QVR_intArray& out) const {
  FilterByType(GetParents(handle, layer), kTypeBitDiscrete, out);
}

// Looks into the shorter of the two lists that know of the arc, so that hubs cost nothing.
bool QVR_network::HasArc(int parent, int child, int layer) const {
  const QVR_intArray& children = GetChildren(parent, layer);
  const QVR_intArray& parents = GetParents(child, layer);
  return (children.GetNumItems() < parents.GetNumItems() ? children.Contains(child)
                                                         : parents.Contains(parent)) != 0;
}

int QVR_network::AddArc(int parent, int child, int layer) {
  if (layer == kCostLayer) {
    return AddCostArc(parent, child);
  }
  if (!IsValidHandle(parent) || !IsValidHandle(child) || parent == child ||
      HasArc(parent, child, kOrdinaryLayer) || HasArc(child, parent, kOrdinaryLayer)) {
    return QVR_OUT_OF_RANGE;
  }
  if ((loadFlags & kLoadVouchesForGraph) == 0 && !WouldStayAcyclic(parent, child)) {
    return QVR_CYCLE;
  }
  if (!AllowsDynamicArc(parent, child)) {
    return QVR_WRONG_NODE_TYPE;
  }
  if (int status = LinkNodes(parent, child); status < 0) {
    return status;
  }
  if ((relevanceMask & kRelevanceArcAdded) != 0 && TracksChanges()) {
    InvalidateFrom(child);
    UpdateIfImmediate();
  }
  return QVR_OKAY;
}

int QVR_network::LinkNodes(int parent, int child) {
  QVR_nodeDefinition* definition = Entry(child).node->definition.get();
  if (!Entry(parent).node->definition || definition == nullptr) {
    return GetErrorLog().Log(QVR_WRONG_NODE_TYPE, "Arc rejected by child node");
  }
  if (int status = Entry(parent).children.Add(child); status < 0) {
    return status;
  }
  if (int status = Entry(child).parents.Add(parent); status < 0) {
    DropLast(Entry(parent).children);
    return status;
  }
  if (definition->AddParent(parent) < 0) {
    DropLast(Entry(parent).children);
    DropLast(Entry(child).parents);
    return GetErrorLog().Log(QVR_WRONG_NODE_TYPE, "Arc rejected by child node");
  }
  return QVR_OKAY;
}

int QVR_network::RemoveArc(int parent, int child, int layer) {
  if (layer == kCostLayer) {
    return RemoveCostArc(parent, child);
  }
  if (!IsValidHandle(parent) || !IsValidHandle(child) || parent == child ||
      !HasArc(parent, child, kOrdinaryLayer)) {
    return QVR_OUT_OF_RANGE;
  }
  QVR_nodeDefinition* definition = Entry(child).node->definition.get();
  // Finds the dimension while the parent is still listed.
  const int status = definition != nullptr ? definition->RemoveParent(parent) : QVR_OKAY;
  DetachArc(parent, child);
  if (status == QVR_OUT_OF_MEMORY) {
    definition->RebuildFromNetwork();  // its table couldn't follow
  }
  if ((relevanceMask & kRelevanceArcRemoved) != 0 && TracksChanges()) {
    InvalidateAfterArcRemoval(parent, child);
    UpdateIfImmediate();
  }
  return QVR_OKAY;
}

void QVR_network::DetachArc(int parent, int child) {
  if (IsValidHandle(parent) && IsValidHandle(child)) {
    Entry(parent).children.DeleteValue(child);
    Entry(child).parents.DeleteValue(parent);
  }
}

}  // namespace qvr
