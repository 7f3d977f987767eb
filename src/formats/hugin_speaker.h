// The speaker of Hugin's net format.
#ifndef QVR_FORMATS_HUGIN_SPEAKER_H
#define QVR_FORMATS_HUGIN_SPEAKER_H

#include <set>
#include <string>
#include <vector>

#include "formats/file_format.h"
#include "formats/written_names.h"

namespace qvr {

class QVR_node;

// Lists stand in parentheses without commas, blocks end without ";". Holds chance nodes, as tables, decisions
// and utilities.
class QVR_huginSpeaker : public QVR_fileFormat {
 public:
  explicit QVR_huginSpeaker(QVR_network& newNetwork) : QVR_fileFormat(newNetwork), names(newNetwork) {
    commaSeparated = false;
  }

  [[nodiscard]] int ReadFile(const char* fileName) override;
  [[nodiscard]] int WriteFile(const char* fileName) override;

  int SkipSection() override { return SkipBracedSection(); }
  int WriteBlockHeader(const char* name) override { return OpenBlock(name); }
  int WriteBlockEnd() override { return CloseBlock("}"); }

 private:
  // Applied at its end: only the numbers tell whether a large table is meant.
  struct Potential {
    int line = 0;
    QVR_stringArray nodes;  // the child, then its parents
    QVR_intArray handles;
    int dataLine = 0;  // 0 without data
    QVR_doubleArray numbers;
    int modelLine = 0;  // of a table that is only described
  };

  int ReadStart();
  int ReadNetStatement();
  int ReadNodeSize();
  int ReadNetName(bool isName);
  int ReadSection();
  int ReadContinuousNode();
  int ReadNode(int type);
  int ReadNodeField(int handle);
  int ReadPosition(int handle);
  int ReadStates(int handle);
  int ReadPotential();
  int ReadPotentialHead(QVR_stringArray& nodes);
  int ReadPotentialField(Potential& potential);
  void ApplyPotential(const Potential& potential);

  [[nodiscard]] bool CanWrite(const QVR_intArray& handles);
  void WriteNetBlock();
  void WriteNode(const QVR_node& node);
  void WritePotential(int handle);
  void WriteData(int handle);
  [[nodiscard]] const std::string& NameOf(int handle) const {
    return writtenIds[static_cast<std::size_t>(handle)];
  }

  WrittenNames names;
  std::vector<std::string> writtenIds;  // by handle, while writing
  std::set<std::string> skippedNodes;   // continuous ones, which aren't made
  int nodeType = 0;                     // of the node being read
  bool isClass = false;                 // the file's statements stand within "class"
  bool hasName = false;                 // of the network, which outranks its label
};

}  // namespace qvr

#endif
