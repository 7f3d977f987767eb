// The density of a weighted set of samples, as a sum of Gaussian kernels.
#ifndef QVR_HYBRID_KERNEL_DENSITY_H
#define QVR_HYBRID_KERNEL_DENSITY_H

#include <span>
#include <vector>

#include "model/random_source.h"
#include "values/density_estimate.h"

namespace qvr {

// The bandwidth is Silverman's (1986, 3.4.1): 1.06 s n^(-1/5) by the weighted deviation s and the number n of
// equal weights that would say as much. The centres are drawn together about the mean, so that the estimate
// keeps the samples' variance instead of adding that of a kernel (West 1993).
class KernelDensity {
 public:
  // Pairs that aren't finite, and weights of 0 or below, don't count. The bandwidth is at least `tolerance`
  // times the deviation.
  void Build(std::span<const WeightedSample> samples, double tolerance);

  [[nodiscard]] bool IsEmpty() const { return centers.empty(); }
  [[nodiscard]] double GetBandwidth() const { return bandwidth; }  // by the rule above
  // Of an estimate that isn't empty.
  [[nodiscard]] double Draw(QVR_randomSource& source) const;
  [[nodiscard]] double GetDensity(double x) const;  // 0 for an empty estimate

 private:
  void MeasureSpread(double tolerance);

  std::vector<double> centers;     // ascending
  std::vector<double> weights;     // sum 1
  std::vector<double> cumulative;  // of the weights
  double bandwidth = 0.0;
};

}  // namespace qvr

#endif
