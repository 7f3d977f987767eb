// A graphical model: its nodes and arcs, its metadata, and the settings of its solvers.
#ifndef QVR_MODEL_NETWORK_H
#define QVR_MODEL_NETWORK_H

#include <span>
#include <string>
#include <utility>
#include <vector>

#include "model/identifier_index.h"
#include "model/metadata.h"
#include "model/network_settings.h"
#include "model/node.h"
#include "model/node_entry.h"
#include "model/number_array.h"
#include "model/object.h"
#include "model/status.h"
#include "model/submodel_handler.h"

namespace qvr {

class IXmlBinding;
class IXmlWriterExtension;

// A handle is an index into the node table. It stays the same for the life of its node; freed slots are
// reused. Operations return 0 or a status code unless said otherwise; a refused one changes nothing.
// A network belongs to one thread at a time; networks share nothing but the error log.
class QVR_network : public QVR_object, public NetworkOptions, private SolverSettings {
 public:
  static constexpr int kDefaultTableSize = 50;

  QVR_network();  // Initialize(50, 50); not ready if memory is short
  // Deep clone with the same handles. Takes no documentation.
  QVR_network(const QVR_network& other);
  QVR_network& operator=(const QVR_network&) = delete;  // see Assign
  ~QVR_network() override;

  // --- life: network.cpp, network_copy.cpp
  // A size or step below 1 becomes 50. -42 leaves the network unready.
  int Initialize(int initialSize, int newDelta);
  void CleanUp(int deep) override;
  void CheckReady(int deep) override;        // deletes nodes that aren't ready
  void CheckConsistency(int deep) override;  // logs the first node that fails, under -568
  int Assign(const QVR_network& other);      // -567 if the source isn't ready
  // The same without temporal types: what unrolling works on.
  int AssignWithoutTime(const QVR_network& other);

  // --- nodes: network_nodes.cpp
  // The new handle, or -2 for a duplicate, -42. A null identifier asks for a generated one; so does one
  // that is no identifier. A definition that can't be created is logged and leaves a node without one.
  int AddNode(int definitionType, const char* identifier);
  int DeleteNode(int handle);
  [[nodiscard]] bool IsValidHandle(int handle) const;
  [[nodiscard]] QVR_node* NodeAt(int handle);  // null for a bad handle
  [[nodiscard]] const QVR_node* NodeAt(int handle) const;
  [[nodiscard]] int GetNumberOfNodes() const { return numNodes; }
  [[nodiscard]] int GetTableSize() const { return static_cast<int>(nodes.size()); }
  // Iteration in table order; -2 when there is none (NextNode also for a negative handle).
  [[nodiscard]] int FirstNode() const;
  [[nodiscard]] int LastNode() const;
  [[nodiscard]] int NextNode(int handle) const;
  void GetAllNodes(QVR_intArray& list) const;  // appends
  // The lowest handle with this identifier, or -2.
  [[nodiscard]] int FindNode(const char* identifier) const;
  // Whether the node may be renamed; tells its and the children's definitions. The caller stores the text.
  bool ChangeNodeId(int handle, const char* oldId, const char* newId);
  // Whether another node or a submodel has the identifier, by the rules of AddNode and ChangeNodeId.
  [[nodiscard]] bool IsIdentifierTaken(const char* identifier, int exceptHandle) const;
  // Called by QVR_header for every identifier stored.
  void IdentifierStored(int handle, const std::string& oldId, const std::string& newId);
  void FilterByType(const QVR_intArray& list, int mask, QVR_intArray& out) const;  // empties out first
  int SetTarget(int handle);                                                       // -2 if it is one already
  int UnsetTarget(int handle);
  [[nodiscard]] int IsTarget(int handle) const;  // 0 or 1; -2 for a bad handle
  void ClearAllTargets();
  [[nodiscard]] int GetTargetCount() const { return targetCount; }
  [[nodiscard]] int GetDynamicType(int handle) const;  // -2 for a bad handle
  // -4 for an unknown type; -2 where the arcs don't allow it.
  int SetDynamicType(int handle, int type);
  // Reinitialises every value that the node indexes: its dimension there has lost its meaning.
  void ReinitializeIndexedValues(int handle);
  // Called by every value that gets a flag or an indexing parent. Before the first, no change of the
  // network can spoil a result, and none is looked for.
  void ValuesInUse() { valuesInUse = true; }

  // --- arcs: network_arcs.cpp, network_costs.cpp
  // -2 for bad or equal handles or an arc that exists in either direction; -11 for a cycle; -51 by the
  // temporal rule, or with "Arc rejected by child node".
  int AddArc(int parent, int child, int layer);
  // As AddArc in the ordinary layer for each parent in order, up to the first failure; a child of many
  // parents makes room for all in one step.
  int AddArcs(std::span<const int> parents, int child);
  int RemoveArc(int parent, int child, int layer);
  int AddCostArc(int parent, int child);
  int RemoveCostArc(int parent, int child);
  // Rebuild for the record of every cost child, once each.
  void RebuildCostChildren(int handle);
  [[nodiscard]] bool IsTestGroupCost(int handle) const;
  // A constant empty list for a handle outside the table.
  [[nodiscard]] const QVR_intArray& GetParents(int handle, int layer = kOrdinaryLayer) const;
  [[nodiscard]] const QVR_intArray& GetChildren(int handle, int layer = kOrdinaryLayer) const;
  [[nodiscard]] int GetNumberOfParents(int handle, int layer = kOrdinaryLayer) const;
  [[nodiscard]] int GetNumberOfChildren(int handle, int layer = kOrdinaryLayer) const;
  [[nodiscard]] bool HasArc(int parent, int child, int layer = kOrdinaryLayer) const;
  void GetDiscreteParents(int handle, int layer, QVR_intArray& out) const;
  // Takes the arc out of both lists and nothing else: for definitions that refused or absorbed a parent.
  void DetachArc(int parent, int child);

  // --- order: network_order.cpp
  void GetDescendants(int handle, QVR_intArray& out);  // appends in table order
  [[nodiscard]] int IsAcyclic() const;
  [[nodiscard]] bool WouldStayAcyclic(int parent, int child) const;
  [[nodiscard]] int IsPolytree() const;
  // Parents before children, parent-list order, table order for ties.
  const QVR_intArray& GetTopologicalOrder();
  int ComputeLevels();
  void GetDecisionFirstOrder(QVR_intArray& out);

  // --- evidence: network_evidence.cpp, network_invalidation.cpp, evidence_propagation.cpp
  int EvidenceSet(int handle);
  int EvidenceRetracted(int handle);
  int VirtualEvidenceChanged(int handle);
  void InvalidateAll();
  int InvalidateFrom(int handle);
  int PropagateEvidence(int handle);
  int ClearAllEvidence();
  void ClearAllPropagatedEvidence();
  void GetEvidenceNodes(QVR_intArray& list) const;  // appends in table order
  // A definition changed: see the codes in definitions/node_definition.h.
  int NotifyChange(int handle, int code);
  // A definition worked a parent into its numbers, and the arc is gone.
  int ParentAbsorbed(int formerParent, int child);

  // --- settings: network.cpp. Values out of range are ignored where nothing is returned.
  void SetBeliefAlgorithm(int id);
  void SetHybridAlgorithm(int id);
  void SetDecisionAlgorithm(int id);  // see DecisionAlgorithm
  [[nodiscard]] int GetBeliefAlgorithm() const { return beliefAlgorithm; }
  [[nodiscard]] int GetHybridAlgorithm() const { return hybridAlgorithm; }
  [[nodiscard]] int GetDecisionAlgorithm() const { return decisionAlgorithm; }
  int SetEpisParameters(const EpisParameters& record);
  int SetAdaptationParameters(const AdaptationParameters& record);
  int SetSamplingPasses(int passes);  // -2 below 1
  [[nodiscard]] const EpisParameters& GetEpisParameters() const { return episParameters; }
  [[nodiscard]] const AdaptationParameters& GetAdaptationParameters() const { return adaptationParameters; }
  [[nodiscard]] int GetSamplingPasses() const { return samplingPasses; }
  // The network's identifier, name and comment are those of the main submodel.
  [[nodiscard]] QVR_submodelHandler& GetSubmodels() { return submodels; }
  [[nodiscard]] const QVR_submodelHandler& GetSubmodels() const { return submodels; }
  // Appends the nodes of a submodel, ascending; returns how many.
  int GetIncludedNodes(int submodel, QVR_intArray& out) const;
  [[nodiscard]] unsigned GetUpdateFlags() const { return updateFlags; }
  void SetUpdateFlags(unsigned newFlags) { updateFlags = newFlags; }
  [[nodiscard]] unsigned GetRelevanceMask() const { return relevanceMask; }
  void SetRelevanceMask(unsigned newMask) { relevanceMask = newMask; }
  [[nodiscard]] unsigned GetLoadFlags() const { return loadFlags; }

  // --- files: formats/network_io.cpp
  // The format by the extension if `format` is 0. -2 for an unknown one, with the network untouched; what a
  // failed read had built stays. `observer` is the binding of front-end extensions, or null.
  int LoadFile(const char* name, int format, IXmlBinding* observer);
  // The format as above. -2 for an unknown one, -103 if the file can't be written; an old file is then as it
  // was. `observer` writes front-end extensions, or is null.
  int SaveFile(const char* name, int format, IXmlWriterExtension* observer);

  // --- inference: inference/update_driver.cpp
  // Brings every value of interest up to date with the solver that the nodes ask for.
  int UpdateBeliefs();
  // The solver of influence diagrams that decisionAlgorithm names: see inference/solver_entries.h.
  int SolveDecisions();
  // The discrete solver that beliefAlgorithm names.
  int SolveDiscrete();

  // What the table, the lists, the counts, the index and the shapes of definitions, values and costs have
  // to agree on: the first disagreement in words, or an empty text.
  [[nodiscard]] std::string CheckInvariants() const;

  QVR_creation creation;
  QVR_userProperties userProperties;
  QVR_documentation documentation;

 private:
  friend class LoadScope;    // formats/network_io.cpp: loadFlags and relevanceMask for the length of a load
  friend class UpdateScope;  // inference/update_driver.cpp: marks an update in progress
  friend class VirtualEvidenceGuard;  // inference/: makes and removes temporary leaves
  friend class EvidencePropagation;   // model/evidence_propagation.h: the entries' bits

  [[nodiscard]] QVR_nodeEntry& Entry(int handle) { return nodes[static_cast<std::size_t>(handle)]; }
  [[nodiscard]] const QVR_nodeEntry& Entry(int handle) const {
    return nodes[static_cast<std::size_t>(handle)];
  }
  // LoadFile's and CleanUp's erasing: as a whole, nobody is told.
  void EraseNodes();
  void PrepareForLoad();
  int GrowTable();
  // A free slot, the table grown if there's none; or -42.
  int TakeSlot();
  // The node goes, with the lists of its own end of its arcs.
  void FreeSlot(int handle);
  int OccupySlot(int handle, const char* identifier);
  int StoreFirstId(QVR_node& node, const char* identifier);
  [[nodiscard]] bool IsSubmodelId(const char* identifier) const;
  [[nodiscard]] int TestArc(int parent, int child);
  int LinkNodes(std::span<const int> parents, int child, int& linked);
  [[nodiscard]] bool AllowsDynamicArc(int parent, int child) const;
  [[nodiscard]] std::string GenerateNodeId();
  void ClearEntryBits(unsigned bits);
  [[nodiscard]] bool TracksChanges() const { return (updateFlags & UPDATE_TRACK_CHANGES) != 0; }
  // Runs UpdateBeliefs if UPDATE_IMMEDIATELY is on and no update of this network is running.
  void UpdateIfImmediate();
  int InvalidateAfterArcRemoval(int formerParent, int child);
  // A node to visit, and the entry bit of the direction from which.
  using WalkStack = std::vector<std::pair<int, unsigned>>;
  void InvalidateAround(int handle, WalkStack& stack, int known);
  // Makes all deductions again; true if one is new.
  bool DeduceAgain();
  [[nodiscard]] std::vector<int> GetVirtualEvidenceNodes() const;
  [[nodiscard]] std::vector<std::pair<int, int>> GetDeductions() const;
  void PrepareWalk();
  void MarkAncestors(std::vector<int>& open);
  void PushParents(WalkStack& stack, int handle) const;
  void PushChildren(WalkStack& stack, int handle) const;
  // Visits until the stack is empty. True if it met a utility node.
  bool WalkRelevance(WalkStack& stack, int known);
  bool Visit(int handle, unsigned direction, WalkStack& stack, int known);
  void InvalidateDecisions();
  int CopyFrom(const QVR_network& other, bool withTime);
  int CopyTable(const QVR_network& other);
  [[nodiscard]] std::string CheckIndex() const;

  QVR_submodelHandler submodels;
  std::vector<QVR_nodeEntry> nodes;  // its size is the number of slots
  IdentifierIndex ids;
  int numNodes = 0;
  int lowestFree = 0;  // no slot below it is free
  int delta = kDefaultTableSize;
  int targetCount = 0;
  QVR_intArray topologicalOrder;
  unsigned loadFlags = 0;
  bool updating = false;     // an update is running: notifications start no further one
  bool valuesInUse = false;  // some value may have flags or indexing parents
};

// Turns bits of a network's updateFlags off, and puts them back as they were on every way out.
class UpdateFlagsOff {
 public:
  UpdateFlagsOff(QVR_network& newNetwork, unsigned bits)
      : network(newNetwork), saved(newNetwork.GetUpdateFlags() & bits) {
    network.SetUpdateFlags(network.GetUpdateFlags() & ~bits);
  }
  ~UpdateFlagsOff() { network.SetUpdateFlags(network.GetUpdateFlags() | saved); }
  UpdateFlagsOff(const UpdateFlagsOff&) = delete;
  UpdateFlagsOff& operator=(const UpdateFlagsOff&) = delete;

 private:
  QVR_network& network;
  unsigned saved;
};

}  // namespace qvr

#endif
