// Conversion between UTF-8, as parsers and terminals have it, and the engine's single-byte text.
#ifndef QVR_FORMATS_LATIN1_H
#define QVR_FORMATS_LATIN1_H

#include <string>
#include <string_view>

namespace qvr {

// Characters above U+00FF become "?". Broken sequences are decoded as far as they go.
void ConvertToLatin1(std::string& text);
[[nodiscard]] bool IsValidUtf8(const std::string& text);
// Texts of files that don't say how they are encoded: converted if they are valid UTF-8 throughout, else
// kept.
void ConvertFileText(std::string& text);
[[nodiscard]] std::string ToUtf8(std::string_view latin1);

}  // namespace qvr

#endif
