#include "values/list_of_decisions.h"

#include <array>

#include "model/network.h"

namespace qvr {

QVR_listOfDecisions::QVR_listOfDecisions(QVR_network* newNetwork, int newHandle)
    : OutcomeValue(newNetwork, newHandle) {
  SetReady(QVR_listOfDecisions::Reinitialize() >= 0);
}

int QVR_listOfDecisions::Reinitialize() {
  QVR_listOfDecisions::CleanUp(1);
  const int count = OutcomeCount();
  const int status = count > 0 ? table.SetDimensions(std::array{count}) : QVR_OKAY;
  CheckReady(1);
  return status;
}

int QVR_listOfDecisions::DropIndexingParents() {
  const int chosen = evidence;
  const int kind = GetFlags() & kValueAnyEvidence;
  const int status = Reinitialize();
  if (kind != 0 && SetValueToEvidence(chosen) >= 0) {
    RaiseFlags(kind);
  }
  return status;
}

int QVR_listOfDecisions::Assign(QVR_nodeValue& other) { return AdoptValue(other); }

int QVR_listOfDecisions::AdoptValue(QVR_nodeValue& other) {
  if (&other == this) {
    return QVR_OKAY;
  }
  if (int status = QVR_nodeValue::Assign(other); status < 0) {
    return status;
  }
  ClearFlags(kValueAnyEvidence | kValueVirtualEvidence);
  const bool fits = FitsOutcomes(other);
  const bool sameClass = other.GetValueType() == GetValueType();
  if (!fits || !sameClass || table.Copy(*other.GetMatrix()) < 0) {
    Reinitialize();
  }
  if (fits && (sameClass || other.GetValueType() == kValueBeliefVector)) {
    AdoptEvidence(other);
  }
  CheckReady(1);
  CheckConsistency(1);
  return QVR_OKAY;
}

int QVR_listOfDecisions::SetEvidence(int outcome) {
  if (HasRealEvidence()) {
    ClearEvidence();
  }
  if (HasEvidence() && evidence != outcome) {
    return QVR_OUT_OF_RANGE;
  }
  if (const int status = SetValueToEvidence(outcome); status < 0) {
    return status == QVR_OUT_OF_MEMORY ? status : QVR_OKAY;
  }
  return EnterEvidence();
}

int QVR_listOfDecisions::SetValueToEvidence(int outcome) {
  if (outcome < 0 || outcome >= OutcomeCount()) {
    return QVR_OUT_OF_RANGE;
  }
  if (table.GetNumElements() == 0) {  // it has found no memory so far
    if (const int status = Reinitialize(); status < 0) {
      return status;
    }
  }
  RaiseFlags(kValueValid);
  evidence = outcome;
  return QVR_OKAY;
}

int QVR_listOfDecisions::ClearEvidence() {
  if (!HasRealEvidence()) {
    return QVR_OUT_OF_RANGE;
  }
  ClearFlags(kValueEvidence | kValueValid);
  network->EvidenceRetracted(handle);
  return QVR_OKAY;
}

int QVR_listOfDecisions::SetPropagatedEvidence(int outcome) {
  if (HasEvidence()) {
    return QVR_OUT_OF_RANGE;
  }
  if (SetValueToEvidence(outcome) >= 0) {
    RaiseFlags(kValuePropagatedEvidence);
  }
  return QVR_OKAY;
}

}  // namespace qvr
