// What a join tree is apart from its numbers: cliques, links, which clique takes which table, and how
// tables are walked. Depends on the component's shape alone.
#ifndef QVR_INFERENCE_JOIN_TREE_STRUCTURE_H
#define QVR_INFERENCE_JOIN_TREE_STRUCTURE_H

#include <cstdint>
#include <span>
#include <vector>

#include "inference/component_shape.h"
#include "inference/table_plan.h"
#include "inference/triangulation.h"

namespace qvr {

// Lists of ints, one behind the other.
struct IntLists {
  std::vector<int> start;  // one more than there are lists
  std::vector<int> items;

  void Clear() {
    start.assign(1, 0);
    items.clear();
  }
  void Close() { start.push_back(static_cast<int>(items.size())); }
  [[nodiscard]] int Count() const { return static_cast<int>(start.size()) - 1; }
  [[nodiscard]] std::span<const int> operator[](int list) const {
    const auto at = static_cast<std::size_t>(list);
    return {items.data() + start[at], items.data() + start[at + 1]};
  }
};

// Cliques go by their order of creation. Every clique's parent is created later; the last clique is the
// root. Member and separator lists are ascending and hold unobserved nodes only: these are the dimensions
// of the tables, the last fastest. A separator without members passes no message.
struct JoinTreeStructure {
  IntLists members;
  IntLists separators;      // towards the parent
  std::vector<int> parent;  // -1 for the root
  IntLists children;        // in order of creation
  std::vector<std::int64_t> tableSize;
  std::vector<int> separatorSize;
  std::vector<int> sorted;  // by table size, then number of members: the smallest clique serves first
  IntLists assigned;        // nodes whose table is multiplied into the clique, ascending
  IntLists posteriors;      // nodes whose posterior is read from the clique, in member order
  std::int64_t totalSize = 0;

  PlanArena arena;
  std::vector<SlabShape> slabs;           // by clique
  std::vector<TablePlan> assignedPlans;   // beside assigned.items
  std::vector<TablePlan> separatorPlans;  // by clique: its table to its separator
  std::vector<TablePlan> parentPlans;     // by clique: its parent's table to its separator
  std::vector<TablePlan> posteriorPlans;  // beside posteriors.items
};

// Reuses the room in `out`. False when the component is refused (see Triangulate).
[[nodiscard]] bool CompileJoinTree(const ComponentShape& shape, std::int64_t sizeLimit,
                                   JoinTreeStructure& out);

}  // namespace qvr

#endif
