// What all definitions share that hold one table of numbers over their discrete parents.
#ifndef QVR_DEFINITIONS_TABULAR_DEFINITION_H
#define QVR_DEFINITIONS_TABULAR_DEFINITION_H

#include "definitions/node_definition.h"

namespace qvr {

// The table has the parents' outcome counts in parent order and one more dimension, the last: the node's own
// outcomes, or size 1 without any. After any operation it has the shape that the parents give.
class TabularDefinition : public QVR_nodeDefinition {
 public:
  int AddParent(int parentHandle) override;
  int RemoveParent(int parentHandle) override;
  int AbsorbObservedParent(int parentHandle) override;
  int AbsorbRootParent(int parentHandle) override;
  int AddParentOutcome(int parentHandle, int position) override;
  int RemoveParentOutcome(int parentHandle, int position) override;
  int ReorderParentOutcomes(int parentHandle, const QVR_intArray& order) override;
  int ReorderParents(const QVR_intArray& order) override;
  [[nodiscard]] int GetSize() const override;
  int GetDataArray(QVR_doubleArray*& out) override;
  int GetMatrix(QVR_Dmatrix*& out) override;
  int SetMatrix(const QVR_Dmatrix& matrix) override;
  int SetValues(const QVR_doubleArray& array) override;
  [[nodiscard]] int TestParentGrowth(int parentHandle) const override;
  [[nodiscard]] int GetParentDimension(int parentHandle) const override;

 protected:
  using QVR_nodeDefinition::QVR_nodeDefinition;

  // For constructors: adds the parents up to the first that is refused. Nobody may lose an arc to a
  // definition that isn't in place yet; what is refused is sorted out by whoever puts it there.
  void AddPresentParents();
  // The place of the parent's dimension, or -2 if it has none.
  [[nodiscard]] int DimensionOf(int parentHandle) const;
  // SetValues for an array that must have the length of the table; -2 otherwise.
  int SetAllValues(const QVR_doubleArray& array);

  QVR_Dmatrix table;

 private:
  // A parent came, or an outcome of one, whose rows are 0.0.
  virtual void FillNewRows() {}
};

}  // namespace qvr

#endif
