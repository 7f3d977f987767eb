// Comma-separated input tables: rows of names, and the table of cases.
#ifndef QVR_APP_CSV_TABLE_H
#define QVR_APP_CSV_TABLE_H

#include <string>
#include <string_view>
#include <vector>

#include "app/failure.h"

namespace qvr {

// The fields of each line.
using StringRows = std::vector<std::vector<std::string>>;
// One row for each column of the file: columns[i][c] stands in column i of line c.
using IntColumns = std::vector<std::vector<int>>;

// Lines end in LF or CR LF, and a byte order mark at the start of a file is skipped. A field is the bytes
// between two delimiters, without quoting or trimming. One empty field at the end of a line is dropped, so
// a trailing comma is harmless and a blank line has no fields.
class CsvTable {
 public:
  // A line of n delimiters gives n + 1 fields, which point into the line.
  static void Split(std::string_view line, std::string_view delimiter, std::vector<std::string_view>& fields);

  // Appends one row for each line. A file that can't be opened has no lines.
  [[nodiscard]] Failure ReadStringTable(const std::string& fileName, StringRows& out) const;
  // Fails unless every field starts with an int, the first line has fields and no later one has fewer.
  // Fields beyond the first line's width must be numbers too, and are dropped.
  [[nodiscard]] Failure ReadIntTable(const std::string& fileName, IntColumns& out) const;

 private:
  [[nodiscard]] std::vector<std::string_view> FieldsOf(std::string_view line) const;
  [[nodiscard]] Failure AppendInts(const std::string& place, std::string_view line, IntColumns& out) const;

  std::string delimiter = ",";
};

}  // namespace qvr

#endif
