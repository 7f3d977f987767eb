// Writing the Microsoft format.
#include "formats/foreign_network.h"
#include "formats/microsoft_speaker.h"
#include "formats/table_exchange.h"
#include "model/dense_matrix.h"
#include "model/error_log.h"
#include "model/network.h"

namespace qvr {
namespace {

constexpr const char* kKinds[] = {"information", "probability", "utility"};

}  // namespace

const char* QVR_microsoftSpeaker::KindOf(int type) {
  if (type == kTypeList) {
    return kKinds[0];
  }
  return type == kTypeTable ? kKinds[2] : kKinds[1];
}

int QVR_microsoftSpeaker::WriteFile(const char* fileName) {
  for (int handle = network.FirstNode(); handle >= 0; handle = network.NextNode(handle)) {
    if (!HasWritableTable(network, handle)) {
      const QVR_node& node = *network.NodeAt(handle);
      const std::string type = node.definition == nullptr ? "" : node.definition->GetTypeName();
      GetErrorLog().Log(QVR_OUT_OF_RANGE, "ERROR: '" + type + "' : Node type not supported by MSBN");
      return GetErrorLog().Log(QVR_OUT_OF_RANGE, "ERROR: This Network cannot be saved in Microsotf format");
    }
  }
  if (const int status = StartWriting(fileName); status < 0) {
    return status;
  }
  writtenIds = MakeWrittenIds(network);
  const QVR_submodel& main = *network.GetSubmodels().GetSubmodel(QVR_submodelHandler::kMainSubmodel);
  const std::string& id = main.header.GetId();
  Write("belief network ");
  WriteQuoted(id.empty() ? "_Unnamed_Network_" : id);
  Write("\n");
  const QVR_intArray& order = network.GetTopologicalOrder();
  for (const int handle : order) {
    WriteNode(*network.NodeAt(handle));
  }
  for (const char* kind : kKinds) {
    for (const int handle : order) {
      const QVR_node& node = *network.NodeAt(handle);
      if (KindOf(node.GetType()) == kind) {
        WriteTable(node, kind);
      }
    }
  }
  return textFile.Close();
}

int QVR_microsoftSpeaker::WriteStringField(const char* name, const char* text, bool isQuoted,
                                           bool isEscaped) {
  if (name == nullptr) {
    return QVR_OKAY;
  }
  WriteIndented(name);
  Write(" : ");
  const std::string content = isEscaped ? EscapeText(CutText(text)) : std::string(CutText(text));
  if (isQuoted) {
    WriteBetweenQuotes(content);
  } else {
    Write(content);
  }
  return Write(";\n");
}

void QVR_microsoftSpeaker::WriteNode(const QVR_node& node) {
  Write("node " + writtenIds[static_cast<std::size_t>(node.handle)] + " {\n");
  textFile.Indent();
  WriteStringField("name", node.info->header.GetName().c_str(), true, true);
  if (const QVR_stringArray* states = node.definition->GetOutcomeNames(); states != nullptr) {
    WriteIndented("type : discrete [ " + std::to_string(states->GetNumItems()) + " ] = { ");
    for (int i = 0; i < states->GetNumItems(); ++i) {
      const char* state = states->Get(i);
      Write(i > 0 ? ", " : "");
      WriteQuoted(state == nullptr ? "" : state);
    }
    Write(" };\n");
  }
  const QVR_rectangle& position = node.info->screen.position;
  WriteIndented("position : (" + std::to_string(position.centerX) + ", " + std::to_string(position.centerY) +
                ");\n");
  if (node.GetType() == kTypeList || node.GetType() == kTypeTable) {
    WriteStringField("label", node.GetType() == kTypeList ? "decision" : "utility", false, false);
  }
  textFile.Outdent();
  Write("}\n");
}

void QVR_microsoftSpeaker::WriteTable(const QVR_node& node, const char* kind) {
  Write(std::string(kind) + " ( " + writtenIds[static_cast<std::size_t>(node.handle)]);
  const char* separator = " | ";
  for (const int parent : network.GetParents(node.handle)) {
    Write(separator + writtenIds[static_cast<std::size_t>(parent)]);
    separator = ", ";
  }
  Write(" ) {\n");
  textFile.Indent();
  if (node.GetType() != kTypeList) {
    WriteRows(node);
  }
  textFile.Outdent();
  Write("}\n");
}

void QVR_microsoftSpeaker::WriteRows(const QVR_node& node) {
  const QVR_Dmatrix& table = *GetWritableTable(network, node.handle);
  const int width = std::max(node.GetNumberOfOutcomes(), 1);
  const int parentCount = table.GetNumDimensions() - 1;
  QVR_intArray coordinates;
  QVR_doubleArray row;
  row.SetSize(width);
  for (int first = 0; first < table.GetNumElements(); first += width) {
    table.IndexToCoordinates(first, coordinates);
    WriteIndented("");
    for (int i = 0; i < parentCount; ++i) {
      Write((i > 0 ? ", " : "(") + std::to_string(coordinates[i]));
    }
    Write(parentCount > 0 ? ") : " : "");
    for (int i = 0; i < width; ++i) {
      row[i] = table.Subscript(first + i);
    }
    WriteDoubleList(row, 1);
    Write(";\n");
  }
}

int QVR_microsoftSpeaker::WriteDoubleList(const QVR_doubleArray& list, int flag) {
  const int count = flag == 0 ? list.GetNumItems() : list.GetSize();
  for (int i = 0; i < count; ++i) {
    Write(i > 0 ? ", " : "");
    Write(NumberToText(list[i]));
  }
  return textFile.GetStatus();
}

}  // namespace qvr
