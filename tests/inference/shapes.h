// Makers of components, of which compilers of trees see only the shape.
#ifndef QVR_TESTS_INFERENCE_SHAPES_H
#define QVR_TESTS_INFERENCE_SHAPES_H

#include <numeric>

#include "inference/join_tree_structure.h"
#include "support/random_network.h"

namespace qvr {

inline ComponentShape MakeShape(const ParentLists& parents, const std::vector<int>& outcomeCounts) {
  ComponentShape shape;
  shape.outcomeCounts = outcomeCounts;
  shape.observed.assign(parents.size(), 0);
  shape.parentStart = {0};
  for (const std::vector<int>& list : parents) {
    shape.parents.insert(shape.parents.end(), list.begin(), list.end());
    shape.parentStart.push_back(static_cast<int>(shape.parents.size()));
  }
  return shape;
}

inline ComponentShape MakeBinaryShape(const ParentLists& parents) {
  return MakeShape(parents, std::vector<int>(parents.size(), 2));
}

// Every node below all before it.
inline ParentLists CompleteParents(int nodeCount) {
  ParentLists parents;
  for (int node = 0; node < nodeCount; ++node) {
    std::vector<int>& list = parents.emplace_back(static_cast<std::size_t>(node));
    std::iota(list.begin(), list.end(), 0);
  }
  return parents;
}

}  // namespace qvr

#endif
