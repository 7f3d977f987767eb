// Approximate inference over networks of discrete and continuous nodes.
#ifndef QVR_HYBRID_HYBRID_SOLVER_H
#define QVR_HYBRID_HYBRID_SOLVER_H

#include <vector>

#include "hybrid/hybrid_network.h"
#include "hybrid/message_passing.h"

namespace qvr {

class HybridSampler;

// Flags of HybridSolver.
inline constexpr int kMessagesPropose = 2;  // nodes draw from their belief messages, too
inline constexpr int kUnsupportedNode = 16;

// The routines return 0, or -2 without a result: for a node that the solver can't handle, and where sampling
// finds no sample that agrees with the evidence. Those that sample answer -42 for too many samples.
class HybridSolver : public MessageSettings {
 public:
  explicit HybridSolver(QVR_network& newNetwork);

  // Id 13: messages, then samples drawn with their help; without evidence as SolveBySampling.
  int SolveByBoth();
  // Ids 14 and 16.
  int SolveBySampling();
  // Id 15: messages alone. Nodes whose belief has no weight are left without a result.
  int SolveByMessages();

 private:
  void PassMessages();
  [[nodiscard]] bool IsRequested(const QVR_hybridSampleNode& node) const;
  int WriteSamples(const HybridSampler& sampler);
  void WriteFixedNodes();
  void WritePairs(const QVR_continuousSampleNode& node, std::vector<WeightedSample> pairs);
  void WriteVector(const QVR_hybridSampleNode& node, const std::vector<double>& vector);

  HybridNetwork compiled;
  int flags = 0;
};

}  // namespace qvr

#endif
