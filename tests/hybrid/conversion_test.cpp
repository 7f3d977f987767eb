// Equation networks with evidence below a root: what they are made into, and what comes back.
#include <gtest/gtest.h>

#include <functional>

#include "definitions/def_continuous.h"
#include "hybrid/hybrid_conversion.h"
#include "hybrid/posterior_check.h"
#include "inference/solver_entries.h"
#include "model/random_source.h"
#include "support/describe_network.h"
#include "support/gaussian_reference.h"
#include "support/log_guard.h"
#include "support/network_builder.h"
#include "values/eq_evaluation.h"

namespace qvr {
namespace {

using Function = std::function<double(double)>;

QVR_valEqEvaluation& EquationValue(QVR_network& network, int handle) {
  return dynamic_cast<QVR_valEqEvaluation&>(ValueOf(network, handle));
}

// Mean and deviation of a law that is known up to a factor.
std::pair<double, double> Integrate(const Function& density, double low, double high) {
  constexpr int kCells = 20'000;
  double sums[3] = {};
  for (int cell = 0; cell < kCells; ++cell) {
    const double x = low + (high - low) * (cell + 0.5) / kCells;
    const double weight = density(x);
    sums[0] += weight;
    sums[1] += weight * x;
    sums[2] += weight * x * x;
  }
  const double mean = sums[1] / sums[0];
  return {mean, std::sqrt(sums[2] / sums[0] - mean * mean)};
}

double NormalShape(double x, double mean, double deviation) {
  return std::exp(-(x - mean) * (x - mean) / (2 * deviation * deviation));
}

struct InvertibleCase {
  const char* formula;
  Function function;
  double low;
  double high;
};
const InvertibleCase kInvertible[] = {
    {"Sin(x)", [](double x) { return std::sin(x); }, 0.2, 1.4},
    {"Asin(x)", [](double x) { return std::asin(x); }, 0.1, 0.9},
    {"Cos(x)", [](double x) { return std::cos(x); }, 0.2, 1.4},
    {"Acos(x)", [](double x) { return std::acos(x); }, 0.1, 0.9},
    {"Tan(x)", [](double x) { return std::tan(x); }, 0.2, 1.4},
    {"Atan(x)", [](double x) { return std::atan(x); }, 0.2, 3},
    {"Exp(x)", [](double x) { return std::exp(x); }, -1, 1},
    {"Ln(x)", [](double x) { return std::log(x); }, 1.2, 4},
    {"Sqr(x)", [](double x) { return x * x; }, 0.5, 2},
    {"Sqrt(x)", [](double x) { return std::sqrt(x); }, 0.2, 3},
    {"Pow10(x)", [](double x) { return std::pow(10, x); }, -0.5, 0.5},
    {"Log10(x)", [](double x) { return std::log10(x); }, 1.2, 4},
    {"Log(x,2)", [](double x) { return std::log2(x); }, 1.2, 4},
    {"Log(3,x)", [](double x) { return std::log(3) / std::log(x); }, 1.2, 4},
    {"x^3", [](double x) { return x * x * x; }, 0.5, 2},
    {"3^x", [](double x) { return std::pow(3, x); }, -1, 1},
    {"(2/x)", [](double x) { return 2 / x; }, 0.5, 2},
    {"(x/4+1)", [](double x) { return x / 4 + 1; }, -2, 2},
    {"-(1-x)", [](double x) { return x - 1; }, 1.2, 3},
};

// g has another child, so that the evidence is met by solving for x; with y = f(x) * g the law of x is in
// proportion to that of g at y / f(x), over f(x).
TEST(HbnSolve, InvertsEveryFunctionThatHasAnInverse) {
  for (const InvertibleCase& c : kInvertible) {
    const testing::ScopedTrace scope(__FILE__, __LINE__, c.formula);
    QVR_network network;
    const std::string law = "x=Uniform(" + std::to_string(c.low) + "," + std::to_string(c.high) + ")";
    const int x = AddEquation(network, "x", law.c_str());
    AddEquation(network, "g", "g=Normal(3,0.5)");
    AddEquation(network, "other", "other=g*2");
    const int y = AddEquation(network, "y", ("y=" + std::string(c.formula) + "*g").c_str());
    const double observed = c.function((c.low + c.high) / 2) * 3.2;
    EquationValue(network, y).SetEvidenceValue(observed);
    network.sampleCount = 20'000;
    SeedRandomStreams(5);
    ASSERT_EQ(HbnSolve(network), 0);
    const auto [mean, deviation] = Integrate(
        [&](double at) { return NormalShape(observed / c.function(at), 3, 0.5) / std::abs(c.function(at)); },
        c.low, c.high);
    ExpectSampled(EquationValue(network, x).GetSamples(), mean, deviation);
  }
}

struct ShapeCase {
  std::vector<const char*> equations;  // of x, y, ...; the last one is observed
  double observed;
  Function posterior;  // of x, up to a factor
  double low;
  double high;
};

// A factor that is random itself, a negated law, a law with arguments, roots that aren't explicit.
TEST(HbnSolve, HandlesEveryPlaceOfADistribution) {
  const ShapeCase cases[] = {
      {{"x=Normal(0,1)", "y=x*Normal(2,1)"},
       3,
       [](double x) { return NormalShape(x, 0, 1) * NormalShape(3 / x, 2, 1) / std::abs(x); },
       -8,
       8},
      {{"-x=Exponential(1)", "y=x+Normal(0,1)"},
       -1,
       [](double x) { return std::exp(x) * NormalShape(-1, x, 1); },
       -30,
       0},
      {{"x=Normal(0,1)", "z=x+2", "c=z+Normal(z,0.5)"},
       5,
       [](double x) { return NormalShape(x, 0, 1) * NormalShape(5 - (x + 2), x + 2, 0.5); },
       -8,
       8},
      {{"x=Uniform(0,1)", "w=Normal(x,1)", "w+1=y*2"},
       0.5,
       [](double x) { return NormalShape(0, x, 1); },
       0,
       1},
      {{"x=-Normal(1,1)", "y=x*(1+Uniform(0,1))-Normal(0,1)"},
       -2,
       [](double x) {
         double sum = 0.0;
         for (double u = 0.005; u < 1; u += 0.01) {
           sum += NormalShape(-2, x * (1 + u), 1);
         }
         return sum * NormalShape(x, -1, 1);
       },
       -8,
       6},
  };
  for (const ShapeCase& c : cases) {
    const testing::ScopedTrace scope(__FILE__, __LINE__, c.equations.back());
    QVR_network network;
    int last = -1;
    for (std::size_t i = 0; i < c.equations.size(); ++i) {
      const std::string text = c.equations[i];
      const std::string names[] = {"x", "w", "z", "c", "y"};
      for (const std::string& name : names) {
        if (text.find(name) != std::string::npos && network.FindNode(name.c_str()) < 0) {
          last = AddEquation(network, name.c_str(), text.c_str());
          break;
        }
      }
      ASSERT_GE(last, 0);
    }
    EquationValue(network, last).SetEvidenceValue(c.observed);
    network.sampleCount = 50'000;
    SeedRandomStreams(6);
    ASSERT_EQ(HbnSolve(network), 0);
    const auto [mean, deviation] = Integrate(c.posterior, c.low, c.high);
    ExpectSampled(EquationValue(network, 0).GetSamples(), mean, deviation);
  }
}

class LinearNetworks : public testing::TestWithParam<int> {};

TEST_P(LinearNetworks, HaveTheClosedFormsPosterior) {
  const bool byMessages = GetParam() == 15;
  for (int seed = 1; seed <= 50; ++seed) {
    const testing::ScopedTrace scope(__FILE__, __LINE__, "seed " + std::to_string(seed));
    TestRandom random(static_cast<std::uint64_t>(seed));
    const int count = 2 + random.Below(11);
    const GaussianModel model = RandomGaussian(
        byMessages ? PolytreeParents(count, 3, random) : RandomParents(count, 3, count, random), random);
    GaussianReference exact(model);
    QVR_network network;
    ASSERT_TRUE(FillWithEquations(model, network));
    std::vector<bool> isObserved(model.size());
    for (int evidence = 1 + random.Below(3); evidence-- > 0;) {
      const int node = random.Below(count);
      if (!isObserved[static_cast<std::size_t>(node)]) {
        isObserved[static_cast<std::size_t>(node)] = true;
        const double number = exact.Mean(node) + (3 * random.Unit() - 1.5) * exact.Deviation(node);
        EquationValue(network, node).SetEvidenceValue(number);
        exact.Observe(node, number);
      }
    }
    network.sampleCount = GetParam() == 13 ? 5'000 : 20'000;
    network.SetHybridAlgorithm(GetParam());
    SeedRandomStreams(static_cast<std::uint32_t>(seed));
    ASSERT_EQ(HbnSolve(network), 0);
    for (int node = 0; node < count; ++node) {
      if (!isObserved[static_cast<std::size_t>(node)]) {
        (byMessages ? ExpectByMessages : ExpectSampled)(EquationValue(network, node).GetSamples(),
                                                        exact.Mean(node), exact.Deviation(node));
      }
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Hybrid, LinearNetworks, testing::Values(13, 14, 15));

// With everything above observed, the rest is known.
TEST(HbnSolve, TakesFixedNumbersAsPropagatedOnes) {
  QVR_network network;
  const int root = AddEquation(network, "root", "root=Uniform(0,1)");
  const int below = AddEquation(network, "below", "below=2*root+1");
  const int seen = AddEquation(network, "seen", "seen=below+Normal(0,1)");
  EquationValue(network, root).SetEvidenceValue(7);  // no number that the law gives
  EquationValue(network, seen).SetEvidenceValue(14);
  ASSERT_EQ(HbnSolve(network), 0);
  double number = 0;
  EquationValue(network, below).GetDouble(number);
  EXPECT_EQ(number, 15);
  EXPECT_EQ(EquationValue(network, below).GetFlags() & 7, 7);
  EXPECT_EQ(EquationValue(network, root).GetFlags() & 7, kValueEvidence | kValueValid);
}

TEST(HbnSolve, RefusesWhatCantBeInvertedAndLeavesTheNetworkAlone) {
  for (const char* formula : {"y=Abs(x)", "y=Sinh(x)", "y=x*x", "y=If(x>0,x,2)", "y=Max(x,1)", "y=Round(x)",
                              "y=Atan2(x,1)", "y=Sum(x,1)", "y=(x>1 ? x : 2)", "y=Sqr(x)+x"}) {
    const testing::ScopedTrace scope(__FILE__, __LINE__, formula);
    const LogGuard log;
    QVR_network network;
    const int x = AddEquation(network, "x", "x=Normal(0,1)");
    const int y = AddEquation(network, "y", formula);
    EquationValue(network, x).SetWeightedSamples({{1, 1}});  // of an earlier run
    EquationValue(network, y).SetEvidenceValue(1);
    const std::string before = Describe(network);
    EXPECT_EQ(HbnSolve(network), QVR_OUT_OF_RANGE);
    EXPECT_EQ(LogGuard::Messages(QVR_OUT_OF_RANGE),
              std::vector<std::string>{"Conversion to HBN failed for node y"});
    EXPECT_EQ(Describe(network), before);
    EXPECT_FALSE(EquationValue(network, x).IsValueValid());
    EXPECT_TRUE(EquationValue(network, y).IsValueValid());
  }
}

TEST(HybridConversion, GeneratesIdentifiersThatNeitherNetworkHas) {
  QVR_network source;
  QVR_network scratch;
  AddEquation(source, "d", "d=0");
  scratch.AddNode(kTypeDistribution, "e");
  std::vector<std::string> texts;
  std::string text;
  for (int counter = 1; counter < 17;) {
    MakeAuxiliaryId(text, counter, scratch, source);
    texts.push_back(text);
  }
  EXPECT_EQ(texts.front(), "c");
  EXPECT_EQ(texts[1], "f");
  EXPECT_EQ(texts[texts.size() - 2], "ab");
  EXPECT_EQ(texts.back(), "bb");
}

TEST(HybridConversion, SplitsOffDistributionsAndSolvesForEveryParent) {
  QVR_network source;
  QVR_network scratch;
  scratch.AddNode(kTypeDistribution, "y");
  const int z = scratch.AddNode(kTypeDistribution, "z");
  const ExpressionPtr form = QVR_expression::Parse("y-Normal(z,1)", nullptr, nullptr);
  int counter = 1;
  const int x = ConvertEquation(scratch, "x", *form, source, counter, {-3, 4});
  ASSERT_GE(x, 0);
  const int auxiliary = scratch.FindNode("c");
  EXPECT_EQ(ListOf(scratch.GetParents(auxiliary)), std::vector<int>{z});
  EXPECT_EQ(ListOf(scratch.GetParents(x)), (std::vector<int>{auxiliary, scratch.FindNode("y")}));
  const auto& definition = dynamic_cast<QVR_defHEquation&>(*scratch.NodeAt(x)->definition);
  EXPECT_EQ(definition.GetUpperBound(), 4);
  const auto& element = dynamic_cast<const QVR_equationElement&>(definition.GetElements()[0]);
  EXPECT_EQ(element.GetText(), "y-c");
  EXPECT_EQ(element.GetInverses().size(), 2U);
}

}  // namespace
}  // namespace qvr
