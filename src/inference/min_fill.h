// Elimination of a component's moral graph by fewest fill-in arcs.
#ifndef QVR_INFERENCE_MIN_FILL_H
#define QVR_INFERENCE_MIN_FILL_H

#include <cstdint>
#include <span>
#include <vector>

#include "inference/component_shape.h"

namespace qvr {

// Nodes in the order of their elimination, each with the neighbours that it had then, fill-in arcs
// included.
struct MinFillElimination {
  std::vector<int> order;
  std::vector<int> neighbourStart;  // by place in the order; one more than there are nodes
  std::vector<int> neighbours;      // ascending for each node

  [[nodiscard]] std::span<const int> NeighboursAt(int place) const {
    const auto at = static_cast<std::size_t>(place);
    return {neighbours.data() + neighbourStart[at], neighbours.data() + neighbourStart[at + 1]};
  }
};

// False when a node and its neighbours together would make a table of more than `limit` entries.
[[nodiscard]] bool EliminateByMinFill(const ComponentShape& shape, std::int64_t limit,
                                      MinFillElimination& out);

// The product of two table sizes, or the largest number where it overflows.
[[nodiscard]] std::int64_t SaturatingProduct(std::int64_t a, std::int64_t b);

}  // namespace qvr

#endif
