// The relevance walk: clears the valid bit of every value that a change can have affected.
//
// It follows d-separation from the place of the change. A visit that arrives from a child goes on to
// parents and children of an unobserved node; one that arrives from a parent goes on to the children, and
// to the parents only if something below is observed. An observed node stops the walk, but turns it back
// to the parents when it came from one of them.
#include <algorithm>

#include "model/network.h"

namespace qvr {

namespace {

constexpr unsigned kWalkBits = kEntryVisited | kEntryEvidenceAncestor | kEntryFromChild | kEntryFromParent;

}  // namespace

void QVR_network::InvalidateAll() {
  for (const QVR_nodeEntry& entry : nodes) {
    if (entry.node && entry.node->value && !entry.node->value->HasEvidence()) {
      entry.node->value->SetValueInvalid();
    }
  }
}

void QVR_network::InvalidateDecisions() {
  for (const QVR_nodeEntry& entry : nodes) {
    if (entry.node && entry.node->value && (entry.node->GetType() & kTypeBitDecision) != 0 &&
        !entry.node->value->HasEvidence()) {
      entry.node->value->SetValueInvalid();
    }
  }
}

int QVR_network::InvalidateFrom(int handle) {
  if (!TracksChanges()) {
    return QVR_OKAY;
  }
  return InvalidateAfterArcRemoval(QVR_OUT_OF_RANGE, handle);
}

int QVR_network::InvalidateAfterArcRemoval(int formerParent, int child) {
  if (!IsValidHandle(child)) {
    return QVR_OUT_OF_RANGE;
  }
  if (!valuesInUse) {
    return QVR_OKAY;
  }
  // A node that is now deduced loses its likelihoods, which until now told its parents something.
  std::vector<int> softlyObserved = GetVirtualEvidenceNodes();
  // Where the change made a deduction, what the deduced node now tells its neighbours is news as well: the
  // walk may not stop there.
  const int known = DeduceAgain() ? kValueEvidence : kValueAnyEvidence;
  if (HasPlate()) {
    InvalidateAll();  // the walk doesn't see temporal arcs
    return QVR_OKAY;
  }
  PrepareWalk();
  MarkAncestors(softlyObserved);
  WalkStack stack;
  const QVR_nodeEntry& entry = Entry(child);
  const bool isObserved = entry.node->value && (entry.node->value->GetFlags() & known) != 0;
  if (formerParent >= 0 && (isObserved || (entry.flags & kEntryEvidenceAncestor) != 0)) {
    stack.emplace_back(formerParent, kEntryFromChild);
  }
  InvalidateAround(child, stack, known);
  const bool isUtility = !isObserved && (entry.node->GetType() & kTypeBitUtility) != 0;
  if (WalkRelevance(stack, known) || isUtility) {
    InvalidateDecisions();
  }
  return QVR_OKAY;
}

void QVR_network::InvalidateAround(int handle, WalkStack& stack, int known) {
  const QVR_nodeEntry& entry = Entry(handle);
  QVR_nodeValue* value = entry.node->value.get();
  const bool isObserved = value != nullptr && (value->GetFlags() & known) != 0;
  const bool tellsParents = isObserved || (entry.flags & (kEntryEvidenceAncestor | kEntryRetracting)) != 0;
  if (tellsParents && (entry.node->GetType() & kTypeBitDecision) == 0) {
    PushParents(stack, handle);
  }
  if (isObserved) {
    return;
  }
  if (value != nullptr && !value->HasEvidence()) {
    value->SetValueInvalid();
  }
  PushChildren(stack, handle);
}

bool QVR_network::DeduceAgain() {
  const std::vector<std::pair<int, int>> before = GetDeductions();
  ClearAllPropagatedEvidence();
  if ((updateFlags & UPDATE_PROPAGATE_EVIDENCE) == 0) {
    return false;
  }
  ClearEntryBits(kEntryVisited);
  QVR_intArray observed;
  GetEvidenceNodes(observed);
  for (int handle : observed) {
    PropagateEvidence(handle);
  }
  const std::vector<std::pair<int, int>> after = GetDeductions();
  return !std::includes(before.begin(), before.end(), after.begin(), after.end());
}

std::vector<int> QVR_network::GetVirtualEvidenceNodes() const {
  std::vector<int> handles;
  for (int handle = 0; handle < GetTableSize(); ++handle) {
    const QVR_node* node = Entry(handle).node.get();
    if (node != nullptr && node->value && (node->value->GetFlags() & kValueVirtualEvidence) != 0) {
      handles.push_back(handle);
    }
  }
  return handles;
}

std::vector<std::pair<int, int>> QVR_network::GetDeductions() const {
  std::vector<std::pair<int, int>> deductions;
  for (int handle = 0; handle < GetTableSize(); ++handle) {
    const QVR_node* node = Entry(handle).node.get();
    if (node != nullptr && node->value && (node->value->GetFlags() & kValuePropagatedEvidence) != 0) {
      deductions.emplace_back(handle, node->value->GetEvidence());
    }
  }
  return deductions;
}

// A node with virtual evidence acts as if an observed child hung on it, so it opens its own parents too.
void QVR_network::PrepareWalk() {
  ClearEntryBits(kWalkBits);
  std::vector<int> open;
  for (QVR_nodeEntry& entry : nodes) {
    const int evidence = entry.node && entry.node->value ? entry.node->value->GetFlags() : 0;
    if ((evidence & kValueVirtualEvidence) != 0) {
      entry.flags |= kEntryEvidenceAncestor;
    }
    if ((evidence & (kValueEvidence | kValueVirtualEvidence)) != 0) {
      open.insert(open.end(), entry.parents.begin(), entry.parents.end());
      MarkAncestors(open);
    }
  }
}

void QVR_network::MarkAncestors(std::vector<int>& open) {
  while (!open.empty()) {
    QVR_nodeEntry& entry = Entry(open.back());
    open.pop_back();
    if ((entry.flags & kEntryEvidenceAncestor) == 0) {
      entry.flags |= kEntryEvidenceAncestor;
      open.insert(open.end(), entry.parents.begin(), entry.parents.end());
    }
  }
}

// Pushed in reverse, so that they are visited in list order.
void QVR_network::PushParents(WalkStack& stack, int handle) const {
  const QVR_intArray& parents = Entry(handle).parents;
  for (int i = parents.GetNumItems() - 1; i >= 0; --i) {
    stack.emplace_back(parents[i], kEntryFromChild);
  }
}

void QVR_network::PushChildren(WalkStack& stack, int handle) const {
  const QVR_intArray& children = Entry(handle).children;
  for (int i = children.GetNumItems() - 1; i >= 0; --i) {
    stack.emplace_back(children[i], kEntryFromParent);
  }
}

bool QVR_network::WalkRelevance(WalkStack& stack, int known) {
  bool metUtility = false;
  while (!stack.empty()) {
    const auto [handle, direction] = stack.back();
    stack.pop_back();
    metUtility = Visit(handle, direction, stack, known) || metUtility;
  }
  return metUtility;
}

// `known` are the bits of the kinds of evidence that block the walk. True at a utility node.
bool QVR_network::Visit(int handle, unsigned direction, WalkStack& stack, int known) {
  QVR_nodeEntry& entry = Entry(handle);
  QVR_nodeValue* value = entry.node->value.get();
  const int type = entry.node->GetType();
  const int evidence = value != nullptr ? value->GetFlags() & known : 0;
  const bool fromChild = direction == kEntryFromChild;
  if ((type & kTypeBitDecision) != 0) {
    if (fromChild && value != nullptr && !value->HasEvidence()) {
      value->SetValueInvalid();
    }
    return false;
  }
  const bool opensParents = (entry.flags & kEntryEvidenceAncestor) != 0;
  if ((evidence & kValuePropagatedEvidence) != 0 && !opensParents) {
    return false;
  }
  if (evidence != 0 || (entry.flags & kEntryRetracting) != 0) {
    if (!fromChild && (entry.flags & kEntryVisited) == 0) {
      entry.flags |= kEntryVisited;
      PushParents(stack, handle);
    }
    return false;
  }
  if ((entry.flags & kEntryVisited) != 0) {
    if (fromChild && (entry.flags & kEntryFromParent) != 0) {
      entry.flags &= ~static_cast<unsigned>(kEntryFromParent);
      PushParents(stack, handle);
    }
    return false;
  }
  entry.flags |= direction | kEntryVisited;
  if (value != nullptr && !value->HasEvidence()) {
    value->SetValueInvalid();
  }
  if (fromChild || opensParents) {
    PushParents(stack, handle);
  }
  PushChildren(stack, handle);
  return (type & kTypeBitUtility) != 0;
}

}  // namespace qvr
