#include "inference/triangulation_graph.h"

#include <algorithm>

#include "inference/triangulation.h"

namespace qvr {

void TriangulationGraph::Build(const ComponentShape& shape) {
  nodeCount = shape.NodeCount();
  const std::size_t count = Index(nodeCount);
  if (rows.size() < count) {
    rows.resize(count);
  }
  std::for_each(rows.begin(), rows.begin() + nodeCount, [](std::vector<int>& row) { row.clear(); });
  ownSize.resize(count);
  for (std::size_t node = 0; node < count; ++node) {
    ownSize[node] = shape.observed[node] != 0 ? 1 : shape.outcomeCounts[node];
  }
  cliqueSize = ownSize;
  eliminated.assign(count, 0);
  resized.clear();
  tightened.clear();
  densePlace.clear();
  if (!sparsePlace.empty()) {
    sparsePlace = {};  // clear() would sweep the buckets of the largest component ever
  }
  if (nodeCount <= kDenseNodes) {
    densePlace.assign(count * count, 0);
  }
  for (int node = 0; node < nodeCount; ++node) {
    const std::span<const int> parents = shape.ParentsOf(node);
    for (const int parent : parents) {
      Link(node, parent);
    }
    for (std::size_t i = parents.size(); i-- > 0;) {
      for (std::size_t j = i + 1; j < parents.size(); ++j) {
        Link(parents[i], parents[j]);
      }
    }
  }
}

int TriangulationGraph::PlaceOf(int a, int b) const {
  if (nodeCount <= kDenseNodes) {
    return densePlace[Key(a, b)];
  }
  const auto found = sparsePlace.find(Key(a, b));
  return found == sparsePlace.end() ? 0 : found->second;
}

void TriangulationGraph::SetPlace(int a, int b, int place) {
  if (nodeCount <= kDenseNodes) {
    densePlace[Key(a, b)] = static_cast<std::uint16_t>(place);
  } else if (place == 0) {
    sparsePlace.erase(Key(a, b));
  } else {
    sparsePlace[Key(a, b)] = place;
  }
}

void TriangulationGraph::Append(int a, int b) {
  rows[Index(a)].push_back(b);
  SetPlace(a, b, Degree(a));
  const std::int64_t product = cliqueSize[Index(a)] * ownSize[Index(b)];
  cliqueSize[Index(a)] = product > kMaxCliqueEntries ? 0 : product;
  resized.push_back(a);
}

void TriangulationGraph::Link(int a, int b) {
  if (a != b && !AreAdjacent(a, b)) {
    Append(a, b);
    Append(b, a);
  }
}

void TriangulationGraph::AddEdge(int a, int b) {
  if (AreAdjacent(a, b)) {
    return;
  }
  const int shorter = Degree(a) < Degree(b) ? a : b;
  const int longer = shorter == a ? b : a;
  for (const int common : rows[Index(shorter)]) {
    if (AreAdjacent(longer, common)) {
      tightened.push_back(common);
    }
  }
  Link(a, b);
}

void TriangulationGraph::RemoveNeighbour(int a, int b) {
  std::vector<int>& row = rows[Index(a)];
  const int place = PlaceOf(a, b);
  const int last = row.back();
  row[Index(place - 1)] = last;
  SetPlace(a, last, place);
  SetPlace(a, b, 0);
  row.pop_back();
  cliqueSize[Index(a)] /= ownSize[Index(b)];
  resized.push_back(a);
  tightened.push_back(a);
}

void TriangulationGraph::Eliminate(int node, std::vector<int>& formerNeighbours) {
  formerNeighbours.swap(rows[Index(node)]);
  rows[Index(node)].clear();
  for (const int neighbour : formerNeighbours) {
    RemoveNeighbour(neighbour, node);
    SetPlace(node, neighbour, 0);
  }
  eliminated[Index(node)] = 1;
}

std::int64_t TriangulationGraph::CliqueSizeOf(int node) {
  std::int64_t& size = cliqueSize[Index(node)];
  if (size != 0) {
    return size;
  }
  const std::vector<int>& row = rows[Index(node)];
  std::int64_t product = ownSize[Index(node)];
  for (std::size_t i = row.size(); i-- > 0;) {
    product *= ownSize[Index(row[i])];
    if (product > kMaxCliqueEntries) {
      return 0;
    }
  }
  size = product;
  return size;
}

bool TriangulationGraph::IsSimplicial(int node) const {
  const std::vector<int>& row = rows[Index(node)];
  for (std::size_t i = row.size(); i-- > 1;) {
    for (std::size_t j = i; j-- > 0;) {
      if (!AreAdjacent(row[i], row[j])) {
        return false;
      }
    }
  }
  return true;
}

}  // namespace qvr
