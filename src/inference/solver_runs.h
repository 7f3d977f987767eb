// The discrete solvers as the update driver calls them. Each returns 0 or a status code and leaves its
// results in the nodes' values.
#ifndef QVR_INFERENCE_SOLVER_RUNS_H
#define QVR_INFERENCE_SOLVER_RUNS_H

#include <span>

namespace qvr {

class QVR_network;

// Id 0: exact, by a join tree for each component; targets in groups where a tree is refused.
[[nodiscard]] int RunJoinTreeWithFallback(QVR_network& network);
// Id 2: exact, by messages along the arcs, for all nodes whatever the targets. Of a network of several
// parts only the one with the first node in topological order is solved; all values become valid. -1,
// logged, for a network with an undirected cycle; -2 for a node without a table over its parents.
[[nodiscard]] int RunPolytree(QVR_network& network);
// Id 10: exact, by maximum spanning trees of cliques. -42 where a tree is refused.
[[nodiscard]] int RunCliqueTree(QVR_network& network);
// Id 11: exact, targets in batches, those refused in halves.
[[nodiscard]] int RunRelevanceBatches(QVR_network& network);
// Id 12: exact, targets in halves from the start.
[[nodiscard]] int RunRelevanceHalving(QVR_network& network);

// One pass of relevance reasoning and join trees over the present targets. `pending` (empty, or one entry
// a handle) loses the entries of the nodes answered. A limit of 0 means the default. False when a tree
// was refused or a table couldn't be had; `errorCount` grows by the posteriors that sum to zero.
[[nodiscard]] bool RunComponents(QVR_network& network, std::span<unsigned char> pending, int sizeLimit,
                                 int& errorCount);

}  // namespace qvr

#endif
