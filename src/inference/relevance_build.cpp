// The records of a network: one for each node with outcomes, linked like the nodes.
#include "inference/relevance_graph.h"

#include <algorithm>

#include "definitions/cast.h"
#include "definitions/demorgan.h"
#include "definitions/noisy_max.h"
#include "model/network.h"

namespace qvr {

namespace {

bool HasRecord(const QVR_node& node) {
  return node.definition && node.value && (node.definition->GetType() & kTypeBitDiscrete) != 0 &&
         node.definition->GetNumberOfOutcomes() > 0;
}

bool IgnoresParents(const QVR_node& node) {
  return (node.value->GetFlags() & kValueIgnoreParents) != 0 || node.definition->GetType() == kTypeList;
}

int EvidenceOf(const QVR_node& node, int outcomeCount, bool useDeterminism) {
  if (!(useDeterminism ? node.value->HasEvidence() : node.value->HasRealEvidence())) {
    return -1;
  }
  const int evidence = node.value->GetEvidence();
  return evidence >= 0 && evidence < outcomeCount ? evidence : -1;
}

// The leak of a canonical node, or the prior of a gate: what it states when its parents don't count.
bool HasPrior(const QVR_node& node) {
  const int type = node.GetType();
  return IgnoresParents(node) && (type == kTypeCast || type == kTypeDeMorgan || type == kTypeNoisyMax);
}

// Null when it can't be had.
QVR_Dmatrix* MakePriorTable(RelevanceNode& record) {
  QVR_Dmatrix* table = MakeOwnVector(record, 0.0);
  if (table == nullptr) {
    return nullptr;
  }
  const QVR_nodeDefinition& definition = *record.node->definition;
  if (record.node->GetType() == kTypeNoisyMax) {
    const QVR_Dmatrix& parameters = static_cast<const QVR_noisyMAX&>(definition).GetCiWeights();
    const std::span<const double> leak =
        parameters.GetItems().Vector().last(static_cast<std::size_t>(record.outcomeCount));
    std::copy(leak.begin(), leak.end(), table->GetItems().Vector().begin());
    return table;
  }
  const bool isCast = record.node->GetType() == kTypeCast;
  table->Subscript(0) = isCast ? static_cast<const QVR_cast&>(definition).GetBaseline()
                               : static_cast<const QVR_demorgan&>(definition).GetPriorBelief();
  table->Subscript(1) = 1 - table->Subscript(0);
  return table;
}

void ClearRecord(RelevanceNode& record) {
  record.node = nullptr;
  record.parents = {};
  record.children = {};
  record.liveChildren = 0;
  record.mark = kMarkNone;
  record.position = -1;
  record.target = false;
  record.tableKind = TableKind::None;
  record.table = nullptr;
}

void InitRecord(RelevanceNode& record, QVR_node& node, bool target, bool useDeterminism) {
  ClearRecord(record);
  record.node = &node;
  record.outcomeCount = node.definition->GetNumberOfOutcomes();
  record.evidence = EvidenceOf(node, record.outcomeCount, useDeterminism);
  record.target = target;
}

// Appends the records of a list of handles to the links; leaves out nodes without one.
std::span<RelevanceNode*> Link(RelevanceGraph& graph, const QVR_intArray& handles) {
  const std::size_t start = graph.links.size();
  for (const int handle : handles) {
    if (RelevanceNode* record = graph.byHandle[static_cast<std::size_t>(handle)]) {
      graph.links.push_back(record);
    }
  }
  return {graph.links.data() + start, graph.links.size() - start};
}

void LinkRecord(RelevanceGraph& graph, const QVR_network& network, RelevanceNode& record) {
  const int handle = record.node->handle;
  if (!IgnoresParents(*record.node)) {
    record.parents = Link(graph, network.GetParents(handle));
    for (RelevanceNode* parent : record.parents) {
      ++parent->liveChildren;
    }
  }
  record.children = Link(graph, network.GetChildren(handle));
  const auto ignores = [](const RelevanceNode* child) { return IgnoresParents(*child->node); };
  const auto kept = std::remove_if(record.children.begin(), record.children.end(), ignores);
  record.children = record.children.first(static_cast<std::size_t>(kept - record.children.begin()));
}

std::size_t CountLinks(const QVR_network& network, std::size_t temporaryRecords) {
  std::size_t count = temporaryRecords;  // one parent each; as children they take another's place
  for (int handle = network.FirstNode(); handle >= 0; handle = network.NextNode(handle)) {
    count += static_cast<std::size_t>(network.GetParents(handle).GetNumItems() +
                                      network.GetChildren(handle).GetNumItems());
  }
  return count;
}

// Whatever happened to the definition, propagation must not read past its table.
bool HasShapeOf(const RelevanceNode& record, const QVR_Dmatrix& table) {
  const std::size_t count = record.parents.size();
  if (table.GetNumDimensions() != static_cast<int>(count) + 1) {
    return false;
  }
  for (std::size_t i = 0; i < count; ++i) {
    if (table.GetDimension(static_cast<int>(i)) != record.parents[i]->outcomeCount) {
      return false;
    }
  }
  return table.GetDimension(static_cast<int>(count)) == record.outcomeCount;
}

}  // namespace

RelevanceNode& AddTemporaryRecord(RelevanceGraph& graph, RelevanceNode& parent) {
  RelevanceNode& record = graph.records[graph.recordCount++];
  ClearRecord(record);
  graph.links.push_back(&parent);
  record.parents = {&graph.links.back(), 1};
  graph.nodes.push_back(&record);
  return record;
}

bool BuildGraph(QVR_network& network, bool useDeterminism, RelevanceGraph& graph) {
  const auto nodeCount = static_cast<std::size_t>(network.GetNumberOfNodes());
  const bool allTargets = network.GetTargetCount() == 0;
  const std::size_t temporaryRecords = CountSplitRecords(network);
  if (graph.records.size() < nodeCount + temporaryRecords) {
    graph.records.resize(nodeCount + temporaryRecords);
  }
  graph.recordCount = 0;
  graph.nodes.clear();
  graph.links.clear();
  graph.byHandle.assign(static_cast<std::size_t>(network.GetTableSize()), nullptr);
  bool anyTarget = false;
  for (int handle = network.FirstNode(); handle >= 0; handle = network.NextNode(handle)) {
    QVR_node& node = *network.NodeAt(handle);
    const bool target = allTargets || network.IsTarget(handle) == 1;
    anyTarget = anyTarget || target;
    if (HasRecord(node)) {
      RelevanceNode& record = graph.records[graph.nodes.size()];
      InitRecord(record, node, target, useDeterminism);
      graph.byHandle[static_cast<std::size_t>(handle)] = &record;
      graph.nodes.push_back(&record);
    }
  }
  graph.recordCount = graph.nodes.size();
  if (!anyTarget) {
    return false;
  }
  graph.links.reserve(CountLinks(network, temporaryRecords));  // spans into it must not move
  for (RelevanceNode* record : graph.nodes) {
    LinkRecord(graph, network, *record);
  }
  return true;
}

const QVR_Dmatrix* TableOf(RelevanceNode& record) {
  if (record.tableKind == TableKind::None) {
    if (record.node->definition->GetType() == kTypeList) {
      // A decision that hasn't been made, or is fixed by evidence, says nothing about its choices.
      return MakeOwnVector(record, 1.0 / record.outcomeCount);
    }
    if (HasPrior(*record.node)) {
      return MakePriorTable(record);
    }
    QVR_Dmatrix* matrix = nullptr;
    if (record.node->definition->GetMatrix(matrix) < 0 || matrix == nullptr) {
      return nullptr;
    }
    if (!HasShapeOf(record, *matrix)) {
      return nullptr;
    }
    record.tableKind = TableKind::Borrowed;
    record.table = matrix;
  }
  return record.table;
}

QVR_Dmatrix& MakeOwnTable(RelevanceNode& record) {
  record.tableKind = TableKind::Own;
  record.table = &record.ownTable;
  return record.ownTable;
}

QVR_Dmatrix* MakeOwnVector(RelevanceNode& record, double x) {
  QVR_Dmatrix& table = MakeOwnTable(record);
  const int sizes[] = {record.outcomeCount};
  if (table.SetDimensions(sizes) < 0) {
    return nullptr;
  }
  table.Fill(x);
  return &table;
}

int PlaceOfParent(const RelevanceNode& record, const RelevanceNode* parent) {
  const auto found = std::find(record.parents.begin(), record.parents.end(), parent);
  return found == record.parents.end() ? -1 : static_cast<int>(found - record.parents.begin());
}

void RemoveParentAt(RelevanceNode& record, int place) {
  const auto at = record.parents.begin() + place;
  --(*at)->liveChildren;
  std::copy(at + 1, record.parents.end(), at);
  record.parents = record.parents.first(record.parents.size() - 1);
}

}  // namespace qvr
