// Every distribution at a root, below constants, and some below random parents, against the literature.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "hybrid/equation_support.h"

namespace qvr {
namespace {

double Gaussian(double x) { return 0.5 * std::erfc(-x / std::sqrt(2.0)); }

// `name` of (`before`, a, b, `behind`), where a and b are these laws or numbers.
const struct Law {
  const char* name;
  Strings arguments;  // a, and b if there is one
  double mean;
  double variance;
  double quantile;
  double share;  // of the probability up to the quantile
  const char* before = "";
  const char* behind = "";
} kLaws[] = {
    {"Uniform", {"0", "4"}, 2, 4.0 / 3, 1, 0.25},
    {"Normal", {"1", "2"}, 1, 4, 2, Gaussian(0.5)},
    {"Lognormal",
     {"0.5", "0.4"},
     std::exp(0.58),
     std::expm1(0.16) * std::exp(1.16),
     std::exp(0.9),
     Gaussian(1)},
    {"Exponential", {"2"}, 0.5, 0.25, std::log(4.0) / 2, 0.75},
    {"Weibull", {"2", "2"}, std::sqrt(std::acos(-1.0)), 4 - std::acos(-1.0), 2, 1 - std::exp(-1)},
    {"Gamma", {"2", "3"}, 6, 18, 3, 1 - 2 * std::exp(-1)},
    {"Beta", {"2", "1"}, 2.0 / 3, 1.0 / 18, 0.5, 0.25},
    {"Bernoulli", {"0.3"}, 0.3, 0.21, 0.5, 0.7},
    {"Binomial", {"3", "0.5"}, 1.5, 0.75, 1.5, 0.5},
    {"Triangular", {"1", "3"}, 4.0 / 3, 14.0 / 36, 1, 1.0 / 3, "0,"},
    {"CustomPDF", {"1", "2"}, 8.0 / 3, 13.0 / 18, 2, 0.25, "", ",5,0,2,0"},  // a triangle
    // Mixtures with a closed form.
    {"Normal", {"Normal(1,3)", "4"}, 1, 25, 6, Gaussian(1)},
    {"Exponential", {"Gamma(8,1)"}, 1.0 / 7, 8.0 / 294, 0.1, 1 - std::pow(1.1, -8)},  // Lomax
    {"Bernoulli", {"Beta(2,2)"}, 0.5, 0.25, 0.5, 0.5},
    {"Binomial", {"5", "Uniform(0,1)"}, 2.5, 35.0 / 12, 1.5, 1.0 / 3},  // every count alike
    {"Uniform", {"0", "Uniform(0,1)"}, 0.25, 7.0 / 144, 0.5, 0.5 + 0.5 * std::log(2.0)},
};

void ExpectLaw(const QVR_valEqEvaluation& value, const Law& law) {
  const auto count = static_cast<double>(value.GetSamples().size());
  ASSERT_EQ(count, 50000);
  double fourths = 0;
  double below = 0;
  for (const WeightedSample& sample : value.GetSamples()) {
    fourths += std::pow(sample.value - law.mean, 4) / count;
    below += sample.value <= law.quantile ? 1 : 0;
  }
  const double spread = std::max(fourths - law.variance * law.variance, 1e-4);
  EXPECT_NEAR(value.mean, law.mean, 4.5 * std::sqrt(law.variance / count));
  EXPECT_NEAR(value.stdDeviation * value.stdDeviation, law.variance, 4.5 * std::sqrt(spread / count));
  EXPECT_NEAR(below / count, law.share, 4.5 * std::sqrt(law.share * (1 - law.share) / count));
}

TEST(EquationLaws, HaveTheirMomentsAndQuantiles) {
  const SeededRun run(31);
  for (const Law& law : kLaws) {
    SCOPED_TRACE(std::string(law.name) + testing::PrintToString(law.arguments));
    QVR_network network;
    network.sampleCount = 50000;
    std::string ofRoot = std::string("root=") + law.name + "(" + law.before;
    std::string ofChild = std::string("x=") + law.name + "(" + law.before;
    for (const std::string& argument : law.arguments) {
      const std::string id(1, &argument == law.arguments.data() ? 'a' : 'b');
      std::string text = id + "=";
      text += argument;
      AddEquation(network, id.c_str(), text.c_str());
      ofRoot += (id == "b" ? "," : "") + argument;
      ofChild += (id == "b" ? "," : "") + id;
    }
    const int root = AddEquation(network, "root", (ofRoot + law.behind + ")").c_str());
    const int child = AddEquation(network, "x", (ofChild + law.behind + ")").c_str());
    ASSERT_EQ(network.UpdateBeliefs(), 0);
    ExpectLaw(EquationValueOf(network, root), law);
    ExpectLaw(EquationValueOf(network, child), law);
  }
}

}  // namespace
}  // namespace qvr
