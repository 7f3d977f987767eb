// Linear equations with normal noise against the normal distribution in closed form.
#include <gtest/gtest.h>

#include <cmath>

#include "hybrid/equation_support.h"
#include "hybrid/posterior_check.h"
#include "support/gaussian_reference.h"
#include "support/shared_answers.h"

namespace qvr {
namespace {

struct Moments {
  double mean;
  double deviation;
};
using MomentsByNode = std::map<int, Moments>;
using Evidence = std::map<int, double>;

constexpr double kReach = 4.5;  // standard errors; and deviations to both sides that are cut into intervals

void ExpectSamplesOf(QVR_network& network, const MomentsByNode& expected) {
  for (const auto& [handle, exact] : expected) {
    const QVR_valEqEvaluation& value = EquationValueOf(network, handle);
    const auto count = static_cast<double>(value.GetSamples().size());
    ASSERT_EQ(count, network.sampleCount);
    const double error = kReach * exact.deviation / std::sqrt(count);
    EXPECT_NEAR(value.mean, exact.mean, error) << network.NodeAt(handle)->GetId();
    EXPECT_NEAR(value.stdDeviation, exact.deviation, error / std::sqrt(2.0));
  }
}

void EnterEvidence(QVR_network& network, const Evidence& evidence) {
  for (const auto& [handle, number] : evidence) {
    ASSERT_EQ(ValueOf(network, handle).SetEvidenceValue(number), 0);
  }
}

// By every hybrid routine that the network allows; without evidence below a root none is used.
void ExpectPosteriorsOf(QVR_network& network, const Evidence& evidence, const MomentsByNode& expected) {
  EnterEvidence(network, evidence);
  for (int algorithm : {13, 14, 15, 16}) {
    const testing::ScopedTrace trace(__FILE__, __LINE__, algorithm);
    const bool byMessages = algorithm == 15;
    if (byMessages && network.IsPolytree() == 0) {
      continue;
    }
    network.SetHybridAlgorithm(algorithm);
    ASSERT_EQ(network.UpdateBeliefs(), 0);
    for (const auto& [handle, exact] : expected) {
      const testing::ScopedTrace node(__FILE__, __LINE__, network.NodeAt(handle)->GetId());
      const QVR_valEqEvaluation& value = EquationValueOf(network, handle);
      ASSERT_TRUE(value.IsValueValid());
      (byMessages ? ExpectByMessages : ExpectSampled)(value.GetSamples(), exact.mean, exact.deviation);
    }
  }
}

// Of the middles of the intervals.
Moments DiscreteMoments(QVR_network& network, int handle) {
  double mean = 0;
  double squares = 0;
  int interval = 0;
  for (double weight : EquationValueOf(network, handle).GetDiscretePosterior()) {
    double low = 0;
    double high = 0;
    EquationOf(network, handle).GetIntervalBounds(interval++, low, high);
    mean += weight * (low + high) / 2;
    squares += weight * (low + high) * (low + high) / 4;
  }
  return {mean, std::sqrt(squares - mean * mean)};
}

// Cuts every node, whose prior is this, and compares the posteriors to within an interval.
void ExpectIntervalsOf(QVR_network& network, const MomentsByNode& priors, const Evidence& evidence,
                       const MomentsByNode& expected) {
  constexpr int kIntervals = 18;
  network.discretize = 1;
  network.discAvoidZero = 0;
  network.discSamples = 300;
  for (const auto& [handle, prior] : priors) {
    const double reach = kReach * prior.deviation;
    ASSERT_EQ(CutEvenly(network, handle, prior.mean - reach, prior.mean + reach, kIntervals), 0);
  }
  EnterEvidence(network, evidence);
  ASSERT_EQ(network.UpdateBeliefs(), 0);
  for (const auto& [handle, exact] : expected) {
    const double width = 2 * kReach * priors.at(handle).deviation / kIntervals;
    const Moments found = DiscreteMoments(network, handle);
    EXPECT_NEAR(found.mean, exact.mean, width) << network.NodeAt(handle)->GetId();
    EXPECT_NEAR(found.deviation, exact.deviation, width) << network.NodeAt(handle)->GetId();
  }
}

// Of all nodes that aren't observed.
MomentsByNode ExactMoments(const GaussianModel& model, const Evidence& evidence) {
  GaussianReference reference(model);
  for (const auto& [node, number] : evidence) {
    reference.Observe(node, number);
  }
  MomentsByNode moments;
  for (int i = 0; i < static_cast<int>(model.size()); ++i) {
    if (!evidence.contains(i)) {
      moments[i] = {reference.Mean(i), reference.Deviation(i)};
    }
  }
  return moments;
}

TEST(LinearGaussian, RandomNetworksMatchTheClosedForm) {
  const SeededRun run(11);
  for (int seed = 0; seed < 50; ++seed) {
    SCOPED_TRACE(seed);
    TestRandom random(static_cast<std::uint64_t>(seed));
    const int count = 2 + random.Below(11);
    const GaussianModel model = RandomGaussian(PolytreeParents(count, 2, random), random);
    const MomentsByNode priors = ExactMoments(model, {});
    QVR_network network;
    ASSERT_TRUE(FillWithEquations(model, network));
    network.sampleCount = 10000;
    Evidence onRoots;
    Evidence anywhere;
    for (const auto& [node, prior] : priors) {
      const double number = prior.mean + (2 * random.Unit() - 1) * prior.deviation;
      const bool isRoot = model[static_cast<std::size_t>(node)].terms.empty();
      if (isRoot && random.Chance(0.3)) {
        onRoots[node] = number;
        ASSERT_EQ(ValueOf(network, node).SetEvidenceValue(number), 0);
      } else if (!isRoot && random.Chance(0.15)) {
        anywhere[node] = number;
      }
    }
    ASSERT_EQ(network.UpdateBeliefs(), 0);
    ExpectSamplesOf(network, ExactMoments(model, onRoots));
    anywhere.merge(onRoots);
    ExpectIntervalsOf(network, priors, anywhere, ExactMoments(model, anywhere));
  }
}

// {"evidence": {"X": v}, "meanAndDeviation": {"Y": [m, s]}}
void ReadAnswers(std::istream& words, QVR_network& network, Evidence& evidence, MomentsByNode& answers) {
  std::string field;
  for (std::string word; words >> word;) {
    const int handle = network.FindNode(word.substr(1, word.size() - 2).c_str());
    if (handle < 0) {
      field = word;
    } else if (field == "\"evidence\"") {
      words >> evidence[handle];
    } else {
      words >> answers[handle].mean >> answers[handle].deviation;
    }
  }
}

TEST(LinearGaussian, MatchesIndependentAnswers) {
  const std::string folder = QVR_SHARED_DIR "/answers/gaussian";
  std::size_t compared = 0;
  const SeededRun run(12);
  const bool isThere = ForEachAnswer(folder, [&](QVR_network& network, std::istream& words) {
    Evidence evidence;
    MomentsByNode answers;
    ReadAnswers(words, network, evidence, answers);
    EXPECT_EQ(network.UpdateBeliefs(), 0);
    MomentsByNode priors;
    for (int handle : AllNodes(network)) {
      priors[handle] = {EquationValueOf(network, handle).mean, EquationValueOf(network, handle).stdDeviation};
    }
    if (evidence.empty()) {
      ExpectSamplesOf(network, answers);
    } else {
      ExpectPosteriorsOf(network, evidence, answers);
    }
    ExpectIntervalsOf(network, priors, evidence, answers);
    compared += answers.size();
  });
  if (!isThere) {
    GTEST_SKIP() << "no networks in " << folder;
  }
  EXPECT_GT(compared, 50U);
}

}  // namespace
}  // namespace qvr
