#include "values/expected_utility.h"

#include <array>

#include "definitions/utility_scale.h"

namespace qvr {

QVR_expectedUtility::QVR_expectedUtility(QVR_network* newNetwork, int newHandle)
    : QVR_nodeValue(newNetwork, newHandle) {
  SetReady(QVR_expectedUtility::Reinitialize() >= 0);
}

void QVR_expectedUtility::CleanUp(int deep) {
  QVR_nodeValue::CleanUp(deep);
  if (deep != 0) {
    table.CleanUp();
  }
}

int QVR_expectedUtility::Reinitialize() {
  QVR_expectedUtility::CleanUp(1);
  const int status = table.SetDimensions(std::array{1});
  CheckReady(1);
  return status;
}

int QVR_expectedUtility::Assign(QVR_nodeValue& other) { return AdoptValue(other); }

int QVR_expectedUtility::AdoptValue(QVR_nodeValue& other) {
  if (&other == this) {
    return QVR_OKAY;
  }
  if (int status = QVR_nodeValue::Assign(other); status < 0) {
    return status;
  }
  ClearFlags(kValueAnyEvidence | kValueVirtualEvidence);
  QVR_Dmatrix* source = other.GetValueType() == GetValueType() ? other.GetMatrix() : nullptr;
  if (source == nullptr || table.Copy(*source) < 0) {
    Reinitialize();
  }
  CheckReady(1);
  CheckConsistency(1);
  return QVR_OKAY;
}

int QVR_expectedUtility::GetValueMatrix(QVR_Dmatrix*& out) {
  out = &table;
  return QVR_OKAY;
}

int QVR_expectedUtility::SetValueMatrix(const QVR_Dmatrix& matrix) { return table.Copy(matrix); }

double QVR_expectedUtility::GetMaximumValue() const { return RangeOf(table.GetItems().Vector()).maximum; }

double QVR_expectedUtility::GetMinimumValue() const { return RangeOf(table.GetItems().Vector()).minimum; }

int QVR_expectedUtility::RescaleValues(double fromLow, double fromHigh, double toLow, double toHigh) {
  RescaleCells(table.GetItems().Vector(), fromLow, fromHigh, toLow, toHigh, ScaleOrder::FactorFirst);
  return QVR_OKAY;
}

}  // namespace qvr
