// Evidence on the copies of plate nodes, by slice.
#include <new>

#include "model/dynamic_extension.h"

namespace qvr {

int QVR_dynamicExtension::SetTemporalEvidence(int handle, int slice, int outcome) {
  if (!IsInPlate(handle)) {
    return QVR_OUT_OF_RANGE;
  }
  if (slice < 0) {
    return QVR_WRONG_SIZE;
  }
  if (outcome < 0 || outcome >= network.NodeAt(handle)->GetNumberOfOutcomes()) {
    return QVR_OUT_OF_RANGE;
  }
  try {
    evidence[handle][slice] = outcome;
  } catch (const std::bad_alloc&) {
    return QVR_OUT_OF_MEMORY;
  }
  network.TemporalPartChanged(kRelevanceEvidenceSet);
  return QVR_OKAY;
}

int QVR_dynamicExtension::ClearTemporalEvidence(int handle, int slice) {
  const auto found = evidence.find(handle);
  if (found == evidence.end() || found->second.erase(slice) == 0) {
    return QVR_OUT_OF_RANGE;
  }
  network.TemporalPartChanged(kRelevanceEvidenceRetracted);
  return QVR_OKAY;
}

int QVR_dynamicExtension::GetTemporalEvidence(int handle, int slice) const {
  const auto found = evidence.find(handle);
  if (found == evidence.end()) {
    return QVR_OUT_OF_RANGE;
  }
  const auto entry = found->second.find(slice);
  return entry != found->second.end() ? entry->second : QVR_OUT_OF_RANGE;
}

std::vector<std::pair<int, int>> QVR_dynamicExtension::GetTemporalEvidence(int handle) const {
  const auto found = evidence.find(handle);
  if (found == evidence.end()) {
    return {};
  }
  return {found->second.begin(), found->second.end()};
}

}  // namespace qvr
