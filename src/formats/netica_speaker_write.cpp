// Writing Netica's text format.
#include "definitions/truth_table.h"
#include "formats/foreign_network.h"
#include "formats/netica_speaker.h"
#include "formats/table_exchange.h"
#include "model/error_log.h"
#include "model/network.h"

namespace qvr {
namespace {

constexpr char kHexDigits[] = "0123456789ABCDEF";

void AppendByte(unsigned byte, std::string& out) {
  out += '\\';
  out += kHexDigits[byte / 16];
  out += kHexDigits[byte % 16];
}

bool IsHexDigit(char c) { return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'F'); }

}  // namespace

// A backslash that would be taken for the start of a byte is written as one itself.
std::string QVR_neticaSpeaker::EscapeText(std::string_view text) const {
  std::string escaped;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const auto byte = static_cast<unsigned char>(text[i]);
    if (byte >= 0x80) {
      AppendByte(0xC0U | (byte >> 6), escaped);
      AppendByte(0x80U | (byte & 0x3FU), escaped);
    } else if (byte == '\\' && i + 2 < text.size() && IsHexDigit(text[i + 1]) && IsHexDigit(text[i + 2])) {
      AppendByte(byte, escaped);
    } else {
      escaped += QVR_fileFormat::EscapeText(text.substr(i, 1));
    }
  }
  return escaped;
}

int QVR_neticaSpeaker::BeginLiteral() {
  textFile.SetContinuation("\\ ");
  return QVR_OKAY;
}

int QVR_neticaSpeaker::EndLiteral() {
  textFile.SetContinuation(nullptr);
  return QVR_OKAY;
}

int QVR_neticaSpeaker::WriteFile(const char* fileName) {
  const QVR_intArray& handles = network.GetTopologicalOrder();
  if (!CanWrite(handles)) {
    return GetErrorLog().Log(QVR_OUT_OF_RANGE, "ERROR: This Network cannot be saved in Netica format");
  }
  if (const int status = StartWriting(fileName); status < 0) {
    return status;
  }
  const QVR_header& header = network.GetSubmodels().GetSubmodel(QVR_submodelHandler::kMainSubmodel)->header;
  writtenIds = MakeWrittenIds(network);
  Write("// ~->[DNET-1]->~\n\n");
  WriteBlockHeader(("bnet " + MakeWrittenId(header.GetId(), "_Unnamed_Network_")).c_str());
  WriteTexts(header);
  if (!network.creation.creator.empty()) {
    WriteQuotedField("author", network.creation.creator.c_str());
  }
  WriteBlockHeader("visual V1");
  WriteBlockEnd();
  for (int handle : handles) {
    WriteNode(*network.NodeAt(handle));
  }
  WriteBlockEnd();
  return textFile.Close();
}

bool QVR_neticaSpeaker::CanWrite(const QVR_intArray& handles) {
  for (int handle : handles) {
    if (!HasWritableTable(network, handle)) {
      GetErrorLog().Log(QVR_OUT_OF_RANGE, "ERROR: Unsupported node type");
      return false;
    }
  }
  return true;
}

void QVR_neticaSpeaker::WriteTexts(const QVR_header& header) {
  if (!header.GetName().empty()) {
    WriteQuotedField("title", header.GetName().c_str());
  }
  if (!header.GetComment().empty()) {
    WriteQuotedField("comment", header.GetComment().c_str());
  }
}

void QVR_neticaSpeaker::WriteNode(const QVR_node& node) {
  Write("\n");
  WriteBlockHeader(("node " + writtenIds[static_cast<std::size_t>(node.handle)]).c_str());
  WriteKind(node);
  WriteTexts(node.info->header);
  QVR_stringArray parents;
  for (int parent : network.GetParents(node.handle)) {
    parents.Add(writtenIds[static_cast<std::size_t>(parent)].c_str());
  }
  WriteIdentifierListField("parents", parents, 0);
  if (const QVR_stringArray* outcomes = node.definition->GetOutcomeNames(); outcomes != nullptr) {
    QVR_idArray states;  // a decision's names are untested
    states.Copy(*outcomes);
    states.MakeAllValid();
    WriteIdentifierListField("states", states, 0);
  }
  WriteBlockHeader("user U1");
  WriteBlockEnd();
  const QVR_rectangle& position = node.info->screen.position;
  WriteBlockHeader("visual V1");
  WriteIntListField("center", QVR_intArray{position.centerX, position.centerY}, 0);
  WriteBlockEnd();
  WriteTable(node);
  WriteBlockEnd();
}

void QVR_neticaSpeaker::WriteKind(const QVR_node& node) {
  const int type = node.GetType();
  const char* kind = type == kTypeList ? "DECISION" : type == kTypeTable ? "UTILITY" : "NATURE";
  const bool isCertain = type == kTypeTruthTable || type == kTypeList || type == kTypeTable;
  WriteStringField("kind", kind, false, false);
  WriteBoolField("discrete", type != kTypeTable);
  WriteStringField("chance", isCertain ? "DETERMIN" : "CHANCE", false, false);
}

// All columns, in one flat list; of a deterministic node the states.
void QVR_neticaSpeaker::WriteTable(const QVR_node& node) {
  const int type = node.GetType();
  if (type == kTypeList) {
    return;
  }
  if (type == kTypeTruthTable && node.definition->IsConsistent()) {
    QVR_stringArray states;
    static_cast<const QVR_truthTable&>(*node.definition).GetResultingStates(states);
    WriteField("functable", [&] {
      Write("\n");
      WriteIdentifierList(states, 0);
    });
    return;
  }
  WriteField(type == kTypeTable ? "functable" : "probs", [&] {
    Write("\n");
    WriteDoubleList(GetWritableTable(network, node.handle)->GetItems(), 1);
  });
}

}  // namespace qvr
