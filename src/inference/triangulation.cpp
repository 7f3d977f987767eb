// Simplicial nodes go first, since they cost no fill-in; then, one at a time, the node whose clique table
// is smallest (Kjaerulff 1990), the lowest position winning ties. Neither search walks the whole graph:
// only nodes whose neighbourhood changed are looked at again.
#include "inference/triangulation.h"

#include <algorithm>
#include <functional>

#include "inference/thread_scratch.h"
#include "inference/triangulation_graph.h"

namespace qvr {

namespace {

// Positions that wait for a simplicial test, in two walks over the graph in position order: the present
// one, and the next for positions that the present one has passed.
class SimplicialQueue {
 public:
  void Start(int nodeCount) {
    queued.assign(static_cast<std::size_t>(nodeCount), 1);
    present.resize(static_cast<std::size_t>(nodeCount));
    for (int node = 0; node < nodeCount; ++node) {
      present[static_cast<std::size_t>(node)] = node;  // ascending, hence a heap
    }
    next.clear();
    cursor = -1;
  }
  // A walk begins anew at the first position.
  void Rewind() {
    for (const int node : next) {
      Push(present, node);
    }
    next.clear();
    cursor = -1;
  }
  void Add(const std::vector<int>& nodes) {
    for (const int node : nodes) {
      if (queued[static_cast<std::size_t>(node)] == 0) {
        queued[static_cast<std::size_t>(node)] = 1;
        Push(node > cursor ? present : next, node);
      }
    }
  }
  // The next position to test, or -1 when no walk has any left.
  int Take() {
    if (present.empty()) {
      present.swap(next);
    }
    if (present.empty()) {
      return -1;
    }
    std::pop_heap(present.begin(), present.end(), std::greater<>());
    cursor = present.back();
    present.pop_back();
    queued[static_cast<std::size_t>(cursor)] = 0;
    return cursor;
  }

 private:
  static void Push(std::vector<int>& heap, int node) {
    heap.push_back(node);
    std::push_heap(heap.begin(), heap.end(), std::greater<>());
  }

  std::vector<int> present;  // heaps, the lowest position on top
  std::vector<int> next;
  std::vector<char> queued;
  int cursor = -1;
};

// Candidates by (clique size, position). Entries grow stale when a size changes; they are passed over
// when they come up.
class SizeQueue {
 public:
  void Start(int nodeCount) {
    heap.clear();
    lastAdded.assign(static_cast<std::size_t>(nodeCount), 0);
  }
  void Add(TriangulationGraph& graph, const std::vector<int>& nodes) {
    for (const int node : nodes) {
      const std::int64_t size = graph.IsEliminated(node) ? 0 : graph.CliqueSizeOf(node);
      if (size != 0 && size != lastAdded[static_cast<std::size_t>(node)]) {
        lastAdded[static_cast<std::size_t>(node)] = size;
        heap.emplace_back(size, node);
        std::push_heap(heap.begin(), heap.end(), std::greater<>());
      }
    }
  }
  // The node with the smallest clique, or -1 when all are too large.
  int Take(TriangulationGraph& graph) {
    while (!heap.empty()) {
      const auto [size, node] = heap.front();
      std::pop_heap(heap.begin(), heap.end(), std::greater<>());
      heap.pop_back();
      if (lastAdded[static_cast<std::size_t>(node)] == size) {
        lastAdded[static_cast<std::size_t>(node)] = 0;
      }
      if (!graph.IsEliminated(node) && graph.CliqueSizeOf(node) == size) {
        return node;
      }
    }
    return -1;
  }

 private:
  std::vector<std::pair<std::int64_t, int>> heap;
  std::vector<std::int64_t> lastAdded;  // the size of the node's newest entry, 0 when it is gone
};

class Triangulator {
 public:
  bool Run(const ComponentShape& shape, std::int64_t sizeLimit, EliminationCliques& cliques);

 private:
  bool EliminateSimplicial(EliminationCliques& cliques);
  bool EliminateSmallest(EliminationCliques& cliques);
  bool MakeClique(int node, std::int64_t size, EliminationCliques& cliques);
  void QueueTightened();

  TriangulationGraph graph;
  SimplicialQueue simplicial;
  SizeQueue sizes;
  std::vector<int> formerNeighbours;
  std::vector<int> absorbedNeighbours;
  int eliminatedCount = 0;
  std::int64_t totalSize = 0;
};

void Triangulator::QueueTightened() {
  simplicial.Add(graph.tightened);
  graph.tightened.clear();
}

// A neighbour that has no neighbour outside the clique is eliminated with the node and makes no clique of
// its own.
bool Triangulator::MakeClique(int node, std::int64_t size, EliminationCliques& cliques) {
  graph.Eliminate(node, formerNeighbours);
  ++eliminatedCount;
  cliques.members.push_back(node);
  bool fits = true;
  int memberCount = 1;
  int remaining = static_cast<int>(formerNeighbours.size()) - 1;
  for (std::size_t i = formerNeighbours.size(); i-- > 0;) {
    const int neighbour = formerNeighbours[i];
    if (memberCount == kMaxCliqueMembers) {
      fits = false;
      break;
    }
    ++memberCount;
    cliques.members.push_back(neighbour);
    if (remaining == graph.Degree(neighbour)) {
      graph.Eliminate(neighbour, absorbedNeighbours);
      ++eliminatedCount;
      --remaining;
    } else {
      cliques.separators.push_back(neighbour);
    }
  }
  cliques.memberStart.push_back(static_cast<int>(cliques.members.size()));
  cliques.separatorStart.push_back(static_cast<int>(cliques.separators.size()));
  cliques.tableSize.push_back(size);
  totalSize += size;
  QueueTightened();
  return fits;
}

bool Triangulator::EliminateSimplicial(EliminationCliques& cliques) {
  simplicial.Rewind();
  for (int node = simplicial.Take(); node >= 0; node = simplicial.Take()) {
    if (graph.IsEliminated(node) || !graph.IsSimplicial(node)) {
      continue;
    }
    const std::int64_t size = graph.CliqueSizeOf(node);
    if (size == 0 || !MakeClique(node, size, cliques)) {
      return false;
    }
  }
  return true;
}

bool Triangulator::EliminateSmallest(EliminationCliques& cliques) {
  sizes.Add(graph, graph.resized);
  graph.resized.clear();
  const int node = sizes.Take(graph);
  if (node < 0) {
    return false;
  }
  const std::int64_t size = graph.CliqueSizeOf(node);
  const std::vector<int>& row = graph.Neighbours(node);
  for (std::size_t i = row.size(); i-- > 0;) {
    for (std::size_t j = i + 1; j < row.size(); ++j) {
      graph.AddEdge(row[i], row[j]);
    }
  }
  QueueTightened();
  return MakeClique(node, size, cliques);
}

bool Triangulator::Run(const ComponentShape& shape, std::int64_t sizeLimit, EliminationCliques& cliques) {
  graph.Build(shape);
  simplicial.Start(graph.NodeCount());
  sizes.Start(graph.NodeCount());
  eliminatedCount = 0;
  totalSize = 0;
  cliques.Clear();
  while (eliminatedCount < graph.NodeCount()) {
    if (!EliminateSimplicial(cliques)) {
      return false;
    }
    if (eliminatedCount < graph.NodeCount() && (!EliminateSmallest(cliques) || totalSize > sizeLimit)) {
      return false;
    }
  }
  return totalSize <= sizeLimit;
}

}  // namespace

void EliminationCliques::Clear() {
  memberStart.assign(1, 0);
  members.clear();
  separatorStart.assign(1, 0);
  separators.clear();
  tableSize.clear();
}

bool Triangulate(const ComponentShape& shape, std::int64_t sizeLimit, EliminationCliques& out) {
  const ThreadScratch<Triangulator> triangulator;
  return triangulator->Run(shape, sizeLimit, out);
}

}  // namespace qvr
