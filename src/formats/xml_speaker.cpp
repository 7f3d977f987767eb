// Reading XMLBIF: the document, and what its elements have in common.
#include "formats/xml_speaker.h"

#include <algorithm>

#include "model/error_log.h"
#include "model/network.h"

namespace qvr {
namespace {

constexpr const char* kTags[] = {"BIF",      "NETWORK",    "NAME", "VARIABLE", "OUTCOME",
                                 "PROPERTY", "DEFINITION", "FOR",  "GIVEN",    "TABLE"};
constexpr const char* kVersion = "0.3";

bool IsKnownTag(const std::string& name) {
  return std::find(std::begin(kTags), std::end(kTags), name) != std::end(kTags);
}

// All lines of the file, with a line feed behind each. -103, logged.
int ReadLines(const char* fileName, std::string& out) {
  QVR_textFile file;
  if (const int status = file.Open(fileName, kOpenForReading); status < 0) {
    return status;
  }
  std::string line;
  for (;;) {
    const int status = file.ReadLine(line);
    if (status < 0) {
      return status == QVR_FILE_ERROR_102 ? QVR_OKAY : GetErrorLog().Log(status, nullptr);
    }
    out += line;
  }
}

}  // namespace

int QVR_xmlSpeaker::ReadFile(const char* fileName) {
  std::string content;
  if (const int status = ReadLines(fileName, content); status < 0) {
    return status;
  }
  scanner = std::make_unique<XmlScanner>(std::move(content));
  names = std::make_unique<WrittenNames>(network);
  if (const int status = ReadProlog(); status < 0) {
    return status;
  }
  bool sawNetwork = false;
  ReadChildren("BIF", [&] {
    if (tag.name != "NETWORK" || sawNetwork) {
      RefuseTag("Unknown Net Field");
      return;
    }
    sawNetwork = true;
    ReadChildren("NETWORK", [this] { ReadNetworkChild(); });
    for (const Definition& definition : postponed) {
      lineOfReport = definition.line;
      Apply(definition);
    }
    lineOfReport = 0;
  });
  return QVR_OKAY;
}

int QVR_xmlSpeaker::ReadProlog() {
  const std::string stray = scanner->ReadStrayWord();
  if (!stray.empty()) {
    return Report(QVR_SYNTAX_ERROR, "ERROR: '" + stray + "' : '<' expected");
  }
  if (!scanner->NextTag(tag)) {
    return Report(QVR_SYNTAX_ERROR, "ERROR: End of File : Expecting 'BIF'");
  }
  if (tag.kind == XmlTag::Kind::kEnd || tag.name != "BIF") {
    return Report(QVR_SYNTAX_ERROR, "ERROR: '" + tag.name + "' : 'BIF' expected");
  }
  const std::string* version = tag.FindAttribute("VERSION");
  return version != nullptr && *version == kVersion
             ? QVR_OKAY
             : Report(QVR_OUT_OF_RANGE, "ERROR: Incorrect BIF Version");
}

int QVR_xmlSpeaker::ReportMissingTag(const std::string& name) {
  return Report(QVR_SYNTAX_ERROR, "ERROR: [" + name + "] : Tag Not found");
}

bool QVR_xmlSpeaker::ReadChildren(const char* element, const std::function<void()>& readChild) {
  if (tag.kind == XmlTag::Kind::kEmpty) {
    return true;
  }
  openElements.emplace_back(element);
  bool isOpen = true;
  while (isOpen && scanner->NextTag(tag)) {
    if (tag.kind != XmlTag::Kind::kEnd) {
      readChild();
    } else if (tag.name == element) {
      openElements.pop_back();
      return true;
    } else if (IsOpen(tag.name)) {
      scanner->Back();
      isOpen = false;
    } else {
      Report(QVR_SYNTAX_ERROR, "ERROR: '" + tag.name + "' : Misplaced statement");
    }
  }
  openElements.pop_back();
  ReportMissingTag(element);
  return false;
}

bool QVR_xmlSpeaker::IsOpen(const std::string& name) const {
  return std::find(openElements.begin(), openElements.end(), name) != openElements.end();
}

void QVR_xmlSpeaker::RefuseTag(const char* message) {
  Report(QVR_SYNTAX_ERROR,
         "ERROR: '" + tag.name + "' : " + (IsKnownTag(tag.name) ? "Misplaced statement" : message));
  SkipBlock();
}

int QVR_xmlSpeaker::SkipBlock() {
  if (tag.kind == XmlTag::Kind::kEmpty) {
    return QVR_OKAY;
  }
  const std::string name = tag.name;
  for (long long depth = 1; depth > 0;) {
    if (!scanner->NextTag(tag)) {
      return ReportMissingTag(name);
    }
    if (tag.name == name) {
      depth += tag.kind == XmlTag::Kind::kStart ? 1 : 0;
      depth -= tag.kind == XmlTag::Kind::kEnd ? 1 : 0;
    } else if (tag.kind == XmlTag::Kind::kEnd && IsOpen(tag.name)) {
      scanner->Back();
      return ReportMissingTag(name);
    }
  }
  return QVR_OKAY;
}

bool QVR_xmlSpeaker::ReadElementText(std::string& out) {
  out.clear();
  if (tag.kind == XmlTag::Kind::kEmpty) {
    return true;
  }
  const std::string name = tag.name;
  out = scanner->ReadText();
  if (scanner->NextTag(tag)) {
    if (tag.kind == XmlTag::Kind::kEnd && tag.name == name) {
      return true;
    }
    scanner->Back();
  }
  ReportMissingTag(name);
  return false;
}

}  // namespace qvr
