#include "definitions/def_continuous.h"

namespace qvr {

int HybridContinuousDefinition::SetUpperBound(double bound) {
  upperBound = bound;
  return NotifyChange(kNumbersChanged);
}

int HybridContinuousDefinition::SetLowerBound(double bound) {
  lowerBound = bound;
  return NotifyChange(kNumbersChanged);
}

// The two classes differ in their elements only, so either's bounds serve.
void HybridContinuousDefinition::AdoptContent(const QVR_defHybrid& other) {
  const auto& source = static_cast<const HybridContinuousDefinition&>(other);
  lowerBound = source.lowerBound;
  upperBound = source.upperBound;
}

void HybridContinuousDefinition::ResetContent() {
  lowerBound = -kFreshBound;
  upperBound = kFreshBound;
}

QVR_defHEquation::QVR_defHEquation(QVR_network* newNetwork, int newHandle)
    : HybridContinuousDefinition(newNetwork, newHandle, std::make_unique<QVR_equationElement>()) {
  QVR_nodeDefinition::CheckReady(1);
  AddPresentParents();
}

std::unique_ptr<QVR_Helement> QVR_defHEquation::MakeElement() const {
  return std::make_unique<QVR_equationElement>();
}

bool QVR_defHEquation::TakesElement(const QVR_Helement& element) const {
  return dynamic_cast<const QVR_equationElement*>(&element) != nullptr;
}

QVR_defDistribution::QVR_defDistribution(QVR_network* newNetwork, int newHandle)
    : HybridContinuousDefinition(newNetwork, newHandle, std::make_unique<QVR_distributionElement>()) {
  QVR_nodeDefinition::CheckReady(1);
  AddPresentParents();
}

std::unique_ptr<QVR_Helement> QVR_defDistribution::MakeElement() const {
  return std::make_unique<QVR_distributionElement>();
}

bool QVR_defDistribution::TakesElement(const QVR_Helement& element) const {
  return dynamic_cast<const QVR_distributionElement*>(&element) != nullptr;
}

}  // namespace qvr
