#include "app/result_table.h"

#include <system_error>

#include "formats/atomic_file.h"
#include "model/special_numbers.h"
#include "model/status.h"

namespace qvr {

namespace {

// Ends a line of cells that are each followed by a comma.
bool WriteLine(AtomicFile& file, std::string& line, TableStyle style) {
  if (!style.endsWithComma && !line.empty()) {
    line.pop_back();
  }
  line += '\n';
  const bool written = file.Write(line);
  line.clear();
  return written;
}

bool WriteRows(AtomicFile& file, const std::vector<std::vector<double>>& resultRows,
               const std::vector<std::string>& resultHeader, TableStyle style) {
  std::string line;
  for (const std::string& cell : resultHeader) {
    line += cell;
    line += ',';
  }
  bool written = WriteLine(file, line, style);
  for (std::size_t i = 0; i < resultRows.size() && written; ++i) {
    for (double cell : resultRows[i]) {
      line += FormatGeneral(cell, style.digits);
      line += ',';
    }
    written = WriteLine(file, line, style);
  }
  return written;
}

}  // namespace

Failure WriteResultTable(const std::string& fileName, const std::vector<std::vector<double>>& resultRows,
                         const std::vector<std::string>& resultHeader, TableStyle style) {
  AtomicFile file(fileName);
  if (file.IsOpen() && WriteRows(file, resultRows, resultHeader, style) && file.Commit() == QVR_OKAY) {
    return std::nullopt;
  }
  return fileName + ": can't write the file: " + std::generic_category().message(file.GetFailure());
}

}  // namespace qvr
