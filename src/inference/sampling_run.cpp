#include "inference/sampling_run.h"

#include <algorithm>

#include "model/status.h"

namespace qvr {

namespace {

void InvalidateComponent(const SampleNet& net) {
  for (const RelevanceNode* record : net.records) {
    if (HoldsPosterior(*record) && !record->node->value->HasEvidence()) {
      record->node->value->SetValueInvalid();
    }
  }
}

void WritePosteriors(const SampledComponent& component) {
  const std::span<const double> weights = component.weights;
  for (std::size_t place = 0; place < component.net.nodes.size(); ++place) {
    const SampleNode& node = component.net.nodes[place];
    const RelevanceNode& record = *component.net.records[place];
    const auto own = weights.subspan(node.firstOutcome, static_cast<std::size_t>(node.outcomeCount));
    WritePosterior(record, own, component.total);
    MarkValid(record);
  }
}

}  // namespace

SampledComponent::SampledComponent(const RelevanceComponent& newComponent,
                                   std::span<RelevanceNode* const> order)
    : net(newComponent, order), thresholds(net.CellCount()), weights(net.outcomeTotal, 0.0) {
  for (const SampleNode& node : net.nodes) {
    MakeThresholds(net.TableOf(node), node.outcomeCount, thresholds.data() + node.firstCell);
  }
}

void SampledComponent::Add(const SampleWeight& weight) {
  if (const int shift = unit.Admit(weight); shift != 0) {
    ShiftSums(weights, shift);
    ShiftSums({&total, 1}, shift);
  }
  const double scaled = unit.Scaled(weight);
  total += scaled;
  double* sums = weights.data();
  const int* states = net.states.data();
  for (const SampleNode& node : net.nodes) {
    sums[node.firstOutcome + static_cast<std::size_t>(*states++)] += scaled;
  }
}

int SamplingRun::Prepare(QVR_network& network, Order order) {
  if (const int status = RelevanceReduce(network, true, true, records); status < 0) {
    return status;
  }
  components.reserve(records.components.size());
  std::vector<RelevanceNode*> sorted;
  for (const RelevanceComponent& component : records.components) {
    if (component.nodes.size() == 1) {
      ApplySingleNodeComponent(*component.nodes[0]);
      continue;
    }
    order(component.nodes, sorted);
    components.emplace_back(component, sorted);
  }
  return QVR_OKAY;
}

int SamplingRun::Finish() {
  int status = QVR_OKAY;
  for (const SampledComponent& component : components) {
    if (component.total == 0) {
      InvalidateComponent(component.net);
      status = ReportNoSamples();
    } else {
      WritePosteriors(component);
      status = QVR_OKAY;
    }
  }
  return status;
}

}  // namespace qvr
