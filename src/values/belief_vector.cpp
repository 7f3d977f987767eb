#include "values/belief_vector.h"

#include <array>
#include <cmath>
#include <utility>

#include "model/network.h"

namespace qvr {

namespace {

// Likelihoods that sum to 1 within this are stored as they are.
constexpr double kSumTolerance = 0.000005;

bool AreLikelihoods(std::span<const double> numbers) {
  double sum = 0;
  for (double number : numbers) {
    if (!(number >= 0)) {
      return false;
    }
    sum += number;
  }
  return sum > 0 && std::isfinite(sum);
}

void ScaleToSumOne(std::vector<double>& numbers) {
  double sum = 0;
  for (double number : numbers) {
    sum += number;
  }
  if (std::abs(sum - 1.0) > kSumTolerance) {
    for (double& number : numbers) {
      number /= sum;
    }
  }
}

}  // namespace

QVR_beliefVector::QVR_beliefVector(QVR_network* newNetwork, int newHandle)
    : OutcomeValue(newNetwork, newHandle) {
  SetReady(QVR_beliefVector::Reinitialize() >= 0);
}

QVR_beliefVector::QVR_beliefVector(const QVR_beliefVector& other)
    : OutcomeValue(other),
      virtualEvidence(other.virtualEvidence ? std::make_unique<std::vector<double>>(*other.virtualEvidence)
                                            : nullptr) {}

void QVR_beliefVector::CleanUp(int deep) {
  OutcomeValue::CleanUp(deep);
  virtualEvidence.reset();
}

int QVR_beliefVector::Reinitialize() {
  const std::unique_ptr<std::vector<double>> kept = std::move(virtualEvidence);
  QVR_beliefVector::CleanUp(1);
  const int count = OutcomeCount();
  if (count > 0) {
    if (int status = table.SetDimensions(std::array{count}); status < 0) {
      return status;
    }
  }
  if (kept && kept->size() == static_cast<std::size_t>(count)) {
    StoreLikelihoods(*kept);
  }
  CheckReady(1);
  return QVR_OKAY;
}

int QVR_beliefVector::Assign(QVR_nodeValue& other) { return AdoptValue(other); }

int QVR_beliefVector::AdoptValue(QVR_nodeValue& other) {
  if (&other == this) {
    return QVR_OKAY;
  }
  if (int status = QVR_nodeValue::Assign(other); status < 0) {
    return status;
  }
  ClearFlags(kValueAnyEvidence | kValueVirtualEvidence);
  const bool fits = FitsOutcomes(other);
  auto* beliefs = dynamic_cast<QVR_beliefVector*>(&other);
  if (fits && beliefs != nullptr) {
    AdoptBeliefs(*beliefs);
  } else {
    virtualEvidence.reset();
    Reinitialize();
    if (fits && other.GetValueType() == kValueListOfDecisions) {
      AdoptEvidence(other);
    }
  }
  CheckReady(1);
  CheckConsistency(1);
  return QVR_OKAY;
}

void QVR_beliefVector::AdoptBeliefs(QVR_beliefVector& other) {
  virtualEvidence.reset();
  if (table.Copy(other.table) < 0) {
    Reinitialize();
  }
  QVR_doubleArray likelihoods;
  if (other.HasEvidence()) {
    if (SetValueToEvidence(other.evidence) >= 0) {
      RaiseFlags(other.GetFlags() & kValueAnyEvidence);
    }
  } else if (other.GetVirtualEvidence(likelihoods) >= 0) {
    SetVirtualEvidence(likelihoods);
  }
}

int QVR_beliefVector::SetEvidence(int outcome) {
  if (HasRealEvidence()) {
    ClearEvidence();
  }
  if (HasEvidence() && evidence != outcome) {
    return QVR_EVIDENCE_CONFLICT;
  }
  const bool hadLikelihoods = (GetFlags() & kValueVirtualEvidence) != 0;
  DropVirtualEvidence();
  if (int status = SetValueToEvidence(outcome); status < 0) {
    if (hadLikelihoods) {
      network->VirtualEvidenceChanged(handle);  // they are gone all the same
    }
    return status;
  }
  return EnterEvidence();
}

int QVR_beliefVector::SetValueToEvidence(int outcome) {
  const int count = OutcomeCount();
  if (outcome < 0 || outcome >= count) {
    return QVR_OUT_OF_RANGE;
  }
  if (!table.HasShape(std::array{count})) {
    if (int status = Reinitialize(); status < 0) {
      return status;
    }
  }
  RaiseFlags(kValueValid);
  evidence = outcome;
  table.Fill(0.0);
  table.Subscript(outcome) = 1.0;
  return QVR_OKAY;
}

void QVR_beliefVector::DropVirtualEvidence() {
  virtualEvidence.reset();
  ClearFlags(kValueVirtualEvidence);
}

int QVR_beliefVector::ClearEvidence() {
  if (HasRealEvidence()) {
    ClearFlags(kValueEvidence | kValueValid | kValueIgnoreParents);
    network->EvidenceRetracted(handle);
    return QVR_OKAY;
  }
  if ((GetFlags() & kValueVirtualEvidence) == 0) {
    return QVR_OUT_OF_RANGE;
  }
  DropVirtualEvidence();
  network->VirtualEvidenceChanged(handle);
  return QVR_OKAY;
}

int QVR_beliefVector::SetPropagatedEvidence(int outcome) {
  if (HasEvidence()) {
    return QVR_OUT_OF_RANGE;
  }
  DropVirtualEvidence();
  const int status = SetValueToEvidence(outcome);
  if (status >= 0) {
    RaiseFlags(kValuePropagatedEvidence);
  }
  return status;
}

int QVR_beliefVector::GetVirtualEvidence(QVR_doubleArray& out) const {
  return virtualEvidence ? out.Assign(*virtualEvidence) : QVR_OUT_OF_RANGE;
}

int QVR_beliefVector::SetVirtualEvidence(const QVR_doubleArray& likelihoods) {
  const std::span<const double> given = likelihoods.View();
  if (likelihoods.Length() != OutcomeCount() || !AreLikelihoods(given)) {
    return QVR_OUT_OF_RANGE;
  }
  std::vector<double> scaled(given.begin(), given.end());
  ScaleToSumOne(scaled);
  if (HasEvidence()) {
    ClearEvidence();
  }
  StoreLikelihoods(std::move(scaled));
  return network->VirtualEvidenceChanged(handle);
}

void QVR_beliefVector::StoreLikelihoods(std::vector<double> likelihoods) {
  virtualEvidence = std::make_unique<std::vector<double>>(std::move(likelihoods));
  RaiseFlags(kValueVirtualEvidence);
}

int QVR_beliefVector::ReorderOutcomes(const QVR_intArray& order) {
  if (int status = OutcomeValue::ReorderOutcomes(order); status < 0) {
    return status;
  }
  if (virtualEvidence) {
    std::vector<double> permuted;
    for (int old : order.View()) {
      permuted.push_back((*virtualEvidence)[static_cast<std::size_t>(old)]);
    }
    virtualEvidence->swap(permuted);
  }
  return QVR_OKAY;
}

}  // namespace qvr
