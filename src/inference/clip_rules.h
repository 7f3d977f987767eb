// How importance tables are kept from calling anything possible too unlikely: a proposal with thin tails
// gives few samples enormous weights.
#ifndef QVR_INFERENCE_CLIP_RULES_H
#define QVR_INFERENCE_CLIP_RULES_H

#include <span>

#include "model/network_settings.h"

namespace qvr {

// Tables are rows of `outcomeCount`; `importance` has the shape of `table`. Entries of 0 stay 0.

// Raises what is below a floor that goes by the number of outcomes; the row's largest entry pays for all of
// it. Beyond 20 outcomes the rows become uniform. After Cheng and Druzdzel 2000.
void ClipByRule(std::span<const double> table, int outcomeCount, std::span<double> importance);
// Each row becomes uniform over its possible outcomes.
void SpreadUniformly(std::span<const double> table, int outcomeCount, std::span<double> importance);
// Raises what is below a floor of the parameters; all entries above it pay alike. After Yuan and Druzdzel
// 2003.
void ClipByEpsilon(const EpisParameters& parameters, int outcomeCount, std::span<double> importance);

}  // namespace qvr

#endif
