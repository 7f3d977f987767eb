// The reader of what the graphical front-end keeps in an XML network file.
#ifndef QVR_FORMATS_XML_TARVO_LOADER_H
#define QVR_FORMATS_XML_TARVO_LOADER_H

#include <cstddef>
#include <memory>
#include <vector>

#include "formats/xml_delegator.h"
#include "formats/xml_screen_geometry.h"
#include "model/network.h"

namespace qvr {

class IXmlTarvoLoader {
 public:
  // The root of the section; it lives as long as the loader.
  [[nodiscard]] virtual IXmlBinding& GetBinding() = 0;
  virtual void Dispose() = 0;
  virtual ~IXmlTarvoLoader() = default;
};

// Fills screen records, texts, links and submodels of a network whose nodes are there already. What the
// engine has no place for is checked and dropped.
class XmlTarvoLoader : public IXmlTarvoLoader {
 public:
  // Both must outlive the loader.
  XmlTarvoLoader(IXmlReader& reader, QVR_network& newNetwork);
  XmlTarvoLoader(const XmlTarvoLoader&) = delete;
  XmlTarvoLoader& operator=(const XmlTarvoLoader&) = delete;

  [[nodiscard]] IXmlBinding& GetBinding() override { return tarvo.GetBinding(); }
  void Dispose() override;

 private:
  using Element = XmlDelegator<XmlTarvoLoader>;

  // What has a place on the screen and texts.
  class GraphObj {
   public:
    explicit GraphObj(QVR_header& newHeader) : header(newHeader) {}
    GraphObj(const GraphObj&) = delete;
    GraphObj& operator=(const GraphObj&) = delete;
    virtual ~GraphObj() = default;
    [[nodiscard]] virtual QVR_screenInfo& GetScreen() = 0;
    [[nodiscard]] QVR_header& GetHeader() { return header; }

   private:
    QVR_header& header;
  };
  class Node;
  class Submodel;
  class TextBox;

  // --- xml_tarvo_schema.cpp
  void BuildSchema();

  // --- xml_tarvo_loader.cpp
  void StartRoot(IXmlReader& reader);
  void StartNode(IXmlReader& reader);
  void StartSubmodel(IXmlReader& reader);
  void EndSubmodel(IXmlReader& reader);
  void StartTextBox(IXmlReader& reader);
  void EndTextBox(IXmlReader& reader);
  void EndObject(IXmlReader& reader);
  void EndName(IXmlReader& reader);
  void EndComment(IXmlReader& reader);
  void EndNetworkComment(IXmlReader& reader);
  void StartInterior(IXmlReader& reader);
  void StartOutline(IXmlReader& reader);
  void StartFont(IXmlReader& reader);
  void StartPosition(IXmlReader& reader);
  void TakePosition(IXmlReader& reader);
  void EndPosition(IXmlReader& reader);
  void EndWindow(IXmlReader& reader);
  void EndQuestion(IXmlReader& reader);
  void StartNodeLink(IXmlReader& reader);
  void StartState(IXmlReader& reader);
  void EndStateComment(IXmlReader& reader);
  void EndFix(IXmlReader& reader);
  void StartStateLink(IXmlReader& reader);
  void StartPlate(IXmlReader& reader);
  void EndPlatePosition(IXmlReader& reader);
  // Of elements that the engine has no place for.
  void StartCellComment(IXmlReader& reader);
  void StartBarChart(IXmlReader& reader);
  void StartArcComment(IXmlReader& reader);
  void StartArcFormat(IXmlReader& reader);
  void StartAutoFormat(IXmlReader& reader);
  void StartQualColors(IXmlReader& reader);

  void ReadRectangle(IXmlReader& reader, QVR_rectangle& out);
  void AddLink(IXmlReader& reader, QVR_documentation& links);
  [[nodiscard]] GraphObj& CurrentObject() { return *objects.back(); }
  [[nodiscard]] QVR_header& NetworkHeader();

  QVR_network& network;
  std::vector<std::unique_ptr<GraphObj>> objects;                     // that are open, the innermost last
  std::vector<int> submodels = {QVR_submodelHandler::kMainSubmodel};  // the same of submodels
  QVR_node* currentNode = nullptr;
  int currentState = 0;
  ScreenBox box = {};               // the open position
  std::size_t coordinateCount = 0;  // its integers so far, which may be more than a box has

  Element tarvo;
  Element node;
  Element submodel;
  Element textBox;
  Element networkComment;
  Element name;
  Element caption;
  Element comment;
  Element interior;
  Element outline;
  Element font;
  Element position;
  Element window;
  Element question;
  Element nodeLink;
  Element state;
  Element stateComment;
  Element fix;
  Element stateLink;
  Element plate;
  Element platePosition;
  Element definitionComment;
  Element costComment;
  Element barChart;
  Element arcComment;
  Element arcFormat;
  Element diagAutoFormat;
  Element qualColors;
};

}  // namespace qvr

#endif
