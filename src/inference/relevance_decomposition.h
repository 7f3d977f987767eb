// The exact solvers that work through the targets in groups, for networks whose trees grow too large when
// everything is asked at once.
#ifndef QVR_INFERENCE_RELEVANCE_DECOMPOSITION_H
#define QVR_INFERENCE_RELEVANCE_DECOMPOSITION_H

#include <span>
#include <vector>

namespace qvr {

class QVR_network;

// The targets of a decomposition. The constructor takes the user's targets away, the destructor puts
// them back on every way out; meanwhile each run has the targets of its own group.
class TargetGroups {
 public:
  explicit TargetGroups(QVR_network& newNetwork);
  ~TargetGroups();
  TargetGroups(const TargetGroups&) = delete;
  TargetGroups& operator=(const TargetGroups&) = delete;

  // Nodes still without an answer, children before parents.
  [[nodiscard]] std::vector<int> PendingNodes();
  [[nodiscard]] bool IsPending(int handle) const { return pending[static_cast<std::size_t>(handle)] != 0; }
  // Each computes the handles' posteriors, in halves where a tree is refused. False when a single node is
  // refused: it had no limit but the default.
  [[nodiscard]] bool SolveGroup(std::span<const int> group, int groupLimit, int halfLimit);
  [[nodiscard]] bool SolveRange(std::span<const int> range, int limit);

 private:
  void PrepareTargets();
  void RestoreTargets();
  [[nodiscard]] bool SolveHalves(std::span<const int> range, int limit);
  [[nodiscard]] bool Run(int sizeLimit);

  QVR_network& network;
  std::vector<unsigned char> pending;  // by handle
  std::vector<int> savedTargets;       // empty if the user has set none
};

}  // namespace qvr

#endif
