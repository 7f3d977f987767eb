#include "inference/clique_tree.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <set>

#include "inference/min_fill.h"
#include "inference/shapes.h"

namespace qvr {
namespace {

// Every node below an earlier node and up to width - 1 of that one's parents: its moral graph is chordal.
ParentLists ChordalParents(int nodeCount, int width, TestRandom& random) {
  ParentLists parents(1);
  while (static_cast<int>(parents.size()) < nodeCount) {
    const int first = random.Below(static_cast<int>(parents.size()));
    std::vector<int> own = parents[static_cast<std::size_t>(first)];
    while (static_cast<int>(own.size()) >= width) {
      own.erase(own.begin() + random.Below(static_cast<int>(own.size())));
    }
    own.push_back(first);
    parents.push_back(own);
  }
  return parents;
}

bool IsConnected(const ParentLists& parents) {
  std::vector<int> group(parents.size());
  std::iota(group.begin(), group.end(), 0);
  for (std::size_t node = 0; node < parents.size(); ++node) {
    for (const int parent : parents[node]) {
      const int old = group[node];
      std::replace(group.begin(), group.end(), old, group[static_cast<std::size_t>(parent)]);
    }
  }
  return std::all_of(group.begin(), group.end(), [&](int number) { return number == group[0]; });
}

std::vector<ComponentShape> VariedShapes() {
  TestRandom random(20240517);
  std::vector<ParentLists> graphs = {ChainParents(2), ChainParents(40), GridParents(5, 6), HubParents(30),
                                     CompleteParents(6)};
  for (int trial = 0; trial < 400; ++trial) {
    const int count = 2 + random.Below(24);
    graphs.push_back(trial % 4 == 0 ? TreeParents(count, random)
                     : trial % 4 == 1
                         ? ChordalParents(count, 1 + random.Below(4), random)
                         : RandomParents(count, 1 + random.Below(3), 2 + random.Below(12), random));
  }
  std::vector<ComponentShape> shapes;
  for (const ParentLists& parents : graphs) {
    if (IsConnected(parents)) {
      const auto outcomes =
          RandomOutcomeCounts(static_cast<int>(parents.size()), 2, 2 + random.Below(3), 1e300, random);
      shapes.push_back(MakeShape(parents, outcomes));
    }
  }
  return shapes;
}

std::vector<int> Sorted(std::span<const int> numbers) {
  std::vector<int> sorted(numbers.begin(), numbers.end());
  std::sort(sorted.begin(), sorted.end());
  return sorted;
}

std::vector<int> Shared(std::span<const int> a, std::span<const int> b) {
  const std::vector<int> x = Sorted(a);
  const std::vector<int> y = Sorted(b);
  std::vector<int> shared;
  std::set_intersection(x.begin(), x.end(), y.begin(), y.end(), std::back_inserter(shared));
  return shared;
}

void ExpectTreeOfMaximalCliques(const CliqueTreeLayout& layout) {
  ASSERT_EQ(layout.SeparatorCount(), layout.CliqueCount() - 1);
  for (int i = 0; i < layout.SeparatorCount(); ++i) {
    const TreeSeparator& separator = layout.separators[static_cast<std::size_t>(i)];
    // Parents are visited first, so that an index below the own one also rules out cycles.
    EXPECT_LT(separator.parent, separator.child);
    EXPECT_EQ(layout.cliques[static_cast<std::size_t>(separator.child)].parentSeparator, i);
    const std::span<const int> child = layout.MembersOf(separator.child);
    const std::vector<int> variables = Sorted(layout.VariablesOf(i));
    EXPECT_EQ(Shared(layout.MembersOf(separator.parent), child), variables);
    EXPECT_LT(variables.size(), std::min(child.size(), layout.MembersOf(separator.parent).size()));
    EXPECT_TRUE(std::equal(variables.begin(), variables.end(), child.end() - std::ssize(variables)));
  }
  EXPECT_EQ(layout.cliques[0].parentSeparator, -1);
}

// With every separator the intersection of its cliques: a node's cliques form one subtree exactly when its
// cliques outnumber its separators by one.
void ExpectRunningIntersection(const ComponentShape& shape, const CliqueTreeLayout& layout) {
  std::vector<int> surplus(shape.outcomeCounts.size(), 0);
  for (const int member : layout.members) {
    ++surplus[static_cast<std::size_t>(member)];
  }
  for (const int variable : layout.variables) {
    --surplus[static_cast<std::size_t>(variable)];
  }
  EXPECT_EQ(surplus, std::vector<int>(surplus.size(), 1));
}

void ExpectFamiliesHeld(const ComponentShape& shape, const CliqueTreeLayout& layout) {
  for (int node = 0; node < shape.NodeCount(); ++node) {
    std::vector<int> family = Sorted(shape.ParentsOf(node));
    family.push_back(node);
    const auto holds = [&](int clique) { return Shared(layout.MembersOf(clique), family) == Sorted(family); };
    const int owner = layout.owner[static_cast<std::size_t>(node)];
    ASSERT_TRUE(holds(owner)) << "node " << node;
    for (int clique = 0; clique < layout.CliqueCount(); ++clique) {
      const auto sizeOf = [&](int i) { return layout.cliques[static_cast<std::size_t>(i)].tableSize; };
      EXPECT_TRUE(!holds(clique) || sizeOf(clique) >= sizeOf(owner)) << "node " << node;
    }
  }
}

TEST(CliqueTree, HoldsEveryFamilyAndKeepsEachNodeConnected) {
  for (const ComponentShape& shape : VariedShapes()) {
    CliqueTreeLayout layout;
    ASSERT_TRUE(CompileCliqueTree(shape, layout));
    ExpectTreeOfMaximalCliques(layout);
    ExpectRunningIntersection(shape, layout);
    ExpectFamiliesHeld(shape, layout);
    ASSERT_FALSE(HasFailure()) << testing::PrintToString(shape.parentStart) << ' '
                               << testing::PrintToString(shape.parents);
  }
}

std::set<std::pair<int, int>> MoralArcs(const ParentLists& parents) {
  std::set<std::pair<int, int>> arcs;
  for (int node = 0; node < static_cast<int>(parents.size()); ++node) {
    std::vector<int> family = parents[static_cast<std::size_t>(node)];
    family.push_back(node);
    std::sort(family.begin(), family.end());
    for (auto a = family.begin(); a != family.end(); ++a) {
      std::for_each(a + 1, family.end(), [&](int b) { arcs.emplace(*a, b); });
    }
  }
  return arcs;
}

TEST(CliqueTree, AddsNothingToAChordalGraph) {
  TestRandom random(7);
  for (int width = 1; width <= 5; ++width) {
    const ParentLists parents = ChordalParents(300, width, random);
    MinFillElimination elimination;
    ASSERT_TRUE(EliminateByMinFill(MakeBinaryShape(parents), 1 << 20, elimination));
    EXPECT_EQ(elimination.neighbours.size(), MoralArcs(parents).size()) << "width " << width;
  }
}

TEST(CliqueTree, RefusesMoreThanTwoGibibytesOfTables) {
  CliqueTreeLayout layout;
  EXPECT_TRUE(CompileCliqueTree(MakeBinaryShape(CompleteParents(28)), layout));
  EXPECT_FALSE(CompileCliqueTree(MakeBinaryShape(CompleteParents(29)), layout));
  EXPECT_FALSE(CompileCliqueTree(MakeBinaryShape(CompleteParents(70)), layout));  // more than 64 bits
  // Each clique passes alone.
  EXPECT_FALSE(CompileCliqueTree(MakeShape(ChainParents(4), {1 << 10, 1 << 14, 1 << 14, 1 << 14}), layout));
}

}  // namespace
}  // namespace qvr
