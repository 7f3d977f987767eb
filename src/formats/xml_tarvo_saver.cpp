#include "formats/xml_tarvo_saver.h"

#include <memory>

#include "formats/xml_screen_geometry.h"
#include "formats/xml_vocabulary.h"
#include "model/dynamic_extension.h"

namespace qvr {
namespace {

constexpr const char* kVersion = "1.0";
constexpr const char* kApplication = "ORBEL Mar 25 2016";
constexpr const char* kFontName = "MS Sans Serif";
constexpr int kNodeFontSize = 8;
constexpr int kTextBoxFontSize = 10;

std::string ItemText(const QVR_stringArray& list, int i) {
  const char* const text = list.Get(i);
  return text == nullptr ? "" : text;
}

}  // namespace

void XmlTarvoSaver::Dispose() { const std::unique_ptr<XmlTarvoSaver> self(this); }

void XmlTarvoSaver::Write(IXmlWriter& newWriter) {
  writer = &newWriter;
  const QVR_header& header = network.GetSubmodels().GetSubmodel(QVR_submodelHandler::kMainSubmodel)->header;
  // A network has nothing to inherit from.
  const std::span<const char* const> words = std::span(kFaultNameWords).first(kInheritFaultNames);
  const char* const format = WordOf(network.reservedMode, words, kFaultNamesOfNodeAndState);
  faultNameFormat = FindWord(format, kFaultNameWords, kFaultNamesOfNodeAndState);
  writer->AddAttribute("version", kVersion);
  writer->AddAttribute("app", kApplication);
  writer->AddAttribute("name", header.GetName().c_str());
  writer->AddAttribute("faultnameformat", format);
  writer->OpenElement("tarvo");
  WritePlate();
  WriteText("comment", header.GetComment());
  CollectContents();
  WriteSubmodels();
  writer->CloseElement("tarvo");
}

// Where the plate is drawn, if there is a node in it.
void XmlTarvoSaver::WritePlate() {
  const QVR_dynamicExtension* const temporal = network.GetDynamicExtension();
  int node = network.FirstNode();
  while (node >= 0 && network.GetDynamicType(node) != kDynamicPlate) {
    node = network.NextNode(node);
  }
  if (temporal == nullptr || node < 0) {
    return;
  }
  writer->AddAttribute("leftwidth", temporal->leftWidth);
  writer->AddAttribute("rightwidth", temporal->rightWidth);
  writer->OpenElement("plate");
  WriteBox("position", temporal->plateArea);
  writer->CloseElement("plate");
}

XmlTarvoSaver::Content& XmlTarvoSaver::ContentOf(int submodel) {
  return contents[static_cast<std::size_t>(submodel & ~QVR_submodelHandler::kHandleBit)];
}

void XmlTarvoSaver::CollectContents() {
  const QVR_submodelHandler& handler = network.GetSubmodels();
  contents.clear();
  for (int handle = handler.FirstSubmodel(); handle >= 0; handle = handler.NextSubmodel(handle)) {
    contents.resize(static_cast<std::size_t>(handle & ~QVR_submodelHandler::kHandleBit) + 1);
  }
  for (int handle = handler.FirstSubmodel(); handle >= 0; handle = handler.NextSubmodel(handle)) {
    if (handle != QVR_submodelHandler::kMainSubmodel) {
      ContentOf(handler.GetParent(handle)).submodels.push_back(handle);
    }
  }
  for (const int handle : network.GetTopologicalOrder()) {
    ContentOf(network.NodeAt(handle)->submodel).nodes.push_back(handle);
  }
}

// From the main submodel down, each one's inner submodels first. Submodels may be nested deeper than calls.
void XmlTarvoSaver::WriteSubmodels() {
  struct Visit {
    int submodel;
    std::size_t next;  // of its inner submodels
  };
  std::vector<Visit> path = {{QVR_submodelHandler::kMainSubmodel, 0}};
  while (!path.empty()) {
    const int submodel = path.back().submodel;
    const std::vector<int>& inner = ContentOf(submodel).submodels;
    if (path.back().next < inner.size()) {
      const int child = inner[path.back().next++];
      OpenSubmodel(child);
      path.push_back({child, 0});
      continue;
    }
    FinishSubmodel(submodel);
    if (submodel != QVR_submodelHandler::kMainSubmodel) {
      writer->CloseElement("submodel");
    }
    path.pop_back();
  }
}

void XmlTarvoSaver::OpenSubmodel(int handle) {
  const QVR_submodel& submodel = *network.GetSubmodels().GetSubmodel(handle);
  writer->AddAttribute("id", submodel.header.GetId().c_str());
  writer->OpenElement("submodel");
  WriteCommon(submodel.header, submodel.screen);
  WriteBox("window", submodel.windowPosition);
}

void XmlTarvoSaver::FinishSubmodel(int handle) {
  for (const int node : ContentOf(handle).nodes) {
    WriteNode(*network.NodeAt(node));
  }
  WriteTextBoxes(network.GetSubmodels().GetSubmodel(handle)->textBoxes);
}

void XmlTarvoSaver::WriteNode(QVR_node& node) {
  writer->AddAttribute("id", node.GetId().c_str());
  if (node.extra->showAs != faultNameFormat) {
    writer->AddAttribute("faultnameformat", WordOf(node.extra->showAs, kFaultNameWords, kInheritFaultNames));
  }
  writer->OpenElement("node");
  WriteCommon(node.info->header, node.info->screen);
  WriteText("question", node.extra->question);
  WriteLinks(&node.info->documentation);
  WriteStates(node);
  writer->CloseElement("node");
}

void XmlTarvoSaver::WriteStates(QVR_node& node) {
  const QVR_extraDefinition& extra = *node.extra;
  for (int i = 0; i < node.GetNumberOfOutcomes(); ++i) {
    const std::string faultName = ItemText(extra.GetFaultNames(), i);
    const std::string comment = ItemText(extra.GetStateComments(), i);
    const std::string repair = ItemText(extra.GetRepairInfo(), i);
    const QVR_documentation* const links = extra.FindStateDocumentation(i);
    const bool hasLinks = links != nullptr && links->titles.GetNumItems() > 0;
    if (faultName.empty() && comment.empty() && repair.empty() && !hasLinks) {
      continue;
    }
    writer->AddAttribute("id", OutcomeWord(node, i));
    if (!faultName.empty()) {
      writer->AddAttribute("faultname", faultName.c_str());
    }
    writer->OpenElement("state");
    WriteText("comment", comment);
    WriteText("fix", repair);
    WriteLinks(links);
    writer->CloseElement("state");
  }
}

void XmlTarvoSaver::WriteLinks(const QVR_documentation* links) {
  const int count = links == nullptr ? 0 : links->titles.GetNumItems();
  for (int i = 0; i < count; ++i) {
    writer->AddAttribute("title", ItemText(links->titles, i).c_str());
    writer->AddAttribute("path", ItemText(links->links, i).c_str());
    writer->WriteElement("link", nullptr, kEscapeMarkup);
  }
}

void XmlTarvoSaver::WriteTextBoxes(const QVR_textBoxList& list) {
  for (int i = 0; i < list.boxes.GetNumItems(); ++i) {
    writer->OpenElement("textbox");
    writer->WriteElement("caption", ItemText(list.texts, i).c_str(), kEscapeLines);
    WriteFont(0, kTextBoxFontSize, Weight::kBold);
    WriteBox("position", list.boxes.Get(i));
    writer->CloseElement("textbox");
  }
}

void XmlTarvoSaver::WriteCommon(const QVR_header& header, const QVR_screenInfo& screen) {
  writer->WriteElement("name", header.GetName().c_str(), kEscapeLines);
  writer->AddAttribute("color", ColorToText(screen.color).c_str());
  writer->WriteElement("interior", nullptr, kEscapeMarkup);
  writer->AddAttribute("color", ColorToText(screen.borderColor).c_str());
  if (screen.borderThickness > 1) {
    writer->AddAttribute("width", screen.borderThickness);
  }
  writer->WriteElement("outline", nullptr, kEscapeMarkup);
  WriteFont(screen.fontColor, kNodeFontSize, Weight::kNormal);
  WriteBox("position", screen.position);
  WriteText("comment", header.GetComment());
}

void XmlTarvoSaver::WriteFont(int color, int size, Weight weight) {
  writer->AddAttribute("color", ColorToText(color).c_str());
  writer->AddAttribute("name", kFontName);
  writer->AddAttribute("size", size);
  if (weight == Weight::kBold) {
    writer->AddAttribute("bold", true);
  }
  writer->WriteElement("font", nullptr, kEscapeMarkup);
}

void XmlTarvoSaver::WriteBox(const char* element, const QVR_rectangle& rectangle) {
  std::string text;
  for (const int side : BoxOf(rectangle).sides) {
    text += (text.empty() ? "" : " ") + std::to_string(side);
  }
  writer->WriteElement(element, text.c_str(), kEscapeMarkup);
}

void XmlTarvoSaver::WriteText(const char* element, const std::string& text) {
  if (!text.empty()) {
    writer->WriteElement(element, text.c_str(), kEscapeLines);
  }
}

}  // namespace qvr
