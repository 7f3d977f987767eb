// The operations of a conditional probability table on its own outcomes.
#include <algorithm>

#include "definitions/cpt.h"
#include "definitions/outcome_names.h"
#include "model/network.h"

namespace qvr {

int QVR_cpt::InsertOutcomeAt(int position, const char* name) {
  const int last = table.GetNumDimensions() - 1;
  if (int status = TestTableGrowth(table, last, numOutcomes + 1); status < 0) {
    return status;
  }
  if (int status = TestOutcomeGrowth(); status < 0) {
    return status;
  }
  QVR_Dmatrix grown;
  if (int status = grown.Copy(table); status < 0) {
    return status;
  }
  if (int status = grown.AddItem(last); status < 0) {
    return status;
  }
  grown.ShiftItemsUp(last, position, 0.0);
  if (int status = InsertName(outcomeNames, position, name, "State"); status < 0) {
    return status;
  }
  RetractEvidence();  // may start an update, which still finds the old table
  table.Swap(grown);
  ++numOutcomes;
  return OutcomeAdded(position);
}

int QVR_cpt::RemoveOutcomeAt(int position) {
  const int last = table.GetNumDimensions() - 1;
  QVR_Dmatrix reduced;
  if (int status = reduced.Copy(table); status < 0) {
    return status;
  }
  reduced.ShiftItemsDown(last, position);
  if (int status = reduced.RemoveLastItem(last); status < 0) {
    return status;
  }
  RetractEvidence();
  table.Swap(reduced);
  --numOutcomes;
  const int status = OutcomeRemoved(position, outcomeNames);
  CheckConsistency(0);  // the probability of the outcome is lost
  return status;
}

int QVR_cpt::RenameOutcomes(const QVR_stringArray& names) {
  if (!IsReady() || !names.IsReady()) {
    return QVR_OBJECT_NOT_READY;
  }
  if (int status = ReplaceNames(outcomeNames, names, numOutcomes); status < 0) {
    return status;
  }
  CheckReady(0);
  return QVR_OKAY;
}

int QVR_cpt::ReorderOutcomes(const QVR_intArray& order) {
  if (!IsReady()) {
    return QVR_OBJECT_NOT_READY;
  }
  QVR_intArray list;
  for (int old : order.View()) {
    list.Add(old);
  }
  if (int status = table.PermuteItems(table.GetNumDimensions() - 1, list); status < 0) {
    return status;
  }
  outcomeNames.Permute(list);
  return OutcomesReordered(list);
}

int QVR_cpt::TestReplacement(int count) const {
  return TestTableGrowth(table, table.GetNumDimensions() - 1, count);
}

// The new table stands before the old one goes, so that a lack of memory changes nothing.
int QVR_cpt::StartAfresh(QVR_idArray& ownNames, const QVR_idArray& names) {
  const int last = table.GetNumDimensions() - 1;
  if (last < 0 || names.GetNumItems() < kLeastOutcomes) {
    return ClearAndRebuild(ownNames, names);
  }
  QVR_intArray sizes;
  if (int status = sizes.Assign(table.GetDimensions().Vector()); status < 0) {
    return status;
  }
  sizes[last] = names.GetNumItems();
  QVR_Dmatrix fresh;
  if (int status = fresh.SetDimensions(sizes.Vector()); status < 0) {
    return status;
  }
  if (int status = ownNames.Copy(names); status < 0) {
    return status;
  }
  table.Swap(fresh);
  numOutcomes = names.GetNumItems();
  FillNewRows();
  CheckReady(1);
  return QVR_OKAY;
}

int QVR_cpt::SetNumberOfOutcomes(const QVR_stringArray& names) {
  if (HasChildren()) {
    return QVR_HAS_CHILDREN;
  }
  if (!names.IsReady()) {
    return QVR_OBJECT_NOT_READY;
  }
  QVR_idArray newNames;
  if (int status = TakeNames(newNames, names); status < 0) {
    return status;
  }
  newNames.CheckConsistency(1);
  if (!newNames.IsConsistent() && newNames.MakeAllValid() < 0) {
    return SetNumberOfOutcomes(NameCount(names));
  }
  if (int status = TestReplacement(newNames.GetNumItems()); status < 0) {
    return status;
  }
  return ReplaceOutcomes(outcomeNames, newNames);
}

int QVR_cpt::SetNumberOfOutcomes(int count) {
  if (HasChildren()) {
    return QVR_HAS_CHILDREN;
  }
  if (count < 1) {
    return QVR_OUT_OF_RANGE;
  }
  if (int status = TestReplacement(count); status < 0) {
    return status;
  }
  QVR_idArray newNames;
  if (int status = FillUpNames(newNames, "State", count); status < 0) {
    return status;
  }
  return ReplaceOutcomes(outcomeNames, newNames);
}

}  // namespace qvr
