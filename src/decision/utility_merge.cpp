#include "decision/utility_merge.h"

#include <algorithm>
#include <vector>

#include "definitions/mau.h"
#include "model/error_log.h"
#include "model/network.h"
#include "model/strided_walk.h"
#include "model/system_coordinates.h"

namespace qvr {

namespace {

constexpr int kMostParents = 20;

int RefuseWeights() {
  return GetErrorLog().Log(QVR_OUT_OF_RANGE, "Can't solve this network using best policy algorithm");
}

int RefuseMerge() {
  return GetErrorLog().Log(
      QVR_OUT_OF_RANGE,
      "Cannot solve this network using SHACHTER's algorithm. Error while merging utility "
      "nodes (too many parents)");
}

QVR_Dmatrix& TableOf(QVR_network& work, int handle) {
  QVR_Dmatrix* table = nullptr;
  work.NodeAt(handle)->definition->GetMatrix(table);
  return *table;
}

std::vector<int> NodesOfType(QVR_network& work, int type) {
  std::vector<int> handles;
  for (int handle : work.GetTopologicalOrder()) {
    if (work.NodeAt(handle)->GetType() == type) {
      handles.push_back(handle);
    }
  }
  return handles;
}

// A utility, or a multi-attribute node that it counts in.
struct WeightedNode {
  struct Use {
    std::size_t combination;  // the place of the node that combines it
    int weight;               // its place among that node's weights
  };
  int handle;
  const QVR_mau* definition = nullptr;  // null for the utility itself
  std::vector<Use> uses = {};
  std::vector<int> steps = {};  // along the utility's table, in the definition's weights
};

const QVR_mau& MauAt(const QVR_network& work, int handle) {
  return dynamic_cast<const QVR_mau&>(*work.NodeAt(handle)->definition);
}

// How much one utility counts in the whole.
class UtilityWeight {
 public:
  // `combinations` are the multi-attribute nodes of the network, parents first.
  UtilityWeight(QVR_network& newWork, int utility, const std::vector<int>& combinations)
      : work(newWork), nodes{{.handle = utility}} {
    for (int handle : combinations) {
      const QVR_intArray& parents = work.GetParents(handle);
      if (std::any_of(parents.begin(), parents.end(), [this](int parent) { return Find(parent) >= 0; })) {
        nodes.push_back({.handle = handle, .definition = &MauAt(work, handle)});
      }
    }
    std::reverse(nodes.begin(), nodes.end());
    for (WeightedNode& node : nodes) {
      FindUses(node);
    }
  }

  [[nodiscard]] int Apply() {
    if (nodes.size() == 1) {
      return QVR_OKAY;
    }
    if (AddDecisions() < 0) {
      return RefuseWeights();
    }
    for (WeightedNode& node : nodes) {
      FindSteps(node);
    }
    QVR_sysCoordinates cursor(TableOf(work, nodes.back().handle));
    std::vector<double> factors(nodes.size());
    do {
      cursor.CurrentValue() *= FactorAt(cursor.Coordinates(), factors);
    } while (cursor.Next() >= 0);
    return QVR_OKAY;
  }

 private:
  [[nodiscard]] int Find(int handle) const {
    const auto found = std::find_if(nodes.begin(), nodes.end(),
                                    [handle](const WeightedNode& node) { return node.handle == handle; });
    return found == nodes.end() ? QVR_OUT_OF_RANGE : static_cast<int>(found - nodes.begin());
  }

  void FindUses(WeightedNode& node) const {
    for (int child : work.GetChildren(node.handle)) {
      QVR_intArray combined;
      MauAt(work, child).GetOtherParents(combined);
      node.uses.push_back({static_cast<std::size_t>(Find(child)), combined.Find(node.handle)});
    }
  }

  // The utility's table gets a dimension for every decision that its weight depends on.
  [[nodiscard]] int AddDecisions() {
    const int utility = nodes.back().handle;
    for (std::size_t i = 0; i + 1 < nodes.size(); ++i) {
      QVR_intArray decisions;
      nodes[i].definition->GetDecisionParents(decisions);
      for (int decision : decisions) {
        const bool isParent = work.GetParents(utility).Contains(decision) != 0;
        if (const int status = isParent ? QVR_OKAY : work.AddArc(decision, utility, kOrdinaryLayer);
            status < 0) {
          return status;
        }
      }
    }
    return QVR_OKAY;
  }

  void FindSteps(WeightedNode& node) const {
    const QVR_intArray& parents = work.GetParents(nodes.back().handle);
    node.steps.assign(static_cast<std::size_t>(parents.GetNumItems()), 0);
    QVR_intArray decisions;
    if (node.definition != nullptr) {
      node.definition->GetDecisionParents(decisions);
    }
    for (int i = 0; i < decisions.GetNumItems(); ++i) {
      node.steps[static_cast<std::size_t>(parents.Find(decisions[i]))] =
          node.definition->GetWeights().GetStride(i);
    }
  }

  // Combinations stand before what they combine.
  [[nodiscard]] double FactorAt(const QVR_intArray& coordinates, std::vector<double>& factors) const {
    for (std::size_t i = 0; i < nodes.size(); ++i) {
      factors[i] = nodes[i].uses.empty() ? 1.0 : 0.0;
      for (const WeightedNode::Use& use : nodes[i].uses) {
        const WeightedNode& combination = nodes[use.combination];
        int place = use.weight;
        for (std::size_t k = 0; k < combination.steps.size(); ++k) {
          place += combination.steps[k] * coordinates[static_cast<int>(k)];
        }
        factors[i] += factors[use.combination] * combination.definition->GetWeights().Subscript(place);
      }
    }
    return factors.back();
  }

  QVR_network& work;
  std::vector<WeightedNode> nodes;  // children before parents, the utility last
};

// The cells of `part`, repeated over the parents that it lacks, are added to `sum`.
int AddTable(QVR_network& work, int part, int sum) {
  const QVR_Dmatrix& source = TableOf(work, part);
  QVR_Dmatrix& target = TableOf(work, sum);
  const QVR_intArray& parents = work.GetParents(sum);
  StridedWalk walk;
  for (int i = 0; i < parents.GetNumItems(); ++i) {
    const int dimension = work.GetParents(part).Find(parents[i]);
    const int step = dimension >= 0 ? source.GetStride(dimension) : 0;
    if (int status = walk.AddDimension(target.GetDimension(i), target.GetStride(i), step); status < 0) {
      return status;
    }
  }
  do {
    target.Subscript(walk.First()) += source.Subscript(walk.Second());
  } while (walk.Next());
  return QVR_OKAY;
}

}  // namespace

int ApplyUtilityWeights(QVR_network& work) {
  const std::vector<int> combinations = NodesOfType(work, kTypeMau);
  for (int handle : combinations) {
    if (MauAt(work, handle).GetExpressionTable() != nullptr) {
      return RefuseWeights();
    }
  }
  for (int utility : NodesOfType(work, kTypeTable)) {
    if (int status = UtilityWeight(work, utility, combinations).Apply(); status < 0) {
      return status;
    }
  }
  for (int handle : combinations) {
    work.DeleteNode(handle);
  }
  return QVR_OKAY;
}

int MergeUtilities(QVR_network& work, int& merged) {
  const std::vector<int> others = NodesOfType(work, kTypeTable);
  merged = work.AddNode(kTypeTable, nullptr);
  if (merged < 0 || !work.NodeAt(merged)->definition) {
    return QVR_OUT_OF_RANGE;
  }
  std::vector<int> parents;
  for (int handle : others) {
    for (int parent : work.GetParents(handle)) {
      if (std::find(parents.begin(), parents.end(), parent) == parents.end()) {
        parents.push_back(parent);
      }
      if (parents.size() > kMostParents) {
        return RefuseMerge();
      }
    }
  }
  for (int parent : parents) {
    if (work.AddArc(parent, merged, kOrdinaryLayer) < 0) {
      return RefuseMerge();
    }
  }
  TableOf(work, merged).Fill(0.0);
  for (int handle : others) {
    if (int status = AddTable(work, handle, merged); status < 0) {
      return status;
    }
    work.DeleteNode(handle);
  }
  return QVR_OKAY;
}

}  // namespace qvr
