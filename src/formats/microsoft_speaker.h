// The speaker of the Microsoft belief network format.
#ifndef QVR_FORMATS_MICROSOFT_SPEAKER_H
#define QVR_FORMATS_MICROSOFT_SPEAKER_H

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "formats/file_format.h"
#include "formats/written_names.h"

namespace qvr {

class QVR_node;

// The lexer passes over "," and the bar, so lists have no separators, and the first name in the head of a
// block is the child. Files come in two dialects, with ":" or with "=" and "is"; both are read, in any
// mixture.
class QVR_microsoftSpeaker : public QVR_fileFormat {
 public:
  using QVR_fileFormat::QVR_fileFormat;

  // 0, also where statements were skipped; -103; -2 for another kind of network.
  [[nodiscard]] int ReadFile(const char* fileName) override;
  // Decisions, chance nodes of all kinds by their full tables, and utility tables; -2 with any other node.
  [[nodiscard]] int WriteFile(const char* fileName) override;
  // Top-level statements end with their "}".
  int SkipSection() override { return SkipBracedSection(); }
  int ReadIdentifierList(QVR_stringArray& list) override;
  // Numbers up to what is none, without parentheses.
  int ReadDoubleList(QVR_doubleArray& list) override;
  // The sign behind the name may be ":", "=", "is" or nothing.
  int ReadField(const char* name, int tokenType) override;
  // Numbers with commas between.
  int WriteDoubleList(const QVR_doubleArray& list, int flag) override;
  int WriteStringField(const char* name, const char* text, bool isQuoted, bool isEscaped) override;

 protected:
  [[nodiscard]] int GetLine() const override;

 private:
  // A row of a table: the states of the parents, and the node's numbers for them.
  struct Row {
    int line = 0;
    bool isDefault = false;
    std::vector<std::string> labels;
    QVR_doubleArray numbers;
  };
  // A probability, utility or information block.
  struct Block {
    int line = 0;
    int child = -1;
    std::vector<int> parents;
    bool isWhole = true;  // all its parents are there
    std::vector<Row> rows;
  };

  // --- reading: microsoft_speaker.cpp
  int ReadNetworkHead();
  int ReadObject();
  int ReadNode();
  int ReadNodeField(QVR_node& node, bool& sawType);
  int ReadName(QVR_node& node);
  int ReadType(QVR_node& node);
  std::optional<int> ReadStateCount();
  int ReadStateNames(QVR_stringArray& states);
  void SetStates(QVR_node& node, std::optional<int> count, const QVR_stringArray& states);
  int ReadLabel(QVR_node& node);
  int ReadPosition(const QVR_node& node);
  void SkipSign();

  // --- tables: microsoft_speaker_tables.cpp
  [[nodiscard]] static const char* KindOf(int type);  // the word of a node's block
  [[nodiscard]] static bool LabelsSayNothing(const std::vector<Row>& rows);
  int ReadTable(const std::string& kind);
  int ReadBlockHead(Block& block);
  int ReadRow(Block& block);
  int ReadLabels(Row& row);
  void AddParents(Block& block, std::size_t numberCount);
  void FillTable(const Block& block);
  // The place of the row among the parents' configurations; -2, reported, for a bad label.
  int PlaceOf(const Row& row, const Block& block);
  [[nodiscard]] int IndexOf(const std::string& label, int parent) const;

  // --- writing: microsoft_speaker_write.cpp
  void WriteNode(const QVR_node& node);
  void WriteTable(const QVR_node& node, const char* kind);
  void WriteRows(const QVR_node& node);

  std::unique_ptr<WrittenNames> names;
  int lineOfReport = 0;                 // of what is done later than it was read, or 0
  std::vector<std::string> writtenIds;  // by handle
};

}  // namespace qvr

#endif
