// The functions of the formula language that draw. A row's `density` and `moments` follow conventions of
// their own: Normal's density takes its second argument as a variance, Lognormal's moments do likewise,
// Triangular's density reads its arguments as low, high, mode, and densities are relative to the mode's
// where the law has one. `trueDensity` is the normalised density of what `evaluate` draws.
//
// Every loop that repeats a draw gives up after kMaxRounds with a value that is no number, so that
// parameters from a file never hang a program.
#include <algorithm>
#include <cmath>
#include <limits>

#include "expression/distribution_source.h"
#include "expression/function_catalogue.h"

namespace qvr {

namespace {

using Block = ArgumentBlock;

constexpr double kPi = 3.141592653589793;
constexpr double kE = 2.718281828459045;
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr int kMaxRounds = 100'000;
constexpr double kMaxTrials = 100'000;  // made one by one
constexpr double kFewTrials = 64;
constexpr double kLargestExactInteger = 0x1p53;

double Draw() { return CurrentDistributionSource().NextDouble(); }

// Arguments count in groups; a leftover is ignored.
bool HasNaN(const Block& b, int group) {
  const int count = b.count - b.count % group;
  return std::any_of(b.values, b.values + count, [](double value) { return std::isnan(value); });
}

double Square(double x) { return x * x; }

// The negative logarithm of a draw, repeated while it isn't finite.
double NegativeLogDraw() {
  for (int round = 0; round < kMaxRounds; ++round) {
    if (const double logarithm = std::log(Draw()); std::isfinite(logarithm)) {
      return -logarithm;
    }
  }
  return kNaN;
}

// --- Normal and Lognormal

// Marsaglia's polar method; the second number of a pair isn't kept.
double DrawNormal(const Block& b) {
  const double mean = b.values[0];
  const double deviation = b.values[1];
  for (int round = 0; round < kMaxRounds; ++round) {
    const double u = 2 * Draw() - 1;
    const double v = 2 * Draw() - 1;
    const double s = u * u + v * v;
    if (s != 0.0 && s < 1.0) {
      return std::sqrt(-2 * std::log(s) / s) * u * deviation + mean;
    }
  }
  return kNaN;
}

double NormalDensity(double x, const Block& b) {
  const double deviation = b.values[1];
  return std::exp(-Square((x - b.values[0]) / deviation) / 2) / (std::abs(deviation) * std::sqrt(2 * kPi));
}

double NormalColumn(double x, const Block& b) {
  return std::exp(Square(x - b.values[0]) / (-2 * b.values[1])) / std::sqrt(2 * kPi * b.values[1]);
}

void NormalMoments(double& mean, double& variance, const Block& b) {
  mean = b.values[0];
  variance = Square(b.values[1]);
}

double DrawLognormal(const Block& b) { return std::exp(DrawNormal(b)); }

double LognormalShape(double x, double mean, double deviation) {
  return std::exp(-Square(std::log(x) - mean) / (2 * Square(deviation))) /
         (deviation * x * std::sqrt(2 * kPi));
}

double LognormalColumn(double x, const Block& b) {
  const double mode = std::exp(b.values[0] - Square(b.values[1]));
  return LognormalShape(x, b.values[0], b.values[1]) / LognormalShape(mode, b.values[0], b.values[1]);
}

void LognormalMoments(double& mean, double& variance, const Block& b) {
  const double mu = b.values[0];
  const double s = b.values[1];
  mean = std::exp((s + mu) / 2);
  variance = std::exp(2 * mu + s) * (std::exp(s) - 1);
}

double LognormalDensity(double x, const Block& b) { return x > 0 ? NormalDensity(std::log(x), b) / x : 0.0; }

// --- Gamma and Beta

// Ahrens and Dieter's form for shapes below 1.
double DrawSmallGamma(double shape) {
  const double q = kE / (shape + kE);
  for (int round = 0; round < kMaxRounds; ++round) {
    const double u = Draw();
    const double v = Draw();
    const bool low = q > u;
    const double x = low ? std::pow(v, 1 / shape) : 1 - std::log(v);
    const double bound = low ? q * std::exp(-x) : q + (1 - q) * std::pow(x, shape - 1);
    if (u < bound) {
      return x;
    }
  }
  return kNaN;
}

// A sum of exponential draws.
double DrawWholeGamma(int shape) {
  for (int round = 0; round < kMaxRounds; ++round) {
    double product = 1.0;
    for (int i = 0; i < shape; ++i) {
      product *= Draw();
    }
    if (const double x = -std::log(product); std::isfinite(x)) {
      return x;
    }
  }
  return kNaN;
}

// Rejection from a Cauchy law, by the tangent.
double DrawLargeGamma(double shape) {
  const double mode = shape - 1;
  const double scale = std::sqrt(2 * shape - 1);
  for (int round = 0; round < kMaxRounds; ++round) {
    const double y = std::tan(kPi * Draw());
    const double x = scale * y + mode;
    if (x > 0 && Draw() <= (1 + y * y) * std::exp(mode * std::log(x / mode) - scale * y)) {
      return x;
    }
  }
  return kNaN;
}

double DrawStandardGamma(double shape) {
  if (shape < 1) {
    return DrawSmallGamma(shape);
  }
  if (!std::isfinite(shape)) {
    return kNaN;
  }
  return shape < 7 && shape == std::floor(shape) ? DrawWholeGamma(static_cast<int>(shape))
                                                 : DrawLargeGamma(shape);
}

double DrawGamma(const Block& b) { return DrawStandardGamma(b.values[0]) * b.values[1]; }

double GammaDensity(double x, const Block& b) {
  const double shape = b.values[0];
  const double scale = b.values[1];
  const double z = x / scale;
  if (!(z > 0 && shape > 0)) {
    return 0.0;
  }
  return std::exp((shape - 1) * std::log(z) - z - Gammaln(shape)) / std::abs(scale);
}

double BetaShape(double x, double a, double b) {
  const double beta = std::exp(Gammaln(a) + Gammaln(b) - Gammaln(a + b));
  return std::pow(1 - x, b - 1) * std::pow(x, a - 1) / beta;
}

// A round of the rejection succeeds once in `peak` times. At this one, the chance that all rounds fail is
// exp(-100); where the peak is kMaxRounds it would be one in three.
constexpr double kHighestBetaPeak = kMaxRounds / 100.0;

double BetaPeak(double a, double b) { return BetaShape((a - 1) / (a + b - 2), a, b); }

double DrawBetaByRejection(double a, double b, double peak) {
  for (int round = 0; round < kMaxRounds; ++round) {
    const double x = Draw();
    if (Draw() * peak < BetaShape(x, a, b)) {
      return x;
    }
  }
  return kNaN;
}

// A gamma's share in the sum of two: for shapes without a peak between 0 and 1, or with too high a one.
double DrawBetaByGammas(double a, double b) {
  for (int round = 0; round < kMaxRounds; ++round) {
    const double first = DrawStandardGamma(a);
    const double second = DrawStandardGamma(b);
    if (first != 0.0 || second != 0.0) {
      return first / (first + second);
    }
  }
  return kNaN;
}

double DrawBeta(double a, double b) {
  if (!(a > 0 && b > 0 && std::isfinite(a) && std::isfinite(b))) {
    return kNaN;
  }
  const double peak = a >= 1 && b >= 1 ? BetaPeak(a, b) : kNaN;
  return peak > 0 && peak <= kHighestBetaPeak ? DrawBetaByRejection(a, b, peak) : DrawBetaByGammas(a, b);
}

double DrawBeta(const Block& b) { return DrawBeta(b.values[0], b.values[1]); }

double BetaColumn(double x, const Block& b) {
  return BetaShape(x, b.values[0], b.values[1]) / BetaPeak(b.values[0], b.values[1]);
}

void BetaMoments(double& mean, double& variance, const Block& b) {
  const double a = b.values[0];
  const double c = b.values[1];
  mean = a / (a + c);
  variance = a * c / (Square(a + c) * (a + c + 1));
}

// exponent * ln(base), where 0 * ln(0) counts as nothing.
double LogPower(double base, double exponent) { return exponent == 0.0 ? 0.0 : exponent * std::log(base); }

// By logarithms: the factors alone leave a double's range for shapes of a few hundred.
double BetaDensity(double x, const Block& b) {
  const double a = b.values[0];
  const double c = b.values[1];
  if (!(x >= 0 && x <= 1 && a > 0 && c > 0)) {
    return 0.0;
  }
  return std::exp(LogPower(x, a - 1) + LogPower(1 - x, c - 1) - Gammaln(a) - Gammaln(c) + Gammaln(a + c));
}

// --- Bernoulli and Binomial

double DrawBernoulli(double p) { return p > Draw() ? 1.0 : 0.0; }

double DrawBernoulli(const Block& b) { return DrawBernoulli(b.values[0]); }

double BernoulliMass(double x, double p) {
  if (x == 1) {
    return p;
  }
  return x == 0 ? 1 - p : 0.0;
}

double BernoulliColumn(double x, const Block& b) { return BernoulliMass(x, b.values[0]); }

double BernoulliDensity(double x, const Block& b) {
  return BernoulliMass(x, std::clamp(b.values[0], 0.0, 1.0));
}

void BernoulliMoments(double& mean, double& variance, const Block& b) {
  mean = b.values[0];
  variance = b.values[0] * (1 - b.values[0]);
}

double CountSuccesses(double trials, double p) {
  double successes = 0.0;
  for (; trials > 0; --trials) {
    successes += DrawBernoulli(p);
  }
  return successes;
}

// The middle one of n sorted uniform draws follows a beta law; where it lies relative to p settles half of
// the trials at once (Devroye 1986, X.4).
double DrawBinomialByHalves(double trials, double p) {
  double successes = 0.0;
  while (trials > kFewTrials) {
    const double middle = 1 + std::floor(trials / 2);
    const double place = DrawBeta(middle, trials + 1 - middle);
    if (std::isnan(place)) {
      return kNaN;
    }
    if (place <= p) {
      successes += middle;
      trials -= middle;
      p = (p - place) / (1 - place);
    } else {
      trials = middle - 1;
      p /= place;
    }
  }
  return successes + CountSuccesses(trials, p);
}

double DrawBinomial(const Block& b) {
  const double trials = std::ceil(b.values[0]);
  if (!(b.values[0] > 0)) {
    return 0.0;
  }
  const double p = b.values[1];
  if (trials > kLargestExactInteger || std::isnan(p)) {
    return kNaN;
  }
  if (trials <= kMaxTrials) {
    return CountSuccesses(trials, p);
  }
  if (!(p > 0 && p < 1)) {
    return p >= 1 ? trials : 0.0;  // every trial is sure
  }
  return DrawBinomialByHalves(trials, p);
}

void BinomialMoments(double& mean, double& variance, const Block& b) {
  mean = b.values[0] * b.values[1];
  variance = (1 - b.values[1]) * b.values[1] * b.values[0];
}

double BinomialDensity(double x, const Block& b) {
  const double trials = std::max(std::ceil(b.values[0]), 0.0);
  const double p = std::clamp(b.values[1], 0.0, 1.0);
  if (!(x >= 0 && x <= trials && x == std::floor(x))) {
    return 0.0;
  }
  if (p == 0.0 || p == 1.0) {
    return x == (p == 0.0 ? 0.0 : trials) ? 1.0 : 0.0;
  }
  const double ways = Gammaln(trials + 1) - Gammaln(x + 1) - Gammaln(trials - x + 1);
  return std::exp(ways + x * std::log(p) + (trials - x) * std::log1p(-p));
}

// --- CustomPDF: heights over abscissas, joined by lines

struct PointList {
  explicit PointList(const Block& b) : count(b.count / 2), x(b.values), y(b.values + count) {}

  [[nodiscard]] double Area(int segment) const {
    const double width = x[segment + 1] - x[segment];
    return (y[segment + 1] - y[segment]) * width / 2 + width * y[segment];
  }
  [[nodiscard]] double TotalArea() const {
    double area = 0.0;
    for (int segment = 0; segment + 1 < count; ++segment) {
      area += Area(segment);
    }
    return area;
  }

  int count;
  const double* x;
  const double* y;
};

int DrawSegment(const PointList& points) {
  const double wanted = Draw() * points.TotalArea();
  double area = 0.0;
  int segment = 0;
  for (; segment + 2 < points.count; ++segment) {
    area += points.Area(segment);
    if (wanted < area) {
      break;
    }
  }
  return segment;
}

// A trapezoid is a rectangle under a triangle; which of them is drawn from goes by their areas.
double DrawCustom(const Block& b) {
  const PointList points(b);
  const int i = DrawSegment(points);
  const double width = points.x[i + 1] - points.x[i];
  const double triangle = width * std::abs(points.y[i + 1] - points.y[i]) / 2;
  const double rectangle = width * std::min(points.y[i], points.y[i + 1]);
  const double v = Draw();
  const double w = Draw();
  if (rectangle / (rectangle + triangle) > w) {
    return points.x[i] + width * v;
  }
  if (points.y[i + 1] > points.y[i]) {
    return points.x[i] + std::sqrt(width * width * v);
  }
  return points.x[i + 1] - std::sqrt(width * width * (1 - v));
}

double CustomDensity(double x, const Block& b) {
  const PointList points(b);
  for (int i = 0; i + 1 < points.count; ++i) {
    if (x >= points.x[i] && x <= points.x[i + 1] && points.x[i] < points.x[i + 1]) {
      const double share = (x - points.x[i]) / (points.x[i + 1] - points.x[i]);
      return (points.y[i] + share * (points.y[i + 1] - points.y[i])) / points.TotalArea();
    }
  }
  return 0.0;
}

// --- Exponential, Triangular, Uniform, Weibull

double DrawExponential(const Block& b) { return NegativeLogDraw() / b.values[0]; }

double ExponentialColumn(double x, const Block& b) { return x < 0 ? 0.0 : std::exp(-b.values[0] * x); }

double ExponentialDensity(double x, const Block& b) {
  const double z = b.values[0] * x;
  return z >= 0 ? std::abs(b.values[0]) * std::exp(-z) : 0.0;
}

void ExponentialMoments(double& mean, double& variance, const Block& b) {
  mean = 1 / b.values[0];
  variance = 1 / Square(b.values[0]);
}

double DrawTriangular(const Block& b) {
  const double low = b.values[0];
  const double mode = b.values[1];
  const double high = b.values[2];
  const double range = high - low;
  const double u = Draw();
  if ((mode - low) / range >= u) {
    return low + std::sqrt((mode - low) * range * u);
  }
  return high - std::sqrt((1 - u) * range * (high - mode));
}

double TriangularColumn(double x, const Block& b) {
  const double low = b.values[0];
  const double high = b.values[1];
  const double mode = b.values[2];
  const double peak = 2 / (high - low);
  if (x >= low && x <= mode) {
    return (x - low) * 2 / ((mode - low) * (high - low)) / peak;
  }
  return (high - x) * 2 / ((high - mode) * (high - low)) / peak;
}

void TriangularMoments(double& mean, double& variance, const Block& args) {
  const double a = args.values[0];
  const double b = args.values[1];
  const double c = args.values[2];
  mean = (a + b + c) / 3;
  variance = (a * a + b * b + c * c - a * b - a * c - b * c) / 18;
}

// What DrawTriangular makes of a mode that isn't between low and high: the square root of a uniform number,
// added to low or taken from high.
double TriangularDensityOutOfOrder(double x, double low, double mode, double high) {
  const double range = high - low;
  const double share = std::clamp((mode - low) / range, 0.0, 1.0);  // of the draws added to low
  const double rise = (mode - low) * range;
  const double fall = range * (high - mode);
  const bool isRisen = x >= low && Square(x - low) <= share * rise;
  const bool isFallen = x <= high && Square(high - x) <= (1 - share) * fall;
  return (isRisen ? 2 * (x - low) / rise : 0.0) + (isFallen ? 2 * (high - x) / fall : 0.0);
}

double TriangularDensity(double x, const Block& b) {
  const double low = b.values[0];
  const double mode = b.values[1];
  const double high = b.values[2];
  if (!(low <= mode && mode <= high)) {
    return TriangularDensityOutOfOrder(x, low, mode, high);
  }
  if (!(x >= low && x <= high)) {
    return 0.0;
  }
  if (x == mode) {
    return 2 / (high - low);
  }
  return x < mode ? 2 * (x - low) / ((high - low) * (mode - low))
                  : 2 * (high - x) / ((high - low) * (high - mode));
}

void UniformMoments(double& mean, double& variance, const Block& b) {
  mean = (b.values[0] + b.values[1]) / 2;
  variance = Square(b.values[1] - b.values[0]) / 12;
}

double DrawUniform(const Block& b) { return b.values[0] + (b.values[1] - b.values[0]) * Draw(); }

double UniformColumn(double /*x*/, const Block& b) { return 1 / (b.values[1] - b.values[0]); }

double UniformDensity(double x, const Block& b) {
  const auto [low, high] = std::minmax(b.values[0], b.values[1]);
  return x >= low && x <= high ? 1 / (high - low) : 0.0;
}

double DrawWeibull(const Block& b) { return b.values[0] * std::pow(NegativeLogDraw(), 1 / b.values[1]); }

double WeibullShape(double z, double shape, double factor) {
  return std::exp(-std::pow(z, shape)) * std::pow(z, shape - 1) * factor;
}

double WeibullColumn(double x, const Block& b) {
  const double shape = b.values[1];
  const double factor = shape / b.values[0];
  const double mode = std::pow((shape - 1) / shape, 1 / shape);
  return WeibullShape(x / b.values[0], shape, factor) / WeibullShape(mode, shape, factor);
}

void WeibullMoments(double& mean, double& variance, const Block& b) {
  const double scale = b.values[0];
  mean = scale * std::exp(Gammaln(1 + 1 / b.values[1]));
  variance = Square(scale) * std::exp(Gammaln(1 + 2 / b.values[1])) - Square(mean);
}

double WeibullDensity(double x, const Block& b) {
  const double z = x / b.values[0];
  return z >= 0 ? WeibullShape(z, b.values[1], std::abs(b.values[1] / b.values[0])) : 0.0;
}

double NoDensity(double /*x*/, const Block& /*b*/) { return 0.0; }

void NoMoments(double& mean, double& variance, const Block& /*b*/) {
  mean = 0.0;
  variance = 0.0;
}

// A draw by parameters that are all numbers.
template <double (*draw)(const Block&), int group = 1>
double Sample(const Block& b) {
  return HasNaN(b, group) ? kNaN : draw(b);
}

// A true density: 0 wherever the formula gives none.
template <double (*density)(double, const Block&), int group = 1>
double TrueDensity(double x, const Block& b) {
  const double value = HasNaN(b, group) ? 0.0 : density(x, b);
  return value > 0 && std::isfinite(value) ? value : 0.0;
}

// Binomial tests its parameters itself: without trials it doesn't need the probability.
constexpr FunctionRow kRows[] = {
    {"Bernoulli", 1, Sample<DrawBernoulli>, BernoulliColumn, BernoulliMoments, TrueDensity<BernoulliDensity>},
    {"Beta", 2, Sample<DrawBeta>, BetaColumn, BetaMoments, TrueDensity<BetaDensity>},
    {"Binomial", 2, DrawBinomial, NoDensity, BinomialMoments, TrueDensity<BinomialDensity>},
    {"CustomPDF", -4, Sample<DrawCustom, 2>, NoDensity, NoMoments, TrueDensity<CustomDensity, 2>},
    {"Exponential", 1, Sample<DrawExponential>, ExponentialColumn, ExponentialMoments,
     TrueDensity<ExponentialDensity>},
    {"Gamma", 2, Sample<DrawGamma>, NoDensity, NoMoments, TrueDensity<GammaDensity>},
    {"Lognormal", 2, Sample<DrawLognormal>, LognormalColumn, LognormalMoments, TrueDensity<LognormalDensity>},
    {"Normal", 2, Sample<DrawNormal>, NormalColumn, NormalMoments, TrueDensity<NormalDensity>},
    {"Triangular", 3, Sample<DrawTriangular>, TriangularColumn, TriangularMoments,
     TrueDensity<TriangularDensity>},
    {"Uniform", 2, Sample<DrawUniform>, UniformColumn, UniformMoments, TrueDensity<UniformDensity>},
    {"Weibull", 2, Sample<DrawWeibull>, WeibullColumn, WeibullMoments, TrueDensity<WeibullDensity>},
};

QVR_randomSource& SharedSource() {
  thread_local QVR_randomSource source(0);
  return source;
}

thread_local QVR_randomSource* currentSource = nullptr;

}  // namespace

std::span<const FunctionRow> Distributions() { return kRows; }

QVR_randomSource& CurrentDistributionSource() {
  return currentSource != nullptr ? *currentSource : SharedSource();
}

DistributionSourceScope::DistributionSourceScope(QVR_randomSource& source) : outer(currentSource) {
  currentSource = &source;
}

DistributionSourceScope::~DistributionSourceScope() { currentSource = outer; }

}  // namespace qvr
