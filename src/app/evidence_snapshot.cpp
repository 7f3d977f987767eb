#include "app/evidence_snapshot.h"

namespace qvr {

EvidenceSnapshot::EvidenceSnapshot(const QVR_network& network) {
  QVR_intArray handles;
  network.GetEvidenceNodes(handles);
  for (const int handle : handles) {
    const QVR_nodeValue& value = *network.NodeAt(handle)->value;
    observations.push_back({handle, value.GetEvidence(), !value.HasRealEvidence()});
  }
}

void EvidenceSnapshot::EnterInto(QVR_network& copy) const {
  const UpdateFlagsOff quiet(copy, UPDATE_TRACK_CHANGES);
  copy.ClearAllEvidence();
  for (const Observation& observation : observations) {
    QVR_nodeValue& value = *copy.NodeAt(observation.handle)->value;
    if (observation.isDeduced) {
      value.SetPropagatedEvidence(observation.outcome);
    } else {
      value.SetEvidence(observation.outcome);
    }
  }
}

}  // namespace qvr
