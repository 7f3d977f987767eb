// The base of the canonical definitions: a chance node whose table follows from a few rows for each parent
// (causal independence).
#ifndef QVR_DEFINITIONS_CI_DEFINITION_H
#define QVR_DEFINITIONS_CI_DEFINITION_H

#include <span>
#include <vector>

#include "definitions/node_definition.h"

namespace qvr {

// `ciWeights` is rows by outcomes: a block of rows for each parent in parent order, one row for each of the
// parent's outcomes, and last the leak row. One row of each block is distinguished: there the parent has no
// effect, and the row is the certainty of one outcome of the node. Everybody who only knows tables gets the
// full one, expanded when first asked for and kept until a parameter, a parent or an outcome changes.
class QVR_ciDefinition : public QVR_nodeDefinition {
 public:
  void CleanUp(int deep) override;
  void CheckReady(int deep) override;
  void CheckConsistency(int deep) override;  // as ValidateCiWeights finds the parameters
  int AddParent(int parentHandle) override;
  int RemoveParent(int parentHandle) override;
  int AddParentOutcome(int parentHandle, int position) override = 0;
  int RemoveParentOutcome(int parentHandle, int position) override = 0;
  // Do nothing here: not every class can fold a parent into its other parameters.
  int AbsorbObservedParent(int parentHandle) override;
  int AbsorbRootParent(int parentHandle) override;
  int ReorderParents(const QVR_intArray& order) override;
  // The cells of the expanded table, which isn't made for this; -42 where it can't be.
  [[nodiscard]] int GetSize() const override;
  int RebuildFromNetwork() override;
  int AdoptFrom(QVR_nodeDefinition& other) override;
  [[nodiscard]] int GetNumberOfOutcomes() const override;
  int RenameOutcomes(const QVR_stringArray& names) override;
  [[nodiscard]] QVR_stringArray* GetOutcomeNames() override;
  int SetNumberOfOutcomes(const QVR_stringArray& names) override;
  int SetNumberOfOutcomes(int count) override;
  int ReorderOutcomes(const QVR_intArray& order) override;
  // The expanded table: -42 and none where it is larger than a matrix may be.
  int GetDataArray(QVR_doubleArray*& out) override;
  int GetMatrix(QVR_Dmatrix*& out) override;
  // Both set `ciWeights`, not the table. -2 for a matrix of another shape; of an array what fits.
  int SetMatrix(const QVR_Dmatrix& matrix) override;
  int SetValues(const QVR_doubleArray& array) override;
  int ExpandInto(QVR_nodeDefinition& other) override;
  [[nodiscard]] int TestParentGrowth(int parentHandle) const override;
  [[nodiscard]] int GetParentDimension(int parentHandle) const override;
  int TakeParents(std::span<const int> parentHandles, int& taken) override;  // all their rows in one step

  // Computes the expanded table from the parameters, in time linear in its size. -42 leaves it empty.
  virtual int ExpandToCpt() = 0;
  // Fits the parameters to the table that stands in the place of the expanded one, if it has the shape. -42
  // leaves them.
  virtual int FitToCpt() = 0;
  // The expanded table, made if it isn't up to date. `out` is null on failure.
  virtual int GetCptMatrix(QVR_Dmatrix*& out);

  [[nodiscard]] const QVR_Dmatrix& GetCiWeights() const { return ciWeights; }
  [[nodiscard]] bool IsUpToDate() const { return upToDate; }
  // The first row of the parent's block; -2 for a bad index.
  [[nodiscard]] int GetParentOffset(int parentIndex) const;
  // Tests a matrix as parameters of this definition. 0, -2 for another shape, -4 for bad numbers; the text
  // that says so is cut to messageSize bytes with its end.
  int ValidateCiWeights(const QVR_Dmatrix& matrix, char* message, int messageSize) const;

 protected:
  using QVR_nodeDefinition::QVR_nodeDefinition;
  QVR_ciDefinition(const QVR_ciDefinition&) = default;

  // The row of the parent's block that has no effect, and the outcome of which that row is certain.
  [[nodiscard]] virtual int DistinguishedPlace(int parentIndex) const = 0;
  [[nodiscard]] virtual int DistinguishedOutcome() const = 0;
  // Keep whatever else there is for each parent in step with the blocks; called after their change.
  virtual void BlockOpened(int parentIndex) = 0;
  virtual void BlockClosed(int parentIndex) = 0;
  virtual void BlocksReordered(std::span<const int> order) = 0;
  virtual void BlocksCleared() = 0;
  // The same for what refers to the node's own outcomes; the distinguished rows are written afterwards.
  virtual void OwnOutcomeInserted(int position);
  virtual void OwnOutcomeRemoved(int position);
  virtual void OwnOutcomesReordered(std::span<const int> order);
  // Takes the parameters of a definition of the same class with the same blocks and outcomes.
  virtual void CopyParameters(const QVR_ciDefinition& other);

  [[nodiscard]] int ParentCount() const { return static_cast<int>(blockSizes.size()); }
  // Both 0 after CleanUp, which leaves no leak row either.
  [[nodiscard]] bool HasParameters() const { return ciWeights.GetNumElements() > 0; }
  [[nodiscard]] int RowCount() const { return HasParameters() ? ciWeights.GetDimension(0) : 0; }
  [[nodiscard]] int ColumnCount() const { return HasParameters() ? ciWeights.GetDimension(1) : 0; }
  [[nodiscard]] std::span<double> Row(int row);
  [[nodiscard]] std::span<const double> Row(int row) const;
  [[nodiscard]] std::span<const double> LeakRow() const { return Row(RowCount() - 1); }
  // The parent's place among the blocks, or -2 if it has none.
  [[nodiscard]] int BlockOf(int parentHandle) const;
  // Takes rows away and opens new ones of 0.0 in their place. -42 changes nothing.
  int ReplaceRows(int first, int removed, int added);
  // A row of the distinguished certainty, at this place of the parent's block; or its removal.
  int OpenRow(int parentIndex, int place);
  int CloseRow(int parentIndex, int place);
  int CloseBlock(int parentIndex);
  void MakeDistinguished(std::span<double> row) const;
  void WriteDistinguishedRow(int parentIndex);
  void WriteDistinguishedRows();
  void ParametersChanged();
  // The expanded table becomes one of zeros in the shape of parents and outcomes; empty on failure.
  int ShapeExpandedTable();
  [[nodiscard]] std::vector<int> TableShape() const;
  // At least two outcomes, and no more than a uniform leak row.
  int ResetParameters();
  // What a constructor does about the parents that are there already.
  void AddPresentParents();

  QVR_idArray outcomeNames;
  QVR_Dmatrix expandedTable;
  QVR_Dmatrix ciWeights;
  bool upToDate = false;        // the expanded table shows the parameters
  std::vector<int> blockSizes;  // rows of each parent's block

 private:
  // TakeParents for those that follow each other in the parent list, at least one.
  int AddNeighbours(std::span<const int> parentHandles, int& taken);
  int OpenBlocks(int first, std::span<const int> sizes);
  int InsertOutcomeAt(int position, const char* name) override;
  int RemoveOutcomeAt(int position) override;
  int ReplaceAllOutcomes(const QVR_idArray& names);
  void AdoptTable(QVR_nodeDefinition& other);
  int AdoptContent(QVR_nodeDefinition& other);
  [[nodiscard]] bool HasSameBlocks(const QVR_ciDefinition& other) const;
};

}  // namespace qvr

#endif
