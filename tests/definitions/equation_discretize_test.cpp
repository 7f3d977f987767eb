// The tables of discretised equations against exact probabilities.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>

#include "definitions/equation.h"
#include "support/log_guard.h"
#include "support/network_builder.h"

namespace qvr {
namespace {

using Doubles = std::vector<double>;
using Strings = std::vector<std::string>;

QVR_equation& EquationOf(QVR_network& network, const char* id) {
  return dynamic_cast<QVR_equation&>(*network.NodeAt(network.FindNode(id))->definition);
}

// Cuts at these inner bounds.
int Cut(QVR_equation& equation, const Doubles& innerBounds) {
  std::vector<DiscretizationInterval> intervals;
  for (double bound : innerBounds) {
    intervals.push_back({"i" + std::to_string(intervals.size()), bound});
  }
  intervals.push_back({"last", 0.0});
  return equation.SetDiscIntervals(intervals);
}

Doubles TableOf(const QVR_equation& equation) {
  const QVR_Dmatrix* table = equation.GetDiscretized();
  if (table == nullptr) {
    return {};
  }
  const std::span<const double> cells = table->GetItems().Vector();
  return {cells.begin(), cells.end()};
}

// y is cut at 1 and 3 in [0, 4], w at 1 in [0, 2]; k is fixed; z isn't cut, in [0, 1].
void AddParents(QVR_network& network) {
  AddEquation(network, "y", "y=Uniform(0,4)", 0, 4);
  AddEquation(network, "w", "w=Uniform(0,2)", 0, 2);
  AddEquation(network, "k", "k=1+1");
  AddEquation(network, "z", "z=Uniform(0,1)", 0, 1);
  ASSERT_EQ(Cut(EquationOf(network, "y"), {1, 3}), 0);
  ASSERT_EQ(Cut(EquationOf(network, "w"), {1}), 0);
}

// The chance of [low, high] for a number that is uniform in [from, to].
double Overlap(double low, double high, double from, double to) {
  return std::max(0.0, std::min(high, to) - std::max(low, from)) / (to - from);
}

TEST(EquationDiscretize, MatchesTheExactIntervalProbabilities) {
  const LogGuard log;
  QVR_network network;
  AddParents(network);
  AddEquation(network, "x", "x=2*y-k", -2, 6);
  QVR_equation& x = EquationOf(network, "x");
  const Doubles cuts = {-2, -1.5, 0.5, 3, 6};
  ASSERT_EQ(Cut(x, {-1.5, 0.5, 3}), 0);
  std::vector<std::vector<float>> samples;
  ASSERT_EQ(x.Discretize(11, &samples), 0);
  const Doubles cells = TableOf(x);
  ASSERT_EQ(cells.size(), 12U);
  ASSERT_EQ(samples.size(), 3U);
  const Doubles ranges = {-2, 0, 4, 6};  // of x, where y is in each of its intervals
  for (std::size_t row = 0; row < 3; ++row) {
    EXPECT_EQ(samples[row].size(), static_cast<std::size_t>(network.discSamples));
    double sum = 0;
    for (std::size_t i = 0; i < 4; ++i) {
      const double exact = Overlap(cuts[i], cuts[i + 1], ranges[row], ranges[row + 1]);
      const double found = cells[row * 4 + i];
      EXPECT_NEAR(found, exact, 5 * std::sqrt(exact * (1 - exact) / network.discSamples));
      sum += found;
      const auto inside = std::count_if(samples[row].begin(), samples[row].end(), [&](float v) {
        return v >= static_cast<float>(cuts[i]) && v < static_cast<float>(cuts[i + 1]);
      });
      EXPECT_NEAR(found, static_cast<double>(inside) / network.discSamples, 2e-4);
    }
    EXPECT_NEAR(sum, 1, 1e-12);
  }
  EXPECT_EQ(GetErrorLog().GetCount(), 0);
}

TEST(EquationDiscretize, PutsTheLastParentFastestAndLeavesUncutOnesOut) {
  const LogGuard log;
  QVR_network network;
  AddParents(network);
  // The combination of intervals decides the outcome alone.
  AddEquation(network, "x", "x=(w<1?0:3)+(y<1?0:(y<3?1:2))+z*k/4", 0, 6);
  QVR_equation& x = EquationOf(network, "x");
  ASSERT_EQ(Cut(x, {1, 2, 3, 4, 5}), 0);
  ASSERT_EQ(x.Discretize(5, nullptr), 0);
  ASSERT_EQ(x.GetDiscretized()->GetNumDimensions(), 3);
  EXPECT_EQ(x.GetDiscretized()->GetDimension(0), 2);
  Doubles identity(36, 0.0);
  for (std::size_t i = 0; i < 6; ++i) {
    identity[i * 7] = 1.0;
  }
  EXPECT_EQ(TableOf(x), identity);
}

TEST(EquationDiscretize, RepeatsWithItsSeedAndAvoidsZeros) {
  const LogGuard log;
  QVR_network network;
  AddParents(network);
  AddEquation(network, "x", "x=z+Normal(y,0.1)", -5, 50);
  QVR_equation& x = EquationOf(network, "x");
  ASSERT_EQ(Cut(x, {1.5, 3, 40}), 0);
  ASSERT_EQ(x.Discretize(7, nullptr), 0);
  const Doubles first = TableOf(x);
  const auto raised = std::count(first.end() - 4, first.end(), first.back());  // each by one sample
  EXPECT_EQ(first.back(), 1.0 / static_cast<double>(network.discSamples + raised));
  ASSERT_EQ(x.Discretize(8, nullptr), 0);
  EXPECT_NE(TableOf(x), first);
  ASSERT_EQ(x.Discretize(7, nullptr), 0);
  EXPECT_EQ(TableOf(x), first);
  network.discAvoidZero = 0;
  ASSERT_EQ(x.Discretize(7, nullptr), 0);
  EXPECT_EQ(TableOf(x).back(), 0.0);
}

TEST(EquationDiscretize, ReportsSamplesOutOfBounds) {
  const LogGuard log;
  QVR_network network;
  AddParents(network);
  network.discSamples = 100;
  const struct {
    const char* text;
    int status;
    const char* message;  // null for none
    Doubles cells;        // looked at if not empty
  } cases[] = {
      {"x=k-7",
       0,
       "Discretization problem in node x:  Underflow samples: 100, min=-5 loBound=0  Total valid samples: 0 "
       "of "
       "100  CPT configs with no valid samples: 1 of 1",
       {0.5, 0.5}},
      {"x=(y<1?0.5:(y<3?1234567:-1))",
       0,
       "Discretization problem in node x:  Underflow samples: 100, min=-1 loBound=0  Overflow samples: 100, "
       "max=1.23457e+06 hiBound=2  Total valid samples: 100 of 300  CPT configs with no valid samples: 2 of "
       "3",
       {1, 0, 0.5, 0.5, 0.5, 0.5}},
      {"x=Ln(-1)+w",
       0,
       "Discretization problem in node x:  CPT configs with no valid samples: 2 of 2",
       {0.5, 0.5, 0.5, 0.5}},
      {"x=1", 0, nullptr, {0, 1}},  // a sample at a bound belongs above it
      {"x=2", 0, nullptr, {0, 1}},
      {"x+1=y", -6, nullptr, {}},
      {"x=s", -6, nullptr, {}},
      {"x=m", -6, nullptr, {}},
  };
  network.AddNode(kTypeEquationScc, "s");
  AddEquation(network, "m", "2*m=1");
  AddEquation(network, "x", "x=0", 0, 2);
  QVR_equation& x = EquationOf(network, "x");
  EXPECT_EQ(x.Discretize(1, nullptr), -2);
  ASSERT_EQ(Cut(x, {1}), 0);
  for (const auto& row : cases) {
    SCOPED_TRACE(row.text);
    GetErrorLog().Clear();
    ASSERT_EQ(x.SetEquation(row.text), 0);
    EXPECT_EQ(x.Discretize(1, nullptr), row.status);
    EXPECT_EQ(log.Messages(-4), row.message != nullptr ? Strings{row.message} : Strings{});
    EXPECT_EQ(TableOf(x), row.cells);
  }
}

TEST(EquationDiscretize, ForgetsTheTableWithWhatItWasMadeFrom) {
  const std::function<void(QVR_network&)> changes[] = {
      [](QVR_network& n) { EquationOf(n, "x").SetEquation("x=y"); },
      [](QVR_network& n) { EquationOf(n, "x").SetBounds(0, 5); },
      [](QVR_network& n) { EquationOf(n, "x").SetDiscIntervals({}); },
      [](QVR_network& n) { EquationOf(n, "y").SetEquation("y=3"); },
      [](QVR_network& n) { EquationOf(n, "y").SetBounds(-1, 4); },
      [](QVR_network& n) { Cut(EquationOf(n, "y"), {2}); },
      [](QVR_network& n) { n.NodeAt(n.FindNode("y"))->ChangeType(kTypeEquationScc); },
      [](QVR_network& n) { n.DeleteNode(n.FindNode("y")); },
      [](QVR_network& n) { n.AddArc(n.FindNode("w"), n.FindNode("x"), kOrdinaryLayer); },
      [](QVR_network& n) {
        ASSERT_EQ(EquationOf(n, "y").Discretize(1, nullptr), 0);
        EquationOf(n, "x").AdoptFrom(EquationOf(n, "y"));
      },
      [](QVR_network& n) { n.NodeAt(n.FindNode("y"))->CopyDefinition(EquationOf(n, "w")); },
      [](QVR_network& n) {
        ASSERT_EQ(EquationOf(n, "y").Discretize(1, nullptr), 0);
        n.NodeAt(n.FindNode("x"))->CopyDefinition(EquationOf(n, "y"));
      },
  };
  for (const auto& change : changes) {
    const LogGuard log;
    QVR_network network;
    AddParents(network);
    AddEquation(network, "x", "x=y/2", 0, 4);
    ASSERT_EQ(Cut(EquationOf(network, "x"), {1}), 0);
    ASSERT_EQ(EquationOf(network, "x").Discretize(1, nullptr), 0);
    QVR_network copy(network);
    change(network);
    EXPECT_EQ(TableOf(EquationOf(network, "x")), Doubles{}) << &change - changes;
    EXPECT_EQ(TableOf(EquationOf(copy, "x")).size(), 6U);
  }
}

}  // namespace
}  // namespace qvr
