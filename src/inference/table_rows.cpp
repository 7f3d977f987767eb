#include "inference/table_rows.h"

#include <algorithm>
#include <numeric>

namespace qvr {

void NormaliseRow(std::span<double> row) {
  const double sum = std::accumulate(row.begin(), row.end(), 0.0);
  if (sum > 0) {
    std::for_each(row.begin(), row.end(), [sum](double& entry) { entry /= sum; });
  } else {
    std::fill(row.begin(), row.end(), 1.0 / static_cast<double>(row.size()));
  }
}

void NormaliseRows(std::span<double> cells, int outcomeCount) {
  const auto width = static_cast<std::size_t>(outcomeCount);
  for (std::size_t start = 0; start < cells.size(); start += width) {
    NormaliseRow(cells.subspan(start, width));
  }
}

}  // namespace qvr
