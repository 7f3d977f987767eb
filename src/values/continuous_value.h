// The value of a continuous node of a hybrid network: samples and an estimate of their density.
#ifndef QVR_VALUES_CONTINUOUS_VALUE_H
#define QVR_VALUES_CONTINUOUS_VALUE_H

#include <vector>

#include "values/density_estimate.h"
#include "values/node_value.h"

namespace qvr {

// Evidence is a number; the network isn't told of it.
class QVR_valcontinuous : public QVR_nodeValue {
 public:
  QVR_valcontinuous(QVR_network* newNetwork, int newHandle) : QVR_nodeValue(newNetwork, newHandle) {}
  QVR_valcontinuous(const QVR_valcontinuous& other) = default;  // deep clone; nobody is told

  // Takes everything from a value of this class, from others nothing.
  int AdoptValue(QVR_nodeValue& other) override;
  [[nodiscard]] int GetValueType() const override { return kValueContinuous; }
  int SetEvidenceValue(double value) override;
  int ClearEvidence() override;            // 0 also without evidence
  int ClearPropagatedEvidence() override;  // likewise
  int SetPropagatedValue(double value) override;

  // The solver writes these and then sets the value valid.
  int sampleCount = 0;  // pairs in samples
  std::vector<WeightedSample> samples;
  double evidenceValue = 0.0;
  int evidenceTag = 0;  // no meaning yet; 0 after each retraction
  DensityEstimate density;
};

}  // namespace qvr

#endif
