#include "definitions/utility_scale.h"

#include <algorithm>
#include <cmath>

#include "model/special_numbers.h"

namespace qvr {

UtilityRange RangeOf(std::span<const double> cells) {
  if (cells.empty()) {
    return {0, 0};
  }
  UtilityRange range = {cells[0], cells[0]};
  for (double cell : cells) {
    range.minimum = cell < range.minimum ? cell : range.minimum;
    range.maximum = cell > range.maximum ? cell : range.maximum;
  }
  return range;
}

bool RescaleCells(std::span<double> cells, double fromLow, double fromHigh, double toLow, double toHigh,
                  ScaleOrder order) {
  const UtilityRange held = RangeOf(cells);
  const bool takesHeld = fromLow == fromHigh;
  const double low = takesHeld || held.minimum < fromLow ? held.minimum : fromLow;
  const double high = takesHeld || held.maximum > fromHigh ? held.maximum : fromHigh;
  if (low == high || toLow == toHigh) {
    std::fill(cells.begin(), cells.end(), toHigh);
    return true;
  }
  if (low == toLow && high == toHigh) {
    return false;
  }
  // The ends of a range may be further apart than the largest double, their halves not.
  const bool isWide = !std::isfinite(high - low) || !std::isfinite(toHigh - toLow);
  const double unit = isWide ? 0.5 : 1.0;
  const double fromRange = high * unit - low * unit;
  const double toRange = toHigh * unit - toLow * unit;
  const double factor = toRange / fromRange;
  for (double& cell : cells) {
    if (!IsUndefined(cell)) {
      const double share = cell * unit - low * unit;
      double scaled = order == ScaleOrder::FactorFirst ? share * factor : share * toRange / fromRange;
      if (isWide) {
        scaled = share / fromRange * toRange;
      }
      cell = (scaled + toLow * unit) / unit;
    }
  }
  return true;
}

}  // namespace qvr
