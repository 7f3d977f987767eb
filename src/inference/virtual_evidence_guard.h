// Virtual evidence as the solvers see it: an observed child of the node, for the length of one update.
#ifndef QVR_INFERENCE_VIRTUAL_EVIDENCE_GUARD_H
#define QVR_INFERENCE_VIRTUAL_EVIDENCE_GUARD_H

#include <span>
#include <vector>

#include "model/network.h"

namespace qvr {

// Likelihoods L of a node act like a two-valued child "@" observed in its outcome 0, whose table holds
// L[i] for outcome i of the node (Pearl 1988). The destructor takes all of these children away again.
class VirtualEvidenceGuard {
 public:
  explicit VirtualEvidenceGuard(QVR_network& newNetwork) : network(newNetwork) {}
  ~VirtualEvidenceGuard();
  VirtualEvidenceGuard(const VirtualEvidenceGuard&) = delete;
  VirtualEvidenceGuard& operator=(const VirtualEvidenceGuard&) = delete;

  // Adds a child for every node with virtual evidence, in handle order; called once. A child that can't
  // be linked is logged (-51) and left out. The code of a child that can't be created.
  [[nodiscard]] int Enter();

 private:
  [[nodiscard]] int AddObservedChild(int handle, std::span<const double> likelihoods);
  [[nodiscard]] int CreateChild();
  [[nodiscard]] int Link(int parent, int child, int outcomeCount);
  void DeleteLast();

  QVR_network& network;
  std::vector<int> children;  // handles of the temporary nodes
};

}  // namespace qvr

#endif
