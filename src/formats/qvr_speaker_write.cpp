// Writing the engine's text format: the network, its submodels, and what nodes have besides a definition.
#include "formats/foreign_network.h"
#include "formats/qvr_speaker.h"
#include "model/dense_matrix.h"
#include "model/network.h"

namespace qvr {
namespace {

constexpr const char* kContinuation = "\\ ";
constexpr int kMain = QVR_submodelHandler::kMainSubmodel;

// All below the main submodel, level by level, so that each follows the one that holds it.
std::vector<int> SubmodelsByLevel(const QVR_submodelHandler& submodels) {
  std::map<int, std::vector<int>> inner;
  for (int handle = submodels.FirstSubmodel(); handle >= 0; handle = submodels.NextSubmodel(handle)) {
    if (handle != kMain) {
      inner[submodels.GetParent(handle)].push_back(handle);
    }
  }
  std::vector<int> ordered = inner[kMain];
  for (std::size_t i = 0; i < ordered.size(); ++i) {
    const std::vector<int> next = inner[ordered[i]];
    ordered.insert(ordered.end(), next.begin(), next.end());
  }
  return ordered;
}

}  // namespace

int QVR_qvrSpeaker::BeginLiteral() {
  textFile.SetContinuation(kContinuation);
  return QVR_OKAY;
}

int QVR_qvrSpeaker::EndLiteral() {
  textFile.SetContinuation(nullptr);
  return QVR_OKAY;
}

int QVR_qvrSpeaker::WriteBlockHeader(const char* name) { return OpenBlock(std::string(name) + " = "); }

int QVR_qvrSpeaker::WriteFile(const char* fileName) {
  if (!KnowsTypesOf(network)) {
    return QVR_OUT_OF_RANGE;
  }
  if (const int status = StartWriting(fileName); status < 0) {
    return status;
  }
  writtenIds = MakeWrittenIds(network);
  const QVR_submodel& main = *network.GetSubmodels().GetSubmodel(kMain);
  const std::string id = MakeWrittenId(main.header.GetId(), "_Unnamed_Network_");
  OpenBlock("net " + id);
  WriteHeader(main.header, id);
  WriteCreation();
  WriteIntField("NUMSAMPLES", network.sampleCount);
  WriteScreen(main.screen);
  WriteRectangle("WINDOWPOSITION", main.windowPosition);
  WriteIntField("BKCOLOR", main.backgroundColor);
  WriteScreenComments(main.textBoxes);
  WriteUserProperties(network.userProperties);
  WriteDocumentation(network.documentation);
  WriteIntField("SHOWAS", network.reservedMode);
  for (const int handle : SubmodelsByLevel(network.GetSubmodels())) {
    WriteSubmodel(handle);
  }
  for (const int handle : network.GetTopologicalOrder()) {
    WriteNode(handle);
  }
  WriteCosts();
  WriteBlockEnd();
  return textFile.Close();
}

void QVR_qvrSpeaker::WriteHeader(const QVR_header& header, const std::string& id) {
  WriteBlockHeader("HEADER");
  WriteStringField("ID", id.c_str(), false, false);
  WriteQuotedField("NAME", header.GetName().c_str());
  WriteQuotedField("COMMENT", header.GetComment().c_str());
  WriteBlockEnd();
}

void QVR_qvrSpeaker::WriteCreation() {
  WriteBlockHeader("CREATION");
  WriteQuotedField("CREATOR", network.creation.creator.c_str());
  WriteQuotedField("CREATED", network.creation.created.c_str());
  WriteQuotedField("MODIFIED", network.creation.modified.c_str());
  WriteBlockEnd();
}

void QVR_qvrSpeaker::WriteRectangle(const char* name, const QVR_rectangle& rectangle) {
  WriteBlockHeader(name);
  WriteIntField("CENTER_X", rectangle.centerX);
  WriteIntField("CENTER_Y", rectangle.centerY);
  WriteIntField("WIDTH", rectangle.width);
  WriteIntField("HEIGHT", rectangle.height);
  WriteBlockEnd();
}

void QVR_qvrSpeaker::WriteScreen(const QVR_screenInfo& screen) {
  WriteBlockHeader("SCREEN");
  WriteRectangle("POSITION", screen.position);
  WriteIntField("COLOR", screen.color);
  WriteIntField("SELCOLOR", screen.selectionColor);
  WriteIntField("FONT", screen.font);
  WriteIntField("FONTCOLOR", screen.fontColor);
  WriteIntField("BORDERTHICKNESS", screen.borderThickness);
  WriteIntField("BORDERCOLOR", screen.borderColor);
  WriteBoolField("SHOWINARCS", (screen.arcFlags & QVR_screenInfo::kShowInArcs) != 0);
  WriteBoolField("SHOWOUTARCS", (screen.arcFlags & QVR_screenInfo::kShowOutArcs) != 0);
  WriteBlockEnd();
}

void QVR_qvrSpeaker::WriteScreenComments(const QVR_textBoxList& textBoxes) {
  for (int i = 0; i < textBoxes.boxes.GetNumItems(); ++i) {
    const QVR_rectangle& box = textBoxes.boxes.Get(i);
    const char* text = textBoxes.texts.Get(i);
    WriteField("SCREENCOMMENT", [&] {
      Write("{");
      WriteIntList({box.centerX, box.centerY, box.width, box.height}, 0);
      Write(", ");
      WriteQuoted(text == nullptr ? "" : text);
      Write("}");
    });
  }
}

void QVR_qvrSpeaker::WriteEntry(const char* name, const char* value) {
  WriteIndented("");
  WriteQuoted(name == nullptr ? "" : name);
  Write(" = ");
  WriteQuoted(value == nullptr ? "" : value);
  Write(";\n");
}

void QVR_qvrSpeaker::WriteUserProperties(const QVR_userProperties& properties) {
  if (properties.GetCount() == 0) {
    return;
  }
  WriteBlockHeader("USER_PROPERTIES");
  for (int i = 0; i < properties.GetCount(); ++i) {
    WriteEntry(properties.GetName(i), properties.GetValue(i));
  }
  WriteBlockEnd();
}

void QVR_qvrSpeaker::WriteDocumentation(const QVR_documentation& documentation) {
  if (documentation.titles.GetNumItems() == 0) {
    return;
  }
  WriteBlockHeader("DOCUMENTATION");
  for (int i = 0; i < documentation.titles.GetNumItems(); ++i) {
    WriteEntry(documentation.titles.Get(i), documentation.links.Get(i));
  }
  WriteBlockEnd();
}

void QVR_qvrSpeaker::WriteSubmodel(int handle) {
  const QVR_submodelHandler& submodels = network.GetSubmodels();
  const QVR_submodel& submodel = *submodels.GetSubmodel(handle);
  const std::string id = MakeWrittenId(submodel.header.GetId(), "_Unnamed_Submodel_");
  OpenBlock("submodel " + id);
  if (const int parent = submodels.GetParent(handle); parent != kMain) {
    const QVR_submodel* outer = submodels.GetSubmodel(parent);
    const std::string outerId = outer == nullptr ? "" : outer->header.GetId();
    WriteStringField("PARENT", MakeWrittenId(outerId, "_Unknown_Parent_").c_str(), false, false);
  }
  WriteHeader(submodel.header, id);
  WriteScreen(submodel.screen);
  WriteRectangle("WINDOWPOSITION", submodel.windowPosition);
  WriteIntField("BKCOLOR", submodel.backgroundColor);
  WriteScreenComments(submodel.textBoxes);
  WriteUserProperties(submodel.userProperties);
  WriteDocumentation(submodel.documentation);
  WriteBlockEnd();
}

void QVR_qvrSpeaker::WriteNode(int handle) {
  const QVR_node& node = *network.NodeAt(handle);
  const std::string& id = writtenIds[static_cast<std::size_t>(handle)];
  OpenBlock("node " + id);
  WriteStringField("TYPE", node.definition->GetTypeName(), false, false);
  WriteHeader(node.info->header, id);
  WriteScreen(node.info->screen);
  if (network.IsTarget(handle) == 1) {
    WriteBoolField("TARGET", true);
  }
  if (node.submodel != kMain) {
    const std::string& submodel = network.GetSubmodels().GetSubmodel(node.submodel)->header.GetId();
    WriteStringField("SUBMODEL", MakeWrittenId(submodel, "_Unnamed_Submodel_").c_str(), false, false);
  }
  WriteUserProperties(node.info->userProperties);
  WriteDocumentation(node.info->documentation);
  WriteParents(network.GetParents(handle));
  WriteBlockHeader("DEFINITION");
  Visit(*node.definition);
  WriteBlockEnd();
  WriteExtraDefinition(node);
  WriteBlockEnd();
}

void QVR_qvrSpeaker::WriteParents(const QVR_intArray& handles) {
  QVR_stringArray list;
  for (const int handle : handles) {
    list.Add(network.NodeAt(handle) == nullptr ? "UnknownParent"
                                               : writtenIds[static_cast<std::size_t>(handle)].c_str());
  }
  WriteIdentifierListField("PARENTS", list, 0);
}

void QVR_qvrSpeaker::WriteCosts() {
  bool isOpen = false;
  for (const int handle : network.GetTopologicalOrder()) {
    if (HasCost(network, handle)) {
      if (!isOpen) {
        OpenBlock("OBSERVATION_COST");
        isOpen = true;
      }
      WriteCost(handle);
    }
  }
  if (isOpen) {
    WriteBlockEnd();
  }
}

void QVR_qvrSpeaker::WriteCost(int handle) {
  OpenBlock("node " + writtenIds[static_cast<std::size_t>(handle)]);
  WriteParents(network.GetParents(handle, kCostLayer));
  WriteDoubleListField("COSTS", network.NodeAt(handle)->cost->GetCosts().GetItems(), 1);
  WriteBlockEnd();
}

}  // namespace qvr
