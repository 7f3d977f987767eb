#include "inference/draw_thresholds.h"

namespace qvr {

namespace {

constexpr int kDraws = ShortStream::kLargest + 1;

// How many draws, from 0 on, `isBelow` holds for; it holds for all draws up to some one. Starts from a guess
// that is at most a step or two off.
template <typename Predicate>
int CountDraws(double sum, Predicate isBelow) {
  if (!(sum > 0)) {
    return 0;
  }
  int count = sum >= 1 ? kDraws : static_cast<int>(sum * ShortStream::kLargest);
  while (count < kDraws && isBelow(count)) {
    ++count;
  }
  while (count > 0 && !isBelow(count - 1)) {
    --count;
  }
  return count;
}

template <typename Below>
void MakeRow(std::span<const double> row, Below below, std::uint16_t* out) {
  double sum = 0;
  int threshold = 0;
  for (std::size_t k = 0; k < row.size(); ++k) {
    sum += row[k];
    threshold = std::max(threshold, CountDraws(sum, [sum, below](int draw) { return below(draw, sum); }));
    out[k] = static_cast<std::uint16_t>(threshold);
  }
}

std::size_t LastPossible(std::span<const double> row) {
  for (std::size_t k = row.size(); k > 0; --k) {
    if (row[k - 1] != 0) {
      return k - 1;
    }
  }
  return row.size() - 1;
}

}  // namespace

void MakeThresholds(std::span<const double> cells, int outcomeCount, std::uint16_t* out) {
  const auto width = static_cast<std::size_t>(outcomeCount);
  for (std::size_t start = 0; start < cells.size(); start += width) {
    const auto below = [](int draw, double sum) { return sum > UniformOf(draw); };
    MakeRow(cells.subspan(start, width), below, out + start);
  }
}

void MakeSampleThresholds(std::span<const double> cells, int outcomeCount, std::uint16_t* out) {
  const auto width = static_cast<std::size_t>(outcomeCount);
  for (std::size_t start = 0; start < cells.size(); start += width) {
    const std::span<const double> row = cells.subspan(start, width);
    const auto below = [](int draw, double sum) { return sum >= SampleUniformOf(draw); };
    MakeRow(row, below, out + start);
    std::fill(out + start + LastPossible(row), out + start + width, static_cast<std::uint16_t>(kDraws));
  }
}

}  // namespace qvr
