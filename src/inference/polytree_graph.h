// The records of the polytree solver: one for each node of a singly connected network, with the messages
// along its arcs.
#ifndef QVR_INFERENCE_POLYTREE_GRAPH_H
#define QVR_INFERENCE_POLYTREE_GRAPH_H

#include <span>
#include <vector>

namespace qvr {

class QVR_network;
class QVR_node;
struct PolyNode;

// An arc as one of its two nodes sees it. Both nodes share the messages, which hold an entry for each
// outcome of the arc's parent.
struct PolyLink {
  PolyNode* node;                   // at the other end
  std::span<double> piMessage;      // from parent to child
  std::span<double> lambdaMessage;  // from child to parent
};

struct PolyNode {
  QVR_node* node;
  std::span<const double> table;  // the definition's: dimensions in the order of `parents`, own outcomes last
  int outcomeCount;
  int evidence;                  // the outcome fixed by evidence, entered or propagated, or -1
  std::span<PolyLink> parents;   // in the order of the network's lists
  std::span<PolyLink> children;  // likewise
  std::span<double> lambda;      // what the children tell of the outcomes
  std::span<double> pi;          // what the parents tell of them
  const PolyNode* inward;        // the neighbour on the way to where messages are collected, or null
};

// Holds what the records point to.
struct PolyGraph {
  std::vector<PolyNode> nodes;  // parents before children
  std::vector<PolyLink> links;
  std::vector<double> numbers;
};

// Fills an empty graph; all messages, lambda and pi are 1.0. -2 if a definition has no table, or not one
// over its parents' outcomes and its own; -3 for an arc that only one of its nodes knows.
[[nodiscard]] int BuildPolyGraph(QVR_network& network, PolyGraph& graph);

}  // namespace qvr

#endif
