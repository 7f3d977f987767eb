// The speaker of the Ergo format: numbers separated by white space, then named sections.
#ifndef QVR_FORMATS_ERGO_SPEAKER_H
#define QVR_FORMATS_ERGO_SPEAKER_H

#include <deque>
#include <string>
#include <vector>

#include "formats/file_format.h"

namespace qvr {

// Holds chance nodes alone. Everything is gathered before a node is made, since only tables and parents
// together tell whether the file counts parents from 0 or from 1.
class QVR_ergoSpeaker : public QVR_fileFormat {
 public:
  using QVR_fileFormat::QVR_fileFormat;

  [[nodiscard]] int ReadFile(const char* fileName) override;
  [[nodiscard]] int WriteFile(const char* fileName) override;
  int SkipSection() override;

 private:
  struct FileNode {
    int outcomes = 2;
    std::vector<int> parents;  // as they stand in the file
    std::string name;          // empty without one
    QVR_stringArray labels;    // none, or one for each outcome
    int centerX = 0;
    int centerY = 0;
    int line = 0;  // of the table, 0 without one
    int entries = 0;
    QVR_doubleArray table;
  };

  int ReadHeader(const char* fileName);
  int ReadOutcomeCount(FileNode& node);
  int ReadParents(FileNode& node);
  void ReadSections();
  [[nodiscard]] std::string ReadMark();
  int ReadSection(const std::string& word);
  int ReadTables();
  int ReadTable(FileNode& node);
  int ReadCenters();
  std::vector<std::string> TakeLines();  // up to the next mark, those that aren't blank
  void TakeNames();
  void TakeLabels();

  [[nodiscard]] int FindBase() const;
  [[nodiscard]] bool FitsBase(int base) const;
  [[nodiscard]] bool IsAcyclic(int base) const;
  int BuildNetwork();
  int BuildNodes();
  void BuildArcs(int base);
  void BuildTables();

  void WriteHeader(const QVR_intArray& handles);
  void WriteNames(const QVR_intArray& handles);
  void WriteCenters(const QVR_intArray& handles);
  void WriteTables(const QVR_intArray& handles);

  std::deque<FileNode> nodes;
  std::vector<int> nodeHandles;  // in file order
};

}  // namespace qvr

#endif
