// The values of continuous nodes: the states of their evidence, and statistics of samples.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "definitions/equation.h"
#include "support/log_guard.h"
#include "support/network_builder.h"
#include "values/continuous_value.h"
#include "values/eq_evaluation.h"

namespace qvr {
namespace {

using Numbers = std::vector<double>;

QVR_valEqEvaluation& EvaluationOf(QVR_network& network, int handle) {
  return dynamic_cast<QVR_valEqEvaluation&>(ValueOf(network, handle));
}

// Letters of a history: e enters 3, c clears, p propagates 4, P clears that, u what an update does.
int Apply(QVR_nodeValue& value, char letter) {
  switch (letter) {
    case 'e':
      return value.SetEvidenceValue(3);
    case 'c':
      return value.ClearEvidence();
    case 'p':
      return value.SetPropagatedValue(4);
    case 'P':
      return value.ClearPropagatedEvidence();
    default:
      value.SetValueValid();
      return 0;
  }
}

TEST(ContinuousValues, StatesFollowTheirHistory) {
  const struct {
    const char* history;
    int equationStatus;
    int equationFlags;
    int hybridStatus;
    int hybridFlags;
  } cases[] = {
      {"e", 0, 3, 0, 1},  {"ec", 0, 0, 0, 0},  {"c", -2, 0, 0, 0},  {"p", 0, 7, 0, 4},
      {"pP", 0, 0, 0, 0}, {"P", -2, 0, 0, 0},  {"pe", 0, 3, 0, 1},  {"ep", 0, 7, 0, 4},
      {"pc", 0, 0, 0, 4}, {"uc", -2, 2, 0, 2}, {"uec", 0, 0, 0, 2}, {"eP", -2, 3, 0, 1},
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(row.history);
    QVR_network network;
    QVR_nodeValue& equation = ValueOf(network, AddEquation(network, "x", "x=1"));
    QVR_network other;
    QVR_nodeValue& hybrid = ValueOf(other, other.AddNode(kTypeHEquation, "h"));
    int equationStatus = 0;
    int hybridStatus = 0;
    for (const char* letter = row.history; *letter != '\0'; ++letter) {
      equationStatus = Apply(equation, *letter);
      hybridStatus = Apply(hybrid, *letter);
    }
    EXPECT_EQ(equationStatus, row.equationStatus);
    EXPECT_EQ(equation.GetFlags(), row.equationFlags);
    EXPECT_EQ(hybridStatus, row.hybridStatus);
    EXPECT_EQ(hybrid.GetFlags(), row.hybridFlags);
  }
}

TEST(ContinuousValues, EvidenceInvalidatesTheRestOfTheNetwork) {
  const LogGuard log;
  QVR_network network;
  const int x = AddEquation(network, "x", "x=1");
  const int y = AddEquation(network, "y", "y=2");
  const int c = AddChance(network, "c", 2, {}, {1, 0});
  for (int node : {x, y, c}) {
    ValueOf(network, node).SetValueValid();
  }
  EXPECT_EQ(ValueOf(network, x).SetEvidenceValue(0.5), 0);
  EXPECT_TRUE(ValueOf(network, x).IsValueValid());
  EXPECT_FALSE(ValueOf(network, y).IsValueValid() || ValueOf(network, c).IsValueValid());
  EXPECT_LT(network.UpdateBeliefs(), 0);  // no solver for both kinds, and no crash
  EXPECT_EQ(network.SolveDiscrete(), 0);
  EXPECT_TRUE(ValueOf(network, c).IsValueValid());
  EXPECT_EQ(network.ClearAllEvidence(), 0);
  EXPECT_FALSE(ValueOf(network, x).HasEvidence());
}

TEST(ContinuousValues, StatisticsLeaveOutWhatIsNotFinite) {
  const double nan = std::nan("");
  const double inf = std::numeric_limits<double>::infinity();
  const struct {
    Numbers samples;
    Numbers results;  // mean, deviation, minimum, maximum
  } cases[] = {
      {{1, 2, 3}, {2, 1, 1, 3}},
      {{nan, 1e9 + 1, inf, 1e9 + 3, -inf}, {1e9 + 2, std::sqrt(2.0), 1e9 + 1, 1e9 + 3}},
      {{-4}, {-4, nan, -4, -4}},
      {{nan}, {nan, nan, nan, nan}},
  };
  QVR_network network;
  QVR_valEqEvaluation& value = EvaluationOf(network, AddEquation(network, "x", "x=1"));
  EXPECT_EQ(value.PrepareSamples(QVR_valEqEvaluation::kMaxSamples + 1), -42);
  for (const auto& row : cases) {
    value.SetValueValid();
    ASSERT_EQ(value.PrepareSamples(-1), 0);
    EXPECT_FALSE(value.IsValueValid());
    for (double sample : row.samples) {
      value.AddSample(sample, 17);
    }
    value.FinishSamples();
    EXPECT_TRUE(value.IsValueValid() && value.exact == 1);
    EXPECT_EQ(value.GetSamples().size(), row.samples.size());
    const double results[] = {value.mean, value.stdDeviation, value.minimum, value.maximum};
    for (std::size_t i = 0; i < 4; ++i) {
      EXPECT_TRUE(std::isnan(row.results[i]) ? std::isnan(results[i])
                                             : std::abs(results[i] - row.results[i]) < 1e-12)
          << i << ": " << results[i];
    }
  }
}

TEST(ContinuousValues, WeightedSamplesAndPosteriorsReplaceEachOther) {
  const struct {
    std::vector<WeightedSample> given;
    double mean;
    double deviation;
    double firstWeight;
  } cases[] = {
      {{{1, 0}, {3, 0}}, 2, -1, 1},
      {{{1, 1}, {3, 3}}, 2.5, -1, 1},
      {{{1, 2}, {3, -2}}, 1, 0, 2},
  };
  QVR_network network;
  const int x = AddEquation(network, "x", "x=1");
  QVR_valEqEvaluation& value = EvaluationOf(network, x);
  EXPECT_EQ(value.SetDiscretePosterior({0.5, 0.5}), -51);
  auto& definition = dynamic_cast<QVR_equation&>(*network.NodeAt(x)->definition);
  ASSERT_EQ(definition.SetDiscIntervals({{"a", 0}, {"b", 1}}), 0);
  for (const auto& row : cases) {
    EXPECT_EQ(value.SetDiscretePosterior({1}), -2);
    EXPECT_EQ(value.SetDiscretePosterior({0.25, 0.75}), 0);
    EXPECT_TRUE(value.mean == -1 && value.stdDeviation == -1 && value.GetSamples().empty());
    EXPECT_EQ(value.SetWeightedSamples(row.given), 0);
    EXPECT_EQ(value.mean, row.mean);
    EXPECT_EQ(value.stdDeviation, row.deviation);
    EXPECT_EQ(value.GetSamples()[0].weight, row.firstWeight);
    EXPECT_TRUE(value.GetDiscretePosterior().empty() && value.IsValueValid());
  }
  EXPECT_EQ(value.SetWeightedSamples({}), -2);
  EXPECT_TRUE(value.GetSamples().empty() && !value.IsValueValid());
}

TEST(ContinuousValues, TakeOnlyFromTheirOwnClass) {
  const LogGuard log;
  QVR_network network;
  network.SetUpdateFlags(0);  // a change would clear what was propagated
  const int x = AddEquation(network, "x", "x=1");
  for (const char history : {'e', 'p'}) {
    EvaluationOf(network, x).SetWeightedSamples({{5, 2}});
    ASSERT_EQ(Apply(ValueOf(network, x), history), 0);
    const int flags = ValueOf(network, x).GetFlags();
    ASSERT_EQ(network.NodeAt(x)->ChangeType(kTypeEquationScc), 0);
    QVR_network copy(network);
    double number = 0;
    EXPECT_EQ(ValueOf(copy, x).GetDouble(number), 0);
    EXPECT_EQ(number, history == 'e' ? 3 : 4);
    EXPECT_EQ(ValueOf(copy, x).GetFlags(), flags);
    EXPECT_TRUE(EvaluationOf(copy, x).mean == 5 && EvaluationOf(copy, x).exact == 0);
    ASSERT_EQ(network.NodeAt(x)->ChangeType(kTypeHEquation), 0);
    EXPECT_EQ(ValueOf(network, x).GetFlags(), 0);
    ASSERT_EQ(ValueOf(network, x).SetEvidenceValue(2), 0);
    ASSERT_EQ(network.NodeAt(x)->ChangeType(kTypeDistribution), 0);
    EXPECT_EQ(ValueOf(network, x).GetFlags(), 1);
    ASSERT_EQ(network.NodeAt(x)->ChangeType(kTypeEquation), 0);
    EXPECT_EQ(ValueOf(network, x).GetFlags(), 0);
  }
  EXPECT_EQ(network.CheckInvariants(), "");
}

}  // namespace
}  // namespace qvr
