#include "formats/xml_error_handler.h"

#include "formats/xml_version.h"
#include "model/error_log.h"
#include "model/status.h"

namespace qvr {
namespace {

// A file of nothing but unknown elements would otherwise fill the memory with messages, which are many
// times as long as an element can be.
constexpr int kMaxWarnings = 100'000;

}  // namespace

void XmlErrorHandler::SetFileName(const std::string* newFileName) {
  fileName = newFileName;
  sawUnknown = false;
  warningCount = 0;
}

void XmlErrorHandler::OnError(const std::string& message, long line, long column) {
  GetErrorLog().Log(QVR_FILE_IO_FAILED, "Error" + PositionSuffix(line, column) + ": " + message);
}

void XmlErrorHandler::OnUnknownElement(const std::string& element, const std::string& /*parent*/, long line,
                                       long column) {
  Warn("Warning: Ignored unknown element '" + element + "'", line, column);
}

void XmlErrorHandler::OnUnknownAttribute(const std::string& element, const std::string& attribute, long line,
                                         long column) {
  Warn("Warning: Ignored unknown attribute '" + attribute + "' in '" + element + "'", line, column);
}

void XmlErrorHandler::ReportUnknownContent() const {
  if (sawUnknown) {
    GetErrorLog().Log(QVR_FILE_ERROR_100,
                      "XML contains unknown elements and/or attributes. " + UpgradeNotice());
  }
}

void XmlErrorHandler::Warn(const std::string& what, long line, long column) {
  sawUnknown = true;
  if (warningCount > kMaxWarnings) {
    return;
  }
  ++warningCount;
  const std::string text =
      warningCount <= kMaxWarnings ? what : "Warning: Further unknown content isn't listed";
  GetErrorLog().Log(QVR_FILE_ERROR_100, text + PositionSuffix(line, column));
}

std::string XmlErrorHandler::PositionSuffix(long line, long column) const {
  std::string suffix = " at " + std::to_string(line) + ", " + std::to_string(column);
  if (fileName != nullptr) {
    suffix += " while loading " + *fileName;
  }
  return suffix;
}

}  // namespace qvr
