// The writer of the XML network format.
#ifndef QVR_FORMATS_XML_NET_SAVER_H
#define QVR_FORMATS_XML_NET_SAVER_H

#include <string>

#include "formats/node_def_visitor.h"
#include "formats/xml_writer.h"
#include "model/number_array.h"

namespace qvr {

class QVR_network;
class QVR_node;
class QVR_userProperties;

// Stands for no extension where null asks for the front-end's.
[[nodiscard]] IXmlWriterExtension& NoWriterExtension();

// Writes the network to the file, or without a file name appends it to the text. A null `extension` writes
// the data of the front-end. False if the file can't be written, which isn't logged and leaves an old file as
// it was; or for a node of a class that the format doesn't know, logged under -51 with nothing touched.
bool SaveXmlNetwork(const char* fileName, std::string* text, QVR_network& network,
                    IXmlWriterExtension* extension);

// Writes what XmlNetLoader reads. Whatever is named stands in the file before its name is used.
class XmlNetworkSaver : private XmlWriter, private NodeDefVisitor {
 public:
  // The output isn't owned and takes the declaration at once; nor is the extension, which may be null.
  XmlNetworkSaver(QVR_network& newNetwork, IXmlWriterOutput& newOutput, IXmlWriterExtension* newExtension);

  void WriteDocument();

 private:
  // --- the document around the nodes: xml_net_saver.cpp
  void WriteRootAttributes();
  void WriteNetworkProperties();
  void WriteAlgorithmParameters();
  void WriteNodes();
  void WriteCosts();
  void WriteCost(int handle);
  void WriteExtension();
  void WriteProperties(const QVR_userProperties& properties);
  // The identifiers of the nodes, blanks between; nothing without any.
  void WriteParents(const QVR_intArray& handles);

  // --- node elements: xml_net_saver_nodes.cpp. They leave the element open: what closes it is
  // currentElement.
  void VisitMau(QVR_mau& mau) override;
  void VisitTable(QVR_table& utility) override;
  void VisitList(QVR_list& decision) override;
  void VisitEquation(QVR_equation& equation) override;
  void VisitDeMorgan(QVR_demorgan& demorgan) override;
  void VisitCast(QVR_cast& cast) override;
  void VisitNoisyAdder(QVR_noisyAdder& adder) override;
  void VisitNoisyMax(QVR_noisyMAX& noisyMax) override;
  void VisitTruthTable(QVR_truthTable& truthTable) override;
  void VisitCpt(QVR_cpt& cpt) override;
  enum class States { kNone, kListed };
  void OpenNode(QVR_nodeDefinition& definition, const char* element, States states);
  void AddNodeAttributes(const QVR_node& node);
  void WriteStates(QVR_node& node);

  QVR_network& network;
  IXmlWriterExtension* extension;
  std::string currentElement;  // the name of the node element that is open
  // Of the node whose temporal definition is being written.
  bool inDynamic = false;
  const QVR_intArray* temporalParents = nullptr;  // of the present order, handles of this network
  QVR_nodeDefinition* mainDefinition = nullptr;
};

}  // namespace qvr

#endif
