// How evidence on equation nodes is met: by solving upwards for a random node, in place of waiting for a draw
// that happens to give what was observed.
#ifndef QVR_HYBRID_HYBRID_PATHS_H
#define QVR_HYBRID_HYBRID_PATHS_H

#include <vector>

#include "hybrid/hybrid_network.h"

namespace qvr {

// From an observed equation node over unobserved ones, each a parent of the one before, to an unobserved
// distribution node.
using SolvedPath = std::vector<int>;

// What determines the numbers of one sample, and in which order.
class SamplingOrder {
 public:
  explicit SamplingOrder(HybridNetwork& newNetwork);

  // The unknown nodes: those on a path after the node below and its other parents, others after their
  // parents.
  [[nodiscard]] const std::vector<int>& GetOrder() const { return order; }
  // By slot: the node below on its path, or -1.
  [[nodiscard]] const std::vector<int>& GetLowerNodes() const { return lowerNodes; }
  [[nodiscard]] const std::vector<SolvedPath>& GetPaths() const { return paths; }

 private:
  // For each observed equation node with parents, in topological order, the shortest path that still leaves
  // an order of drawing; of several, the one to a law with a density, then to a node without other children,
  // then the first by the order of parents. A node is on one path at most.
  void ChoosePaths();
  void ChoosePath(int observed);
  [[nodiscard]] bool CanStep(int lower, int parent) const;
  [[nodiscard]] bool EndsPath(int slot) const;
  [[nodiscard]] int Rank(const SolvedPath& path) const;
  bool TakeFirstPossible(std::vector<SolvedPath>& complete);
  [[nodiscard]] bool Take(const SolvedPath& path);
  // The unknown nodes that must have their numbers before the node has.
  [[nodiscard]] std::vector<int> Precursors(int slot) const;
  [[nodiscard]] bool MakeOrder();

  HybridNetwork& network;
  std::vector<SolvedPath> paths;
  std::vector<int> lowerNodes;
  std::vector<int> order;
};

}  // namespace qvr

#endif
