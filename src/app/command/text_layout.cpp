#include "app/command/text_layout.h"

#include <algorithm>

namespace qvr {

std::size_t DisplayWidth(std::string_view utf8) {
  const auto isFirstByte = [](char c) { return (static_cast<unsigned char>(c) & 0xC0) != 0x80; };
  return static_cast<std::size_t>(std::count_if(utf8.begin(), utf8.end(), isFirstByte));
}

std::string PadRight(std::string text, std::size_t width) {
  const std::size_t present = DisplayWidth(text);
  text.append(width > present ? width - present : 0, ' ');
  return text;
}

std::string GroupedNumber(std::int64_t number) {
  std::string text = std::to_string(number);
  const std::size_t firstDigit = number < 0 ? 1 : 0;
  for (std::size_t place = text.size(); place > firstDigit + 3;) {
    place -= 3;
    text.insert(place, 1, ',');
  }
  return text;
}

}  // namespace qvr
