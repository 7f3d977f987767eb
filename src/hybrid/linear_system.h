// Systems of linear equations, by elimination.
#ifndef QVR_HYBRID_LINEAR_SYSTEM_H
#define QVR_HYBRID_LINEAR_SYSTEM_H

#include <vector>

namespace qvr {

// Solves matrix * solution = rhs for `n` unknowns; the matrix is row by row. Rows change places only where a
// pivot is exactly 0. -2 for a matrix found singular, with the solution left alone; matrix and right side
// are used up.
int SolveLinear(std::vector<double>& matrix, std::vector<double>& rhs, std::vector<double>& solution,
                std::size_t n);

}  // namespace qvr

#endif
