#include "app/result_table.h"

#include <system_error>

#include "formats/atomic_file.h"
#include "model/special_numbers.h"
#include "model/status.h"

namespace qvr {

namespace {

constexpr int kSignificantDigits = 6;

bool WriteRows(AtomicFile& file, const std::vector<std::vector<double>>& resultRows,
               const std::vector<std::string>& resultHeader) {
  std::string line;
  for (const std::string& cell : resultHeader) {
    line += cell;
    line += ',';
  }
  line += '\n';
  if (!file.Write(line)) {
    return false;
  }
  for (const std::vector<double>& row : resultRows) {
    line.clear();
    for (double cell : row) {
      line += FormatGeneral(cell, kSignificantDigits);
      line += ',';
    }
    line += '\n';
    if (!file.Write(line)) {
      return false;
    }
  }
  return true;
}

}  // namespace

Failure WriteResultTable(const std::string& fileName, const std::vector<std::vector<double>>& resultRows,
                         const std::vector<std::string>& resultHeader) {
  AtomicFile file(fileName);
  if (file.IsOpen() && WriteRows(file, resultRows, resultHeader) && file.Commit() == QVR_OKAY) {
    return std::nullopt;
  }
  return fileName + ": can't write the file: " + std::generic_category().message(file.GetFailure());
}

}  // namespace qvr
