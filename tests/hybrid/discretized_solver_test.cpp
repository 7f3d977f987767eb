// How a discretised network takes evidence, gives its results, and keeps its tables.
#include <gtest/gtest.h>

#include <functional>

#include "hybrid/equation_support.h"
#include "model/random_source.h"
#include "support/log_guard.h"

namespace qvr {
namespace {

using Doubles = std::vector<double>;

class DiscretizedSolver : public testing::Test {
 protected:
  // x in [0, 4] and y = k * x in [0, 12] in intervals of width 1 and 3; k and z have none.
  void SetUp() override {
    network.discretize = 1;
    network.discAvoidZero = 0;
    AddEquation(network, "k", "k=1+2");
    AddEquation(network, "z", "z=Uniform(0,1)", 0, 1);
    AddEquation(network, "x", "x=Uniform(0,4)");
    AddEquation(network, "y", "y=k*x");
    ASSERT_EQ(CutEvenly(network, X, 0, 4, 4), 0);
    ASSERT_EQ(CutEvenly(network, Y, 0, 12, 4), 0);
  }
  const Doubles& PosteriorOf(int handle) { return EquationValueOf(network, handle).GetDiscretePosterior(); }
  double MeanOf(int handle) { return EquationValueOf(network, handle).mean; }

  static constexpr int K = 0;
  static constexpr int Z = 1;
  static constexpr int X = 2;
  static constexpr int Y = 3;
  LogGuard log;
  QVR_network network;
};

TEST_F(DiscretizedSolver, PlacesEvidenceInItsInterval) {
  const struct {
    int node;
    double number;
    std::size_t interval;
  } cases[] = {{X, 1.0, 1}, {X, 0.5, 0}, {X, -9, 0}, {X, 99, 3}, {X, 4, 3}, {Y, 7, 2}, {Y, 12.5, 3}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.number);
    ASSERT_EQ(ValueOf(network, c.node).SetEvidenceValue(c.number), 0);
    ASSERT_EQ(network.UpdateBeliefs(), 0);
    const auto interval = static_cast<double>(c.interval);
    EXPECT_EQ(MeanOf(X), interval + 0.5);
    EXPECT_EQ(MeanOf(Y), 3 * interval + 1.5);
    Doubles certain(4, 0.0);
    certain[c.interval] = 1;
    EXPECT_EQ(PosteriorOf(c.node), Doubles{});
    EXPECT_EQ(PosteriorOf(X + Y - c.node), certain);
    EXPECT_TRUE(ValueOf(network, X).IsValueValid() && ValueOf(network, Y).IsValueValid());
    EXPECT_EQ(EquationValueOf(network, K).GetSamples().size(), 1U);
    EXPECT_EQ(MeanOf(K), 3);
    EXPECT_FALSE(ValueOf(network, Z).IsValueValid());
    ASSERT_EQ(ValueOf(network, c.node).ClearEvidence(), 0);
  }
  ASSERT_EQ(network.UpdateBeliefs(), 0);
  EXPECT_EQ(MeanOf(X), -1);
  EXPECT_EQ(EquationValueOf(network, X).stdDeviation, -1);
  for (std::size_t i = 0; i < 4; ++i) {
    EXPECT_NEAR(PosteriorOf(X)[i], 0.25, 0.02);
    EXPECT_EQ(PosteriorOf(X)[i], PosteriorOf(Y)[i]);
  }
}

TEST_F(DiscretizedSolver, CountsEvidenceOnParentsWithoutIntervals) {
  ASSERT_EQ(EquationOf(network, Y).SetEquation("y=x+9*z"), 0);
  ASSERT_EQ(CutEvenly(network, Y, 0, 13, 13), 0);
  ASSERT_EQ(network.UpdateBeliefs(), 0);
  ASSERT_NE(EquationOf(network, Y).GetDiscretized(), nullptr);
  const Doubles usual = PosteriorOf(Y);
  const Doubles table(EquationOf(network, Y).GetDiscretized()->GetItems().begin(),
                      EquationOf(network, Y).GetDiscretized()->GetItems().end());
  ASSERT_EQ(ValueOf(network, Z).SetEvidenceValue(1), 0);
  ASSERT_EQ(network.UpdateBeliefs(), 0);
  for (std::size_t i = 0; i < 13; ++i) {
    EXPECT_NEAR(PosteriorOf(Y)[i], i < 9 ? 0 : 0.25, i < 9 ? 0 : 0.02) << i;
  }
  EXPECT_EQ(MeanOf(Z), 1);
  EXPECT_EQ(ValueOf(network, Z).ClearEvidence(), 0);
  // The table made for this evidence isn't kept.
  ASSERT_EQ(network.UpdateBeliefs(), 0);
  EXPECT_EQ(PosteriorOf(Y), usual);
  EXPECT_EQ(Doubles(EquationOf(network, Y).GetDiscretized()->GetItems().begin(),
                    EquationOf(network, Y).GetDiscretized()->GetItems().end()),
            table);
}

TEST_F(DiscretizedSolver, RepeatsWithTheSeed) {
  std::vector<Doubles> runs;
  for (unsigned seed : {3U, 3U, 4U}) {
    SeedRandomStreams(seed);
    ASSERT_EQ(EquationOf(network, X).SetEquation("x=2+Normal(0,1)"), 0);  // forgets the tables
    ASSERT_EQ(network.UpdateBeliefs(), 0);
    runs.push_back(PosteriorOf(Y));
  }
  SeedRandomStreams(0);
  EXPECT_EQ(runs[0], runs[1]);
  EXPECT_NE(runs[0], runs[2]);
}

TEST_F(DiscretizedSolver, PassesOnWhatFails) {
  const struct {
    std::function<void(QVR_network&)> change;
    int status;
  } cases[] = {
      {[](QVR_network& n) { AddEquation(n, "m", "m+1=z"); }, 0},  // is no part of it
      {[](QVR_network& n) { EquationOf(n, K).SetEquation("2*k=6"); }, -6},
      {[](QVR_network& n) { n.NodeAt(Z)->ChangeType(kTypeEquationScc); }, 0},
      {[](QVR_network& n) { n.AddArc(AddUnknown(n, "s", "s=1", {}), Y, kOrdinaryLayer); }, -6},
      {[](QVR_network& n) {
         ValueOf(n, X).SetEvidenceValue(0.5);
         ValueOf(n, Y).SetEvidenceValue(11);
       },
       -26},
      {[](QVR_network& n) {
         for (int i = 0; i < 4; ++i) {
           const std::string id = "w" + std::to_string(i);
           CutEvenly(n, AddEquation(n, id.c_str(), (id + "=1").c_str()), 0, 2, 200);
         }
         EquationOf(n, Y).SetEquation("y=w0+w1+w2+w3");
       },
       -42},
      {[](QVR_network& n) {
         EquationOf(n, X).SetDiscIntervals({});
         EquationOf(n, Y).SetDiscIntervals({});
       },
       -51},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(&c - cases);
    QVR_network changed(network);
    c.change(changed);
    GetErrorLog().Clear();
    EXPECT_EQ(changed.UpdateBeliefs(), c.status);
    EXPECT_EQ(EquationValueOf(changed, Y).IsValueValid(), c.status == 0 || ValueOf(changed, Y).HasEvidence());
    const std::vector<std::string> missing = {"At least one node with discretization intervals is required."};
    EXPECT_EQ(LogGuard::Messages(-51), c.status == -51 ? missing : std::vector<std::string>{});
  }
}

}  // namespace
}  // namespace qvr
