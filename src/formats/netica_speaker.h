// The speaker of Netica's text format.
#ifndef QVR_FORMATS_NETICA_SPEAKER_H
#define QVR_FORMATS_NETICA_SPEAKER_H

#include <functional>
#include <string>
#include <vector>

#include "formats/file_format.h"
#include "formats/netica_node.h"
#include "formats/written_names.h"

namespace qvr {

class QVR_header;
class QVR_node;

// A node's fields are gathered while its block is read, and applied at its end: see NeticaNode. Holds chance
// nodes, as tables, decisions and utilities; reads equations of continuous nodes too.
class QVR_neticaSpeaker : public QVR_fileFormat {
 public:
  explicit QVR_neticaSpeaker(QVR_network& newNetwork) : QVR_fileFormat(newNetwork), names(newNetwork) {
    caseSensitive = false;
  }

  [[nodiscard]] int ReadFile(const char* fileName) override;
  [[nodiscard]] int WriteFile(const char* fileName) override;

  int WriteBlockHeader(const char* name) override { return OpenBlock(name); }
  int BeginLiteral() override;
  int EndLiteral() override;

 protected:
  // What isn't ASCII becomes a backslash and two hexadecimal digits for each byte of its UTF-8 form.
  [[nodiscard]] std::string EscapeText(std::string_view text) const override;

 private:
  int ReadHeader();
  int ReadNetStatement();
  int ReadText(std::string& out);
  // The name that such a block may bear, and its statements.
  int ReadNamedBlock(const std::function<int()>& readStatement);
  int ReadNode(const char* unknownMessage);
  int ReadNodeStatement(NeticaNode& node, const char* unknownMessage);
  int ReadListField(NeticaNode& node);
  int ReadKind(NeticaNode& node);
  int ReadChance(NeticaNode& node);
  int ReadStateCount(NeticaNode& node);
  int ReadVisualNodeStatement(NeticaNode& node);
  int ReadPair(int& first, int& second, const char* message);
  int ReadNumbers(std::vector<double>& out);
  int ReadEntries(std::vector<std::string>& out);

  void ApplyNode(NeticaNode& node);
  int MakeNode(NeticaNode& node);
  bool MakeEquation(NeticaNode& node);
  void SetLevels(const NeticaNode& node);
  void AddParents(const NeticaNode& node);
  void SetTable(const NeticaNode& node);
  void SetResultingStates(const NeticaNode& node);

  [[nodiscard]] bool CanWrite(const QVR_intArray& handles);
  void WriteTexts(const QVR_header& header);
  void WriteNode(const QVR_node& node);
  void WriteKind(const QVR_node& node);
  void WriteTable(const QVR_node& node);

  WrittenNames names;
  std::vector<std::string> writtenIds;  // by handle, while writing
};

}  // namespace qvr

#endif
