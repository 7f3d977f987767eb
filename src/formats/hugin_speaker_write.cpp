// Writing Hugin's net format.
#include <vector>

#include "formats/foreign_network.h"
#include "formats/hugin_speaker.h"
#include "formats/table_exchange.h"
#include "model/error_log.h"
#include "model/network.h"

namespace qvr {
namespace {

constexpr int kUsualWidth = 80;
constexpr int kUsualHeight = 40;

// "(x y)"
QVR_intArray Pair(int x, int y) { return {x, y}; }

}  // namespace

int QVR_huginSpeaker::WriteFile(const char* fileName) {
  QVR_intArray handles;
  network.GetAllNodes(handles);
  writtenIds = MakeWrittenIds(network);
  if (!CanWrite(handles)) {
    return GetErrorLog().Log(QVR_OUT_OF_RANGE, "ERROR: This Network cannot be saved in Hugin format");
  }
  if (const int status = StartWriting(fileName); status < 0) {
    return status;
  }
  WriteNetBlock();
  for (int handle : handles) {
    WriteNode(*network.NodeAt(handle));
  }
  for (int handle : handles) {
    WritePotential(handle);
  }
  return textFile.Close();
}

bool QVR_huginSpeaker::CanWrite(const QVR_intArray& handles) {
  for (int handle : handles) {
    if (!HasWritableTable(network, handle)) {
      GetErrorLog().Log(QVR_OUT_OF_RANGE,
                        "ERROR: '" + NameOf(handle) + "' : Node type not supported by Hugin");
      return false;
    }
  }
  return true;
}

void QVR_huginSpeaker::WriteNetBlock() {
  const QVR_header& header = network.GetSubmodels().GetSubmodel(QVR_submodelHandler::kMainSubmodel)->header;
  const QVR_rectangle& size = network.GetSubmodels().nodeDefaults.position;
  WriteBlockHeader("net ");
  WriteIntListField(
      "node_size",
      size.width > 0 && size.height > 0 ? Pair(size.width, size.height) : Pair(kUsualWidth, kUsualHeight), 0);
  if (!header.GetName().empty()) {
    WriteQuotedField("name", header.GetName().c_str());
  }
  WriteBlockEnd();
}

void QVR_huginSpeaker::WriteNode(const QVR_node& node) {
  const int type = node.GetType();
  const std::string kind = type == kTypeList ? "decision " : type == kTypeTable ? "utility " : "node ";
  Write("\n");
  WriteBlockHeader((kind + NameOf(node.handle)).c_str());
  WriteQuotedField("label", node.info->header.GetName().c_str());
  const QVR_rectangle& position = node.info->screen.position;
  WriteIntListField("position", Pair(position.centerX, position.centerY), 0);
  if (type != kTypeTable) {
    WriteStringListField("states", *node.definition->GetOutcomeNames(), 0);
  }
  WriteBlockEnd();
}

void QVR_huginSpeaker::WritePotential(int handle) {
  std::string head = "potential (" + NameOf(handle);
  const char* separator = " | ";
  for (int parent : network.GetParents(handle)) {
    head += separator + NameOf(parent);
    separator = " ";
  }
  Write("\n");
  WriteBlockHeader((head + ")").c_str());
  if (network.NodeAt(handle)->GetType() != kTypeList) {
    WriteField("data", [this, handle] { WriteData(handle); });
  }
  WriteBlockEnd();
}

// A pair of parentheses around all, and around what belongs to each outcome of each parent.
void QVR_huginSpeaker::WriteData(int handle) {
  const QVR_Dmatrix& table = *GetWritableTable(network, handle);
  std::vector<int> blocks;  // sizes of what stands in parentheses, largest first
  const bool isUtility = network.NodeAt(handle)->GetType() == kTypeTable;
  const int levels =
      isUtility && table.GetNumDimensions() > 1 ? table.GetNumDimensions() - 1 : table.GetNumDimensions();
  for (int i = 0; i < levels; ++i) {
    blocks.push_back(table.GetStride(i) * table.GetDimension(i));
  }
  for (int i = 0; i < table.GetNumElements(); ++i) {
    std::string text = i > 0 ? " " : "";
    for (int block : blocks) {
      text += i % block == 0 ? "(" : "";
    }
    text += NumberToText(table.Subscript(i));
    for (int block : blocks) {
      text += (i + 1) % block == 0 ? ")" : "";
    }
    Write(text);
  }
}

}  // namespace qvr
