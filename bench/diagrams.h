// What influence diagrams cost.
#ifndef QVR_BENCH_DIAGRAMS_H
#define QVR_BENCH_DIAGRAMS_H

namespace qvr {

// Prints a row for each generated diagram: its scenarios, and how many are solved a second. False if one of
// them can't be made or solved.
bool MeasureDiagrams();

}  // namespace qvr

#endif
