#include "inference/sample_weight.h"

#include <cmath>

namespace qvr {

namespace {

// A weight this much above the unit of the sums still adds up beside smaller ones, squared as well, without
// overflow; the sums are rescaled only beyond it.
constexpr int kHeadroom = 300;

}  // namespace

bool SampleWeight::MultiplyApart(double factor) {
  int shift = 0;
  int factorShift = 0;
  mantissa = std::frexp(mantissa, &shift) * std::frexp(factor, &factorShift);
  exponent += shift + factorShift;
  return mantissa != 0;
}

bool SampleWeight::MultiplyQuotientApart(double numerator, double denominator) {
  int shift = 0;
  int denominatorShift = 0;
  const double quotient = std::frexp(numerator, &shift) / std::frexp(denominator, &denominatorShift);
  exponent += shift - denominatorShift;
  return Multiply(quotient);
}

void SampleWeight::Multiply(const SampleWeight& other) {
  Multiply(other.mantissa);
  exponent += other.exponent;
}

double SampleWeight::Plain() const { return std::ldexp(mantissa, exponent); }

int SumExponent::AdmitUnlike(const SampleWeight& weight) {
  if (!started) {
    started = true;
    exponent = weight.Exponent();
    return 0;
  }
  const int rise = weight.Exponent() - exponent;
  if (rise <= kHeadroom) {
    return 0;
  }
  exponent = weight.Exponent();
  return -rise;
}

double SumExponent::ScaledUnlike(const SampleWeight& weight) const {
  return std::ldexp(weight.Mantissa(), weight.Exponent() - exponent);
}

void ShiftSums(std::span<double> sums, int shift) {
  for (double& sum : sums) {
    sum = std::ldexp(sum, shift);
  }
}

}  // namespace qvr
