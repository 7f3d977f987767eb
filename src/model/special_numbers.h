// The three doubles that mark values which aren't numbers, and the text form of numbers.
#ifndef QVR_MODEL_SPECIAL_NUMBERS_H
#define QVR_MODEL_SPECIAL_NUMBERS_H

#include <bit>
#include <cstdint>
#include <string>
#include <string_view>

namespace qvr {

inline constexpr double kUndefined = std::bit_cast<double>(std::uint64_t{0x0020000000000000});
inline constexpr double kIllegal = std::bit_cast<double>(std::uint64_t{0x0028000000000000});
inline constexpr double kNotAvailable = std::bit_cast<double>(std::uint64_t{0x0030000000000000});

// Special values are told apart by their bits, never by a floating-point comparison.
[[nodiscard]] constexpr bool SameBits(double a, double b) {
  return std::bit_cast<std::uint64_t>(a) == std::bit_cast<std::uint64_t>(b);
}
[[nodiscard]] constexpr bool IsUndefined(double x) { return SameBits(x, kUndefined); }
[[nodiscard]] constexpr bool IsNotAvailable(double x) { return SameBits(x, kNotAvailable); }

// "0.0E-2", "0.0E-3", "0.0E-4" for the special values, otherwise "%.8f" in the "C" locale.
[[nodiscard]] std::string DoubleToText(double value);
// The six spellings of the special values, otherwise as strtod in the "C" locale (trailing text is
// ignored). -2, with `value` unchanged, if no number stands at the start.
int TextToDouble(const char* text, double& value);

// strtod and "%.*g" in the "C" locale. `end`, when asked for, gets the place behind the number.
[[nodiscard]] double ParseDouble(const char* text, const char** end);
[[nodiscard]] std::string FormatGeneral(double value, int digits);
// As strtol in base 10 clamped to the range of int; a null or empty text gives 0.
[[nodiscard]] int ParseIntClamped(const char* text);

}  // namespace qvr

#endif
