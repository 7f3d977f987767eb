// What formulas and random draws cost.
#ifndef QVR_BENCH_FORMULAS_H
#define QVR_BENCH_FORMULAS_H

namespace qvr {

// Prints a row for each formula (ns for each of its nodes) and each distribution (million draws a second).
// False if one of them doesn't parse.
bool MeasureFormulas();

}  // namespace qvr

#endif
