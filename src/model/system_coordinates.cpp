#include "model/system_coordinates.h"

#include <cstdint>

#include "definitions/node_definition.h"
#include "model/status.h"
#include "values/node_value.h"

namespace qvr {

QVR_sysCoordinates::QVR_sysCoordinates(QVR_Dmatrix& newMatrix) {
  LinkTo(newMatrix);
  SetReady(true);
}

QVR_sysCoordinates::QVR_sysCoordinates(QVR_nodeValue& value) {
  QVR_Dmatrix* own = nullptr;
  if (value.GetValueMatrix(own) >= 0 && own != nullptr) {
    LinkTo(*own);
  }
  SetReady(true);
}

void QVR_sysCoordinates::Unlink() {
  matrix = nullptr;
  coordinates.CleanUp();
  locked.CleanUp();
  currentPosition = 0;
}

int QVR_sysCoordinates::LinkTo(QVR_Dmatrix& newMatrix) {
  const int count = newMatrix.GetNumDimensions();
  if (coordinates.SetSize(count) < 0 || locked.SetSize(count) < 0) {
    Unlink();
    return QVR_OUT_OF_MEMORY;
  }
  matrix = &newMatrix;
  UnlockAll();
  GoFirst();
  return QVR_OKAY;
}

int QVR_sysCoordinates::LinkTo(QVR_nodeDefinition& definition) {
  QVR_Dmatrix* own = nullptr;
  const int status = definition.GetMatrix(own);
  if (status >= 0 && own != nullptr) {
    return LinkTo(*own);
  }
  Unlink();
  return status < 0 ? status : QVR_WRONG_NODE_TYPE;
}

void QVR_sysCoordinates::ZeroUnlocked(int from) {
  for (int i = from; i < coordinates.GetSize(); ++i) {
    if (locked[i] == 0) {
      coordinates[i] = 0;
    }
  }
}

// Callers may have written any numbers into the coordinates, so the sum is formed where it can wrap.
bool QVR_sysCoordinates::TakePosition() {
  if (matrix == nullptr) {
    return false;
  }
  std::uint64_t index = 0;
  for (int i = 0; i < coordinates.GetSize(); ++i) {
    index += static_cast<std::uint64_t>(coordinates[i]) * static_cast<std::uint64_t>(matrix->GetStride(i));
  }
  if (index >= static_cast<std::uint64_t>(matrix->GetNumElements())) {
    return false;
  }
  currentPosition = static_cast<int>(index);
  return true;
}

void QVR_sysCoordinates::GoFirst() {
  ZeroUnlocked(0);
  if (!TakePosition()) {
    currentPosition = 0;
  }
}

int QVR_sysCoordinates::GoTo(int index) {
  if (matrix == nullptr || matrix->IndexToCoordinates(index, coordinates) < 0) {
    GoFirst();
    return QVR_OUT_OF_RANGE;
  }
  currentPosition = index;
  return QVR_OKAY;
}

int QVR_sysCoordinates::GoToCurrentPosition() {
  if (TakePosition()) {
    return QVR_OKAY;
  }
  currentPosition = 0;
  ZeroUnlocked(0);
  return QVR_OUT_OF_RANGE;
}

int QVR_sysCoordinates::Next() {
  if (matrix == nullptr) {
    return QVR_OUT_OF_RANGE;
  }
  int i = coordinates.GetSize() - 1;
  while (i >= 0 && (locked[i] != 0 || coordinates[i] >= matrix->GetDimension(i) - 1)) {
    --i;
  }
  if (i < 0) {
    return QVR_OUT_OF_RANGE;
  }
  ++coordinates[i];
  ZeroUnlocked(i + 1);
  if (!TakePosition()) {
    currentPosition = 0;
  }
  return QVR_OKAY;
}

double& QVR_sysCoordinates::CurrentValue() const {
  if (matrix == nullptr || currentPosition >= matrix->GetNumElements()) {
    static thread_local double noCell;
    noCell = 0.0;
    return noCell;
  }
  return matrix->Subscript(currentPosition);
}

}  // namespace qvr
