// The next node is one whose elimination joins the fewest pairs of neighbours (Kjaerulff 1990). The number
// of missing arcs among a node's neighbours is kept up to date by every arc added and every node removed,
// so that a hub of a hundred thousand leaves isn't counted anew with each of them. The heap, though, learns
// of a change only when the node was a neighbour of the one eliminated.
#include "inference/min_fill.h"

#include <algorithm>
#include <limits>

namespace qvr {
namespace {

constexpr std::int64_t kLargest = std::numeric_limits<std::int64_t>::max();

// A set of undirected pairs of positions, by open addressing.
class PairSet {
 public:
  explicit PairSet(std::size_t expected) { Rehash(expected); }

  bool Insert(int a, int b) {
    if (2 * (count + 1) > keys.size()) {
      Rehash(keys.size());
    }
    std::uint64_t& slot = keys[SlotOf(Key(a, b))];
    if (slot != kFree) {
      return false;
    }
    slot = Key(a, b);
    ++count;
    return true;
  }

  [[nodiscard]] bool Contains(int a, int b) const { return keys[SlotOf(Key(a, b))] != kFree; }

 private:
  static constexpr std::uint64_t kFree = ~std::uint64_t{0};

  static std::uint64_t Key(int a, int b) {
    const auto [low, high] = std::minmax(a, b);
    return static_cast<std::uint64_t>(low) << 32 | static_cast<std::uint64_t>(high);
  }

  // Where the key stands, or the free place where it would.
  [[nodiscard]] std::size_t SlotOf(std::uint64_t key) const {
    const std::size_t mask = keys.size() - 1;
    const std::uint64_t mixed = (key ^ key >> 29) * 0x9E3779B97F4A7C15U;
    std::size_t slot = static_cast<std::size_t>(mixed >> 32) & mask;
    while (keys[slot] != kFree && keys[slot] != key) {
      slot = (slot + 1) & mask;
    }
    return slot;
  }

  // To at least four times the number given, which keeps it at most half full.
  void Rehash(std::size_t number) {
    std::size_t size = 16;
    while (size < 4 * number) {
      size *= 2;
    }
    std::vector<std::uint64_t> old(size, kFree);
    old.swap(keys);
    for (const std::uint64_t key : old) {
      if (key != kFree) {
        keys[SlotOf(key)] = key;
      }
    }
  }

  std::vector<std::uint64_t> keys;
  std::size_t count = 0;
};

struct FillKey {
  std::int64_t fillCount;
  std::int64_t tableSize;
};

bool operator<(const FillKey& a, const FillKey& b) {
  return a.fillCount != b.fillCount ? a.fillCount < b.fillCount : a.tableSize < b.tableSize;
}

// The part of the graph not yet eliminated. Lists may still name eliminated nodes, which go when a walk
// meets them.
class FillGraph {
 public:
  explicit FillGraph(const ComponentShape& newShape);

  // Nothing if they are connected already.
  void Connect(int a, int b);
  // The node's neighbours have to be connected with each other.
  void Remove(int node, std::span<const int> neighbours);
  void CopyNeighbours(int node, std::vector<int>& out);  // ascending
  [[nodiscard]] FillKey KeyOf(int node);

 private:
  struct EliminationNode {
    // The new neighbour is connected with `common` of those present.
    void Add(int neighbour, int common) {
      missing += degree++ - common;
      neighbours.push_back(neighbour);
    }

    std::vector<int> neighbours;
    std::int64_t missing = 0;  // pairs of neighbours that aren't connected
    int degree = 0;
    bool eliminated = false;
  };

  EliminationNode& NodeOf(int node) { return nodes[static_cast<std::size_t>(node)]; }
  // True if the entry named an eliminated node; another entry has taken its place then.
  bool DropIfEliminated(EliminationNode& record, std::size_t place) {
    if (!NodeOf(record.neighbours[place]).eliminated) {
      return false;
    }
    record.neighbours[place] = record.neighbours.back();
    record.neighbours.pop_back();
    return true;
  }
  std::int64_t TableSize(int node);

  const ComponentShape& shape;
  std::vector<EliminationNode> nodes;
  PairSet arcs;
};

FillGraph::FillGraph(const ComponentShape& newShape)
    : shape(newShape), nodes(newShape.outcomeCounts.size()), arcs(newShape.parents.size()) {
  for (int node = 0; node < shape.NodeCount(); ++node) {
    const std::span<const int> parents = shape.ParentsOf(node);
    for (std::size_t i = 0; i < parents.size(); ++i) {
      Connect(node, parents[i]);
      for (std::size_t j = i + 1; j < parents.size(); ++j) {
        Connect(parents[i], parents[j]);
      }
    }
  }
}

void FillGraph::Connect(int a, int b) {
  if (!arcs.Insert(a, b)) {
    return;
  }
  const bool walkA = NodeOf(a).neighbours.size() <= NodeOf(b).neighbours.size();
  EliminationNode& walked = NodeOf(walkA ? a : b);
  const int other = walkA ? b : a;
  int common = 0;
  for (std::size_t i = 0; i < walked.neighbours.size();) {
    if (DropIfEliminated(walked, i)) {
      continue;
    }
    const int neighbour = walked.neighbours[i++];
    if (arcs.Contains(neighbour, other)) {
      --NodeOf(neighbour).missing;
      ++common;
    }
  }
  NodeOf(a).Add(b, common);
  NodeOf(b).Add(a, common);
}

void FillGraph::Remove(int node, std::span<const int> neighbours) {
  const int degree = NodeOf(node).degree;
  for (const int neighbour : neighbours) {
    EliminationNode& record = NodeOf(neighbour);
    record.missing -= record.degree-- - degree;
  }
  NodeOf(node).eliminated = true;
  NodeOf(node).neighbours = {};
}

void FillGraph::CopyNeighbours(int node, std::vector<int>& out) {
  EliminationNode& record = NodeOf(node);
  for (std::size_t i = 0; i < record.neighbours.size();) {
    i += DropIfEliminated(record, i) ? 0 : 1;
  }
  out.assign(record.neighbours.begin(), record.neighbours.end());
  std::sort(out.begin(), out.end());
}

std::int64_t FillGraph::TableSize(int node) {
  EliminationNode& record = NodeOf(node);
  std::int64_t size = shape.outcomeCounts[static_cast<std::size_t>(node)];
  for (std::size_t i = 0; i < record.neighbours.size() && size < kLargest;) {
    if (!DropIfEliminated(record, i)) {
      const auto neighbour = static_cast<std::size_t>(record.neighbours[i++]);
      size = SaturatingProduct(size, shape.outcomeCounts[neighbour]);
    }
  }
  return size;
}

FillKey FillGraph::KeyOf(int node) {
  const EliminationNode& record = NodeOf(node);
  return {record.degree == 0 ? kLargest : record.missing, TableSize(node)};
}

// A binary heap of nodes, smallest key first.
class EliminationHeap {
 public:
  explicit EliminationHeap(std::vector<FillKey> newKeys);

  int Pop();
  void Update(int node, const FillKey& key);
  [[nodiscard]] const FillKey& KeyOf(int node) const { return keys[static_cast<std::size_t>(node)]; }

 private:
  [[nodiscard]] bool Before(std::size_t a, std::size_t b) const { return KeyOf(heap[a]) < KeyOf(heap[b]); }
  void Swap(std::size_t a, std::size_t b);
  std::size_t SiftDown(std::size_t place);
  void SiftUp(std::size_t place);

  std::vector<FillKey> keys;              // by node
  std::vector<std::size_t> heapPosition;  // by node
  std::vector<int> heap;
};

EliminationHeap::EliminationHeap(std::vector<FillKey> newKeys) : keys(std::move(newKeys)) {
  for (std::size_t i = 0; i < keys.size(); ++i) {
    heap.push_back(static_cast<int>(i));
    heapPosition.push_back(i);
  }
  for (std::size_t i = heap.size() / 2; i-- > 0;) {
    SiftDown(i);
  }
}

int EliminationHeap::Pop() {
  const int smallest = heap.front();
  Swap(0, heap.size() - 1);
  heap.pop_back();
  SiftDown(0);
  return smallest;
}

void EliminationHeap::Update(int node, const FillKey& key) {
  keys[static_cast<std::size_t>(node)] = key;
  SiftUp(SiftDown(heapPosition[static_cast<std::size_t>(node)]));
}

void EliminationHeap::Swap(std::size_t a, std::size_t b) {
  std::swap(heap[a], heap[b]);
  heapPosition[static_cast<std::size_t>(heap[a])] = a;
  heapPosition[static_cast<std::size_t>(heap[b])] = b;
}

// An equal left child goes before the right one, so that runs repeat.
std::size_t EliminationHeap::SiftDown(std::size_t from) {
  for (;;) {
    std::size_t child = 2 * from + 1;
    if (child + 1 < heap.size() && Before(child + 1, child)) {
      ++child;
    }
    if (child >= heap.size() || !Before(child, from)) {
      return from;
    }
    Swap(from, child);
    from = child;
  }
}

void EliminationHeap::SiftUp(std::size_t from) {
  while (from > 0 && Before(from, (from - 1) / 2)) {
    Swap(from, (from - 1) / 2);
    from = (from - 1) / 2;
  }
}

EliminationHeap MakeHeap(FillGraph& graph, int nodeCount) {
  std::vector<FillKey> keys;
  keys.reserve(static_cast<std::size_t>(nodeCount));
  for (int node = 0; node < nodeCount; ++node) {
    keys.push_back(graph.KeyOf(node));
  }
  return EliminationHeap(std::move(keys));
}

void Append(int node, std::span<const int> neighbours, MinFillElimination& out) {
  out.order.push_back(node);
  out.neighbours.insert(out.neighbours.end(), neighbours.begin(), neighbours.end());
  out.neighbourStart.push_back(static_cast<int>(out.neighbours.size()));
}

void ConnectAll(FillGraph& graph, std::span<const int> nodes) {
  for (std::size_t i = 0; i < nodes.size(); ++i) {
    for (std::size_t j = i + 1; j < nodes.size(); ++j) {
      graph.Connect(nodes[i], nodes[j]);
    }
  }
}

}  // namespace

std::int64_t SaturatingProduct(std::int64_t a, std::int64_t b) {
  return b != 0 && a > kLargest / b ? kLargest : a * b;
}

bool EliminateByMinFill(const ComponentShape& shape, std::int64_t limit, MinFillElimination& out) {
  FillGraph graph(shape);
  EliminationHeap heap = MakeHeap(graph, shape.NodeCount());
  out.order.clear();
  out.neighbours.clear();
  out.neighbourStart.assign(1, 0);
  std::vector<int> neighbours;
  for (int left = shape.NodeCount(); left > 1; --left) {
    const int node = heap.Pop();
    if (heap.KeyOf(node).tableSize > limit) {
      return false;
    }
    graph.CopyNeighbours(node, neighbours);
    ConnectAll(graph, neighbours);
    graph.Remove(node, neighbours);
    Append(node, neighbours, out);
    for (const int neighbour : neighbours) {
      heap.Update(neighbour, graph.KeyOf(neighbour));
    }
  }
  if (shape.NodeCount() > 0) {
    Append(heap.Pop(), {}, out);
  }
  return true;
}

}  // namespace qvr
