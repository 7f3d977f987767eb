// qvr info: what a network consists of, and what it costs to solve it exactly.
#include <algorithm>
#include <map>

#include "app/case_run.h"
#include "app/command/commands.h"
#include "app/command/network_input.h"
#include "app/command/output.h"
#include "app/command/text_layout.h"
#include "inference/component_shape.h"
#include "inference/join_tree_structure.h"
#include "inference/relevance.h"
#include "inference/triangulation.h"
#include "model/special_numbers.h"

namespace qvr {

namespace {

void PrintRow(const std::string& label, const std::string& text) {
  constexpr std::size_t kLabelWidth = 16;
  PrintResult(PadRight(label, kLabelWidth) + text + "\n");
}

// "1 node", "2 nodes".
std::string Count(std::int64_t number, const std::string& thing) {
  return GroupedNumber(number) + " " + thing + (number == 1 ? "" : "s");
}

// A node's table, expanded where the node states it by fewer numbers.
struct LargestTable {
  int node = -1;
  int numbers = 0;
};

struct Census {
  int nodes = 0;
  std::int64_t arcs = 0;
  int mostParents = 0;
  int fewestOutcomes = 0;  // of a node with outcomes
  int mostOutcomes = 0;
  std::map<std::string, int> types;
  std::int64_t tableNumbers = 0;
  LargestTable largest;
  int tooLarge = 0;  // nodes whose table can't be expanded
};

void CountNode(const QVR_network& network, int handle, Census& census) {
  const QVR_node& node = *network.NodeAt(handle);
  ++census.nodes;
  ++census.types[node.definition ? node.definition->GetTypeName() : "no definition"];
  const int parents = network.GetNumberOfParents(handle);
  census.arcs += parents;
  census.mostParents = std::max(census.mostParents, parents);
  const int outcomes = node.GetNumberOfOutcomes();
  if (outcomes > 0) {
    census.mostOutcomes = std::max(census.mostOutcomes, outcomes);
    census.fewestOutcomes = census.fewestOutcomes == 0 ? outcomes : std::min(census.fewestOutcomes, outcomes);
  }
  const int size = node.definition ? node.definition->GetSize() : 0;
  if (size == QVR_OUT_OF_MEMORY) {
    ++census.tooLarge;
  }
  if (size > 0) {
    census.tableNumbers += size;
  }
  if (size > census.largest.numbers) {
    census.largest = {handle, size};
  }
}

void PrintCensus(const QVR_network& network, const Census& census) {
  PrintRow("network", NetworkId(network));
  PrintRow("nodes", GroupedNumber(census.nodes));
  for (const auto& [type, count] : census.types) {
    PrintRow("  " + type, GroupedNumber(count));
  }
  PrintRow("arcs", GroupedNumber(census.arcs) + ", at most " + Count(census.mostParents, "parent"));
  if (census.mostOutcomes > 0) {
    PrintRow("outcomes",
             std::to_string(census.fewestOutcomes) + " to " + std::to_string(census.mostOutcomes));
  }
  std::string tables = Count(census.tableNumbers, "number");
  if (census.largest.node >= 0) {
    tables += ", at most " + GroupedNumber(census.largest.numbers) + " (" +
              NodeId(network, census.largest.node) + ")";
  }
  if (census.tooLarge > 0) {
    tables += "; " + Count(census.tooLarge, "node") + " beyond what a table can hold";
  }
  PrintRow("tables", tables);
}

// The trees of all components together.
struct TreeSizes {
  std::int64_t components = 0;
  std::int64_t cliques = 0;
  int largestMembers = 0;
  std::int64_t largestEntries = 0;
  std::int64_t entries = 0;
  std::int64_t steps = 0;  // multiplications and additions of table entries in an update
};

void AddTree(const JoinTreeStructure& tree, TreeSizes& sizes) {
  constexpr std::int64_t kMessagePasses = 2;  // summed towards the root, multiplied on the way back
  sizes.cliques += tree.members.Count();
  sizes.entries += tree.totalSize;
  for (int clique = 0; clique < tree.members.Count(); ++clique) {
    const std::int64_t entries = tree.tableSize[static_cast<std::size_t>(clique)];
    const auto factors = static_cast<std::int64_t>(
        tree.assigned[clique].size() + 2 * tree.children[clique].size() + tree.posteriors[clique].size());
    sizes.largestMembers = std::max(sizes.largestMembers, static_cast<int>(tree.members[clique].size()));
    sizes.largestEntries = std::max(sizes.largestEntries, entries);
    sizes.steps += entries * (factors + kMessagePasses);
  }
}

// False if a component is beyond the limits of the exact solver.
bool MeasureTrees(QVR_network& network, TreeSizes& sizes) {
  ComponentList list;
  if (RelevanceReduce(network, true, true, list) < 0) {
    return false;
  }
  ComponentShape shape;
  JoinTreeStructure tree;
  for (const RelevanceComponent& component : list.components) {
    DescribeComponent(component, shape);
    if (!CompileJoinTree(shape, kDefaultSizeLimit, tree)) {
      return false;
    }
    ++sizes.components;
    AddTree(tree, sizes);
  }
  return true;
}

// With all nodes of interest: targets alone might need less.
void PrintTrees(QVR_network& network) {
  network.ClearAllTargets();
  TreeSizes sizes;
  if (!MeasureTrees(network, sizes)) {
    PrintRow("tree", "too large to solve exactly as a whole");
    return;
  }
  PrintRow("tree", Count(sizes.cliques, "clique") + " in " + Count(sizes.components, "component"));
  PrintRow("  width", std::to_string(std::max(sizes.largestMembers - 1, 0)) + ", the largest clique has " +
                          GroupedNumber(sizes.largestEntries) + " entries");
  PrintRow("  size", GroupedNumber(sizes.entries) + " entries");
  PrintRow("cost", "about " + FormatGeneral(static_cast<double>(sizes.steps), 3) + " steps an update");
}

// Of an influence diagram: what may be known or chosen, in all combinations.
void PrintScenarios(const QVR_network& network) {
  double scenarios = 1;
  for (int handle = network.FirstNode(); handle >= 0; handle = network.NextNode(handle)) {
    const QVR_intArray& children = network.GetChildren(handle);
    const bool isKnown = std::any_of(children.begin(), children.end(), [&network](int child) {
      return network.NodeAt(child)->GetType() == kTypeList;
    });
    if (isKnown || network.NodeAt(handle)->GetType() == kTypeList) {
      scenarios *= std::max(network.NodeAt(handle)->GetNumberOfOutcomes(), 1);
    }
  }
  PrintRow("cost", "at most " + FormatGeneral(scenarios, 6) + " scenarios, one discrete update each");
}

}  // namespace

Failure Info(const InfoOptions& options) {
  QVR_network network;
  if (Failure failure = OpenNetwork(options.file, network)) {
    return failure;
  }
  Census census;
  for (int handle = network.FirstNode(); handle >= 0; handle = network.NextNode(handle)) {
    CountNode(network, handle, census);
  }
  PrintCensus(network, census);
  if (census.types.contains("LIST")) {
    PrintScenarios(network);
  } else if (IsDiscreteChanceNetwork(network) && network.GetNumberOfNodes() > 0) {
    PrintTrees(network);
  }
  return std::nullopt;
}

}  // namespace qvr
