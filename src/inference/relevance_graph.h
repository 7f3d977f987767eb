// The graph of light records on which relevance reasoning works, and its steps. Private to it.
#ifndef QVR_INFERENCE_RELEVANCE_GRAPH_H
#define QVR_INFERENCE_RELEVANCE_GRAPH_H

#include <vector>

#include "inference/relevance.h"

namespace qvr {

// Values of RelevanceNode::mark beside component numbers.
inline constexpr int kMarkNone = 0;
inline constexpr int kMarkDetermined = 2;  // determinism has started from this record
inline constexpr int kMarkAbsorbed = 10;
inline constexpr int kMarkSorted = 16;
inline constexpr int kMarkBarren = 20;

// Lives in the scratch of a thread. A record's `parents` is the truth about arcs; its `children` may still
// name records that lost it as a parent, until CompactChildren.
struct RelevanceGraph {
  std::vector<RelevanceNode> records;          // sized before they are linked; may hold more than are in use
  std::size_t recordCount = 0;                 // those in use
  std::vector<RelevanceNode*> links;           // what `parents` and `children` point into
  std::vector<RelevanceNode*> nodes;           // live records in creation order
  std::vector<RelevanceNode*> byHandle;        // null for a node without a record
  std::vector<RelevanceNode*> componentNodes;  // grouped by component
  std::vector<RelevanceNode*> stack;
  QVR_intArray pattern;
  QVR_Dmatrix reduced;
};

// Every step below returns 0, or -42 when a table that it needs can't be had.

// One record for each node with outcomes. False when nothing is of interest. Evidence that was deduced
// counts as evidence if `useDeterminism` is set.
[[nodiscard]] bool BuildGraph(QVR_network& network, bool useDeterminism, RelevanceGraph& graph);
// Replaces each noisy-MAX record that is observed at its distinguished outcome by one factor a parent, where
// that is switched on.
[[nodiscard]] int SplitNoisyMaxNodes(const QVR_network& network, RelevanceGraph& graph);
void RemoveBarren(RelevanceGraph& graph);
// From every record with evidence, through tables that leave only one outcome to a child or a parent.
[[nodiscard]] int SpreadDeterminism(RelevanceGraph& graph);
[[nodiscard]] int CutEvidenceArcs(RelevanceGraph& graph);
[[nodiscard]] int AbsorbRoots(RelevanceGraph& graph);
// How many records the split will add; BuildGraph makes the room.
[[nodiscard]] std::size_t CountSplitRecords(const QVR_network& network);
// An observed record of no node, below one parent, behind the graph's others.
RelevanceNode& AddTemporaryRecord(RelevanceGraph& graph, RelevanceNode& parent);
// Drops the records with this mark.
void DropMarked(RelevanceGraph& graph, int mark);
// Leaves in every `children` only records that still have the record as a parent.
void CompactChildren(RelevanceGraph& graph);
// The record's table, fetched from the definition on first look; null when it can't be had.
[[nodiscard]] const QVR_Dmatrix* TableOf(RelevanceNode& record);
// The table to overwrite; `table` and `tableKind` then name it.
QVR_Dmatrix& MakeOwnTable(RelevanceNode& record);
// A table over the record's own outcomes alone, all cells `x`; null when it can't be had.
QVR_Dmatrix* MakeOwnVector(RelevanceNode& record, double x);
[[nodiscard]] int PlaceOfParent(const RelevanceNode& record, const RelevanceNode* parent);
void RemoveParentAt(RelevanceNode& record, int place);

}  // namespace qvr

#endif
