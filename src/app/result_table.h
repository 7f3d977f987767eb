// The result table: a comma-separated file that appears whole or not at all.
#ifndef QVR_APP_RESULT_TABLE_H
#define QVR_APP_RESULT_TABLE_H

#include <string>
#include <vector>

#include "app/csv_table.h"

namespace qvr {

struct TableStyle {
  int digits = 6;             // significant ones
  bool endsWithComma = true;  // each cell is followed by a comma, the last of a line too
};

// Writes the header and the rows. A temporary file beside the named one takes its name when all is on disk,
// so a failure leaves an old table as it was.
[[nodiscard]] Failure WriteResultTable(const std::string& fileName,
                                       const std::vector<std::vector<double>>& resultRows,
                                       const std::vector<std::string>& resultHeader, TableStyle style = {});

}  // namespace qvr

#endif
