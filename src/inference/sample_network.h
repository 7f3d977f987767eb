// A connected component as the samplers and the message rounds see it: flat arrays, parents first.
#ifndef QVR_INFERENCE_SAMPLE_NETWORK_H
#define QVR_INFERENCE_SAMPLE_NETWORK_H

#include <span>
#include <vector>

#include "inference/relevance.h"
#include "model/dense_matrix.h"

namespace qvr {

// The arc from a parent, as its child holds it.
struct SampleArc {
  int parent;  // its place in SampleNet::nodes
  int stride;  // what one outcome of the parent moves in the child's table
};

struct SampleNode {
  std::size_t firstCell;     // of its table, in every block of cells
  std::size_t cellCount;     // of its table
  std::size_t firstOutcome;  // in every block of one entry for each outcome
  int outcomeCount;
  int evidence;  // the outcome fixed by evidence, or -1
  int firstArc;  // of the arcs from its parents, in the order of the table's dimensions
  int parentCount;
};

// Places in `nodes` stand for records; a parent's is lower than its children's. Records with evidence have
// no children here: their outcomes have been cut into the children's tables.
struct SampleNet {
  // From a component's records in topological order. Throws std::bad_alloc, also for tables beyond the
  // memory that matrices may hold.
  SampleNet(const RelevanceComponent& component, std::span<RelevanceNode* const> order);

  [[nodiscard]] std::span<const SampleArc> ArcsOf(const SampleNode& node) const {
    return {arcs.data() + node.firstArc, static_cast<std::size_t>(node.parentCount)};
  }
  [[nodiscard]] std::span<const double> TableOf(const SampleNode& node) const {
    return table.GetItems().Vector().subspan(node.firstCell, node.cellCount);
  }
  [[nodiscard]] std::size_t CellCount() const { return static_cast<std::size_t>(table.GetNumElements()); }

  std::vector<RelevanceNode*> records;  // by place
  std::vector<SampleNode> nodes;
  std::vector<SampleArc> arcs;
  QVR_Dmatrix table;  // the cells of all tables, one after the other
  std::size_t outcomeTotal = 0;
  std::vector<int> states;  // by place: the present sample; that of a node with evidence is its outcome
};

// The cell at which a node's row begins for the states of its parents.
[[nodiscard]] inline std::size_t RowOf(const SampleNet& net, const SampleNode& node) {
  const int* states = net.states.data();
  int offset = 0;
  for (const SampleArc& arc : net.ArcsOf(node)) {
    offset += states[arc.parent] * arc.stride;
  }
  return node.firstCell + static_cast<std::size_t>(offset);
}

// Makes `block` that many cells of 0.0. Throws std::bad_alloc, also beyond the memory that matrices may hold.
std::span<double> MakeCells(QVR_Dmatrix& block, std::size_t count);

// Logs that no sample of a component was useful. Returns -5.
int ReportNoSamples();

}  // namespace qvr

#endif
