// Saved cases of all kinds, for networks of any kind.
#ifndef QVR_SUPPORT_RANDOM_CASES_H
#define QVR_SUPPORT_RANDOM_CASES_H

#include "model/network.h"
#include "support/random_network.h"

namespace qvr {

// Cases with evidence that suits the nodes' classes, so that a file can hold all of it: numbers need few
// digits, and continuous evidence stands on equations alone.
void AddRandomCases(QVR_network& network, int count, TestRandom& random);

}  // namespace qvr

#endif
