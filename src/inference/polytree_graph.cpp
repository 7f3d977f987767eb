#include "inference/polytree_graph.h"

#include <cstddef>

#include "model/network.h"

namespace qvr {
namespace {

class PolyGraphBuilder {
 public:
  PolyGraphBuilder(QVR_network& newNetwork, PolyGraph& newGraph)
      : network(newNetwork),
        graph(newGraph),
        byHandle(static_cast<std::size_t>(newNetwork.GetTableSize()), nullptr) {}

  int Build();

 private:
  [[nodiscard]] int AddNode(int handle);
  [[nodiscard]] bool HasShapeOf(const PolyNode& record, const QVR_Dmatrix& table);
  void MakeRoom();
  std::span<double> TakeNumbers(const PolyNode& record);
  void LinkParents(PolyNode& record);
  [[nodiscard]] int LinkChildren(PolyNode& record);
  [[nodiscard]] PolyNode*& RecordOf(int handle) { return byHandle[static_cast<std::size_t>(handle)]; }

  QVR_network& network;
  PolyGraph& graph;
  std::vector<PolyNode*> byHandle;
  std::size_t numbersTaken = 0;
  std::vector<int> shape;
};

int PolyGraphBuilder::Build() {
  const QVR_intArray& order = network.GetTopologicalOrder();
  graph.nodes.reserve(static_cast<std::size_t>(order.GetNumItems()));  // links into it must not move
  for (const int handle : order) {
    if (const int status = AddNode(handle); status < 0) {
      return status;
    }
  }
  MakeRoom();
  for (PolyNode& record : graph.nodes) {
    LinkParents(record);
  }
  for (PolyNode& record : graph.nodes) {
    if (const int status = LinkChildren(record); status < 0) {
      return status;
    }
  }
  return QVR_OKAY;
}

int PolyGraphBuilder::AddNode(int handle) {
  QVR_node& node = *network.NodeAt(handle);
  QVR_Dmatrix* table = nullptr;
  if (!node.definition || !node.value || node.definition->GetMatrix(table) < 0 || table == nullptr) {
    return QVR_OUT_OF_RANGE;
  }
  PolyNode record{};
  record.node = &node;
  record.outcomeCount = node.GetNumberOfOutcomes();
  const int evidence = node.value->HasEvidence() ? node.value->GetEvidence() : -1;
  record.evidence = evidence >= 0 && evidence < record.outcomeCount ? evidence : -1;
  if (!HasShapeOf(record, *table)) {
    return QVR_OUT_OF_RANGE;
  }
  record.table = table->GetItems().Vector();
  graph.nodes.push_back(record);
  RecordOf(handle) = &graph.nodes.back();
  return QVR_OKAY;
}

// Whatever happened to the definition, no message may read past its table.
bool PolyGraphBuilder::HasShapeOf(const PolyNode& record, const QVR_Dmatrix& table) {
  shape.clear();
  for (const int parent : network.GetParents(record.node->handle)) {
    shape.push_back(RecordOf(parent)->outcomeCount);
  }
  shape.push_back(record.outcomeCount);
  return record.outcomeCount > 0 && table.HasShape(shape);
}

void PolyGraphBuilder::MakeRoom() {
  std::size_t linkCount = 0;
  std::size_t numberCount = 0;
  for (const PolyNode& record : graph.nodes) {
    const int handle = record.node->handle;
    const QVR_intArray& parents = network.GetParents(handle);
    linkCount += static_cast<std::size_t>(parents.GetNumItems() + network.GetNumberOfChildren(handle));
    numberCount += 2 * static_cast<std::size_t>(record.outcomeCount);  // lambda and pi
    for (const int parent : parents) {                                 // two messages along each arc
      numberCount += 2 * static_cast<std::size_t>(RecordOf(parent)->outcomeCount);
    }
  }
  graph.links.reserve(linkCount);  // spans into it must not move
  graph.numbers.assign(numberCount, 1.0);
}

std::span<double> PolyGraphBuilder::TakeNumbers(const PolyNode& record) {
  const auto count = static_cast<std::size_t>(record.outcomeCount);
  const std::span<double> taken = std::span(graph.numbers).subspan(numbersTaken, count);
  numbersTaken += count;
  return taken;
}

void PolyGraphBuilder::LinkParents(PolyNode& record) {
  record.lambda = TakeNumbers(record);
  record.pi = TakeNumbers(record);
  const std::size_t start = graph.links.size();
  for (const int handle : network.GetParents(record.node->handle)) {
    PolyNode* parent = RecordOf(handle);
    graph.links.push_back({parent, TakeNumbers(*parent), TakeNumbers(*parent)});
  }
  record.parents = std::span(graph.links).subspan(start);
}

int PolyGraphBuilder::LinkChildren(PolyNode& record) {
  const std::size_t start = graph.links.size();
  for (const int handle : network.GetChildren(record.node->handle)) {
    const int place = network.GetParents(handle).Find(record.node->handle);
    if (place < 0) {
      return QVR_ERROR_3;
    }
    PolyNode* child = RecordOf(handle);
    const PolyLink& seenByChild = child->parents[static_cast<std::size_t>(place)];
    graph.links.push_back({child, seenByChild.piMessage, seenByChild.lambdaMessage});
  }
  record.children = std::span(graph.links).subspan(start);
  return QVR_OKAY;
}

}  // namespace

int BuildPolyGraph(QVR_network& network, PolyGraph& graph) {
  return PolyGraphBuilder(network, graph).Build();
}

}  // namespace qvr
