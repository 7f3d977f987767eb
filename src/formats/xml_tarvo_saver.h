// The writer of what the graphical front-end keeps in an XML network file.
#ifndef QVR_FORMATS_XML_TARVO_SAVER_H
#define QVR_FORMATS_XML_TARVO_SAVER_H

#include <string>
#include <vector>

#include "formats/xml_writer_interfaces.h"
#include "model/network.h"

namespace qvr {

// Writes what XmlTarvoLoader keeps: the network's and the submodels' texts and geometry, and those of the
// nodes, each in its submodel.
class XmlTarvoSaver : public IXmlWriterExtension {
 public:
  explicit XmlTarvoSaver(QVR_network& newNetwork) : network(newNetwork) {}

  void Write(IXmlWriter& newWriter) override;
  void Dispose() override;

 private:
  // What stands in each submodel, by slot.
  struct Content {
    std::vector<int> submodels;  // handles, ascending
    std::vector<int> nodes;      // parents first
  };

  void WritePlate();
  void CollectContents();
  [[nodiscard]] Content& ContentOf(int submodel);
  void WriteSubmodels();
  void OpenSubmodel(int handle);
  void FinishSubmodel(int handle);  // what stands behind the inner submodels
  void WriteNode(QVR_node& node);
  void WriteStates(QVR_node& node);
  void WriteLinks(const QVR_documentation* links);  // null for none
  void WriteTextBoxes(const QVR_textBoxList& list);
  void WriteCommon(const QVR_header& header, const QVR_screenInfo& screen);
  enum class Weight { kNormal, kBold };
  void WriteFont(int color, int size, Weight weight);
  void WriteBox(const char* element, const QVR_rectangle& rectangle);
  void WriteText(const char* element, const std::string& text);  // nothing for an empty one

  QVR_network& network;
  IXmlWriter* writer = nullptr;  // not owned
  int faultNameFormat = 0;       // the network's
  std::vector<Content> contents;
};

}  // namespace qvr

#endif
