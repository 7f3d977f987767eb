#include "support/brute_force.h"

#include <utility>

#include "support/canonical_reference.h"

namespace qvr {
namespace {

struct JointNode {
  int handle;
  int outcomeCount;
  std::vector<std::size_t> parents;  // places of the parents in the order of the sum
  std::vector<double> table;
};

class JointSum {
 public:
  JointSum(QVR_network& network, const Observations& newObservations);
  JointAnswer Answer(int tableSize);

 private:
  void Place(QVR_network& network, int handle);
  // The weight of all completions of the states before `place`, which weigh `product` themselves.
  double Sum(std::size_t place, double product);
  [[nodiscard]] std::size_t RowOf(const JointNode& node) const;
  [[nodiscard]] double EvidenceWeight(int handle, int outcome) const;

  static constexpr std::size_t kNotPlaced = static_cast<std::size_t>(-1);

  const Observations& observations;
  std::vector<std::size_t> placeOf;  // by handle
  std::vector<JointNode> nodes;      // parents first
  std::vector<int> states;           // by place
  std::vector<std::vector<double>> sums;
};

JointSum::JointSum(QVR_network& network, const Observations& newObservations)
    : observations(newObservations), placeOf(static_cast<std::size_t>(network.GetTableSize()), kNotPlaced) {
  for (int handle = network.FirstNode(); handle >= 0; handle = network.NextNode(handle)) {
    Place(network, handle);
  }
  states.resize(nodes.size());
  for (const JointNode& node : nodes) {
    sums.emplace_back(static_cast<std::size_t>(node.outcomeCount), 0.0);
  }
}

void JointSum::Place(QVR_network& network, int handle) {
  std::size_t& place = placeOf[static_cast<std::size_t>(handle)];
  if (place != kNotPlaced) {
    return;
  }
  JointNode node{handle, network.NodeAt(handle)->GetNumberOfOutcomes(), {}, ReferenceTable(network, handle)};
  if (node.table.empty()) {
    return;
  }
  for (int parent : network.GetParents(handle)) {
    Place(network, parent);
    node.parents.push_back(placeOf[static_cast<std::size_t>(parent)]);
  }
  place = nodes.size();
  nodes.push_back(std::move(node));
}

std::size_t JointSum::RowOf(const JointNode& node) const {
  std::size_t row = 0;
  for (std::size_t parent : node.parents) {
    row =
        row * static_cast<std::size_t>(nodes[parent].outcomeCount) + static_cast<std::size_t>(states[parent]);
  }
  return row * static_cast<std::size_t>(node.outcomeCount);
}

double JointSum::EvidenceWeight(int handle, int outcome) const {
  const auto at = static_cast<std::size_t>(handle);
  if (observations.outcomes[at] >= 0 && observations.outcomes[at] != outcome) {
    return 0;
  }
  const std::vector<double>& likelihoods = observations.likelihoods[at];
  return likelihoods.empty() ? 1 : likelihoods[static_cast<std::size_t>(outcome)];
}

double JointSum::Sum(std::size_t place, double product) {
  if (place == nodes.size()) {
    return product;
  }
  const JointNode& node = nodes[place];
  const std::size_t row = RowOf(node);
  double total = 0;
  for (int outcome = 0; outcome < node.outcomeCount; ++outcome) {
    const auto at = static_cast<std::size_t>(outcome);
    const double weight = product * node.table[row + at] * EvidenceWeight(node.handle, outcome);
    if (weight == 0) {
      continue;
    }
    states[place] = outcome;
    const double below = Sum(place + 1, weight);
    sums[place][at] += below;
    total += below;
  }
  return total;
}

JointAnswer JointSum::Answer(int tableSize) {
  JointAnswer answer;
  answer.evidenceProbability = Sum(0, 1);
  answer.posteriors.resize(static_cast<std::size_t>(tableSize));
  for (std::size_t place = 0; place < nodes.size(); ++place) {
    std::vector<double>& posterior = answer.posteriors[static_cast<std::size_t>(nodes[place].handle)];
    posterior = sums[place];
    for (double& cell : posterior) {
      cell = answer.evidenceProbability > 0 ? cell / answer.evidenceProbability : 0;
    }
  }
  return answer;
}

}  // namespace

JointAnswer SumJoint(QVR_network& network, const Observations& observations) {
  return JointSum(network, observations).Answer(network.GetTableSize());
}

}  // namespace qvr
