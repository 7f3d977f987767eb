// Text in columns, in UTF-8.
#ifndef QVR_APP_COMMAND_TEXT_LAYOUT_H
#define QVR_APP_COMMAND_TEXT_LAYOUT_H

#include <cstdint>
#include <string>
#include <string_view>

namespace qvr {

// In characters.
[[nodiscard]] std::size_t DisplayWidth(std::string_view utf8);
// Blanks behind the text up to this many characters.
[[nodiscard]] std::string PadRight(std::string text, std::size_t width);
// With a comma between thousands.
[[nodiscard]] std::string GroupedNumber(std::int64_t number);

}  // namespace qvr

#endif
