// Adaptive importance sampling (AIS-BN, Cheng and Druzdzel 2000): the tables above the evidence are moved in
// steps towards what weighted samples show of the posterior; the samples that count come after. A cell
// learns from the squares of weight times present importance, which only shapes the tables: the weights
// stay unbiased whatever is learned.
#include "inference/adaptive_importance.h"

#include <algorithm>
#include <numeric>

#include "inference/clip_rules.h"
#include "inference/sample_net_run.h"
#include "inference/solver_runs.h"
#include "model/network.h"

namespace qvr {

namespace {

constexpr int kLearningSamples = 25000;
constexpr int kSamplesPerStep = 2500;
constexpr double kFirstRate = 0.4;
constexpr double kRateDecay = 0.9;

class Learner {
 public:
  explicit Learner(ImportanceSampler& newSampler);
  void Run();

 private:
  void ClipTables();
  void Count(const SampleWeight& weight);
  void LearnStep();

  ImportanceSampler& sampler;
  const SampleNet& net;
  std::vector<std::size_t> places;  // of the adjustable nodes without evidence
  QVR_Dmatrix learned;              // in the shape of net.table
  SumExponent unit;                 // the square of what `learned` is held in
  double rate = kFirstRate;
};

Learner::Learner(ImportanceSampler& newSampler) : sampler(newSampler), net(newSampler.net) {
  for (std::size_t place = 0; place < net.nodes.size(); ++place) {
    if (net.nodes[place].evidence < 0 && sampler.IsAdjustable(place)) {
      places.push_back(place);
    }
  }
  MakeCells(learned, net.CellCount());
}

// Parents of what is observed start as uniform: the evidence speaks of them most directly.
void Learner::ClipTables() {
  std::vector<unsigned char> aboveEvidence(net.nodes.size(), 0);
  for (const SampleNode& node : net.nodes) {
    if (node.evidence >= 0) {
      for (const SampleArc& arc : net.ArcsOf(node)) {
        aboveEvidence[static_cast<std::size_t>(arc.parent)] = 1;
      }
    }
  }
  for (const std::size_t place : places) {
    const SampleNode& node = net.nodes[place];
    const auto clip = aboveEvidence[place] != 0 ? SpreadUniformly : ClipByRule;
    clip(net.TableOf(node), node.outcomeCount, sampler.ImportanceOf(node));
    sampler.ImportanceChanged(node);
  }
}

void Learner::Count(const SampleWeight& weight) {
  if (const int shift = unit.Admit(weight); shift != 0) {
    ShiftSums(learned.GetItems().Vector(), 2 * shift);
  }
  const double scaled = unit.Scaled(weight);
  for (const std::size_t place : places) {
    const SampleNode& node = net.nodes[place];
    const std::size_t cell = sampler.Cells()[place];
    const double term = scaled * sampler.ImportanceOf(node)[cell - node.firstCell];
    learned.Subscript(static_cast<int>(cell)) += term * term;
  }
}

void Learner::LearnStep() {
  for (const std::size_t place : places) {
    const SampleNode& node = net.nodes[place];
    const auto width = static_cast<std::size_t>(node.outcomeCount);
    const std::span<double> importance = sampler.ImportanceOf(node);
    const std::span<double> seen = learned.GetItems().Vector().subspan(node.firstCell, node.cellCount);
    for (std::size_t start = 0; start < seen.size(); start += width) {
      const std::span<double> row = seen.subspan(start, width);
      const double sum = std::accumulate(row.begin(), row.end(), 0.0);
      for (std::size_t k = 0; sum != 0 && k < width; ++k) {
        double& entry = importance[start + k];
        entry = rate * row[k] / sum + (1 - rate) * entry;
      }
    }
    std::fill(seen.begin(), seen.end(), 0.0);
    sampler.ImportanceChanged(node);
  }
  rate *= kRateDecay;
}

void Learner::Run() {
  ClipTables();
  ShortStream stream = SampleStream();
  for (int sample = 1; sample <= kLearningSamples; ++sample) {
    SampleWeight weight;
    if (sampler.SampleOnce(stream, weight)) {
      Count(weight);
    }
    if (sample % kSamplesPerStep == 0) {
      LearnStep();
    }
  }
  SampleStream() = stream;
}

}  // namespace

void LearnImportance(ImportanceSampler& sampler) { Learner(sampler).Run(); }

int RunAdaptiveImportance(QVR_network& network) {
  return RunSampleNet(network, [&network](SampleNet& net) {
    ImportanceSampler sampler(net);
    SeedSampleStream();
    LearnImportance(sampler);
    return sampler.Estimate(network.sampleCount);
  });
}

}  // namespace qvr
