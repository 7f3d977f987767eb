// Conversion of UTF-8 to the engine's single-byte text.
#ifndef QVR_FORMATS_LATIN1_H
#define QVR_FORMATS_LATIN1_H

#include <string>

namespace qvr {

// Characters above U+00FF become "?". Broken sequences are decoded as far as they go.
void ConvertToLatin1(std::string& text);
[[nodiscard]] bool IsValidUtf8(const std::string& text);
// Texts of files that don't say how they are encoded: converted if they are valid UTF-8 throughout, else
// kept.
void ConvertFileText(std::string& text);

}  // namespace qvr

#endif
