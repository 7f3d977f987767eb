// The result table: a comma-separated file that appears whole or not at all.
#ifndef QVR_APP_RESULT_TABLE_H
#define QVR_APP_RESULT_TABLE_H

#include <string>
#include <vector>

#include "app/csv_table.h"

namespace qvr {

// Writes the header and the rows, each cell followed by a comma, numbers with six significant digits. A
// temporary file beside the named one takes its name when all is on disk, so a failure leaves an old table
// as it was.
[[nodiscard]] Failure WriteResultTable(const std::string& fileName,
                                       const std::vector<std::vector<double>>& resultRows,
                                       const std::vector<std::string>& resultHeader);

}  // namespace qvr

#endif
