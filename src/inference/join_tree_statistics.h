// What the join trees of this thread did, for benchmarks and reports.
#ifndef QVR_INFERENCE_JOIN_TREE_STATISTICS_H
#define QVR_INFERENCE_JOIN_TREE_STATISTICS_H

#include <cstdint>

namespace qvr {

// Sums over all components since the last reset.
struct JoinTreeStatistics {
  std::int64_t cliqueEntries = 0;
  double compileSeconds = 0.0;
  double propagateSeconds = 0.0;  // filling, both passes, posteriors
};

[[nodiscard]] const JoinTreeStatistics& LastJoinTreeStatistics();
void ResetJoinTreeStatistics();

}  // namespace qvr

#endif
