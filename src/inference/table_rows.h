// Rows of tables that hold one probability for each outcome.
#ifndef QVR_INFERENCE_TABLE_ROWS_H
#define QVR_INFERENCE_TABLE_ROWS_H

#include <cstddef>
#include <span>

namespace qvr {

// Scales the row to sum to 1; a row whose sum isn't above 0 becomes uniform.
void NormaliseRow(std::span<double> row);
void NormaliseRows(std::span<double> cells, int outcomeCount);

}  // namespace qvr

#endif
