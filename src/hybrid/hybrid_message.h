// What nodes of a hybrid network tell each other: beliefs about a parent's number, and how well its numbers
// agree with what is known below.
#ifndef QVR_HYBRID_HYBRID_MESSAGE_H
#define QVR_HYBRID_HYBRID_MESSAGE_H

#include <vector>

#include "hybrid/kernel_density.h"

namespace qvr {

// Filled by AddValue and then normalised, or fixed at one number. Until then it is uninformative.
class QVR_hybridMessage {
 public:
  virtual ~QVR_hybridMessage() = default;
  QVR_hybridMessage(const QVR_hybridMessage&) = delete;
  QVR_hybridMessage& operator=(const QVR_hybridMessage&) = delete;

  virtual void AddValue(double value, double weight) = 0;
  virtual void Normalize() = 0;
  // Whether anything of a weight above 0 was added.
  [[nodiscard]] virtual bool HasWeight() const = 0;
  // What the message says of a number, as a distribution of it.
  [[nodiscard]] virtual double DrawValue() = 0;
  [[nodiscard]] virtual double GetDensity(double value) const = 0;  // of a discrete one the probability
  // The message as a factor in a product: known up to a constant. 1 if it is uninformative.
  [[nodiscard]] virtual double GetRatio(double value) const = 0;

  void Fix(double value) {
    isUninformative = false;
    isFixed = true;
    fixedValue = value;
  }
  [[nodiscard]] bool IsUninformative() const { return isUninformative; }
  [[nodiscard]] bool IsFixed() const { return isFixed; }
  [[nodiscard]] double GetFixedValue() const { return fixedValue; }

 protected:
  QVR_hybridMessage() = default;

  bool isUninformative = true;

 private:
  bool isFixed = false;
  double fixedValue = 0.0;
};

class QVR_continuousMessage final : public QVR_hybridMessage {
 public:
  // An uninformative one draws between the bounds. The tolerance is that of KernelDensity::Build.
  QVR_continuousMessage(double newLow, double newHigh, double newTolerance)
      : low(newLow), high(newHigh), tolerance(newTolerance) {}

  void AddValue(double value, double weight) override;
  // A number that was drawn with this density and has this likelihood: a pair of weight likelihood / density.
  void AddLikelihood(double value, double likelihood, double density);
  void Normalize() override;
  [[nodiscard]] bool HasWeight() const override { return IsFixed() || !estimate.IsEmpty(); }
  [[nodiscard]] double DrawValue() override;
  [[nodiscard]] double GetDensity(double value) const override { return estimate.GetDensity(value); }
  // Where likelihoods were added, what the pairs near the number give, divided by what they would give if all
  // likelihoods were 1: how the numbers happen to lie then cancels out.
  [[nodiscard]] double GetRatio(double value) const override;
  [[nodiscard]] const std::vector<WeightedSample>& GetSamples() const { return samples; }

 private:
  struct Likelihood {
    double value;
    double likelihood;
    double reference;  // 1 / density
  };

  double low;
  double high;
  double tolerance;
  std::vector<WeightedSample> samples;
  std::vector<Likelihood> likelihoods;  // ascending once normalised; or empty
  double ratioWidth = 0.0;              // of the kernels around them
  KernelDensity estimate;
};

class QVR_discreteMessage final : public QVR_hybridMessage {
 public:
  explicit QVR_discreteMessage(int outcomeCount)
      : vector(static_cast<std::size_t>(outcomeCount), 1.0 / outcomeCount) {}

  void AddValue(double value, double weight) override;
  void Normalize() override;
  [[nodiscard]] bool HasWeight() const override { return hasWeight; }
  [[nodiscard]] double DrawValue() override;
  [[nodiscard]] double GetDensity(double value) const override { return At(value); }
  [[nodiscard]] double GetRatio(double value) const override { return IsUninformative() ? 1.0 : At(value); }
  [[nodiscard]] const std::vector<double>& GetVector() const { return vector; }

 private:
  [[nodiscard]] double At(double value) const { return vector[static_cast<std::size_t>(value)]; }

  std::vector<double> vector;
  bool hasWeight = false;
};

}  // namespace qvr

#endif
