#include "hybrid/linear_system.h"

#include <algorithm>

#include "model/status.h"

namespace qvr {

namespace {

// False if the column has nothing but zeros from its diagonal down.
bool BringPivot(std::vector<double>& matrix, std::vector<double>& rhs, std::size_t n, std::size_t column) {
  for (std::size_t row = column; row < n; ++row) {
    if (matrix[row * n + column] == 0.0) {
      continue;
    }
    if (row != column) {
      double* const cells = matrix.data();
      std::swap_ranges(cells + row * n, cells + (row + 1) * n, cells + column * n);
      std::swap(rhs[row], rhs[column]);
    }
    return true;
  }
  return false;
}

}  // namespace

int SolveLinear(std::vector<double>& matrix, std::vector<double>& rhs, std::vector<double>& solution,
                std::size_t n) {
  for (std::size_t column = 0; column < n; ++column) {
    if (!BringPivot(matrix, rhs, n, column)) {
      return QVR_OUT_OF_RANGE;
    }
    const double* const pivotRow = &matrix[column * n];
    for (std::size_t row = column + 1; row < n; ++row) {
      double* const cells = &matrix[row * n];
      const double factor = cells[column] / pivotRow[column];
      if (factor == 0.0) {
        continue;
      }
      for (std::size_t i = column; i < n; ++i) {
        cells[i] -= factor * pivotRow[i];
      }
      rhs[row] -= factor * rhs[column];
    }
  }
  for (std::size_t row = n; row-- > 0;) {
    double sum = rhs[row];
    for (std::size_t i = row + 1; i < n; ++i) {
      sum -= matrix[row * n + i] * solution[i];
    }
    solution[row] = sum / matrix[row * n + row];
  }
  return QVR_OKAY;
}

}  // namespace qvr
