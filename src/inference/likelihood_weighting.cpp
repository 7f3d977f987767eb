// Likelihood weighting (Fung and Chang 1990, Shachter and Peot 1990): outcomes are drawn along the arcs, what
// is observed keeps its outcome, and the sample weighs as much as the observations are likely in it. Each
// table enters a sample once, drawn from or as a factor, so the shares of the weights go to the posteriors.
#include "inference/sampling_run.h"
#include "inference/solver_runs.h"
#include "model/network.h"

namespace qvr {

namespace {

void DrawSample(SampledComponent& component, ShortStream& stream) {
  SampleNet& net = component.net;
  const double* table = net.table.GetItems().begin();
  const std::uint16_t* thresholds = component.thresholds.data();
  int* state = net.states.data();
  SampleWeight weight;
  for (const SampleNode& node : net.nodes) {
    const std::size_t row = RowOf(net, node);
    if (node.evidence < 0) {
      *state = DrawOutcome(thresholds + row, node.outcomeCount, stream.Next());
    } else if (!weight.Multiply(table[row + static_cast<std::size_t>(node.evidence)])) {
      return;
    }
    ++state;
  }
  component.Add(weight);
}

}  // namespace

int RunLikelihoodWeighting(QVR_network& network) {
  SamplingRun run;
  if (const int status = run.Prepare(network, SortTopologically); status < 0) {
    return status;
  }
  DrawInTurns(
      run.components, network.sampleCount,
      [](SampledComponent& component, int /*pass*/, ShortStream& stream) { DrawSample(component, stream); });
  return run.Finish();
}

}  // namespace qvr
