// Self-importance sampling (Shachter and Peot 1990): as likelihood weighting, but outcomes are drawn from
// tables that lean, after every hundred samples, towards the weights seen so far.
//
// The ratio of the two tables enters the weight twice, once on finding the outcome and once on keeping it.
// So the shares of the weights don't go to the posteriors once the tables have parted.
#include <algorithm>
#include <cmath>

#include "inference/sampling_run.h"
#include "inference/solver_runs.h"
#include "inference/table_rows.h"
#include "model/network.h"

namespace qvr {

namespace {

constexpr int kSamplesPerStep = 100;
// What a sample adds to the learned tables at most, so that their rows have finite sums.
constexpr double kMostLearned = 1e300;

class SelfImportance {
 public:
  explicit SelfImportance(SampledComponent& newComponent);

  void DrawInPass(int pass, ShortStream& stream) {
    if (DrawSample(stream) && pass > 0 && pass % kSamplesPerStep == 0) {
      LeanTables();
    }
  }

 private:
  // False if a factor was 0: the sample doesn't count.
  bool DrawSample(ShortStream& stream);
  bool DrawNode(std::size_t place, ShortStream& stream);
  void LeanTables();

  SampledComponent& component;
  QVR_Dmatrix importance;          // the tables that outcomes are drawn from
  QVR_Dmatrix learned;             // the weights seen in each cell
  std::vector<std::size_t> cells;  // by place: the cell of the present sample
  SampleWeight evidenceWeight;
  SampleWeight ratioWeight;
};

SelfImportance::SelfImportance(SampledComponent& newComponent)
    : component(newComponent), cells(newComponent.net.nodes.size()) {
  const std::span<const double> table = component.net.table.GetItems().Vector();
  std::copy(table.begin(), table.end(), MakeCells(importance, table.size()).begin());
  MakeCells(learned, table.size());
}

bool SelfImportance::DrawNode(std::size_t place, ShortStream& stream) {
  SampleNet& net = component.net;
  const SampleNode& node = net.nodes[place];
  const double* table = net.table.GetItems().begin();
  const std::size_t row = RowOf(net, node);
  if (node.evidence >= 0) {
    cells[place] = row + static_cast<std::size_t>(node.evidence);
    return evidenceWeight.Multiply(table[cells[place]]);
  }
  const std::uint16_t* thresholds = component.thresholds.data() + row;
  const int draw = stream.Next();
  const int state = DrawOutcome(thresholds, node.outcomeCount, draw);
  net.states[place] = state;
  const std::size_t cell = row + static_cast<std::size_t>(state);
  cells[place] = cell;
  const double weighted = importance.GetItems().begin()[cell];
  if (weighted == 0) {
    return true;
  }
  const bool found = draw < thresholds[state];  // and not left over as the last outcome
  return (!found || ratioWeight.MultiplyQuotient(table[cell], weighted)) &&
         ratioWeight.MultiplyQuotient(table[cell], weighted);
}

bool SelfImportance::DrawSample(ShortStream& stream) {
  evidenceWeight = {};
  ratioWeight = {};
  for (std::size_t place = 0; place < cells.size(); ++place) {
    if (!DrawNode(place, stream)) {
      return false;
    }
  }
  SampleWeight weight = ratioWeight;
  weight.Multiply(evidenceWeight);
  component.Add(weight);
  const double plain = std::min(weight.Plain(), kMostLearned);
  for (const std::size_t cell : cells) {
    learned.Subscript(static_cast<int>(cell)) += plain;
  }
  return true;
}

// Half of the old knowledge and half of the new; the learned rows go on from their normalised numbers.
// Nothing is drawn from the tables of observed nodes, so they stay.
void SelfImportance::LeanTables() {
  const SampleNet& net = component.net;
  for (const SampleNode& node : net.nodes) {
    if (node.evidence >= 0) {
      continue;
    }
    const std::span<const double> table = net.TableOf(node);
    const auto seen = learned.GetItems().Vector().subspan(node.firstCell, node.cellCount);
    const auto leaning = importance.GetItems().Vector().subspan(node.firstCell, node.cellCount);
    NormaliseRows(seen, node.outcomeCount);
    std::transform(seen.begin(), seen.end(), table.begin(), leaning.begin(), std::plus<>());
    NormaliseRows(leaning, node.outcomeCount);
    MakeThresholds(leaning, node.outcomeCount, component.thresholds.data() + node.firstCell);
  }
}

}  // namespace

int RunSelfImportance(QVR_network& network) {
  SamplingRun run;
  if (const int status = run.Prepare(network, SortTopologically); status < 0) {
    return status;
  }
  std::vector<SelfImportance> samplers;
  samplers.reserve(run.components.size());
  for (SampledComponent& component : run.components) {
    samplers.emplace_back(component);
  }
  DrawInTurns(samplers, network.sampleCount, [](SelfImportance& sampler, int pass, ShortStream& stream) {
    sampler.DrawInPass(pass, stream);
  });
  return run.Finish();
}

}  // namespace qvr
