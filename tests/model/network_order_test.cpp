// Orders and tests of the graph, against slow and obvious answers on random graphs.
#include <gtest/gtest.h>

#include <algorithm>
#include <set>

#include "support/network_builder.h"
#include "support/random_network.h"

namespace qvr {
namespace {

constexpr int kTrials = 60;

// Nodes numbered against the direction of arcs as often as along it.
class RandomGraph {
 public:
  explicit RandomGraph(std::uint64_t seed) : random(seed), count(2 + random.Below(9)) {
    for (int i = 0; i < count; ++i) {
      network.AddNode(kTypeCpt, nullptr);
    }
    std::vector<int> rank(static_cast<std::size_t>(count));
    for (int& r : rank) {
      r = random.Below(1000);
    }
    const int arcs = random.Below(4 * count);
    for (int i = 0; i < arcs; ++i) {
      const int a = random.Below(count);
      const int b = random.Below(count);
      if (rank[static_cast<std::size_t>(a)] < rank[static_cast<std::size_t>(b)]) {
        network.AddArc(a, b, kOrdinaryLayer);
      }
    }
  }

  [[nodiscard]] bool Reaches(int from, int to) const {
    const QVR_intArray& children = network.GetChildren(from);
    return std::any_of(children.begin(), children.end(),
                       [&](int child) { return child == to || Reaches(child, to); });
  }
  void Place(int handle, std::vector<int>& order) const {
    if (std::find(order.begin(), order.end(), handle) == order.end()) {
      for (int parent : network.GetParents(handle)) {
        Place(parent, order);
      }
      order.push_back(handle);
    }
  }
  [[nodiscard]] int Height(int handle) const {
    int height = 0;
    for (int child : network.GetChildren(handle)) {
      height = std::max(height, 1 + Height(child));
    }
    return height;
  }
  // Nodes with at most one neighbour go until none is left over, or only those on circles.
  [[nodiscard]] bool IsForest() const {
    std::vector<std::set<int>> neighbours(static_cast<std::size_t>(count));
    for (int handle = 0; handle < count; ++handle) {
      for (int parent : network.GetParents(handle)) {
        neighbours[static_cast<std::size_t>(handle)].insert(parent);
        neighbours[static_cast<std::size_t>(parent)].insert(handle);
      }
    }
    for (int round = 0; round < count; ++round) {
      for (int handle = 0; handle < count; ++handle) {
        std::set<int>& mine = neighbours[static_cast<std::size_t>(handle)];
        if (mine.size() == 1) {
          neighbours[static_cast<std::size_t>(*mine.begin())].erase(handle);
          mine.clear();
        }
      }
    }
    return std::all_of(neighbours.begin(), neighbours.end(), [](const auto& set) { return set.empty(); });
  }

  TestRandom random;
  int count;
  QVR_network network;
};

TEST(NetworkOrder, AgreesWithRecursion) {
  EXPECT_EQ(QVR_network().ComputeLevels(), 0);
  EXPECT_EQ(QVR_network().IsPolytree(), 1);
  int forests = 0;
  for (std::uint64_t seed = 1; seed <= kTrials; ++seed) {
    SCOPED_TRACE(seed);
    RandomGraph graph(seed);
    std::vector<int> order;
    int highest = 0;
    for (int handle = 0; handle < graph.count; ++handle) {
      graph.Place(handle, order);
      highest = std::max(highest, graph.Height(handle));
    }
    const QVR_intArray& found = graph.network.GetTopologicalOrder();
    EXPECT_EQ(ListOf(found), order);
    QVR_intArray decisionFirst{7};  // there's no decision, so nothing goes before its turn
    graph.network.GetDecisionFirstOrder(decisionFirst);
    EXPECT_EQ(ListOf(decisionFirst), order);
    EXPECT_EQ(graph.network.ComputeLevels(), highest);
    EXPECT_EQ(graph.network.IsAcyclic(), 1);
    EXPECT_EQ(graph.network.IsPolytree() != 0, graph.IsForest());
    forests += graph.network.IsPolytree();
    for (int a = 0; a < graph.count; ++a) {
      std::vector<int> expected{99};
      for (int b = 0; b < graph.count; ++b) {
        EXPECT_EQ(graph.network.WouldStayAcyclic(a, b), a != b && !graph.Reaches(b, a)) << a << " " << b;
        if (graph.Reaches(a, b)) {
          expected.push_back(b);
        }
      }
      QVR_intArray descendants{99};
      graph.network.GetDescendants(a, descendants);
      EXPECT_EQ(ListOf(descendants), expected);
    }
  }
  EXPECT_GT(forests, 5);
  EXPECT_LT(forests, kTrials - 5);
}

// A reader that vouches for its graph may leave a cycle; no walk may hang on it.
TEST(NetworkOrder, CyclesAreSeenAndSurvived) {
  QVR_network network;
  for (int i = 0; i < 4; ++i) {
    network.AddNode(kTypeCpt, nullptr);
  }
  network.AddArc(0, 1, kOrdinaryLayer);
  network.AddArc(1, 2, kOrdinaryLayer);
  network.AddArc(2, 3, kOrdinaryLayer);
  const_cast<QVR_intArray&>(network.GetChildren(2)).Add(1);
  const_cast<QVR_intArray&>(network.GetParents(1)).Add(2);
  EXPECT_EQ(network.IsAcyclic(), 0);
  EXPECT_EQ(network.IsPolytree(), 0);
  const QVR_intArray& order = network.GetTopologicalOrder();
  EXPECT_TRUE(std::is_permutation(order.begin(), order.end(), std::vector<int>{0, 1, 2, 3}.begin()));
  EXPECT_FALSE(network.WouldStayAcyclic(3, 1));
  network.DetachArc(2, 1);
  EXPECT_EQ(network.CheckInvariants(), "");
}

}  // namespace
}  // namespace qvr
