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

// Leaves the record's own outcome and all its parents' free.
void FreePattern(RelevanceGraph& graph, const RelevanceNode& record) {
  graph.pattern.Flush();
  for (std::size_t i = 0; i <= record.parents.size(); ++i) {
    graph.pattern.Add(-1);
  }
}

// Of the record's table, or where nobody has looked at that yet, by the definition, which may not need it.
bool AllCellsEqual(const RelevanceNode& record, double x, const QVR_intArray& pattern) {
  return (record.tableKind == TableKind::None ? record.node->definition->AllCellsEqual(x, pattern.View())
                                              : record.table->AllEqual(x, pattern)) == 1;
}

// The outcome of the child that is certain whatever its other parents do, or -1.
int ForcedOutcome(RelevanceGraph& graph, const RelevanceNode& child, const RelevanceNode& observed) {
  const int place = PlaceOfParent(child, &observed);
  if (place < 0) {
    return -1;
  }
  FreePattern(graph, child);
  graph.pattern[place] = observed.evidence;
  int& own = graph.pattern[graph.pattern.GetNumItems() - 1];
  for (own = 0; own < child.outcomeCount; ++own) {
    if (AllCellsEqual(child, 1.0, graph.pattern)) {
      return own;
    }
  }
  return -1;
}

// The one outcome of the parent that the observation leaves possible, or -1.
int OnlyPossibleOutcome(RelevanceGraph& graph, const RelevanceNode& observed, int place) {
  FreePattern(graph, observed);
  graph.pattern[graph.pattern.GetNumItems() - 1] = observed.evidence;
  int& tested = graph.pattern[place];
  const int outcomeCount = observed.parents[static_cast<std::size_t>(place)]->outcomeCount;
  int possible = -1;
  for (tested = 0; tested < outcomeCount; ++tested) {
    if (!AllCellsEqual(observed, 0.0, graph.pattern)) {
      if (possible >= 0) {
        return -1;
      }
      possible = tested;
    }
  }
  return possible;
}

// Slices the observed record's table at the outcome of the parent that is now fixed.
int CutFixedParent(RelevanceGraph& graph, RelevanceNode& observed, int place, int outcome) {
  const QVR_Dmatrix* table = TableOf(observed);
  if (table == nullptr || table->ReduceTo(place, outcome, graph.reduced) < 0) {
    return QVR_OUT_OF_MEMORY;
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
    const int outcome = IsOpen(child) ? ForcedOutcome(graph, child, record) : -1;
    if (outcome >= 0) {
      forced = &child;
      return FixChild(child, outcome);
    }
  }
  while (frame.nextParent < static_cast<int>(record.parents.size())) {
    RelevanceNode& parent = *record.parents[static_cast<std::size_t>(frame.nextParent)];
    const int outcome = IsOpen(parent) ? OnlyPossibleOutcome(graph, record, frame.nextParent) : -1;
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
