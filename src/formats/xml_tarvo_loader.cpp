#include "formats/xml_tarvo_loader.h"

#include <algorithm>
#include <initializer_list>
#include <iterator>
#include <string>

#include "formats/number_token.h"
#include "formats/xml_version.h"
#include "formats/xml_vocabulary.h"
#include "model/dynamic_extension.h"

namespace qvr {
namespace {

constexpr const char* kSupportedVersion = "1.0";
constexpr std::size_t kMaxDepth = 1000;  // of submodels
constexpr int kThinnest = 1;             // line, and the one that isn't written

// The readers of attributes are false after an error, which has stopped the parse.
bool TakeColor(IXmlReader& reader, const char* attribute, int& color) {
  std::string text;
  reader.GetStringAttribute(attribute, text);
  if (!ReadColor(text, color)) {
    reader.Abort("Color specification 'rrggbb' expected");
    return false;
  }
  return true;
}

bool CheckColors(IXmlReader& reader, std::initializer_list<const char*> attributes) {
  int ignored = 0;
  for (const char* const attribute : attributes) {
    if (!TakeColor(reader, attribute, ignored)) {
      return false;
    }
  }
  return true;
}

bool CheckOptionalColor(IXmlReader& reader, const char* attribute) {
  std::string text;
  reader.GetStringAttribute(attribute, text);
  return text.empty() || CheckColors(reader, {attribute});
}

bool CheckInts(IXmlReader& reader, std::initializer_list<const char*> attributes) {
  int ignored = 0;
  for (const char* const attribute : attributes) {
    if (!reader.GetIntAttribute(attribute, ignored, 0)) {
      return false;
    }
  }
  return true;
}

bool CheckBools(IXmlReader& reader, std::initializer_list<const char*> attributes) {
  bool ignored = false;
  for (const char* const attribute : attributes) {
    if (!reader.GetBoolAttribute(attribute, ignored, false)) {
      return false;
    }
  }
  return true;
}

bool ReadFaultNameFormat(IXmlReader& reader, int usual, int& format) {
  std::string word;
  reader.GetStringAttribute("faultnameformat", word);
  const int found = FindWord(word, kFaultNameWords, usual);
  if (found == QVR_OUT_OF_RANGE) {
    reader.Abort("Invalid fault name format: '" + word + "'");
    return false;
  }
  format = found;
  return true;
}

std::string TextOf(const IXmlReader& reader) {
  std::string text;
  reader.GetText(text);
  return text;
}

int FindOutcome(const QVR_node& node, const std::string& id) {
  const auto* const names = dynamic_cast<const QVR_idArray*>(node.definition->GetOutcomeNames());
  return names == nullptr ? QVR_OUT_OF_RANGE : names->FindId(id);
}

}  // namespace

class XmlTarvoLoader::Node : public GraphObj {
 public:
  explicit Node(QVR_nodeInfo& newInfo) : GraphObj(newInfo.header), info(newInfo) {}
  [[nodiscard]] QVR_screenInfo& GetScreen() override { return info.screen; }

 private:
  QVR_nodeInfo& info;
};

class XmlTarvoLoader::Submodel : public GraphObj {
 public:
  explicit Submodel(QVR_submodel& newSubmodel) : GraphObj(newSubmodel.header), submodel(newSubmodel) {}
  [[nodiscard]] QVR_screenInfo& GetScreen() override { return submodel.screen; }

 private:
  QVR_submodel& submodel;
};

// Its caption is the name in a header of its own.
class XmlTarvoLoader::TextBox : public GraphObj {
 public:
  TextBox() : GraphObj(texts) {}
  [[nodiscard]] QVR_screenInfo& GetScreen() override { return screen; }

 private:
  QVR_header texts;
  QVR_screenInfo screen;
};

void XmlTarvoLoader::Dispose() { const std::unique_ptr<XmlTarvoLoader> self(this); }

QVR_header& XmlTarvoLoader::NetworkHeader() {
  return network.GetSubmodels().GetSubmodel(QVR_submodelHandler::kMainSubmodel)->header;
}

void XmlTarvoLoader::StartRoot(IXmlReader& reader) {
  std::string text;
  reader.GetStringAttribute("version", text);
  if (!CheckVersion(reader, text, kSupportedVersion)) {
    return;
  }
  reader.GetStringAttribute("name", text);
  NetworkHeader().SetName(text.c_str());
  int format = 0;
  if (!ReadFaultNameFormat(reader, network.reservedMode, format)) {
    return;
  }
  if (format == kInheritFaultNames) {
    reader.Abort("Inherited fault name format not allowed here");
    return;
  }
  network.reservedMode = format;
  if (CheckOptionalColor(reader, "arccolor") && CheckOptionalColor(reader, "costarccolor")) {
    CheckInts(reader, {"arcwidth", "costarcwidth"});
  }
}

void XmlTarvoLoader::StartNode(IXmlReader& reader) {
  std::string id;
  reader.GetStringAttribute("id", id);
  currentNode = network.NodeAt(network.FindNode(id.c_str()));
  if (currentNode == nullptr) {
    reader.Abort("Node '" + id + "' doesn't exist in ORBEL network");
    return;
  }
  // A node without the attribute follows the network: that is how it was written.
  if (!ReadFaultNameFormat(reader, network.reservedMode, currentNode->extra->showAs)) {
    return;
  }
  if (submodels.size() > 1) {
    currentNode->SetSubmodel(submodels.back());
  }
  objects.push_back(std::make_unique<Node>(*currentNode->info));
}

void XmlTarvoLoader::StartSubmodel(IXmlReader& reader) {
  std::string id;
  reader.GetStringAttribute("id", id);
  QVR_submodelHandler& handler = network.GetSubmodels();
  const bool tooDeep = submodels.size() > kMaxDepth;
  const int handle = tooDeep ? QVR_OUT_OF_RANGE : handler.CreateSubmodel(submodels.back(), id.c_str());
  if (handle < 0) {
    reader.Abort("Can't create submodel '" + id + "'");
    return;
  }
  submodels.push_back(handle);
  objects.push_back(std::make_unique<Submodel>(*handler.GetSubmodel(handle)));
}

void XmlTarvoLoader::EndSubmodel(IXmlReader& /*reader*/) {
  submodels.pop_back();
  objects.pop_back();
}

void XmlTarvoLoader::StartTextBox(IXmlReader& /*reader*/) { objects.push_back(std::make_unique<TextBox>()); }

void XmlTarvoLoader::EndTextBox(IXmlReader& reader) {
  QVR_textBoxList& list = network.GetSubmodels().GetSubmodel(submodels.back())->textBoxes;
  GraphObj& textBoxRead = CurrentObject();
  if (list.boxes.Add(textBoxRead.GetScreen().position) < 0 ||
      list.texts.Add(textBoxRead.GetHeader().GetName().c_str()) < 0) {
    reader.Abort("Out of memory");
    return;
  }
  objects.pop_back();
}

void XmlTarvoLoader::EndObject(IXmlReader& /*reader*/) { objects.pop_back(); }

void XmlTarvoLoader::EndName(IXmlReader& reader) {
  CurrentObject().GetHeader().SetName(TextOf(reader).c_str());
}

void XmlTarvoLoader::EndComment(IXmlReader& reader) {
  CurrentObject().GetHeader().SetComment(TextOf(reader).c_str());
}

void XmlTarvoLoader::EndNetworkComment(IXmlReader& reader) {
  NetworkHeader().SetComment(TextOf(reader).c_str());
}

void XmlTarvoLoader::StartInterior(IXmlReader& reader) {
  TakeColor(reader, "color", CurrentObject().GetScreen().color);
}

void XmlTarvoLoader::StartOutline(IXmlReader& reader) {
  QVR_screenInfo& screen = CurrentObject().GetScreen();
  std::string text;
  reader.GetStringAttribute("width", text);
  int width = kThinnest;
  if (!text.empty() && (!ReadWholeInt(text, width) || width < 0)) {
    reader.Abort("Invalid width attribute");
    return;
  }
  screen.borderThickness = std::max(width, kThinnest);
  TakeColor(reader, "color", screen.borderColor);
}

void XmlTarvoLoader::StartFont(IXmlReader& reader) {
  if (TakeColor(reader, "color", CurrentObject().GetScreen().fontColor) && CheckInts(reader, {"size"})) {
    CheckBools(reader, {"bold", "italic"});
  }
}

void XmlTarvoLoader::StartPosition(IXmlReader& /*reader*/) { coordinateCount = 0; }

void XmlTarvoLoader::TakePosition(IXmlReader& reader) {
  int value = 0;
  if (!ReadWholeInt(reader.GetRawText(), value)) {
    reader.Abort("Can't read list of integers, failed at element " + std::to_string(coordinateCount + 1));
    return;
  }
  if (coordinateCount < std::size(box.sides)) {
    box.sides[coordinateCount] = value;
  }
  ++coordinateCount;
}

void XmlTarvoLoader::ReadRectangle(IXmlReader& reader, QVR_rectangle& out) {
  if (coordinateCount != std::size(box.sides)) {
    reader.Abort("Exactly 4 integers expected");
    return;
  }
  SetBox(box, out);
}

void XmlTarvoLoader::EndPosition(IXmlReader& reader) {
  ReadRectangle(reader, CurrentObject().GetScreen().position);
}

void XmlTarvoLoader::EndWindow(IXmlReader& reader) {
  ReadRectangle(reader, network.GetSubmodels().GetSubmodel(submodels.back())->windowPosition);
}

void XmlTarvoLoader::EndQuestion(IXmlReader& reader) { currentNode->extra->question = TextOf(reader); }

void XmlTarvoLoader::AddLink(IXmlReader& reader, QVR_documentation& links) {
  std::string title;
  std::string path;
  reader.GetStringAttribute("title", title);
  reader.GetStringAttribute("path", path);
  if (links.titles.Add(title.c_str()) < 0 || links.links.Add(path.c_str()) < 0) {
    reader.Abort("Out of memory");
  }
}

void XmlTarvoLoader::StartNodeLink(IXmlReader& reader) { AddLink(reader, currentNode->info->documentation); }

void XmlTarvoLoader::StartState(IXmlReader& reader) {
  std::string id;
  reader.GetStringAttribute("id", id);
  currentState = FindOutcome(*currentNode, id);
  if (currentState < 0) {
    reader.Abort("Invalid state id: '" + id + "'");
    return;
  }
  std::string faultName;
  reader.GetStringAttribute("faultname", faultName);
  currentNode->extra->SetFaultName(currentState, faultName.c_str());
}

void XmlTarvoLoader::EndStateComment(IXmlReader& reader) {
  currentNode->extra->SetStateComment(currentState, TextOf(reader).c_str());
}

void XmlTarvoLoader::EndFix(IXmlReader& reader) {
  currentNode->extra->SetRepairInfo(currentState, TextOf(reader).c_str());
}

void XmlTarvoLoader::StartStateLink(IXmlReader& reader) {
  AddLink(reader, *currentNode->extra->GetStateDocumentation(currentState));
}

void XmlTarvoLoader::StartPlate(IXmlReader& reader) {
  QVR_dynamicExtension* const temporal = network.UseDynamicExtension();
  if (temporal == nullptr) {
    reader.Abort("Out of memory");
  } else if (reader.GetIntAttribute("leftwidth", temporal->leftWidth, 0)) {
    reader.GetIntAttribute("rightwidth", temporal->rightWidth, 0);
  }
}

void XmlTarvoLoader::EndPlatePosition(IXmlReader& reader) {
  ReadRectangle(reader, network.GetDynamicExtension()->plateArea);
}

void XmlTarvoLoader::StartCellComment(IXmlReader& reader) { CheckInts(reader, {"row", "col"}); }

void XmlTarvoLoader::StartBarChart(IXmlReader& reader) {
  if (CheckBools(reader, {"active"})) {
    CheckInts(reader, {"width", "height"});
  }
}

void XmlTarvoLoader::StartArcComment(IXmlReader& reader) { CheckInts(reader, {"order"}); }

void XmlTarvoLoader::StartArcFormat(IXmlReader& reader) {
  if (CheckColors(reader, {"color"})) {
    CheckInts(reader, {"width", "order"});
  }
}

void XmlTarvoLoader::StartAutoFormat(IXmlReader& reader) {
  CheckColors(reader, {"target", "targetnr", "observation", "observationnr", "auxiliary"});
}

void XmlTarvoLoader::StartQualColors(IXmlReader& reader) { CheckColors(reader, {"left", "center", "right"}); }

}  // namespace qvr
