// Elimination against a reference that walks the whole graph at every step, and its limits.
#include "inference/triangulation.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <set>

#include "inference/shapes.h"

namespace qvr {
namespace {

ComponentShape RandomShape(TestRandom& random, int nodeCount, int maxParents) {
  const ParentLists parents = RandomParents(nodeCount, maxParents, nodeCount, random);
  ComponentShape shape = MakeShape(parents, RandomOutcomeCounts(nodeCount, 2, 4, HUGE_VAL, random));
  for (unsigned char& observed : shape.observed) {
    observed = random.Chance(0.125) ? 1 : 0;
  }
  return shape;
}

// The same elimination on sets, with nothing remembered between two steps.
class NaiveElimination {
 public:
  explicit NaiveElimination(const ComponentShape& newShape)
      : shape(newShape), links(static_cast<std::size_t>(newShape.NodeCount())), gone(links.size(), false) {
    for (int node = 0; node < shape.NodeCount(); ++node) {
      std::vector<int> family(shape.ParentsOf(node).begin(), shape.ParentsOf(node).end());
      family.push_back(node);
      Complete(family);
    }
  }

  // Cliques as sets, each with the separator that it leaves.
  std::vector<std::pair<std::set<int>, std::set<int>>> Run() {
    while (std::count(gone.begin(), gone.end(), false) > 0) {
      bool again = true;
      while (again) {
        again = false;
        for (int node = 0; node < shape.NodeCount(); ++node) {
          if (!gone[At(node)] && IsSimplicial(node)) {
            Eliminate(node);
            again = true;
          }
        }
      }
      if (const int node = Smallest(); node >= 0) {
        Complete({links[At(node)].begin(), links[At(node)].end()});
        Eliminate(node);
      }
    }
    return cliques;
  }

 private:
  static std::size_t At(int node) { return static_cast<std::size_t>(node); }
  void Complete(const std::vector<int>& nodes) {
    for (const int a : nodes) {
      for (const int b : nodes) {
        if (a != b) {
          links[At(a)].insert(b);
        }
      }
    }
  }
  [[nodiscard]] bool IsSimplicial(int node) const {
    const std::set<int>& around = links[At(node)];
    return std::all_of(around.begin(), around.end(), [&](int a) {
      return std::all_of(around.begin(), around.end(),
                         [&](int b) { return a == b || links[At(a)].count(b) > 0; });
    });
  }
  [[nodiscard]] double Size(int node) const {
    const auto own = [this](int n) { return shape.observed[At(n)] != 0 ? 1.0 : shape.outcomeCounts[At(n)]; };
    double size = own(node);
    for (const int neighbour : links[At(node)]) {
      size *= own(neighbour);
    }
    return size;
  }
  [[nodiscard]] int Smallest() const {
    int best = -1;
    for (int node = 0; node < shape.NodeCount(); ++node) {
      if (!gone[At(node)] && (best < 0 || Size(node) < Size(best))) {
        best = node;
      }
    }
    return best;
  }
  void Remove(int node) {
    for (const int neighbour : links[At(node)]) {
      links[At(neighbour)].erase(node);
    }
    gone[At(node)] = true;
  }
  void Eliminate(int node) {
    std::set<int> clique = links[At(node)];
    clique.insert(node);
    Remove(node);
    std::set<int> separator;
    for (const int member : clique) {
      if (member != node) {
        const bool inside =
            std::includes(clique.begin(), clique.end(), links[At(member)].begin(), links[At(member)].end());
        inside ? Remove(member) : static_cast<void>(separator.insert(member));
      }
    }
    cliques.emplace_back(clique, separator);
  }

  const ComponentShape& shape;
  std::vector<std::set<int>> links;
  std::vector<bool> gone;
  std::vector<std::pair<std::set<int>, std::set<int>>> cliques;
};

std::set<int> SetOf(const std::vector<int>& items, const std::vector<int>& start, int list) {
  const auto at = static_cast<std::size_t>(list);
  return {items.begin() + start[at], items.begin() + start[at + 1]};
}

TEST(Triangulation, EliminatesAsAFullWalkWould) {
  TestRandom random(77);
  for (int trial = 0; trial < 300; ++trial) {
    const ComponentShape shape = RandomShape(random, 2 + trial % 40, 1 + trial % 4);
    EliminationCliques cliques;
    ASSERT_TRUE(Triangulate(shape, std::int64_t{1} << 40, cliques)) << "trial " << trial;
    const auto expected = NaiveElimination(shape).Run();
    ASSERT_EQ(cliques.Count(), static_cast<int>(expected.size())) << "trial " << trial;
    for (int i = 0; i < cliques.Count(); ++i) {
      ASSERT_EQ(SetOf(cliques.members, cliques.memberStart, i), expected[static_cast<std::size_t>(i)].first)
          << "trial " << trial << " clique " << i;
      ASSERT_EQ(SetOf(cliques.separators, cliques.separatorStart, i),
                expected[static_cast<std::size_t>(i)].second)
          << "trial " << trial << " clique " << i;
    }
  }
}

// What a clique shares with any later one lies in its separator.
void ExpectRunningIntersection(const JoinTreeStructure& tree, int clique) {
  const std::set<int> members = SetOf(tree.members.items, tree.members.start, clique);
  const std::set<int> separator = SetOf(tree.separators.items, tree.separators.start, clique);
  for (int later = clique + 1; later < tree.members.Count(); ++later) {
    for (const int node : SetOf(tree.members.items, tree.members.start, later)) {
      EXPECT_TRUE(members.count(node) == 0 || separator.count(node) == 1) << "clique " << clique;
    }
  }
}

TEST(Triangulation, CompiledTreesCoverFamiliesAndRunThrough) {
  TestRandom random(78);
  for (int trial = 0; trial < 200; ++trial) {
    const ComponentShape shape = RandomShape(random, 2 + trial % 60, 1 + trial % 4);
    JoinTreeStructure tree;
    ASSERT_TRUE(CompileJoinTree(shape, kDefaultSizeLimit, tree));
    const int count = tree.members.Count();
    ASSERT_EQ(tree.parent[static_cast<std::size_t>(count) - 1], -1);
    ASSERT_EQ(tree.assigned.items.size(), shape.outcomeCounts.size());
    for (int clique = 0; clique < count; ++clique) {
      const std::set<int> members = SetOf(tree.members.items, tree.members.start, clique);
      for (const int node : tree.assigned[clique]) {
        for (const int parent : shape.ParentsOf(node)) {
          EXPECT_TRUE(shape.observed[static_cast<std::size_t>(parent)] != 0 || members.count(parent) == 1);
        }
      }
      const int parent = tree.parent[static_cast<std::size_t>(clique)];
      if (parent >= 0) {
        EXPECT_GT(parent, clique) << "trial " << trial;
        ExpectRunningIntersection(tree, clique);
      }
    }
  }
}

TEST(Triangulation, RefusesBeyondItsLimits) {
  struct Case {
    int parents;
    bool observed;
    std::int64_t limit;
    bool accepted;
  };
  const Case cases[] = {
      {15, false, 65536, true},   // exactly the limit
      {15, false, 65535, false},  // one entry too many
      {29, true, 65536, true},    // thirty members, all observed: one entry
      {30, true, 65536, false},   // a thirty-first member, whatever its size
      {29, false, std::int64_t{1} << 40, true},
      {30, false, std::int64_t{1} << 40, false},
  };
  for (const Case& c : cases) {
    ComponentShape shape = MakeBinaryShape(CompleteParents(c.parents + 1));
    shape.observed.assign(shape.observed.size(), c.observed ? 1 : 0);
    EliminationCliques cliques;
    EXPECT_EQ(Triangulate(shape, c.limit, cliques), c.accepted)
        << c.parents << (c.observed ? " observed" : "") << " limit " << c.limit;
  }
}

}  // namespace
}  // namespace qvr
