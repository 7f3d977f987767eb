#include "values/outcome_value.h"

#include <algorithm>

#include "model/network.h"

namespace qvr {

void OutcomeValue::CleanUp(int deep) {
  QVR_nodeValue::CleanUp(deep);
  if (deep != 0) {
    table.CleanUp();
  }
  evidence = 0;
}

int OutcomeValue::GetEvidence() const { return HasEvidence() ? evidence : QVR_OUT_OF_RANGE; }

int OutcomeValue::EnterEvidence() {
  ClearFlags(kValuePropagatedEvidence);
  RaiseFlags(kValueEvidence);
  const int status = network->EvidenceSet(handle);
  if (status < 0) {
    ClearEvidence();
  }
  return status;
}

int OutcomeValue::ClearPropagatedEvidence() {
  if ((GetFlags() & kValuePropagatedEvidence) == 0) {
    return QVR_OUT_OF_RANGE;
  }
  ClearFlags(kValuePropagatedEvidence | kValueValid);
  return QVR_OKAY;
}

int OutcomeValue::GetValueMatrix(QVR_Dmatrix*& out) {
  out = &table;
  return QVR_OKAY;
}

int OutcomeValue::SetValueMatrix(const QVR_Dmatrix& matrix) { return table.Copy(matrix); }

int OutcomeValue::ReorderOutcomes(const QVR_intArray& order) {
  if (int status = table.PermuteItems(table.GetNumDimensions() - 1, order); status < 0) {
    return status;
  }
  if (HasEvidence()) {
    const std::span<const int> places = order.View();
    evidence = static_cast<int>(std::find(places.begin(), places.end(), evidence) - places.begin());
  }
  return QVR_OKAY;
}

}  // namespace qvr
