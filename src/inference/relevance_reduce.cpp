// The reductions, in order: barren nodes; determinism that follows from evidence; arcs out of evidence;
// roots that feed a single child; what isn't connected to any node of interest. Shachter 1988 on barren
// nodes, Lin and Druzdzel 1997 on relevance reasoning as a whole. Every step is linear in the records and
// links it looks at.
#include <algorithm>

#include "inference/relevance_graph.h"
#include "model/network.h"

namespace qvr {

namespace {

bool IsBarren(const RelevanceNode& record) {
  return record.evidence < 0 && !record.target && record.mark != kMarkBarren && record.liveChildren == 0;
}

// Slices a record's table at the outcomes of all its observed parents at once.
int CutObservedParents(RelevanceGraph& graph, RelevanceNode& record) {
  const QVR_Dmatrix* table = TableOf(record);
  if (table == nullptr) {
    return QVR_OUT_OF_MEMORY;
  }
  graph.pattern.Flush();
  for (const RelevanceNode* parent : record.parents) {
    graph.pattern.Add(parent->evidence);
  }
  graph.pattern.Add(-1);
  if (const int status = table->ReduceByPattern(graph.pattern, graph.reduced); status < 0) {
    return QVR_OUT_OF_MEMORY;
  }
  MakeOwnTable(record).Swap(graph.reduced);
  for (int place = static_cast<int>(record.parents.size()) - 1; place >= 0; --place) {
    if (record.parents[static_cast<std::size_t>(place)]->evidence >= 0) {
      RemoveParentAt(record, place);
    }
  }
  return QVR_OKAY;
}

bool IsAbsorbableRoot(const RelevanceNode& record) {
  return record.evidence < 0 && !record.target && record.mark != kMarkAbsorbed && record.parents.empty() &&
         record.liveChildren == 1;
}

RelevanceNode* OnlyChild(const RelevanceNode& record) {
  for (RelevanceNode* child : record.children) {
    if (PlaceOfParent(*child, &record) >= 0) {
      return child;
    }
  }
  return nullptr;
}

// Sums the root out of its child's table, weighted by its own.
int AbsorbRoot(RelevanceGraph& graph, RelevanceNode& root, RelevanceNode& child) {
  const QVR_Dmatrix* weights = TableOf(root);
  const QVR_Dmatrix* table = TableOf(child);
  if (weights == nullptr || table == nullptr) {
    return QVR_OUT_OF_MEMORY;
  }
  const int place = PlaceOfParent(child, &root);
  if (table->SumOutWeighted(place, weights->GetItems(), graph.reduced) < 0) {
    return QVR_OUT_OF_MEMORY;
  }
  MakeOwnTable(child).Swap(graph.reduced);
  root.mark = kMarkAbsorbed;
  RemoveParentAt(child, place);
  root.children = {};
  return QVR_OKAY;
}

void SpreadNumber(RelevanceGraph& graph, RelevanceNode& start, int number) {
  start.mark = number;
  graph.stack.assign(1, &start);
  while (!graph.stack.empty()) {
    const RelevanceNode& record = *graph.stack.back();
    graph.stack.pop_back();
    for (const std::span<RelevanceNode*> neighbours : {record.children, record.parents}) {
      for (RelevanceNode* neighbour : neighbours) {
        if (neighbour->mark == kMarkNone) {
          neighbour->mark = number;
          graph.stack.push_back(neighbour);
        }
      }
    }
  }
}

// Numbers from 1 in the order of the first target of each; records of no component are dropped.
int NumberComponents(RelevanceGraph& graph) {
  for (RelevanceNode* record : graph.nodes) {
    record->mark = kMarkNone;
  }
  int number = 0;
  for (RelevanceNode* record : graph.nodes) {
    if (record->node != nullptr && record->target && record->mark == kMarkNone) {
      SpreadNumber(graph, *record, ++number);
    }
  }
  DropMarked(graph, kMarkNone);
  return number;
}

// Groups the records by component, keeping their order.
void SplitComponents(RelevanceGraph& graph, int count, std::vector<RelevanceComponent>& components) {
  std::vector<std::size_t> start(static_cast<std::size_t>(count) + 2, 0);
  for (const RelevanceNode* record : graph.nodes) {
    ++start[static_cast<std::size_t>(record->mark) + 1];
  }
  for (std::size_t i = 1; i < start.size(); ++i) {
    start[i] += start[i - 1];
  }
  components.resize(static_cast<std::size_t>(count));
  graph.componentNodes.resize(graph.nodes.size());
  for (std::size_t i = 0; i < components.size(); ++i) {
    components[i] = {{graph.componentNodes.data() + start[i + 1], start[i + 2] - start[i + 1]}, 0};
  }
  std::vector<std::size_t> next = start;
  for (RelevanceNode* record : graph.nodes) {
    const auto number = static_cast<std::size_t>(record->mark);
    record->position = static_cast<int>(next[number] - start[number]);
    graph.componentNodes[next[number]++] = record;
    components[number - 1].evidenceCount += record->evidence >= 0 ? 1 : 0;
  }
}

// A lone observed record is its own answer.
void AnswerObservedSingles(std::vector<RelevanceComponent>& components) {
  const auto answered = [](const RelevanceComponent& component) {
    if (component.nodes.size() != 1 || component.nodes[0]->evidence < 0) {
      return false;
    }
    ApplyEvidenceToValue(*component.nodes[0], component.nodes[0]->evidence);
    return true;
  };
  std::erase_if(components, answered);
}

int FetchTables(const std::vector<RelevanceComponent>& components) {
  for (const RelevanceComponent& component : components) {
    for (RelevanceNode* record : component.nodes) {
      if (TableOf(*record) == nullptr) {
        return QVR_OUT_OF_MEMORY;
      }
    }
  }
  return QVR_OKAY;
}

}  // namespace

ComponentList::ComponentList() : graph(std::make_unique<ThreadScratch<RelevanceGraph>>()) {}

ComponentList::~ComponentList() {
  RelevanceGraph& records = **graph;
  for (std::size_t i = 0; i < records.recordCount; ++i) {
    if (records.records[i].ownTable.GetNumDimensions() > 0) {
      records.records[i].ownTable.CleanUp();
    }
  }
}

void RemoveBarren(RelevanceGraph& graph) {
  for (RelevanceNode* start : graph.nodes) {
    if (!IsBarren(*start)) {
      continue;
    }
    start->mark = kMarkBarren;
    graph.stack.assign(1, start);
    while (!graph.stack.empty()) {
      RelevanceNode& record = *graph.stack.back();
      graph.stack.pop_back();
      for (RelevanceNode* parent : record.parents) {
        --parent->liveChildren;
        if (IsBarren(*parent)) {
          parent->mark = kMarkBarren;
          graph.stack.push_back(parent);
        }
      }
      record.parents = {};
    }
  }
}

void DropMarked(RelevanceGraph& graph, int mark) {
  std::erase_if(graph.nodes, [mark](const RelevanceNode* record) { return record->mark == mark; });
}

void CompactChildren(RelevanceGraph& graph) {
  for (RelevanceNode* record : graph.nodes) {
    const auto lost = [record](const RelevanceNode* child) { return PlaceOfParent(*child, record) < 0; };
    const auto kept = std::remove_if(record->children.begin(), record->children.end(), lost);
    record->children = record->children.first(static_cast<std::size_t>(kept - record->children.begin()));
  }
}

int CutEvidenceArcs(RelevanceGraph& graph) {
  for (RelevanceNode* record : graph.nodes) {
    const auto observed = [](const RelevanceNode* parent) { return parent->evidence >= 0; };
    if (std::any_of(record->parents.begin(), record->parents.end(), observed)) {
      if (const int status = CutObservedParents(graph, *record); status < 0) {
        return status;
      }
    }
  }
  return QVR_OKAY;
}

int AbsorbRoots(RelevanceGraph& graph) {
  for (RelevanceNode* start : graph.nodes) {
    // A chain of roots folds down: the child may be the next root.
    for (RelevanceNode* root = start; IsAbsorbableRoot(*root);) {
      RelevanceNode* child = OnlyChild(*root);
      if (const int status = AbsorbRoot(graph, *root, *child); status < 0) {
        return status;
      }
      root = child;
    }
  }
  return QVR_OKAY;
}

int RelevanceReduce(QVR_network& network, bool absorbRoots, bool useDeterminism, ComponentList& out) {
  RelevanceGraph& graph = **out.graph;
  out.components.clear();
  if (network.GetNumberOfNodes() == 0 || !BuildGraph(network, useDeterminism, graph)) {
    return QVR_OKAY;
  }
  if (const int status = SplitNoisyMaxNodes(network, graph); status < 0) {
    return status;
  }
  RemoveBarren(graph);
  if (useDeterminism) {
    if (const int status = SpreadDeterminism(graph); status < 0) {
      return status;
    }
    RemoveBarren(graph);
  }
  DropMarked(graph, kMarkBarren);
  if (const int status = CutEvidenceArcs(graph); status < 0) {
    return status;
  }
  if (absorbRoots) {
    if (const int status = AbsorbRoots(graph); status < 0) {
      return status;
    }
    DropMarked(graph, kMarkAbsorbed);
  }
  CompactChildren(graph);
  SplitComponents(graph, NumberComponents(graph), out.components);
  AnswerObservedSingles(out.components);
  return FetchTables(out.components);
}

void SortTopologically(std::span<RelevanceNode* const> starts, std::vector<RelevanceNode*>& out) {
  for (RelevanceNode* record : starts) {
    record->mark = kMarkNone;
  }
  out.clear();
  std::vector<std::pair<RelevanceNode*, std::size_t>> path;  // a record and its next parent to visit
  for (RelevanceNode* start : starts) {
    if (start->mark == kMarkSorted) {
      continue;
    }
    path.emplace_back(start, 0);
    while (!path.empty()) {
      auto& [record, next] = path.back();
      if (next < record->parents.size()) {
        RelevanceNode* parent = record->parents[next++];
        if (parent->mark != kMarkSorted) {
          path.emplace_back(parent, 0);
        }
      } else {
        record->mark = kMarkSorted;
        out.push_back(record);
        path.pop_back();
      }
    }
  }
}

}  // namespace qvr
