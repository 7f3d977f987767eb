// The slow obvious truth: posteriors as sums over the joint distribution.
#ifndef QVR_SUPPORT_BRUTE_FORCE_H
#define QVR_SUPPORT_BRUTE_FORCE_H

#include <cstddef>
#include <vector>

#include "model/network.h"

namespace qvr {

// What is known, by handle.
struct Observations {
  explicit Observations(const QVR_network& network)
      : outcomes(static_cast<std::size_t>(network.GetTableSize()), -1), likelihoods(outcomes.size()) {}

  std::vector<int> outcomes;                     // -1: not observed
  std::vector<std::vector<double>> likelihoods;  // empty: none
};

struct JointAnswer {
  // Of all outcomes and likelihoods together; exactly 0 for contradictory evidence.
  double evidenceProbability = 0;
  // By handle; empty for a slot without a table. Zeros for contradictory evidence.
  std::vector<std::vector<double>> posteriors;
};

// Visits every joint state of non-zero weight: for networks of up to about four million states.
[[nodiscard]] JointAnswer SumJoint(QVR_network& network, const Observations& observations);

}  // namespace qvr

#endif
