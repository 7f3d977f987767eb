#include "inference/message_rounds.h"

#include <algorithm>
#include <numeric>

#include "inference/table_rescale.h"
#include "inference/table_rows.h"

namespace qvr {

namespace {

constexpr int kMostRounds = 10000;

}  // namespace

MessageRounds::MessageRounds(const SampleNet& newNet) : net(newNet), beliefs(net.outcomeTotal, 0.0) {
  std::size_t entryCount = 0;
  std::size_t mostCombinations = 1;
  std::size_t mostOutcomes = 1;
  std::size_t mostParents = 0;
  std::size_t mostFamilyEntries = 0;
  for (const SampleNode& node : net.nodes) {
    const std::size_t familyStart = entryCount;
    for (const SampleArc& arc : net.ArcsOf(node)) {
      const int parentOutcomes = net.nodes[static_cast<std::size_t>(arc.parent)].outcomeCount;
      links.push_back({entryCount, static_cast<std::size_t>(parentOutcomes)});
      entryCount += links.back().count;
    }
    const auto outcomeCount = static_cast<std::size_t>(node.outcomeCount);
    mostFamilyEntries = std::max(mostFamilyEntries, entryCount - familyStart);
    mostCombinations = std::max(mostCombinations, node.cellCount / outcomeCount);
    mostOutcomes = std::max(mostOutcomes, outcomeCount);
    mostParents = std::max(mostParents, static_cast<std::size_t>(node.parentCount));
  }
  LinkChildren();
  lambdaMessages.assign(entryCount, 1.0);
  NormaliseMessages(lambdaMessages);
  piMessages = lambdaMessages;
  newLambdaMessages.resize(entryCount);
  newPiMessages.resize(entryCount);
  lambda.resize(mostOutcomes);
  pi.resize(mostOutcomes);
  familySums.resize(mostFamilyEntries);
  digits.resize(mostParents);
  MakeCells(parentProduct, mostCombinations);
}

void MessageRounds::LinkChildren() {
  std::vector<std::size_t> placeOf(net.nodes.size());
  for (std::size_t place = 0; place < net.records.size(); ++place) {
    placeOf[static_cast<std::size_t>(net.records[place]->position)] = place;
  }
  for (std::size_t place = 0; place < net.records.size(); ++place) {
    childStart.push_back(childArcs.size());
    for (const RelevanceNode* child : net.records[place]->children) {
      const SampleNode& node = net.nodes[placeOf[static_cast<std::size_t>(child->position)]];
      const auto arcs = net.ArcsOf(node);
      const auto found = std::find_if(arcs.begin(), arcs.end(), [place](const SampleArc& arc) {
        return arc.parent == static_cast<int>(place);
      });
      childArcs.push_back(static_cast<std::size_t>(node.firstArc + (found - arcs.begin())));
    }
  }
  childStart.push_back(childArcs.size());
}

void MessageRounds::NormaliseMessages(std::vector<double>& messages) const {
  for (std::size_t arc = 0; arc < links.size(); ++arc) {
    NormaliseRow(Message(messages, arc));
  }
}

void MessageRounds::Run(int count) {
  for (int round = 0; round < std::min(count, kMostRounds); ++round) {
    if (!Round()) {
      return;
    }
  }
}

bool MessageRounds::Round() {
  for (std::size_t place = 0; place < net.nodes.size(); ++place) {
    SendFrom(place);
  }
  NormaliseMessages(newLambdaMessages);
  NormaliseMessages(newPiMessages);
  const bool changed = newLambdaMessages != lambdaMessages || newPiMessages != piMessages;
  lambdaMessages.swap(newLambdaMessages);
  piMessages.swap(newPiMessages);
  return changed;
}

void MessageRounds::SendFrom(std::size_t place) {
  const SampleNode& node = net.nodes[place];
  const std::span<const double> ownLambda = LambdaOf(place);
  MultiplyParents(node);
  SumFamily(node, ownLambda);
  StoreBelief(node, ownLambda);
  SendToParents(node);
  SendToChildren(place, ownLambda);
}

std::span<const double> MessageRounds::LambdaOf(std::size_t place) {
  const SampleNode& node = net.nodes[place];
  const std::span<double> product = std::span(lambda).first(static_cast<std::size_t>(node.outcomeCount));
  if (node.evidence >= 0) {
    std::fill(product.begin(), product.end(), 0.0);
    product[static_cast<std::size_t>(node.evidence)] = 1;
    return product;
  }
  std::fill(product.begin(), product.end(), 1.0);
  for (std::size_t i = childStart[place]; i < childStart[place + 1]; ++i) {
    const std::span<const double> message = Message(lambdaMessages, childArcs[i]);
    std::transform(product.begin(), product.end(), message.begin(), product.begin(), std::multiplies<>());
    RescaleToUnit(product);  // or thousands of children underflow
  }
  return product;
}

// The product of the parents' messages for every combination of their outcomes, the last parent fastest.
// Built up parent by parent, from the back so that no entry is overwritten before it has been read.
void MessageRounds::MultiplyParents(const SampleNode& node) {
  double* product = parentProduct.GetItems().Vector().data();
  product[0] = 1.0;
  std::size_t combinations = 1;
  for (int i = 0; i < node.parentCount; ++i) {
    const std::span<const double> message = Message(piMessages, static_cast<std::size_t>(node.firstArc + i));
    for (std::size_t j = combinations; j > 0; --j) {
      const double factor = product[j - 1];
      for (std::size_t s = message.size(); s > 0; --s) {
        product[(j - 1) * message.size() + s - 1] = factor * message[s - 1];
      }
    }
    combinations *= message.size();
  }
}

// One walk over the table gives pi, and for each parent's outcomes what the family holds of them.
void MessageRounds::SumFamily(const SampleNode& node, std::span<const double> ownLambda) {
  const double* row = net.TableOf(node).data();
  const double* const end = row + node.cellCount;
  const double* product = parentProduct.GetItems().Vector().data();
  const auto width = static_cast<std::size_t>(node.outcomeCount);
  const auto parentCount = static_cast<std::size_t>(node.parentCount);
  const Link* const own = links.data() + node.firstArc;
  const std::size_t base = parentCount > 0 ? own[0].firstEntry : 0;
  const std::size_t entries =
      parentCount > 0 ? own[parentCount - 1].firstEntry + own[parentCount - 1].count - base : 0;
  std::fill_n(pi.begin(), width, 0.0);
  std::fill_n(familySums.begin(), entries, 0.0);
  std::fill_n(digits.begin(), parentCount, std::size_t{0});
  for (; row != end; row += width, ++product) {
    double sum = 0;
    for (std::size_t x = 0; x < width; ++x) {
      pi[x] += row[x] * *product;
      sum += row[x] * ownLambda[x];
    }
    sum *= *product;
    for (std::size_t i = 0; i < parentCount; ++i) {
      familySums[own[i].firstEntry - base + digits[i]] += sum;
    }
    for (std::size_t i = parentCount; i > 0 && ++digits[i - 1] == own[i - 1].count; --i) {
      digits[i - 1] = 0;
    }
  }
}

void MessageRounds::StoreBelief(const SampleNode& node, std::span<const double> ownLambda) {
  const auto belief = std::span(beliefs).subspan(node.firstOutcome, ownLambda.size());
  std::transform(ownLambda.begin(), ownLambda.end(), pi.begin(), belief.begin(), std::multiplies<>());
  NormaliseRow(belief);
}

// What the parent said itself is taken out again. An outcome that it called impossible stays so.
void MessageRounds::SendToParents(const SampleNode& node) {
  const double* sums = familySums.data();
  for (std::size_t i = 0; i < static_cast<std::size_t>(node.parentCount); ++i) {
    const std::size_t arc = static_cast<std::size_t>(node.firstArc) + i;
    const std::span<const double> said = Message(piMessages, arc);
    const std::span<double> message = Message(newLambdaMessages, arc);
    for (std::size_t s = 0; s < message.size(); ++s) {
      message[s] = said[s] != 0 ? *sums / said[s] : 0;
      ++sums;
    }
  }
}

void MessageRounds::SendToChildren(std::size_t place, std::span<const double> ownLambda) {
  for (std::size_t i = childStart[place]; i < childStart[place + 1]; ++i) {
    const std::span<const double> said = Message(lambdaMessages, childArcs[i]);
    const std::span<double> message = Message(newPiMessages, childArcs[i]);
    std::copy(ownLambda.begin(), ownLambda.end(), message.begin());
    KeepQuotientsFinite(message, said);
    for (std::size_t x = 0; x < message.size(); ++x) {
      message[x] = said[x] != 0 ? message[x] / said[x] * pi[x] : 0;
    }
  }
}

std::span<const double> MessageRounds::BeliefOf(std::size_t place) const {
  const SampleNode& node = net.nodes[place];
  return std::span(beliefs).subspan(node.firstOutcome, static_cast<std::size_t>(node.outcomeCount));
}

}  // namespace qvr
