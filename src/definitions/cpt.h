// The definition of an ordinary chance node: outcomes and a conditional probability table.
#ifndef QVR_DEFINITIONS_CPT_H
#define QVR_DEFINITIONS_CPT_H

#include "definitions/node_definition.h"

namespace qvr {

// The table has the parents' outcome counts in parent order and the node's own outcomes last. There are
// always at least 2 outcomes and a table of the right shape; its rows may be inconsistent.
class QVR_cpt : public QVR_nodeDefinition {
 public:
  QVR_cpt(QVR_network* newNetwork, int newHandle);
  QVR_cpt(const QVR_cpt& other) = default;  // deep clone; nobody is told

  void CleanUp(int deep) override;
  void CheckReady(int deep) override;
  void CheckConsistency(int deep) override;
  [[nodiscard]] int GetType() const override;
  [[nodiscard]] const char* GetTypeName() const override;
  int AddParent(int parentHandle) override;
  int RemoveParent(int parentHandle) override;
  int AbsorbObservedParent(int parentHandle) override;
  int AbsorbRootParent(int parentHandle) override;
  int AddParentOutcome(int parentHandle, int position) override;
  int RemoveParentOutcome(int parentHandle, int position) override;
  int ReorderParentOutcomes(int parentHandle, const QVR_intArray& order) override;
  int ReorderParents(const QVR_intArray& order) override;
  [[nodiscard]] int GetSize() const override;
  int RebuildFromNetwork() override;
  int AdoptFrom(QVR_nodeDefinition& other) override;
  int AddOutcome(const char* name) override;
  int InsertOutcome(int position, const char* name) override;
  int RemoveOutcome(int position) override;
  [[nodiscard]] int GetNumberOfOutcomes() const override;
  int RenameOutcome(int position, const char* name) override;
  int RenameOutcomes(const QVR_stringArray& names) override;
  [[nodiscard]] QVR_stringArray* GetOutcomeNames() override;
  int SetNumberOfOutcomes(const QVR_stringArray& names) override;
  int SetNumberOfOutcomes(int count) override;
  int ReorderOutcomes(const QVR_intArray& order) override;
  int MakeUniform() override;
  int GetDataArray(QVR_doubleArray*& out) override;
  int GetMatrix(QVR_Dmatrix*& out) override;
  int SetMatrix(const QVR_Dmatrix& matrix) override;
  int SetValues(const QVR_doubleArray& array) override;
  int ExpandInto(QVR_nodeDefinition& other) override;
  [[nodiscard]] int TestParentGrowth(int parentHandle) const override;
  [[nodiscard]] int GetParentDimension(int parentHandle) const override;

  // All cells, in flat order. -2 unless the count is that of the table. Inconsistent numbers are taken;
  // the consistent bit goes off.
  int SetProbabilities(const QVR_doubleArray& array);

 protected:
  // The place of the parent's dimension, or -2 if it has none.
  [[nodiscard]] int DimensionOf(int parentHandle) const;

  int numOutcomes = 0;
  QVR_idArray outcomeNames;
  QVR_Dmatrix table;

 private:
  // At least two outcomes, and a uniform table without parents.
  int ResetTable();
  [[nodiscard]] int StatusWithoutDimension(int parentHandle);
  // After an absorbed parent's dimension went: the arc, and the news.
  int FinishAbsorption(int parentHandle);
  int NumbersReplaced();
  int InsertOutcomeAt(int position, const char* name);
  int ReplaceOutcomes(const QVR_idArray& names);
  [[nodiscard]] int TestReplacement(int count) const;
  void AdoptNames(QVR_nodeDefinition& other);
  void AdoptTable(QVR_nodeDefinition& other);
  void AdoptUtilities(QVR_nodeDefinition& other);
  void AdoptContent(QVR_nodeDefinition& other);
};

}  // namespace qvr

#endif
