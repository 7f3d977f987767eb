// The diagnostic attributes of a node, one entry of each list for each outcome.
#ifndef QVR_MODEL_EXTRA_DEFINITION_H
#define QVR_MODEL_EXTRA_DEFINITION_H

#include <memory>
#include <string>
#include <vector>

#include "model/metadata.h"
#include "model/number_array.h"
#include "model/object.h"
#include "model/string_array.h"

namespace qvr {

class QVR_network;

// What a front end keeps of an outcome's cost; the engine only carries it.
struct OutcomeCosts {
  QVR_network* network = nullptr;
  int handle = -1;
  int mode = 2;
  QVR_intArray flags;
  QVR_doubleArray costs;
};

// Operations by outcome index give -2 unless 0 <= i < the outcome count.
class QVR_extraDefinition : public QVR_object {
 public:
  QVR_extraDefinition(QVR_network* newNetwork, int newHandle);
  QVR_extraDefinition(const QVR_extraDefinition& other);
  QVR_extraDefinition& operator=(const QVR_extraDefinition&) = delete;

  void SetOwner(QVR_network* newNetwork, int newHandle);
  // Empties every list and gives it one entry for each outcome of the node's definition, none for
  // types without outcomes. defaultOutcome isn't touched.
  void ResetForOutcomes();
  int AddOutcome(int position);
  int RemoveOutcome(int position);
  int PermuteOutcomes(const QVR_intArray& order);

  // An index out of range also makes defaultOutcome 0.
  int SetDefaultOutcome(int i);
  int SetFault(int i, int flag);
  int SetFaults(const QVR_intArray& list);
  // -2 for a label that another node uses; during a load any text is stored.
  int SetFaultLabel(int i, const char* text);
  // Sets what fits. -2 if a label was refused (a generated one is set in its place) or the length differs.
  int SetFaultLabels(const QVR_stringArray& list);
  int SetFaultName(int i, const char* text);
  int SetStateComment(int i, const char* text);
  int SetRepairInfo(int i, const char* text);
  [[nodiscard]] std::string MakeFaultLabel(const char* base) const;
  [[nodiscard]] bool IsFaultLabelUsed(const char* text, int exceptHandle) const;

  [[nodiscard]] int GetDefaultOutcome() const { return defaultOutcome; }
  [[nodiscard]] const QVR_intArray& GetFaultStates() const { return faultStates; }
  [[nodiscard]] QVR_documentation* GetStateDocumentation(int i);  // null for a bad index
  // The same without making one: null, too, for an outcome that has none yet.
  [[nodiscard]] const QVR_documentation* FindStateDocumentation(int i) const;
  [[nodiscard]] const QVR_stringArray& GetStateComments() const { return stateComments; }
  [[nodiscard]] const QVR_idArray& GetFaultLabels() const { return faultLabels; }
  [[nodiscard]] const QVR_stringArray& GetFaultNames() const { return faultNames; }
  [[nodiscard]] const QVR_stringArray& GetRepairInfo() const { return repairInfo; }
  // Created on first use.
  OutcomeCosts& GetOutcomeCosts();
  [[nodiscard]] bool HasOutcomeCosts() const { return outcomeCosts != nullptr; }

  std::string question;
  int diagnosisType = 2;  // 0 target, 1 observation, 2 auxiliary
  char ranked = 0;
  char mandatory = 0;
  char setAsDefault = 0;
  int showAs = 4;

 private:
  // What a fresh list starts with: nodes have few outcomes, and every one carries these lists.
  static constexpr int kListStep = 2;

  [[nodiscard]] int OutcomeCount() const;
  [[nodiscard]] bool IsOutcome(int i) const { return i >= 0 && i < OutcomeCount(); }
  void ResetOutcomeCosts(int count);
  int SetText(QVR_stringArray& list, int i, const char* text);

  QVR_network* network;
  int handle;
  QVR_intArray faultStates;  // 0 or 1 for each outcome
  int defaultOutcome = 0;    // whoever reads it tests it against the outcome count
  std::vector<std::unique_ptr<QVR_documentation>> stateDocumentation;  // null until first asked for
  QVR_stringArray stateComments{kListStep};
  QVR_idArray faultLabels{true, kListStep};
  QVR_stringArray faultNames{kListStep};
  QVR_stringArray repairInfo{kListStep};
  std::unique_ptr<OutcomeCosts> outcomeCosts;
};

}  // namespace qvr

#endif
