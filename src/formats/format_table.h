// The file formats by extension and by code.
#ifndef QVR_FORMATS_FORMAT_TABLE_H
#define QVR_FORMATS_FORMAT_TABLE_H

#include <memory>

#include "formats/file_format.h"

namespace qvr {

enum FormatCode : int {
  kFormatByExtension = 0,
  kFormatErgo = 1,
  kFormatNetica = 2,
  kFormatMicrosoft = 3,
  kFormatText = 4,
  kFormatHugin = 5,
  kFormatXmlBif = 6,
  kFormatKi = 7,
  kFormatXml = 8,
};

// By what stands behind the last dot, whatever its case. -2 for null and for an unknown extension.
[[nodiscard]] int GetFormatFromExtension(const char* fileName);

// With a format of 0 the extension decides, and the code found is stored back. Null for a format without
// a speaker, logged under -2 as "Unknown File Format".
[[nodiscard]] std::unique_ptr<QVR_fileFormat> CreateSpeaker(QVR_network& network, const char* fileName,
                                                            int& format);

}  // namespace qvr

#endif
