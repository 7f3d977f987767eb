// The functions of the formula language that draw nothing. Arguments outside a domain give what the
// mathematical library gives. No double becomes an integer before its range is known.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <numeric>

#include "expression/function_catalogue.h"

namespace qvr {

namespace {

using Block = ArgumentBlock;

constexpr double kPi = 3.141592653589793;
constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kLargestFactorial = 170;        // 171! is beyond a double
constexpr double kLargestDoubleFactorial = 300;  // 301!! is beyond a double
constexpr double kLargestExactInteger = 0x1p53;

std::span<const double> All(const Block& b) { return {b.values, static_cast<std::size_t>(b.count)}; }

// n (n - step) (n - 2 step) ... down to above 1.
double FallingProduct(double n, double step, double largest) {
  if (std::isnan(n)) {
    return n;
  }
  if (n < 0) {
    return 0.0;
  }
  if (n > largest) {
    return kInfinity;
  }
  double product = 1.0;
  for (double factor = n; factor > 1; factor -= step) {
    product *= factor;
  }
  return product;
}

double Factorial(double x) { return FallingProduct(std::trunc(x), 1, kLargestFactorial); }

// n over k for 0 <= k <= n, times `start`, without factorials: either is beyond a double long before their
// quotient is.
double ScaledBinomial(double start, double n, double k) {
  const double smaller = std::min(k, n - k);
  double product = start;
  for (double i = 1; i <= smaller && std::isfinite(product); ++i) {
    product *= (n - smaller + i) / i;
  }
  return product;
}

double Combin(const Block& b) {
  const double n = std::abs(std::trunc(b.values[0]));
  const double k = std::abs(std::trunc(b.values[1]));
  if (std::isnan(n) || std::isnan(k)) {
    return kNaN;
  }
  if (k > n) {
    return kInfinity;
  }
  if (n <= kLargestFactorial) {
    return Factorial(n) / (Factorial(k) * Factorial(n - k));
  }
  return ScaledBinomial(1.0, n, k);
}

double Multinomial(const Block& b) {
  double top = 0.0;
  double bottom = 1.0;
  bool negative = false;
  for (const double value : All(b)) {
    const double n = std::trunc(value);
    top += n;
    bottom *= Factorial(n);
    negative = negative || n < 0;
  }
  if (negative || !(top > kLargestFactorial)) {
    return Factorial(top) / bottom;
  }
  double product = 1.0;
  double placed = 0.0;
  for (const double value : All(b)) {
    placed += std::trunc(value);
    product = ScaledBinomial(product, placed, std::trunc(value));
  }
  return product;
}

// Both arguments as whole magnitudes; false where they aren't exact.
bool WholeMagnitudes(const Block& b, std::int64_t& first, std::int64_t& second) {
  const double a = std::abs(std::trunc(b.values[0]));
  const double c = std::abs(std::trunc(b.values[1]));
  if (!(a <= kLargestExactInteger && c <= kLargestExactInteger)) {
    return false;
  }
  first = static_cast<std::int64_t>(a);
  second = static_cast<std::int64_t>(c);
  return true;
}

double Gcd(const Block& b) {
  std::int64_t first = 0;
  std::int64_t second = 0;
  return WholeMagnitudes(b, first, second) ? static_cast<double>(std::gcd(first, second)) : kNaN;
}

double Lcm(const Block& b) {
  std::int64_t first = 0;
  std::int64_t second = 0;
  if (!WholeMagnitudes(b, first, second)) {
    return kNaN;
  }
  if (first == 0 || second == 0) {
    return 0.0;
  }
  const std::int64_t share = first / std::gcd(first, second);
  return static_cast<double>(share) * static_cast<double>(second);
}

double Largest(const Block& b) {
  double best = b.values[0];
  for (const double value : All(b)) {
    best = value > best ? value : best;
  }
  return best;
}

double Smallest(const Block& b) {
  double best = b.values[0];
  for (const double value : All(b)) {
    best = value < best ? value : best;
  }
  return best;
}

double And(const Block& b) {
  const auto values = All(b);
  return std::find(values.begin(), values.end(), 0.0) == values.end() ? 1.0 : 0.0;
}

double CountNonZero(const Block& b) {
  const auto values = All(b);
  return static_cast<double>(std::count_if(values.begin(), values.end(), [](double v) { return v != 0.0; }));
}

double Sum(const Block& b) {
  double sum = b.values[0];
  for (const double value : All(b).subspan(1)) {
    sum += value;
  }
  return sum;
}

double SumOfSquares(const Block& b) {
  double sum = 0.0;
  for (const double value : All(b)) {
    sum += value * value;
  }
  return sum;
}

// The index counts the values from 1; one outside the list takes the nearer end.
double Switch(const Block& b) {
  const double index = std::trunc(b.values[0]);
  if (!(index >= 1)) {
    return b.values[1];
  }
  return b.values[index > b.count - 1 ? b.count - 1 : static_cast<int>(index)];
}

double Trim(const Block& b) {
  const double x = b.values[0];
  if (b.values[1] > x) {
    return b.values[1];
  }
  return x > b.values[2] ? b.values[2] : x;
}

double SignOf(double x) {
  if (x > 0) {
    return 1.0;
  }
  return x < 0 ? -1.0 : 0.0;
}

constexpr FunctionRow kRows[] = {
    {"Abs", 1, [](const Block& b) { return std::abs(b.values[0]); }},
    {"Acos", 1, [](const Block& b) { return std::acos(b.values[0]); }},
    {"And", -2, And},
    {"Asin", 1, [](const Block& b) { return std::asin(b.values[0]); }},
    {"Atan", 1, [](const Block& b) { return std::atan(b.values[0]); }},
    {"Atan2", 2, [](const Block& b) { return std::atan2(b.values[0], b.values[1]); }},
    {"Combin", 2, Combin},
    {"Cos", 1, [](const Block& b) { return std::cos(b.values[0]); }},
    {"Cosh", 1, [](const Block& b) { return std::cosh(b.values[0]); }},
    {"Exp", 1, [](const Block& b) { return std::exp(b.values[0]); }},
    {"Fact", 1, [](const Block& b) { return Factorial(b.values[0]); }},
    {"FactDouble", 1,
     [](const Block& b) { return FallingProduct(std::trunc(b.values[0]), 2, kLargestDoubleFactorial); }},
    {"Gammaln", 1, [](const Block& b) { return Gammaln(b.values[0]); }},
    {"GCD", 2, Gcd},
    {"If", 3, [](const Block& b) { return b.values[0] != 0.0 ? b.values[1] : b.values[2]; }},
    {"LCM", 2, Lcm},
    {"Ln", 1, [](const Block& b) { return std::log(b.values[0]); }},
    {"Log", 2, [](const Block& b) { return std::log(b.values[0]) / std::log(b.values[1]); }},
    {"Log10", 1, [](const Block& b) { return std::log10(b.values[0]); }},
    {"Max", -2, Largest},
    {"Min", -2, Smallest},
    {"Multinomial", -2, Multinomial},
    {"Or", -2, [](const Block& b) { return CountNonZero(b) > 0 ? 1.0 : 0.0; }},
    {"Pi", 0, [](const Block&) { return kPi; }},
    {"Pow10", 1, [](const Block& b) { return std::pow(10.0, b.values[0]); }},
    {"Round", 1, [](const Block& b) { return std::floor(b.values[0] + 0.5); }},
    {"Sign", 1, [](const Block& b) { return SignOf(b.values[0]); }},
    {"Sin", 1, [](const Block& b) { return std::sin(b.values[0]); }},
    {"Sinh", 1, [](const Block& b) { return std::sinh(b.values[0]); }},
    {"Sqr", 1, [](const Block& b) { return b.values[0] * b.values[0]; }},
    {"Sqrt", 1, [](const Block& b) { return std::sqrt(b.values[0]); }},
    {"SqrtPi", 1, [](const Block& b) { return std::sqrt(b.values[0] * kPi); }},
    {"Sum", -2, Sum},
    {"SumSq", -2, SumOfSquares},
    {"Switch", -3, Switch},
    {"Tan", 1, [](const Block& b) { return std::tan(b.values[0]); }},
    {"Tanh", 1, [](const Block& b) { return std::tanh(b.values[0]); }},
    {"Trim", 3, Trim},
    {"Truncate", 1, [](const Block& b) { return std::trunc(b.values[0]); }},
    {"Xor", -2, [](const Block& b) { return std::fmod(CountNonZero(b), 2.0); }},
};

}  // namespace

std::span<const FunctionRow> PlainFunctions() { return kRows; }

double Gammaln(double x) {
  constexpr double kCoefficients[] = {76.18009172947146,  -86.50532032941678,   24.01409824083091,
                                      -1.231739572450155, 0.001208650973866179, -5.395239384953e-06};
  const double t = x + 5.5;
  const double u = t - std::log(t) * (x + 0.5);
  double series = 1.000000000190015;
  double denominator = x;
  for (const double coefficient : kCoefficients) {
    denominator += 1;
    series += coefficient / denominator;
  }
  return std::log(series * 2.5066282746310007 / x) - u;
}

}  // namespace qvr
