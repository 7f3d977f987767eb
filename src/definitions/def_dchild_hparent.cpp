#include "definitions/def_dchild_hparent.h"

#include <algorithm>

#include "definitions/outcome_names.h"
#include "model/network.h"

namespace qvr {

QVR_defDchildHparent::QVR_defDchildHparent(QVR_network* newNetwork, int newHandle)
    : QVR_defHybrid(newNetwork, newHandle, std::make_unique<QVR_discreteElement>(kLeastOutcomes)) {
  if (CompleteNames() < 0) {
    return;
  }
  QVR_defDchildHparent::CheckReady(1);
  AddPresentParents();
}

void QVR_defDchildHparent::CheckReady(int deep) {
  if (deep != 0) {
    outcomeNames.CheckReady(deep);
  }
  SetReady(outcomeNames.IsReady() && numberOfOutcomes == outcomeNames.GetNumItems());
}

void QVR_defDchildHparent::CheckConsistency(int deep) {
  if (deep != 0) {
    outcomeNames.CheckConsistency(deep);
  }
  SetConsistent(outcomeNames.IsConsistent());
}

int QVR_defDchildHparent::CompleteNames() {
  const int status = FillUpNames(outcomeNames, "State", kLeastOutcomes);
  numberOfOutcomes = outcomeNames.GetNumItems();
  return status;
}

int QVR_defDchildHparent::RebuildFromNetwork() {
  if (int status = CompleteNames(); status < 0) {
    return status;
  }
  CheckReady(1);
  return QVR_defHybrid::RebuildFromNetwork();
}

std::unique_ptr<QVR_Helement> QVR_defDchildHparent::MakeElement() const {
  return std::make_unique<QVR_discreteElement>(numberOfOutcomes);
}

bool QVR_defDchildHparent::TakesElement(const QVR_Helement& element) const {
  const auto* discrete = dynamic_cast<const QVR_discreteElement*>(&element);
  return discrete != nullptr && discrete->GetOutcomeCount() == numberOfOutcomes;
}

void QVR_defDchildHparent::AdoptContent(const QVR_defHybrid& other) {
  const auto& source = static_cast<const QVR_defDchildHparent&>(other);
  outcomeNames.Copy(source.outcomeNames);
  numberOfOutcomes = source.numberOfOutcomes;
}

void QVR_defDchildHparent::ResetContent() { outcomeNames.Flush(); }

template <typename Change>
void QVR_defDchildHparent::ChangeElements(const Change& change) {
  for (int i = 0; i < elements.GetSize(); ++i) {
    change(static_cast<QVR_discreteElement&>(*elements[i]));
  }
}

int QVR_defDchildHparent::InsertOutcomeAt(int position, const char* name) {
  if (int status = TestOutcomeGrowth(); status < 0) {
    return status;
  }
  RetractEvidence();
  if (int status = InsertName(outcomeNames, position, name, "State"); status < 0) {
    return status;
  }
  ChangeElements([&](QVR_discreteElement& element) { element.InsertOutcome(position); });
  ++numberOfOutcomes;
  return OutcomeAdded(position);
}

int QVR_defDchildHparent::RemoveOutcomeAt(int position) {
  RetractEvidence();
  ChangeElements([&](QVR_discreteElement& element) { element.RemoveOutcome(position); });
  --numberOfOutcomes;
  return OutcomeRemoved(position, outcomeNames);
}

int QVR_defDchildHparent::RenameOutcomes(const QVR_stringArray& names) {
  if (!IsReady() || !names.IsReady()) {
    return QVR_OBJECT_NOT_READY;
  }
  if (NameCount(names) < numberOfOutcomes) {
    return QVR_OUT_OF_RANGE;
  }
  const QVR_stringArray given(names);  // they may be the definition's own
  outcomeNames.Flush();
  for (int i = 0; i < numberOfOutcomes; ++i) {
    if (int status = InsertName(outcomeNames, i, given.Get(i), "State"); status < 0) {
      return status;
    }
  }
  CheckReady(0);
  return QVR_OKAY;
}

int QVR_defDchildHparent::ReorderOutcomes(const QVR_intArray& order) {
  if (!IsReady()) {
    return QVR_OBJECT_NOT_READY;
  }
  const std::span<const int> places = order.View();
  if (places.size() != static_cast<std::size_t>(numberOfOutcomes) || !IsPermutation(places)) {
    return QVR_OUT_OF_RANGE;
  }
  QVR_intArray list;
  for (int old : places) {
    if (int status = list.Add(old); status < 0) {
      return status;
    }
  }
  ChangeElements([&](QVR_discreteElement& element) { element.ReorderOutcomes(places); });
  outcomeNames.Permute(list);
  return OutcomesReordered(list);
}

int QVR_defDchildHparent::SetNumberOfOutcomes(const QVR_stringArray& names) {
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
  return ReplaceOutcomes(outcomeNames, newNames);
}

int QVR_defDchildHparent::SetNumberOfOutcomes(int count) {
  if (HasChildren()) {
    return QVR_HAS_CHILDREN;
  }
  if (count < 1) {
    return QVR_OUT_OF_RANGE;
  }
  QVR_idArray newNames;
  if (int status = FillUpNames(newNames, "State", count); status < 0) {
    return status;
  }
  return ReplaceOutcomes(outcomeNames, newNames);
}

}  // namespace qvr
