#include "model/evidence_propagation.h"

#include <utility>

#include "model/error_log.h"

namespace qvr {

int EvidencePropagation::Run(int handle) {
  int status = Enter(handle);
  while (status >= 0 && !frames.empty()) {
    status = frames.back().backward ? StepBackward() : StepForward();
  }
  return status;
}

int EvidencePropagation::Enter(int handle) {
  network.Entry(handle).flags |= kEntryVisited;
  if (const int outcome = EvidenceOf(handle); outcome >= 0) {
    frames.push_back({.handle = handle, .outcome = outcome, .pattern = {}, .deductions = {}});
  }
  return QVR_OKAY;
}

int EvidencePropagation::StepForward() {
  Frame& frame = frames.back();
  const QVR_intArray& children = network.Entry(frame.handle).children;
  if (frame.neighbour >= children.GetNumItems()) {
    TurnBackward(frame);
    return QVR_OKAY;
  }
  const int child = children[frame.neighbour];
  const bool isPassedOver = IsDecisionOrUtility(child) || SpansSlices(frame.handle, child);
  QVR_nodeDefinition* definition = isPassedOver ? nullptr : DefinitionOf(child);
  const int count = definition != nullptr ? definition->GetNumberOfOutcomes() : 0;
  if (count > 0 && frame.childOutcome == 0) {
    frame.pattern = FamilyPattern(child);
  }
  while (frame.childOutcome < count) {
    const int outcome = frame.childOutcome++;
    frame.pattern.back() = outcome;
    if (definition->AllCellsEqual(1.0, frame.pattern) != 1) {
      continue;
    }
    bool isNew = false;
    if (const int status = Deduce(frame.handle, child, outcome, isNew); status < 0) {
      return status;
    }
    if (isNew && (network.Entry(child).flags & kEntryVisited) == 0) {
      return Enter(child);
    }
  }
  ++frame.neighbour;
  frame.childOutcome = 0;
  return QVR_OKAY;
}

void EvidencePropagation::TurnBackward(Frame& frame) {
  const int type = network.Entry(frame.handle).node->GetType();
  if ((type & kTypeBitDecision) != 0 || DefinitionOf(frame.handle) == nullptr) {
    frames.pop_back();
    return;
  }
  frame.backward = true;
  frame.neighbour = 0;
  std::vector<int> pattern = FamilyPattern(frame.handle);
  pattern.back() = frame.outcome;
  std::vector<int> counts;
  for (const int parent : network.Entry(frame.handle).parents) {
    const bool isPassedOver = IsDecisionOrUtility(parent) || SpansSlices(parent, frame.handle);
    counts.push_back(isPassedOver ? 0 : network.Entry(parent).node->GetNumberOfOutcomes());
  }
  frame.deductions = DefinitionOf(frame.handle)->OnlyPossibleOutcomes(std::move(pattern), counts);
}

int EvidencePropagation::StepBackward() {
  Frame& frame = frames.back();
  const QVR_intArray& parents = network.Entry(frame.handle).parents;
  if (frame.neighbour >= parents.GetNumItems()) {
    frames.pop_back();
    return QVR_OKAY;
  }
  const int place = frame.neighbour++;
  const int parent = parents[place];
  const int outcome = frame.deductions[static_cast<std::size_t>(place)];
  if (outcome < 0) {
    return QVR_OKAY;
  }
  bool isNew = false;
  if (const int status = Deduce(frame.handle, parent, outcome, isNew); status < 0) {
    return status;
  }
  return isNew && (network.Entry(parent).flags & kEntryVisited) == 0 ? Enter(parent) : QVR_OKAY;
}

int EvidencePropagation::Deduce(int from, int to, int outcome, bool& isNew) {
  const QVR_node& node = *network.Entry(to).node;
  if (!node.value->HasEvidence()) {
    isNew = node.value->SetPropagatedEvidence(outcome) >= 0;
    return QVR_OKAY;
  }
  if (node.value->GetEvidence() == outcome) {
    return QVR_OKAY;
  }
  return GetErrorLog().Log(QVR_EVIDENCE_CONFLICT, "ERROR: conficting evidence between nodes [" +
                                                      network.Entry(from).node->GetId() + "] and [" +
                                                      node.GetId() + "]");
}

bool EvidencePropagation::IsImpossible(int handle) {
  const int outcome = EvidenceOf(handle);
  QVR_nodeDefinition* definition = DefinitionOf(handle);
  if (outcome < 0 || definition == nullptr) {
    return false;
  }
  std::vector<int> pattern = FamilyPattern(handle);
  pattern.back() = outcome;
  return definition->AllCellsEqual(0.0, pattern) == 1;
}

QVR_nodeDefinition* EvidencePropagation::DefinitionOf(int handle) const {
  return network.Entry(handle).node->definition.get();
}

std::vector<int> EvidencePropagation::FamilyPattern(int handle) const {
  const QVR_intArray& parents = network.Entry(handle).parents;
  std::vector<int> pattern;
  pattern.reserve(static_cast<std::size_t>(parents.GetNumItems()) + 1);
  for (int parent : parents) {
    const int outcome = SpansSlices(parent, handle) ? QVR_OUT_OF_RANGE : EvidenceOf(parent);
    pattern.push_back(outcome < 0 ? -1 : outcome);
  }
  pattern.push_back(-1);
  return pattern;
}

bool EvidencePropagation::IsDecisionOrUtility(int handle) const {
  return (network.Entry(handle).node->GetType() & (kTypeBitDecision | kTypeBitUtility)) != 0;
}

bool EvidencePropagation::SpansSlices(int parent, int child) const {
  return network.Entry(parent).dynamicType == kDynamicPlate &&
         network.Entry(child).dynamicType == kDynamicTerminal;
}

int EvidencePropagation::EvidenceOf(int handle) const {
  const QVR_nodeValue* value = network.Entry(handle).node->value.get();
  return value != nullptr && value->HasEvidence() ? value->GetEvidence() : QVR_OUT_OF_RANGE;
}

int QVR_network::PropagateEvidence(int handle) {
  const QVR_node* node = NodeAt(handle);
  if (node == nullptr || !node->value || !node->value->HasEvidence()) {
    return QVR_OUT_OF_RANGE;
  }
  return EvidencePropagation(*this).Run(handle);
}

}  // namespace qvr
