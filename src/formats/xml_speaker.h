// The speaker of XMLBIF 0.3, the interchange format.
#ifndef QVR_FORMATS_XML_SPEAKER_H
#define QVR_FORMATS_XML_SPEAKER_H

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "formats/file_format.h"
#include "formats/written_names.h"
#include "formats/xml_scanner.h"

namespace qvr {

class QVR_node;

// The reader takes characters rather than tokens: names hold blanks and quotes, comments stand in the middle
// of tables, and addresses in comments hold "//".
class QVR_xmlSpeaker : public QVR_fileFormat {
 public:
  using QVR_fileFormat::QVR_fileFormat;

  // 0, also where elements were skipped; -103; -127 for what isn't XMLBIF, -2 for another version.
  [[nodiscard]] int ReadFile(const char* fileName) override;
  // Decisions, chance nodes of all kinds by their full tables, and utility tables; -2 with any other node.
  [[nodiscard]] int WriteFile(const char* fileName) override;
  // To behind the end tag of the element whose start tag was read last.
  int SkipBlock() override;
  // The numbers with blanks between.
  int WriteDoubleList(const QVR_doubleArray& list, int flag) override;

 protected:
  [[nodiscard]] int GetLine() const override { return lineOfReport > 0 ? lineOfReport : scanner->GetLine(); }

 private:
  // What a VARIABLE or DEFINITION element has told.
  struct Variable {
    std::string name;
    std::string type;
    std::vector<std::string> outcomes;
    std::optional<std::pair<int, int>> centre;
  };
  struct Definition {
    int line = 0;
    std::vector<std::string> subjects;  // of FOR, one as a rule
    std::vector<std::string> parents;
    std::vector<double> numbers;
  };

  // --- reading: xml_speaker.cpp
  int ReadProlog();
  // Hands the start tags in the element to `readChild`, up to its end tag. False, reported, without one.
  bool ReadChildren(const char* element, const std::function<void()>& readChild);
  [[nodiscard]] bool IsOpen(const std::string& name) const;
  // False, reported, if anything but the end tag is next.
  bool ReadElementText(std::string& out);
  // Reports a tag that this place has no use for and skips the element.
  void RefuseTag(const char* message);
  int ReportMissingTag(const std::string& name);

  // --- elements: xml_speaker_elements.cpp
  void ReadNetworkChild();
  void ReadVariable();
  void ReadVariableChild(Variable& variable);
  void AddVariable(const Variable& variable);
  void SetOutcomes(int handle, const std::vector<std::string>& outcomes);
  void ReadDefinition();
  void ReadDefinitionChild(Definition& definition);
  void ReadTable(Definition& definition);
  [[nodiscard]] bool IsComplete(const Definition& definition) const;
  void Apply(const Definition& definition);
  void AddParents(int child, const Definition& definition);

  // --- writing: xml_speaker_write.cpp
  void WriteElement(const std::string& element, std::string_view text);
  void WriteVariable(QVR_node& node);
  void WriteDefinition(QVR_node& node);

  std::unique_ptr<XmlScanner> scanner;
  std::unique_ptr<WrittenNames> names;
  XmlTag tag;                             // read last
  std::vector<std::string> openElements;  // outermost first
  std::vector<Definition> postponed;      // they name variables that weren't there yet
  int lineOfReport = 0;                   // of what is applied later than it was read, or 0
};

}  // namespace qvr

#endif
