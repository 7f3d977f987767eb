// Reading the Microsoft format: the blocks that state tables and parents.
#include <algorithm>

#include "formats/foreign_network.h"
#include "formats/microsoft_speaker.h"
#include "formats/number_token.h"
#include "formats/table_exchange.h"
#include "model/network.h"

namespace qvr {
namespace {

constexpr const char* kBadLabel = "ERROR: Invalid coordinates";

}  // namespace

// More than one row, all of them labelled with zeros.
bool QVR_microsoftSpeaker::LabelsSayNothing(const std::vector<Row>& rows) {
  return rows.size() > 1 && std::all_of(rows.begin(), rows.end(), [](const Row& row) {
           return !row.isDefault && std::all_of(row.labels.begin(), row.labels.end(),
                                                [](const std::string& label) { return label == "0"; });
         });
}

int QVR_microsoftSpeaker::ReadTable(const std::string& kind) {
  Block block;
  block.line = GetLine();
  if (const int status = ReadBlockHead(block); status < 0) {
    return status;
  }
  if (kind != KindOf(network.NodeAt(block.child)->GetType())) {
    return Report(QVR_WRONG_NODE_TYPE, "ERROR: Unknown Node Type");
  }
  int status = Expect(kTokenPunctuator, "{");
  if (status == QVR_OKAY) {
    ReadStatements([&] { return ReadRow(block); });
    status = ReadBlockEnd();
  }
  std::size_t numberCount = 0;
  for (const Row& row : block.rows) {
    numberCount += static_cast<std::size_t>(row.numbers.GetNumItems());
  }
  lineOfReport = block.line;
  AddParents(block, numberCount);
  if (block.isWhole && !block.rows.empty() && kind != "information") {
    FillTable(block);
  }
  lineOfReport = 0;
  return status;
}

int QVR_microsoftSpeaker::ReadBlockHead(Block& block) {
  QVR_stringArray list;
  if (const int status = ReadIdentifierList(list); status < 0) {
    return status;
  }
  for (int i = 0; i < list.GetNumItems(); ++i) {
    const int handle = names->Find(list.Get(i));
    if (handle < 0) {
      Report(handle, std::string("ERROR: Node (\"") + list.Get(i) + "\") not found");
      block.isWhole = false;
    } else if (i == 0) {
      block.child = handle;
    } else {
      block.parents.push_back(handle);
    }
  }
  return block.child < 0 ? QVR_OUT_OF_RANGE : QVR_OKAY;
}

int QVR_microsoftSpeaker::ReadRow(Block& block) {
  Row row;
  row.line = GetLine();
  int status = QVR_OKAY;
  if (NextIsKeyword("default") == 1) {
    Consume();
    row.isDefault = true;
    SkipSign();
  } else if (NextIsOpenParen() == 1) {
    status = ReadLabels(row);
    SkipSign();
  }
  if (status == QVR_OKAY) {
    status = ReadDoubleList(row.numbers);
  }
  if (status == QVR_OKAY && row.numbers.GetNumItems() == 0) {
    status = Expect(kTokenReal, nullptr);
  }
  if (status == QVR_OKAY) {
    block.rows.push_back(std::move(row));
  }
  return status;
}

int QVR_microsoftSpeaker::ReadLabels(Row& row) {
  Consume();
  while (NextIsInteger() == 1 || NextIsIdentifier() == 1 || NextIsString() == 1) {
    ReadWord(row.labels.emplace_back());
  }
  return Expect(kTokenPunctuator, ")");
}

void QVR_microsoftSpeaker::AddParents(Block& block, std::size_t numberCount) {
  for (const int parent : block.parents) {
    const int status = AddTableParent(network, parent, block.child, numberCount);
    if (status < 0) {
      Report(status,
             "ERROR: Couldn't add arc from parent node (\"" + network.NodeAt(parent)->GetId() + "\")");
      block.isWhole = false;
    }
  }
}

int QVR_microsoftSpeaker::IndexOf(const std::string& label, int parent) const {
  QVR_nodeDefinition& definition = *network.NodeAt(parent)->definition;
  const char* end = nullptr;
  const long long index = ReadLeadingInteger(label.c_str(), end);
  if (*end != '\0' || label.empty()) {
    const auto* states = dynamic_cast<const QVR_idArray*>(definition.GetOutcomeNames());
    return states == nullptr ? QVR_OUT_OF_RANGE : states->FindId(label);
  }
  return index >= 0 && index < definition.GetNumberOfOutcomes() ? static_cast<int>(index) : QVR_OUT_OF_RANGE;
}

int QVR_microsoftSpeaker::PlaceOf(const Row& row, const Block& block) {
  int place = row.labels.size() == block.parents.size() ? 0 : QVR_OUT_OF_RANGE;
  for (std::size_t i = 0; i < row.labels.size() && place >= 0; ++i) {
    const int index = IndexOf(row.labels[i], block.parents[i]);
    const int states = network.NodeAt(block.parents[i])->GetNumberOfOutcomes();
    place = index < 0 ? index : place * states + index;
  }
  return place < 0 ? Report(place, kBadLabel) : place;
}

// Rows go where their labels say, whatever their order in the file. Some writers label all of them with
// zeros: then it's the order that says it.
void QVR_microsoftSpeaker::FillTable(const Block& block) {
  const QVR_node& node = *network.NodeAt(block.child);
  if (network.GetNumberOfParents(block.child) != static_cast<int>(block.parents.size())) {
    Report(QVR_OUT_OF_RANGE, kBadLabel);  // an earlier block has other parents
    return;
  }
  const int width = std::max(node.GetNumberOfOutcomes(), 1);
  const int rowCount = GetTableSize(network, block.child) / width;
  std::vector<const Row*> placed(static_cast<std::size_t>(rowCount));
  const Row* defaultRow = nullptr;
  const bool isOrdered = !block.parents.empty() && LabelsSayNothing(block.rows);
  for (std::size_t i = 0; i < block.rows.size(); ++i) {
    const Row& row = block.rows[i];
    lineOfReport = row.line;
    if (row.numbers.GetNumItems() != width) {
      Report(QVR_OUT_OF_RANGE, WrongCountMessage(node.GetId(), width, row.numbers.GetNumItems()));
    } else if (row.isDefault) {
      defaultRow = &row;
    } else if (isOrdered && i >= placed.size()) {
      Report(QVR_OUT_OF_RANGE, kBadLabel);
    } else if (const int place = isOrdered ? static_cast<int>(i) : PlaceOf(row, block); place >= 0) {
      placed[static_cast<std::size_t>(place)] = &row;
    }
  }
  std::vector<double> cells;
  cells.reserve(placed.size() * static_cast<std::size_t>(width));
  for (const Row* row : placed) {
    row = row == nullptr ? defaultRow : row;
    if (row == nullptr) {
      cells.insert(cells.end(), static_cast<std::size_t>(width),
                   node.GetType() == kTypeTable ? 0.0 : 1.0 / width);
    } else {
      cells.insert(cells.end(), row->numbers.begin(), row->numbers.end());
    }
  }
  SetTable(network, block.child, cells);
}

}  // namespace qvr
