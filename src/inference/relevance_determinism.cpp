// Determinism that follows from evidence: a table whose selected cells are all 1 forces its node, one
// whose cells are 0 for all but one outcome of a parent forces that parent. What is forced acts as
// evidence from then on and is cut off from what forced it.
#include "inference/relevance_graph.h"
#include "model/status.h"

namespace qvr {

namespace {

// Spreading from one record: first to its children, then to its parents. Kept on a stack of its own, since
// a chain of forced nodes may be as long as the network.
struct Frame {
  RelevanceNode* record;
  std::size_t nextChild = 0;
  int nextParent = 0;
};

bool IsOpen(const RelevanceNode& record) { return record.mark != kMarkBarren && record.evidence < 0; }

void DetachFromParents(RelevanceNode& record) {
  for (RelevanceNode* parent : record.parents) {
    --parent->liveChildren;
  }
  record.parents = {};
}

// Fixes a child at the outcome that its table forces; its table becomes that certainty alone.
int FixChild(RelevanceNode& child, int outcome) {
  ApplyEvidenceToValue(child, outcome);
  DetachFromParents(child);
  QVR_Dmatrix* table = MakeOwnVector(child, 0.0);
  if (table == nullptr) {
    return QVR_OUT_OF_MEMORY;
  }
  table->Subscript(outcome) = 1.0;
  return QVR_OKAY;
}

// The outcome of the child that is certain whatever its other parents do, or -1; -42 without a table.
int ForcedOutcome(RelevanceNode& child, const RelevanceNode& observed) {
  const int place = PlaceOfParent(child, &observed);
  if (place < 0) {
    return -1;
  }
  const QVR_Dmatrix* table = TableOf(child);
  if (table == nullptr) {
    return QVR_OUT_OF_MEMORY;
  }
  const int own = table->GetNumDimensions() - 1;
  for (int outcome = 0; outcome < child.outcomeCount; ++outcome) {
    if (table->AllEqual(1.0, place, observed.evidence, own, outcome) == 1) {
      return outcome;
    }
  }
  return -1;
}

// The one outcome of the parent that the observation leaves possible, or -1; -42 without a table.
int OnlyPossibleOutcome(RelevanceNode& observed, int place) {
  const QVR_Dmatrix* table = TableOf(observed);
  if (table == nullptr) {
    return QVR_OUT_OF_MEMORY;
  }
  const int own = table->GetNumDimensions() - 1;
  const int outcomeCount = observed.parents[static_cast<std::size_t>(place)]->outcomeCount;
  int possible = -1;
  for (int outcome = 0; outcome < outcomeCount; ++outcome) {
    if (table->AllEqual(0.0, place, outcome, own, observed.evidence) != 1) {
      if (possible >= 0) {
        return -1;
      }
      possible = outcome;
    }
  }
  return possible;
}

// Slices the observed record's table at the outcome of the parent that is now fixed.
int CutFixedParent(RelevanceGraph& graph, RelevanceNode& observed, int place, int outcome) {
  if (const int status = TableOf(observed)->ReduceTo(place, outcome, graph.reduced); status < 0) {
    return status;
  }
  MakeOwnTable(observed).Swap(graph.reduced);
  RemoveParentAt(observed, place);
  return QVR_OKAY;
}

// The next child or parent that the record forces, fixed; null when there is none left.
int NextForced(RelevanceGraph& graph, Frame& frame, RelevanceNode*& forced) {
  RelevanceNode& record = *frame.record;
  forced = nullptr;
  while (frame.nextChild < record.children.size()) {
    RelevanceNode& child = *record.children[frame.nextChild++];
    const int outcome = IsOpen(child) ? ForcedOutcome(child, record) : -1;
    if (outcome == QVR_OUT_OF_MEMORY) {
      return outcome;
    }
    if (outcome >= 0) {
      forced = &child;
      return FixChild(child, outcome);
    }
  }
  while (frame.nextParent < static_cast<int>(record.parents.size())) {
    RelevanceNode& parent = *record.parents[static_cast<std::size_t>(frame.nextParent)];
    const int outcome = IsOpen(parent) ? OnlyPossibleOutcome(record, frame.nextParent) : -1;
    if (outcome == QVR_OUT_OF_MEMORY) {
      return outcome;
    }
    if (outcome >= 0) {
      ApplyEvidenceToValue(parent, outcome);
      forced = &parent;
      return CutFixedParent(graph, record, frame.nextParent, outcome);
    }
    ++frame.nextParent;
  }
  return QVR_OKAY;
}

int SpreadFrom(RelevanceGraph& graph, RelevanceNode& start, std::vector<Frame>& frames) {
  start.mark = kMarkDetermined;
  frames.push_back({&start});
  while (!frames.empty()) {
    RelevanceNode* forced = nullptr;
    if (const int status = NextForced(graph, frames.back(), forced); status < 0) {
      return status;
    }
    if (forced == nullptr) {
      frames.pop_back();
    } else {
      forced->mark = kMarkDetermined;
      frames.push_back({forced});
    }
  }
  return QVR_OKAY;
}

}  // namespace

int SpreadDeterminism(RelevanceGraph& graph) {
  std::vector<Frame> frames;
  for (RelevanceNode* record : graph.nodes) {
    if (record->mark == kMarkNone && record->evidence >= 0) {
      if (const int status = SpreadFrom(graph, *record, frames); status < 0) {
        return status;
      }
    }
  }
  return QVR_OKAY;
}

}  // namespace qvr
