// From elimination cliques to a tree: a clique's parent is the first later clique that holds its
// separator; a node's table goes to the smallest clique that holds the node with its parents, and its
// posterior comes from the smallest that holds it.
#include <algorithm>
#include <numeric>

#include "inference/join_tree_structure.h"
#include "inference/thread_scratch.h"

namespace qvr {

namespace {

class Compiler {
 public:
  bool Run(const ComponentShape& newShape, std::int64_t sizeLimit, JoinTreeStructure& newTree);

 private:
  void SortLists();
  void IndexCliques();
  void LinkParents();
  void SortCliques();
  void AssignTables();
  void ChoosePosteriors();
  void DropObserved(const IntLists& all, IntLists& live) const;
  void PlanTables();
  [[nodiscard]] std::span<const int> SizesOf(std::span<const int> nodes);
  TablePlan PlanTo(int clique, std::span<const int> nodes, std::span<const int> nodeStrides);
  TablePlan PlanToList(int clique, std::span<const int> nodes);
  [[nodiscard]] int RarestOf(std::span<const int> nodes) const;
  [[nodiscard]] int SmallestHolder(std::span<const int> nodes) const;
  [[nodiscard]] bool Holds(int clique, std::span<const int> ascendingNodes) const;

  const ComponentShape* shape = nullptr;
  JoinTreeStructure* tree = nullptr;
  EliminationCliques cliques;
  IntLists members;  // with the observed ones, ascending
  IntLists separators;
  IntLists cliquesOf;     // by node, in order of creation
  std::vector<int> rank;  // by clique: place in the sorted order
  std::vector<int> family;
  std::vector<int> strideOf;  // by node: stride in the small table being planned, 0 elsewhere
  std::vector<int> sizes;
  std::vector<int> strides;
};

void Compiler::SortLists() {
  members.start = cliques.memberStart;
  members.items = cliques.members;
  separators.start = cliques.separatorStart;
  separators.items = cliques.separators;
  for (IntLists* lists : {&members, &separators}) {
    for (int list = 0; list < lists->Count(); ++list) {
      std::sort(lists->items.begin() + lists->start[static_cast<std::size_t>(list)],
                lists->items.begin() + lists->start[static_cast<std::size_t>(list) + 1]);
    }
  }
}

// Turns lists of numbers below `count` inside out: for each number the lists that hold it, ascending.
void Invert(const IntLists& lists, int count, IntLists& out) {
  out.start.assign(static_cast<std::size_t>(count) + 1, 0);
  for (const int item : lists.items) {
    ++out.start[static_cast<std::size_t>(item) + 1];
  }
  std::partial_sum(out.start.begin(), out.start.end(), out.start.begin());
  out.items.resize(lists.items.size());
  for (int list = lists.Count() - 1; list >= 0; --list) {
    for (const int item : lists[list]) {
      out.items[static_cast<std::size_t>(--out.start[static_cast<std::size_t>(item) + 1])] = list;
    }
  }
  // The starts have moved down to where each list begins, one place too far up.
  out.start.erase(out.start.begin());
  out.start.push_back(static_cast<int>(out.items.size()));
}

void Compiler::IndexCliques() { Invert(members, shape->NodeCount(), cliquesOf); }

bool Compiler::Holds(int clique, std::span<const int> ascendingNodes) const {
  const std::span<const int> held = members[clique];
  return std::includes(held.begin(), held.end(), ascendingNodes.begin(), ascendingNodes.end());
}

int Compiler::RarestOf(std::span<const int> nodes) const {
  const auto rarer = [this](int a, int b) { return cliquesOf[a].size() < cliquesOf[b].size(); };
  return *std::min_element(nodes.begin(), nodes.end(), rarer);
}

void Compiler::LinkParents() {
  const int count = members.Count();
  tree->parent.assign(static_cast<std::size_t>(count), -1);
  for (int clique = 0; clique + 1 < count; ++clique) {
    const std::span<const int> separator = separators[clique];
    int& parent = tree->parent[static_cast<std::size_t>(clique)];
    if (separator.empty()) {
      parent = clique + 1;
      continue;
    }
    const std::span<const int> holders = cliquesOf[RarestOf(separator)];
    const auto later = std::upper_bound(holders.begin(), holders.end(), clique);
    const auto found =
        std::find_if(later, holders.end(), [&](int candidate) { return Holds(candidate, separator); });
    parent = found == holders.end() ? -1 : *found;
  }
  IntLists parents;
  parents.start.resize(static_cast<std::size_t>(count) + 1);
  for (int clique = 0; clique < count; ++clique) {
    parents.start[static_cast<std::size_t>(clique)] = static_cast<int>(parents.items.size());
    if (tree->parent[static_cast<std::size_t>(clique)] >= 0) {
      parents.items.push_back(tree->parent[static_cast<std::size_t>(clique)]);
    }
  }
  parents.start.back() = static_cast<int>(parents.items.size());
  Invert(parents, count, tree->children);
}

void Compiler::SortCliques() {
  const int count = members.Count();
  tree->tableSize = cliques.tableSize;
  tree->totalSize = std::accumulate(tree->tableSize.begin(), tree->tableSize.end(), std::int64_t{0});
  tree->sorted.resize(static_cast<std::size_t>(count));
  std::iota(tree->sorted.begin(), tree->sorted.end(), 0);
  const auto smaller = [this](int a, int b) {
    const std::int64_t sizeA = tree->tableSize[static_cast<std::size_t>(a)];
    const std::int64_t sizeB = tree->tableSize[static_cast<std::size_t>(b)];
    return sizeA != sizeB ? sizeA < sizeB : members[a].size() < members[b].size();
  };
  std::stable_sort(tree->sorted.begin(), tree->sorted.end(), smaller);
  rank.resize(static_cast<std::size_t>(count));
  for (int place = 0; place < count; ++place) {
    rank[static_cast<std::size_t>(tree->sorted[static_cast<std::size_t>(place)])] = place;
  }
}

// The first clique in sorted order that holds all these nodes.
int Compiler::SmallestHolder(std::span<const int> nodes) const {
  int best = -1;
  for (const int clique : cliquesOf[RarestOf(nodes)]) {
    const bool better =
        best < 0 || rank[static_cast<std::size_t>(clique)] < rank[static_cast<std::size_t>(best)];
    if (better && Holds(clique, nodes)) {
      best = clique;
    }
  }
  return best;
}

void Compiler::AssignTables() {
  IntLists takers;  // by node, one clique
  takers.Clear();
  for (int node = 0; node < shape->NodeCount(); ++node) {
    const std::span<const int> parents = shape->ParentsOf(node);
    family.assign(parents.begin(), parents.end());
    family.push_back(node);
    std::sort(family.begin(), family.end());
    takers.items.push_back(SmallestHolder(family));
    takers.Close();
  }
  Invert(takers, members.Count(), tree->assigned);
}

void Compiler::ChoosePosteriors() {
  IntLists sources;  // by node, one clique or none
  sources.Clear();
  for (int node = 0; node < shape->NodeCount(); ++node) {
    if (shape->observed[static_cast<std::size_t>(node)] == 0) {
      const int nodes[] = {node};
      sources.items.push_back(SmallestHolder(nodes));
    }
    sources.Close();
  }
  Invert(sources, members.Count(), tree->posteriors);
}

void Compiler::DropObserved(const IntLists& all, IntLists& live) const {
  live.Clear();
  for (int list = 0; list < all.Count(); ++list) {
    for (const int node : all[list]) {
      if (shape->observed[static_cast<std::size_t>(node)] == 0) {
        live.items.push_back(node);
      }
    }
    live.Close();
  }
}

std::span<const int> Compiler::SizesOf(std::span<const int> nodes) {
  sizes.clear();
  for (const int node : nodes) {
    sizes.push_back(shape->outcomeCounts[static_cast<std::size_t>(node)]);
  }
  return sizes;
}

// The plan from a clique's table to one whose dimensions are `nodes`, with these strides.
TablePlan Compiler::PlanTo(int clique, std::span<const int> nodes, std::span<const int> nodeStrides) {
  for (std::size_t i = 0; i < nodes.size(); ++i) {
    strideOf[static_cast<std::size_t>(nodes[i])] = nodeStrides[i];
  }
  const std::span<const int> cliqueNodes = tree->members[clique];
  strides.clear();
  for (const int node : cliqueNodes) {
    strides.push_back(strideOf[static_cast<std::size_t>(node)]);
  }
  for (const int node : nodes) {
    strideOf[static_cast<std::size_t>(node)] = 0;
  }
  return MakePlan(SizesOf(cliqueNodes), strides, tree->slabs[static_cast<std::size_t>(clique)], tree->arena);
}

// The same for a table over `nodes` in row-major order.
TablePlan Compiler::PlanToList(int clique, std::span<const int> nodes) {
  int listStrides[kMaxCliqueMembers + 1];
  int stride = 1;
  for (std::size_t i = nodes.size(); i-- > 0;) {
    listStrides[i] = stride;
    stride *= shape->outcomeCounts[static_cast<std::size_t>(nodes[i])];
  }
  return PlanTo(clique, nodes, {listStrides, nodes.size()});
}

void Compiler::PlanTables() {
  const int count = members.Count();
  tree->arena.numbers.clear();
  tree->slabs.clear();
  tree->separatorSize.clear();
  tree->assignedPlans.clear();
  tree->separatorPlans.clear();
  tree->parentPlans.clear();
  tree->posteriorPlans.clear();
  strideOf.assign(static_cast<std::size_t>(shape->NodeCount()), 0);
  for (int clique = 0; clique < count; ++clique) {
    tree->slabs.push_back(ChooseSlab(SizesOf(tree->members[clique])));
  }
  for (int clique = 0; clique < count; ++clique) {
    const std::span<const int> separator = tree->separators[clique];
    int size = 1;
    for (const int node : separator) {
      size *= shape->outcomeCounts[static_cast<std::size_t>(node)];
    }
    tree->separatorSize.push_back(size);
    const int parent = tree->parent[static_cast<std::size_t>(clique)];
    const bool sends = parent >= 0 && !separator.empty();
    tree->separatorPlans.push_back(sends ? PlanToList(clique, separator) : TablePlan{});
    tree->parentPlans.push_back(sends ? PlanToList(parent, separator) : TablePlan{});
    for (const int node : tree->assigned[clique]) {
      const std::span<const int> parents = shape->ParentsOf(node);
      family.assign(parents.begin(), parents.end());
      family.push_back(node);
      tree->assignedPlans.push_back(PlanToList(clique, family));
    }
    for (const int& node : tree->posteriors[clique]) {
      tree->posteriorPlans.push_back(PlanToList(clique, {&node, 1}));
    }
  }
}

bool Compiler::Run(const ComponentShape& newShape, std::int64_t sizeLimit, JoinTreeStructure& newTree) {
  shape = &newShape;
  tree = &newTree;
  if (!Triangulate(newShape, sizeLimit, cliques)) {
    return false;
  }
  SortLists();
  IndexCliques();
  LinkParents();
  SortCliques();
  AssignTables();
  ChoosePosteriors();
  DropObserved(members, tree->members);
  DropObserved(separators, tree->separators);
  PlanTables();
  return true;
}

}  // namespace

bool CompileJoinTree(const ComponentShape& shape, std::int64_t sizeLimit, JoinTreeStructure& out) {
  const ThreadScratch<Compiler> compiler;
  return compiler->Run(shape, sizeLimit, out);
}

}  // namespace qvr
