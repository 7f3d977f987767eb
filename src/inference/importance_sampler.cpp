#include "inference/importance_sampler.h"

#include <algorithm>
#include <numeric>

#include "model/status.h"

namespace qvr {

namespace {

// 1 for each unobserved ancestor of an observed node, by place.
std::vector<unsigned char> MarkAdjustable(const SampleNet& net) {
  std::vector<unsigned char> marks(net.nodes.size(), 0);
  for (std::size_t place = net.nodes.size(); place > 0; --place) {
    const SampleNode& node = net.nodes[place - 1];
    if (node.evidence >= 0 || marks[place - 1] != 0) {
      for (const SampleArc& arc : net.ArcsOf(node)) {
        marks[static_cast<std::size_t>(arc.parent)] = 1;
      }
    }
  }
  return marks;
}

}  // namespace

ImportanceSampler::ImportanceSampler(SampleNet& newNet)
    : net(newNet), adjustable(MarkAdjustable(net)), thresholds(net.CellCount()), cells(net.nodes.size()) {
  const std::span<const double> table = net.table.GetItems().Vector();
  std::copy(table.begin(), table.end(), MakeCells(importance, table.size()).begin());
  for (const SampleNode& node : net.nodes) {
    ImportanceChanged(node);
  }
}

void ImportanceSampler::ImportanceChanged(const SampleNode& node) {
  MakeSampleThresholds(ImportanceOf(node), node.outcomeCount, thresholds.data() + node.firstCell);
}

bool ImportanceSampler::SampleOnce(ShortStream& stream, SampleWeight& weight) {
  const double* table = net.table.GetItems().begin();
  const double* weighted = importance.GetItems().begin();
  const std::uint16_t* limits = thresholds.data();
  int* state = net.states.data();
  std::size_t* cell = cells.data();
  for (const SampleNode& node : net.nodes) {
    const std::size_t row = RowOf(net, node);
    if (node.evidence >= 0) {
      if (!weight.Multiply(table[row + static_cast<std::size_t>(node.evidence)])) {
        return false;
      }
    } else {
      *state = DrawOutcome(limits + row, node.outcomeCount, stream.Next());
      *cell = row + static_cast<std::size_t>(*state);
      if (weighted[*cell] == 0 || !weight.MultiplyQuotient(table[*cell], weighted[*cell])) {
        return false;
      }
    }
    ++state;
    ++cell;
  }
  return true;
}

int ImportanceSampler::Estimate(int sampleCount) {
  std::vector<double> estimate(net.outcomeTotal, 0.0);
  SumExponent unit;
  ShortStream stream = SampleStream();
  for (int sample = 0; sample < sampleCount; ++sample) {
    SampleWeight weight;
    if (!SampleOnce(stream, weight)) {
      continue;
    }
    if (const int shift = unit.Admit(weight); shift != 0) {
      ShiftSums(estimate, shift);
    }
    const double scaled = unit.Scaled(weight);
    const int* states = net.states.data();
    for (const SampleNode& node : net.nodes) {
      estimate[node.firstOutcome + static_cast<std::size_t>(*states++)] += scaled;
    }
  }
  SampleStream() = stream;
  return WriteEstimate(estimate);
}

int ImportanceSampler::WriteEstimate(std::span<const double> estimate) const {
  for (std::size_t place = 0; place < net.nodes.size(); ++place) {
    const SampleNode& node = net.nodes[place];
    const RelevanceNode& record = *net.records[place];
    const auto own = estimate.subspan(node.firstOutcome, static_cast<std::size_t>(node.outcomeCount));
    const double sum = std::accumulate(own.begin(), own.end(), 0.0);
    MarkValid(record);
    if (node.evidence >= 0) {
      WriteCertainty(record);
    } else if (sum == 0) {
      return QVR_NO_SAMPLES;
    } else {
      WritePosterior(record, own, sum);
    }
  }
  return QVR_OKAY;
}

}  // namespace qvr
