// Weights of samples that many unlikely observations can't push out of a double's range.
#ifndef QVR_INFERENCE_SAMPLE_WEIGHT_H
#define QVR_INFERENCE_SAMPLE_WEIGHT_H

#include <span>

namespace qvr {

// A product of factors, held as mantissa times 2^exponent. The mantissa is what the plain product would be,
// bit for bit, but for the power of two. 0 only if a factor was 0.
class SampleWeight {
 public:
  // False if the weight is 0 now.
  bool Multiply(double factor) {
    const double product = mantissa * factor;
    if (product >= kLeast && product <= kMost) {
      mantissa = product;
      return true;
    }
    return MultiplyApart(factor);
  }
  // The same by numerator / denominator, also where the quotient is beyond a double. The denominator isn't 0.
  bool MultiplyQuotient(double numerator, double denominator) {
    const double quotient = numerator / denominator;
    return quotient >= kLeast && quotient <= kMost ? Multiply(quotient)
                                                   : MultiplyQuotientApart(numerator, denominator);
  }
  void Multiply(const SampleWeight& other);

  [[nodiscard]] bool IsZero() const { return mantissa == 0; }
  [[nodiscard]] double Mantissa() const { return mantissa; }
  [[nodiscard]] int Exponent() const { return exponent; }
  [[nodiscard]] double Plain() const;  // as one double: 0 or infinite beyond its range

 private:
  // Narrow enough for the squares of mantissas.
  static constexpr double kLeast = 0x1p-250;
  static constexpr double kMost = 0x1p100;

  bool MultiplyApart(double factor);
  bool MultiplyQuotientApart(double numerator, double denominator);

  double mantissa = 1;
  int exponent = 0;
};

// The power of two in which a component's sums of weights are held: that of its first weight, and a larger
// one when a weight comes that wouldn't fit beside it.
class SumExponent {
 public:
  // Makes room for the weight. The sums so far are to be multiplied by 2^result, mostly 2^0.
  [[nodiscard]] int Admit(const SampleWeight& weight) {
    return started && weight.Exponent() == exponent ? 0 : AdmitUnlike(weight);
  }
  // The weight in units of the sums; only after Admit.
  [[nodiscard]] double Scaled(const SampleWeight& weight) const {
    return weight.Exponent() == exponent ? weight.Mantissa() : ScaledUnlike(weight);
  }

 private:
  [[nodiscard]] int AdmitUnlike(const SampleWeight& weight);
  [[nodiscard]] double ScaledUnlike(const SampleWeight& weight) const;

  int exponent = 0;
  bool started = false;
};

// Multiplies every sum by 2^shift.
void ShiftSums(std::span<double> sums, int shift);

}  // namespace qvr

#endif
