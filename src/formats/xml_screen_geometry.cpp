#include "formats/xml_screen_geometry.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <limits>

namespace qvr {
namespace {

constexpr std::size_t kColorDigits = 6;
constexpr unsigned kColorBits = 0xFFFFFF;

// Red and blue change places.
unsigned SwapEnds(unsigned color) { return (color & 0xFF) << 16 | (color & 0xFF00) | (color >> 16 & 0xFF); }

int Clamp(std::int64_t value) {
  return static_cast<int>(
      std::clamp<std::int64_t>(value, std::numeric_limits<int>::min(), std::numeric_limits<int>::max()));
}

}  // namespace

bool ReadColor(const std::string& text, int& color) {
  unsigned value = 0;
  const char* const end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, value, 16);
  if (text.size() != kColorDigits || stop != end || error != std::errc()) {
    return false;
  }
  color = static_cast<int>(SwapEnds(value));
  return true;
}

std::string ColorToText(int color) {
  char digits[kColorDigits];
  const unsigned value = SwapEnds(static_cast<unsigned>(color) & kColorBits);
  const std::string text(digits, std::to_chars(digits, digits + kColorDigits, value, 16).ptr);
  return std::string(kColorDigits - text.size(), '0') + text;
}

ScreenBox BoxOf(const QVR_rectangle& rectangle) {
  const std::int64_t left = std::int64_t{rectangle.centerX} - rectangle.width / 2;
  const std::int64_t top = std::int64_t{rectangle.centerY} - rectangle.height / 2;
  return {{Clamp(left), Clamp(top), Clamp(left + rectangle.width), Clamp(top + rectangle.height)}};
}

void SetBox(const ScreenBox& box, QVR_rectangle& rectangle) {
  const auto& [left, top, right, bottom] = box.sides;
  const std::int64_t width = std::int64_t{right} - left;
  const std::int64_t height = std::int64_t{bottom} - top;
  rectangle.width = Clamp(width);
  rectangle.height = Clamp(height);
  rectangle.centerX = Clamp(left + width / 2);
  rectangle.centerY = Clamp(top + height / 2);
}

}  // namespace qvr
