#include "definitions/tabular_definition.h"

#include <algorithm>

#include "model/dynamic_extension.h"
#include "model/network.h"

namespace qvr {

void TabularDefinition::AddPresentParents() {
  if (network == nullptr) {
    return;
  }
  for (int parent : network->GetParents(handle)) {
    if (TabularDefinition::AddParent(parent) < 0) {
      return;
    }
  }
}

int TabularDefinition::GetSize() const { return table.GetNumElements(); }

int TabularDefinition::GetMatrix(QVR_Dmatrix*& out) {
  out = &table;
  return QVR_OKAY;
}

int TabularDefinition::GetDataArray(QVR_doubleArray*& out) {
  out = &table.GetItems();
  return QVR_OKAY;
}

int TabularDefinition::DimensionOf(int parentHandle) const {
  const int position = ParentPosition(parentHandle);
  // With fewer dimensions than parents, the place in the list says nothing.
  return position >= 0 && network->GetNumberOfParents(handle) + 1 == table.GetNumDimensions()
             ? position
             : QVR_OUT_OF_RANGE;
}

int TabularDefinition::GetParentDimension(int parentHandle) const {
  const int dimension = DimensionOf(parentHandle);
  return dimension < 0 ? dimension : table.GetDimension(dimension);
}

int TabularDefinition::AddParent(int parentHandle) {
  if (!IsReady() || table.GetNumElements() == 0) {  // the table may have found no memory
    return QVR_OBJECT_NOT_READY;
  }
  const QVR_node* parent = ParentNode(parentHandle);
  if (parent == nullptr || !TakesParent(GetType(), parent->GetType())) {
    return QVR_OUT_OF_RANGE;
  }
  const int count = parent->GetNumberOfOutcomes();
  if (count < 1) {
    return QVR_OKAY;
  }
  if (int status = table.InsertDimension(ParentPosition(parentHandle), count); status < 0) {
    return status;
  }
  FillNewRows();
  CheckReady(0);
  return QVR_OKAY;
}

int TabularDefinition::RemoveParent(int parentHandle) {
  if (!IsReady()) {
    return QVR_OBJECT_NOT_READY;
  }
  const int dimension = DimensionOf(parentHandle);
  if (dimension < 0) {
    return StatusWithoutDimension(parentHandle);
  }
  if (int status = table.RemoveDimension(dimension); status < 0) {
    return status;
  }
  CheckReady(0);
  return QVR_OKAY;
}

int TabularDefinition::AddParentOutcome(int parentHandle, int position) {
  if (!IsReady()) {
    return QVR_OBJECT_NOT_READY;
  }
  const int dimension = DimensionOf(parentHandle);
  if (dimension < 0) {
    return StatusWithoutDimension(parentHandle);
  }
  if (position < 0 || position > table.GetDimension(dimension)) {
    return QVR_OUT_OF_RANGE;
  }
  if (int status = table.AddItem(dimension); status < 0) {
    return status;
  }
  const int status = table.ShiftItemsUp(dimension, position, 0.0);
  FillNewRows();
  return status;
}

int TabularDefinition::RemoveParentOutcome(int parentHandle, int position) {
  if (!IsReady()) {
    return QVR_OBJECT_NOT_READY;
  }
  const int dimension = DimensionOf(parentHandle);
  if (dimension < 0) {
    return StatusWithoutDimension(parentHandle);
  }
  if (position < 0 || position >= table.GetDimension(dimension) || table.GetDimension(dimension) < 2) {
    return QVR_OUT_OF_RANGE;
  }
  const int status = table.ShiftItemsDown(dimension, position);
  return status < 0 ? status : table.RemoveLastItem(dimension);
}

int TabularDefinition::ReorderParentOutcomes(int parentHandle, const QVR_intArray& order) {
  if (!IsReady()) {
    return QVR_OBJECT_NOT_READY;
  }
  const int dimension = DimensionOf(parentHandle);
  if (dimension < 0) {
    return StatusWithoutDimension(parentHandle);
  }
  const int status = table.PermuteItems(dimension, order);
  CheckReady(0);
  return status;
}

int TabularDefinition::ReorderParents(const QVR_intArray& order) {
  if (!IsReady()) {
    return QVR_OBJECT_NOT_READY;
  }
  const int parentCount = table.GetNumDimensions() - 1;
  if (order.Length() != parentCount) {
    return QVR_OUT_OF_RANGE;
  }
  QVR_intArray withOutcomes;
  for (int parent : order.View()) {
    withOutcomes.Add(parent);
  }
  withOutcomes.Add(parentCount);
  return table.PermuteDimensions(withOutcomes);
}

int TabularDefinition::AbsorbObservedParent(int parentHandle) {
  if (!IsReady()) {
    return QVR_OBJECT_NOT_READY;
  }
  const int dimension = DimensionOf(parentHandle);
  const QVR_node* parent = ParentNode(parentHandle);
  if (dimension < 0 || !parent->value || !parent->value->HasEvidence()) {
    return QVR_OUT_OF_RANGE;
  }
  if (network->GetDynamicExtension() != nullptr &&
      network->GetDynamicExtension()->StandsForSlices(parentHandle, handle)) {
    return QVR_WRONG_NODE_TYPE;
  }
  if (int status = table.Reduce(dimension, parent->value->GetEvidence()); status < 0) {
    return status;
  }
  return FinishAbsorption(parentHandle);
}

int TabularDefinition::AbsorbRootParent(int parentHandle) {
  if (!IsReady()) {
    return QVR_OBJECT_NOT_READY;
  }
  const int dimension = DimensionOf(parentHandle);
  const QVR_node* parent = ParentNode(parentHandle);
  if (dimension < 0 || parent->GetType() == kTypeList || network->GetNumberOfParents(parentHandle) > 0 ||
      (parent->value && parent->value->HasEvidence())) {
    return QVR_OUT_OF_RANGE;
  }
  if (network->GetDynamicExtension() != nullptr &&
      network->GetDynamicExtension()->StandsForSlices(parentHandle, handle)) {
    return QVR_WRONG_NODE_TYPE;
  }
  QVR_doubleArray* weights = nullptr;
  if (int status = parent->definition->GetDataArray(weights); status < 0) {
    return status;
  }
  if (int status = table.SumOutWeighted(dimension, *weights); status < 0) {
    return status;
  }
  return FinishAbsorption(parentHandle);
}

int TabularDefinition::SetMatrix(const QVR_Dmatrix& matrix) {
  if (!IsReady()) {
    return QVR_OBJECT_NOT_READY;
  }
  if (table.SameShape(matrix) == 0) {
    return QVR_OUT_OF_RANGE;
  }
  if (int status = table.Copy(matrix); status < 0) {
    return status;
  }
  return NumbersReplaced();
}

int TabularDefinition::SetValues(const QVR_doubleArray& array) {
  if (!IsReady()) {
    return QVR_OBJECT_NOT_READY;
  }
  const std::span<const double> cells = array.View();
  const std::span<double> own = table.GetItems().Vector();
  std::copy_n(cells.begin(), std::min(cells.size(), own.size()), own.begin());
  return NumbersReplaced();
}

int TabularDefinition::SetAllValues(const QVR_doubleArray& array) {
  if (!IsReady()) {
    return QVR_OBJECT_NOT_READY;
  }
  return array.Length() == table.GetNumElements() ? SetValues(array) : QVR_OUT_OF_RANGE;
}

int TabularDefinition::TestParentGrowth(int parentHandle) const {
  const int dimension = DimensionOf(parentHandle);
  return dimension < 0 ? QVR_OKAY : TestTableGrowth(table, dimension, table.GetDimension(dimension) + 1);
}

}  // namespace qvr
