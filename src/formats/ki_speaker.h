// The speaker of the KI format of diagnostic networks.
#ifndef QVR_FORMATS_KI_SPEAKER_H
#define QVR_FORMATS_KI_SPEAKER_H

#include <set>
#include <string>
#include <vector>

#include "formats/file_format.h"
#include "formats/written_names.h"

namespace qvr {

class QVR_extraDefinition;

// Reads chance nodes with their diagnostic attributes: first the nodes, then their parents and tables. What
// it writes, and reads again, are the statements of the engine's own text format.
class QVR_kiSpeaker : public QVR_fileFormat {
 public:
  explicit QVR_kiSpeaker(QVR_network& newNetwork) : QVR_fileFormat(newNetwork), names(newNetwork) {
    caseSensitive = false;
  }

  [[nodiscard]] int ReadFile(const char* fileName) override;
  [[nodiscard]] int WriteFile(const char* fileName) override;

  int SkipSection() override { return SkipBracedSection(); }

 private:
  struct State {
    std::string name;
    bool isFault = false;
    std::string label;  // of a fault
    std::string comment;
  };
  struct FileNode {
    std::string name;
    std::string title;
    std::string comment;
    std::string question;
    std::vector<State> states;
    int outcomes = 0;        // 0 if not stated
    int diagnosisType = -1;  // -1 while unknown
    bool isMandatory = false;
    bool isRanked = false;
  };
  struct FileDefinition {
    std::string name;
    std::vector<std::string> parents;
    bool hasTable = false;
    QVR_doubleArray table;
  };

  int ReadHeader();
  int ReadSection();
  int ReadNetworkField();
  int ReadNode(int type);
  int ReadNodeStatement(FileNode& node);
  int ReadNodeField(FileNode& node);
  int ReadFlag(FileNode& node, const std::string& field);
  int ReadType(FileNode& node);
  int ReadClass(FileNode& node);
  int ReadState(FileNode& node, bool isFault);
  int ReadStateField(const FileNode& node, State& state);
  int ReadDefinitions();
  int ReadDefinition();
  int ReadDefinitionField(FileDefinition& definition);
  // The tokens of a field's value, up to its ";".
  std::vector<std::string> TakeValue();
  std::string TakeText();

  void ApplyNode(int type, const FileNode& node);
  void ApplyStates(const FileNode& node, int handle);
  void ApplyDefinition(const FileDefinition& definition);
  int ApplyTable(const FileDefinition& definition, int handle);

  WrittenNames names;
  std::set<std::string> faultLabels;
};

}  // namespace qvr

#endif
