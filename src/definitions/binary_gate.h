// The common part of the definitions whose table for two outcomes follows from a few numbers a parent.
#ifndef QVR_DEFINITIONS_BINARY_GATE_H
#define QVR_DEFINITIONS_BINARY_GATE_H

#include <span>
#include <vector>

#include "definitions/cpt.h"

namespace qvr {

// The outcomes have these names unless renamed, and are always two. A parent's first outcome counts as its
// true state, all others as its not being true. The table is computed whenever a number, a parent or a
// parent's outcomes change, and can't be set itself. A new parent changes nothing.
class QVR_binaryGate : public QVR_cpt {
 public:
  static constexpr const char* kOutcomeNames[] = {"True", "False"};

  void CleanUp(int deep) override;
  int AddParent(int parentHandle) override;
  int RemoveParent(int parentHandle) override;
  // -51: the numbers can't express what is left.
  int AbsorbObservedParent(int parentHandle) override;
  int AbsorbRootParent(int parentHandle) override;
  int AddParentOutcome(int parentHandle, int position) override;
  int RemoveParentOutcome(int parentHandle, int position) override;
  // Where a parent of two outcomes swaps them its numbers swap their meaning, so that the table stays.
  int ReorderParentOutcomes(int parentHandle, const QVR_intArray& order) override;
  int ReorderParents(const QVR_intArray& order) override;
  int RebuildFromNetwork() override;
  // -51 for all of these, but 0 for an order that changes nothing.
  int AddOutcome(const char* name) override;
  int InsertOutcome(int position, const char* name) override;
  int RemoveOutcome(int position) override;
  int ReorderOutcomes(const QVR_intArray& order) override;
  // -2 for any count but 2.
  int SetNumberOfOutcomes(const QVR_stringArray& names) override;
  int SetNumberOfOutcomes(int count) override;
  // -51: the table follows from the numbers.
  int MakeUniform() override;
  int SetMatrix(const QVR_Dmatrix& matrix) override;
  int SetValues(const QVR_doubleArray& array) override;
  int ExpandInto(QVR_nodeDefinition& other) override;

 protected:
  using QVR_cpt::QVR_cpt;
  QVR_binaryGate(const QVR_binaryGate&) = default;

  // The numbers of the parents in step with their list: all gone; one with the default numbers; one gone;
  // in another order; one whose true state and its opposite change places.
  virtual void ResetNumbers() = 0;
  virtual void OpenParent(int place) = 0;
  virtual void CloseParent(int place) = 0;
  virtual void PermuteParents(std::span<const int> order) = 0;
  virtual void SwapParentStates(int place) = 0;
  // What doesn't depend on the parents.
  virtual void ResetBase() = 0;
  // Of the same class; the numbers of the parents only if there are as many.
  virtual void CopyNumbers(const QVR_binaryGate& other) = 0;
  // Writes the probabilities of both outcomes for every combination of parent outcomes, the last parent
  // fastest.
  virtual void FillTable(std::span<const int> parentSizes, std::span<double> cells) const = 0;
  void AdoptContent(QVR_nodeDefinition& other) override;
  int StartAfresh(QVR_idArray& ownNames, const QVR_idArray& names) override {
    return ClearAndRebuild(ownNames, names);
  }

  // What a constructor does: the names, and numbers and table for the parents that are there.
  void SetUp();
  void ComputeTable();
  // After a setter stored numbers.
  int NumbersSet();

 private:
  void AddDefaultNames();
};

}  // namespace qvr

#endif
