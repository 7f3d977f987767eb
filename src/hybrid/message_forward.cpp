// Messages to children, and beliefs: what a node's parents say of it, weighted by what its children say.
#include <algorithm>
#include <cmath>

#include "hybrid/message_passing.h"

namespace qvr {

void MessagePassing::SendToChildren(int slot) {
  const QVR_hybridSampleNode& node = network[slot];
  Due& own = due[static_cast<std::size_t>(slot)];
  if (node.IsKnown()) {
    return;
  }
  if (own.draws) {
    DrawForward(slot);
    own.draws = false;
  }
  const std::vector<WeightedSample> points = GetPoints(slot);
  const std::vector<std::vector<double>> factors = GetFactors(slot, points);
  for (std::size_t i = 0; i < node.children.size(); ++i) {
    if (!own.toChildren[i]) {
      continue;
    }
    MessagePtr message = MakeMessage(slot);
    Fill(slot, points, factors, static_cast<int>(i), *message);
    const int child = node.children[i];
    network[child].piMessages[atChild[static_cast<std::size_t>(slot)][i]] = std::move(message);
    own.toChildren[i] = false;
    Due& theirs = due[static_cast<std::size_t>(child)];
    theirs.draws = true;
    std::fill(theirs.toParents.begin(), theirs.toParents.end(), true);
    std::fill(theirs.toChildren.begin(), theirs.toChildren.end(), true);
  }
}

void MessagePassing::DrawForward(int slot) {
  QVR_hybridSampleNode& node = network[slot];
  std::vector<double>& result = forward[static_cast<std::size_t>(slot)];
  const int drawCount = settings.messageSamples * kDrawsPerSample;
  if (node.IsDiscrete()) {
    result.assign(static_cast<std::size_t>(network.Discrete(slot).outcomeCount), 0.0);
    for (int draw = 0; draw < drawCount; ++draw) {
      DrawParents(slot, -1);
      const std::span<const double> row = network.Discrete(slot).GetRow(network.table);
      for (std::size_t outcome = 0; outcome < row.size(); ++outcome) {
        result[outcome] += row[outcome] / drawCount;
      }
    }
    return;
  }
  std::vector<WeightedSample> draws;
  draws.reserve(static_cast<std::size_t>(drawCount));
  for (int draw = 0; draw < drawCount; ++draw) {
    DrawParents(slot, -1);
    node.Draw(network.table);
    draws.push_back({network.table[slot], 1.0});
  }
  result.clear();
  for (const WeightedSample& sample : Thin(std::move(draws), settings.messageSamples)) {
    result.push_back(sample.value);
  }
}

std::vector<WeightedSample> MessagePassing::GetPoints(int slot) const {
  const std::vector<double>& numbers = forward[static_cast<std::size_t>(slot)];
  std::vector<WeightedSample> points;
  points.reserve(numbers.size());
  if (!network[slot].IsDiscrete()) {
    for (const double number : numbers) {
      points.push_back({number, 1.0});
    }
    return points;
  }
  const auto& node = static_cast<const QVR_discreteSampleNode&>(network[slot]);
  for (std::size_t outcome = 0; outcome < numbers.size(); ++outcome) {
    const double likelihood = node.likelihoods.empty() ? 1.0 : node.likelihoods[outcome];
    points.push_back({static_cast<double>(outcome), numbers[outcome] * likelihood});
  }
  return points;
}

std::vector<std::vector<double>> MessagePassing::GetFactors(int slot,
                                                            const std::vector<WeightedSample>& points) const {
  const QVR_hybridSampleNode& node = network[slot];
  std::vector<std::vector<double>> factors(node.children.size());
  for (std::size_t child = 0; child < factors.size(); ++child) {
    const QVR_hybridMessage& lambda = *node.lambdaMessages[child];
    if (!lambda.IsUninformative() && !lambda.IsFixed()) {
      for (const WeightedSample& point : points) {
        factors[child].push_back(lambda.GetRatio(point.value));
      }
    }
  }
  return factors;
}

// A message to a child that has lost all weight falls back on what the parents say: the child's own evidence
// may contradict that of the others.
void MessagePassing::Fill(int slot, std::vector<WeightedSample> points,
                          const std::vector<std::vector<double>>& factors, int exceptChild,
                          QVR_hybridMessage& message) const {
  const QVR_hybridSampleNode& node = network[slot];
  for (std::size_t child = 0; child < factors.size(); ++child) {
    if (static_cast<int>(child) == exceptChild) {
      continue;
    }
    if (node.lambdaMessages[child]->IsFixed()) {
      message.AddValue(node.lambdaMessages[child]->GetFixedValue(), 1.0);
      message.Fix(node.lambdaMessages[child]->GetFixedValue());
      return;
    }
    for (std::size_t i = 0; i < factors[child].size(); ++i) {
      points[i].weight *= factors[child][i];
    }
  }
  double sum = 0.0;
  for (const WeightedSample& point : points) {
    sum += point.weight;
  }
  const bool fallsBack = exceptChild >= 0 && !node.IsDiscrete() && !(sum > 0.0);
  for (const WeightedSample& point : points) {
    message.AddValue(point.value, fallsBack ? 1.0 : point.weight);
  }
  message.Normalize();
}

}  // namespace qvr
