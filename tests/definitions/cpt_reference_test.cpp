// Random edits of small networks, compared after each with tables kept as maps from labelled outcomes.
#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <set>
#include <string>

#include "definitions/cpt.h"
#include "support/log_guard.h"
#include "support/network_builder.h"
#include "support/random_network.h"

namespace qvr {
namespace {

// Outcomes are labels that no other outcome ever gets, so a cell is named without positions: by one label
// of each parent and one of the node itself.
using Cell = std::set<int>;

struct Family {
  std::vector<int> outcomes;
  std::vector<int> parents;
  std::map<Cell, double> cells;
};

class ReferenceNetwork {
 public:
  explicit ReferenceNetwork(int nodeCount) : nodes(static_cast<std::size_t>(nodeCount)) {
    for (Family& node : nodes) {
      node.outcomes = {nextLabel, nextLabel + 1};
      node.cells = {{{nextLabel}, 0.5}, {{nextLabel + 1}, 0.5}};
      nextLabel += 2;
    }
  }

  Family& At(int node) { return nodes[static_cast<std::size_t>(node)]; }
  int NewLabel() { return nextLabel++; }

  void AddArc(int parent, int child) {
    std::map<Cell, double> cells;
    for (const auto& [cell, x] : At(child).cells) {
      for (int label : At(parent).outcomes) {
        cells[With(cell, label)] = x;
      }
    }
    At(child).cells = cells;
    At(child).parents.push_back(parent);
    Normalize(child);
  }

  // Keeps the cells with the label, and drops the dimension.
  void RemoveArc(int parent, int child, int label) {
    Collapse(parent, child, [label](int other, double x) { return other == label ? x : 0.0; });
  }

  void AbsorbRoot(int parent, int child) {
    Collapse(parent, child, [&](int label, double x) { return x * At(parent).cells.at({label}); });
  }

  void InsertOutcome(int node, int position) {
    const int label = NewLabel();
    Family& family = At(node);
    std::map<Cell, double> added;
    for (const auto& [cell, x] : family.cells) {
      added[With(Without(cell, family.outcomes), label)] = 0;
    }
    family.cells.merge(added);
    family.outcomes.insert(family.outcomes.begin() + position, label);
    for (int child : Children(node)) {
      std::map<Cell, double> rows;
      for (const auto& [cell, x] : At(child).cells) {
        rows[With(Without(cell, family.outcomes), label)] = 0;
      }
      At(child).cells.merge(rows);
      Normalize(child);
    }
  }

  void RemoveOutcome(int node, int position) {
    const int label = At(node).outcomes[static_cast<std::size_t>(position)];
    At(node).outcomes.erase(At(node).outcomes.begin() + position);
    for (Family& family : nodes) {
      std::erase_if(family.cells, [label](const auto& entry) { return entry.first.contains(label); });
    }
  }

  // The cells in the order in which a table has them.
  std::vector<Cell> Order(int node) {
    std::vector<Cell> order = {{}};
    for (int parent : At(node).parents) {
      order = Spread(order, At(parent).outcomes);
    }
    return Spread(order, At(node).outcomes);
  }

  std::vector<int> Children(int node) {
    std::vector<int> children;
    for (std::size_t child = 0; child < nodes.size(); ++child) {
      if (std::count(nodes[child].parents.begin(), nodes[child].parents.end(), node) > 0) {
        children.push_back(static_cast<int>(child));
      }
    }
    return children;
  }

 private:
  static Cell With(Cell cell, int label) {
    cell.insert(label);
    return cell;
  }
  static Cell Without(Cell cell, const std::vector<int>& labels) {
    for (int label : labels) {
      cell.erase(label);
    }
    return cell;
  }
  static std::vector<Cell> Spread(const std::vector<Cell>& cells, const std::vector<int>& labels) {
    std::vector<Cell> spread;
    for (const Cell& cell : cells) {
      for (int label : labels) {
        spread.push_back(With(cell, label));
      }
    }
    return spread;
  }

  template <typename Weigh>
  void Collapse(int parent, int child, Weigh weigh) {
    std::map<Cell, double> cells;
    for (const auto& [cell, x] : At(child).cells) {
      for (int label : At(parent).outcomes) {
        if (cell.contains(label)) {
          cells[Without(cell, {label})] += weigh(label, x);
        }
      }
    }
    At(child).cells = cells;
    std::erase(At(child).parents, parent);
  }

  void Normalize(int node) {
    std::map<Cell, double> sums;
    Family& family = At(node);
    for (const auto& [cell, x] : family.cells) {
      sums[Without(cell, family.outcomes)] += x;
    }
    for (auto& [cell, x] : family.cells) {
      const double sum = sums.at(Without(cell, family.outcomes));
      x = sum == 0 ? 1.0 / static_cast<double>(family.outcomes.size()) : x / sum;
    }
  }

  std::vector<Family> nodes;
  int nextLabel = 0;
};

QVR_intArray ShuffledOrder(int count, TestRandom& random) {
  QVR_intArray order;
  for (int i = 0; i < count; ++i) {
    order.Insert(random.Below(i + 1), i);
  }
  return order;
}

class EditTrial {
 public:
  static constexpr int kNodes = 5;

  explicit EditTrial(std::uint64_t seed) : random(seed) {
    for (int i = 0; i < kNodes; ++i) {
      network.AddNode(kTypeCpt, ("n" + std::to_string(i)).c_str());
    }
    if (seed % 2 == 0) {  // updates that start half-way through an edit must find a whole network
      network.SetUpdateFlags(network.GetUpdateFlags() | UPDATE_IMMEDIATELY);
    }
  }

  void Step() {
    node = random.Below(kNodes);
    switch (random.Below(9)) {
      case 0:
      case 1:
        return ToggleArc();
      case 2:
        return SetNumbers();
      case 3:
        return InsertOutcome();
      case 4:
        return RemoveOutcome();
      case 5:
        return ReorderOutcomes();
      case 6:
        return Absorb();
      case 7:
        return ChangeOutcomes();
      default:
        return SetOutcomeCount();
    }
  }

  void Compare() {
    ASSERT_EQ(network.CheckInvariants(), "");
    for (int i = 0; i < kNodes; ++i) {
      const std::vector<Cell> order = reference.Order(i);
      const std::span<const double> cells = TableOf(network, i)->GetItems().Vector();
      ASSERT_EQ(cells.size(), order.size()) << "node " << i;
      for (std::size_t k = 0; k < order.size(); ++k) {
        ASSERT_NEAR(cells[k], reference.At(i).cells.at(order[k]), 1e-12) << "node " << i << " cell " << k;
      }
    }
  }

 private:
  QVR_cpt& Definition() { return dynamic_cast<QVR_cpt&>(*network.NodeAt(node)->definition); }
  int Count() { return static_cast<int>(reference.At(node).outcomes.size()); }

  // The first parent's first outcome is what remains; arcs run from lower to higher handles.
  void ToggleArc() {
    const int parent = random.Below(kNodes);
    if (parent >= node) {
      return;
    }
    if (network.GetParents(node).Contains(parent) != 0) {
      ASSERT_EQ(network.RemoveArc(parent, node, kOrdinaryLayer), 0);
      reference.RemoveArc(parent, node, reference.At(parent).outcomes.front());
    } else {
      ASSERT_EQ(network.AddArc(parent, node, kOrdinaryLayer), 0);
      reference.AddArc(parent, node);
    }
  }

  void SetNumbers() {
    const int rows = Definition().GetSize() / Count();
    const std::vector<double> numbers = RandomTable(rows, Count(), {.zeroFraction = 0.2}, random);
    ASSERT_EQ(SetTable(network, node, numbers), 0);
    const std::vector<Cell> order = reference.Order(node);
    for (std::size_t i = 0; i < order.size(); ++i) {
      reference.At(node).cells.at(order[i]) = numbers[i];
    }
  }

  void InsertOutcome() {
    if (Count() < 4) {
      const int position = random.Below(Count() + 1);
      ASSERT_EQ(Definition().InsertOutcome(position, "x"), 0);
      reference.InsertOutcome(node, position);
    }
  }

  void RemoveOutcome() {
    if (Count() > 2) {
      const int position = random.Below(Count());
      ASSERT_EQ(Definition().RemoveOutcome(position), 0);
      reference.RemoveOutcome(node, position);
    }
  }

  void ReorderOutcomes() {
    const QVR_intArray order = ShuffledOrder(Count(), random);
    ASSERT_EQ(Definition().ReorderOutcomes(order), 0);
    const std::vector<int> old = reference.At(node).outcomes;
    std::transform(order.begin(), order.end(), reference.At(node).outcomes.begin(),
                   [&old](int place) { return old[static_cast<std::size_t>(place)]; });
  }

  void Absorb() {
    if (network.GetNumberOfParents(node) == 0) {
      return;
    }
    const int parent = network.GetParents(node)[0];
    if (random.Chance(0.5) && network.GetNumberOfParents(parent) == 0) {
      ASSERT_EQ(Definition().AbsorbRootParent(parent), 0);
      reference.AbsorbRoot(parent, node);
      return;
    }
    QVR_nodeValue& value = ValueOf(network, parent);
    const int outcome = random.Below(network.NodeAt(parent)->GetNumberOfOutcomes());
    if (value.SetEvidence(outcome) == 0) {
      ASSERT_EQ(Definition().AbsorbObservedParent(parent), 0);
      reference.RemoveArc(parent, node, reference.At(parent).outcomes[static_cast<std::size_t>(outcome)]);
      value.ClearEvidence();
    }
  }

  // New outcome i continues one of the old, each at most once, or none.
  void ChangeOutcomes() {
    const QVR_intArray old = ShuffledOrder(Count(), random);
    QVR_intArray mapping;
    QVR_idArray names;
    const int newCount = 2 + random.Below(2);
    for (int i = 0; i < newCount; ++i) {
      mapping.Add(i < old.GetNumItems() && random.Chance(0.6) ? old[i] : -1);
      names.Add(("name" + std::to_string(i)).c_str());
    }
    const std::vector<int> wanted(mapping.begin(), mapping.end());
    ASSERT_EQ(Definition().ChangeOutcomes(names, mapping), 0);
    const std::vector<int> before = reference.At(node).outcomes;
    std::vector<int> after;
    std::vector<int> dropped = before;
    for (int place : wanted) {
      if (place >= 0) {
        after.push_back(before[static_cast<std::size_t>(place)]);
        std::erase(dropped, after.back());
      } else {
        reference.InsertOutcome(node, static_cast<int>(reference.At(node).outcomes.size()));
        after.push_back(reference.At(node).outcomes.back());
      }
    }
    for (int label : dropped) {
      const std::vector<int>& present = reference.At(node).outcomes;
      reference.RemoveOutcome(
          node, static_cast<int>(std::find(present.begin(), present.end(), label) - present.begin()));
    }
    reference.At(node).outcomes = after;
  }

  void SetOutcomeCount() {
    const int count = 2 + random.Below(2);
    if (network.GetNumberOfChildren(node) > 0) {
      ASSERT_EQ(Definition().SetNumberOfOutcomes(count), -19);
      return;
    }
    ASSERT_EQ(Definition().SetNumberOfOutcomes(count), 0);
    Family& family = reference.At(node);
    const std::vector<int> parents = family.parents;
    family = Family();
    for (int i = 0; i < count; ++i) {
      family.outcomes.push_back(reference.NewLabel());
      family.cells[{family.outcomes.back()}] = 1.0 / count;
    }
    for (int parent : parents) {
      reference.AddArc(parent, node);
    }
  }

  QVR_network network;
  ReferenceNetwork reference{kNodes};
  TestRandom random;
  int node = 0;
};

TEST(CptReference, RandomEditsKeepEveryNumberInItsPlace) {
  LogGuard log;
  for (std::uint64_t seed = 1; seed <= 20; ++seed) {
    EditTrial trial(seed);
    for (int step = 0; step < 150; ++step) {
      SCOPED_TRACE("seed " + std::to_string(seed) + " step " + std::to_string(step));
      trial.Step();
      trial.Compare();
      if (testing::Test::HasFatalFailure()) {
        return;
      }
    }
  }
}

}  // namespace
}  // namespace qvr
