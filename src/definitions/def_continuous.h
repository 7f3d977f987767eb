// The continuous nodes of a hybrid network: by an equation, or by a distribution, for each combination.
#ifndef QVR_DEFINITIONS_DEF_CONTINUOUS_H
#define QVR_DEFINITIONS_DEF_CONTINUOUS_H

#include "definitions/def_hybrid.h"

namespace qvr {

// Where the node's values are expected; the density estimates work in this range.
class HybridContinuousDefinition : public QVR_defHybrid {
 public:
  virtual int SetUpperBound(double bound);
  [[nodiscard]] virtual double GetUpperBound() const { return upperBound; }
  virtual int SetLowerBound(double bound);
  [[nodiscard]] virtual double GetLowerBound() const { return lowerBound; }

 protected:
  using QVR_defHybrid::QVR_defHybrid;

  void AdoptContent(const QVR_defHybrid& other) override;
  void ResetContent() override;

 private:
  static constexpr double kFreshBound = 10.0;

  double lowerBound = -kFreshBound;
  double upperBound = kFreshBound;
};

// Elements are QVR_equationElement, at first 0.
class QVR_defHEquation final : public HybridContinuousDefinition {
 public:
  QVR_defHEquation(QVR_network* newNetwork, int newHandle);
  QVR_defHEquation(const QVR_defHEquation& other) = default;  // deep clone; nobody is told

  [[nodiscard]] int GetType() const override { return kTypeHEquation; }
  [[nodiscard]] const char* GetTypeName() const override { return "HEQUATION"; }

 protected:
  [[nodiscard]] std::unique_ptr<QVR_Helement> MakeElement() const override;
  [[nodiscard]] bool TakesElement(const QVR_Helement& element) const override;
};

// Elements are QVR_distributionElement, at first Normal(0,1).
class QVR_defDistribution final : public HybridContinuousDefinition {
 public:
  QVR_defDistribution(QVR_network* newNetwork, int newHandle);
  QVR_defDistribution(const QVR_defDistribution& other) = default;  // deep clone; nobody is told

  [[nodiscard]] int GetType() const override { return kTypeDistribution; }
  [[nodiscard]] const char* GetTypeName() const override { return "DISTRIBUTION"; }

 protected:
  [[nodiscard]] std::unique_ptr<QVR_Helement> MakeElement() const override;
  [[nodiscard]] bool TakesElement(const QVR_Helement& element) const override;
};

}  // namespace qvr

#endif
