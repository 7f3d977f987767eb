// Noisy-MAX: each parent alone would put the node at some outcome; the most severe one wins.
#ifndef QVR_DEFINITIONS_NOISY_MAX_H
#define QVR_DEFINITIONS_NOISY_MAX_H

#include <span>
#include <vector>

#include "definitions/ci_definition.h"

namespace qvr {

// Outcome 0 is the most severe; the last one, at which a node stands that nothing acts on, is distinguished.
// The chance of outcome j or any less severe one is the product of what the rows of the parents' outcomes
// and the leak row give for it (Henrion 1989, Diez 1993). The rows of a parent's block stand in the order of
// strengths: `strengths`[i][k] is the outcome of parent i that owns row k, and the last row is distinguished.
class QVR_noisyMAX : public QVR_ciDefinition {
 public:
  QVR_noisyMAX(QVR_network* newNetwork, int newHandle);
  QVR_noisyMAX(const QVR_noisyMAX& other) = default;  // deep clone; nobody is told

  [[nodiscard]] int GetType() const override;
  [[nodiscard]] const char* GetTypeName() const override;
  int AbsorbObservedParent(int parentHandle) override;
  // A parent that is a list or has no table of its own is left alone, with 0.
  int AbsorbRootParent(int parentHandle) override;
  // A new outcome of a parent has no effect and stands just before the distinguished one.
  int AddParentOutcome(int parentHandle, int position) override;
  int RemoveParentOutcome(int parentHandle, int position) override;
  int ReorderParentOutcomes(int parentHandle, const QVR_intArray& order) override;
  // The order is that of severity, so this changes the distribution.
  int ReorderOutcomes(const QVR_intArray& order) override;
  // Relevant unless every row of the block is certain of the distinguished outcome; no use of epsilon.
  int CheckParentInfluence(int parentIndex, double epsilon, int& isRelevant) override;
  int AllCellsEqual(double x, std::span<const int> pattern) override;
  // In time linear in the parameters.
  [[nodiscard]] std::vector<int> OnlyPossibleOutcomes(std::vector<int> pattern,
                                                      std::span<const int> counts) override;
  int ExpandToCpt() override;
  // Steepest descent on the sum of squared errors, from a row to each parent outcome and in halving steps.
  int FitToCpt() override;

  // The outcomes of the parent by the rows of its block.
  [[nodiscard]] const std::vector<int>& GetStrengths(int parentIndex) const {
    return strengths[static_cast<std::size_t>(parentIndex)];
  }
  // Says anew which outcome owns which row; the rows stay. -2 unless it is an order of all outcomes.
  int SetParentOutcomeStrengths(int parentIndex, const QVR_intArray& newStrengths);
  // The same for all parents in one step.
  int SetOutcomeStrengths(std::vector<std::vector<int>> newStrengths);
  // Moves rows together with the outcomes that own them: new row k is old row order[k].
  int PermuteParentBlock(int parentIndex, const QVR_intArray& order);

  // The parameters with the leak folded into each parent's rows. `matrix` has the shape of `ciWeights`.
  int GetCompoundParameters(QVR_Dmatrix& matrix) const;
  // The same without the distinguished rows, in flat order.
  int GetCompoundParameterList(QVR_doubleArray& array) const;
  // -2 for another length, for what isn't a number, and when a distinguished row isn't what it should be.
  int SetCompoundParameters(const QVR_doubleArray& array);

 protected:
  [[nodiscard]] int DistinguishedPlace(int parentIndex) const override;
  [[nodiscard]] int DistinguishedOutcome() const override { return ColumnCount() - 1; }
  void BlockOpened(int parentIndex) override;
  void BlockClosed(int parentIndex) override;
  void BlocksReordered(std::span<const int> order) override;
  void BlocksCleared() override { strengths.clear(); }
  void CopyParameters(const QVR_ciDefinition& other) override;

 private:
  // The rows of the parent that the pattern's element leaves.
  struct RowRange {
    int first;
    int count;
  };
  // What such rows can do to an outcome.
  struct Effect {
    bool possible;  // a factor is above 0
    bool falls;     // and one of these falls to the next outcome
  };

  int SetCompoundParameters(const QVR_Dmatrix& matrix);
  [[nodiscard]] bool HasDistinguishedRows() const;
  [[nodiscard]] int PlaceOfOutcome(int parentIndex, int outcome) const;
  // Multiplies the factors, of all outcomes or any less severe one, into the leak row and drops the block.
  int FoldIntoLeak(int parentHandle, std::span<const double> factors);
  // The probability of the outcome or any less severe one in a row.
  [[nodiscard]] double CumulativeAt(int row, int outcome) const;
  [[nodiscard]] RowRange SelectedRows(int parentIndex, int offset, int outcome) const;
  [[nodiscard]] bool IsPattern(std::span<const int> pattern) const;
  [[nodiscard]] Effect EffectOf(RowRange rows, int outcome) const;
  [[nodiscard]] bool IsRuledOut(std::span<const int> pattern) const;
  [[nodiscard]] bool IsForced(std::span<const int> pattern) const;

  std::vector<std::vector<int>> strengths;
};

}  // namespace qvr

#endif
