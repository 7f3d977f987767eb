// Reading the Microsoft format: the head and the nodes.
#include "formats/microsoft_speaker.h"

#include "formats/foreign_network.h"
#include "formats/latin1.h"
#include "formats/table_exchange.h"
#include "model/network.h"

namespace qvr {
namespace {

constexpr int kLexerTable = 4;
constexpr int kLeastOutcomes = 2;
constexpr const char* kNetworkKinds[] = {"diagnostic", "belief", "trouble", nullptr};
constexpr const char* kObjects[] = {"node", "properties", "probability", "utility", "information", nullptr};

}  // namespace

int QVR_microsoftSpeaker::GetLine() const {
  return lineOfReport > 0 ? lineOfReport : QVR_fileFormat::GetLine();
}

int QVR_microsoftSpeaker::ReadFile(const char* fileName) {
  if (const int status = StartReading(fileName, kLexerTable); status < 0) {
    return status;
  }
  names = std::make_unique<WrittenNames>(network);
  if (const int status = ReadNetworkHead(); status < 0) {
    return status;
  }
  ReadDocument([this] { return ReadObject(); });
  lexer.reset();
  return QVR_OKAY;
}

int QVR_microsoftSpeaker::ReadNetworkHead() {
  if (NextIsOneOf(kNetworkKinds) == 1) {
    Consume();
  }
  if (NextIsKeyword("network") != 1) {
    return Report(QVR_OUT_OF_RANGE, "This type of network is not (yet) supported");
  }
  Consume();
  std::string name;
  if (NextIsString() == 1) {
    ReadString(name);
  } else if (NextIsOneOf(kObjects) == 0 && NextIsIdentifier() == 1) {
    ReadIdentifier(name);
  }
  SetNetworkName(network, name);
  if (NextIsPunctuator("{") == 1) {
    SkipBracedSection();
  }
  return QVR_OKAY;
}

int QVR_microsoftSpeaker::ReadObject() {
  if (NextIsOneOf(kObjects) != 1) {
    return ReportUnknown("Unknown Object");
  }
  const std::string kind(token.text);
  Consume();
  if (kind == "node") {
    return ReadNode();
  }
  return kind == "properties" ? SkipBracedSection() : ReadTable(kind);
}

int QVR_microsoftSpeaker::ReadNode() {
  std::string id;
  if (const int status = ExpectIdentifier(id); status < 0) {
    return status;
  }
  const int handle = names->AddNode(kTypeCpt, id);
  if (handle < 0) {
    return Report(handle, "ERROR: Couldn't Create Node (\"" + id + "\")");
  }
  QVR_node& node = *network.NodeAt(handle);
  int status = Expect(kTokenPunctuator, "{");
  bool sawType = false;
  if (status == QVR_OKAY) {
    ReadStatements([&] { return ReadNodeField(node, sawType); });
    status = ReadBlockEnd();
  }
  // Without a type a node's states would be invented.
  node.CheckReady(1);
  if (!node.IsReady() || (!sawType && node.GetType() != kTypeTable)) {
    Report(QVR_OBJECT_NOT_READY, "ERROR: Node not ready (valid). Node (\"" + id + "\") deleted");
    names->DeleteNode(id);
  }
  return status;
}

int QVR_microsoftSpeaker::ReadNodeField(QVR_node& node, bool& sawType) {
  if (NextIsKeyword("name") == 1) {
    return ReadName(node);
  }
  if (NextIsKeyword("type") == 1) {
    const int status = ReadType(node);
    sawType = sawType || status == QVR_OKAY;
    return status;
  }
  if (NextIsKeyword("label") == 1) {
    return ReadLabel(node);
  }
  if (NextIsKeyword("position") == 1) {
    return ReadPosition(node);
  }
  return ReportUnknown("Unknown Node Statement");
}

void QVR_microsoftSpeaker::SkipSign() {
  if (TryExpect(kTokenPunctuator, ":") < 0 && TryExpect(kTokenPunctuator, "=") < 0) {
    TryExpect(kTokenIdentifier, "is");
  }
}

int QVR_microsoftSpeaker::ReadField(const char* name, int tokenType) {
  const int isName = NextIsKeyword(name);
  if (isName != 1) {
    return isName < 0 ? isName : QVR_WRONG_FIELD;
  }
  Consume();
  SkipSign();
  Peek();
  return token.type == tokenType ? QVR_OKAY : Expect(tokenType, nullptr);
}

int QVR_microsoftSpeaker::ReadIdentifierList(QVR_stringArray& list) {
  if (!list.IsReady()) {
    return QVR_OBJECT_NOT_READY;
  }
  list.Flush();
  int status = Expect(kTokenPunctuator, "(");
  while (status == QVR_OKAY && NextIsIdentifier() == 1) {
    std::string item;
    ReadIdentifier(item);
    status = list.Add(item.c_str());
  }
  if (status == QVR_OKAY) {
    status = Expect(kTokenPunctuator, ")");
  }
  if (status < 0) {
    list.Flush();
  }
  return status;
}

int QVR_microsoftSpeaker::ReadDoubleList(QVR_doubleArray& list) {
  list.CleanUp();
  int status = QVR_OKAY;
  while (status == QVR_OKAY && NextIsNumber() == 1) {
    double number = 0;
    status = ExpectNumber(number);
    if (status == QVR_OKAY) {
      status = list.Add(number);
    }
  }
  if (status < 0) {
    list.CleanUp();
  }
  return status;
}

int QVR_microsoftSpeaker::ReadName(QVR_node& node) {
  std::string name;
  int status = ReadField("name", kTokenString);
  if (status == QVR_OKAY) {
    status = ExpectString(name);
  }
  if (status < 0) {
    return status;
  }
  ConvertFileText(name);
  return node.info->header.SetName(name.c_str());
}

int QVR_microsoftSpeaker::ReadType(QVR_node& node) {
  Consume();
  SkipSign();
  if (const int status = Expect(kTokenIdentifier, "discrete"); status < 0) {
    return status;
  }
  const std::optional<int> count = ReadStateCount();
  SkipSign();
  QVR_stringArray states;
  if (NextIsPunctuator("{") == 1) {
    Consume();
    if (const int status = ReadStateNames(states); status < 0) {
      return status;
    }
  }
  if (node.GetType() != kTypeTable) {
    SetStates(node, count, states);
  }
  return QVR_OKAY;
}

// The number in brackets; nothing, reported, if there's none.
std::optional<int> QVR_microsoftSpeaker::ReadStateCount() {
  int count = 0;
  const bool isOpen = TryExpect(kTokenPunctuator, "[") == QVR_OKAY;
  const bool isThere = isOpen && ReadInt(count) == QVR_OKAY;
  if (!isThere) {
    Peek();
    ReportUnknown("Expecting number of states");
  }
  if (isOpen) {
    Expect(kTokenPunctuator, "]");
  }
  return isThere ? std::optional(count) : std::nullopt;
}

// Up to and behind the "}", also behind what is no name.
int QVR_microsoftSpeaker::ReadStateNames(QVR_stringArray& states) {
  int status = QVR_OKAY;
  std::string name;
  while (status == QVR_OKAY && !AtBlockEnd()) {
    status = ReadWord(name);
    status = status < 0 ? status : states.Add(name.c_str());
  }
  if (status < 0) {
    SkipToBlockEnd();
  }
  const int end = ReadBlockEnd();
  return status < 0 ? status : end;
}

void QVR_microsoftSpeaker::SetStates(QVR_node& node, std::optional<int> count,
                                     const QVR_stringArray& states) {
  const int listed = states.GetNumItems();
  if (listed > 0 && count && listed != *count) {
    Report(QVR_OUT_OF_RANGE, "ERROR: '" + std::to_string(*count) +
                                 "' : Size of list doesn't match number of outcomes. Using list size");
  }
  int status = QVR_OKAY;
  if (listed > 0) {
    status = listed < kLeastOutcomes ? QVR_OUT_OF_RANGE : SetOutcomeNames(network, node.handle, states);
  } else if (count) {
    const bool isCount = *count >= kLeastOutcomes && *count <= kMaxStatedOutcomes;
    status = isCount ? node.definition->SetNumberOfOutcomes(*count) : QVR_OUT_OF_RANGE;
  }
  if (status < 0) {
    Report(status, "ERROR: '" + std::to_string(listed > 0 ? listed : *count) +
                       "' : Couldn't set the number of outcomes");
  }
}

int QVR_microsoftSpeaker::ReadLabel(QVR_node& node) {
  std::string word;
  int status = ReadField("label", kTokenIdentifier);
  if (status == QVR_OKAY) {
    status = ExpectIdentifier(word);
  }
  if (status < 0) {
    return status;
  }
  if (word == "decision") {
    return node.ChangeType(kTypeList);
  }
  return word == "utility" ? node.ChangeType(kTypeTable) : QVR_OKAY;
}

int QVR_microsoftSpeaker::ReadPosition(const QVR_node& node) {
  Consume();
  SkipSign();
  double x = 0;
  double y = 0;
  if (TryExpect(kTokenPunctuator, "(") < 0 || ReadNumber(x) < 0 || ReadNumber(y) < 0 ||
      TryExpect(kTokenPunctuator, ")") < 0) {
    return Report(QVR_SYNTAX_ERROR, "ERROR: Wrong position coordinates");
  }
  const auto centreX = ToCoordinate(x);
  const auto centreY = ToCoordinate(y);
  if (!centreX || !centreY) {
    return Report(QVR_OUT_OF_RANGE, "ERROR: Invalid coordinates");
  }
  SetNodeCentre(network, node.handle, *centreX, *centreY);
  return QVR_OKAY;
}

}  // namespace qvr
