#include "formats/number_token.h"

#include <charconv>
#include <cstring>
#include <limits>
#include <system_error>
#include <utility>

#include "model/special_numbers.h"

namespace qvr {

bool ReadWholeDouble(const std::string& text, double& out) {
  const char* end = nullptr;
  const double value = ParseDouble(text.c_str(), &end);
  if (text.empty() || end != text.data() + text.size()) {
    return false;
  }
  out = value;
  return true;
}

bool ReadWholeInt(const std::string& text, int& out) {
  const char* end = nullptr;
  const long long value = ReadLeadingInteger(text.c_str(), end);
  if (text.empty() || end != text.data() + text.size() || !std::in_range<int>(value)) {
    return false;
  }
  out = static_cast<int>(value);
  return true;
}

long long ReadLeadingInteger(const char* text, const char*& end) {
  const char* first = text;
  while (IsXmlSpace(*first)) {
    ++first;
  }
  const bool negative = *first == '-';
  if (*first == '+' && first[1] != '-') {
    ++first;
  }
  long long value = 0;
  const std::from_chars_result result = std::from_chars(first, first + std::strlen(first), value);
  end = result.ec == std::errc::invalid_argument ? text : result.ptr;
  if (result.ec == std::errc::result_out_of_range) {
    return negative ? std::numeric_limits<long long>::min() : std::numeric_limits<long long>::max();
  }
  return result.ec == std::errc() ? value : 0;
}

}  // namespace qvr
