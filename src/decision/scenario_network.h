// A diagram as the network of chances that a decision solver asks: decisions become chance nodes to be
// observed, and a utility the chance of its better outcome (Cooper 1988).
#ifndef QVR_DECISION_SCENARIO_NETWORK_H
#define QVR_DECISION_SCENARIO_NETWORK_H

namespace qvr {

class QVR_network;

// Makes a conditional table of every node. A utility, scaled so that the least number of its own table is 0
// and the greatest 1, becomes the probability of the first of two outcomes; equal numbers count as 1. A
// decision becomes uniform and loses its parents. Evidence stays. The network has to be free of
// multi-attribute nodes, and notices nothing: its relevanceMask is 0. -42 if a table can't be had.
[[nodiscard]] int ConvertToChances(QVR_network& work);

// Makes evidence invalidate what depends on it, and what isn't observed invalid. Evidence deduces what it
// forces, so that scenarios which contradict the model end early; but not in a network with likelihoods,
// since a deduced node would lose its own for all scenarios to come.
void PrepareForScenarios(QVR_network& work);

}  // namespace qvr

#endif
