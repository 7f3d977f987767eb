// Conversion of the UTF-8 that the XML parser delivers to the engine's single-byte text.
#ifndef QVR_FORMATS_LATIN1_H
#define QVR_FORMATS_LATIN1_H

#include <string>

namespace qvr {

// Characters above U+00FF become "?". Broken sequences are decoded as far as they go.
void ConvertToLatin1(std::string& text);

}  // namespace qvr

#endif
