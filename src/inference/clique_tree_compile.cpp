// The maximum spanning tree over all pairs of cliques, found without making the pairs.
//
// Elimination yields some join tree at once: each node hangs below the neighbour eliminated next after it,
// and a node whose clique lies in that of a child shares the child's. All maximum spanning trees of the
// clique graph have the same separators (Jensen and Jensen 1994), so that only ties are left to settle.
// Two cliques with separator S can be joined by any pair of cliques that hold S, one from either side. Ties
// go to the smaller sum of table sizes, then to the cliques made first. So among the cliques that hold S,
// grouped into those that larger separators join already, the best clique of every group is joined with the
// best clique of all.
#include <algorithm>
#include <numeric>
#include <tuple>

#include "inference/clique_tree.h"
#include "inference/min_fill.h"

namespace qvr {
namespace {

constexpr std::int64_t kMaxEntries = 0x10000000;  // in all clique tables of a component

// A set of positions, with a bit for each residue so that most sets that don't hold another show at once.
struct PositionSet {
  std::span<const int> positions;  // ascending
  std::uint64_t residues = 0;

  explicit PositionSet(std::span<const int> newPositions) : positions(newPositions) {
    for (const int position : positions) {
      residues |= std::uint64_t{1} << (static_cast<unsigned>(position) % 64);
    }
  }
  [[nodiscard]] bool Contains(const PositionSet& other) const {
    return (other.residues & ~residues) == 0 &&
           std::includes(positions.begin(), positions.end(), other.positions.begin(), other.positions.end());
  }
};

// Two cliques, by place of creation, and what they share.
struct CliquePair {
  int a;
  int b;
  PositionSet separator;
  std::int64_t costSum = 0;  // of the table sizes
};

// The order in which a spanning tree takes pairs.
bool IsPreferred(const CliquePair& x, const CliquePair& y) {
  if (x.separator.positions.size() != y.separator.positions.size()) {
    return x.separator.positions.size() > y.separator.positions.size();
  }
  return std::tie(x.costSum, x.a, x.b) < std::tie(y.costSum, y.a, y.b);
}

bool HasSmallerVariables(const CliquePair& x, const CliquePair& y) {
  const std::span<const int> a = x.separator.positions;
  const std::span<const int> b = y.separator.positions;
  return std::lexicographical_compare(a.begin(), a.end(), b.begin(), b.end());
}

// The numbers of the pairs that each clique is in, ascending.
class PairLists {
 public:
  PairLists(std::span<const CliquePair> pairs, std::size_t cliqueCount)
      : start(cliqueCount + 2), numbers(2 * pairs.size()) {
    for (const CliquePair& pair : pairs) {
      ++start[static_cast<std::size_t>(pair.a) + 2];
      ++start[static_cast<std::size_t>(pair.b) + 2];
    }
    std::partial_sum(start.begin(), start.end(), start.begin());
    for (std::size_t i = 0; i < pairs.size(); ++i) {
      for (const int clique : {pairs[i].a, pairs[i].b}) {
        const std::size_t next = start[static_cast<std::size_t>(clique) + 1]++;
        numbers[next] = static_cast<int>(i);
      }
    }
  }
  [[nodiscard]] std::span<const int> Of(int clique) const {
    const auto at = static_cast<std::size_t>(clique);
    return {numbers.data() + start[at], numbers.data() + start[at + 1]};
  }

 private:
  std::vector<std::size_t> start;
  std::vector<int> numbers;
};

class CliqueTreeCompiler {
 public:
  CliqueTreeCompiler(const ComponentShape& newShape, CliqueTreeLayout& newLayout)
      : shape(newShape), layout(newLayout) {}

  bool Run();

 private:
  struct Step {
    int clique;
    int cameBy;  // a link, or -1
    int group;
  };

  [[nodiscard]] std::vector<int> EliminationParents() const;
  [[nodiscard]] bool MakeCliques(std::span<const int> parents);
  void MakeClique(int place);
  void MakeLinks(std::span<const int> parents);
  void SpanCliques();
  void SpanSeparator(const PositionSet& separator, int firstClique, const PairLists& linksOf);
  void JoinGroups(const PositionSet& separator);
  void AssignTables();
  [[nodiscard]] bool HoldsFamily(int node, int clique) const;
  void OrderForVisiting();
  void VisitFrom(int root, const PairLists& edgesOf);
  void Visit(int clique, int parentSeparator);
  void AddSeparator(const CliquePair& edge, int parent);
  void MoveSeparatorLast(const TreeClique& clique);

  [[nodiscard]] const TreeClique& Created(int clique) const {
    return created[static_cast<std::size_t>(clique)];
  }
  [[nodiscard]] std::span<const int> MembersOf(int clique) const {
    return std::span(members).subspan(static_cast<std::size_t>(Created(clique).memberStart),
                                      static_cast<std::size_t>(Created(clique).memberCount));
  }
  // By table, ties in the order of creation.
  [[nodiscard]] bool IsSmaller(int a, int b) const {
    return std::tie(Created(a).tableSize, a) < std::tie(Created(b).tableSize, b);
  }
  int& VisitOf(int clique) { return visited[static_cast<std::size_t>(clique)]; }

  const ComponentShape& shape;
  CliqueTreeLayout& layout;
  MinFillElimination elimination;
  std::vector<TreeClique> created;  // in the order of creation
  std::vector<int> members;         // theirs, ascending in each
  std::vector<int> home;            // by place of elimination: the clique that holds node and neighbours
  std::vector<CliquePair> links;    // the elimination's own join tree
  std::vector<CliquePair> edges;    // the spanning tree
  std::vector<int> bySize;          // cliques, the smallest first
  std::vector<int> lastClique;      // by position: the clique met last that holds it
  std::vector<int> visited;         // place in the layout by place of creation, -1 before the visit
  std::vector<int> queue;           // cliques in the order of visiting
  std::vector<Step> stack;
  std::vector<int> bestOfGroup;
};

bool CliqueTreeCompiler::Run() {
  if (!EliminateByMinFill(shape, kMaxEntries, elimination)) {
    return false;
  }
  const std::vector<int> parents = EliminationParents();
  if (!MakeCliques(parents)) {
    return false;
  }
  MakeLinks(parents);
  SpanCliques();
  AssignTables();
  OrderForVisiting();
  return true;
}

// By place of elimination: the place of the neighbour eliminated next, -1 for a node that had none.
std::vector<int> CliqueTreeCompiler::EliminationParents() const {
  const std::size_t count = elimination.order.size();
  std::vector<int> placeOf(count);
  for (std::size_t place = 0; place < count; ++place) {
    placeOf[static_cast<std::size_t>(elimination.order[place])] = static_cast<int>(place);
  }
  std::vector<int> parents(count, -1);
  for (std::size_t place = 0; place < count; ++place) {
    for (const int neighbour : elimination.NeighboursAt(static_cast<int>(place))) {
      const int candidate = placeOf[static_cast<std::size_t>(neighbour)];
      parents[place] = parents[place] < 0 ? candidate : std::min(parents[place], candidate);
    }
  }
  return parents;
}

// A node and its neighbours make a new clique unless that of a node eliminated before holds them. In that
// case a child's does.
bool CliqueTreeCompiler::MakeCliques(std::span<const int> parents) {
  home.assign(parents.size(), -1);
  std::int64_t total = 0;
  for (std::size_t place = 0; place < parents.size(); ++place) {
    if (home[place] < 0) {
      home[place] = static_cast<int>(created.size());
      MakeClique(static_cast<int>(place));
      total += created.back().tableSize;  // itself within the limit
      if (total > kMaxEntries) {
        return false;
      }
    }
    const int parent = parents[place];
    if (parent < 0 || home[static_cast<std::size_t>(parent)] >= 0) {
      continue;
    }
    const std::size_t neighbourCount = elimination.NeighboursAt(static_cast<int>(place)).size();
    if (elimination.NeighboursAt(parent).size() + 1 == neighbourCount) {
      home[static_cast<std::size_t>(parent)] = home[place];
    }
  }
  return true;
}

void CliqueTreeCompiler::MakeClique(int place) {
  const std::span<const int> neighbours = elimination.NeighboursAt(place);
  TreeClique clique;
  clique.memberStart = static_cast<int>(members.size());
  clique.memberCount = static_cast<int>(neighbours.size()) + 1;
  members.insert(members.end(), neighbours.begin(), neighbours.end());
  members.push_back(elimination.order[static_cast<std::size_t>(place)]);
  std::inplace_merge(members.begin() + clique.memberStart, members.end() - 1, members.end());
  clique.tableSize = 1;
  for (std::size_t i = static_cast<std::size_t>(clique.memberStart); i < members.size(); ++i) {
    const int outcomes = shape.outcomeCounts[static_cast<std::size_t>(members[i])];
    clique.tableSize = SaturatingProduct(clique.tableSize, outcomes);
  }
  created.push_back(clique);
}

void CliqueTreeCompiler::MakeLinks(std::span<const int> parents) {
  for (std::size_t place = 0; place < parents.size(); ++place) {
    if (parents[place] < 0) {
      continue;
    }
    const int a = home[place];
    const int b = home[static_cast<std::size_t>(parents[place])];
    if (a != b) {
      links.push_back({a, b, PositionSet(elimination.NeighboursAt(static_cast<int>(place)))});
    }
  }
}

void CliqueTreeCompiler::SpanCliques() {
  std::sort(links.begin(), links.end(), HasSmallerVariables);
  const PairLists linksOf(links, created.size());
  for (std::size_t i = 0; i < links.size(); ++i) {
    if (i == 0 || HasSmallerVariables(links[i - 1], links[i])) {
      SpanSeparator(links[i].separator, links[i].a, linksOf);
    }
  }
  std::sort(edges.begin(), edges.end(), IsPreferred);
}

// The cliques that hold a separator are connected in any join tree, by links that hold it too. Links of the
// separator itself part them into groups.
void CliqueTreeCompiler::SpanSeparator(const PositionSet& separator, int firstClique,
                                       const PairLists& linksOf) {
  stack.assign(1, {firstClique, -1, 0});
  bestOfGroup.assign(1, firstClique);
  while (!stack.empty()) {
    const Step step = stack.back();
    stack.pop_back();
    int& best = bestOfGroup[static_cast<std::size_t>(step.group)];
    best = IsSmaller(step.clique, best) ? step.clique : best;
    for (const int number : linksOf.Of(step.clique)) {
      const CliquePair& link = links[static_cast<std::size_t>(number)];
      if (number == step.cameBy || !link.separator.Contains(separator)) {
        continue;
      }
      const int next = link.a == step.clique ? link.b : link.a;
      const bool newGroup = link.separator.positions.size() == separator.positions.size();
      stack.push_back({next, number, newGroup ? static_cast<int>(bestOfGroup.size()) : step.group});
      if (newGroup) {
        bestOfGroup.push_back(next);
      }
    }
  }
  JoinGroups(separator);
}

void CliqueTreeCompiler::JoinGroups(const PositionSet& separator) {
  const int hub = *std::min_element(bestOfGroup.begin(), bestOfGroup.end(),
                                    [this](int a, int b) { return IsSmaller(a, b); });
  for (const int clique : bestOfGroup) {
    if (clique != hub) {
      edges.push_back({std::min(clique, hub), std::max(clique, hub), separator,
                       Created(clique).tableSize + Created(hub).tableSize});
    }
  }
}

// Each node's table goes to the smallest clique that holds its family.
void CliqueTreeCompiler::AssignTables() {
  bySize.resize(created.size());
  std::iota(bySize.begin(), bySize.end(), 0);
  std::sort(bySize.begin(), bySize.end(), [this](int a, int b) { return IsSmaller(a, b); });
  layout.owner.assign(shape.outcomeCounts.size(), -1);
  lastClique.assign(shape.outcomeCounts.size(), -1);
  for (const int clique : bySize) {
    for (const int member : MembersOf(clique)) {
      lastClique[static_cast<std::size_t>(member)] = clique;
    }
    for (const int member : MembersOf(clique)) {
      int& owner = layout.owner[static_cast<std::size_t>(member)];
      if (owner < 0 && HoldsFamily(member, clique)) {
        owner = clique;
      }
    }
  }
}

bool CliqueTreeCompiler::HoldsFamily(int node, int clique) const {
  const std::span<const int> parents = shape.ParentsOf(node);
  return std::all_of(parents.begin(), parents.end(), [this, clique](int parent) {
    return lastClique[static_cast<std::size_t>(parent)] == clique;
  });
}

// Breadth first from the smallest clique.
void CliqueTreeCompiler::OrderForVisiting() {
  layout.cliques.clear();
  layout.separators.clear();
  layout.members.clear();
  layout.variables.clear();
  visited.assign(created.size(), -1);
  const PairLists edgesOf(edges, created.size());
  for (const int clique : bySize) {
    if (VisitOf(clique) < 0) {
      VisitFrom(clique, edgesOf);
    }
  }
  for (int& owner : layout.owner) {
    owner = VisitOf(owner);
  }
}

void CliqueTreeCompiler::VisitFrom(int root, const PairLists& edgesOf) {
  std::size_t head = queue.size();
  Visit(root, -1);
  for (; head < queue.size(); ++head) {
    const int clique = queue[head];
    for (const int number : edgesOf.Of(clique)) {
      const CliquePair& edge = edges[static_cast<std::size_t>(number)];
      const int next = edge.a == clique ? edge.b : edge.a;
      if (VisitOf(next) < 0) {
        AddSeparator(edge, VisitOf(clique));
        Visit(next, static_cast<int>(layout.separators.size()) - 1);
      }
    }
  }
}

void CliqueTreeCompiler::Visit(int clique, int parentSeparator) {
  VisitOf(clique) = static_cast<int>(layout.cliques.size());
  queue.push_back(clique);
  TreeClique visit = Created(clique);
  visit.memberStart = static_cast<int>(layout.members.size());
  visit.parentSeparator = parentSeparator;
  const std::span<const int> own = MembersOf(clique);
  layout.members.insert(layout.members.end(), own.begin(), own.end());
  layout.cliques.push_back(visit);
  if (parentSeparator >= 0) {
    MoveSeparatorLast(visit);
  }
}

// The child is the clique visited next.
void CliqueTreeCompiler::AddSeparator(const CliquePair& edge, int parent) {
  const std::span<const int> variables = edge.separator.positions;
  layout.separators.push_back({static_cast<int>(layout.variables.size()), static_cast<int>(variables.size()),
                               edge.costSum, parent, static_cast<int>(layout.cliques.size())});
  layout.variables.insert(layout.variables.end(), variables.begin(), variables.end());
}

// So that the separator's table is the clique's over its last dimensions, one after the other.
void CliqueTreeCompiler::MoveSeparatorLast(const TreeClique& clique) {
  const auto variables = layout.VariablesOf(clique.parentSeparator);
  auto last = layout.members.begin() + clique.memberStart + clique.memberCount;
  const auto first = layout.members.begin() + clique.memberStart;
  for (std::size_t k = variables.size(); k-- > 0;) {
    --last;
    std::iter_swap(std::find(first, last + 1, variables[k]), last);
  }
}

}  // namespace

bool CompileCliqueTree(const ComponentShape& shape, CliqueTreeLayout& out) {
  return CliqueTreeCompiler(shape, out).Run();
}

}  // namespace qvr
