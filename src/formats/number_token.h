// Numbers in attributes and list elements, read as in the "C" locale.
#ifndef QVR_FORMATS_NUMBER_TOKEN_H
#define QVR_FORMATS_NUMBER_TOKEN_H

#include <string>

namespace qvr {

// White space of the "C" locale; no byte above 127 is.
[[nodiscard]] constexpr bool IsXmlSpace(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }

// What strtod makes of the text, if it consumes it whole; otherwise false with `out` left alone.
bool ReadWholeDouble(const std::string& text, double& out);

// The same for strtol in base 10 and an int.
bool ReadWholeInt(const std::string& text, int& out);

// As strtol in base 10 on 64 bits, clamped: `end` is the place behind the number, or the start of the
// text if there's none.
[[nodiscard]] long long ReadLeadingInteger(const char* text, const char*& end);

}  // namespace qvr

#endif
