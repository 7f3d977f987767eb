#include "hybrid/hybrid_message.h"

#include <algorithm>
#include <cmath>

#include "hybrid/hybrid_random.h"

namespace qvr {

namespace {

// The noise of single likelihoods is small beside that of where samples lie, so narrower kernels serve.
constexpr double kRatioShare = 0.5;
constexpr double kReach = 8.0;

}  // namespace

void QVR_continuousMessage::AddValue(double value, double weight) {
  isUninformative = false;
  samples.push_back({value, weight});
}

void QVR_continuousMessage::AddLikelihood(double value, double likelihood, double density) {
  if (!std::isfinite(value) || !(density > 0.0)) {
    return;
  }
  const double usable = likelihood > 0.0 && std::isfinite(likelihood) ? likelihood : 0.0;
  AddValue(value, usable / density);
  likelihoods.push_back({value, usable, 1.0 / density});
}

void QVR_continuousMessage::Normalize() {
  estimate.Build(samples, tolerance);
  if (likelihoods.empty()) {
    return;
  }
  std::sort(likelihoods.begin(), likelihoods.end(),
            [](const Likelihood& a, const Likelihood& b) { return a.value < b.value; });
  double largest = 0.0;
  for (const Likelihood& point : likelihoods) {
    largest = std::max(largest, point.likelihood);
  }
  for (Likelihood& point : likelihoods) {
    point.likelihood /= largest > 0.0 ? largest : 1.0;
  }
  const double range = likelihoods.back().value - likelihoods.front().value;
  const double spacing = range / static_cast<double>(likelihoods.size());
  ratioWidth = std::max(kRatioShare * estimate.GetBandwidth(), 2.0 * spacing);
}

double QVR_continuousMessage::DrawValue() {
  if (IsFixed()) {
    return GetFixedValue();
  }
  if (isUninformative || estimate.IsEmpty()) {
    return low + (high - low) * MessageSource().NextDouble();
  }
  return estimate.Draw(DensitySource());
}

// Kernels are taken relative to the nearest one, so that there is always one that counts.
double QVR_continuousMessage::GetRatio(double value) const {
  if (isUninformative) {
    return 1.0;
  }
  if (IsFixed()) {
    return value == GetFixedValue() ? 1.0 : 0.0;
  }
  if (likelihoods.empty()) {
    return estimate.GetDensity(value);
  }
  const double x = std::clamp(value, likelihoods.front().value, likelihoods.back().value);
  const auto isBelow = [](const Likelihood& point, double limit) { return point.value < limit; };
  const auto above = std::lower_bound(likelihoods.begin(), likelihoods.end(), x, isBelow);
  double nearest = above == likelihoods.end() ? likelihoods.back().value - x : above->value - x;
  if (above != likelihoods.begin()) {
    nearest = std::min(std::abs(nearest), x - (above - 1)->value);
  }
  const double reach = std::abs(nearest) + kReach * ratioWidth;
  double sum = 0.0;
  double reference = 0.0;
  for (auto point = std::lower_bound(likelihoods.begin(), likelihoods.end(), x - reach, isBelow);
       point != likelihoods.end() && point->value <= x + reach; ++point) {
    const double distance = x - point->value;
    const double exponent = (nearest * nearest - distance * distance) / (2.0 * ratioWidth * ratioWidth);
    const double weight = std::exp(exponent) * point->reference;
    sum += weight * point->likelihood;
    reference += weight;
  }
  return sum / reference;
}

void QVR_discreteMessage::AddValue(double value, double weight) {
  if (isUninformative) {
    std::fill(vector.begin(), vector.end(), 0.0);
    isUninformative = false;
  }
  if (weight > 0.0) {
    vector[static_cast<std::size_t>(value)] += weight;
  }
}

void QVR_discreteMessage::Normalize() {
  double sum = 0.0;
  for (const double cell : vector) {
    sum += cell;
  }
  hasWeight = sum > 0.0;
  for (double& cell : vector) {
    cell = sum > 0.0 && std::isfinite(sum) ? cell / sum : 1.0 / static_cast<double>(vector.size());
  }
}

double QVR_discreteMessage::DrawValue() {
  if (IsFixed()) {
    return GetFixedValue();
  }
  double rest = MessageSource().NextDouble();
  std::size_t last = 0;
  for (std::size_t outcome = 0; outcome < vector.size(); ++outcome) {
    if (vector[outcome] > 0.0) {
      last = outcome;
      if (rest < vector[outcome]) {
        break;
      }
      rest -= vector[outcome];
    }
  }
  return static_cast<double>(last);
}

}  // namespace qvr
