// Rows of probabilities turned into integers, so that drawing an outcome compares integers only.
#ifndef QVR_INFERENCE_DRAW_THRESHOLDS_H
#define QVR_INFERENCE_DRAW_THRESHOLDS_H

#include <algorithm>
#include <cstdint>
#include <span>
#include <vector>

#include "model/random_source.h"

namespace qvr {

// Where the accumulated sums of a row stand among the draws of a ShortStream: a draw below entry k chooses
// outcome k or one before it. Never falling along a row.
using DrawThresholds = std::vector<std::uint16_t>;

// A draw u chooses the first outcome at which the sum is above u, and the last one if there is none.
// `out` has the length of `cells`, which are rows of `outcomeCount`.
void MakeThresholds(std::span<const double> cells, int outcomeCount, std::uint16_t* out);
// The form of the learning samplers: the first outcome at which the sum reaches u; if there is none, the
// last outcome, or from there back the nearest with an entry other than 0.
void MakeSampleThresholds(std::span<const double> cells, int outcomeCount, std::uint16_t* out);

[[nodiscard]] inline int DrawOutcome(const std::uint16_t* row, int outcomeCount, int draw) {
  constexpr int kCountable = 12;  // up to here counting beats searching
  const int last = outcomeCount - 1;
  if (last > kCountable) {
    return static_cast<int>(std::upper_bound(row, row + last, draw) - row);
  }
  int outcome = 0;
  for (int k = 0; k < last; ++k) {
    outcome += draw >= row[k] ? 1 : 0;
  }
  return outcome;
}

}  // namespace qvr

#endif
