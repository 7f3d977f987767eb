// The moral graph while it is eliminated. Private to triangulation.
#ifndef QVR_INFERENCE_TRIANGULATION_GRAPH_H
#define QVR_INFERENCE_TRIANGULATION_GRAPH_H

#include <cstdint>
#include <unordered_map>
#include <vector>

#include "inference/component_shape.h"

namespace qvr {

// Neighbour lists keep the order in which edges came; a removed entry is replaced by the last. Lives in
// the scratch of a thread.
class TriangulationGraph {
 public:
  // The moral graph: every node joined with its parents, and these with each other.
  void Build(const ComponentShape& shape);

  [[nodiscard]] int NodeCount() const { return nodeCount; }
  [[nodiscard]] bool IsEliminated(int node) const { return eliminated[Index(node)] != 0; }
  [[nodiscard]] int Degree(int node) const { return static_cast<int>(rows[Index(node)].size()); }
  [[nodiscard]] const std::vector<int>& Neighbours(int node) const { return rows[Index(node)]; }
  [[nodiscard]] bool AreAdjacent(int a, int b) const { return PlaceOf(a, b) != 0; }
  // The entries of the clique that eliminating the node makes; 0 above kMaxCliqueEntries.
  [[nodiscard]] std::int64_t CliqueSizeOf(int node);
  [[nodiscard]] bool IsSimplicial(int node) const;

  // Nothing happens to an edge that is there.
  void AddEdge(int a, int b);
  // Takes the node out of its neighbours' lists; its own list moves to `formerNeighbours`.
  void Eliminate(int node, std::vector<int>& formerNeighbours);

  // Nodes whose clique size or whose neighbours' links changed since these were last cleared. May hold a
  // node more than once.
  std::vector<int> resized;
  std::vector<int> tightened;  // may have become simplicial

 private:
  // Up to here adjacency is one array read; above, memory must grow with edges.
  static constexpr int kDenseNodes = 4096;

  static std::size_t Index(int node) { return static_cast<std::size_t>(node); }
  [[nodiscard]] std::uint64_t Key(int a, int b) const {
    return static_cast<std::uint64_t>(a) * static_cast<std::uint64_t>(nodeCount) +
           static_cast<std::uint64_t>(b);
  }
  // 1 + the place of b among a's neighbours, 0 when it isn't one.
  [[nodiscard]] int PlaceOf(int a, int b) const;
  void SetPlace(int a, int b, int place);
  void Link(int a, int b);
  void Append(int a, int b);
  void RemoveNeighbour(int a, int b);

  int nodeCount = 0;
  std::vector<std::vector<int>> rows;    // at least nodeCount; the others idle
  std::vector<std::int64_t> ownSize;     // 1 for an observed node
  std::vector<std::int64_t> cliqueSize;  // kept up by products and quotients; 0 means unknown
  std::vector<char> eliminated;
  std::vector<std::uint16_t> densePlace;
  std::unordered_map<std::uint64_t, int> sparsePlace;
};

}  // namespace qvr

#endif
