// One slot of a network's node table.
#ifndef QVR_MODEL_NODE_ENTRY_H
#define QVR_MODEL_NODE_ENTRY_H

#include <memory>

#include "model/node.h"
#include "model/number_array.h"
#include "model/object.h"

namespace qvr {

// Working bits of QVR_nodeEntry::flags.
enum EntryBit : unsigned {
  kEntryTarget = 1,
  kEntryVisited = 2,           // each walk that uses it clears it on all entries first
  kEntryEvidenceAncestor = 4,  // the node or a descendant is observed
  kEntryDescendant = 8,
  kEntryOrdered = 16,
  kEntryOnPath = 32,
  kEntryFinished = 64,
  kEntryFromChild = 128,   // the relevance walk arrived from a child
  kEntryFromParent = 256,  // the relevance walk arrived from a parent
  kEntryRetracting = 512,  // the node whose evidence is being retracted
};

class QVR_nodeEntry : public QVR_object {
 public:
  QVR_nodeEntry() { SetReady(true); }
  QVR_nodeEntry(QVR_nodeEntry&&) noexcept = default;
  QVR_nodeEntry& operator=(QVR_nodeEntry&&) noexcept = default;

  std::unique_ptr<QVR_node> node;  // null marks a free slot
  QVR_intArray parents;  // in the order in which the arcs were added: a table's dimensions follow it
  QVR_intArray children;
  QVR_intArray costParents;
  QVR_intArray costChildren;
  int dynamicType = 0;  // DynamicType
  unsigned flags = 0;
  int level = 0;
};

// Where a node stands relative to the temporal plate.
enum DynamicType : int { kDynamicNormal = 0, kDynamicAnchor = 1, kDynamicTerminal = 2, kDynamicPlate = 3 };

}  // namespace qvr

#endif
