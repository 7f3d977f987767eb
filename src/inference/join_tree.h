// The main exact engine: a join tree over one component, compiled under limits, solved by message passing.
#ifndef QVR_INFERENCE_JOIN_TREE_H
#define QVR_INFERENCE_JOIN_TREE_H

#include <cstdint>
#include <span>

#include "inference/relevance.h"

namespace qvr {

class JoinTree {
 public:
  // Borrows both. `newErrorCount` grows by one for each posterior that sums to zero (logged, -43).
  JoinTree(const RelevanceComponent& newComponent, int& newErrorCount)
      : component(newComponent), errorCount(newErrorCount) {}

  // Writes the posteriors of targets and pending nodes, and clears the entries of `pending` (empty, or one
  // a handle) for all nodes met. A limit of 0 means 0x10000000 entries in all cliques together. False when
  // the component is refused or memory is short; nothing is logged then.
  [[nodiscard]] bool Run(std::span<unsigned char> pending, std::int64_t sizeLimit);

 private:
  bool Solve(std::span<unsigned char> pending, std::int64_t sizeLimit);

  const RelevanceComponent& component;
  int& errorCount;
};

}  // namespace qvr

#endif
