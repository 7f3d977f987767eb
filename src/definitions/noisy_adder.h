// Noisy adder: a weighted average of what the active parents alone would do, or the effect of a single one.
#ifndef QVR_DEFINITIONS_NOISY_ADDER_H
#define QVR_DEFINITIONS_NOISY_ADDER_H

#include <span>
#include <vector>

#include "definitions/ci_definition.h"

namespace qvr {

enum AdderFunction : int {
  kAdderAverage = 0,      // over the leak and the parents off their distinguished states, by weight
  kAdderSingleFault = 1,  // the row of the only parent off its distinguished state, else the leak
};

// The rows of a parent's block stand in the order of its outcomes.
class QVR_noisyAdder : public QVR_ciDefinition {
 public:
  QVR_noisyAdder(QVR_network* newNetwork, int newHandle);
  QVR_noisyAdder(const QVR_noisyAdder& other) = default;  // deep clone; nobody is told

  void CheckConsistency(int deep) override;  // weights, too, must not be negative, nor without a finite sum
  [[nodiscard]] int GetType() const override;
  [[nodiscard]] const char* GetTypeName() const override;
  // A parent's new outcome is certain of the distinguished outcome.
  int AddParentOutcome(int parentHandle, int position) override;
  // A distinguished state that goes is replaced by the last one.
  int RemoveParentOutcome(int parentHandle, int position) override;
  int ReorderParentOutcomes(int parentHandle, const QVR_intArray& order) override;
  int ExpandToCpt() override;
  int FitToCpt() override;  // does nothing: the parameters stay

  // All -2 for bad arguments. The states: outcomes of the node and of a parent.
  int SetDistinguishedState(int state);
  int SetParentDistinguishedState(int parentIndex, int state);
  int SetParentDistinguishedStates(std::span<const int> states);  // all in one step
  int SetParentWeights(const QVR_doubleArray& weights);           // one for each parent, then the leak's
  int SetFunction(int newFunction);                               // an AdderFunction
  [[nodiscard]] int GetDistinguishedState() const { return distinguishedState; }
  [[nodiscard]] const std::vector<int>& GetParentDistinguishedStates() const {
    return parentDistinguishedStates;
  }
  [[nodiscard]] const std::vector<double>& GetParentWeights() const { return adderWeights; }
  [[nodiscard]] int GetFunction() const { return function; }

 protected:
  [[nodiscard]] int DistinguishedPlace(int parentIndex) const override {
    return parentDistinguishedStates[static_cast<std::size_t>(parentIndex)];
  }
  [[nodiscard]] int DistinguishedOutcome() const override { return distinguishedState; }
  void BlockOpened(int parentIndex) override;
  void BlockClosed(int parentIndex) override;
  void BlocksReordered(std::span<const int> order) override;
  void BlocksCleared() override;
  void OwnOutcomeInserted(int position) override;
  void OwnOutcomeRemoved(int position) override;
  void OwnOutcomesReordered(std::span<const int> order) override;
  void CopyParameters(const QVR_ciDefinition& other) override;

 private:
  int FillAverages(std::span<double> cells) const;
  void FillSingleFaults(std::span<double> cells) const;

  int distinguishedState = 0;
  std::vector<int> parentDistinguishedStates;
  std::vector<double> adderWeights;
  int function = kAdderAverage;
};

}  // namespace qvr

#endif
