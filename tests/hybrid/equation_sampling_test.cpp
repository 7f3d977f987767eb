// What a run of sampling keeps, rejects and repeats.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "hybrid/equation_support.h"

namespace qvr {
namespace {

constexpr int kCount = 4000;

Doubles SamplesOf(QVR_network& network, int handle) {
  Doubles numbers;
  for (const WeightedSample& sample : EquationValueOf(network, handle).GetSamples()) {
    EXPECT_EQ(sample.weight, 1.0);
    numbers.push_back(sample.value);
  }
  return numbers;
}

TEST(EquationSampling, RejectsOutliersAndKeepsTheNumberBefore) {
  const SeededRun run(5);
  QVR_network network;
  network.sampleCount = kCount;
  AddEquation(network, "x", "x=Normal(0,1)", -1, 1);
  AddEquation(network, "y", "y=x+100", 0, 200);
  ASSERT_EQ(network.UpdateBeliefs(), 0);
  EXPECT_EQ(SamplesOf(network, 0).size(), kCount);
  EXPECT_GT(EquationValueOf(network, 0).maximum, 2);
  network.rejectOutliers = 1;
  ASSERT_EQ(network.UpdateBeliefs(), 0);
  const double share = std::erf(std::sqrt(0.5));
  const Doubles kept = SamplesOf(network, 0);
  EXPECT_NEAR(static_cast<double>(kept.size()), kCount * share,
              4.5 * std::sqrt(kCount * share * (1 - share)));
  EXPECT_TRUE(std::all_of(kept.begin(), kept.end(), [](double x) { return x >= -1 && x <= 1; }));
  // Each of y repeats the last x that was kept, or is the next one.
  std::size_t place = 0;
  for (double number : SamplesOf(network, 1)) {
    place += place + 1 < kept.size() && number != kept[place] + 100 ? 1 : 0;
    ASSERT_EQ(number, kept[place] + 100);
  }
  EXPECT_EQ(place + 1, kept.size());
}

TEST(EquationSampling, FixesWhatIsKnownAndRepeatsTheRestWithTheSeed) {
  const SeededRun run(5);
  QVR_network network;
  AddEquation(network, "k", "k=3");
  AddEquation(network, "x", "x=Normal(0,1)");
  AddEquation(network, "y", "y=k+x");
  AddEquation(network, "z", "z=y*Gamma(2,1)");
  network.sampleCount = 200;
  network.rejectOutliers = 1;
  EquationOf(network, 3).SetBounds(0, 99);
  ASSERT_EQ(ValueOf(network, 1).SetEvidenceValue(-2.5), 0);
  std::vector<Doubles> runs;
  for (unsigned seed : {7U, 7U, 8U}) {
    SeedRandomStreams(seed);
    ASSERT_EQ(network.UpdateBeliefs(), 0);
    EXPECT_EQ(SamplesOf(network, 0), Doubles{3});
    EXPECT_EQ(SamplesOf(network, 1), Doubles{-2.5});
    EXPECT_EQ(SamplesOf(network, 2), Doubles(200, 0.5));
    runs.push_back(SamplesOf(network, 3));
  }
  EXPECT_EQ(runs[0], runs[1]);
  EXPECT_NE(runs[0], runs[2]);
}

TEST(EquationSampling, TellsOfNodesWithoutUsefulSamples) {
  const struct {
    int sampleCount;
    char rejectOutliers;
    const char* x;
    int status;
    unsigned valid;  // bit i: node i
  } cases[] = {
      {100, 0, "x=Normal(0,1)", 0, 63},        {100, 1, "x=Normal(0,1)", -5, 4},
      {0, 0, "x=Normal(0,1)", -5, 36},         {-3, 0, "x=Normal(0,1)", -5, 36},
      {100, 0, "x=Ln(-Uniform(1,2))", -5, 60}, {1 << 30, 0, "x=Normal(0,1)", -42, 0},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(&c - cases);
    const SeededRun run(5);
    QVR_network network;
    AddEquation(network, "x", c.x, 50, 60);
    AddEquation(network, "y", "y=x+1", -100, 100);
    AddEquation(network, "k", "k=1");
    const int d = AddEquation(network, "d", "d=k+1", 50, 60);
    AddEquation(network, "e", "e=d+1", -100, 100);
    AddUnknown(network, "s", "s=d", {}, {d});
    network.sampleCount = c.sampleCount;
    network.rejectOutliers = c.rejectOutliers;
    EXPECT_EQ(network.UpdateBeliefs(), c.status);
    const Strings useless = {"No useful samples have been generated for some of nodes."};
    EXPECT_EQ(LogGuard::Messages(-5), c.status == -5 ? useless : Strings{});
    for (int i = 0; i < 6; ++i) {
      EXPECT_EQ(ValueOf(network, i).IsValueValid(), (c.valid >> i & 1U) != 0) << i;
    }
  }
}

TEST(EquationSampling, SolvesSetsInEachPass) {
  const SeededRun run(5);
  QVR_network network;
  network.sampleCount = kCount;
  const int p = AddEquation(network, "p", "p=Normal(2,2)");
  AddEquation(network, "k", "k=1");
  const int j = AddEquation(network, "j", "j=k+1");
  AddUnknown(network, "s", "s=t/2+p", {"t"}, {p});
  const int t = AddUnknown(network, "t", "t=s/2", {"s"});
  const int r = AddUnknown(network, "r", "r*r=p", {}, {p});  // has no solution below 0
  const int u = AddUnknown(network, "u", "u=j+u/2", {"u"}, {j});
  const int child = AddEquation(network, "c", "c=u+t");
  ASSERT_EQ(network.UpdateBeliefs(), 0);
  const Doubles drawn = SamplesOf(network, p);
  const Doubles solved = SamplesOf(network, t);
  const Doubles roots = SamplesOf(network, r);
  const Doubles children = SamplesOf(network, child);
  std::size_t place = 0;
  for (std::size_t i = 0; i < kCount; ++i) {
    ASSERT_NEAR(solved[i], drawn[i] * 2 / 3, 1e-9);
    ASSERT_NEAR(children[i], 4 + solved[i], 1e-9);
    if (drawn[i] >= 0) {
      ASSERT_NEAR(roots[place] * roots[place], drawn[i], 1e-6 * (1 + drawn[i]));
      ++place;
    }
  }
  EXPECT_EQ(place, roots.size());
  EXPECT_EQ(SamplesOf(network, u).size(), 1U);
  EXPECT_EQ(LogGuard::Messages(), Strings{"Failed in solving nonlinear quations."});
}

}  // namespace
}  // namespace qvr
