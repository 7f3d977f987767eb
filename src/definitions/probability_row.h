// Rows of probabilities.
#ifndef QVR_DEFINITIONS_PROBABILITY_ROW_H
#define QVR_DEFINITIONS_PROBABILITY_ROW_H

#include <algorithm>
#include <span>

namespace qvr {

// What the probabilities of a row may sum to: numbers come from files, rounded. False for no number.
[[nodiscard]] inline bool IsProbabilitySum(double sum) { return sum >= 0.999995 && sum <= 1.000005; }

// Each cell becomes the probability of its outcome or any later one.
inline void Cumulate(std::span<double> row) {
  for (std::size_t j = row.size() - 1; j > 0; --j) {
    row[j - 1] = std::max(row[j - 1] + row[j], 0.0);
  }
}

// The way back.
inline void Difference(std::span<double> row) {
  for (std::size_t j = 0; j + 1 < row.size(); ++j) {
    row[j] = std::max(row[j] - row[j + 1], 0.0);
  }
}

}  // namespace qvr

#endif
