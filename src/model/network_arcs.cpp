#include "model/network.h"

#include "model/dynamic_extension.h"
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
  return layer == kCostLayer ? AddCostArc(parent, child) : AddArcs({&parent, 1}, child);
}

int QVR_network::AddArcs(std::span<const int> parents, int child) {
  int linked = 0;
  int status = LinkNodes(parents, child, linked);
  int taken = 0;
  if (linked > 0) {
    const std::span<const int> added = parents.first(static_cast<std::size_t>(linked));
    if (Entry(child).node->definition->TakeParents(added, taken) < 0) {
      status = GetErrorLog().Log(QVR_WRONG_NODE_TYPE, "Arc rejected by child node");
    }
  }
  if (dynamicExtension && taken > 0) {
    const int result = AddTemporalDimensions(parents.first(static_cast<std::size_t>(taken)), child, taken);
    status = result < 0 ? result : status;
  }
  for (; linked > taken; --linked) {
    DropLast(Entry(parents[static_cast<std::size_t>(linked) - 1]).children);
    DropLast(Entry(child).parents);
  }
  if (taken > 0 && (relevanceMask & kRelevanceArcAdded) != 0 && TracksChanges()) {
    InvalidateFrom(child);
    UpdateIfImmediate();
  }
  return status;
}

// The order tables of the child take the parents, up to the first that they can't; from there on the child's
// own definition doesn't either.
int QVR_network::AddTemporalDimensions(std::span<const int> parents, int child, int& added) {
  added = 0;
  int status = QVR_OKAY;
  for (const int parent : parents) {
    status = dynamicExtension->OrdinaryArcAdded(parent, child);
    if (status < 0) {
      break;
    }
    ++added;
  }
  for (std::size_t i = parents.size(); i > static_cast<std::size_t>(added); --i) {
    Entry(child).node->definition->RemoveParent(parents[i - 1]);
    DetachArc(parents[i - 1], child);
  }
  return status;
}

// Lists the arcs up to the first that can't be.
int QVR_network::LinkNodes(std::span<const int> parents, int child, int& linked) {
  for (const int parent : parents) {
    if (int status = TestArc(parent, child); status < 0) {
      return status;
    }
    if (int status = Entry(parent).children.Add(child); status < 0) {
      return status;
    }
    if (int status = Entry(child).parents.Add(parent); status < 0) {
      DropLast(Entry(parent).children);
      return status;
    }
    ++linked;
  }
  return QVR_OKAY;
}

int QVR_network::TestArc(int parent, int child) {
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
  return Entry(parent).node->definition && Entry(child).node->definition
             ? QVR_OKAY
             : GetErrorLog().Log(QVR_WRONG_NODE_TYPE, "Arc rejected by child node");
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
    if (dynamicExtension) {
      dynamicExtension->OrdinaryArcRemoved(parent, child);
    }
    Entry(parent).children.DeleteValue(child);
    Entry(child).parents.DeleteValue(parent);
  }
}

}  // namespace qvr
