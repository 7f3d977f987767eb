// Reading the KI format.
#include "formats/ki_speaker.h"

#include <fstream>
#include <utility>

#include "formats/ascii_case.h"
#include "formats/latin1.h"
#include "formats/qvr_speaker.h"
#include "formats/table_exchange.h"
#include "model/error_log.h"
#include "model/identifier.h"
#include "model/network.h"
#include "model/special_numbers.h"

namespace qvr {
namespace {

constexpr int kTarget = 0;
constexpr int kObservation = 1;
constexpr int kAuxiliary = 2;

constexpr const char* kSilentNetworkFields[] = {
    "NOTES",         "FIRSTSTATENAME",  "SECONDSTATENAME", "EXEPATH",     "NODEDATATYPE", "STATEDATATYPE",
    "PRECISION",     "STATENAMETYPE",   "NODETYPE",        "ADDNODE",     "ASKNODE",      "ASKSTATE",
    "SHOWDEBUGINFO", "INCLUDENASTATES", "VERSION",         "DISPLAYSIZE", "NODEFONTSPEC", nullptr};
constexpr const char* kSilentNodeFields[] = {"cost",
                                             "mandatoryValue",
                                             "SHORTNAME",
                                             "KI_SHORTNAME",
                                             "CLASS",
                                             "CATEGORY",
                                             "FONT",
                                             "FONTSIZE",
                                             "ORDER",
                                             "ENTRYTYPE",
                                             "ENTEREDNAME",
                                             "FINISHEDFLAG",
                                             "INCLUDEDEBUGINFO",
                                             "LONGNAME",
                                             "KI_LONGNAME",
                                             "predIndex",
                                             "predAbsentStates",
                                             nullptr};
constexpr const char* kFlagFields[] = {"OBSERVABLE", "HYPOTHESIS", "MANDATORY", "RECOMMENDABLE", nullptr};
constexpr const char* kSilentStateFields[] = {"APPNAME",  "ABBREVIATION", "LONGNAME", "SHORTNAME",
                                              "CATEGORY", "GROUP",        nullptr};
constexpr const char* kSilentDefinitionFields[] = {"PARTITIONS", "FUNCTION", "predIndex", "predAbsentStates",
                                                   nullptr};

bool Contains(const std::string& text, const char* word) { return text.find(word) != std::string::npos; }

// Zip archives, and other binary files of the same extension.
bool IsBinaryFile(const char* fileName) {
  std::ifstream file(fileName, std::ios::binary);
  char block[4096];
  for (bool isFirst = true; file.read(block, sizeof block), file.gcount() > 0; isFirst = false) {
    const std::string_view bytes(block, static_cast<std::size_t>(file.gcount()));
    if (bytes.find('\0') != std::string_view::npos || (isFirst && bytes.starts_with("PK"))) {
      return true;
    }
  }
  return false;
}

void ReplaceAll(std::string& text, std::string_view marker, const std::string& value) {
  for (std::size_t place = 0; (place = text.find(marker, place)) != std::string::npos;
       place += value.size()) {
    text.replace(place, marker.size(), value);
  }
}

}  // namespace

int QVR_kiSpeaker::ReadFile(const char* fileName) {
  if (fileName != nullptr && IsBinaryFile(fileName)) {
    return GetErrorLog().Log(QVR_SYNTAX_ERROR, "ERROR: Unable to parse file");
  }
  int status = StartReading(fileName, kLexerDefault);
  if (status == QVR_OKAY && NextIsKeyword("net") == 1) {
    lexer.reset();
    return QVR_qvrSpeaker(network).ReadFile(fileName);
  }
  if (status == QVR_OKAY) {
    status = ReadHeader();
  }
  if (status == QVR_OKAY) {
    ReadDocument([this] { return ReadSection(); });
  }
  lexer.reset();
  return status;
}

int QVR_kiSpeaker::WriteFile(const char* fileName) { return QVR_qvrSpeaker(network).WriteFile(fileName); }

int QVR_kiSpeaker::ReadHeader() {
  std::string name;
  int status = Expect(kTokenIdentifier, "diagnostic");
  if (status == QVR_OKAY) {
    status = Expect(kTokenIdentifier, "network");
  }
  if (status == QVR_OKAY) {
    status = ExpectString(name);
  }
  if (status == QVR_OKAY) {
    QVR_header& header = network.GetSubmodels().GetSubmodel(QVR_submodelHandler::kMainSubmodel)->header;
    ConvertFileText(name);
    header.SetName(name.c_str());
    header.SetId(IsPlainIdentifier(name) ? name.c_str() : "x_Unnamed_Network_");
    TryExpect(kTokenPunctuator, ";");
  }
  return status;
}

int QVR_kiSpeaker::ReadSection() {
  if (NextIsKeyword("standard") == 1) {
    return ReadNode(kTypeCpt);
  }
  if (NextIsKeyword("ci") == 1) {
    return ReadNode(kTypeNoisyMax);
  }
  if (NextIsKeyword("network") == 1) {
    return ReadDefinitions();
  }
  return ReadNetworkField();
}

int QVR_kiSpeaker::ReadNetworkField() {
  if (NextIsOneOf(kSilentNetworkFields) == 1) {
    return SkipBlock();
  }
  const bool isPosition = NextIsKeyword("position") == 1;
  if (!isPosition && NextIsKeyword("size") != 1) {
    return ReportUnknown("Unknown Node Statement");
  }
  std::vector<int> numbers;
  for (const std::string& text : TakeValue()) {
    if (!text.empty() && (IsAsciiLetterOrDigit(text.front()) || text.front() == '-')) {
      numbers.push_back(ParseIntClamped(text.c_str()));
    }
  }
  if (numbers.size() >= 2) {
    QVR_rectangle& window =
        network.GetSubmodels().GetSubmodel(QVR_submodelHandler::kMainSubmodel)->windowPosition;
    (isPosition ? window.centerX : window.width) = numbers[0];
    (isPosition ? window.centerY : window.height) = numbers[1];
  }
  return QVR_OKAY;
}

std::vector<std::string> QVR_kiSpeaker::TakeValue() {
  std::vector<std::string> value;
  Consume();
  TryExpect(kTokenPunctuator, "=");
  while (!AtBlockEnd() && NextIsPunctuator(";") == 0) {
    if (std::string& word = value.emplace_back(); ReadIdentifier(word) < 0) {
      word = token.text;
      Consume();
    }
  }
  return value;
}

std::string QVR_kiSpeaker::TakeText() {
  std::string text;
  for (const std::string& word : TakeValue()) {
    text += (text.empty() ? "" : " ") + word;
  }
  ConvertFileText(text);
  return text;
}

int QVR_kiSpeaker::ReadNode(int type) {
  FileNode node;
  Consume();
  int status = NextIsString() == 1 ? ReadString(node.name) : ExpectIdentifier(node.name);
  if (status == QVR_OKAY) {
    status = Expect(kTokenPunctuator, "{");
  }
  if (status < 0) {
    return status;
  }
  ReadStatements([&] { return ReadNodeStatement(node); });
  ReadBlockEnd();
  ApplyNode(type, node);
  return QVR_OKAY;
}

int QVR_kiSpeaker::ReadNodeStatement(FileNode& node) {
  if (NextIsKeyword("standard") == 1) {
    return ReadState(node, false);
  }
  if (NextIsKeyword("fault") == 1) {
    return ReadState(node, true);
  }
  return ReadNodeField(node);
}

int QVR_kiSpeaker::ReadNodeField(FileNode& node) {
  if (NextIsOneOf(kSilentNodeFields) == 1) {
    return SkipBlock();
  }
  if (NextIsOneOf(kFlagFields) == 1) {
    return ReadFlag(node, ToLowerAscii(token.text));
  }
  if (NextIsKeyword("CLASSTYPE") == 1) {
    return ReadClass(node);
  }
  if (NextIsKeyword("type") == 1) {
    return ReadType(node);
  }
  std::string* text = NextIsKeyword("NAME") == 1         ? &node.title
                      : NextIsKeyword("DEFINITION") == 1 ? &node.comment
                      : NextIsKeyword("QUESTION") == 1   ? &node.question
                                                         : nullptr;
  if (text == nullptr) {
    return ReportUnknown("Unknown Node Field");
  }
  *text = TakeText();
  ReplaceAll(*text, "&node", node.name);
  return QVR_OKAY;
}

int QVR_kiSpeaker::ReadFlag(FileNode& node, const std::string& field) {
  const std::string value = ToLowerAscii(TakeText());
  if (value != "true" && value != "yes" && value != "1") {
    return QVR_OKAY;
  }
  if (field == "observable") {
    node.diagnosisType = kObservation;
  } else if (field == "hypothesis") {
    node.diagnosisType = kTarget;
  } else if (field == "mandatory") {
    node.isMandatory = true;
  } else {
    node.isRanked = true;
  }
  return QVR_OKAY;
}

int QVR_kiSpeaker::ReadClass(FileNode& node) {
  const std::string value = ToLowerAscii(TakeText());
  node.isMandatory = node.isMandatory || Contains(value, "mandatory");
  if (Contains(value, "fault") || Contains(value, "target") || Contains(value, "hypothesis")) {
    node.diagnosisType = kTarget;
  } else if (Contains(value, "unobservable") || Contains(value, "auxiliary")) {
    node.diagnosisType = kAuxiliary;
  } else if (Contains(value, "observ")) {
    node.diagnosisType = kObservation;
  }
  return QVR_OKAY;
}

// "discrete", then the number of outcomes, or their names, or both.
int QVR_kiSpeaker::ReadType(FileNode& node) {
  std::vector<State> states;
  int count = 0;
  for (const std::string& text : TakeValue()) {
    if (text.empty() || !IsAsciiLetterOrDigit(text.front()) || EqualIgnoringCase(text, "discrete")) {
      continue;
    }
    if (IsAsciiLetter(text.front())) {
      states.push_back({text, false, "", ""});
    } else {
      count = ParseIntClamped(text.c_str());
    }
  }
  const bool isWrong = count < 0 || count > kMaxStatedOutcomes ||
                       (count > 0 && !states.empty() && static_cast<int>(states.size()) != count);
  node.outcomes = isWrong ? 0 : count;
  if (node.states.empty()) {
    node.states = std::move(states);
  }
  return isWrong ? Report(QVR_OUT_OF_RANGE, "Wrong number of outcomes") : QVR_OKAY;
}

int QVR_kiSpeaker::ReadState(FileNode& node, bool isFault) {
  State state;
  state.isFault = isFault;
  Consume();
  int status = NextIsString() == 1 ? ReadString(state.name) : ExpectIdentifier(state.name);
  if (status == QVR_OKAY) {
    status = Expect(kTokenPunctuator, "{");
  }
  if (status < 0) {
    return status;
  }
  if (!IsPlainIdentifier(state.name)) {
    Report(QVR_OUT_OF_RANGE, "ERROR: '" + state.name + "' : Invalid state name");
  }
  state.label = isFault ? state.name : "";
  ReadStatements([&] { return ReadStateField(node, state); });
  if (isFault && !faultLabels.insert(state.label).second) {
    Report(QVR_OUT_OF_RANGE, "ERROR: '" + state.label + "' : Fault label is not unique.");
    state.label.clear();
  }
  node.states.push_back(std::move(state));
  return ReadBlockEnd() < 0 ? QVR_SYNTAX_ERROR : kEndsInBlock;
}

int QVR_kiSpeaker::ReadStateField(const FileNode& node, State& state) {
  if (NextIsOneOf(kSilentStateFields) == 1) {
    return SkipBlock();
  }
  const bool isName = NextIsKeyword("NAME") == 1;
  if (!isName && NextIsKeyword("DEFINITION") != 1) {
    return ReportUnknown("Unknown State Field");
  }
  std::string text = TakeText();
  ReplaceAll(text, "&node", node.name);
  ReplaceAll(text, "&state", state.name);
  if (!isName) {
    state.comment = text;
  } else if (state.isFault) {
    state.label = text;
  }
  return QVR_OKAY;
}

int QVR_kiSpeaker::ReadDefinitions() {
  Consume();
  if (const int status = Expect(kTokenPunctuator, "{"); status < 0) {
    return status;
  }
  ReadStatements([this] { return ReadDefinition(); });
  return ReadBlockEnd();
}

int QVR_kiSpeaker::ReadDefinition() {
  if (NextIsKeyword("standard") != 1 && NextIsKeyword("ci") != 1) {
    return ReportUnknown("Unknown Node Definition Statement");
  }
  FileDefinition definition;
  Consume();
  int status = NextIsString() == 1 ? ReadString(definition.name) : ExpectIdentifier(definition.name);
  if (status == QVR_OKAY) {
    status = Expect(kTokenPunctuator, "{");
  }
  if (status < 0) {
    return status;
  }
  ReadStatements([&] { return ReadDefinitionField(definition); });
  ApplyDefinition(definition);
  return ReadBlockEnd() < 0 ? QVR_SYNTAX_ERROR : kEndsInBlock;
}

int QVR_kiSpeaker::ReadDefinitionField(FileDefinition& definition) {
  if (NextIsOneOf(kSilentDefinitionFields) == 1) {
    return SkipBlock();
  }
  if (NextIsKeyword("PROB") == 1) {
    Consume();
    definition.hasTable = true;
    return ReadLooseNumbers(definition.table);
  }
  if (NextIsKeyword("parent") != 1) {
    return ReportUnknown("Unknown Node Definition Field");
  }
  for (std::string& text : TakeValue()) {
    if (text != "(" && text != ")" && text != ",") {
      definition.parents.push_back(std::move(text));
    }
  }
  return QVR_OKAY;
}

}  // namespace qvr
