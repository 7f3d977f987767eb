// All evidence of a network, to be entered into another one.
#ifndef QVR_APP_EVIDENCE_SNAPSHOT_H
#define QVR_APP_EVIDENCE_SNAPSHOT_H

#include <vector>

#include "model/network.h"

namespace qvr {

// Outcomes that are observed or deduced; no likelihoods.
class EvidenceSnapshot {
 public:
  EvidenceSnapshot() = default;
  explicit EvidenceSnapshot(const QVR_network& network);

  // Replaces the evidence of a copy of the network, which deduces nothing anew: what stands at some moment
  // depends on the order in which it came. Whether values are valid isn't looked at.
  void EnterInto(QVR_network& copy) const;

 private:
  struct Observation {
    int handle;
    int outcome;
    bool isDeduced;
  };
  std::vector<Observation> observations;
};

}  // namespace qvr

#endif
