// Importance sampling on one component: outcomes are drawn from tables that follow the evidence better than
// the network's own, and the weight makes up for the difference.
#ifndef QVR_INFERENCE_IMPORTANCE_SAMPLER_H
#define QVR_INFERENCE_IMPORTANCE_SAMPLER_H

#include <span>
#include <vector>

#include "inference/draw_thresholds.h"
#include "inference/sample_network.h"
#include "inference/sample_weight.h"
#include "model/random_source.h"

namespace qvr {

// The weights are unbiased as long as each row of `importance` sums to 1 and is positive wherever the
// evidence leaves the network's own table possible. Whoever changes a node's rows calls ImportanceChanged.
class ImportanceSampler {
 public:
  // Starts from the network's own tables. Throws std::bad_alloc. `newNet` outlives the sampler.
  explicit ImportanceSampler(SampleNet& newNet);

  // Whether evidence below the node makes another table than its own worthwhile.
  [[nodiscard]] bool IsAdjustable(std::size_t place) const { return adjustable[place] != 0; }
  [[nodiscard]] std::span<double> ImportanceOf(const SampleNode& node) {
    return importance.GetItems().Vector().subspan(node.firstCell, node.cellCount);
  }
  void ImportanceChanged(const SampleNode& node);

  // Draws one sample. False if its weight is 0; later nodes then keep what they were.
  [[nodiscard]] bool SampleOnce(ShortStream& stream, SampleWeight& weight);
  // By place: the cell of the last sample in the node's table. Means nothing for observed nodes.
  [[nodiscard]] std::span<const std::size_t> Cells() const { return cells; }

  // Draws the samples that count; their shares become the posteriors, valid. -5 at the first node, parents
  // first, that no sample counted for: it is left marked as valid, and those before it are written.
  [[nodiscard]] int Estimate(int sampleCount);

  SampleNet& net;

 private:
  [[nodiscard]] int WriteEstimate(std::span<const double> estimate) const;

  std::vector<unsigned char> adjustable;  // by place
  QVR_Dmatrix importance;                 // in the shape of net.table
  DrawThresholds thresholds;              // of the rows of `importance`
  std::vector<std::size_t> cells;
};

}  // namespace qvr

#endif
