// Writing XMLBIF 0.3.
#include "formats/table_exchange.h"
#include "formats/xml_speaker.h"
#include "model/dense_matrix.h"
#include "model/error_log.h"
#include "model/network.h"

namespace qvr {
namespace {

constexpr const char* kHead =
    "<?XML VERSION=\"1.0\"?>\n"
    "<!--\n"
    "\tBayesian network in XMLBIF v0.3 (BayesNet Interchange Format)\n"
    "\tProduced by QVR, the engine of ORBEL/Tarvo (https://qvr.example.org/)\n"
    "-->\n"
    "<!DOCTYPE BIF [\n"
    "\t<!ELEMENT BIF ( NETWORK )*>\n"
    "\t\t<!ATTLIST BIF VERSION CDATA #REQUIRED>\n"
    "\t<!ELEMENT NETWORK ( NAME, ( PROPERTY | VARIABLE | DEFINITION )* )>\n"
    "\t<!ELEMENT NAME (#PCDATA)>\n"
    "\t<!ELEMENT VARIABLE ( NAME, ( OUTCOME | PROPERTY )* ) >\n"
    "\t\t<!ATTLIST VARIABLE TYPE (nature|decision|utility) \"nature\">\n"
    "\t<!ELEMENT OUTCOME (#PCDATA)>\n"
    "\t<!ELEMENT DEFINITION ( FOR | GIVEN | TABLE | PROPERTY )* >\n"
    "\t<!ELEMENT FOR (#PCDATA)>\n"
    "\t<!ELEMENT GIVEN (#PCDATA)>\n"
    "\t<!ELEMENT TABLE (#PCDATA)>\n"
    "\t<!ELEMENT PROPERTY (#PCDATA)>\n"
    "]>\n"
    "<BIF VERSION=\"0.3\">\n";

std::string Escape(std::string_view text) {
  std::string escaped;
  for (const char c : text) {
    switch (c) {
      case '&':
        escaped += "&amp;";
        break;
      case '<':
        escaped += "&lt;";
        break;
      case '>':
        escaped += "&gt;";
        break;
      case '"':
        escaped += "&quot;";
        break;
      case '\'':
        escaped += "&apos;";
        break;
      default:
        escaped += c;
    }
  }
  return escaped;
}

const char* TypeWord(int type) {
  if (type == kTypeList) {
    return "decision";
  }
  return type == kTypeTable ? "utility" : "chance";
}

const char* NameOr(const QVR_node* node, const char* substitute) {
  return node == nullptr || node->GetId().empty() ? substitute : node->GetId().c_str();
}

}  // namespace

int QVR_xmlSpeaker::WriteFile(const char* fileName) {
  QVR_intArray nodes;
  network.GetAllNodes(nodes);
  for (const int handle : nodes) {
    if (!HasWritableTable(network, handle)) {
      return GetErrorLog().Log(QVR_OUT_OF_RANGE, "ERROR: Unsupported node type");
    }
  }
  if (const int status = StartWriting(fileName); status < 0) {
    return status;
  }
  const QVR_header& header = network.GetSubmodels().GetSubmodel(QVR_submodelHandler::kMainSubmodel)->header;
  textFile.WriteRaw(kHead, kWritePlain);
  textFile.WriteRaw("<NETWORK>\n", kWritePlain);
  WriteElement("NAME", header.GetId());
  for (const int handle : nodes) {
    WriteVariable(*network.NodeAt(handle));
  }
  for (const int handle : nodes) {
    WriteDefinition(*network.NodeAt(handle));
  }
  textFile.WriteRaw("</NETWORK>\n</BIF>\n", kWritePlain);
  return textFile.Close();
}

// On a line of its own, however long: a break would be part of the text.
void QVR_xmlSpeaker::WriteElement(const std::string& element, std::string_view text) {
  textFile.WriteRaw("\t<" + element + ">" + Escape(text) + "</" + element + ">\n", kWritePlain);
}

void QVR_xmlSpeaker::WriteVariable(QVR_node& node) {
  textFile.WriteRaw(std::string("<VARIABLE TYPE=\"") + TypeWord(node.GetType()) + "\">\n", kWritePlain);
  WriteElement("NAME", NameOr(&node, "Unknown"));
  if (const QVR_stringArray* outcomes = node.definition->GetOutcomeNames(); outcomes != nullptr) {
    for (int i = 0; i < outcomes->GetNumItems(); ++i) {
      const char* outcome = outcomes->Get(i);
      WriteElement("OUTCOME", outcome == nullptr ? "" : outcome);
    }
  }
  const QVR_rectangle& position = node.info->screen.position;
  WriteElement("PROPERTY", "position = (" + std::to_string(position.centerX) + ", " +
                               std::to_string(position.centerY) + ")");
  textFile.WriteRaw("</VARIABLE>\n", kWritePlain);
}

void QVR_xmlSpeaker::WriteDefinition(QVR_node& node) {
  textFile.WriteRaw("<DEFINITION>\n", kWritePlain);
  WriteElement("FOR", NameOr(&node, "Unknown"));
  for (const int parent : network.GetParents(node.handle)) {
    WriteElement("GIVEN", NameOr(network.NodeAt(parent), "UnknownParent"));
  }
  if (const QVR_Dmatrix* table = GetWritableTable(network, node.handle); table != nullptr) {
    textFile.WriteRaw("\t<TABLE>", kWritePlain);
    WriteDoubleList(table->GetItems(), 1);
    textFile.WriteRaw("</TABLE>\n", kWritePlain);
  }
  textFile.WriteRaw("</DEFINITION>\n", kWritePlain);
}

int QVR_xmlSpeaker::WriteDoubleList(const QVR_doubleArray& list, int flag) {
  const int count = flag == 0 ? list.GetNumItems() : list.GetSize();
  for (int i = 0; i < count; ++i) {
    Write(i > 0 ? " " : "");
    Write(NumberToText(list[i]));
  }
  return textFile.GetStatus();
}

}  // namespace qvr
