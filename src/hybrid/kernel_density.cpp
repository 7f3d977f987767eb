#include "hybrid/kernel_density.h"

#include <algorithm>
#include <cmath>

namespace qvr {

namespace {

constexpr double kPi = 3.141592653589793;
constexpr double kReach = 8.0;  // bandwidths beyond which a kernel says nothing
constexpr double kLeastRelativeBandwidth = 1e-9;

bool CountsAsSample(const WeightedSample& sample) {
  return std::isfinite(sample.value) && std::isfinite(sample.weight) && sample.weight > 0.0;
}

// Box and Muller's transformation; the second number of a pair isn't kept.
double DrawStandardNormal(QVR_randomSource& source) {
  const double radius = std::sqrt(-2.0 * std::log(1.0 - source.NextDouble()));
  return radius * std::cos(2.0 * kPi * source.NextDouble());
}

}  // namespace

void KernelDensity::Build(std::span<const WeightedSample> samples, double tolerance) {
  std::vector<WeightedSample> sorted;
  sorted.reserve(samples.size());
  std::copy_if(samples.begin(), samples.end(), std::back_inserter(sorted), CountsAsSample);
  std::sort(sorted.begin(), sorted.end(),
            [](const WeightedSample& a, const WeightedSample& b) { return a.value < b.value; });
  double largest = 0.0;
  for (const WeightedSample& sample : sorted) {
    largest = std::max(largest, sample.weight);
  }
  centers.clear();
  weights.clear();
  cumulative.clear();
  double sum = 0.0;
  for (const WeightedSample& sample : sorted) {
    centers.push_back(sample.value);
    weights.push_back(sample.weight / largest);
    sum += weights.back();
  }
  double below = 0.0;
  for (double& weight : weights) {
    weight /= sum;
    below += weight;
    cumulative.push_back(below);
  }
  MeasureSpread(tolerance);
}

void KernelDensity::MeasureSpread(double tolerance) {
  double mean = 0.0;
  for (std::size_t i = 0; i < centers.size(); ++i) {
    mean += weights[i] * centers[i];
  }
  double variance = 0.0;
  double squares = 0.0;
  for (std::size_t i = 0; i < centers.size(); ++i) {
    variance += weights[i] * (centers[i] - mean) * (centers[i] - mean);
    squares += weights[i] * weights[i];
  }
  const double deviation = std::sqrt(variance);
  const double count = centers.empty() ? 1.0 : 1.0 / squares;
  bandwidth = std::max({1.06 * deviation * std::pow(count, -0.2), tolerance * deviation,
                        kLeastRelativeBandwidth * std::max(1.0, std::abs(mean))});
  const double share = deviation > 0.0 ? bandwidth / deviation : 0.0;
  const double scale = std::sqrt(std::max(0.0, 1.0 - share * share));
  for (double& center : centers) {
    center = mean + scale * (center - mean);
  }
}

double KernelDensity::Draw(QVR_randomSource& source) const {
  const auto found = std::upper_bound(cumulative.begin(), cumulative.end(), source.NextDouble());
  const auto place = std::min(static_cast<std::size_t>(found - cumulative.begin()), centers.size() - 1);
  return centers[place] + bandwidth * DrawStandardNormal(source);
}

double KernelDensity::GetDensity(double x) const {
  const auto first = std::lower_bound(centers.begin(), centers.end(), x - kReach * bandwidth);
  double sum = 0.0;
  for (auto place = static_cast<std::size_t>(first - centers.begin());
       place < centers.size() && centers[place] <= x + kReach * bandwidth; ++place) {
    const double distance = (x - centers[place]) / bandwidth;
    sum += weights[place] * std::exp(-0.5 * distance * distance);
  }
  return sum / (bandwidth * std::sqrt(2.0 * kPi));
}

}  // namespace qvr
