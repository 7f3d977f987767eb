#include "app/csv_table.h"

#include <algorithm>
#include <charconv>
#include <fstream>
#include <system_error>

namespace qvr {

namespace {

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
constexpr std::string_view kWhiteSpace = " \t\n\v\f\r";

// The lines of a text file, one after the other.
class LineReader {
 public:
  explicit LineReader(const std::string& fileName) : stream(fileName) {}

  // False at the end. The line stays valid until the next call.
  bool Next(std::string_view& line) {
    if (!std::getline(stream, buffer)) {
      return false;
    }
    line = buffer;
    if (lineNumber++ == 0 && line.starts_with(kByteOrderMark)) {
      line.remove_prefix(kByteOrderMark.size());
    }
    if (line.ends_with('\r')) {
      line.remove_suffix(1);
    }
    return true;
  }

  [[nodiscard]] long GetLineNumber() const { return lineNumber; }
  [[nodiscard]] bool CouldOpen() const { return stream.is_open(); }
  [[nodiscard]] bool HasFailed() const { return stream.bad(); }

 private:
  std::ifstream stream;
  std::string buffer;
  long lineNumber = 0;
};

// The number at the start of a field, behind white space and a sign; what follows it is ignored.
Failure ParseInt(std::string_view field, int& number) {
  field.remove_prefix(std::min(field.find_first_not_of(kWhiteSpace), field.size()));
  if (field.starts_with('+') && !field.starts_with("+-")) {
    field.remove_prefix(1);
  }
  const std::from_chars_result result = std::from_chars(field.data(), field.data() + field.size(), number);
  if (result.ec == std::errc::result_out_of_range) {
    return "stoi argument out of range";
  }
  if (result.ec != std::errc()) {
    return "invalid stoi argument";
  }
  return std::nullopt;
}

}  // namespace

void CsvTable::Split(std::string_view line, std::string_view delimiter,
                     std::vector<std::string_view>& fields) {
  std::size_t start = 0;
  for (std::size_t match = line.find(delimiter); match != std::string_view::npos;
       match = line.find(delimiter, start)) {
    fields.push_back(line.substr(start, match - start));
    start = match + delimiter.size();
  }
  fields.push_back(line.substr(start));
}

std::vector<std::string_view> CsvTable::FieldsOf(std::string_view line) const {
  std::vector<std::string_view> fields;
  Split(line, delimiter, fields);
  if (fields.back().empty()) {
    fields.pop_back();
  }
  return fields;
}

Failure CsvTable::ReadStringTable(const std::string& fileName, StringRows& out) const {
  LineReader reader(fileName);
  for (std::string_view line; reader.Next(line);) {
    const std::vector<std::string_view> fields = FieldsOf(line);
    out.emplace_back(fields.begin(), fields.end());
  }
  return reader.HasFailed() ? Failure(fileName + ": can't read the file") : std::nullopt;
}

Failure CsvTable::ReadIntTable(const std::string& fileName, IntColumns& out) const {
  LineReader reader(fileName);
  for (std::string_view line; reader.Next(line);) {
    const std::string place = fileName + ":" + std::to_string(reader.GetLineNumber());
    if (Failure failure = AppendInts(place, line, out)) {
      return failure;
    }
  }
  if (!reader.CouldOpen()) {
    return fileName + ": can't open the file";
  }
  if (reader.HasFailed()) {
    return fileName + ": can't read the file";
  }
  if (reader.GetLineNumber() == 0) {
    return fileName + ": the file is empty";
  }
  return std::nullopt;
}

Failure CsvTable::AppendInts(const std::string& place, std::string_view line, IntColumns& out) const {
  const std::vector<std::string_view> fields = FieldsOf(line);
  if (fields.empty()) {
    return place + ": the line has no fields";
  }
  if (out.empty()) {
    out.resize(fields.size());
  }
  for (std::size_t column = 0; column < fields.size(); ++column) {
    int number = 0;
    if (Failure failure = ParseInt(fields[column], number)) {
      return place + ":" + std::to_string(column + 1) + ": " + *failure + ": '" +
             std::string(fields[column]) + "'";
    }
    if (column < out.size()) {
      out[column].push_back(number);
    }
  }
  if (fields.size() < out.size()) {
    return place + ": the line has " + std::to_string(fields.size()) + " fields, the first line " +
           std::to_string(out.size());
  }
  return std::nullopt;
}

}  // namespace qvr
