// The sink of XML errors and warnings that writes to the error log.
#ifndef QVR_FORMATS_XML_ERROR_HANDLER_H
#define QVR_FORMATS_XML_ERROR_HANDLER_H

#include <string>

#include "formats/xml_interfaces.h"

namespace qvr {

// Errors are logged under -103, warnings under -100.
class XmlErrorHandler : public IXmlErrorHandler {
 public:
  void OnError(const std::string& message, long line, long column) override;
  void OnUnknownElement(const std::string& element, const std::string& parent, long line,
                        long column) override;
  void OnUnknownAttribute(const std::string& element, const std::string& attribute, long line,
                          long column) override;

  // The name for the messages, owned by the caller; null for none. Starts a new count of warnings.
  void SetFileName(const std::string* newFileName);
  // To be called after a successful parse: logs one closing notice if there was a warning.
  void ReportUnknownContent() const;

 private:
  void Warn(const std::string& what, long line, long column);
  [[nodiscard]] std::string PositionSuffix(long line, long column) const;

  const std::string* fileName = nullptr;
  bool sawUnknown = false;
  int warningCount = 0;
};

}  // namespace qvr

#endif
