// What a run of sampling keeps, rejects and repeats.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "hybrid/equation_support.h"
#include "model/random_source.h"
#include "support/log_guard.h"

namespace qvr {
namespace {

constexpr const char* kUseless = "No useful samples have been generated for some of nodes.";

std::vector<double> SamplesOf(QVR_network& network, int handle) {
  std::vector<double> numbers;
  for (const WeightedSample& sample : EquationValueOf(network, handle).GetSamples()) {
    EXPECT_EQ(sample.weight, 1.0);
    numbers.push_back(sample.value);
  }
  return numbers;
}

class EquationSampling : public testing::Test {
 protected:
  void SetUp() override {
    SeedRandomStreams(5);
    network.sampleCount = 4000;
  }
  void TearDown() override { SeedRandomStreams(0); }

  LogGuard log;
  QVR_network network;
};

TEST_F(EquationSampling, RejectsOutliersAndKeepsTheNumberBefore) {
  AddEquation(network, "x", "x=Normal(0,1)", -1, 1);
  AddEquation(network, "y", "y=x+100", 0, 200);
  ASSERT_EQ(network.UpdateBeliefs(), 0);
  EXPECT_EQ(SamplesOf(network, 0).size(), 4000U);
  EXPECT_GT(EquationValueOf(network, 0).maximum, 2);
  network.rejectOutliers = 1;
  ASSERT_EQ(network.UpdateBeliefs(), 0);
  const double share = std::erf(std::sqrt(0.5));
  const std::vector<double> kept = SamplesOf(network, 0);
  EXPECT_NEAR(static_cast<double>(kept.size()), 4000 * share, 4.5 * std::sqrt(4000 * share * (1 - share)));
  EXPECT_TRUE(std::all_of(kept.begin(), kept.end(), [](double x) { return x >= -1 && x <= 1; }));
  // Each of y repeats the last x that was kept, or is the next one; none is wasted on an unknown x.
  std::size_t place = 0;
  for (double number : SamplesOf(network, 1)) {
    place += place + 1 < kept.size() && number != kept[place] + 100 ? 1 : 0;
    ASSERT_EQ(number, kept[place] + 100);
  }
  EXPECT_EQ(place + 1, kept.size());
  EXPECT_GT(SamplesOf(network, 1).size(), kept.size());
}

TEST_F(EquationSampling, FixesWhatIsObservedOrConstant) {
  AddEquation(network, "k", "k=3");
  AddEquation(network, "x", "x=Normal(0,1)");
  AddEquation(network, "y", "y=k+x", -1, 1);
  AddEquation(network, "z", "z=k+1", -1, 9);
  network.rejectOutliers = 1;
  ASSERT_EQ(ValueOf(network, 1).SetEvidenceValue(-2.5), 0);
  const std::vector<std::vector<double>> expected = {{3}, {-2.5}};
  ASSERT_EQ(network.UpdateBeliefs(), 0);
  for (int i = 0; i < 2; ++i) {
    EXPECT_EQ(SamplesOf(network, i), expected[static_cast<std::size_t>(i)]);
    EXPECT_EQ(EquationValueOf(network, i).mean, expected[static_cast<std::size_t>(i)][0]);
  }
  EXPECT_EQ(SamplesOf(network, 2), std::vector<double>(4000, 0.5));
  EXPECT_EQ(SamplesOf(network, 3), std::vector<double>(4000, 4.0));
  EXPECT_TRUE(ValueOf(network, 1).HasRealEvidence());
}

TEST_F(EquationSampling, RepeatsWithTheSeedAndOnlyThen) {
  AddEquation(network, "x", "x=Gamma(2,1)+Normal(0,1)");
  AddEquation(network, "y", "y=x*Uniform(0,1)");
  std::vector<std::vector<double>> runs;
  for (unsigned seed : {7U, 7U, 8U}) {
    SeedRandomStreams(seed);
    ASSERT_EQ(network.UpdateBeliefs(), 0);
    runs.push_back(SamplesOf(network, 1));
  }
  EXPECT_EQ(runs[0], runs[1]);
  EXPECT_NE(runs[0], runs[2]);
}

TEST_F(EquationSampling, TellsOfNodesWithoutUsefulSamples) {
  AddEquation(network, "x", "x=Normal(0,1)", 50, 60);
  AddEquation(network, "y", "y=x+1", -100, 100);
  AddEquation(network, "k", "k=1");
  const struct {
    int sampleCount;
    char rejectOutliers;
    const char* x;
    int status;
    unsigned valid;  // bit i: node i
  } cases[] = {
      {100, 0, "x=Normal(0,1)", 0, 7},        {100, 1, "x=Normal(0,1)", -5, 4},
      {0, 0, "x=Normal(0,1)", -5, 4},         {-3, 0, "x=Normal(0,1)", -5, 4},
      {100, 0, "x=Ln(-Uniform(1,2))", -5, 4}, {1 << 30, 0, "x=Normal(0,1)", -42, 0},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.sampleCount);
    GetErrorLog().Clear();
    network.sampleCount = c.sampleCount;
    network.rejectOutliers = c.rejectOutliers;
    ASSERT_EQ(EquationOf(network, 0).SetEquation(c.x), 0);
    EXPECT_EQ(network.UpdateBeliefs(), c.status);
    EXPECT_EQ(LogGuard::Messages(),
              c.status == -5 ? std::vector<std::string>{kUseless} : std::vector<std::string>{});
    for (int i = 0; i < 3; ++i) {
      EXPECT_EQ(ValueOf(network, i).IsValueValid(), (c.valid >> i & 1U) != 0) << i;
    }
  }
}

TEST_F(EquationSampling, SolvesSetsInEachPass) {
  const int p = AddEquation(network, "p", "p=Normal(2,2)");
  AddEquation(network, "k", "k=1");
  const int j = AddEquation(network, "j", "j=k+1");
  const int s = AddUnknown(network, "s", "s=t/2+p", {"t"}, {p});
  const int t = AddUnknown(network, "t", "t=s/2", {"s"});
  const int r = AddUnknown(network, "r", "r*r=p", {}, {p});  // has no solution below 0
  const int u = AddUnknown(network, "u", "u=j+u/2", {"u"}, {j});
  const int child = AddEquation(network, "c", "c=u+t", 0, 0);
  ASSERT_EQ(network.UpdateBeliefs(), 0);
  const std::vector<double> drawn = SamplesOf(network, p);
  const std::vector<double> solved = SamplesOf(network, t);
  const std::vector<double> roots = SamplesOf(network, r);
  const std::vector<double> children = SamplesOf(network, child);
  ASSERT_EQ(SamplesOf(network, s).size(), 4000U);
  std::size_t place = 0;
  for (std::size_t i = 0; i < 4000; ++i) {
    ASSERT_NEAR(solved[i], drawn[i] * 2 / 3, 1e-9);
    ASSERT_NEAR(children[i], 4 + solved[i], 1e-9);
    if (drawn[i] >= 0) {
      ASSERT_LT(place, roots.size());
      ASSERT_NEAR(roots[place] * roots[place], drawn[i], 1e-6 * (1 + drawn[i]));
      ++place;
    }
  }
  EXPECT_EQ(place, roots.size());
  ASSERT_EQ(SamplesOf(network, u).size(), 1U);
  EXPECT_NEAR(EquationValueOf(network, u).mean, 4, 1e-9);
  EXPECT_EQ(LogGuard::Messages(), std::vector<std::string>{"Failed in solving nonlinear quations."});
}

}  // namespace
}  // namespace qvr
