#include "app/command/assignment.h"

#include <cmath>

#include "app/csv_table.h"
#include "formats/latin1.h"
#include "model/special_numbers.h"

namespace qvr {

std::optional<Assignment> SplitAssignment(std::string_view argument) {
  const std::size_t sign = argument.find('=');
  if (sign == 0 || sign == std::string_view::npos || sign + 1 == argument.size()) {
    return std::nullopt;
  }
  Assignment parts{std::string(argument.substr(0, sign)), std::string(argument.substr(sign + 1))};
  ConvertToLatin1(parts.name);
  ConvertToLatin1(parts.value);
  return parts;
}

std::optional<double> ParseNumber(const std::string& text) {
  const char* end = nullptr;
  const double number = ParseDouble(text.c_str(), &end);
  if (text.empty() || end != text.c_str() + text.size() || !std::isfinite(number)) {
    return std::nullopt;
  }
  return number;
}

std::optional<std::vector<double>> ParseNumbers(std::string_view text) {
  std::vector<std::string_view> fields;
  CsvTable::Split(text, ",", fields);
  std::vector<double> numbers;
  for (const std::string_view field : fields) {
    const std::optional<double> number = ParseNumber(std::string(field));
    if (!number) {
      return std::nullopt;
    }
    numbers.push_back(*number);
  }
  return numbers;
}

}  // namespace qvr
