#include "model/node_cost.h"

#include <algorithm>
#include <cstdint>

#include "definitions/node_definition.h"
#include "model/error_log.h"
#include "model/network.h"
#include "model/status.h"

namespace qvr {

namespace {

constexpr int kOneCell[] = {1};

}  // namespace

QVR_nodeCost::QVR_nodeCost(QVR_network* newNetwork, int newHandle) : network(newNetwork), handle(newHandle) {
  costs.SetDimensions(kOneCell);
  SetReady(network != nullptr);
}

QVR_nodeCost::QVR_nodeCost(const QVR_nodeCost& other)
    : QVR_object(other), network(other.network), handle(other.handle), costs(other.costs) {
  dimensionIds.Copy(other.dimensionIds);
}

void QVR_nodeCost::CleanUp(int deep) {
  Clear();
  QVR_object::CleanUp(deep);
  QVR_nodeCost::CheckReady(deep);
}

void QVR_nodeCost::CheckReady(int /*deep*/) { SetReady(network != nullptr); }

void QVR_nodeCost::Clear() {
  dimensionIds.CleanUp();
  costs.SetDimensions(kOneCell);
}

int QVR_nodeCost::ChangeHook(int /*code*/) { return QVR_OKAY; }

int QVR_nodeCost::ForwardChange(int code) {
  if (code == kForwardedChange && network != nullptr) {
    network->NotifyChange(handle, code);
  }
  return QVR_OKAY;
}

void QVR_nodeCost::SetOwner(QVR_network* newNetwork, int newHandle) {
  network = newNetwork;
  handle = newHandle;
  SetReady(network != nullptr);
}

int QVR_nodeCost::TypeOf(int parentHandle) const {
  const QVR_node* parent = network->NodeAt(parentHandle);
  return parent != nullptr ? parent->GetType() : kTypeNone;
}

int QVR_nodeCost::FindFreePlace(int parentHandle) const {
  // The dimensions stand in the order of the list, in which a parent that was refused has none.
  int place = 0;
  for (int parent : network->GetParents(handle, kCostLayer)) {
    if (place < dimensionIds.GetNumItems() && dimensionIds[place] == parent) {
      ++place;
    } else if (parent == parentHandle) {
      return place;
    }
  }
  return QVR_OUT_OF_RANGE;
}

int QVR_nodeCost::AddCostParent(int parentHandle) {
  if (!IsReady()) {
    return QVR_OBJECT_NOT_READY;
  }
  const int place = FindFreePlace(parentHandle);
  if (place < 0 || !QVR_nodeDefinition::IsDiscreteParentType(TypeOf(parentHandle))) {
    return QVR_OUT_OF_RANGE;
  }
  const int count = network->NodeAt(parentHandle)->GetNumberOfOutcomes();
  if (count < 1) {
    return QVR_OKAY;
  }
  if (int status = dimensionIds.Insert(place, parentHandle); status < 0) {
    return status;
  }
  const int status = costs.InsertDimension(place, count);
  if (status < 0) {
    dimensionIds.Delete(place);
  }
  return status;
}

int QVR_nodeCost::RemoveCostParent(int parentHandle) {
  if (!IsReady()) {
    return QVR_OBJECT_NOT_READY;
  }
  const int dimension = dimensionIds.Find(parentHandle);
  if (dimension < 0) {
    return StatusWithoutDimension(parentHandle);
  }
  const int status = costs.RemoveDimension(dimension);
  if (status >= 0) {
    dimensionIds.Delete(dimension);
  }
  return status;
}

int QVR_nodeCost::StatusWithoutDimension(int parentHandle) const {
  return TypeOf(parentHandle) == kTypeTable ? QVR_OUT_OF_RANGE : QVR_OKAY;
}

int QVR_nodeCost::ReorderParentOutcomes(int parentHandle, const QVR_intArray& order) {
  return ChangeDimensions(parentHandle, [&order](QVR_Dmatrix& table, int dimension) {
    return table.PermuteItems(dimension, order);
  });
}

int QVR_nodeCost::ParentOutcomeAdded(int parentHandle, int position) {
  return ChangeDimensions(parentHandle, [position](QVR_Dmatrix& table, int dimension) {
    if (position < 0 || position > table.GetDimension(dimension)) {
      return QVR_OUT_OF_RANGE;
    }
    const int status = table.AddItem(dimension);
    return status < 0 ? status : table.ShiftItemsUp(dimension, position, 0.0);
  });
}

int QVR_nodeCost::ParentOutcomeRemoved(int parentHandle, int position) {
  return ChangeDimensions(parentHandle, [position](QVR_Dmatrix& table, int dimension) {
    if (position < 0 || position >= table.GetDimension(dimension)) {
      return QVR_OUT_OF_RANGE;
    }
    const int status = table.ShiftItemsDown(dimension, position);
    return status < 0 ? status : table.RemoveLastItem(dimension);
  });
}

int QVR_nodeCost::ChangeDimensions(int parentHandle, const std::function<int(QVR_Dmatrix&, int)>& change) {
  if (!IsReady()) {
    return QVR_OBJECT_NOT_READY;
  }
  if (dimensionIds.Contains(parentHandle) == 0) {
    return StatusWithoutDimension(parentHandle);
  }
  QVR_Dmatrix table;
  int status = table.Copy(costs);
  for (int i = 0; i < dimensionIds.GetNumItems() && status >= 0; ++i) {
    if (dimensionIds[i] == parentHandle) {
      status = change(table, i);
    }
  }
  if (status >= 0) {
    costs.Swap(table);
  }
  return status;
}

int QVR_nodeCost::TestParentGrowth(int parentHandle) const {
  std::int64_t cells = 1;
  for (int i = 0; i < dimensionIds.GetNumItems(); ++i) {
    cells *= costs.GetDimension(i) + (dimensionIds[i] == parentHandle ? 1 : 0);
    if (cells > QVR_Dmatrix::kMaxElements) {
      return QVR_OUT_OF_MEMORY;
    }
  }
  return QVR_OKAY;
}

int QVR_nodeCost::SetCosts(const QVR_doubleArray& newCosts) {
  if (!IsReady()) {
    return QVR_OBJECT_NOT_READY;
  }
  if (newCosts.Length() != costs.GetNumElements()) {
    return QVR_OUT_OF_RANGE;
  }
  const auto numbers = newCosts.View();
  std::copy(numbers.begin(), numbers.end(), costs.GetItems().Vector().begin());
  return QVR_OKAY;
}

int QVR_nodeCost::Rebuild() {
  Clear();
  if (network == nullptr) {
    return QVR_OKAY;
  }
  for (int parent : network->GetParents(handle, kCostLayer)) {
    GetErrorLog().Log(AddCostParent(parent), "Parent could not be added");
  }
  return QVR_OKAY;
}

}  // namespace qvr
