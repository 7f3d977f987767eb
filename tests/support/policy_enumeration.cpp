#include "support/policy_enumeration.h"

#include <algorithm>

#include "definitions/mau.h"
#include "support/canonical_reference.h"
#include "support/network_builder.h"

namespace qvr {

PolicyEnumeration::PolicyEnumeration(QVR_network& newNetwork, const std::vector<int>& newOrder)
    : network(&newNetwork), order(newOrder), states(static_cast<std::size_t>(newNetwork.GetTableSize()), -1) {
  for (int handle : ListOf(network->GetTopologicalOrder())) {
    const QVR_node& node = *network->NodeAt(handle);
    if (node.GetType() == kTypeTable) {
      QVR_Dmatrix* table = nullptr;
      node.definition->GetMatrix(table);
      const std::span<const double> cells = table->GetItems().Vector();
      tables[handle].assign(cells.begin(), cells.end());
    } else if (node.GetNumberOfOutcomes() > 0 && node.GetType() != kTypeList) {
      tables[handle] = ReferenceTable(*network, handle);
      chances.push_back(handle);
    }
    if ((node.GetType() & kTypeBitUtility) != 0) {
      utilities.push_back(handle);
    }
    if (node.value->HasRealEvidence()) {
      states[static_cast<std::size_t>(handle)] = node.value->GetEvidence();
    }
  }
  History history;
  Enumerate(history);
}

void PolicyEnumeration::Enumerate(History& history) {
  Sums& own = sums[history];
  if (history.size() == order.size()) {
    SumStates(0, 1, own);
    best[history] = 0;
    for (int handle : own.weight > 0 ? utilities : std::vector<int>()) {
      own.expected[handle] = Combine(own, handle);
      best[history] += network->GetNumberOfChildren(handle) == 0 ? own.expected[handle] : 0;
    }
    return;
  }
  const int handle = order[history.size()];
  const bool isChoice = network->NodeAt(handle)->GetType() == kTypeList;
  double result = 0;
  for (int outcome = 0; outcome < network->NodeAt(handle)->GetNumberOfOutcomes(); ++outcome) {
    states[static_cast<std::size_t>(handle)] = outcome;
    history.push_back(outcome);
    Enumerate(history);
    const Sums& below = sums[history];
    if (isChoice) {
      result = outcome == 0 ? best[history] : std::max(result, best[history]);
    } else {
      result += below.weight * best[history];
    }
    own.weight += !isChoice || outcome == 0 ? below.weight : 0;
    history.pop_back();
  }
  states[static_cast<std::size_t>(handle)] = -1;
  best[history] = isChoice || own.weight == 0 ? result : result / own.weight;
}

std::size_t PolicyEnumeration::RowOf(int handle) const {
  std::size_t row = 0;
  for (int parent : network->GetParents(handle)) {
    row = row * static_cast<std::size_t>(network->NodeAt(parent)->GetNumberOfOutcomes()) +
          static_cast<std::size_t>(states[static_cast<std::size_t>(parent)]);
  }
  return row;
}

double PolicyEnumeration::LikelihoodOf(int handle, int outcome) const {
  QVR_doubleArray likelihoods;
  return ValueOf(*network, handle).GetVirtualEvidence(likelihoods) >= 0 ? likelihoods[outcome] : 1;
}

void PolicyEnumeration::SumStates(std::size_t place, double weight, Sums& out) {
  if (place == chances.size()) {
    out.weight += weight;
    for (int handle : chances) {
      std::vector<double>& weights = out.weights[handle];
      weights.resize(static_cast<std::size_t>(network->NodeAt(handle)->GetNumberOfOutcomes()));
      weights[static_cast<std::size_t>(states[static_cast<std::size_t>(handle)])] += weight;
    }
    for (int handle : utilities) {
      if (tables.contains(handle)) {
        out.utilities[handle] += weight * tables[handle][RowOf(handle)];
      }
    }
    return;
  }
  const int handle = chances[place];
  const int count = network->NodeAt(handle)->GetNumberOfOutcomes();
  int& state = states[static_cast<std::size_t>(handle)];
  const int known = state;
  for (int outcome = 0; outcome < count; ++outcome) {
    const std::size_t cell =
        RowOf(handle) * static_cast<std::size_t>(count) + static_cast<std::size_t>(outcome);
    const double next = weight * tables[handle][cell] * LikelihoodOf(handle, outcome);
    if ((known < 0 || known == outcome) && next > 0) {
      state = outcome;
      SumStates(place + 1, next, out);
    }
  }
  state = known;
}

double PolicyEnumeration::Combine(const Sums& from, int utility) const {
  if (network->NodeAt(utility)->GetType() == kTypeTable) {
    return from.utilities.at(utility) / from.weight;
  }
  const auto& definition = dynamic_cast<const QVR_mau&>(*network->NodeAt(utility)->definition);
  std::vector<double> parts;
  int row = 0;
  for (int parent : network->GetParents(utility)) {
    if (network->NodeAt(parent)->GetType() == kTypeList) {
      row = row * network->NodeAt(parent)->GetNumberOfOutcomes() + states[static_cast<std::size_t>(parent)];
    } else {
      parts.push_back(from.expected.at(parent));
    }
  }
  double total = 0;
  for (std::size_t i = 0; i < parts.size(); ++i) {
    total += parts[i] *
             definition.GetWeights().Subscript(row * static_cast<int>(parts.size()) + static_cast<int>(i));
  }
  return total;
}

double PolicyEnumeration::Probability(const History& history) const { return sums.at(history).weight; }

std::vector<double> PolicyEnumeration::Posterior(int chance, const History& history) const {
  const Sums& own = sums.at(history);
  std::vector<double> posterior = own.weights.at(chance);
  for (double& cell : posterior) {
    cell /= own.weight;
  }
  return posterior;
}

}  // namespace qvr
