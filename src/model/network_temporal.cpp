#include "model/network.h"

namespace qvr {

namespace {

// The arcs of a temporal network run from the normal part and the anchors into the plate, and from there
// into the terminal nodes, never back.
bool AllowsParent(int type, int parentType) {
  switch (type) {
    case kDynamicNormal:
    case kDynamicAnchor:
      return parentType != kDynamicPlate && parentType != kDynamicTerminal;
    case kDynamicPlate:
      return parentType != kDynamicTerminal;
    default:
      return true;
  }
}

}  // namespace

int QVR_network::GetDynamicType(int handle) const {
  return IsValidHandle(handle) ? Entry(handle).dynamicType : QVR_OUT_OF_RANGE;
}

bool QVR_network::AllowsDynamicArc(int parent, int child) const {
  return AllowsParent(Entry(child).dynamicType, Entry(parent).dynamicType);
}

int QVR_network::SetDynamicType(int handle, int type) {
  if (!IsValidHandle(handle)) {
    return QVR_OUT_OF_RANGE;
  }
  QVR_nodeEntry& entry = Entry(handle);
  if (entry.dynamicType == type) {
    return QVR_OKAY;
  }
  if (type < kDynamicNormal || type > kDynamicPlate) {
    return QVR_WRONG_SIZE;
  }
  for (int parent : entry.parents) {
    if (!AllowsParent(type, Entry(parent).dynamicType)) {
      return QVR_OUT_OF_RANGE;
    }
  }
  for (int child : entry.children) {
    if (!AllowsParent(Entry(child).dynamicType, type)) {
      return QVR_OUT_OF_RANGE;
    }
  }
  const int oldType = entry.dynamicType;
  entry.dynamicType = type;
  cases.DynamicTypeChanged(handle, oldType);
  return QVR_OKAY;
}

}  // namespace qvr
