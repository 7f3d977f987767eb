// The range of a table of utilities, and bringing it to another scale.
#ifndef QVR_DEFINITIONS_UTILITY_SCALE_H
#define QVR_DEFINITIONS_UTILITY_SCALE_H

#include <span>

namespace qvr {

struct UtilityRange {
  double minimum;
  double maximum;
};

// A cell that holds kUndefined counts as the number that it is; of equals the first counts. Zeros without
// cells.
[[nodiscard]] UtilityRange RangeOf(std::span<const double> cells);

// The order of the operations on a cell x of [low, high]; the results may differ in the last bit.
enum class ScaleOrder {
  MultiplyFirst,  // (x - low) * (toHigh - toLow) / (high - low) + toLow
  FactorFirst,    // (x - low) * f + toLow with f = (toHigh - toLow) / (high - low)
};

// Maps [fromLow, fromHigh] linearly to [toLow, toHigh]. The source range is that of the cells if its ends are
// equal, and otherwise widened to hold them. Cells that hold kUndefined stay, but where one of the two ranges
// is a single point all cells become toHigh. False if nothing had to change.
bool RescaleCells(std::span<double> cells, double fromLow, double fromHigh, double toLow, double toHigh,
                  ScaleOrder order);

}  // namespace qvr

#endif
