// The second exact engine: cliques from a min-fill elimination, linked by a maximum spanning tree.
#ifndef QVR_INFERENCE_CLIQUE_TREE_H
#define QVR_INFERENCE_CLIQUE_TREE_H

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "inference/component_shape.h"
#include "inference/index_walk.h"
#include "inference/relevance.h"

namespace qvr {

struct TreeClique {
  int memberStart = 0;  // place in CliqueTreeLayout::members
  int memberCount = 0;
  std::int64_t tableSize = 0;  // product of all members' outcome counts, observed or not
  int parentSeparator = -1;    // towards the root; -1 for a root
};

struct TreeSeparator {
  int variableStart = 0;  // place in CliqueTreeLayout::variables
  int variableCount = 0;
  std::int64_t costSum = 0;  // of the two cliques' table sizes
  int parent = -1;           // the clique nearer the root
  int child = -1;
};

// A compiled component, without numbers. Cliques and separators stand in the order of visiting, breadth
// first from the root.
struct CliqueTreeLayout {
  std::vector<TreeClique> cliques;
  std::vector<TreeSeparator> separators;
  std::vector<int> members;    // positions; below the root a clique's separator towards its parent is last
  std::vector<int> variables;  // positions, ascending in each separator
  std::vector<int> owner;      // by position: the clique that takes the node's table

  [[nodiscard]] std::span<const int> MembersOf(int clique) const {
    const TreeClique& record = cliques[static_cast<std::size_t>(clique)];
    return {members.data() + record.memberStart, static_cast<std::size_t>(record.memberCount)};
  }
  [[nodiscard]] std::span<const int> VariablesOf(int separator) const {
    const TreeSeparator& record = separators[static_cast<std::size_t>(separator)];
    return {variables.data() + record.variableStart, static_cast<std::size_t>(record.variableCount)};
  }
  [[nodiscard]] int CliqueCount() const { return static_cast<int>(cliques.size()); }
  [[nodiscard]] int SeparatorCount() const { return static_cast<int>(separators.size()); }
};

// False when the clique tables would hold more than 0x10000000 entries in all.
[[nodiscard]] bool CompileCliqueTree(const ComponentShape& shape, CliqueTreeLayout& out);

class CliqueTree {
 public:
  // Compiles the component, which it borrows, and makes the tables.
  explicit CliqueTree(const RelevanceComponent& newComponent);

  // The component is refused; there is nothing to run.
  [[nodiscard]] bool HasFailed() const { return failed; }
  // Writes the posterior of every node without evidence and marks it valid. Under contradictory evidence
  // these are NaN. To be called once; -42 if a value can't be had.
  [[nodiscard]] int Run();

 private:
  // Where a node's posterior is read.
  struct Source {
    std::span<const int> dimensions;
    std::span<const double> table;
  };

  void MakeTables();
  void Initialise();
  // Has the walks follow this member in the table of another family, at its evidence; returns the offset.
  std::ptrdiff_t FollowFamilyMember(int position, int stride);
  void Collect();
  void Distribute();
  // Adds a clique's table into the separator's, or multiplies the separator's into it.
  void SendTo(int separator, int clique, std::span<double> message);
  void ReceiveFrom(int separator, int clique, std::span<const double> message);
  [[nodiscard]] int WritePosteriors();
  void FindSmallestTables();
  [[nodiscard]] int WritePosterior(int position);
  // The walk through a table over `dimensions` that follows `steps` in another.
  [[nodiscard]] IndexWalk WalkOver(std::span<const int> dimensions) const;
  [[nodiscard]] IndexWalk WalkToSeparator(int clique, int separator);
  [[nodiscard]] std::span<double> TableOf(int clique);
  [[nodiscard]] std::span<double> MessageOf(int separator);
  int& StepOf(int position) { return steps[static_cast<std::size_t>(position)]; }
  [[nodiscard]] int SizeOf(int position) const { return sizes[static_cast<std::size_t>(position)]; }

  const RelevanceComponent& component;
  ComponentShape shape;
  CliqueTreeLayout layout;
  bool failed = false;
  std::vector<int> sizes;                 // by position: outcomes, 1 for an observed node
  std::vector<std::size_t> tableStart;    // by clique, one more than there are
  std::vector<std::size_t> messageStart;  // by separator, one more than there are
  std::vector<double> tables;             // all cliques' tables over their unobserved members
  std::vector<double> messages;           // all separators' tables
  std::vector<int> steps;                 // scratch by position, all 0 between uses
  std::vector<double> received;           // scratch: a message on its way to a child
  std::vector<Source> sources;            // by position
};

}  // namespace qvr

#endif
