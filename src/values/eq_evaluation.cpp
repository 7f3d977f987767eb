#include "values/eq_evaluation.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

#include "definitions/equation.h"
#include "model/network.h"

namespace qvr {

namespace {

constexpr int kEvidenceBits = kValueAnyEvidence | kValueVirtualEvidence;

// Room beyond this is made as samples come: the number expected may come from a file.
constexpr int kMaxReserved = 1'048'576;

}  // namespace

int QVR_valEqEvaluation::AdoptValue(QVR_nodeValue& other) {
  if (!other.IsReady()) {
    return QVR_OBJECT_NOT_READY;
  }
  if (&other == this) {
    return QVR_OKAY;
  }
  CleanUp(1);
  QVR_nodeValue::Assign(other);
  const auto* source = dynamic_cast<const QVR_valEqEvaluation*>(&other);
  if (source == nullptr) {
    CleanUp(1);
  } else {
    ClearFlags(kEvidenceBits);
    value = source->value;
    samples = source->samples;
    mean = source->mean;
    stdDeviation = source->stdDeviation;
    discretePosterior = source->discretePosterior;
    if ((source->GetFlags() & kValuePropagatedEvidence) != 0) {
      SetPropagatedValue(source->value);
    } else if (source->HasRealEvidence()) {
      SetEvidenceValue(source->value);
    }
  }
  CheckReady(1);
  CheckConsistency(1);
  return QVR_OKAY;
}

int QVR_valEqEvaluation::GetDouble(double& out) const {
  out = value;
  return QVR_OKAY;
}

int QVR_valEqEvaluation::SetEvidenceValue(double newValue) {
  value = newValue;
  ClearFlags(kValuePropagatedEvidence);
  RaiseFlags(kValueEvidence | kValueValid);
  return network->EvidenceSet(handle);
}

int QVR_valEqEvaluation::ClearEvidence() {
  if (!HasEvidence()) {
    return QVR_OUT_OF_RANGE;
  }
  ClearFlags(kValueAnyEvidence | kValueValid);
  return network->EvidenceRetracted(handle);
}

int QVR_valEqEvaluation::ClearPropagatedEvidence() {
  if ((GetFlags() & kValuePropagatedEvidence) == 0) {
    return QVR_OUT_OF_RANGE;
  }
  ClearFlags(kValueAnyEvidence | kValueValid);
  return QVR_OKAY;
}

int QVR_valEqEvaluation::SetPropagatedValue(double newValue) {
  value = newValue;
  RaiseFlags(kValueAnyEvidence | kValueValid);
  return QVR_OKAY;
}

int QVR_valEqEvaluation::PrepareSamples(int expected) {
  if (expected > kMaxSamples) {
    return QVR_OUT_OF_MEMORY;
  }
  discretePosterior.clear();
  samples.clear();
  samples.reserve(static_cast<std::size_t>(std::clamp(expected, 0, kMaxReserved)));
  SetValueInvalid();
  exact = 0;
  return QVR_OKAY;
}

void QVR_valEqEvaluation::FinishSamples() {
  ComputeStatistics();
  SetValueValid();
}

// The running mean and sum of squares of Welford (1962).
void QVR_valEqEvaluation::ComputeStatistics() {
  mean = stdDeviation = minimum = maximum = std::numeric_limits<double>::quiet_NaN();
  double squares = 0.0;
  double count = 0.0;
  for (const WeightedSample& sample : samples) {
    const double x = sample.value;
    if (!std::isfinite(x)) {
      continue;
    }
    ++count;
    if (count == 1.0) {
      mean = minimum = maximum = x;
      continue;
    }
    const double difference = x - mean;
    mean += difference / count;
    squares += difference * (x - mean);
    minimum = std::min(minimum, x);
    maximum = std::max(maximum, x);
  }
  if (count > 1.0) {
    stdDeviation = std::sqrt(squares / (count - 1.0));
  }
  exact = 1;
}

void QVR_valEqEvaluation::SetExactNumber(double number) {
  samples.clear();
  discretePosterior.clear();
  mean = minimum = maximum = number;
  stdDeviation = 0.0;
  exact = 1;
  SetValueValid();
}

int QVR_valEqEvaluation::SetWeightedSamples(std::vector<WeightedSample> pairs) {
  samples = std::move(pairs);
  discretePosterior.clear();
  if (samples.empty()) {
    SetValueInvalid();
    return QVR_OUT_OF_RANGE;
  }
  const bool unweighted =
      std::all_of(samples.begin(), samples.end(), [](const WeightedSample& s) { return s.weight == 0.0; });
  stdDeviation = -1.0;
  mean = 0.0;
  double sum = 0.0;
  for (WeightedSample& sample : samples) {
    if (unweighted) {
      sample.weight = 1.0;
    }
    sum += sample.weight;
    mean += sample.weight * sample.value;
  }
  if (sum != 0.0) {
    mean /= sum;
  } else {
    stdDeviation = 0.0;
    mean = samples.front().value;
  }
  exact = 1;
  SetValueValid();
  return QVR_OKAY;
}

int QVR_valEqEvaluation::SetDiscretePosterior(const QVR_doubleArray& posterior) {
  const QVR_node* node = network != nullptr ? network->NodeAt(handle) : nullptr;
  const auto* definition = node != nullptr ? dynamic_cast<QVR_equation*>(node->definition.get()) : nullptr;
  if (definition == nullptr || definition->GetDiscIntervals().empty()) {
    return QVR_WRONG_NODE_TYPE;
  }
  const std::span<const double> numbers = posterior.View();
  if (numbers.size() != definition->GetDiscIntervals().size()) {
    return QVR_OUT_OF_RANGE;
  }
  discretePosterior.assign(numbers.begin(), numbers.end());
  samples.clear();
  mean = -1.0;
  stdDeviation = -1.0;
  SetValueValid();
  return QVR_OKAY;
}

}  // namespace qvr
