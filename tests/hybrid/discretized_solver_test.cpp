// How a discretised network takes evidence, gives its results, and keeps its tables.
#include <gtest/gtest.h>

#include <functional>

#include "hybrid/equation_support.h"

namespace qvr {
namespace {

constexpr int K = 0;
constexpr int Z = 1;
constexpr int X = 2;
constexpr int Y = 3;

// x in [0, 4] and y = 3 * x in [0, 12] in intervals of width 1 and 3; k and z have none.
class DiscretizedSolver : public testing::Test {
 protected:
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
  Doubles Solve(int handle) {
    EXPECT_EQ(network.UpdateBeliefs(), 0);
    EXPECT_TRUE(ValueOf(network, handle).IsValueValid());
    return EquationValueOf(network, handle).GetDiscretePosterior();
  }

  SeededRun run{3};
  QVR_network network;
};

TEST_F(DiscretizedSolver, PlacesEvidenceInItsInterval) {
  const Doubles even = Solve(X);
  EXPECT_EQ(EquationValueOf(network, Y).GetDiscretePosterior(), even);
  EXPECT_EQ(EquationValueOf(network, X).mean, -1);
  EXPECT_EQ(EquationValueOf(network, X).stdDeviation, -1);
  const struct {
    int node;
    double number;
    std::size_t interval;
  } cases[] = {{X, 1, 1}, {X, 0.5, 0}, {X, -9, 0}, {X, 99, 3}, {X, 4, 3}, {Y, 7, 2}, {Y, 12.5, 3}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.number);
    EXPECT_NEAR(even[c.interval], 0.25, 0.02);
    ASSERT_EQ(ValueOf(network, c.node).SetEvidenceValue(c.number), 0);
    Doubles certain(4, 0.0);
    certain[c.interval] = 1;
    EXPECT_EQ(Solve(X + Y - c.node), certain);
    EXPECT_EQ(Solve(c.node), Doubles{});
    EXPECT_EQ(EquationValueOf(network, X).mean, static_cast<double>(c.interval) + 0.5);
    EXPECT_EQ(EquationValueOf(network, Y).mean, 3 * static_cast<double>(c.interval) + 1.5);
    EXPECT_EQ(EquationValueOf(network, K).mean, 3);
    EXPECT_FALSE(ValueOf(network, Z).IsValueValid());
    ASSERT_EQ(ValueOf(network, c.node).ClearEvidence(), 0);
  }
}

TEST_F(DiscretizedSolver, CountsEvidenceOnParentsWithoutIntervals) {
  ASSERT_EQ(EquationOf(network, Y).SetEquation("y=x+9*z"), 0);
  ASSERT_EQ(CutEvenly(network, Y, 0, 13, 13), 0);
  const Doubles usual = Solve(Y);
  ASSERT_EQ(ValueOf(network, Z).SetEvidenceValue(1), 0);
  const Doubles observed = Solve(Y);
  for (std::size_t i = 0; i < 13; ++i) {
    EXPECT_NEAR(observed[i], i < 9 ? 0 : 0.25, i < 9 ? 0 : 0.02) << i;
  }
  EXPECT_EQ(EquationValueOf(network, Z).mean, 1);
  EXPECT_EQ(ValueOf(network, Z).ClearEvidence(), 0);
  EXPECT_EQ(Solve(Y), usual);  // the table kept is the one made first
  std::vector<Doubles> runs;
  for (unsigned seed : {3U, 3U, 4U}) {
    SeedRandomStreams(seed);
    ASSERT_EQ(EquationOf(network, X).SetEquation("x=2+Normal(0,1)"), 0);  // forgets the tables
    runs.push_back(Solve(Y));
  }
  EXPECT_EQ(runs[0], runs[1]);
  EXPECT_NE(runs[0], runs[2]);
}

TEST_F(DiscretizedSolver, PassesOnWhatFails) {
  const struct {
    std::function<void(QVR_network&)> change;
    int status;
  } cases[] = {
      {[](QVR_network& n) { AddEquation(n, "m", "m+1=z"); }, 0},  // no part of it
      {[](QVR_network& n) { EquationOf(n, K).SetEquation("2*k=6"); }, -6},
      {[](QVR_network& n) { n.AddArc(AddUnknown(n, "s", "s=1", {}), Y, kOrdinaryLayer); }, -6},
      {[](QVR_network& n) {
         ValueOf(n, X).SetEvidenceValue(0.5);
         ValueOf(n, Y).SetEvidenceValue(11);
       },
       -26},
      {[](QVR_network& n) {
         for (const char* id : {"a", "b", "c", "d"}) {
           CutEvenly(n, AddEquation(n, id, (std::string(id) + "=1").c_str()), 0, 2, 200);
         }
         EquationOf(n, Y).SetEquation("y=a+b+c+d");
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
    EXPECT_EQ(changed.UpdateBeliefs(), c.status);
    EXPECT_EQ(ValueOf(changed, Y).IsValueValid(), c.status == 0 || ValueOf(changed, Y).HasEvidence());
  }
  EXPECT_EQ(LogGuard::Messages(-51), Strings{"At least one node with discretization intervals is required."});
}

}  // namespace
}  // namespace qvr
