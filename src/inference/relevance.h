// Relevance reasoning: what of a network can matter to the nodes of interest, as connected components.
#ifndef QVR_INFERENCE_RELEVANCE_H
#define QVR_INFERENCE_RELEVANCE_H

#include <memory>
#include <span>
#include <vector>

#include "inference/thread_scratch.h"
#include "model/dense_matrix.h"
#include "model/node.h"

namespace qvr {

class QVR_network;
struct RelevanceGraph;

enum class TableKind {
  None = 0,
  Own = 1,       // held by the record
  Borrowed = 2,  // the definition's; copied before the first change
};

// A light record of one node. Records are linked by pointers into storage that their ComponentList holds.
struct RelevanceNode {
  QVR_node* node = nullptr;  // null for a temporary record of a split noisy-MAX node
  std::span<RelevanceNode*> parents;
  std::span<RelevanceNode*> children;
  int evidence = -1;  // the outcome fixed by evidence, entered or derived, or -1
  int outcomeCount = 0;
  int liveChildren = 0;  // those that still have this record as a parent
  int mark = 0;
  int position = -1;    // place in the component
  bool target = false;  // of interest in this update
  TableKind tableKind = TableKind::None;
  const QVR_Dmatrix* table = nullptr;  // dimensions in the order of `parents`, own outcomes last
  QVR_Dmatrix ownTable;                // what `table` points to for TableKind::Own
};

struct RelevanceComponent {
  std::span<RelevanceNode* const> nodes;  // by position; every record has its table
  int evidenceCount = 0;                  // records with evidence
};

// The components of one update. Owns the records; lives on the stack of a solver.
class ComponentList {
 public:
  ComponentList();
  ~ComponentList();
  ComponentList(const ComponentList&) = delete;
  ComponentList& operator=(const ComponentList&) = delete;

  std::vector<RelevanceComponent> components;

 private:
  friend int RelevanceReduce(QVR_network&, bool, bool, ComponentList&);
  std::unique_ptr<ThreadScratch<RelevanceGraph>> graph;  // holds the records
};

// Cuts the network down to what can affect its targets (all nodes where none is set) given the evidence:
// barren nodes, determinism that follows from evidence, arcs out of evidence, roots that feed a single
// child (Lin and Druzdzel 1997). Answers targets whose evidence is known at once. The network's structure,
// evidence and targets stay. 0 with an empty list when nothing is left to compute; -42 when a table that
// is needed can't be had.
[[nodiscard]] int RelevanceReduce(QVR_network& network, bool absorbRoots, bool useDeterminism,
                                  ComponentList& out);

// Whether solvers may write into the record's value: temporary records have none, and that of a decision
// belongs to the decision solvers.
[[nodiscard]] bool HoldsPosterior(const RelevanceNode& record);
// These pass over records that hold no posterior. Writing throws std::bad_alloc.
// The numbers divided by `total` become the record's value; its flags stay.
void WritePosterior(const RelevanceNode& record, std::span<const double> numbers, double total);
// An observed record's outcome becomes its value; its flags stay.
void WriteCertainty(const RelevanceNode& record);
void MarkValid(const RelevanceNode& record);
// The record's table becomes the node's value, entry for entry, and the value valid.
void ApplySingleNodeComponent(const RelevanceNode& record);
// Fixes the record at an outcome; its value becomes that outcome's certainty, valid. -2 out of range.
int ApplyEvidenceToValue(RelevanceNode& record, int outcome);
// Parents before children, by depth-first visits that start in the order of `starts`, which are all records
// of a component. Uses `mark`.
void SortTopologically(std::span<RelevanceNode* const> starts, std::vector<RelevanceNode*>& out);

}  // namespace qvr

#endif
