// Temporal networks for tests: random ones, and their posteriors by forward-backward.
#ifndef QVR_SUPPORT_TEMPORAL_REFERENCE_H
#define QVR_SUPPORT_TEMPORAL_REFERENCE_H

#include <map>
#include <utility>
#include <vector>

#include "model/dynamic_extension.h"
#include "support/random_network.h"

namespace qvr {

struct TemporalAnswer {
  double logLikelihood = 0;  // minus infinity for contradictory evidence
  std::map<std::pair<int, int>, std::vector<double>>
      beliefs;  // by handle and slice; slice 0 outside the plate
};

// The forward-backward algorithm (Rabiner 1989) over the joint states of as many slices as the highest order,
// once for each joint state of the nodes outside the plate. For small plates; tables and evidence as they
// stand.
[[nodiscard]] TemporalAnswer ForwardBackward(QVR_network& network);

// A row of probabilities in each of the definition's rows.
void FillRandomly(QVR_nodeDefinition& definition, TestRandom& random);
// All definitions, of all orders.
void FillAll(QVR_network& network, TestRandom& random);
// Chance nodes: two roots S and A, the latter an anchor, plate nodes P0, P1, ... and a terminal Z, with
// random arcs, temporal arcs of orders up to `maxOrder` and random tables.
void MakeRandomTemporal(QVR_network& network, int plateSize, int maxOrder, int slices, TestRandom& random);
// Three hidden chains, each below the one before, and an observation of each: six nodes in the plate.
void MakeHiddenChains(QVR_network& network, int outcomes, TestRandom& random);
// Between what an update left and what is expected; infinite where a value isn't valid or has another shape.
[[nodiscard]] double LargestError(QVR_network& network, const TemporalAnswer& expected);

}  // namespace qvr

#endif
