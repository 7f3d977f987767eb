// Keywords without regard to case. Other letters than those of ASCII are left alone, whatever the locale.
#ifndef QVR_FORMATS_ASCII_CASE_H
#define QVR_FORMATS_ASCII_CASE_H

#include <algorithm>
#include <string>
#include <string_view>

namespace qvr {

[[nodiscard]] constexpr char ToLowerAscii(char c) {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

[[nodiscard]] inline std::string ToLowerAscii(std::string_view text) {
  std::string lower(text);
  std::transform(lower.begin(), lower.end(), lower.begin(), [](char c) { return ToLowerAscii(c); });
  return lower;
}

[[nodiscard]] inline bool EqualIgnoringCase(std::string_view a, std::string_view b) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                    [](char x, char y) { return ToLowerAscii(x) == ToLowerAscii(y); });
}

}  // namespace qvr

#endif
