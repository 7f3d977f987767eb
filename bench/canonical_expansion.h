// What the tables of canonical nodes cost.
#ifndef QVR_BENCH_CANONICAL_EXPANSION_H
#define QVR_BENCH_CANONICAL_EXPANSION_H

namespace qvr {

// One line for each kind of node and size of table: the time of an expansion by entry. Gates make their
// table when a number is set, so theirs includes the test of its consistency.
void PrintCanonicalExpansion();

}  // namespace qvr

#endif
