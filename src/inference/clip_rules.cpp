#include "inference/clip_rules.h"

#include <algorithm>

#include "inference/table_rows.h"

namespace qvr {

namespace {

constexpr int kMostClipped =
    20;  // outcomes; beyond, no floor is small enough to matter and large enough to help

double FloorByRule(int outcomeCount) {
  if (outcomeCount < 6) {
    return 0.1;
  }
  return outcomeCount < 9 ? 0.04 : 0.0025;
}

// Beyond 1 every floor says the same, and sums of floors have to stay finite.
double FloorByEpsilon(const EpisParameters& parameters, int outcomeCount) {
  double floor = parameters.eps4;
  if (outcomeCount <= parameters.numStates1) {
    floor = parameters.eps1;
  } else if (outcomeCount <= parameters.numStates2) {
    floor = parameters.eps2;
  } else if (outcomeCount <= parameters.numStates3) {
    floor = parameters.eps3;
  }
  return std::min(floor, 1.0);
}

void ClipRowByRule(std::span<const double> table, double floor, std::span<double> importance) {
  const auto largest = static_cast<std::size_t>(std::max_element(table.begin(), table.end()) - table.begin());
  double deficit = 0;
  for (std::size_t k = 0; k < table.size(); ++k) {
    const bool raised = table[k] < floor && table[k] != 0;
    importance[k] = raised ? floor : table[k];
    deficit += raised ? floor - table[k] : 0;
  }
  if (deficit > 0 && importance[largest] <= deficit) {  // only in rows that sum to less than 1
    importance[largest] = floor;
    NormaliseRow(importance);
  } else {
    importance[largest] -= deficit;
  }
}

void ClipRowByEpsilon(double floor, std::span<double> row) {
  const auto possible = row.size() - static_cast<std::size_t>(std::count(row.begin(), row.end(), 0.0));
  std::size_t raised = 0;
  double deficit = 0;
  for (double& entry : row) {
    if (entry < floor && entry != 0) {
      deficit += floor - entry;
      entry = floor;
      ++raised;
    }
  }
  if (raised == 0) {
    return;
  }
  bool cutShort = raised == possible;
  const double share = cutShort ? 0 : deficit / static_cast<double>(possible - raised);
  for (double& entry : row) {
    if (entry > floor) {
      cutShort = cutShort || entry - share < floor;
      entry = std::max(entry - share, floor);
    }
  }
  if (cutShort) {
    NormaliseRow(row);
  }
}

}  // namespace

void ClipByRule(std::span<const double> table, int outcomeCount, std::span<double> importance) {
  if (outcomeCount > kMostClipped) {
    SpreadUniformly(table, outcomeCount, importance);
    return;
  }
  const auto width = static_cast<std::size_t>(outcomeCount);
  for (std::size_t start = 0; start < table.size(); start += width) {
    ClipRowByRule(table.subspan(start, width), FloorByRule(outcomeCount), importance.subspan(start, width));
  }
}

void SpreadUniformly(std::span<const double> table, int outcomeCount, std::span<double> importance) {
  const auto width = static_cast<std::size_t>(outcomeCount);
  for (std::size_t start = 0; start < table.size(); start += width) {
    const auto row = table.subspan(start, width);
    const auto possible = width - static_cast<std::size_t>(std::count(row.begin(), row.end(), 0.0));
    std::transform(row.begin(), row.end(), importance.begin() + static_cast<std::ptrdiff_t>(start),
                   [possible](double entry) { return entry == 0 ? 0 : 1.0 / static_cast<double>(possible); });
  }
}

void ClipByEpsilon(const EpisParameters& parameters, int outcomeCount, std::span<double> importance) {
  const double floor = FloorByEpsilon(parameters, outcomeCount);
  const auto width = static_cast<std::size_t>(outcomeCount);
  for (std::size_t start = 0; start < importance.size(); start += width) {
    ClipRowByEpsilon(floor, importance.subspan(start, width));
  }
}

}  // namespace qvr
