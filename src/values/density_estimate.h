// Weighted samples of a continuous quantity, and what an estimate of their density needs.
#ifndef QVR_VALUES_DENSITY_ESTIMATE_H
#define QVR_VALUES_DENSITY_ESTIMATE_H

#include <vector>

namespace qvr {

struct WeightedSample {
  double value;
  double weight;
};

struct DensityEstimate {
  int kind = 2;
  double low = 0.0;
  double high = 1.0;
  std::vector<WeightedSample> samples;
  double tolerance = 0.001;
  double bound = 10.0;
};

}  // namespace qvr

#endif
