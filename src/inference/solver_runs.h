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
// The samplers below draw `sampleCount` samples for each component. A component without a useful one is
// logged under -5; ids 1 and 3 to 6 then go on, and return what became of the last component, while ids 7 and
// 8 end. Id 1: forward sampling, rejecting what contradicts the evidence.
[[nodiscard]] int RunLogicSampling(QVR_network& network);
// Ids 3 and 5: forward sampling, weighted by the evidence.
[[nodiscard]] int RunLikelihoodWeighting(QVR_network& network);
// Id 4: weighted sampling from tables that lean towards the samples so far. Not the posterior in the limit:
// a ratio of tables enters the weights twice.
[[nodiscard]] int RunSelfImportance(QVR_network& network);
// Id 6: parents of what is observed are drawn backwards from it.
[[nodiscard]] int RunBackwardSampling(QVR_network& network);
// Id 7: importance sampling from tables that a learning phase has made.
[[nodiscard]] int RunAdaptiveImportance(QVR_network& network);
// Id 8: importance sampling from tables that loopy messages have made.
[[nodiscard]] int RunMessageImportance(QVR_network& network);
// Id 9: `propLength` rounds of loopy messages alone. What isn't observed is written but stays invalid.
[[nodiscard]] int RunLoopyBelief(QVR_network& network);
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
