#include "formats/format_table.h"

#include <string_view>

#include "formats/ascii_case.h"
#include "formats/ergo_speaker.h"
#include "formats/hugin_speaker.h"
#include "formats/ki_speaker.h"
#include "formats/microsoft_speaker.h"
#include "formats/netica_speaker.h"
#include "formats/qvr_speaker.h"
#include "formats/xml_speaker.h"
#include "formats/xqvr_speaker.h"
#include "model/error_log.h"
#include "model/status.h"

namespace qvr {
namespace {

struct Row {
  std::string_view extension;
  FormatCode format;
};

constexpr Row kRows[] = {
    {"erg", kFormatErgo}, {"dne", kFormatNetica}, {"dsc", kFormatMicrosoft},
    {"qvr", kFormatText}, {"net", kFormatHugin},  {"xml03", kFormatXmlBif},
    {"dxp", kFormatKi},   {"xqvr", kFormatXml},   {"qqvr", kFormatXml},
};

}  // namespace

int GetFormatFromExtension(const char* fileName) {
  const std::string_view name = fileName == nullptr ? "" : fileName;
  const std::size_t dot = name.rfind('.');
  if (dot == std::string_view::npos) {
    return QVR_OUT_OF_RANGE;
  }
  for (const Row& row : kRows) {
    if (EqualIgnoringCase(name.substr(dot + 1), row.extension)) {
      return row.format;
    }
  }
  return QVR_OUT_OF_RANGE;
}

std::unique_ptr<QVR_fileFormat> CreateSpeaker(QVR_network& network, const char* fileName, int& format) {
  if (format == kFormatByExtension) {
    format = GetFormatFromExtension(fileName);
  }
  switch (format) {
    case kFormatErgo:
      return std::make_unique<QVR_ergoSpeaker>(network);
    case kFormatNetica:
      return std::make_unique<QVR_neticaSpeaker>(network);
    case kFormatMicrosoft:
      return std::make_unique<QVR_microsoftSpeaker>(network);
    case kFormatHugin:
      return std::make_unique<QVR_huginSpeaker>(network);
    case kFormatKi:
      return std::make_unique<QVR_kiSpeaker>(network);
    case kFormatXmlBif:
      return std::make_unique<QVR_xmlSpeaker>(network);
    case kFormatText:
      return std::make_unique<QVR_qvrSpeaker>(network);
    case kFormatXml:
      return std::make_unique<QVR_xqvrSpeaker>(network);
    default:
      break;
  }
  GetErrorLog().Log(QVR_OUT_OF_RANGE, "Unknown File Format");
  return nullptr;
}

}  // namespace qvr
