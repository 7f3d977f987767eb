// What the network does when evidence or a definition changes.
#include "model/dynamic_extension.h"
#include "model/error_log.h"
#include "model/evidence_propagation.h"
#include "model/network.h"

namespace qvr {

namespace {

bool IsEquation(const QVR_node& node) {
  return node.GetType() == kTypeEquation || node.GetType() == kTypeEquationScc;
}

// Marks a node for its lifetime.
class EntryBitScope {
 public:
  EntryBitScope(QVR_nodeEntry& newEntry, unsigned newBit) : entry(newEntry), bit(newBit) {
    entry.flags |= bit;
  }
  ~EntryBitScope() { entry.flags &= ~bit; }
  EntryBitScope(const EntryBitScope&) = delete;
  EntryBitScope& operator=(const EntryBitScope&) = delete;

 private:
  QVR_nodeEntry& entry;
  unsigned bit;
};

int RefuseImpossible(const QVR_node& node) {
  const char* name = node.definition->GetOutcomeNames() != nullptr
                         ? node.definition->GetOutcomeNames()->Get(node.value->GetEvidence())
                         : nullptr;
  return GetErrorLog().Log(QVR_OUT_OF_RANGE, std::string("Outcome [") + (name != nullptr ? name : "") +
                                                 "] of node [" + node.GetId() + "] is impossible");
}

}  // namespace

void QVR_network::UpdateIfImmediate() {
  if ((updateFlags & UPDATE_IMMEDIATELY) != 0 && !updating) {
    UpdateBeliefs();
  }
}

int QVR_network::EvidenceSet(int handle) {
  if (!TracksChanges() || (relevanceMask & kRelevanceEvidenceSet) == 0) {
    return QVR_OKAY;
  }
  if (!IsValidHandle(handle) || !Entry(handle).node->value) {
    return QVR_OUT_OF_RANGE;
  }
  const QVR_node& node = *Entry(handle).node;
  if (IsEquation(node)) {
    InvalidateAll();
    UpdateIfImmediate();
    return QVR_OKAY;
  }
  if (EvidencePropagation(*this).IsImpossible(handle)) {
    return RefuseImpossible(node);
  }
  bool metUtility = false;
  if (HasPlate()) {
    InvalidateAll();  // the walk doesn't see temporal arcs
  } else {
    PrepareWalk();
    Entry(handle).flags |= kEntryVisited;
    WalkStack stack;
    PushParents(stack, handle);
    PushChildren(stack, handle);
    metUtility = WalkRelevance(stack, kValueAnyEvidence);
  }
  int status = QVR_OKAY;
  if ((updateFlags & UPDATE_PROPAGATE_EVIDENCE) != 0) {
    ClearEntryBits(kEntryVisited);
    status = PropagateEvidence(handle);
  }
  if (metUtility) {
    InvalidateDecisions();
  }
  if (status >= 0) {
    UpdateIfImmediate();
  }
  return status;
}

int QVR_network::EvidenceRetracted(int handle) {
  if (!TracksChanges() || (relevanceMask & kRelevanceEvidenceRetracted) == 0) {
    return QVR_OKAY;
  }
  if (!IsValidHandle(handle)) {
    return QVR_OUT_OF_RANGE;
  }
  int status = QVR_OKAY;
  if (IsEquation(*Entry(handle).node)) {
    InvalidateAll();
  } else {
    const EntryBitScope retracting(Entry(handle), kEntryRetracting);
    status = InvalidateFrom(handle);
  }
  UpdateIfImmediate();
  return status;
}

int QVR_network::VirtualEvidenceChanged(int /*handle*/) {
  if (TracksChanges()) {
    InvalidateAll();
    UpdateIfImmediate();
  }
  return QVR_OKAY;
}

int QVR_network::ClearAllEvidence() {
  const UpdateFlagsOff quiet(*this, UPDATE_TRACK_CHANGES);
  for (const QVR_nodeEntry& entry : nodes) {
    QVR_nodeValue* value = entry.node ? entry.node->value.get() : nullptr;
    if (value == nullptr) {
      continue;
    }
    if ((value->GetFlags() & kValuePropagatedEvidence) != 0) {
      value->ClearPropagatedEvidence();
    } else {
      value->ClearEvidence();
    }
  }
  if (dynamicExtension) {
    dynamicExtension->ForgetEvidence();
  }
  UpdateIfImmediate();
  return QVR_OKAY;
}

void QVR_network::ClearAllPropagatedEvidence() {
  for (const QVR_nodeEntry& entry : nodes) {
    QVR_nodeValue* value = entry.node ? entry.node->value.get() : nullptr;
    if (value != nullptr && (value->GetFlags() & kValuePropagatedEvidence) != 0) {
      value->ClearPropagatedEvidence();
    }
  }
}

void QVR_network::GetEvidenceNodes(QVR_intArray& list) const {
  for (int handle = 0; handle < GetTableSize(); ++handle) {
    const QVR_node* node = Entry(handle).node.get();
    if (node != nullptr && node->value && node->value->HasEvidence()) {
      list.Add(handle);
    }
  }
}

int QVR_network::NotifyChange(int handle, int code) {
  if (tablesOf != nullptr) {
    return tablesOf->TableChanged(code);
  }
  if (!TracksChanges() || (relevanceMask & static_cast<unsigned>(code)) == 0) {
    return QVR_OKAY;
  }
  const bool changesBeliefs =
      code == kOutcomesChanged || code == kNumbersChanged || code == kDefinitionReplaced;
  const int status = changesBeliefs ? InvalidateFrom(handle) : QVR_OKAY;
  UpdateIfImmediate();
  return status;
}

int QVR_network::ParentAbsorbed(int formerParent, int child) {
  if (!TracksChanges() || (relevanceMask & static_cast<unsigned>(kDefinitionReplaced)) == 0) {
    return QVR_OKAY;
  }
  // Whatever was observed below the child no longer speaks to the former parent.
  const int status = InvalidateAfterArcRemoval(formerParent, child);
  UpdateIfImmediate();
  return status;
}

}  // namespace qvr
