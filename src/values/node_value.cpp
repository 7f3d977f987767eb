#include "values/node_value.h"

#include <algorithm>
#include <array>

#include "definitions/node_definition.h"
#include "model/network.h"

namespace qvr {

QVR_nodeValue::QVR_nodeValue(const QVR_nodeValue& other)
    : QVR_object(other), network(other.network), handle(other.handle), valueFlags(other.valueFlags) {
  indexingParents.Copy(other.indexingParents);
}

void QVR_nodeValue::CleanUp(int deep) {
  if (deep != 0) {
    indexingParents.CleanUp();
  }
  valueFlags = 0;
  CheckReady(0);
}

void QVR_nodeValue::RaiseFlags(int bits) {
  valueFlags |= bits;
  if (network != nullptr) {
    network->ValuesInUse();
  }
}

int QVR_nodeValue::Assign(QVR_nodeValue& other) {
  if (!other.IsReady()) {
    return QVR_OBJECT_NOT_READY;
  }
  if (&other == this) {
    return QVR_OKAY;
  }
  valueFlags = other.valueFlags;
  const int status = indexingParents.Copy(other.indexingParents);
  const QVR_node* own = network != nullptr ? network->NodeAt(handle) : nullptr;
  const bool stands = own != nullptr && own->value.get() == this;  // such a one stays where it is
  SetOwner(stands ? network : other.network, stands ? handle : other.handle);
  CheckReady(1);
  CheckConsistency(1);
  return status;
}

int QVR_nodeValue::AdoptValue(QVR_nodeValue& other) { return QVR_nodeValue::Assign(other); }

void QVR_nodeValue::SetOwner(QVR_network* newNetwork, int newHandle) {
  network = newNetwork;
  handle = newHandle;
  if (network != nullptr && (valueFlags != 0 || indexingParents.GetNumItems() > 0)) {
    network->ValuesInUse();
  }
}

int QVR_nodeValue::OutcomeCount() const {
  const QVR_node* node = network != nullptr ? network->NodeAt(handle) : nullptr;
  return node != nullptr ? std::max(0, node->GetNumberOfOutcomes()) : 0;
}

bool QVR_nodeValue::FitsOutcomes(QVR_nodeValue& other) const {
  const QVR_Dmatrix* matrix = other.GetMatrix();
  return matrix != nullptr && matrix->GetNumDimensions() > 0 &&
         matrix->GetDimension(matrix->GetNumDimensions() - 1) == OutcomeCount();
}

void QVR_nodeValue::AdoptEvidence(const QVR_nodeValue& other) {
  if (other.HasRealEvidence()) {
    SetEvidence(other.GetEvidence());
  } else if (other.HasEvidence()) {
    SetPropagatedEvidence(other.GetEvidence());
  }
}

QVR_Dmatrix* QVR_nodeValue::GetMatrix() {
  QVR_Dmatrix* matrix = nullptr;
  return GetValueMatrix(matrix) < 0 ? nullptr : matrix;
}

int QVR_nodeValue::AddIndexingParent(int parentHandle) {
  const QVR_node* parent = network != nullptr ? network->NodeAt(parentHandle) : nullptr;
  if (parent == nullptr) {
    return QVR_OUT_OF_RANGE;
  }
  const bool indexesParent = parent->value && parent->value->indexingParents.Contains(handle) != 0;
  const int count = parent->GetNumberOfOutcomes();
  if (indexingParents.Contains(parentHandle) != 0 || indexesParent ||
      !QVR_nodeDefinition::IsDiscreteParentType(parent->GetType()) || count < 1) {
    return QVR_OKAY;
  }
  QVR_Dmatrix* matrix = GetMatrix();
  if (matrix != nullptr && matrix->GetNumElements() == 0) {
    return QVR_OUT_OF_MEMORY;  // as when it was to be made
  }
  const int position = indexingParents.GetNumItems();
  if (int status = indexingParents.Add(parentHandle); status < 0) {
    return status;
  }
  const int status = matrix != nullptr ? matrix->InsertDimension(position, count) : QVR_OKAY;
  if (status < 0) {
    indexingParents.Delete(position);
  }
  network->ValuesInUse();
  return status;
}

int QVR_nodeValue::ShapeAsVector(int count) {
  QVR_Dmatrix* matrix = GetMatrix();
  if (matrix == nullptr) {
    return QVR_WRONG_NODE_TYPE;
  }
  indexingParents.Flush();
  const std::array<int, 1> shape = {count};
  return matrix->HasShape(shape) ? QVR_OKAY : matrix->SetDimensions(shape);
}

int QVR_nodeValue::Reinitialize() { return QVR_WRONG_NODE_TYPE; }

int QVR_nodeValue::GetDouble(double& /*out*/) const { return QVR_WRONG_NODE_TYPE; }

int QVR_nodeValue::GetEvidence() const { return QVR_WRONG_NODE_TYPE; }

int QVR_nodeValue::SetEvidence(int /*outcome*/) { return QVR_WRONG_NODE_TYPE; }

int QVR_nodeValue::SetEvidenceValue(double /*value*/) { return QVR_WRONG_NODE_TYPE; }

int QVR_nodeValue::ClearEvidence() { return QVR_WRONG_NODE_TYPE; }

int QVR_nodeValue::ClearPropagatedEvidence() { return QVR_WRONG_NODE_TYPE; }

int QVR_nodeValue::SetPropagatedValue(double /*value*/) { return QVR_WRONG_NODE_TYPE; }

int QVR_nodeValue::SetPropagatedEvidence(int /*outcome*/) { return QVR_WRONG_NODE_TYPE; }

int QVR_nodeValue::GetVirtualEvidence(QVR_doubleArray& /*out*/) const { return QVR_WRONG_NODE_TYPE; }

int QVR_nodeValue::SetVirtualEvidence(const QVR_doubleArray& /*likelihoods*/) { return QVR_WRONG_NODE_TYPE; }

int QVR_nodeValue::GetValueMatrix(QVR_Dmatrix*& out) {
  out = nullptr;
  return QVR_WRONG_NODE_TYPE;
}

int QVR_nodeValue::SetValueMatrix(const QVR_Dmatrix& /*matrix*/) { return QVR_WRONG_NODE_TYPE; }

int QVR_nodeValue::ReorderOutcomes(const QVR_intArray& /*order*/) { return QVR_OKAY; }

}  // namespace qvr
