// The shape of one connected component: all that compiling a tree may look at.
#ifndef QVR_INFERENCE_COMPONENT_SHAPE_H
#define QVR_INFERENCE_COMPONENT_SHAPE_H

#include <span>
#include <vector>

#include "inference/relevance.h"

namespace qvr {

// By position in the component. Holds no numbers, so that what is compiled from it stays good while only
// tables or the outcomes of observed nodes change.
struct ComponentShape {
  std::vector<int> outcomeCounts;
  std::vector<unsigned char> observed;  // 1 for a node with evidence
  std::vector<int> parentStart;         // nodeCount + 1 offsets into `parents`
  std::vector<int> parents;             // positions, in the order of the node's table

  [[nodiscard]] int NodeCount() const { return static_cast<int>(outcomeCounts.size()); }
  [[nodiscard]] std::span<const int> ParentsOf(int position) const {
    const auto at = static_cast<std::size_t>(position);
    return {parents.data() + parentStart[at], parents.data() + parentStart[at + 1]};
  }
};

// Overwrites `out`, reusing its room.
void DescribeComponent(const RelevanceComponent& component, ComponentShape& out);

}  // namespace qvr

#endif
