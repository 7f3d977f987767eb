// Draws against mean, variance and distribution function of the literature, and densities against 1.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <vector>

#include "expression/distribution_source.h"
#include "expression/function_row.h"

namespace qvr {
namespace {

constexpr int kDraws = 200000;

enum class Kind { kSmooth, kPole, kDiscrete };

struct Law {
  const char* name;
  std::vector<double> arguments;
  double mean;
  double variance;
  double low;  // all but 1e-7 of the probability lies between these
  double high;
  Kind kind = Kind::kSmooth;

  [[nodiscard]] ArgumentBlock Block() const {
    ArgumentBlock block;
    for (const double value : arguments) {
      block.values[block.count++] = value;
    }
    return block;
  }
  [[nodiscard]] const FunctionRow& Row() const { return *LookupFunctionRow(name); }
};

std::ostream& operator<<(std::ostream& out, const Law& law) {
  out << law.name << '(';
  for (const double value : law.arguments) {
    out << value << ' ';
  }
  return out << ')';
}

double Square(double x) { return x * x; }

const double kRootPi = std::sqrt(std::acos(-1.0));

const Law kLaws[] = {
    {"Uniform", {-1, 3}, 1, 16.0 / 12, -1, 3},
    {"Normal", {2, 3}, 2, 9, -18, 22},
    {"Normal", {2, -3}, 2, 9, -18, 22},
    {"Lognormal", {0.5, 0.4}, std::exp(0.58), (std::exp(0.16) - 1) * std::exp(1.16), 0, 20},
    {"Exponential", {2}, 0.5, 0.25, 0, 12},
    {"Triangular", {0, 1, 4}, 5.0 / 3, (16.0 + 1 - 4) / 18, 0, 4},
    {"Weibull", {2, 2}, kRootPi, 4 - kRootPi* kRootPi, 0, 10},
    {"Gamma", {0.5, 1}, 0.5, 0.5, 0, 20, Kind::kPole},
    {"Gamma", {3, 2}, 6, 12, 0, 70},
    {"Gamma", {7, 1}, 7, 7, 0, 45},
    {"Gamma", {2.5, 1}, 2.5, 2.5, 0, 35},
    {"Beta", {2, 3}, 0.4, 0.04, 0, 1},
    {"Beta", {1, 1}, 0.5, 1.0 / 12, 0, 1},
    {"Beta", {0.5, 0.5}, 0.5, 0.125, 0, 1, Kind::kPole},
    {"Beta", {600, 600}, 0.5, 0.25 / 1201, 0.4, 0.6},
    {"Beta", {2, 1e6}, 2 / 1000002.0, 2e6 / (Square(1000002.0) * 1000003), 0, 3e-5},
    {"Beta", {1e5, 1}, 1e5 / 100001, 1e5 / (Square(100001.0) * 100002), 0.9998, 1},
    {"CustomPDF", {0, 1, 1, 1}, 0.5, 1.0 / 12, 0, 1},
    {"CustomPDF", {0, 1, 3, 0, 2, 2}, 26.0 / 15, 107.0 / 30 - 676.0 / 225, 0, 3},
    {"Bernoulli", {0.3}, 0.3, 0.21, 0, 1, Kind::kDiscrete},
    {"Binomial", {12, 0.4}, 4.8, 2.88, 0, 12, Kind::kDiscrete},
    {"Binomial", {400000, 0.25}, 100000, 75000, 98500, 101500, Kind::kDiscrete},
    // What the samples of odd parameters follow.
    {"Exponential", {-2}, -0.5, 0.25, -12, 0},
    {"Weibull", {-2, 2}, -kRootPi, 4 - kRootPi* kRootPi, -10, 0},
    {"Weibull", {2, -10}, 2 * std::tgamma(0.9), 4 * (std::tgamma(0.8) - Square(std::tgamma(0.9))), 0, 10},
    {"Gamma", {3, -2}, -6, 12, -70, 0},
    {"Triangular", {4, 1, 0}, 13.0 / 3, 27.5 - 169.0 / 9, -1, 7},
    {"Triangular", {0, 6, 2}, 4 / std::sqrt(3.0), 2.0 / 3, 0, std::sqrt(12.0)},
    {"Uniform", {3, -1}, 1, 16.0 / 12, -1, 3},
    {"Bernoulli", {1.5}, 1, 0, 0, 1, Kind::kDiscrete},
    {"Bernoulli", {-0.5}, 0, 0, 0, 1, Kind::kDiscrete},
};

// The distribution function on a grid, by the midpoints of the true density.
struct Grid {
  double low;
  double step;
  std::vector<double> cumulative;

  [[nodiscard]] double At(double x) const {
    const double cell = std::clamp((x - low) / step, 0.0, static_cast<double>(cumulative.size() - 1));
    const auto below = static_cast<std::size_t>(cell);
    const std::size_t above = std::min(below + 1, cumulative.size() - 1);
    return cumulative[below] + (cell - static_cast<double>(below)) * (cumulative[above] - cumulative[below]);
  }
};

Grid Integrate(const Law& law) {
  constexpr int kCells = 200000;
  Grid grid{law.low, (law.high - law.low) / kCells, {0.0}};
  const ArgumentBlock block = law.Block();
  for (int i = 0; i < kCells; ++i) {
    const double density = law.Row().trueDensity(law.low + (i + 0.5) * grid.step, block);
    grid.cumulative.push_back(grid.cumulative.back() + density * grid.step);
  }
  return grid;
}

class Distribution : public testing::TestWithParam<Law> {
 protected:
  std::vector<double> Draw() {
    QVR_randomSource source(4711);
    const DistributionSourceScope scope(source);
    const ArgumentBlock block = GetParam().Block();
    std::vector<double> draws(kDraws);
    std::generate(draws.begin(), draws.end(), [&] { return GetParam().Row().evaluate(block); });
    return draws;
  }
};

TEST_P(Distribution, HasTheMomentsOfItsLaw) {
  double sum = 0;
  double squares = 0;
  double fourths = 0;
  for (const double draw : Draw()) {
    const double d = draw - GetParam().mean;
    sum += d;
    squares += d * d;
    fourths += d * d * d * d;
  }
  const double variance = GetParam().variance;
  EXPECT_LE(std::abs(sum / kDraws), 4 * std::sqrt(variance / kDraws));
  const double spread = std::max(fourths / kDraws - variance * variance, 0.01 * variance * variance);
  EXPECT_LE(std::abs(squares / kDraws - variance), 4 * std::sqrt(spread / kDraws));
}

// The largest distance of the two distribution functions, by Kolmogorov and Smirnov.
void ExpectSameFunction(const Law& law, const std::vector<double>& sorted) {
  const bool hasPole = law.kind == Kind::kPole;  // where the integral converges slowly
  const Grid grid = Integrate(law);
  EXPECT_NEAR(grid.cumulative.back(), 1.0, hasPole ? 4e-3 : 1e-6);
  double distance = 0;
  for (int i = 0; i < kDraws; ++i) {
    const double expected = grid.At(sorted[static_cast<std::size_t>(i)]) / grid.cumulative.back();
    distance = std::max({distance, expected - i / double{kDraws}, (i + 1) / double{kDraws} - expected});
  }
  EXPECT_LT(distance, 1.95 / std::sqrt(kDraws) + (hasPole ? 1e-3 : 0.0));
}

// Pearson's sum over runs of values of which ten or more are expected, and its 0.999 quantile by Wilson and
// Hilferty.
void ExpectSameCounts(const Law& law, const std::vector<double>& sorted) {
  double total = 0;
  double expected = 0;
  double sum = 0;
  int cells = 0;
  auto cell = sorted.begin();
  for (double x = law.low; x <= law.high; ++x) {
    const double mass = law.Row().trueDensity(x, law.Block());
    total += mass;
    expected += mass * kDraws;
    if (x == law.high || (expected >= 10 && (1 - total) * kDraws >= 10)) {
      const auto end = std::upper_bound(cell, sorted.end(), x);
      sum += Square(static_cast<double>(end - cell) - expected) / expected;
      expected = 0;
      cell = end;
      ++cells;
    }
  }
  EXPECT_NEAR(total, 1.0, 1e-6);
  EXPECT_EQ(cell, sorted.end());
  const double freedom = std::max(cells - 1, 1);
  const double step = 2 / (9 * freedom);
  EXPECT_LT(sum, freedom * std::pow(1 - step + 3.0902 * std::sqrt(step), 3));
}

TEST_P(Distribution, DrawsFollowTheTrueDensity) {
  std::vector<double> draws = Draw();
  ASSERT_TRUE(std::all_of(draws.begin(), draws.end(), [](double x) { return std::isfinite(x); }));
  std::sort(draws.begin(), draws.end());
  (GetParam().kind == Kind::kDiscrete ? ExpectSameCounts : ExpectSameFunction)(GetParam(), draws);
}

INSTANTIATE_TEST_SUITE_P(AllLaws, Distribution, testing::ValuesIn(kLaws));

// The columns' own conventions, by the formulas that callers rely on.
TEST(Distributions, ColumnsKeepTheirConventions) {
  const double pi = std::acos(-1.0);
  const struct {
    Law law;
    double x;
    double density;
  } cases[] = {
      {{"Normal", {0, 2}, 0, 4, 0, 0}, 1, std::exp(-0.25) / std::sqrt(4 * pi)},
      {{"Lognormal", {1, 4}, std::exp(2.5), std::exp(6.0) * (std::exp(4.0) - 1), 0, 0}, std::exp(-15.0), 1},
      {{"Triangular", {0, 1, 2}, 1, 1.0 / 6, 0, 0}, 1, 0.5},
      {{"Triangular", {0, 4, 1}, 5.0 / 3, 13.0 / 18, 0, 0}, 2, 2.0 / 3},
      {{"Uniform", {0, 4}, 2, 16.0 / 12, 0, 0}, 99, 0.25},
      {{"Exponential", {2}, 0.5, 0.25, 0, 0}, 1, std::exp(-2.0)},
      {{"Bernoulli", {0.3}, 0.3, 0.21, 0, 0}, 1, 0.3},
      {{"Beta", {2, 2}, 0.5, 0.05, 0, 0}, 0.5, 1},
      {{"Weibull", {1, 2}, kRootPi / 2, 1 - pi / 4, 0, 0}, std::sqrt(0.5), 1},
      {{"Gamma", {2, 1}, 0, 0, 0, 0}, 1, 0},
      {{"Binomial", {4, 0.5}, 2, 1, 0, 0}, 2, 0},
      {{"CustomPDF", {0, 1, 1, 1}, 0, 0, 0, 0}, 0.5, 0},
  };
  for (const auto& c : cases) {
    const ArgumentBlock block = c.law.Block();
    double mean = -1;
    double variance = -1;
    c.law.Row().moments(mean, variance, block);
    EXPECT_NEAR(c.law.Row().density(c.x, block), c.density, 1e-9) << c.law;
    EXPECT_NEAR(mean, c.law.mean, 1e-9 * (1 + std::abs(c.law.mean))) << c.law;
    EXPECT_NEAR(variance, c.law.variance, 1e-9 * (1 + c.law.variance)) << c.law;
  }
}

TEST(Distributions, AnswerNoNumberBeforeTheyDraw) {
  for (const Law& law : kLaws) {
    for (std::size_t place = 0; place < law.arguments.size(); ++place) {
      QVR_randomSource source(5);
      QVR_randomSource untouched(5);
      const DistributionSourceScope scope(source);
      ArgumentBlock block = law.Block();
      block.values[place] = std::nan("");
      const bool hasNoTrials = &law.Row() == LookupFunctionRow("Binomial") && place == 0;
      const double draw = law.Row().evaluate(block);
      EXPECT_TRUE(hasNoTrials ? draw == 0 : std::isnan(draw)) << law << place;
      EXPECT_EQ(source.NextDouble(), untouched.NextDouble()) << law << place;
    }
  }
}

TEST(Distributions, HaveNoDensityWithoutALaw) {
  const Law laws[] = {{"Beta", {-1.5, 2}, 0, 0, 0, 0},
                      {"Beta", {-1.5, -1.5}, 0, 0, 0, 0},
                      {"CustomPDF", {0, 1, -1, 2}, 0, 0, 0, 0},
                      {"Gamma", {-1.5, 1}, 0, 0, 0, 0}};
  for (const Law& law : laws) {
    EXPECT_EQ(law.Row().trueDensity(0.1, law.Block()), 0) << law;
  }
}

TEST(RandomSources, RepeatFromASeedAndDifferWithoutOne) {
  QVR_randomSource first(7);
  QVR_randomSource second(7);
  QVR_randomSource fresh(0);
  QVR_randomSource other(0);
  int same = 0;
  for (int i = 0; i < 100; ++i) {
    EXPECT_EQ(first.NextDouble(), second.NextDouble());
    same += fresh.NextDouble() == other.NextDouble() ? 1 : 0;
  }
  EXPECT_EQ(same, 0);
  EXPECT_EQ(NextUniform(), 41 / 32767.0);  // the stream's first two draws from state 1
  EXPECT_EQ(NextUniform(), 18467 / 32767.0);
}

}  // namespace
}  // namespace qvr
