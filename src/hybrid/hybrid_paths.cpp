#include "hybrid/hybrid_paths.h"

#include <algorithm>
#include <functional>
#include <queue>

namespace qvr {

namespace {

// Partial paths of one length, and whole ones tried: a dense network has more than can be looked at.
constexpr std::size_t kMostPartialPaths = 10'000;
constexpr std::size_t kMostTrials = 1'000;
constexpr std::size_t kMostSteps = 100'000'000;  // of all partial paths of one search

}  // namespace

SamplingOrder::SamplingOrder(HybridNetwork& newNetwork)
    : network(newNetwork), lowerNodes(static_cast<std::size_t>(newNetwork.GetSize()), -1) {
  ChoosePaths();
}

void SamplingOrder::ChoosePaths() {
  for (int slot = 0; slot < network.GetSize(); ++slot) {
    const QVR_hybridSampleNode& node = network[slot];
    if (node.isObserved && !node.IsDiscrete() && !node.parents.empty() &&
        network.Continuous(slot).IsEquation()) {
      ChoosePath(slot);
    }
  }
  static_cast<void>(MakeOrder());  // each path was taken only if there is one
}

bool SamplingOrder::CanStep(int lower, int parent) const {
  const QVR_hybridSampleNode& node = network[parent];
  return !node.IsDiscrete() && !node.IsKnown() && lowerNodes[static_cast<std::size_t>(parent)] < 0 &&
         network.Continuous(lower).HasInverse(parent);
}

bool SamplingOrder::EndsPath(int slot) const { return !network.Continuous(slot).IsEquation(); }

int SamplingOrder::Rank(const SolvedPath& path) const {
  const bool counts = network.Continuous(path.back()).CountsSomewhere();
  const bool hasOtherChildren = network[path.back()].children.size() > 1;
  return (counts ? 2 : 0) + (hasOtherChildren ? 1 : 0);
}

// Paths of one length after the other, those of a length in the order of parents.
void SamplingOrder::ChoosePath(int observed) {
  std::vector<SolvedPath> partial = {{observed}};
  std::size_t trials = 0;
  std::size_t steps = 0;
  while (!partial.empty() && trials < kMostTrials && steps < kMostSteps) {
    std::vector<SolvedPath> longer;
    std::vector<SolvedPath> complete;
    for (const SolvedPath& path : partial) {
      for (const int parent : network[path.back()].parents) {
        if (CanStep(path.back(), parent) && longer.size() + complete.size() < kMostPartialPaths) {
          std::vector<SolvedPath>& list = EndsPath(parent) ? complete : longer;
          list.push_back(path);
          list.back().push_back(parent);
        }
      }
    }
    trials += complete.size();
    steps += longer.empty() ? 0 : longer.size() * longer.front().size();
    if (TakeFirstPossible(complete)) {
      return;
    }
    partial.swap(longer);
  }
}

bool SamplingOrder::TakeFirstPossible(std::vector<SolvedPath>& complete) {
  std::stable_sort(complete.begin(), complete.end(),
                   [this](const SolvedPath& a, const SolvedPath& b) { return Rank(a) < Rank(b); });
  complete.resize(std::min(complete.size(), kMostTrials));
  return std::any_of(complete.begin(), complete.end(), [this](const SolvedPath& path) { return Take(path); });
}

bool SamplingOrder::Take(const SolvedPath& path) {
  for (std::size_t step = 1; step < path.size(); ++step) {
    lowerNodes[static_cast<std::size_t>(path[step])] = path[step - 1];
  }
  if (MakeOrder()) {
    paths.push_back(path);
    return true;
  }
  for (std::size_t step = 1; step < path.size(); ++step) {
    lowerNodes[static_cast<std::size_t>(path[step])] = -1;
  }
  return false;
}

std::vector<int> SamplingOrder::Precursors(int slot) const {
  const int lower = lowerNodes[static_cast<std::size_t>(slot)];
  std::vector<int> precursors = network[lower < 0 ? slot : lower].parents;
  if (lower >= 0) {
    std::erase(precursors, slot);
    precursors.push_back(lower);
  }
  std::erase_if(precursors, [this](int other) { return network[other].IsKnown(); });
  return precursors;
}

// Kahn's method; of the nodes that are ready the lowest comes first. False, with the order as it was, for a
// cycle.
bool SamplingOrder::MakeOrder() {
  const auto count = static_cast<std::size_t>(network.GetSize());
  std::vector<std::vector<int>> followers(count);
  std::vector<int> missing(count);
  std::priority_queue<int, std::vector<int>, std::greater<>> ready;
  std::size_t unknownCount = 0;
  for (int slot = 0; slot < network.GetSize(); ++slot) {
    if (network[slot].IsKnown()) {
      continue;
    }
    ++unknownCount;
    const std::vector<int> precursors = Precursors(slot);
    missing[static_cast<std::size_t>(slot)] = static_cast<int>(precursors.size());
    for (const int precursor : precursors) {
      followers[static_cast<std::size_t>(precursor)].push_back(slot);
    }
    if (precursors.empty()) {
      ready.push(slot);
    }
  }
  std::vector<int> newOrder;
  while (!ready.empty()) {
    newOrder.push_back(ready.top());
    ready.pop();
    for (const int follower : followers[static_cast<std::size_t>(newOrder.back())]) {
      if (--missing[static_cast<std::size_t>(follower)] == 0) {
        ready.push(follower);
      }
    }
  }
  if (newOrder.size() < unknownCount) {
    return false;
  }
  order.swap(newOrder);
  return true;
}

}  // namespace qvr
