#include "model/special_numbers.h"

#include <locale.h>
#include <stdlib.h>

#include <algorithm>
#include <charconv>
#include <limits>

#include "model/status.h"

namespace qvr {
namespace {

struct Spelling {
  std::string_view text;
  double value;
};
// The first spelling of a value is the one that is written.
constexpr Spelling kSpellings[] = {
    {"0.0E-2", kUndefined}, {"UNDEF.", kUndefined},    {"0.0E-3", kIllegal},
    {"ILLEGAL", kIllegal},  {"0.0E-4", kNotAvailable}, {"NA", kNotAvailable},
};

constexpr bool IsSpace(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }

constexpr bool IsDecimalCharacter(char c) {
  return (c >= '0' && c <= '9') || c == '.' || c == '-' || c == '+' || c == 'e' || c == 'E';
}

double ParseAnyDouble(const char* text, const char** end) {
  static const locale_t cLocale = newlocale(LC_ALL_MASK, "C", nullptr);
  char* stop = nullptr;
  const double value = strtod_l(text, &stop, cLocale);
  if (end != nullptr) {
    *end = stop;
  }
  return value;
}

}  // namespace

std::string DoubleToText(double value) {
  for (const Spelling& spelling : kSpellings) {
    if (SameBits(value, spelling.value)) {
      return std::string(spelling.text);
    }
  }
  char text[std::numeric_limits<double>::max_exponent10 + 16];
  char* const end = std::to_chars(text, text + sizeof text, value, std::chars_format::fixed, 8).ptr;
  return std::string(text, end);
}

int TextToDouble(const char* text, double& value) {
  if (text == nullptr) {
    return QVR_OUT_OF_RANGE;
  }
  for (const Spelling& spelling : kSpellings) {
    if (spelling.text == text) {
      value = spelling.value;
      return QVR_OKAY;
    }
  }
  const char* end = nullptr;
  const double parsed = ParseDouble(text, &end);
  if (end == text) {
    return QVR_OUT_OF_RANGE;
  }
  value = parsed;
  return QVR_OKAY;
}

// Plain decimals, nearly all there are, go the fast way; what from_chars doesn't know, or reads in another
// way than strtod, goes the slow one.
double ParseDouble(const char* text, const char** end) {
  const char* last = text;
  while (IsDecimalCharacter(*last)) {
    ++last;
  }
  double value = 0.0;
  const auto [stop, error] = std::from_chars(text, last, value);
  if (error != std::errc{} || *stop == 'x' || *stop == 'X') {
    return ParseAnyDouble(text, end);
  }
  if (end != nullptr) {
    *end = stop;
  }
  return value;
}

std::string FormatGeneral(double value, int digits) {
  const int precision = std::max(digits, 0);
  std::string text(static_cast<std::size_t>(precision) + 32, '\0');
  char* const begin = text.data();
  const char* const end =
      std::to_chars(begin, begin + text.size(), value, std::chars_format::general, precision).ptr;
  text.resize(static_cast<std::size_t>(end - begin));
  return text;
}

int ParseIntClamped(const char* text) {
  if (text == nullptr) {
    return 0;
  }
  while (IsSpace(*text)) {
    ++text;
  }
  const bool negative = *text == '-';
  if (*text == '-' || *text == '+') {
    ++text;
  }
  std::int64_t magnitude = 0;
  constexpr std::int64_t kLimit = std::int64_t{1} << 31;
  for (; *text >= '0' && *text <= '9'; ++text) {
    magnitude = std::min(magnitude * 10 + (*text - '0'), kLimit);
  }
  return static_cast<int>(negative ? -magnitude : std::min(magnitude, kLimit - 1));
}

}  // namespace qvr
