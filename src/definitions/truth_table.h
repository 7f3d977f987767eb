// The definition of a chance node that its parents determine.
#ifndef QVR_DEFINITIONS_TRUTH_TABLE_H
#define QVR_DEFINITIONS_TRUTH_TABLE_H

#include "definitions/cpt.h"

namespace qvr {

// A conditional table whose rows, one for each combination of parent outcomes, are 1.0 at one outcome and
// 0.0 at the others; fresh ones at the first. Other numbers are taken, and make it inconsistent.
class QVR_truthTable : public QVR_cpt {
 public:
  QVR_truthTable(QVR_network* newNetwork, int newHandle);
  QVR_truthTable(const QVR_truthTable& other) = default;  // deep clone; nobody is told

  void CheckConsistency(int deep) override;
  [[nodiscard]] int GetType() const override { return kTypeTruthTable; }
  [[nodiscard]] const char* GetTypeName() const override { return "TRUTHTABLE"; }
  // The rows of a new outcome of a parent go to the last outcome.
  int AddParentOutcome(int parentHandle, int position) override;
  int RebuildFromNetwork() override;
  // The outcome of each row, in flat order. -4 unless there is one for each row. A name that is no outcome
  // counts as the first; an index that is none gives -2.
  int SetResultingStates(const QVR_stringArray& names) override;
  int SetResultingStates(const QVR_intArray& indices) override;
  // Appends the name of each row's first outcome with 1.0, or of the first outcome. -567 if `names` isn't
  // ready.
  int GetResultingStates(QVR_stringArray& names) const;
  [[nodiscard]] int GetNumberOfRows() const {
    return numOutcomes > 0 ? table.GetNumElements() / numOutcomes : 0;
  }

 protected:
  void AdoptContent(QVR_nodeDefinition& other) override;
  int StartAfresh(QVR_idArray& ownNames, const QVR_idArray& names) override;

 private:
  void SetAllRows(int outcome);
  // Leaves of each row the greatest number, the last of equals, as a 1.0.
  void MakeDeterministic();
};

}  // namespace qvr

#endif
