// Every distribution at a root, below constants, and below random parents, against the literature.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "hybrid/equation_support.h"
#include "model/random_source.h"
#include "support/log_guard.h"

namespace qvr {
namespace {

// x follows this law; a and b are its parents, where it names them.
struct Law {
  const char* a;
  const char* b;
  const char* x;
  double mean;
  double variance;
  double quantile;
  double share;  // of the probability up to the quantile
};

std::ostream& operator<<(std::ostream& out, const Law& law) {
  return out << law.x << " " << law.a << " " << law.b;
}

double Gaussian(double x) { return 0.5 * std::erfc(-x / std::sqrt(2.0)); }

const Law kLaws[] = {
    {"0", "4", "Uniform", 2, 4.0 / 3, 1, 0.25},
    {"1", "2", "Normal", 1, 4, 2, Gaussian(0.5)},
    {"0.5", "0.4", "Lognormal", std::exp(0.58), (std::exp(0.16) - 1) * std::exp(1.16), std::exp(0.9),
     Gaussian(1)},
    {"2", "", "Exponential", 0.5, 0.25, std::log(4.0) / 2, 0.75},
    {"2", "3", "Weibull", 2 * std::tgamma(4.0 / 3),
     4 * (std::tgamma(5.0 / 3) - std::pow(std::tgamma(4.0 / 3), 2)), 2, 1 - std::exp(-1)},
    {"2", "3", "Gamma", 6, 18, 3, 1 - 2 * std::exp(-1)},
    {"2", "1", "Beta", 2.0 / 3, 1.0 / 18, 0.5, 0.25},
    {"0.3", "", "Bernoulli", 0.3, 0.21, 0.5, 0.7},
    {"3", "0.5", "Binomial", 1.5, 0.75, 1.5, 0.5},
    {"1", "3", "Triangular", 4.0 / 3, 14.0 / 36, 1, 1.0 / 3},
    {"1", "2", "CustomPDF", 8.0 / 3, 13.0 / 18, 2, 0.25},  // a triangle
    // Parents that vary: mixtures with a closed form.
    {"Normal(1,3)", "4", "Normal", 1, 25, 6, Gaussian(1)},
    {"Gamma(8,1)", "", "Exponential", 1.0 / 7, 8.0 / 294, 0.1, 1 - std::pow(1.1, -8)},  // Lomax
    {"Beta(2,2)", "", "Bernoulli", 0.5, 0.25, 0.5, 0.5},
    {"5", "Uniform(0,1)", "Binomial", 2.5, 35.0 / 12, 1.5, 1.0 / 3},  // every count alike
    {"0", "Uniform(0,1)", "Uniform", 0.25, 7.0 / 144, 0.5, 0.5 + 0.5 * std::log(2.0)},
};

// The law with these two as its arguments, and the fixed ones that it has besides.
std::string Formula(const Law& law, const std::string& a, const std::string& b) {
  const std::string name = law.x;
  const std::string both = *law.b == '\0' ? a : a + "," + b;
  if (name == "Triangular") {
    return "Triangular(0," + both + ")";
  }
  return name + "(" + both + (name == "CustomPDF" ? ",5,0,2,0)" : ")");
}

void ExpectLaw(QVR_network& network, int handle, const Law& law) {
  const QVR_valEqEvaluation& value = EquationValueOf(network, handle);
  const auto count = static_cast<double>(value.GetSamples().size());
  ASSERT_EQ(count, network.sampleCount);
  double fourths = 0;
  double below = 0;
  for (const WeightedSample& sample : value.GetSamples()) {
    fourths += std::pow(sample.value - law.mean, 4) / count;
    below += sample.value <= law.quantile ? 1 : 0;
  }
  const double variance = value.stdDeviation * value.stdDeviation;
  EXPECT_NEAR(value.mean, law.mean, 4.5 * std::sqrt(law.variance / count));
  EXPECT_NEAR(variance, law.variance,
              4.5 * std::sqrt(std::max(fourths - law.variance * law.variance, 1e-4) / count));
  EXPECT_NEAR(below / count, law.share, 4.5 * std::sqrt(law.share * (1 - law.share) / count));
}

class EquationLaw : public testing::TestWithParam<Law> {};

TEST_P(EquationLaw, HasItsMomentsAndQuantiles) {
  const LogGuard log;
  SeedRandomStreams(31);
  const Law& law = GetParam();
  QVR_network network;
  network.sampleCount = 50000;
  const int root = AddEquation(network, "root", ("root=" + Formula(law, law.a, law.b)).c_str());
  AddEquation(network, "a", (std::string("a=") + law.a).c_str());
  AddEquation(network, "b", (std::string("b=") + (*law.b == '\0' ? "0" : law.b)).c_str());
  const int child = AddEquation(network, "x", ("x=" + Formula(law, "a", "b")).c_str());
  ASSERT_GE(std::min(root, child), 0);
  ASSERT_EQ(network.UpdateBeliefs(), 0);
  ExpectLaw(network, root, law);
  ExpectLaw(network, child, law);
  SeedRandomStreams(0);
}

INSTANTIATE_TEST_SUITE_P(AllLaws, EquationLaw, testing::ValuesIn(kLaws));

}  // namespace
}  // namespace qvr
