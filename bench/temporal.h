// What temporal networks cost.
#ifndef QVR_BENCH_TEMPORAL_H
#define QVR_BENCH_TEMPORAL_H

namespace qvr {

// Prints a row for each number of slices: unrolling alone, and the whole update. False if one fails.
bool MeasureTemporal();

}  // namespace qvr

#endif
