// What samples of equation networks cost.
#ifndef QVR_BENCH_EQUATIONS_H
#define QVR_BENCH_EQUATIONS_H

namespace qvr {

// Prints a row for each kind of formula: million node evaluations a second (samples times nodes). False if a
// network can't be made or solved.
bool MeasureEquations();

}  // namespace qvr

#endif
