#include "inference/table_rescale.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>

namespace qvr {
namespace {

constexpr double kSmallest = 0x1p-256;
constexpr double kLargest = 0x1p256;
// Divisors from here on leave quotients of a rescaled table finite.
constexpr double kSmallestDivisor = 0x1p-700;
constexpr int kShiftBelow = -64;  // for smaller ones, down to the smallest double
// The whole factor for the smallest doubles would itself be no double.
constexpr int kLargestShift = 1000;

double Larger(double a, double b) { return a > b ? a : b; }

void Scale(std::span<double> table, int shift) {
  const double factor = std::ldexp(1.0, shift);
  for (double& entry : table) {
    entry *= factor;
  }
}

}  // namespace

double LargestEntry(std::span<const double> table) {
  // Independent lanes, since one running maximum would wait for itself at every entry.
  constexpr std::size_t kLanes = 8;
  std::array<double, kLanes> lanes{};
  const std::size_t whole = table.size() - table.size() % kLanes;
  for (std::size_t i = 0; i < whole; i += kLanes) {
    for (std::size_t lane = 0; lane < kLanes; ++lane) {
      lanes[lane] = Larger(table[i + lane], lanes[lane]);
    }
  }
  for (std::size_t i = whole; i < table.size(); ++i) {
    lanes[0] = Larger(table[i], lanes[0]);
  }
  return *std::max_element(lanes.begin(), lanes.end());
}

void RescaleToUnit(std::span<double> table) {
  const double largest = LargestEntry(table);
  if (largest == 0.0 || !std::isfinite(largest)) {
    return;
  }
  int exponent = 0;
  std::frexp(largest, &exponent);
  const int shift = std::min(-exponent, kLargestShift);
  Scale(table, shift);
  if (shift != -exponent) {
    Scale(table, -exponent - shift);
  }
}

void RescaleTable(std::span<double> table) {
  const double largest = LargestEntry(table);
  if (largest < kSmallest || largest > kLargest) {
    RescaleToUnit(table);
  }
}

void KeepQuotientsFinite(std::span<double> dividend, std::span<const double> divisor) {
  RescaleTable(dividend);
  double smallest = kSmallestDivisor;
  for (const double entry : divisor) {
    smallest = entry > 0 && entry < smallest ? entry : smallest;
  }
  if (smallest < kSmallestDivisor) {
    RescaleToUnit(dividend);
    Scale(dividend, kShiftBelow);
  }
}

}  // namespace qvr
