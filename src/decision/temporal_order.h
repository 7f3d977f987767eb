// Which nodes are known when: open decisions, and what is observed before each of them.
#ifndef QVR_DECISION_TEMPORAL_ORDER_H
#define QVR_DECISION_TEMPORAL_ORDER_H

#include "model/number_array.h"

namespace qvr {

class QVR_network;

// True for a node with outcomes that nobody chooses.
[[nodiscard]] bool IsChanceType(int type);

// Open decisions and, before the first decision that they inform, chance nodes without evidence that are
// parents of any decision. Empties `temporal` first. -42 if memory is short.
[[nodiscard]] int GatherTemporalNodes(QVR_network& network, QVR_intArray& temporal);

// Puts the decisions of `temporal` in one line: where nothing links a decision to the group of nodes up to
// the next one, an arc is added between the two, with a notice in the error log under -2. The arcs stay. An
// arc that the network refuses is left out.
void AssumeTemporalOrder(QVR_network& network, const QVR_intArray& temporal);

}  // namespace qvr

#endif
