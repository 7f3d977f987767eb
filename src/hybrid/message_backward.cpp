// Messages to parents: how likely what is known at and below a node is, for each number of a parent.
#include <algorithm>
#include <cmath>

#include "hybrid/hybrid_sampler.h"
#include "hybrid/message_passing.h"

namespace qvr {

void MessagePassing::SendToParents(int slot) {
  const QVR_hybridSampleNode& node = network[slot];
  Due& own = due[static_cast<std::size_t>(slot)];
  if (!HasInformation(slot)) {
    return;
  }
  for (std::size_t i = 0; i < node.parents.size(); ++i) {
    const int parent = node.parents[i];
    if (!own.toParents[i] || network[parent].IsKnown()) {
      continue;
    }
    own.toParents[i] = false;
    MessagePtr message = MakeMessage(parent);
    if (!FillLambda(slot, i, *message)) {
      continue;
    }
    const std::size_t place = atParent[static_cast<std::size_t>(slot)][i];
    network[parent].lambdaMessages[place] = std::move(message);
    Due& theirs = due[static_cast<std::size_t>(parent)];
    std::fill(theirs.toParents.begin(), theirs.toParents.end(), true);
    for (std::size_t child = 0; child < theirs.toChildren.size(); ++child) {
      theirs.toChildren[child] = theirs.toChildren[child] || child != place;
    }
  }
}

bool MessagePassing::HasInformation(int slot) const {
  const QVR_hybridSampleNode& node = network[slot];
  return node.isObserved || node.hasVirtualEvidence ||
         std::any_of(node.lambdaMessages.begin(), node.lambdaMessages.end(),
                     [](const MessagePtr& lambda) { return !lambda->IsUninformative(); });
}

std::optional<double> MessagePassing::GetNumber(int slot) const {
  const QVR_hybridSampleNode& node = network[slot];
  if (node.IsKnown()) {
    return network.table[slot];
  }
  for (const MessagePtr& lambda : node.lambdaMessages) {
    if (lambda->IsFixed()) {
      return lambda->GetFixedValue();
    }
  }
  return std::nullopt;
}

bool MessagePassing::AreOthersFixed(int slot, int exceptParent) const {
  const QVR_hybridSampleNode& node = network[slot];
  for (std::size_t i = 0; i < node.parents.size(); ++i) {
    if (node.parents[i] != exceptParent && !node.piMessages[i]->IsFixed()) {
      return false;
    }
  }
  return true;
}

bool MessagePassing::FillLambda(int slot, std::size_t parentIndex, QVR_hybridMessage& message) {
  const QVR_hybridSampleNode& node = network[slot];
  const int parent = node.parents[parentIndex];
  const std::optional<double> number = GetNumber(slot);
  if (number && !node.IsDiscrete() && network.Continuous(slot).IsEquation()) {
    const bool hasOtherSolution = FindSolvableParent(slot, parent) >= 0;
    const bool isSolvable = !network[parent].IsDiscrete() && network.Continuous(slot).HasInverse(parent);
    if (isSolvable && !(hasOtherSolution && MixesFormulas(slot))) {
      FillByInverse(slot, parent, *number, static_cast<QVR_continuousMessage&>(message));
      return true;
    }
    if (!hasOtherSolution) {
      return false;
    }
  }
  if (network[parent].IsDiscrete()) {
    FillByOutcomes(slot, parent, static_cast<QVR_discreteMessage&>(message));
  } else if (!node.piMessages[parentIndex]->IsFixed()) {
    FillByDraws(slot, parentIndex, static_cast<QVR_continuousMessage&>(message));
  }
  return !message.IsUninformative();
}

// Solutions of several formulas lie in several places, which one bandwidth doesn't fit.
bool MessagePassing::MixesFormulas(int slot) const {
  const QVR_hybridSampleNode& node = network[slot];
  return std::any_of(node.parents.begin(), node.parents.end(), [this](int parent) {
    return network[parent].IsDiscrete() && !network[parent].IsKnown();
  });
}

// The parent's number follows from the others'.
void MessagePassing::FillByInverse(int slot, int parent, double number, QVR_continuousMessage& message) {
  ValueTable& table = network.table;
  const double saved = table[slot];
  const bool isCertain = AreOthersFixed(slot, parent);
  std::vector<WeightedSample> pairs;
  const int drawCount = isCertain ? 1 : settings.messageSamples * kDrawsPerSample;
  for (int draw = 0; draw < drawCount; ++draw) {
    DrawParents(slot, parent);
    table[slot] = number;
    const double derivative = SolveForParent(network, slot, parent);
    pairs.push_back({table[parent], derivative > 0.0 ? 1.0 / derivative : 0.0});
  }
  table[slot] = saved;
  if (isCertain && pairs.front().weight > 0.0) {
    message.Fix(pairs.front().value);
    return;
  }
  for (const WeightedSample& pair : Thin(std::move(pairs), settings.messageSamples)) {
    message.AddValue(pair.value, pair.weight);
  }
  message.Normalize();
}

void MessagePassing::FillByDraws(int slot, std::size_t parentIndex, QVR_continuousMessage& message) {
  const int parent = network[slot].parents[parentIndex];
  QVR_hybridMessage& pi = *network[slot].piMessages[parentIndex];
  std::vector<WeightedSample> draws;
  for (int draw = 0; draw < settings.messageSamples * kDrawsPerSample; ++draw) {
    draws.push_back({pi.DrawValue(), 1.0});
  }
  for (const WeightedSample& drawn : Thin(std::move(draws), settings.messageSamples)) {
    network.table[parent] = drawn.value;
    message.AddLikelihood(drawn.value, AverageLikelihood(slot, parent, settings.innerSamples),
                          pi.GetDensity(drawn.value));
  }
  message.Normalize();
}

void MessagePassing::FillByOutcomes(int slot, int parent, QVR_discreteMessage& message) {
  for (int outcome = 0; outcome < network.Discrete(parent).outcomeCount; ++outcome) {
    network.table[parent] = outcome;
    message.AddValue(outcome,
                     AverageLikelihood(slot, parent, settings.messageSamples * settings.innerSamples));
  }
  message.Normalize();
}

double MessagePassing::AverageLikelihood(int slot, int parent, int draws) {
  const bool isCertain = GetNumber(slot).has_value() && AreOthersFixed(slot, parent);
  const int drawCount = isCertain ? 1 : draws;
  double sum = 0.0;
  for (int draw = 0; draw < drawCount; ++draw) {
    DrawParents(slot, parent);
    const double likelihood = DrawLikelihood(slot, parent);
    sum += likelihood > 0.0 && std::isfinite(likelihood) ? likelihood : 0.0;
  }
  return sum / drawCount;
}

double MessagePassing::DrawLikelihood(int slot, int parent) {
  QVR_hybridSampleNode& node = network[slot];
  ValueTable& table = network.table;
  if (const std::optional<double> number = GetNumber(slot)) {
    if (!node.IsDiscrete() && network.Continuous(slot).IsEquation()) {
      return WeighByInverse(slot, parent, *number);
    }
    table[slot] = *number;
    return node.Weigh(table);
  }
  if (node.IsDiscrete()) {
    return ExpectOutcomes(slot);
  }
  return node.Draw(table) ? MultiplyLambdas(slot) : 0.0;
}

// Outcomes needn't be drawn: their probabilities are at hand.
double MessagePassing::ExpectOutcomes(int slot) {
  QVR_discreteSampleNode& node = network.Discrete(slot);
  const std::span<const double> row = node.GetRow(network.table);
  double sum = 0.0;
  for (std::size_t outcome = 0; outcome < row.size(); ++outcome) {
    network.table[slot] = static_cast<double>(outcome);
    sum += row[outcome] * node.GetLikelihood(network.table) * MultiplyLambdas(slot);
  }
  return sum;
}

double MessagePassing::MultiplyLambdas(int slot) const {
  double product = 1.0;
  for (const MessagePtr& lambda : network[slot].lambdaMessages) {
    product *= lambda->GetRatio(network.table[slot]);
  }
  return product;
}

int MessagePassing::FindSolvableParent(int slot, int exceptParent) {
  const QVR_hybridSampleNode& node = network[slot];
  for (std::size_t i = 0; i < node.parents.size(); ++i) {
    const int other = node.parents[i];
    if (other != exceptParent && !network[other].IsDiscrete() && !node.piMessages[i]->IsFixed() &&
        network.Continuous(slot).HasInverse(other)) {
      return static_cast<int>(i);
    }
  }
  return -1;
}

// What another parent believes of the number that it must have, with the change of variables.
double MessagePassing::WeighByInverse(int slot, int parent, double number) {
  const int solved = FindSolvableParent(slot, parent);
  if (solved < 0) {
    return 0.0;
  }
  network.table[slot] = number;
  const QVR_hybridSampleNode& node = network[slot];
  const int other = node.parents[static_cast<std::size_t>(solved)];
  const double derivative = SolveForParent(network, slot, other);
  const double density = node.piMessages[static_cast<std::size_t>(solved)]->GetDensity(network.table[other]);
  return derivative > 0.0 ? density / derivative : 0.0;
}

}  // namespace qvr
