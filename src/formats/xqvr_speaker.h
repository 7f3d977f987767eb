// The speaker of the XML network format.
#ifndef QVR_FORMATS_XQVR_SPEAKER_H
#define QVR_FORMATS_XQVR_SPEAKER_H

#include "formats/file_format.h"

namespace qvr {

class QVR_xqvrSpeaker : public QVR_fileFormat {
 public:
  using QVR_fileFormat::QVR_fileFormat;

  [[nodiscard]] int ReadFile(const char* fileName) override;  // 0 or -103
  [[nodiscard]] int WriteFile(
      const char* fileName) override;  // 0, -103, or -2 with a node of a type without element
  [[nodiscard]] bool AcceptsDuplicateIds() const override { return true; }
  [[nodiscard]] bool VouchesForGraph() const override { return true; }  // parents precede their children
  void SetExtension(IXmlBinding* newExtension) override { binding = newExtension; }
  void SetExtension(IXmlWriterExtension* newExtension) override { extension = newExtension; }

 private:
  IXmlBinding* binding = nullptr;            // not owned
  IXmlWriterExtension* extension = nullptr;  // not owned
};

}  // namespace qvr

#endif
