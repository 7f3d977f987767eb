// Reading the engine's text format: the network's own statements, and the blocks that it shares with nodes
// and submodels.
#include "formats/qvr_speaker.h"

#include "model/identifier.h"
#include "model/network.h"

namespace qvr {
namespace {

constexpr int kLexerTable = 1;
constexpr const char* kUnnamedNetwork = "_Unnamed_Network_";
constexpr int kMaxViewMode = 3;
constexpr int kBoxCoordinates = 4;

}  // namespace

int QVR_qvrSpeaker::GetLine() const { return lineOfReport > 0 ? lineOfReport : QVR_fileFormat::GetLine(); }

int QVR_qvrSpeaker::ReadFile(const char* fileName) {
  if (const int status = StartReading(fileName, kLexerTable); status < 0) {
    return status;
  }
  names = std::make_unique<WrittenNames>(network);
  if (NextIsKeyword("net") == 1) {
    Consume();
    ReadNet();
    Expect(kTokenPunctuator, ";");
  }
  lexer.reset();
  return QVR_OKAY;
}

int QVR_qvrSpeaker::ReadNet() {
  std::string id;
  if (ExpectIdentifier(id) < 0) {
    id = kUnnamedNetwork;
  }
  QVR_submodel& main = *network.GetSubmodels().GetSubmodel(QVR_submodelHandler::kMainSubmodel);
  const std::string writtenId = id;
  submodelNames.emplace(writtenId, QVR_submodelHandler::kMainSubmodel);
  if (!IsPlainIdentifier(id)) {
    id = kUnnamedNetwork;
    MakeValidIdentifier(id);
  }
  main.header.SetId(id.c_str());
  main.header.SetName(id.c_str());
  const Statements statements = {
      {"HEADER", [&] { return ReadHeader(main.header, writtenId); }},
      {"CREATION", [this] { return ReadCreation(); }},
      {"NUMSAMPLES", [this] { return ReadIntField("NUMSAMPLES", network.sampleCount); }},
      {"SCREEN", [&] { return ReadScreen(main.screen); }},
      {"WINDOWPOSITION", [&] { return ReadRectangle("WINDOWPOSITION", main.windowPosition); }},
      {"BKCOLOR", [&] { return ReadIntField("BKCOLOR", main.backgroundColor); }},
      {"SCREENCOMMENT", [&] { return ReadScreenComment(main.textBoxes); }},
      {"USER_PROPERTIES", [this] { return ReadUserProperties(network.userProperties); }},
      {"DOCUMENTATION", [this] { return ReadDocumentation(network.documentation); }},
      {"SHOWAS",
       [this] {
         int mode = 0;
         const int status = ReadIntField("SHOWAS", mode);
         network.reservedMode = status == QVR_OKAY && mode <= kMaxViewMode ? mode : network.reservedMode;
         return status;
       }},
      {"node", [this] { return ReadNode(); }},
      {"submodel", [this] { return ReadSubmodel(); }},
      {"OBSERVATION_COST", [this] { return ReadCosts(); }},
  };
  return ReadBlock([&] { return ReadStatement(statements, "Unknown Net Statement", "Unknown Net Field"); });
}

int QVR_qvrSpeaker::ReadStatement(const Statements& statements, const char* statementText,
                                  const char* fieldText) {
  for (const auto& [keyword, read] : statements) {
    if (NextIsKeyword(keyword) == 1) {
      return read();
    }
  }
  return ReadUnknown(statementText, fieldText == nullptr ? statementText : fieldText);
}

int QVR_qvrSpeaker::ReadUnknown(const char* statementText, const char* fieldText) {
  Peek();
  Consume();
  const bool isField = NextIsPunctuator("=") == 1;
  lexer->Back();
  Peek();
  return ReportUnknown(isField ? fieldText : statementText);
}

int QVR_qvrSpeaker::ReadBlock(const std::function<int()>& readStatement) {
  if (const int status = Expect(kTokenPunctuator, "{"); status < 0) {
    return status;
  }
  ReadStatements(readStatement);
  return ReadBlockEnd();
}

int QVR_qvrSpeaker::ReadBlockHeader(const char* name) {
  const int isName = NextIsKeyword(name);
  if (isName != 1) {
    return isName < 0 ? isName : QVR_WRONG_FIELD;
  }
  Consume();
  return Expect(kTokenPunctuator, "=");
}

int QVR_qvrSpeaker::ReadNamedBlock(const char* name, const Statements& statements, const char* unknownText) {
  const int status = ReadBlockHeader(name);
  return status < 0 ? status : ReadBlock([&] { return ReadStatement(statements, unknownText); });
}

int QVR_qvrSpeaker::ReadTextField(const char* name, const std::function<int(const char*)>& store) {
  std::string text;
  int status = ReadField(name, kTokenString);
  if (status == QVR_OKAY) {
    status = ExpectString(text);
  }
  return status < 0 ? status : store(text.c_str());
}

int QVR_qvrSpeaker::ReadHeader(QVR_header& header, const std::string& writtenId) {
  const auto readId = [&] {
    std::string id;
    int status = ReadField("ID", kTokenIdentifier);
    if (status == QVR_OKAY) {
      status = ExpectIdentifier(id);
    }
    if (status < 0 || id == writtenId || id == header.GetId()) {
      return status;
    }
    status = header.SetId(id.c_str());
    return status < 0 ? Report(status, "Invalid ID") : status;
  };
  const Statements statements = {
      {"ID", readId},
      {"NAME", [&] { return ReadTextField("NAME", [&](const char* text) { return header.SetName(text); }); }},
      {"COMMENT",
       [&] { return ReadTextField("COMMENT", [&](const char* text) { return header.SetComment(text); }); }},
  };
  return ReadNamedBlock("HEADER", statements, "Unknown Header Statement");
}

int QVR_qvrSpeaker::ReadCreation() {
  const auto readInto = [this](const char* name, std::string& target) {
    return ReadTextField(name, [&](const char* text) {
      target = text;
      return QVR_OKAY;
    });
  };
  QVR_creation& creation = network.creation;
  const Statements statements = {
      {"CREATOR", [&] { return readInto("CREATOR", creation.creator); }},
      {"CREATED", [&] { return readInto("CREATED", creation.created); }},
      {"MODIFIED", [&] { return readInto("MODIFIED", creation.modified); }},
  };
  return ReadNamedBlock("CREATION", statements, "Unknown Creation Statement");
}

int QVR_qvrSpeaker::ReadRectangle(const char* name, QVR_rectangle& rectangle) {
  const Statements statements = {
      {"CENTER_X", [&] { return ReadIntField("CENTER_X", rectangle.centerX); }},
      {"CENTER_Y", [&] { return ReadIntField("CENTER_Y", rectangle.centerY); }},
      {"WIDTH", [&] { return ReadIntField("WIDTH", rectangle.width); }},
      {"HEIGHT", [&] { return ReadIntField("HEIGHT", rectangle.height); }},
  };
  return ReadNamedBlock(name, statements, "Unknown Rectangle Statement");
}

int QVR_qvrSpeaker::ReadScreen(QVR_screenInfo& screen) {
  const Statements statements = {
      {"POSITION", [&] { return ReadRectangle("POSITION", screen.position); }},
      {"COLOR", [&] { return ReadIntField("COLOR", screen.color); }},
      {"SELCOLOR", [&] { return ReadIntField("SELCOLOR", screen.selectionColor); }},
      {"FONT", [&] { return ReadIntField("FONT", screen.font); }},
      {"FONTCOLOR", [&] { return ReadIntField("FONTCOLOR", screen.fontColor); }},
      {"BORDERTHICKNESS", [&] { return ReadIntField("BORDERTHICKNESS", screen.borderThickness); }},
      {"BORDERCOLOR", [&] { return ReadIntField("BORDERCOLOR", screen.borderColor); }},
      {"SHOWINARCS", [&] { return ReadArcFlag("SHOWINARCS", QVR_screenInfo::kShowInArcs, screen); }},
      {"SHOWOUTARCS", [&] { return ReadArcFlag("SHOWOUTARCS", QVR_screenInfo::kShowOutArcs, screen); }},
  };
  return ReadNamedBlock("SCREEN", statements, "Unknown Screen Information Statement");
}

int QVR_qvrSpeaker::ReadArcFlag(const char* name, int flag, QVR_screenInfo& screen) {
  bool shown = false;
  const int status = ReadBoolField(name, shown);
  if (status == QVR_OKAY) {
    screen.arcFlags = shown ? screen.arcFlags | flag : screen.arcFlags & ~flag;
  }
  return status;
}

// The "}" is this statement's own, also behind a fault: the enclosing block would end at it.
int QVR_qvrSpeaker::ReadScreenComment(QVR_textBoxList& textBoxes) {
  int status = ReadBlockHeader("SCREENCOMMENT");
  if (status == QVR_OKAY) {
    status = Expect(kTokenPunctuator, "{");
  }
  if (status < 0) {
    return status;
  }
  if (ReadBoxContent(textBoxes) < 0) {
    SkipToBlockEnd();
  }
  return ReadBlockEnd();
}

int QVR_qvrSpeaker::ReadBoxContent(QVR_textBoxList& textBoxes) {
  QVR_intArray list;
  std::string text;
  if (int status = ReadIntList(list); status < 0) {
    return status;
  }
  if (list.GetNumItems() < kBoxCoordinates) {
    return Report(QVR_OUT_OF_RANGE, "ERROR: Wrong Number Of Screen Coordinates");
  }
  if (int status = Expect(kTokenPunctuator, ","); status < 0) {
    return status;
  }
  if (int status = ExpectString(text); status < 0) {
    return status;
  }
  QVR_rectangle box;
  box.centerX = list[0];
  box.centerY = list[1];
  box.width = list[2];
  box.height = list[3];
  const int status = textBoxes.boxes.Add(box);
  return status < 0 ? status : textBoxes.texts.Add(text.c_str());
}

int QVR_qvrSpeaker::ReadEntries(const char* name,
                                const std::function<int(const std::string&, const std::string&)>& store) {
  const auto readEntry = [&] {
    std::string key;
    std::string value;
    int status = NextIsString() == 1 ? ExpectString(key) : ExpectIdentifier(key);
    if (status == QVR_OKAY) {
      status = Expect(kTokenPunctuator, "=");
    }
    if (status == QVR_OKAY) {
      status = ExpectString(value);
    }
    return status < 0 ? status : store(key, value);
  };
  const int status = ReadBlockHeader(name);
  return status < 0 ? status : ReadBlock(readEntry);
}

int QVR_qvrSpeaker::ReadNameField(const char* name, QVR_stringArray& list) {
  const int status = ReadBlockHeader(name);
  return status < 0 ? status : ReadIdentifierList(list);
}

int QVR_qvrSpeaker::ReadUserProperties(QVR_userProperties& properties) {
  return ReadEntries("USER_PROPERTIES", [&](const std::string& key, const std::string& value) {
    const int status = properties.Add(key.c_str(), value.c_str());
    return status < 0 ? Report(status, "ERROR: Couldn't add property [" + key + "]") : status;
  });
}

int QVR_qvrSpeaker::ReadDocumentation(QVR_documentation& documentation) {
  return ReadEntries("DOCUMENTATION", [&](const std::string& title, const std::string& path) {
    const int status = documentation.titles.Add(title.c_str());
    return status < 0 ? status : documentation.links.Add(path.c_str());
  });
}

int QVR_qvrSpeaker::ReadSubmodel() {
  Consume();
  std::string id;
  if (const int status = ExpectIdentifier(id); status < 0) {
    return status;
  }
  const std::string writtenId = id;
  if (!IsPlainIdentifier(id)) {
    MakeValidIdentifier(id);
  }
  QVR_submodelHandler& submodels = network.GetSubmodels();
  const int handle = submodels.CreateSubmodel(QVR_submodelHandler::kMainSubmodel, id.c_str());
  if (handle < 0) {
    return Report(handle, "ERROR: Couldn't Create Submodel (\"" + writtenId + "\")");
  }
  submodelNames.emplace(writtenId, handle);
  QVR_submodel& submodel = *submodels.GetSubmodel(handle);
  const Statements statements = {
      {"PARENT", [&] { return ReadSubmodelParent(handle); }},
      {"HEADER", [&] { return ReadHeader(submodel.header, writtenId); }},
      {"SCREEN", [&] { return ReadScreen(submodel.screen); }},
      {"WINDOWPOSITION", [&] { return ReadRectangle("WINDOWPOSITION", submodel.windowPosition); }},
      {"BKCOLOR", [&] { return ReadIntField("BKCOLOR", submodel.backgroundColor); }},
      {"SCREENCOMMENT", [&] { return ReadScreenComment(submodel.textBoxes); }},
      {"USER_PROPERTIES", [&] { return ReadUserProperties(submodel.userProperties); }},
      {"DOCUMENTATION", [&] { return ReadDocumentation(submodel.documentation); }},
  };
  return ReadBlock(
      [&] { return ReadStatement(statements, "Unknown Submodel Statement", "Unknown Submodel Field"); });
}

int QVR_qvrSpeaker::ReadSubmodelParent(int handle) {
  std::string id;
  int status = ReadField("PARENT", kTokenIdentifier);
  if (status == QVR_OKAY) {
    status = ExpectIdentifier(id);
  }
  if (status < 0) {
    return status;
  }
  const int parent = FindSubmodel(id);
  status = parent < 0 ? parent : network.GetSubmodels().MoveSubmodel(handle, parent);
  return status < 0 ? Report(status, "ERROR: (\"" + id + "\") : Unknown Submodel") : status;
}

int QVR_qvrSpeaker::FindSubmodel(const std::string& name) const {
  const auto found = submodelNames.find(name);
  return found != submodelNames.end() ? found->second : network.GetSubmodels().FindSubmodel(name.c_str());
}

}  // namespace qvr
