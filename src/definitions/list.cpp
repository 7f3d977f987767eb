#include "definitions/list.h"

#include <algorithm>

#include "definitions/outcome_names.h"
#include "model/network.h"

namespace qvr {

namespace {

constexpr const char* kBaseName = "Choice";

}  // namespace

QVR_list::QVR_list(QVR_network* newNetwork, int newHandle) : QVR_nodeDefinition(newNetwork, newHandle) {
  QVR_list::FillUpChoices();
}

QVR_list::QVR_list(const QVR_list& other)
    : QVR_nodeDefinition(other), choiceCount(other.choiceCount), choiceNames(other.choiceNames) {
  choiceValues.Copy(other.choiceValues);
}

void QVR_list::CleanUp(int deep) {
  if (deep != 0) {
    choiceNames.CleanUp(deep);
    choiceValues.CleanUp();
  }
  choiceCount = 0;
  QVR_list::CheckReady(0);
}

void QVR_list::CheckReady(int deep) {
  if (deep != 0) {
    choiceNames.CheckReady(deep);
  }
  SetReady(choiceNames.IsReady() && choiceCount == choiceNames.GetNumItems());
}

void QVR_list::CheckConsistency(int deep) {
  if (deep != 0) {
    choiceNames.CheckConsistency(deep);
  }
  SetConsistent(choiceNames.IsConsistent());
}

int QVR_list::AddParent(int parentHandle) {
  if (!IsReady()) {
    return QVR_OBJECT_NOT_READY;
  }
  const QVR_node* parent = ParentNode(parentHandle);
  return parent != nullptr && TakesParent(GetType(), parent->GetType()) ? QVR_OKAY : QVR_OUT_OF_RANGE;
}

int QVR_list::RemoveParent(int /*parentHandle*/) { return QVR_OKAY; }

int QVR_list::AddParentOutcome(int /*parentHandle*/, int /*position*/) { return QVR_OKAY; }

int QVR_list::RemoveParentOutcome(int /*parentHandle*/, int /*position*/) { return QVR_OKAY; }

int QVR_list::ReorderParentOutcomes(int /*parentHandle*/, const QVR_intArray& /*order*/) { return QVR_OKAY; }

int QVR_list::ReorderParents(const QVR_intArray& /*order*/) { return QVR_OKAY; }

int QVR_list::FillUpChoices() {
  const int status = FillUpNames(choiceNames, kBaseName, kLeastOutcomes);
  choiceCount = choiceNames.GetNumItems();
  CheckReady(1);
  return status;
}

int QVR_list::RebuildFromNetwork() {
  if (int status = FillUpChoices(); status < 0) {
    return status;
  }
  AddAllParents();
  return QVR_OKAY;
}

int QVR_list::AdoptFrom(QVR_nodeDefinition& other) {
  return Adopt(other, [&] {
    CleanUp(1);
    QVR_nodeDefinition::AdoptFrom(other);
    const int status = AdoptNames(other);
    RebuildFromNetwork();
    return status;
  });
}

int QVR_list::AdoptNames(QVR_nodeDefinition& other) {
  const QVR_stringArray* names = other.GetOutcomeNames();
  const int type = other.GetType();
  if (type == kTypeMau || type == kTypeDChildHParent || type == kTypeDistribution || type == kTypeHEquation) {
    return QVR_OUT_OF_RANGE;
  }
  if (names == nullptr) {
    return QVR_OKAY;
  }
  return TakeNames(choiceNames, *names);
}

int QVR_list::DropUnsupportedParents() {
  RemoveAllParents();
  return QVR_OKAY;
}

int QVR_list::InsertOutcomeAt(int position, const char* name) {
  if (int status = TestOutcomeGrowth(); status < 0) {
    return status;
  }
  if (int status = InsertName(choiceNames, position, name, kBaseName); status < 0) {
    return status;
  }
  if (int status = HasValueForEachChoice() ? choiceValues.Insert(position, 0.0) : QVR_OKAY; status < 0) {
    choiceNames.Delete(position);
    return status;
  }
  RetractEvidence();
  ++choiceCount;
  return OutcomeAdded(position);
}

int QVR_list::RemoveOutcomeAt(int position) {
  RetractEvidence();
  if (HasValueForEachChoice()) {
    choiceValues.Delete(position);
  }
  --choiceCount;
  return OutcomeRemoved(position, choiceNames);
}

int QVR_list::RenameOutcomes(const QVR_stringArray& names) {
  if (!IsReady() || !names.IsReady()) {
    return QVR_OBJECT_NOT_READY;
  }
  if (int status = ReplaceNames(choiceNames, names, choiceNames.GetNumItems()); status < 0) {
    return status;
  }
  CheckReady(0);
  return QVR_OKAY;
}

int QVR_list::ReorderOutcomes(const QVR_intArray& order) {
  if (!IsReady()) {
    return QVR_OBJECT_NOT_READY;
  }
  QVR_intArray list;
  for (int old : order.View()) {
    list.Add(old);
  }
  if (list.GetNumItems() != choiceCount || !IsPermutation(list.View())) {
    return QVR_OUT_OF_RANGE;
  }
  choiceNames.Permute(list);
  if (HasValueForEachChoice()) {
    choiceValues.Permute(list);
  }
  return OutcomesReordered(list);
}

int QVR_list::ResetChoices(const QVR_idArray& names) {
  RetractEvidence();
  ReinitializeValues();
  return ReplaceOutcomes(choiceNames, names);
}

int QVR_list::SetNumberOfOutcomes(const QVR_stringArray& names) {
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
  return newNames.IsConsistent() ? ResetChoices(newNames) : SetNumberOfOutcomes(NameCount(names));
}

int QVR_list::SetNumberOfOutcomes(int count) {
  if (HasChildren()) {
    return QVR_HAS_CHILDREN;
  }
  if (count > QVR_Dmatrix::kMaxElements) {
    return QVR_OUT_OF_MEMORY;
  }
  QVR_idArray newNames;
  if (int status = FillUpNames(newNames, kBaseName, count); status < 0) {
    return status;
  }
  return ResetChoices(newNames);
}

int QVR_list::GetChoiceNames(QVR_idArray*& out) {
  out = &choiceNames;
  return QVR_OKAY;
}

int QVR_list::SetChoiceNames(const QVR_stringArray& names) {
  if (!IsReady() || !names.IsReady()) {
    return QVR_OBJECT_NOT_READY;
  }
  if (NameCount(names) != choiceCount) {
    return QVR_OUT_OF_RANGE;
  }
  return TakeNames(choiceNames, names);
}

int QVR_list::SetChoiceValues(const QVR_doubleArray& array) {
  if (!IsReady()) {
    return QVR_OBJECT_NOT_READY;
  }
  QVR_doubleArray list;
  for (double value : array.View()) {
    if (int status = list.Add(value); status < 0) {
      return status;
    }
  }
  choiceValues.Swap(list);
  return QVR_OKAY;
}

}  // namespace qvr
