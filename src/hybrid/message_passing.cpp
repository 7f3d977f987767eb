#include "hybrid/message_passing.h"

#include <algorithm>
#include <cmath>

namespace qvr {

namespace {

std::size_t PlaceOf(int slot, const std::vector<int>& list) {
  return static_cast<std::size_t>(std::find(list.begin(), list.end(), slot) - list.begin());
}

}  // namespace

std::vector<WeightedSample> Thin(std::vector<WeightedSample> draws, int count) {
  std::erase_if(draws, [](const WeightedSample& draw) { return !std::isfinite(draw.value); });
  std::sort(draws.begin(), draws.end(),
            [](const WeightedSample& a, const WeightedSample& b) { return a.value < b.value; });
  std::vector<WeightedSample> kept;
  const std::size_t runs = std::min(draws.size(), static_cast<std::size_t>(std::max(count, 0)));
  for (std::size_t run = 0; run < runs; ++run) {
    const std::size_t first = run * draws.size() / runs;
    const std::size_t end = (run + 1) * draws.size() / runs;
    double weight = 0.0;
    for (std::size_t i = first; i < end; ++i) {
      weight += draws[i].weight;
    }
    kept.push_back({draws[first + (end - first) / 2].value, weight / static_cast<double>(end - first)});
  }
  return kept;
}

MessagePassing::MessagePassing(HybridNetwork& newNetwork, const MessageSettings& newSettings)
    : network(newNetwork),
      settings(newSettings),
      due(newNetwork.nodes.size()),
      forward(newNetwork.nodes.size()),
      atParent(newNetwork.nodes.size()),
      atChild(newNetwork.nodes.size()) {
  for (const auto& node : network.nodes) {
    const auto slot = static_cast<std::size_t>(node->slot);
    for (const int parent : node->parents) {
      atParent[slot].push_back(PlaceOf(node->slot, network[parent].children));
    }
    for (const int child : node->children) {
      atChild[slot].push_back(PlaceOf(node->slot, network[child].parents));
    }
    due[slot].toParents.assign(node->parents.size(), true);
    due[slot].toChildren.assign(node->children.size(), true);
  }
}

// Before the first round the children are told what the laws alone say, so that no message is ever drawn from
// that says nothing.
void MessagePassing::Run() {
  SetUpMessages();
  for (int slot = 0; slot < network.GetSize(); ++slot) {
    SendToChildren(slot);
  }
  for (int round = 0; round < settings.iterations; ++round) {
    for (int slot = network.GetSize(); slot-- > 0;) {
      SendToParents(slot);
    }
    for (int slot = 0; slot < network.GetSize(); ++slot) {
      SendToChildren(slot);
    }
  }
  for (const auto& node : network.nodes) {
    if (!node->IsKnown()) {
      const std::vector<WeightedSample> points = GetPoints(node->slot);
      node->belief = MakeMessage(node->slot);
      Fill(node->slot, points, GetFactors(node->slot, points), -1, *node->belief);
    }
  }
}

void MessagePassing::SetUpMessages() {
  for (const auto& node : network.nodes) {
    node->piMessages.clear();
    node->lambdaMessages.clear();
    for (const int parent : node->parents) {
      node->piMessages.push_back(MakeMessage(parent));
      if (network[parent].IsKnown()) {
        node->piMessages.back()->Fix(network.table[parent]);
      }
    }
    for (std::size_t child = 0; child < node->children.size(); ++child) {
      node->lambdaMessages.push_back(MakeMessage(node->slot));
    }
  }
}

void MessagePassing::DrawParents(int slot, int exceptParent) {
  const QVR_hybridSampleNode& node = network[slot];
  for (std::size_t i = 0; i < node.parents.size(); ++i) {
    if (node.parents[i] != exceptParent) {
      network.table[node.parents[i]] = node.piMessages[i]->DrawValue();
    }
  }
}

}  // namespace qvr
