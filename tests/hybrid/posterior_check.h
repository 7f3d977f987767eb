// Comparing weighted samples with an exact mean and deviation.
#ifndef QVR_HYBRID_POSTERIOR_CHECK_H
#define QVR_HYBRID_POSTERIOR_CHECK_H

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "values/density_estimate.h"

namespace qvr {

inline constexpr double kMostStandardErrors = 4.5;
inline constexpr double kLeastEffectiveSamples = 1000;
inline constexpr double kMessageTolerance = 0.15;  // of the exact deviation, for messages alone
inline constexpr double kRounding = 1e-6;          // where evidence leaves a node no choice

struct SampleSummary {
  explicit SampleSummary(const std::vector<WeightedSample>& samples) {
    double sum = 0.0;
    double squares = 0.0;
    for (const WeightedSample& sample : samples) {
      sum += sample.weight;
      squares += sample.weight * sample.weight;
      mean += sample.weight * sample.value;
    }
    mean /= sum;
    for (const WeightedSample& sample : samples) {
      deviation += sample.weight * (sample.value - mean) * (sample.value - mean);
    }
    deviation = std::sqrt(deviation / sum);
    effectiveCount = sum * sum / squares;
  }

  double mean = 0.0;
  double deviation = 0.0;
  double effectiveCount = 0.0;
};

inline void ExpectSampled(const std::vector<WeightedSample>& samples, double mean, double deviation) {
  const SampleSummary summary(samples);
  EXPECT_GE(summary.effectiveCount, kLeastEffectiveSamples);
  EXPECT_NEAR(summary.mean, mean,
              kMostStandardErrors * deviation / std::sqrt(summary.effectiveCount) + kRounding);
  EXPECT_NEAR(summary.deviation, deviation, 0.2 * deviation + kRounding);
}

inline void ExpectByMessages(const std::vector<WeightedSample>& samples, double mean, double deviation) {
  const SampleSummary summary(samples);
  EXPECT_NEAR(summary.mean, mean, kMessageTolerance * deviation + kRounding);
  EXPECT_NEAR(summary.deviation, deviation, kMessageTolerance * deviation + kRounding);
}

}  // namespace qvr

#endif
