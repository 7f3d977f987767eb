// What repeated updates of one network cost.
#ifndef QVR_BENCH_MEASUREMENT_H
#define QVR_BENCH_MEASUREMENT_H

#include <cstdint>

#include "model/network.h"

namespace qvr {

// Medians over repeated updates after a first one.
struct UpdateCost {
  int code = 0;  // of the last update
  std::int64_t cliqueEntries = 0;
  double microseconds = 0;  // relevance, compiling, propagation, posteriors
  double compileMicroseconds = 0;
  double propagateMicroseconds = 0;
};

[[nodiscard]] UpdateCost MeasureUpdate(QVR_network& network);
// The most memory that this process has held so far, in MiB; 0 where the system doesn't tell.
[[nodiscard]] double PeakMemory();

}  // namespace qvr

#endif
