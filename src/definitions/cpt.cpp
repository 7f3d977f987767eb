#include "definitions/cpt.h"

#include <algorithm>
#include <array>
#include <vector>

#include "model/network.h"

namespace qvr {

namespace {

// What the sum of a row may be: numbers come from files, rounded.
constexpr double kLowestRowSum = 0.999995;
constexpr double kHighestRowSum = 1.000005;

constexpr int kLeastOutcomes = 2;

bool IsDistribution(std::span<const double> row) {
  double sum = 0;
  for (double probability : row) {
    if (probability < 0) {
      return false;
    }
    sum += probability;
  }
  return sum >= kLowestRowSum && sum <= kHighestRowSum;
}

}  // namespace

QVR_cpt::QVR_cpt(QVR_network* newNetwork, int newHandle) : QVR_nodeDefinition(newNetwork, newHandle) {
  if (QVR_cpt::ResetTable() < 0) {
    SetReady(false);
    return;
  }
  if (network == nullptr) {
    return;
  }
  // Nobody may lose an arc to a definition that isn't in place yet: what is refused here is sorted out by
  // whoever puts it there.
  for (int parent : network->GetParents(handle)) {
    if (QVR_cpt::AddParent(parent) < 0) {
      return;
    }
  }
}

void QVR_cpt::CleanUp(int deep) {
  if (deep != 0) {
    outcomeNames.CleanUp(deep);
    table.CleanUp();
  }
  numOutcomes = 0;
  QVR_cpt::CheckReady(0);
}

void QVR_cpt::CheckReady(int deep) {
  if (deep != 0) {
    outcomeNames.CheckReady(deep);
  }
  SetReady(outcomeNames.IsReady() && numOutcomes == outcomeNames.GetNumItems());
}

void QVR_cpt::CheckConsistency(int deep) {
  if (deep != 0) {
    outcomeNames.CheckConsistency(deep);
  }
  const std::span<const double> cells = static_cast<const QVR_Dmatrix&>(table).GetItems().Vector();
  const std::size_t length = static_cast<std::size_t>(std::max(1, numOutcomes));
  bool consistent = outcomeNames.IsConsistent() && cells.size() % length == 0;
  for (std::size_t start = 0; start < cells.size() && consistent; start += length) {
    consistent = IsDistribution(cells.subspan(start, length));
  }
  SetConsistent(consistent);
}

int QVR_cpt::GetType() const { return kTypeCpt; }

const char* QVR_cpt::GetTypeName() const { return "CPT"; }

int QVR_cpt::GetSize() const { return table.GetNumElements(); }

int QVR_cpt::GetNumberOfOutcomes() const { return numOutcomes; }

QVR_stringArray* QVR_cpt::GetOutcomeNames() { return &outcomeNames; }

int QVR_cpt::GetMatrix(QVR_Dmatrix*& out) {
  out = &table;
  return QVR_OKAY;
}

int QVR_cpt::GetDataArray(QVR_doubleArray*& out) {
  out = &table.GetItems();
  return QVR_OKAY;
}

int QVR_cpt::ResetTable() {
  SetReady(false);
  for (int count = outcomeNames.GetNumItems(); count < kLeastOutcomes; ++count) {
    if (int status = outcomeNames.AddUniqueId("State", count); status < 0) {
      return status;
    }
  }
  numOutcomes = outcomeNames.GetNumItems();
  if (int status = table.SetDimensions(std::array{numOutcomes}); status < 0) {
    return status;
  }
  table.Fill(1.0 / numOutcomes);
  QVR_cpt::CheckReady(1);
  return QVR_OKAY;
}

int QVR_cpt::RebuildFromNetwork() {
  if (int status = ResetTable(); status < 0) {
    return status;
  }
  AddAllParents();
  return QVR_OKAY;
}

int QVR_cpt::DimensionOf(int parentHandle) const {
  const int position = ParentPosition(parentHandle);
  // With fewer dimensions than parents, the place in the list says nothing.
  return position >= 0 && network->GetNumberOfParents(handle) + 1 == table.GetNumDimensions()
             ? position
             : QVR_OUT_OF_RANGE;
}

int QVR_cpt::GetParentDimension(int parentHandle) const {
  const int dimension = DimensionOf(parentHandle);
  return dimension < 0 ? dimension : table.GetDimension(dimension);
}

int QVR_cpt::StatusWithoutDimension(int parentHandle) {
  const QVR_node* parent = ParentNode(parentHandle);
  if (parent == nullptr || parent->GetType() == kTypeTable) {
    return QVR_OUT_OF_RANGE;
  }
  CheckReady(0);
  return QVR_OKAY;
}

int QVR_cpt::AddParent(int parentHandle) {
  if (!IsReady()) {
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
  table.Normalize();
  CheckReady(0);
  return QVR_OKAY;
}

int QVR_cpt::RemoveParent(int parentHandle) {
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

int QVR_cpt::AddParentOutcome(int parentHandle, int position) {
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
  table.Normalize();
  return status;
}

int QVR_cpt::RemoveParentOutcome(int parentHandle, int position) {
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

int QVR_cpt::ReorderParentOutcomes(int parentHandle, const QVR_intArray& order) {
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

int QVR_cpt::ReorderParents(const QVR_intArray& order) {
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

int QVR_cpt::FinishAbsorption(int parentHandle) {
  DetachParent(parentHandle);
  CheckReady(0);
  return network->ParentAbsorbed(parentHandle, handle);
}

int QVR_cpt::AbsorbObservedParent(int parentHandle) {
  if (!IsReady()) {
    return QVR_OBJECT_NOT_READY;
  }
  const int dimension = DimensionOf(parentHandle);
  const QVR_node* parent = ParentNode(parentHandle);
  if (dimension < 0 || !parent->value || !parent->value->HasEvidence()) {
    return QVR_OUT_OF_RANGE;
  }
  if (int status = table.Reduce(dimension, parent->value->GetEvidence()); status < 0) {
    return status;
  }
  return FinishAbsorption(parentHandle);
}

int QVR_cpt::AbsorbRootParent(int parentHandle) {
  if (!IsReady()) {
    return QVR_OBJECT_NOT_READY;
  }
  const int dimension = DimensionOf(parentHandle);
  const QVR_node* parent = ParentNode(parentHandle);
  if (dimension < 0 || parent->GetType() == kTypeList || network->GetNumberOfParents(parentHandle) > 0 ||
      (parent->value && parent->value->HasEvidence())) {
    return QVR_OUT_OF_RANGE;
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

int QVR_cpt::NumbersReplaced() {
  CheckReady(1);
  CheckConsistency(1);
  return NotifyChange(kNumbersChanged);
}

int QVR_cpt::MakeUniform() {
  if (!IsReady()) {
    return QVR_OBJECT_NOT_READY;
  }
  table.Fill(1.0 / numOutcomes);
  return NumbersReplaced();
}

int QVR_cpt::SetMatrix(const QVR_Dmatrix& matrix) {
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

int QVR_cpt::SetValues(const QVR_doubleArray& array) {
  if (!IsReady()) {
    return QVR_OBJECT_NOT_READY;
  }
  const std::span<const double> cells = array.View();
  const std::span<double> own = table.GetItems().Vector();
  std::copy_n(cells.begin(), std::min(cells.size(), own.size()), own.begin());
  return NumbersReplaced();
}

int QVR_cpt::SetProbabilities(const QVR_doubleArray& array) {
  if (!IsReady()) {
    return QVR_OBJECT_NOT_READY;
  }
  return array.Length() == table.GetNumElements() ? SetValues(array) : QVR_OUT_OF_RANGE;
}

int QVR_cpt::ExpandInto(QVR_nodeDefinition& other) {
  auto* target = other.GetType() == GetType() ? dynamic_cast<QVR_cpt*>(&other) : nullptr;
  if (target == nullptr || table.SameShape(target->table) == 0) {
    return QVR_OKAY;
  }
  const int status = target->table.Copy(table);
  target->CheckConsistency(1);
  return status;
}

int QVR_cpt::TestParentGrowth(int parentHandle) const {
  const int dimension = DimensionOf(parentHandle);
  return dimension < 0 ? QVR_OKAY : TestTableGrowth(table, dimension, table.GetDimension(dimension) + 1);
}

}  // namespace qvr
