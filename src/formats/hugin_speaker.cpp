// Reading Hugin's net format.
#include "formats/hugin_speaker.h"

#include "formats/foreign_network.h"
#include "formats/latin1.h"
#include "formats/table_exchange.h"
#include "model/identifier.h"
#include "model/network.h"

namespace qvr {
namespace {

struct Kind {
  const char* word;
  int type;
};
constexpr Kind kKinds[] = {{"node", kTypeCpt}, {"decision", kTypeList}, {"utility", kTypeTable}};

// Of a potential that has them: they add nothing to the table.
constexpr const char* kSilentFields[] = {"experience", "fading", "model_nodes", "samples_per_interval",
                                         nullptr};

// Settings of the tool itself.
bool IsToolKey(std::string_view key) { return key.starts_with("HR_") || key.starts_with("HRUNTIME_"); }

}  // namespace

int QVR_huginSpeaker::ReadFile(const char* fileName) {
  int status = StartReading(fileName, kLexerPercentComments);
  if (status == QVR_OKAY) {
    status = ReadStart();
  }
  if (status == QVR_OKAY) {
    ReadDocument([this] { return ReadSection(); });
  }
  lexer.reset();
  return status;
}

// "net" and its block, or the head of a class, within which the statements of both stand.
int QVR_huginSpeaker::ReadStart() {
  if (NextIsKeyword("class") == 1) {
    Consume();
    std::string id;
    int status = ExpectIdentifier(id);
    if (status == QVR_OKAY) {
      status = Expect(kTokenPunctuator, "{");
    }
    isClass = true;
    if (status == QVR_OKAY) {
      MakeValidIdentifier(id);
      network.GetSubmodels().GetSubmodel(QVR_submodelHandler::kMainSubmodel)->header.SetId(id.c_str());
    }
    return status;
  }
  if (const int status = Expect(kTokenIdentifier, "net"); status < 0) {
    return status;
  }
  if (Expect(kTokenPunctuator, "{") == QVR_OKAY) {
    ReadStatements([this] { return ReadNetStatement(); });
    ReadBlockEnd();
  }
  return QVR_OKAY;
}

int QVR_huginSpeaker::ReadNetStatement() {
  if (NextIsKeyword("node_size") == 1) {
    return ReadNodeSize();
  }
  if (NextIsKeyword("name") == 1 || NextIsKeyword("label") == 1) {
    return ReadNetName(PeekIs("name"));
  }
  if (NextIsIdentifier() == 1 && IsToolKey(token.text)) {
    return SkipBlock();
  }
  return ReportUnknown("Unknown Net Statement");
}

// What new nodes inherit.
int QVR_huginSpeaker::ReadNodeSize() {
  QVR_doubleArray size;
  Consume();
  int status = Expect(kTokenPunctuator, "=");
  if (status == QVR_OKAY) {
    status = ReadDoubleList(size);
  }
  QVR_rectangle& position = network.GetSubmodels().nodeDefaults.position;
  return status == QVR_OKAY && ToCoordinates(size, position.width, position.height)
             ? QVR_OKAY
             : Report(QVR_OUT_OF_RANGE, "ERROR: Wrong node size");
}

int QVR_huginSpeaker::ReadNetName(bool isName) {
  std::string text;
  Consume();
  int status = Expect(kTokenPunctuator, "=");
  if (status == QVR_OKAY) {
    status = NextIsIdentifier() == 1 ? ReadIdentifier(text) : ExpectString(text);
  }
  if (status == QVR_OKAY && (isName || !hasName)) {
    ConvertFileText(text);
    hasName = hasName || isName;
    network.GetSubmodels().GetSubmodel(QVR_submodelHandler::kMainSubmodel)->header.SetName(text.c_str());
  }
  return status;
}

int QVR_huginSpeaker::ReadSection() {
  if (NextIsKeyword("potential") == 1) {
    return ReadPotential();
  }
  if (NextIsKeyword("continuous") == 1) {
    return ReadContinuousNode();
  }
  if (NextIsKeyword("discrete") == 1) {
    Consume();
  }
  for (const Kind& kind : kKinds) {
    if (NextIsKeyword(kind.word) == 1) {
      Consume();
      return ReadNode(kind.type);
    }
  }
  if (isClass && NextIsIdentifier() == 1) {
    Consume();
    const bool isField = NextIsPunctuator("=") == 1;
    lexer->Back();
    if (isField) {
      return ReadNetStatement();
    }
    Peek();
  }
  return ReportUnknown("Unknown Node Type");
}

int QVR_huginSpeaker::ReadContinuousNode() {
  Report(QVR_SYNTAX_ERROR, "ERROR: : Continuous nodes not supported (yet)");
  std::string word;
  std::string name;
  Consume();
  int status = ExpectIdentifier(word);
  if (status == QVR_OKAY) {
    status = ExpectIdentifier(name);
  }
  if (status == QVR_OKAY) {
    skippedNodes.insert(name);
    status = SkipSection();
  }
  return status;
}

int QVR_huginSpeaker::ReadNode(int type) {
  std::string name;
  if (const int status = ExpectIdentifier(name); status < 0) {
    return status;
  }
  const int handle = names.AddNode(type, name);
  if (handle < 0) {
    return Report(handle, "ERROR: Couldn't Create Node (\"" + name + "\")");
  }
  nodeType = type;
  if (const int status = Expect(kTokenPunctuator, "{"); status < 0) {
    names.DeleteNode(name);  // its states would be invented
    return status;
  }
  ReadStatements([this, handle] { return ReadNodeField(handle); });
  QVR_node& node = *network.NodeAt(handle);
  node.CheckReady(1);
  if (!node.IsReady()) {
    names.DeleteNode(name);
    Report(QVR_OBJECT_NOT_READY, "ERROR: Node not ready (valid). Node (\"" + name + "\") deleted");
  }
  ReadBlockEnd();
  return QVR_OKAY;
}

int QVR_huginSpeaker::ReadNodeField(int handle) {
  if (NextIsKeyword("position") == 1) {
    return ReadPosition(handle);
  }
  if (NextIsKeyword("states") == 1) {
    return ReadStates(handle);
  }
  if (NextIsKeyword("label") != 1) {
    return SkipBlock();
  }
  std::string text;
  const int status = ExpectStringField(text);
  if (status == QVR_OKAY) {
    ConvertFileText(text);
    network.NodeAt(handle)->info->header.SetName(text.c_str());
  }
  return status;
}

int QVR_huginSpeaker::ReadPosition(int handle) {
  QVR_doubleArray place;
  Consume();
  int status = Expect(kTokenPunctuator, "=");
  if (status == QVR_OKAY) {
    status = ReadDoubleList(place);
  }
  QVR_rectangle& position = network.NodeAt(handle)->info->screen.position;
  return status == QVR_OKAY && ToCoordinates(place, position.centerX, position.centerY)
             ? QVR_OKAY
             : Report(QVR_OUT_OF_RANGE, "ERROR: Wrong position coordinates");
}

// Strings, words and numbers alike.
int QVR_huginSpeaker::ReadStates(int handle) {
  Consume();
  int status = Expect(kTokenPunctuator, "=");
  if (status == QVR_OKAY) {
    status = Expect(kTokenPunctuator, "(");
  }
  QVR_stringArray states;
  std::string state;
  while (status == QVR_OKAY && NextIsPunctuator(")") == 0) {
    status = ReadWord(state);
    status = status < 0 ? status : states.Add(state.c_str());
  }
  if (status == QVR_OKAY) {
    status = Expect(kTokenPunctuator, ")");
  }
  if (status < 0 || nodeType == kTypeTable) {
    return status;
  }
  status = SetOutcomeNames(network, handle, states);
  return Report(status,
                "ERROR: Couldn't set the states of node (\"" + network.NodeAt(handle)->GetId() + "\")");
}

int QVR_huginSpeaker::ReadPotential() {
  Potential potential;
  const QVR_stringArray& nodes = potential.nodes;
  potential.line = GetLine();
  Consume();
  if (const int status = ReadPotentialHead(potential.nodes); status < 0) {
    return status;
  }
  for (int i = 0; i < nodes.GetNumItems(); ++i) {
    if (skippedNodes.contains(nodes.Get(i))) {
      return SkipSection();
    }
  }
  for (int i = 0; i < nodes.GetNumItems(); ++i) {
    potential.handles.Add(names.Find(nodes.Get(i)));
    if (potential.handles[i] < 0) {
      return Report(QVR_OUT_OF_RANGE, "ERROR: Node (\"" + std::string(nodes.Get(i)) + "\") not found");
    }
  }
  if (const int status = Expect(kTokenPunctuator, "{"); status < 0) {
    return status;
  }
  ReadStatements([&] { return ReadPotentialField(potential); });
  ReadBlockEnd();
  ApplyPotential(potential);
  return QVR_OKAY;
}

// The child, then its parents.
int QVR_huginSpeaker::ReadPotentialHead(QVR_stringArray& nodes) {
  std::string name;
  int status = Expect(kTokenPunctuator, "(");
  if (status == QVR_OKAY) {
    status = ExpectIdentifier(name);
  }
  if (status < 0) {
    return status;
  }
  nodes.Add(name.c_str());
  if (NextIsIdentifier() == 1) {
    return Report(QVR_SYNTAX_ERROR, "ERROR: Undirected arcs not (yet) supported");
  }
  TryExpect(kTokenPunctuator, "|");
  while (NextIsIdentifier() == 1) {
    ReadIdentifier(name);
    nodes.Add(name.c_str());
  }
  return Expect(kTokenPunctuator, ")");
}

int QVR_huginSpeaker::ReadPotentialField(Potential& potential) {
  if (NextIsKeyword("data") == 1) {
    Consume();
    potential.dataLine = GetLine();
    const int status = Expect(kTokenPunctuator, "=");
    return status < 0 ? status : ReadLooseNumbers(potential.numbers);
  }
  if (NextIsKeyword("model_data") == 1) {
    potential.modelLine = GetLine();
    return SkipBlock();
  }
  return NextIsOneOf(kSilentFields) == 1 ? SkipBlock() : ReportUnknown("Unknown potential statement");
}

// Numbers of a decision would be a policy.
void QVR_huginSpeaker::ApplyPotential(const Potential& potential) {
  const int child = potential.handles[0];
  const int count = potential.numbers.GetNumItems();
  for (int i = 1; i < potential.handles.GetNumItems(); ++i) {
    const int parent = potential.handles[i];
    const int status = AddTableParent(network, parent, child, static_cast<std::size_t>(count));
    ReportAt(potential.line, status,
             "ERROR: Couldn't add arc from parent node (\"" + std::string(potential.nodes.Get(i)) + "\")");
  }
  if (potential.dataLine == 0 && potential.modelLine > 0) {
    ReportAt(potential.modelLine, QVR_SYNTAX_ERROR, "ERROR: 'model_data' : Unknown potential statement");
  }
  if (potential.dataLine > 0 && network.NodeAt(child)->GetType() != kTypeList) {
    const int status = SetTable(network, child, potential.numbers.View());
    ReportAt(potential.dataLine, status, WrongCountMessage(network, child, count));
  }
}

}  // namespace qvr
