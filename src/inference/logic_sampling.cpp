// Probabilistic logic sampling (Henrion 1988): every outcome is drawn along the arcs, and a sample counts
// only if what is observed came out as observed. What is observed, and its ancestors, are drawn first, so
// that most samples that won't count end early.
#include <algorithm>
#include <utility>

#include "inference/sampling_run.h"
#include "inference/solver_runs.h"
#include "model/network.h"

namespace qvr {

namespace {

double ShareOfZeros(const QVR_Dmatrix& table) {
  const std::span<const double> cells = table.GetItems().Vector();
  return static_cast<double>(std::count(cells.begin(), cells.end(), 0.0)) / static_cast<double>(cells.size());
}

// Observed records with the fewest impossible entries come first, each after its ancestors.
void SortEvidenceFirst(std::span<RelevanceNode* const> nodes, std::vector<RelevanceNode*>& out) {
  std::vector<std::pair<double, RelevanceNode*>> observed;
  for (RelevanceNode* record : nodes) {
    if (record->evidence >= 0) {
      observed.emplace_back(ShareOfZeros(*record->table), record);
    }
  }
  std::stable_sort(observed.begin(), observed.end(),
                   [](const auto& a, const auto& b) { return a.first < b.first; });
  std::vector<RelevanceNode*> starts(nodes.begin(), nodes.end());
  std::vector<std::size_t> placeOf(nodes.size());  // in `starts`, by position in the component
  for (std::size_t place = 0; place < starts.size(); ++place) {
    placeOf[static_cast<std::size_t>(starts[place]->position)] = place;
  }
  for (std::size_t i = 0; i < observed.size(); ++i) {
    std::size_t& place = placeOf[static_cast<std::size_t>(observed[i].second->position)];
    placeOf[static_cast<std::size_t>(starts[i]->position)] = place;
    std::swap(starts[i], starts[place]);
    place = i;
  }
  SortTopologically(starts, out);
}

void DrawSample(SampledComponent& component, ShortStream& stream) {
  SampleNet& net = component.net;
  const std::uint16_t* thresholds = component.thresholds.data();
  int* states = net.states.data();
  for (const SampleNode& node : net.nodes) {
    const int drawn = DrawOutcome(thresholds + RowOf(net, node), node.outcomeCount, stream.Next());
    if (node.evidence >= 0 && drawn != node.evidence) {
      return;
    }
    *states++ = drawn;
  }
  component.Add({});
}

}  // namespace

int RunLogicSampling(QVR_network& network) {
  SamplingRun run;
  if (const int status = run.Prepare(network, SortEvidenceFirst); status < 0) {
    return status;
  }
  DrawInTurns(
      run.components, network.sampleCount,
      [](SampledComponent& component, int /*pass*/, ShortStream& stream) { DrawSample(component, stream); });
  return run.Finish();
}

}  // namespace qvr
