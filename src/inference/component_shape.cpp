#include "inference/component_shape.h"

namespace qvr {

void DescribeComponent(const RelevanceComponent& component, ComponentShape& out) {
  out.outcomeCounts.clear();
  out.observed.clear();
  out.parentStart.assign(1, 0);
  out.parents.clear();
  for (const RelevanceNode* record : component.nodes) {
    out.outcomeCounts.push_back(record->outcomeCount);
    out.observed.push_back(record->evidence >= 0 ? 1 : 0);
    for (const RelevanceNode* parent : record->parents) {
      out.parents.push_back(parent->position);
    }
    out.parentStart.push_back(static_cast<int>(out.parents.size()));
  }
}

}  // namespace qvr
