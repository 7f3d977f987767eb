// Backward sampling (Fung and Del Favero 1994): from each observation the unknown parents are drawn in the
// proportions that the observed row gives them, and so on up the first parents; what is left is drawn along
// the arcs. A table that parents were drawn from is spent; each other one is drawn from or is a factor.
#include <algorithm>

#include "inference/sampling_run.h"
#include "inference/solver_runs.h"
#include "model/network.h"

namespace qvr {

namespace {

constexpr int kUnknown = -1;

class BackwardSampler {
 public:
  explicit BackwardSampler(SampledComponent& newComponent)
      : component(newComponent), net(newComponent.net), spent(net.nodes.size()) {}

  void DrawSample(ShortStream& stream);

 private:
  // A parent without a state yet. Together they are an odometer over the free cells, the last one fastest.
  struct FreeParent {
    int place;
    int outcomeCount;
    int stride;
    int outcome;
  };

  void Reset();
  // The steps return false if a factor was 0.
  bool DrawBackward(ShortStream& stream);
  bool FollowChain(std::size_t place, ShortStream& stream);
  bool SpendTable(std::size_t place, ShortStream& stream);
  bool DrawForward(ShortStream& stream);
  // Lists the unknown parents; the first cell that their outcomes, and those known, select.
  std::size_t FreeCells(const SampleNode& node, int ownOutcome);
  bool NextFreeCell(std::size_t& cell);
  [[nodiscard]] double SumFreeCells(std::size_t cell);
  void ChooseFreeCell(std::size_t cell, double sum, double u);

  SampledComponent& component;
  SampleNet& net;
  std::vector<unsigned char> spent;  // by place: 1 if the node's table has been drawn from backwards
  std::vector<FreeParent> freeParents;
  SampleWeight weight;
};

void BackwardSampler::Reset() {
  weight = {};
  std::fill(spent.begin(), spent.end(), static_cast<unsigned char>(0));
  for (std::size_t place = 0; place < spent.size(); ++place) {
    net.states[place] = net.nodes[place].evidence >= 0 ? net.nodes[place].evidence : kUnknown;
  }
}

std::size_t BackwardSampler::FreeCells(const SampleNode& node, int ownOutcome) {
  freeParents.clear();
  std::size_t cell = node.firstCell + static_cast<std::size_t>(ownOutcome);
  for (const SampleArc& arc : net.ArcsOf(node)) {
    const auto place = static_cast<std::size_t>(arc.parent);
    if (net.states[place] == kUnknown) {
      freeParents.push_back({arc.parent, net.nodes[place].outcomeCount, arc.stride, 0});
    } else {
      cell += static_cast<std::size_t>(net.states[place] * arc.stride);
    }
  }
  return cell;
}

bool BackwardSampler::NextFreeCell(std::size_t& cell) {
  for (std::size_t i = freeParents.size(); i > 0; --i) {
    FreeParent& parent = freeParents[i - 1];
    if (++parent.outcome < parent.outcomeCount) {
      cell += static_cast<std::size_t>(parent.stride);
      return true;
    }
    cell -= static_cast<std::size_t>((parent.outcomeCount - 1) * parent.stride);
    parent.outcome = 0;
  }
  return false;
}

double BackwardSampler::SumFreeCells(std::size_t cell) {
  const double* table = net.table.GetItems().begin();
  double sum = 0;
  do {
    sum += table[cell];
  } while (NextFreeCell(cell));
  return sum;
}

// The first cell at which the shares add up to more than u, or the last one that is possible at all.
void BackwardSampler::ChooseFreeCell(std::size_t cell, double sum, double u) {
  const double* table = net.table.GetItems().begin();
  double share = 0;
  do {
    if (table[cell] != 0) {
      for (const FreeParent& parent : freeParents) {
        net.states[static_cast<std::size_t>(parent.place)] = parent.outcome;
      }
    }
    share += table[cell] / sum;
  } while (!(share > u) && NextFreeCell(cell));
}

bool BackwardSampler::SpendTable(std::size_t place, ShortStream& stream) {
  const std::size_t cell = FreeCells(net.nodes[place], net.states[place]);
  if (freeParents.empty()) {
    return true;
  }
  spent[place] = 1;
  const double sum = SumFreeCells(cell);
  if (!weight.Multiply(sum)) {
    return false;
  }
  ChooseFreeCell(cell, sum, UniformOf(stream.Next()));
  return true;
}

bool BackwardSampler::FollowChain(std::size_t place, ShortStream& stream) {
  while (spent[place] == 0 && net.nodes[place].parentCount > 0) {
    if (!SpendTable(place, stream)) {
      return false;
    }
    place = static_cast<std::size_t>(net.ArcsOf(net.nodes[place])[0].parent);
  }
  return true;
}

bool BackwardSampler::DrawBackward(ShortStream& stream) {
  for (std::size_t place = 0; place < spent.size(); ++place) {
    if (net.nodes[place].evidence >= 0 && !FollowChain(place, stream)) {
      return false;
    }
  }
  return true;
}

bool BackwardSampler::DrawForward(ShortStream& stream) {
  const double* table = net.table.GetItems().begin();
  for (std::size_t place = 0; place < spent.size(); ++place) {
    const SampleNode& node = net.nodes[place];
    int& state = net.states[place];
    if (state == kUnknown) {
      state = DrawOutcome(component.thresholds.data() + RowOf(net, node), node.outcomeCount, stream.Next());
    } else if (spent[place] == 0 &&
               !weight.Multiply(table[RowOf(net, node) + static_cast<std::size_t>(state)])) {
      return false;
    }
  }
  return true;
}

void BackwardSampler::DrawSample(ShortStream& stream) {
  Reset();
  if (DrawBackward(stream) && DrawForward(stream)) {
    component.Add(weight);
  }
}

}  // namespace

int RunBackwardSampling(QVR_network& network) {
  SamplingRun run;
  if (const int status = run.Prepare(network, SortTopologically); status < 0) {
    return status;
  }
  ShortStream stream = UniformStream();
  for (SampledComponent& component : run.components) {
    BackwardSampler sampler(component);
    for (int pass = 0; pass < network.sampleCount; ++pass) {
      sampler.DrawSample(stream);
    }
  }
  UniformStream() = stream;
  return run.Finish();
}

}  // namespace qvr
