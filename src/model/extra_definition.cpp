#include "model/extra_definition.h"

#include <utility>

#include "model/network.h"
#include "model/status.h"

namespace qvr {

namespace {

constexpr const char* kReplacementLabelBase = "F";

}  // namespace

QVR_extraDefinition::QVR_extraDefinition(QVR_network* newNetwork, int newHandle)
    : network(newNetwork), handle(newHandle) {
  ResetForOutcomes();
  SetReady(true);
}

QVR_extraDefinition::QVR_extraDefinition(const QVR_extraDefinition& other)
    : QVR_object(other),
      question(other.question),
      diagnosisType(other.diagnosisType),
      ranked(other.ranked),
      mandatory(other.mandatory),
      setAsDefault(other.setAsDefault),
      showAs(other.showAs),
      network(other.network),
      handle(other.handle),
      defaultOutcome(other.defaultOutcome),
      stateDocumentation(other.stateDocumentation.size()),
      stateComments(other.stateComments),
      faultLabels(other.faultLabels),
      faultNames(other.faultNames),
      repairInfo(other.repairInfo) {
  faultStates.Copy(other.faultStates);
  for (std::size_t i = 0; i < stateDocumentation.size(); ++i) {
    if (other.stateDocumentation[i]) {
      stateDocumentation[i] = std::make_unique<QVR_documentation>(*other.stateDocumentation[i]);
    }
  }
  if (other.outcomeCosts) {
    outcomeCosts = std::make_unique<OutcomeCosts>();
    outcomeCosts->network = other.outcomeCosts->network;
    outcomeCosts->handle = other.outcomeCosts->handle;
    outcomeCosts->mode = other.outcomeCosts->mode;
    outcomeCosts->flags.Copy(other.outcomeCosts->flags);
    outcomeCosts->costs.Copy(other.outcomeCosts->costs);
  }
}

void QVR_extraDefinition::SetOwner(QVR_network* newNetwork, int newHandle) {
  network = newNetwork;
  handle = newHandle;
  if (outcomeCosts) {
    outcomeCosts->network = newNetwork;
    outcomeCosts->handle = newHandle;
  }
}

int QVR_extraDefinition::OutcomeCount() const {
  const QVR_node* node = network != nullptr ? network->NodeAt(handle) : nullptr;
  const int count = node != nullptr ? node->GetNumberOfOutcomes() : 0;
  return count < 0 ? 0 : count;
}

void QVR_extraDefinition::ResetForOutcomes() {
  const int count = OutcomeCount();
  faultStates.Reset(count);
  stateDocumentation.clear();
  stateDocumentation.resize(static_cast<std::size_t>(count));
  for (QVR_stringArray* list : {&stateComments, &faultNames, &repairInfo}) {
    list->Flush();
  }
  faultLabels.Flush();
  for (int i = 0; i < count; ++i) {
    faultStates.Add(0);
    stateComments.AddEmpty();
    faultLabels.AddEmpty();
    faultNames.AddEmpty();
    repairInfo.AddEmpty();
  }
  if (outcomeCosts) {
    ResetOutcomeCosts(count);
  }
}

void QVR_extraDefinition::ResetOutcomeCosts(int count) {
  outcomeCosts->flags.Reset(count);
  outcomeCosts->costs.Reset(count);
  for (int i = 0; i < count; ++i) {
    outcomeCosts->flags.Add(0);
    outcomeCosts->costs.Add(0.0);
  }
}

OutcomeCosts& QVR_extraDefinition::GetOutcomeCosts() {
  if (!outcomeCosts) {
    outcomeCosts = std::make_unique<OutcomeCosts>();
    outcomeCosts->network = network;
    outcomeCosts->handle = handle;
    ResetOutcomeCosts(faultStates.GetNumItems());
  }
  return *outcomeCosts;
}

int QVR_extraDefinition::AddOutcome(int position) {
  if (int status = faultStates.Insert(position, 0); status < 0) {
    return status;
  }
  stateDocumentation.insert(stateDocumentation.begin() + position, nullptr);
  stateComments.Insert(position, "");
  faultLabels.Insert(position, "");
  faultNames.Insert(position, "");
  repairInfo.Insert(position, "");
  if (outcomeCosts) {
    outcomeCosts->flags.Insert(position, 0);
    outcomeCosts->costs.Insert(position, 0.0);
  }
  if (position <= defaultOutcome) {
    ++defaultOutcome;
  }
  return QVR_OKAY;
}

int QVR_extraDefinition::RemoveOutcome(int position) {
  if (position < 0 || position >= faultStates.GetNumItems()) {
    return QVR_OUT_OF_RANGE;
  }
  faultStates.Delete(position);
  stateDocumentation.erase(stateDocumentation.begin() + position);
  stateComments.Delete(position);
  faultLabels.Delete(position);
  faultNames.Delete(position);
  repairInfo.Delete(position);
  if (outcomeCosts) {
    outcomeCosts->flags.Delete(position);
    outcomeCosts->costs.Delete(position);
  }
  if (position == defaultOutcome) {
    defaultOutcome = 0;
  } else if (position < defaultOutcome) {
    --defaultOutcome;
  }
  return QVR_OKAY;
}

int QVR_extraDefinition::PermuteOutcomes(const QVR_intArray& order) {
  QVR_intArray list;  // the order as a list, however it came
  for (int i : order.View()) {
    list.Add(i);
  }
  if (list.GetNumItems() != faultStates.GetNumItems()) {
    return QVR_OUT_OF_RANGE;
  }
  if (int status = faultStates.Permute(list); status < 0) {
    return status;
  }
  std::vector<std::unique_ptr<QVR_documentation>> moved;
  for (int i : list) {
    moved.push_back(std::move(stateDocumentation[static_cast<std::size_t>(i)]));
  }
  stateDocumentation = std::move(moved);
  stateComments.Permute(list);
  faultLabels.Permute(list);
  faultNames.Permute(list);
  repairInfo.Permute(list);
  if (outcomeCosts) {
    outcomeCosts->flags.Permute(list);
    outcomeCosts->costs.Permute(list);
  }
  if (const int place = list.Find(defaultOutcome); place >= 0) {
    defaultOutcome = place;
  }
  return QVR_OKAY;
}

int QVR_extraDefinition::SetDefaultOutcome(int i) {
  if (!IsOutcome(i)) {
    defaultOutcome = 0;
    return QVR_OUT_OF_RANGE;
  }
  defaultOutcome = i;
  return QVR_OKAY;
}

int QVR_extraDefinition::SetFault(int i, int flag) {
  if (!IsOutcome(i)) {
    return QVR_OUT_OF_RANGE;
  }
  faultStates[i] = flag != 0 ? 1 : 0;
  return QVR_OKAY;
}

int QVR_extraDefinition::SetFaults(const QVR_intArray& list) {
  if (list.Length() != OutcomeCount()) {
    return QVR_OUT_OF_RANGE;
  }
  for (int i = 0; i < list.Length(); ++i) {
    SetFault(i, list[i]);
  }
  return QVR_OKAY;
}

int QVR_extraDefinition::SetFaultLabel(int i, const char* text) {
  if (!IsOutcome(i)) {
    return QVR_OUT_OF_RANGE;
  }
  const std::string label = text != nullptr ? text : "";
  if ((network->GetLoadFlags() & kLoading) != 0) {
    return faultLabels.QVR_stringArray::SetItem(i, label.c_str());
  }
  if (IsFaultLabelUsed(label.c_str(), handle)) {
    return QVR_OUT_OF_RANGE;
  }
  return faultLabels.SetItem(i, label.c_str());
}

int QVR_extraDefinition::SetFaultLabels(const QVR_stringArray& list) {
  const int length = list.GetNumItems() > 0 ? list.GetNumItems() : list.GetSize();
  const int count = OutcomeCount();
  int status = length == count ? QVR_OKAY : QVR_OUT_OF_RANGE;
  for (int i = 0; i < length && i < count; ++i) {
    if (SetFaultLabel(i, list.Get(i)) < 0) {
      SetFaultLabel(i, MakeFaultLabel(kReplacementLabelBase).c_str());
      status = QVR_OUT_OF_RANGE;
    }
  }
  return status;
}

int QVR_extraDefinition::SetText(QVR_stringArray& list, int i, const char* text) {
  return IsOutcome(i) ? list.SetItem(i, text != nullptr ? text : "") : QVR_OUT_OF_RANGE;
}

int QVR_extraDefinition::SetFaultName(int i, const char* text) { return SetText(faultNames, i, text); }

int QVR_extraDefinition::SetStateComment(int i, const char* text) { return SetText(stateComments, i, text); }

int QVR_extraDefinition::SetRepairInfo(int i, const char* text) { return SetText(repairInfo, i, text); }

QVR_documentation* QVR_extraDefinition::GetStateDocumentation(int i) {
  if (!IsOutcome(i)) {
    return nullptr;
  }
  std::unique_ptr<QVR_documentation>& documentation = stateDocumentation[static_cast<std::size_t>(i)];
  if (!documentation) {
    documentation = std::make_unique<QVR_documentation>();
  }
  return documentation.get();
}

const QVR_documentation* QVR_extraDefinition::FindStateDocumentation(int i) const {
  return IsOutcome(i) ? stateDocumentation[static_cast<std::size_t>(i)].get() : nullptr;
}

std::string QVR_extraDefinition::MakeFaultLabel(const char* base) const {
  long long number = 1;
  for (int node = network->FirstNode(); node >= 0; node = network->NextNode(node)) {
    const int count = network->NodeAt(node)->GetNumberOfOutcomes();
    number += count < 0 ? 0 : count;
  }
  for (;; ++number) {
    std::string label = (base != nullptr ? base : "") + std::to_string(number);
    if (!IsFaultLabelUsed(label.c_str(), QVR_OUT_OF_RANGE)) {
      return label;
    }
  }
}

bool QVR_extraDefinition::IsFaultLabelUsed(const char* text, int exceptHandle) const {
  if (text == nullptr || text[0] == '\0') {
    return false;
  }
  for (int node = network->FirstNode(); node >= 0; node = network->NextNode(node)) {
    const QVR_extraDefinition* extra = network->NodeAt(node)->extra.get();
    if (node != exceptHandle && extra != nullptr && extra->faultLabels.Find(text) >= 0) {
      return true;
    }
  }
  return false;
}

}  // namespace qvr
