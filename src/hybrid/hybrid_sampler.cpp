#include "hybrid/hybrid_sampler.h"

#include <algorithm>
#include <cmath>

namespace qvr {

namespace {

constexpr int kMostRejections = 1'000'000;
constexpr int kMostReserved = 1 << 20;  // the number of samples may come from a file
constexpr double kTolerance = 1e-9;     // relative, and absolute below 1

double Slack(double x) { return kTolerance * std::max(1.0, std::abs(x)); }

}  // namespace

double SolveForParent(HybridNetwork& network, int node, int parent) {
  ValueTable& table = network.table;
  EquationProgram& equation = network.Continuous(node).GetEquation(table);
  const double x = equation.FindInverse(parent)->Evaluate(table);
  table[parent] = x;
  const double derivative = std::abs(equation.Differentiate(parent, table));
  const double gap = std::abs(equation.Evaluate(table) - table[node]);
  const bool isSolution = gap <= Slack(table[node]) + derivative * Slack(x);
  return isSolution && std::isfinite(derivative) ? derivative : 0.0;
}

HybridSampler::HybridSampler(HybridNetwork& newNetwork, const std::vector<bool>& mixes,
                             std::vector<int> newRequested)
    : network(newNetwork), requested(std::move(newRequested)), columns(requested.size()) {
  MakeSteps(SamplingOrder(network), mixes);
}

// Weights come as soon as all that they depend on has been drawn, so that a sample of weight 0 ends early.
void HybridSampler::MakeSteps(const SamplingOrder& order, const std::vector<bool>& mixes) {
  lowerNodes = order.GetLowerNodes();
  pathOf.assign(lowerNodes.size(), -1);
  logDerivatives.resize(order.GetPaths().size());
  std::vector<std::size_t> placeOf(lowerNodes.size());  // 0 for known nodes
  for (std::size_t place = 0; place < order.GetOrder().size(); ++place) {
    placeOf[static_cast<std::size_t>(order.GetOrder()[place])] = place + 1;
  }
  std::vector<std::vector<Step>> weighings(order.GetOrder().size() + 1);  // by the place that they wait for
  const auto addWeighing = [&](Kind kind, int slot, int path) {
    std::size_t last = placeOf[static_cast<std::size_t>(slot)];
    for (const int parent : network[slot].parents) {
      last = std::max(last, placeOf[static_cast<std::size_t>(parent)]);
    }
    weighings[last].push_back({kind, slot, path});
  };
  for (std::size_t path = 0; path < order.GetPaths().size(); ++path) {
    for (const int slot : order.GetPaths()[path]) {
      pathOf[static_cast<std::size_t>(slot)] = static_cast<int>(path);
    }
    addWeighing(Kind::WeighSolved, order.GetPaths()[path].back(), static_cast<int>(path));
  }
  for (int slot = 0; slot < network.GetSize(); ++slot) {
    const QVR_hybridSampleNode& node = network[slot];
    if (node.isObserved && !node.parents.empty() && pathOf[static_cast<std::size_t>(slot)] < 0) {
      const bool isEquation = !node.IsDiscrete() && network.Continuous(slot).IsEquation();
      addWeighing(isEquation ? Kind::Check : Kind::Weigh, slot, -1);
    }
  }
  steps = weighings[0];
  for (std::size_t place = 0; place < order.GetOrder().size(); ++place) {
    const int slot = order.GetOrder()[place];
    AddDraw(slot, mixes[static_cast<std::size_t>(slot)]);
    steps.insert(steps.end(), weighings[place + 1].begin(), weighings[place + 1].end());
  }
}

void HybridSampler::AddDraw(int slot, bool mixes) {
  const QVR_hybridSampleNode& node = network[slot];
  const int path = pathOf[static_cast<std::size_t>(slot)];
  if (path >= 0) {
    steps.push_back({Kind::Solve, slot, path});
    return;
  }
  const Kind plain = node.hasVirtualEvidence ? Kind::DrawWithLikelihood : Kind::Draw;
  steps.push_back({mixes ? Kind::Mix : plain, slot, -1});
}

double HybridSampler::TakeStep(const Step& step) {
  QVR_hybridSampleNode& node = network[step.slot];
  ValueTable& table = network.table;
  switch (step.kind) {
    case Kind::Draw:
      return node.Draw(table) ? 1.0 : 0.0;
    case Kind::DrawWithLikelihood:
      return node.Draw(table) ? node.GetLikelihood(table) : 0.0;
    case Kind::Mix:
      return Mix(node);
    case Kind::Solve:
      return Solve(step);
    case Kind::Weigh:
      return node.Weigh(table);
    case Kind::WeighSolved:
      return WeighSolved(step);
    case Kind::Check:
      return Check(step.slot);
  }
  return 0.0;
}

double HybridSampler::Mix(QVR_hybridSampleNode& node) {
  const double ratio = node.DrawFromMixture(network.table);
  return ratio > 0.0 ? ratio * node.GetLikelihood(network.table) : 0.0;
}

// The path's derivatives wait for its end: a law that counts takes none.
double HybridSampler::Solve(const Step& step) {
  const int lower = lowerNodes[static_cast<std::size_t>(step.slot)];
  double& logDerivative = logDerivatives[static_cast<std::size_t>(step.path)];
  if (network[lower].isObserved) {
    logDerivative = 0.0;
  }
  const double derivative = SolveForParent(network, lower, step.slot);
  if (derivative == 0.0) {
    return 0.0;
  }
  logDerivative += std::log(derivative);
  if (network.Continuous(step.slot).CountsSomewhere()) {
    double& x = network.table[step.slot];
    x = std::abs(x - std::round(x)) <= Slack(x) ? std::round(x) : x;
  }
  return 1.0;
}

double HybridSampler::WeighSolved(const Step& step) {
  LawProgram& law = network.Continuous(step.slot).GetLaw(network.table);
  if (!law.Counts()) {
    logWeight -= logDerivatives[static_cast<std::size_t>(step.path)];
  }
  return law.Weigh(network.table[step.slot], network.table);
}

double HybridSampler::Check(int slot) {
  const double observed = network.table[slot];
  const double computed = network.Continuous(slot).GetEquation(network.table).Evaluate(network.table);
  return std::abs(computed - observed) <= Slack(observed) ? 1.0 : 0.0;
}

bool HybridSampler::DrawSample() {
  logWeight = 0.0;
  for (const Step& step : steps) {
    const double factor = TakeStep(step);
    if (factor == 1.0) {
      continue;
    }
    if (!(factor > 0.0) || !std::isfinite(factor)) {
      return false;
    }
    logWeight += std::log(factor);
  }
  return true;
}

void HybridSampler::Run(int sampleCount) {
  const auto expected = static_cast<std::size_t>(std::clamp(sampleCount, 0, kMostReserved));
  logWeights.reserve(expected);
  for (std::vector<double>& column : columns) {
    column.reserve(expected);
  }
  int rejections = 0;
  for (int accepted = 0; accepted < sampleCount && rejections < kMostRejections;) {
    if (!DrawSample()) {
      ++rejections;
      continue;
    }
    ++accepted;
    logWeights.push_back(logWeight);
    for (std::size_t i = 0; i < requested.size(); ++i) {
      columns[i].push_back(network.table[requested[i]]);
    }
  }
}

std::vector<double> HybridSampler::GetWeights() const {
  std::vector<double> weights;
  if (logWeights.empty()) {
    return weights;
  }
  const double largest = *std::max_element(logWeights.begin(), logWeights.end());
  weights.reserve(logWeights.size());
  for (const double sample : logWeights) {
    weights.push_back(std::exp(sample - largest));
  }
  return weights;
}

}  // namespace qvr
