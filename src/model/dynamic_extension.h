// The temporal part of a network: arcs that run from slice to slice, and evidence by slice.
#ifndef QVR_MODEL_DYNAMIC_EXTENSION_H
#define QVR_MODEL_DYNAMIC_EXTENSION_H

#include <map>
#include <string>
#include <utility>
#include <vector>

#include "model/network.h"
#include "model/rectangle.h"

namespace qvr {

// A node of the plate, seen from `order` slices later; order 0 is the same slice, and then the node may be
// any ordinary parent that isn't an anchor.
struct TemporalParent {
  int handle;
  int order;

  bool operator==(const TemporalParent&) const = default;
  auto operator<=>(const TemporalParent&) const = default;
};

// A temporal arc (parent, child, order) lets the child in slice t depend on the parent in slice t - order. A
// child has one table for each order at which it has an arc; the copy in slice t uses that of the highest
// such order not above t, or without any the node's plain definition. Tables stand in a private network,
// under nodes that only lend them type and outcomes, the shadows. The table of order k has as parents the
// node's ordinary parents but anchors, in their order, and then its temporal parents of order 1 to k,
// ascending, within an order as added. Operations return 0 or a status code; a refused one changes nothing.
// Changes of arcs, tables, evidence and the slice count invalidate the values of the network.
class QVR_dynamicExtension : public QVR_object {
 public:
  explicit QVR_dynamicExtension(QVR_network& newNetwork);  // std::bad_alloc if memory is short
  QVR_dynamicExtension(const QVR_dynamicExtension&) = delete;
  QVR_dynamicExtension& operator=(const QVR_dynamicExtension&) = delete;
  // Takes over all but the network. std::bad_alloc if memory is short.
  int Assign(const QVR_dynamicExtension& other);

  [[nodiscard]] int GetSliceCount() const { return sliceCount; }
  int SetSliceCount(int count);  // -2 below 0; 0 can't be solved

  // --- arcs: dynamic_arcs.cpp
  // -2 for an order below 1, a node outside the plate or an arc that exists at this order; -51 for a node
  // without outcomes or a parent that the child's class doesn't take; -42. Parent and child may be the same.
  int AddTemporalArc(int parent, int child, int order);
  int RemoveTemporalArc(int parent, int child, int order);  // -2 if absent
  // The orders at which the node has an arc, ascending.
  [[nodiscard]] std::vector<int> GetTemporalOrders(int handle) const;
  // The parents of exactly this order, as added.
  [[nodiscard]] std::vector<int> GetTemporalParents(int handle, int order) const;
  // All parents of the table of this order, as its dimensions stand, or of the one that would be made.
  [[nodiscard]] std::vector<TemporalParent> GetTableParents(int handle, int order) const;
  // The table of this order, with the node's present outcome names; null without.
  [[nodiscard]] QVR_nodeDefinition* GetTemporalDefinition(int handle, int order);
  // Whether the node is a parent at some order.
  [[nodiscard]] bool IsTemporalParent(int handle) const;
  // Whether there is a copy of the arc, or of its parent, for each slice: then nothing that is known of a
  // single slice may go into the child's numbers.
  [[nodiscard]] bool StandsForSlices(int parent, int child) const {
    return IsInPlate(parent) || IsInPlate(child);
  }
  // The highest order of all arcs; 0 without any.
  [[nodiscard]] int GetMaxOrder() const;

  // --- evidence by slice: dynamic_evidence.cpp
  // -2 for a node outside the plate or a bad outcome; -4 for a negative slice. Replaces what the slice had.
  // Slices that aren't there are kept and not used. In slice 0 it outdoes the node's own evidence.
  int SetTemporalEvidence(int handle, int slice, int outcome);
  int ClearTemporalEvidence(int handle, int slice);                    // -2 without
  [[nodiscard]] int GetTemporalEvidence(int handle, int slice) const;  // the outcome, or -2
  // (slice, outcome), ascending.
  [[nodiscard]] std::vector<std::pair<int, int>> GetTemporalEvidence(int handle) const;
  // Nobody is told.
  void ForgetEvidence() { evidence.clear(); }
  void ForgetEvidence(int handle) { evidence.erase(handle); }

  // --- what the network and its definitions tell: dynamic_structure.cpp, dynamic_outcomes.cpp
  int OrdinaryArcAdded(int parent, int child);  // a failure changes nothing
  void OrdinaryArcRemoved(int parent, int child);
  // The node is about to become an anchor, or no longer to be one. A failure changes nothing.
  int AnchorChanging(int handle, bool becomesAnchor);
  void NodeDeleted(int handle);
  // -42 if a table couldn't follow one more outcome of the node.
  [[nodiscard]] int TestOutcomeGrowth(int handle) const;
  void OutcomeAdded(int handle, int position);
  void OutcomeRemoved(int handle, int position);
  void OutcomesReordered(int handle, const QVR_intArray& order);
  void OutcomesReplaced(int handle);  // its tables start afresh
  // The node's type or outcomes may have changed in any way: what doesn't fit them is made to.
  void DefinitionChanged(int handle);
  // A table of the private network changed. The network's NotifyChange.
  int TableChanged(int code);

  // --- solving: inference/unroll.cpp
  // Updates a network with a copy of the plate for each slice, and brings back the posteriors: those of a
  // plate node with the slice as first dimension and the outcome as last. -2 without slices, -51 with a plate
  // node without outcomes, -42 for too many copies, all with the values as they were; else the code of that
  // update.
  int SolveUnrolled();
  // Fills an empty network, and the copies' handles slice by slice, within a slice as the plate's nodes
  // ascend; slice 0 are these nodes themselves.
  int Unroll(QVR_network& unrolled, QVR_intArray& handleMap);

  // What tables, shadows and the network have to agree on: as QVR_network::CheckInvariants.
  [[nodiscard]] std::string CheckInvariants() const;

  // For front ends.
  QVR_rectangle plateArea;
  int leftWidth = 120;
  int rightWidth = 120;

 private:
  using Key = TemporalParent;  // of shadows; of order tables the child and the order
  using KeyMap = std::map<Key, int>;
  using KeyRange = std::pair<KeyMap::const_iterator, KeyMap::const_iterator>;

  [[nodiscard]] static KeyRange RangeOf(const KeyMap& map, int handle, int fromOrder);
  [[nodiscard]] bool IsInPlate(int handle) const;
  [[nodiscard]] bool HasOutcomes(int handle) const;
  [[nodiscard]] int FindIn(const KeyMap& map, const Key& key) const;  // -2 if absent
  [[nodiscard]] QVR_nodeDefinition& DefinitionOf(int innerHandle) const;
  [[nodiscard]] Key KeyOfShadow(int innerHandle) const { return shadowKeys.find(innerHandle)->second; }
  // A node of the private network like the given one, without parents. Its handle, or a code.
  int MakeLike(int handle);
  int UseShadow(const Key& key);
  void DropShadowIfUnused(int shadow);
  int UseTable(const Key& key);
  void DropTable(int table);
  void DropTableIfBare(int table);  // without an arc of its own order
  void DropTablesOf(int handle);
  void DropShadowsOf(int handle, int fromOrder);
  int AddParentAt(int table, int shadow, int place);
  // Adds the parent to the child's tables from an order on, or to none.
  int AddToTables(const Key& parent, int child, int fromOrder, int ordinaryPlace);
  void RemoveFromTables(int shadow, int child);
  int MakeTemporalArc(const Key& parent, int child);
  // Tables without an arc of their own order, shadows without a table.
  void DropLeftOver();
  [[nodiscard]] int OrdinaryPlace(int parent, int child) const;
  [[nodiscard]] std::vector<int> MirrorsOf(int handle) const;
  int Conform(int mirror, QVR_node& original);
  [[nodiscard]] std::string CheckTable(const Key& key, int table) const;
  [[nodiscard]] std::string CheckMirror(int mirror, int handle) const;

  QVR_network& network;
  QVR_network temporalNetwork;    // shadows, which are roots, and order tables, which are leaves
  KeyMap shadows;                 // to handles of the private network
  std::map<int, Key> shadowKeys;  // and back
  KeyMap orderTables;
  std::map<int, Key> tableKeys;  // and back
  mutable int maxOrder = -1;     // -1: unknown
  int sliceCount = 10;
  std::map<int, std::map<int, int>> evidence;  // by node and slice
  bool following = false;                      // changes of tables are this object's own
};

}  // namespace qvr

#endif
