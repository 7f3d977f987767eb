// What sampling a hybrid network costs.
#ifndef QVR_BENCH_HYBRID_SAMPLING_H
#define QVR_BENCH_HYBRID_SAMPLING_H

namespace qvr {

// Prints a row for each routine: million node evaluations a second, of a chain of formulas of five operations
// with a random node beside each, observed at its end. False if a network can't be solved.
bool MeasureHybridSampling();

}  // namespace qvr

#endif
