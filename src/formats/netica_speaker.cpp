// Reading Netica's text format.
#include "formats/netica_speaker.h"

#include <limits>

#include "formats/foreign_network.h"
#include "formats/latin1.h"
#include "formats/table_exchange.h"
#include "model/identifier.h"
#include "model/network.h"
#include "model/special_numbers.h"

namespace qvr {
namespace {

constexpr int kKindNature = 18;

// Fields that hold nothing for us.
constexpr const char* kSilentNetFields[] = {"autoupdate", "AutoCompile", "ElimOrder", "NodeSet",
                                            "user",       "whenchanged", nullptr};
constexpr const char* kSilentNodeFields[] = {
    "statetitles", "StateComments", "inputs",    "measure",     "numcases", "belief", "evidence",
    "value",       "EqnDirty",      "ExperBase", "whenchanged", "user",     nullptr};
constexpr const char* kVisualNetFields[] = {"backcolor", "nodebordercolor", "windowposn", "link", nullptr};
constexpr const char* kVisualLinkFields[] = {"path", "labelposn", nullptr};

int ValueOfHexDigit(char c) {
  if (c >= '0' && c <= '9') {
    return c - '0';
  }
  return c >= 'A' && c <= 'F' ? c - 'A' + 10 : -1;
}

// Bytes above 127 are written as a backslash and two digits.
std::string DecodeBytes(const std::string& text) {
  std::string bytes;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const int high = text[i] == '\\' && i + 2 < text.size() ? ValueOfHexDigit(text[i + 1]) : -1;
    const int low = high >= 0 ? ValueOfHexDigit(text[i + 2]) : -1;
    if (low >= 0) {
      bytes += static_cast<char>(high * 16 + low);
      i += 2;
    } else {
      bytes += text[i];
    }
  }
  return IsValidUtf8(bytes) ? bytes : text;
}

// Other words would be taken for numbers too: "nano".
bool IsNumber(const std::string& entry) {
  return !IsAsciiLetter(entry.front()) || entry == "NA" || entry == "ILLEGAL" || entry == "UNDEF";
}

}  // namespace

int QVR_neticaSpeaker::ReadFile(const char* fileName) {
  int status = StartReading(fileName, kLexerDefault);
  if (status == QVR_OKAY) {
    status = ReadHeader();
  }
  // A stray "}" doesn't end the network.
  while (status == QVR_OKAY && !AtFileEnd()) {
    ReadStatements([this] { return ReadNetStatement(); });
    TryExpect(kTokenPunctuator, "}");
    TryExpect(kTokenPunctuator, ";");
  }
  lexer.reset();
  return status;
}

int QVR_neticaSpeaker::ReadHeader() {
  std::string id;
  int status = Expect(kTokenIdentifier, "bnet");
  if (status == QVR_OKAY) {
    status = ExpectIdentifier(id);
  }
  if (status == QVR_OKAY) {
    status = Expect(kTokenPunctuator, "{");
  }
  if (status == QVR_OKAY) {
    QVR_header& header = network.GetSubmodels().GetSubmodel(QVR_submodelHandler::kMainSubmodel)->header;
    MakeValidIdentifier(id);
    header.SetId(id.c_str());
  }
  return status;
}

int QVR_neticaSpeaker::ReadNetStatement() {
  QVR_header& header = network.GetSubmodels().GetSubmodel(QVR_submodelHandler::kMainSubmodel)->header;
  std::string text;
  int status = QVR_OKAY;
  if (NextIsKeyword("node") == 1) {
    return ReadNode("Unknown Node Statement");
  }
  if (NextIsKeyword("param") == 1) {
    return ReadNode("Unknown Param Statement");
  }
  if (NextIsKeyword("title") == 1) {
    status = ReadText(text);
    return status < 0 ? status : header.SetName(text.c_str());
  }
  if (NextIsKeyword("comment") == 1) {
    status = ReadText(text);
    return status < 0 ? status : header.SetComment(text.c_str());
  }
  if (NextIsKeyword("author") == 1) {
    return ReadText(network.creation.creator);
  }
  if (NextIsKeyword("visual") == 1) {
    return ReadNamedBlock([this] {
      return NextIsOneOf(kVisualNetFields) == 1 ? SkipBlock() : ReportUnknown("Unknown Visual Net Statement");
    });
  }
  return NextIsOneOf(kSilentNetFields) == 1 ? SkipBlock() : ReportUnknown("Unknown Net Statement");
}

// A field's string, in the engine's encoding.
int QVR_neticaSpeaker::ReadText(std::string& out) {
  std::string text;
  const int status = ExpectStringField(text);
  if (status == QVR_OKAY) {
    out = DecodeBytes(text);
    ConvertFileText(out);
  }
  return status;
}

int QVR_neticaSpeaker::ReadNamedBlock(const std::function<int()>& readStatement) {
  Consume();
  while (!AtBlockEnd() && NextIsPunctuator("{") == 0 && NextIsPunctuator(";") == 0) {
    Consume();
  }
  if (const int status = Expect(kTokenPunctuator, "{"); status < 0) {
    return status;
  }
  ReadStatements(readStatement);
  return ReadBlockEnd();
}

int QVR_neticaSpeaker::ReadNode(const char* unknownMessage) {
  NeticaNode node;
  Consume();
  int status = ExpectIdentifier(node.name);
  if (status == QVR_OKAY) {
    status = Expect(kTokenPunctuator, "{");
  }
  if (status < 0) {
    return status;
  }
  ReadStatements([&] { return ReadNodeStatement(node, unknownMessage); });
  ReadBlockEnd();
  if (!node.isConstant) {
    ApplyNode(node);
  }
  return QVR_OKAY;
}

int QVR_neticaSpeaker::ReadNodeStatement(NeticaNode& node, const char* unknownMessage) {
  if (NextIsKeyword("kind") == 1) {
    return ReadKind(node);
  }
  if (NextIsKeyword("discrete") == 1) {
    bool isDiscrete = false;
    const int status = ReadBoolField("discrete", isDiscrete);
    node.discrete = status < 0 ? node.discrete : static_cast<int>(isDiscrete);
    return status;
  }
  if (NextIsKeyword("chance") == 1) {
    return ReadChance(node);
  }
  if (NextIsKeyword("title") == 1) {
    return ReadText(node.title);
  }
  if (NextIsKeyword("comment") == 1) {
    return ReadText(node.comment);
  }
  if (NextIsKeyword("equation") == 1) {
    return ReadText(node.equation);
  }
  if (NextIsKeyword("numstates") == 1) {
    return ReadStateCount(node);
  }
  if (NextIsKeyword("visual") == 1) {
    return ReadNamedBlock([&] { return ReadVisualNodeStatement(node); });
  }
  if (const int status = ReadListField(node); status != QVR_WRONG_FIELD) {
    return status;
  }
  return NextIsOneOf(kSilentNodeFields) == 1 ? SkipBlock() : ReportUnknown(unknownMessage);
}

int QVR_neticaSpeaker::ReadListField(NeticaNode& node) {
  std::vector<std::string>* words = NextIsKeyword("parents") == 1  ? &node.parents
                                    : NextIsKeyword("states") == 1 ? &node.states
                                                                   : nullptr;
  if (words != nullptr) {
    QVR_stringArray list;
    Consume();
    int status = Expect(kTokenPunctuator, "=");
    if (status == QVR_OKAY) {
      status = ReadIdentifierList(list);
    }
    words->clear();
    for (int i = 0; i < list.GetNumItems(); ++i) {
      words->emplace_back(list.Get(i));
    }
    return status;
  }
  if (NextIsKeyword("levels") == 1) {
    return ReadNumbers(node.levels);
  }
  if (NextIsKeyword("probs") == 1) {
    node.hasProbs = true;
    return ReadNumbers(node.probs);
  }
  if (NextIsKeyword("functable") == 1) {
    node.hasFunctable = true;
    return ReadEntries(node.functable);
  }
  return QVR_WRONG_FIELD;
}

int QVR_neticaSpeaker::ReadKind(NeticaNode& node) {
  const int status = ReadField("kind", kTokenIdentifier);
  if (status < 0) {
    return status;
  }
  Peek();
  if (PeekIs("NATURE") || PeekIs("DISCONNECTED")) {
    node.kind &= ~(kTypeBitDecision | kTypeBitUtility);
  } else if (PeekIs("DECISION")) {
    node.kind = (node.kind & ~(2 | 4 | kTypeBitUtility)) | kTypeBitDecision;
  } else if (PeekIs("UTILITY")) {
    node.kind = kTypeTable;
  } else if (PeekIs("ASSUME")) {
    node.kind = kKindNature;
    Report(QVR_SYNTAX_ERROR, "ERROR: nodes of type ASSUME not supported (yet)");
  } else {
    node.isConstant = PeekIs("CONSTANT");
    return ReportUnknown("Unknown Node Type");
  }
  Consume();
  return QVR_OKAY;
}

int QVR_neticaSpeaker::ReadChance(NeticaNode& node) {
  const int status = ReadField("chance", kTokenIdentifier);
  if (status < 0) {
    return status;
  }
  Peek();
  if (!PeekIs("CHANCE") && !PeekIs("DETERMIN")) {
    return ReportUnknown("Unknown Node Type");
  }
  node.chance = PeekIs("DETERMIN") ? 1 : 0;
  Consume();
  return QVR_OKAY;
}

int QVR_neticaSpeaker::ReadStateCount(NeticaNode& node) {
  const int status = ReadIntField("numstates", node.stateCount);
  if (status == QVR_OKAY && (node.stateCount < 1 || node.stateCount > kMaxStatedOutcomes)) {
    Report(QVR_OUT_OF_RANGE, "ERROR: '" + std::to_string(node.stateCount) + "' : Invalid number of states");
    node.stateCount = 2;
  }
  return status;
}

int QVR_neticaSpeaker::ReadVisualNodeStatement(NeticaNode& node) {
  if (NextIsKeyword("center") == 1) {
    return ReadPair(node.centerX, node.centerY, "ERROR: Wrong Center Coordinates");
  }
  if (NextIsKeyword("size") == 1) {
    return ReadPair(node.width, node.height, "ERROR: Wrong Size Values");
  }
  if (NextIsKeyword("link") == 1) {
    return ReadNamedBlock([this] {
      return NextIsOneOf(kVisualLinkFields) == 1 ? SkipBlock()
                                                 : ReportUnknown("Unknown Visual Link Statement");
    });
  }
  return ReportUnknown("Unknown Visual Node Statement");
}

int QVR_neticaSpeaker::ReadPair(int& first, int& second, const char* message) {
  QVR_doubleArray pair;
  Consume();
  int status = Expect(kTokenPunctuator, "=");
  if (status == QVR_OKAY) {
    status = ReadDoubleList(pair);
  }
  return status == QVR_OKAY && ToCoordinates(pair, first, second) ? QVR_OKAY
                                                                  : Report(QVR_OUT_OF_RANGE, message);
}

// All numbers up to the ";": parentheses and commas tell nothing that their count doesn't.
int QVR_neticaSpeaker::ReadNumbers(std::vector<double>& out) {
  std::vector<std::string> entries;
  out.clear();
  if (const int status = ReadEntries(entries); status < 0) {
    return status;
  }
  for (const std::string& entry : entries) {
    double number = 0;
    if (entry == "." || entry.empty()) {
      continue;  // behind "UNDEF"; or an empty string
    }
    if (entry == "@imposs" || entry == "@undef") {
      number = kNeticaOpenRow;
    } else if (entry == "INFINITY" || entry == "+INFINITY" || entry == "-INFINITY") {
      number = entry.front() == '-' ? -std::numeric_limits<double>::infinity()
                                    : std::numeric_limits<double>::infinity();
    } else if (!IsNumber(entry) || TextToDouble(entry.c_str(), number) < 0) {
      return Report(QVR_SYNTAX_ERROR, "ERROR: '" + entry + "' : Real Number expected");
    }
    out.push_back(number);
  }
  return QVR_OKAY;
}

// Numbers, names and their signs as they stand.
int QVR_neticaSpeaker::ReadEntries(std::vector<std::string>& out) {
  std::string sign;
  out.clear();
  Consume();
  if (const int status = Expect(kTokenPunctuator, "="); status < 0) {
    return status;
  }
  while (!AtBlockEnd() && NextIsPunctuator(";") == 0) {
    const std::string text(token.text);
    Consume();
    if (text == "@" || text == "#" || text == "-" || text == "+" || text == "_") {
      sign = text;
    } else if (text != "(" && text != ")" && text != ",") {
      out.push_back(sign + text);
      sign.clear();
    }
  }
  return QVR_OKAY;
}

}  // namespace qvr
