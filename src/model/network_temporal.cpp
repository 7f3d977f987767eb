// Where nodes stand relative to the plate.
#include <array>
#include <new>

#include "model/dynamic_extension.h"
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

int QVR_network::TestDynamicType(int handle, int type) const {
  const QVR_nodeEntry& entry = Entry(handle);
  if (dynamicExtension &&
      (!dynamicExtension->GetTemporalOrders(handle).empty() || dynamicExtension->IsTemporalParent(handle))) {
    return QVR_OUT_OF_RANGE;
  }
  if (type < kDynamicNormal || type > kDynamicPlate) {
    return QVR_WRONG_SIZE;
  }
  for (const int parent : entry.parents) {
    if (!AllowsParent(type, Entry(parent).dynamicType)) {
      return QVR_OUT_OF_RANGE;
    }
  }
  for (const int child : entry.children) {
    if (!AllowsParent(Entry(child).dynamicType, type)) {
      return QVR_OUT_OF_RANGE;
    }
  }
  return QVR_OKAY;
}

int QVR_network::SetDynamicType(int handle, int type) {
  if (!IsValidHandle(handle)) {
    return QVR_OUT_OF_RANGE;
  }
  QVR_nodeEntry& entry = Entry(handle);
  const int oldType = entry.dynamicType;
  if (oldType == type) {
    return QVR_OKAY;
  }
  if (const int status = TestDynamicType(handle, type); status < 0) {
    return status;
  }
  if (UseDynamicExtension() == nullptr) {
    return QVR_OUT_OF_MEMORY;
  }
  if ((oldType == kDynamicAnchor) != (type == kDynamicAnchor)) {
    if (const int status = dynamicExtension->AnchorChanging(handle, type == kDynamicAnchor); status < 0) {
      return status;
    }
  }
  dynamicExtension->ForgetEvidence(handle);
  if (oldType == kDynamicPlate) {
    FlattenValue(handle);
  }
  plateCount += (type == kDynamicPlate ? 1 : 0) - (oldType == kDynamicPlate ? 1 : 0);
  entry.dynamicType = type;
  cases.DynamicTypeChanged(handle, oldType);
  TemporalPartChanged(kDefinitionReplaced);
  return QVR_OKAY;
}

// Outside the plate a value has no slices.
void QVR_network::FlattenValue(int handle) {
  QVR_node& node = *Entry(handle).node;
  const QVR_Dmatrix* matrix = node.value ? node.value->GetMatrix() : nullptr;
  const int count = node.GetNumberOfOutcomes();
  if (matrix == nullptr || count < 1 || matrix->HasShape(std::array{count})) {
    return;
  }
  node.value->ShapeAsVector(count);
  if (const int outcome = node.value->HasEvidence() ? node.value->GetEvidence() : -1; outcome >= 0) {
    node.value->GetMatrix()->Subscript(outcome) = 1.0;
  }
}

QVR_dynamicExtension* QVR_network::UseDynamicExtension() {
  if (!dynamicExtension) {
    try {
      dynamicExtension = std::make_unique<QVR_dynamicExtension>(*this);
    } catch (const std::bad_alloc&) {
      return nullptr;
    }
  }
  return dynamicExtension.get();
}

bool QVR_network::IsTemporalParent(int handle) const {
  return dynamicExtension && dynamicExtension->IsTemporalParent(handle);
}

void QVR_network::TemporalPartChanged(unsigned change) {
  if (!TracksChanges() || (relevanceMask & change) == 0) {
    return;
  }
  if (valuesInUse) {
    DeduceAgain();
    InvalidateAll();
  }
  UpdateIfImmediate();
}

void QVR_network::BelongTo(QVR_dynamicExtension& newOwner) {
  tablesOf = &newOwner;
  updateFlags = 0;
  loadFlags = kLoadVouchesForGraph | kLoadAcceptsDuplicateIds;
}

int QVR_network::MoveLastParent(int child, int place) {
  QVR_intArray& list = Entry(child).parents;
  const int last = list.GetNumItems() - 1;
  if (place == last) {
    return QVR_OKAY;
  }
  QVR_intArray order;
  for (int i = 0; i <= last; ++i) {
    order.Add(i == place ? last : i - (i > place ? 1 : 0));
  }
  if (order.GetNumItems() <= last) {
    return QVR_OUT_OF_MEMORY;
  }
  if (const int status = Entry(child).node->definition->ReorderParents(order); status < 0) {
    return status;
  }
  return list.Permute(order);
}

}  // namespace qvr
