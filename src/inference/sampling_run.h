// What the older samplers share: all components at once, drawn from in turns, and how they end.
#ifndef QVR_INFERENCE_SAMPLING_RUN_H
#define QVR_INFERENCE_SAMPLING_RUN_H

#include <vector>

#include "inference/draw_thresholds.h"
#include "inference/sample_network.h"
#include "inference/sample_weight.h"

namespace qvr {

class QVR_network;

// A component with its samples so far. The sums are in units of one power of two.
struct SampledComponent {
  SampledComponent(const RelevanceComponent& newComponent, std::span<RelevanceNode* const> order);

  // Counts the present sample of `net` with its weight.
  void Add(const SampleWeight& weight);

  SampleNet net;
  DrawThresholds thresholds;    // by cell of net.table
  std::vector<double> weights;  // by outcome of each node: the weight of the samples with it
  double total = 0;
  SumExponent unit;
};

// Calls draw(item, pass, stream) for each item in turn, in each of `passes`, on the thread's stream.
template <typename Item, typename Draw>
void DrawInTurns(std::vector<Item>& items, int passes, Draw draw) {
  ShortStream stream = UniformStream();
  for (int pass = 0; pass < passes; ++pass) {
    for (Item& item : items) {
      draw(item, pass, stream);
    }
  }
  UniformStream() = stream;
}

class SamplingRun {
 public:
  using Order = void (*)(std::span<RelevanceNode* const>, std::vector<RelevanceNode*>&);

  // Relevance reasoning; a component of one record is answered at once. 0 or -42.
  [[nodiscard]] int Prepare(QVR_network& network, Order order);
  // The shares of the weights become the posteriors. A component whose samples weigh nothing is logged under
  // -5, and what isn't observed in it becomes invalid; the result is that of the last component.
  [[nodiscard]] int Finish();

  std::vector<SampledComponent> components;

 private:
  ComponentList records;
};

}  // namespace qvr

#endif
