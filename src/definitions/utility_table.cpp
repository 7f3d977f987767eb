#include "definitions/utility_table.h"

#include <array>
#include <cmath>

#include "definitions/utility_scale.h"
#include "model/network.h"

namespace qvr {

QVR_table::QVR_table(QVR_network* newNetwork, int newHandle) : TabularDefinition(newNetwork, newHandle) {
  if (QVR_table::ResetTable() >= 0) {
    AddPresentParents();
  }
}

void QVR_table::CleanUp(int deep) {
  if (deep != 0) {
    table.CleanUp();
  }
  QVR_nodeDefinition::CleanUp(deep);
}

int QVR_table::ResetTable() {
  if (int status = table.SetDimensions(std::array{1}); status < 0) {
    return status;
  }
  table.Fill(0.0);  // a shape that stays keeps its numbers
  QVR_nodeDefinition::CheckReady(1);
  return QVR_OKAY;
}

int QVR_table::RebuildFromNetwork() {
  if (int status = ResetTable(); status < 0) {
    return status;
  }
  AddAllParents();
  return QVR_OKAY;
}

int QVR_table::AdoptFrom(QVR_nodeDefinition& other) {
  return Adopt(other, [&] {
    CleanUp(1);
    QVR_nodeDefinition::AdoptFrom(other);
    RebuildFromNetwork();
    return AdoptContent(other);
  });
}

int QVR_table::AdoptContent(QVR_nodeDefinition& other) {
  switch (other.GetType()) {
    case kTypeDChildHParent:
    case kTypeDistribution:
    case kTypeHEquation:
      return QVR_OUT_OF_RANGE;
    default:
      AdoptData(other);
      return QVR_OKAY;
  }
}

// The numbers of any table with as many cells, whatever they stand for there.
void QVR_table::AdoptData(QVR_nodeDefinition& other) {
  QVR_doubleArray* cells = nullptr;
  if (other.GetDataArray(cells) >= 0 && cells->GetSize() == table.GetNumElements()) {
    table.GetItems().CopyPrefix(*cells);
  }
}

int QVR_table::ExpandInto(QVR_nodeDefinition& other) {
  auto* target = other.GetType() == GetType() ? dynamic_cast<QVR_table*>(&other) : nullptr;
  return target != nullptr && table.SameShape(target->table) != 0 ? target->table.Copy(table) : QVR_OKAY;
}

int QVR_table::CheckParentInfluence(int parentIndex, double epsilon, int& isRelevant) {
  if (parentIndex < 0 || parentIndex >= table.GetNumDimensions() - 1) {
    return QVR_OUT_OF_RANGE;
  }
  const double range = GetMaximumUtility() - GetMinimumUtility();
  const auto isFar = [&](int first, int other) {  // a distance that is no number counts as far
    const double difference = std::abs(table.Subscript(other) - table.Subscript(first));
    return difference != 0 && !(difference / range <= epsilon);
  };
  isRelevant = AnyRowDiffers(table, parentIndex, isFar) ? 1 : 0;
  return QVR_OKAY;
}

int QVR_table::RescaleUtilities(double fromLow, double fromHigh, double toLow, double toHigh) {
  if (!IsReady()) {
    return QVR_OBJECT_NOT_READY;
  }
  const bool changed =
      RescaleCells(table.GetItems().Vector(), fromLow, fromHigh, toLow, toHigh, ScaleOrder::MultiplyFirst);
  return changed ? NotifyChange(kNumbersChanged) : QVR_OKAY;
}

double QVR_table::GetMinimumUtility() const { return RangeOf(table.GetItems().Vector()).minimum; }

double QVR_table::GetMaximumUtility() const { return RangeOf(table.GetItems().Vector()).maximum; }

}  // namespace qvr
