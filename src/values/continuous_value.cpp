#include "values/continuous_value.h"

namespace qvr {

int QVR_valcontinuous::AdoptValue(QVR_nodeValue& other) {
  if (&other == this) {
    return QVR_OKAY;
  }
  if (int status = QVR_nodeValue::Assign(other); status < 0) {
    return status;
  }
  const auto* source = dynamic_cast<const QVR_valcontinuous*>(&other);
  if (source == nullptr) {
    CleanUp(1);
    return QVR_OKAY;
  }
  ClearFlags(kValueVirtualEvidence);
  sampleCount = source->sampleCount;
  samples = source->samples;
  density = source->density;
  evidenceTag = source->evidenceTag;
  evidenceValue = source->evidenceValue;
  return QVR_OKAY;
}

int QVR_valcontinuous::SetEvidenceValue(double value) {
  evidenceValue = value;
  ClearFlags(kValuePropagatedEvidence);
  RaiseFlags(kValueEvidence);
  return QVR_OKAY;
}

int QVR_valcontinuous::ClearEvidence() {
  ClearFlags(kValueEvidence);
  evidenceTag = 0;
  return QVR_OKAY;
}

int QVR_valcontinuous::ClearPropagatedEvidence() {
  ClearFlags(kValuePropagatedEvidence);
  evidenceTag = 0;
  return QVR_OKAY;
}

int QVR_valcontinuous::SetPropagatedValue(double value) {
  evidenceValue = value;
  ClearFlags(kValueEvidence);
  RaiseFlags(kValuePropagatedEvidence);
  return QVR_OKAY;
}

}  // namespace qvr
