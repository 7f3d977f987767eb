// A hybrid network made ready for its solver: the nodes in topological order, and one table of their numbers.
#ifndef QVR_HYBRID_HYBRID_NETWORK_H
#define QVR_HYBRID_HYBRID_NETWORK_H

#include <memory>
#include <span>
#include <vector>

#include "hybrid/hybrid_sample_node.h"
#include "model/network.h"

namespace qvr {

class QVR_defHybrid;

// Copies all that it needs from the definitions, which stay as they are.
class HybridNetwork {
 public:
  explicit HybridNetwork(QVR_network& newNetwork) : network(newNetwork) {}

  // Fills the rest, with the numbers of known nodes in the table. -2 for a node that the solver can't
  // handle: of another type, without a table that fits its parents, or with a formula that names anything
  // but its parents.
  int Build();
  [[nodiscard]] QVR_hybridSampleNode& operator[](int slot) { return *nodes[static_cast<std::size_t>(slot)]; }
  [[nodiscard]] const QVR_hybridSampleNode& operator[](int slot) const {
    return *nodes[static_cast<std::size_t>(slot)];
  }
  [[nodiscard]] int GetSize() const { return static_cast<int>(nodes.size()); }
  // Of a node that isn't discrete.
  [[nodiscard]] QVR_continuousSampleNode& Continuous(int slot) {
    return static_cast<QVR_continuousSampleNode&>((*this)[slot]);
  }
  [[nodiscard]] QVR_discreteSampleNode& Discrete(int slot) {
    return static_cast<QVR_discreteSampleNode&>((*this)[slot]);
  }
  // Whether anything is observed, entered or deduced, or has virtual evidence.
  [[nodiscard]] bool HasEvidence() const;

  QVR_network& network;
  ValueTable table;
  std::vector<std::unique_ptr<QVR_hybridSampleNode>> nodes;

 private:
  void AddSlots();
  int AddSampleNode(int handle);
  int AddDiscreteNode(const QVR_node& node);
  int AddContinuousNode(const QVR_node& node);
  int FillCells(QVR_discreteSampleNode& sampleNode, QVR_nodeDefinition& definition);
  int FillFormulas(QVR_discreteSampleNode& sampleNode, const QVR_defHybrid& definition);
  int TakeDiscreteEvidence(QVR_discreteSampleNode& sampleNode, const QVR_node& node);
  // The discrete parents, the last one fastest. -2 if one has no outcomes, -42.
  int ListDimensions(int handle, std::vector<ParentDimension>& out, int& rows) const;
  // Whether the formula names only parents of the node, or the node itself if it may.
  [[nodiscard]] bool NamesOnlyParents(const QVR_expression& formula, int handle, bool mayNameItself) const;
  void LinkNeighbours(QVR_hybridSampleNode& node);
  void HoldFixed(QVR_continuousSampleNode& node);

  std::vector<int> slotOf;  // by handle
};

}  // namespace qvr

#endif
