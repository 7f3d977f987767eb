// The speaker of the engine's own text format.
#ifndef QVR_FORMATS_QVR_SPEAKER_H
#define QVR_FORMATS_QVR_SPEAKER_H

#include <algorithm>
#include <array>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "formats/file_format.h"
#include "formats/node_def_visitor.h"
#include "formats/written_names.h"

namespace qvr {

class QVR_equation;
class QVR_header;
class QVR_node;
class QVR_rectangle;
class QVR_screenInfo;
class QVR_documentation;
class QVR_submodel;
class QVR_textBoxList;
class QVR_userProperties;

// A file is one statement, "net"; a bad statement in it is reported and skipped.
class QVR_qvrSpeaker : public QVR_fileFormat, private NodeDefVisitor {
 public:
  using QVR_fileFormat::QVR_fileFormat;

  // 0, also for a file that holds something else, which leaves the network empty; or -103.
  [[nodiscard]] int ReadFile(const char* fileName) override;
  // -2 with a node of a type that the format doesn't know.
  [[nodiscard]] int WriteFile(const char* fileName) override;
  int ReadBlockHeader(const char* name) override;
  int WriteBlockHeader(const char* name) override;
  int BeginLiteral() override;
  int EndLiteral() override;

 private:
  static constexpr const char* kDiagnosisTypes[] = {"TARGET", "OBSERVATION", "AUXILIARY"};  // in their order
  // What may stand in a block: each reader is called at its keyword.
  using Statements = std::vector<std::pair<const char*, std::function<int()>>>;
  // A node's fields may come in any order, so what they say is done at its end, in this one. Distinguished
  // states come before the numbers, some of whose rows they set.
  enum Phase : int { kOutcomes, kArcs, kDistinguished, kNumbers, kAttributes, kPhaseCount };
  struct Deferred {
    int line;
    std::function<int()> act;
  };
  // Parents multiply the rows of a table, or add columns of parameters.
  struct TableSize {
    std::int64_t rows = 0;
    std::int64_t columns = 0;
  };
  // The node that is being read.
  struct OpenNode {
    QVR_node* node = nullptr;
    bool readAsNoisyOr = false;
    bool readAsNoisyAnd = false;
    std::size_t longestList = 0;  // in its definition
    std::vector<std::string> intervalNames;
    std::array<std::vector<Deferred>, kPhaseCount> deferred;
  };

  // --- reading: qvr_speaker.cpp
  [[nodiscard]] int GetLine() const override;
  int ReadNet();
  int ReadUnknown(const char* statementText, const char* fieldText);
  // `fieldText` is for unknown words that a "=" follows; null for the same text.
  int ReadStatement(const Statements& statements, const char* statementText, const char* fieldText = nullptr);
  int ReadBlock(const std::function<int()>& readStatement);  // from "{" to "}"
  int ReadNamedBlock(const char* name, const Statements& statements, const char* unknownText);
  int ReadTextField(const char* name, const std::function<int(const char*)>& store);
  int ReadHeader(QVR_header& header, const std::string& writtenId);
  int ReadCreation();
  int ReadRectangle(const char* name, QVR_rectangle& rectangle);
  int ReadScreen(QVR_screenInfo& screen);
  int ReadArcFlag(const char* name, int flag, QVR_screenInfo& screen);
  int ReadScreenComment(QVR_textBoxList& textBoxes);
  int ReadBoxContent(QVR_textBoxList& textBoxes);
  // Pairs of texts.
  int ReadEntries(const char* name, const std::function<int(const std::string&, const std::string&)>& store);
  int ReadNameField(const char* name, QVR_stringArray& list);
  int ReadUserProperties(QVR_userProperties& properties);
  int ReadDocumentation(QVR_documentation& documentation);
  int ReadSubmodel();
  int ReadSubmodelParent(int handle);
  [[nodiscard]] int FindSubmodel(const std::string& name) const;

  // --- nodes and costs: qvr_speaker_node.cpp
  int ReadNode();
  int ReadType();
  int ReadTarget();
  int ReadNodeSubmodel();
  int ReadParents();
  int AddParents(const std::vector<std::string>& parents);
  [[nodiscard]] TableSize GetTableSize() const;
  [[nodiscard]] TableSize Grow(TableSize size, int newParent) const;
  [[nodiscard]] std::int64_t CountGivenCells(std::size_t parentCount) const;
  int ReadCosts();
  int ReadNodeCost();
  void AddCostParents(int child, const QVR_stringArray& parents, int costCount);
  [[nodiscard]] int FindNode(const std::string& name) const;
  // Keeps the action for the end of the node, with the line of now for what it reports.
  int Defer(Phase phase, std::function<int()> act);
  int RunDeferred();

  // --- definitions: qvr_speaker_definition.cpp
  int ReadDefinition();
  // Reads the field and hands its value to a setter at the end of the node.
  template <typename List>
  int DeferList(const char* keyword, Phase phase, int (QVR_fileFormat::*read)(List&),
                int (QVR_qvrSpeaker::*apply)(const List&)) {
    const auto list = std::make_shared<List>();
    int status = ReadBlockHeader(keyword);
    if (status == QVR_OKAY) {
      status = (this->*read)(*list);
    }
    if (status < 0) {
      return status;
    }
    open.longestList = std::max(open.longestList, static_cast<std::size_t>(list->GetNumItems()));
    return Defer(phase, [this, list, apply] { return (this->*apply)(*list); });
  }
  int DeferNumber(const char* keyword, int (QVR_qvrSpeaker::*apply)(double));
  int DeferInt(const char* keyword, Phase phase, int (QVR_qvrSpeaker::*apply)(int));
  int ReadEquation();
  int ReadIntervalNames();
  // Reports what a setter refused: a list of another length, or what it says.
  int ReportRefusal(int status, const std::string& setter, int expected, int count);
  int ReportNotApplicable(const char* keyword);
  int SetNames(const QVR_stringArray& stateNames);
  int SetProbabilities(const QVR_doubleArray& numbers);
  int SetResultingStates(const QVR_stringArray& states);
  int SetUtilities(const QVR_doubleArray& numbers);
  int SetWeights(const QVR_doubleArray& numbers);
  int SetExpressions(const QVR_stringArray& texts);
  int SetLower(double value);
  int SetUpper(double value);
  int SetIntervalBounds(const QVR_doubleArray& bounds);
  [[nodiscard]] int ParentCount() const;
  [[nodiscard]] QVR_nodeDefinition* GetDefinition() const;  // the open node's
  // Null if it is of another class.
  template <typename Class>
  [[nodiscard]] Class* DefinitionAs() const {
    return dynamic_cast<Class*>(GetDefinition());
  }

  // --- canonical models: qvr_speaker_canonical.cpp
  int SetNoisyMaxParameters(const QVR_doubleArray& numbers);
  int ReadStrengths();
  int SetStrengths(const std::vector<std::vector<std::string>>& lists);
  int SetPositiveWeights(const QVR_doubleArray& numbers);
  int SetNegativeWeights(const QVR_doubleArray& numbers);
  int SetBaseline(double value);
  int SetPriorBelief(double value);
  int SetInfluences(const QVR_stringArray& words);
  int SetDistinguishedStates(const QVR_intArray& states);
  int SetFunction(int function);

  // --- diagnostic attributes: qvr_speaker_extra.cpp
  int ReadExtraDefinition();
  int ReadDiagnosisType();
  int ReadFlag(const char* keyword, char& flag);
  int SetFaultStates(const QVR_intArray& states);
  int SetFaultNames(const QVR_stringArray& faultNames);
  int SetFaultLabels(const QVR_stringArray& labels);
  int SetDefaultState(int state);
  int SetStateComments(const QVR_stringArray& comments);
  int SetRepairInfo(const QVR_stringArray& texts);
  int SetStateTexts(const QVR_stringArray& texts, const char* message,
                    const std::function<int(int, const char*)>& store);

  // --- writing: qvr_speaker_write.cpp
  void WriteHeader(const QVR_header& header, const std::string& id);
  void WriteCreation();
  void WriteRectangle(const char* name, const QVR_rectangle& rectangle);
  void WriteScreen(const QVR_screenInfo& screen);
  void WriteScreenComments(const QVR_textBoxList& textBoxes);
  void WriteEntry(const char* name, const char* value);
  void WriteUserProperties(const QVR_userProperties& properties);
  void WriteDocumentation(const QVR_documentation& documentation);
  void WriteSubmodel(int handle);
  void WriteNode(int handle);
  void WriteParents(const QVR_intArray& handles);
  void WriteCosts();
  void WriteCost(int handle);

  // --- writing definitions: qvr_speaker_write_definition.cpp
  void VisitMau(QVR_mau& definition) override;
  void VisitTable(QVR_table& definition) override;
  void VisitList(QVR_list& definition) override;
  void VisitEquation(QVR_equation& definition) override;
  void VisitDeMorgan(QVR_demorgan& definition) override;
  void VisitCast(QVR_cast& definition) override;
  void VisitNoisyAdder(QVR_noisyAdder& definition) override;
  void VisitNoisyMax(QVR_noisyMAX& definition) override;
  void VisitTruthTable(QVR_truthTable& definition) override;
  void VisitCpt(QVR_cpt& definition) override;
  void WriteStateNames(QVR_nodeDefinition& definition, const char* keyword);
  void WriteStrengths(const QVR_noisyMAX& definition);
  void WriteNumbers(const char* keyword, const std::vector<double>& numbers);
  void WriteNumberField(const char* keyword, double number);
  void WriteExtraDefinition(const QVR_node& node);

  std::unique_ptr<WrittenNames> names;
  std::map<std::string, int> submodelNames;  // handles by the names in the file
  OpenNode open;
  int lineOfReport = 0;                 // of what is done later than it was read, or 0
  std::vector<std::string> writtenIds;  // by handle: what stands for the node in the file being written
};

}  // namespace qvr

#endif
