// Linear equations with normal noise against the normal distribution in closed form.
#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "hybrid/equation_support.h"
#include "model/random_source.h"
#include "support/gaussian_reference.h"
#include "support/log_guard.h"

namespace qvr {
namespace {

namespace fs = std::filesystem;

struct Posterior {
  double mean;
  double deviation;
};
using Posteriors = std::map<int, Posterior>;  // by handle

constexpr double kReach = 4.5;  // standard errors, and deviations to both sides that are cut into intervals

// All nodes that aren't observed, after an update by sampling.
void ExpectSamplesOf(QVR_network& network, const Posteriors& expected) {
  for (const auto& [handle, posterior] : expected) {
    const QVR_valEqEvaluation& value = EquationValueOf(network, handle);
    ASSERT_TRUE(value.IsValueValid());
    const auto count = static_cast<double>(value.GetSamples().size());
    ASSERT_EQ(count, network.sampleCount);
    const double error = posterior.deviation / std::sqrt(count);
    EXPECT_NEAR(value.mean, posterior.mean, kReach * error) << network.NodeAt(handle)->GetId();
    EXPECT_NEAR(value.stdDeviation, posterior.deviation, kReach * error / std::sqrt(2.0));
  }
}

Posterior MomentsOf(QVR_network& network, int handle) {
  const QVR_valEqEvaluation& value = EquationValueOf(network, handle);
  double mean = 0;
  double squares = 0;
  for (std::size_t i = 0; i < value.GetDiscretePosterior().size(); ++i) {
    double low = 0;
    double high = 0;
    EquationOf(network, handle).GetIntervalBounds(static_cast<int>(i), low, high);
    const double middle = (low + high) / 2;
    mean += value.GetDiscretePosterior()[i] * middle;
    squares += value.GetDiscretePosterior()[i] * middle * middle;
  }
  return {mean, std::sqrt(squares - mean * mean)};
}

// Cuts every node, whose prior is this, and compares each posterior to within its intervals.
void ExpectIntervalsOf(QVR_network& network, const Posteriors& priors, const Posteriors& expected) {
  constexpr int kIntervals = 18;
  network.discretize = 1;
  network.discAvoidZero = 0;
  network.discSamples = 300;
  for (const auto& [handle, prior] : priors) {
    const double reach = kReach * prior.deviation;
    ASSERT_EQ(CutEvenly(network, handle, prior.mean - reach, prior.mean + reach, kIntervals), 0);
  }
  ASSERT_EQ(network.UpdateBeliefs(), 0);
  for (const auto& [handle, posterior] : expected) {
    const double width = 2 * kReach * priors.at(handle).deviation / kIntervals;
    const Posterior found = MomentsOf(network, handle);
    EXPECT_NEAR(found.mean, posterior.mean, width) << network.NodeAt(handle)->GetId();
    EXPECT_NEAR(found.deviation, posterior.deviation, width) << network.NodeAt(handle)->GetId();
  }
}

Posteriors PosteriorsOf(const GaussianReference& reference, const std::map<int, double>& evidence,
                        int count) {
  Posteriors posteriors;
  for (int i = 0; i < count; ++i) {
    if (!evidence.contains(i)) {
      posteriors[i] = {reference.Mean(i), reference.Deviation(i)};
    }
  }
  return posteriors;
}

TEST(LinearGaussian, RandomNetworksMatchTheClosedForm) {
  SeedRandomStreams(11);
  for (int seed = 0; seed < 50; ++seed) {
    SCOPED_TRACE(seed);
    const LogGuard log;
    TestRandom random(static_cast<std::uint64_t>(seed));
    const int count = 2 + random.Below(11);
    const GaussianModel model = RandomGaussian(PolytreeParents(count, 2, random), random);
    QVR_network network;
    ASSERT_TRUE(FillWithEquations(model, network));
    network.sampleCount = 10000;
    GaussianReference reference(model);
    const Posteriors priors = PosteriorsOf(reference, {}, count);
    std::map<int, double> evidence;
    for (int i = 0; i < count; ++i) {
      if (model[static_cast<std::size_t>(i)].terms.empty() && random.Chance(0.3)) {
        evidence[i] = reference.Mean(i) + (3 * random.Unit() - 1.5) * reference.Deviation(i);
        reference.Observe(i, evidence[i]);
        ASSERT_EQ(ValueOf(network, i).SetEvidenceValue(evidence[i]), 0);
      }
    }
    ASSERT_EQ(network.UpdateBeliefs(), 0);
    ExpectSamplesOf(network, PosteriorsOf(reference, evidence, count));
    const int below = random.Below(count);
    if (!evidence.contains(below)) {
      evidence[below] = reference.Mean(below) + (2 * random.Unit() - 1) * reference.Deviation(below);
      reference.Observe(below, evidence[below]);
      ASSERT_EQ(ValueOf(network, below).SetEvidenceValue(evidence[below]), 0);
    }
    ExpectIntervalsOf(network, priors, PosteriorsOf(reference, evidence, count));
  }
  SeedRandomStreams(0);
}

// Reads no more of JSON than these files have: {"evidence": {"X": v}, "meanAndDeviation": {"Y": [m, s]}}.
void ReadAnswers(const fs::path& path, QVR_network& network, std::map<int, double>& evidence,
                 Posteriors& answers) {
  std::ifstream file(path);
  std::stringstream whole;
  whole << file.rdbuf();
  std::string text = whole.str();
  for (char& letter : text) {
    letter = std::string("{}[]:,").find(letter) == std::string::npos ? letter : ' ';
  }
  std::istringstream words(text);
  bool isEvidence = true;
  for (std::string word; words >> word;) {
    if (word == "\"evidence\"" || word == "\"meanAndDeviation\"") {
      isEvidence = word == "\"evidence\"";
      continue;
    }
    const int handle = network.FindNode(word.substr(1, word.size() - 2).c_str());
    words >> (isEvidence ? evidence[handle] : answers[handle].mean);
    if (!isEvidence) {
      words >> answers[handle].deviation;
    }
  }
}

TEST(LinearGaussian, MatchesIndependentAnswers) {
  const fs::path folder = fs::path(QVR_SHARED_DIR) / "answers" / "gaussian";
  if (!fs::exists(folder)) {
    GTEST_SKIP() << "no networks in " << folder;
  }
  int compared = 0;
  SeedRandomStreams(12);
  for (const fs::directory_entry& entry : fs::directory_iterator(folder)) {
    if (entry.path().extension() != ".xqvr") {
      continue;
    }
    SCOPED_TRACE(entry.path().string());
    const LogGuard log;
    QVR_network network;
    ASSERT_EQ(network.LoadFile(entry.path().c_str(), 0, nullptr), 0);
    std::map<int, double> evidence;
    Posteriors answers;
    ReadAnswers(fs::path(entry.path()).replace_extension(".json"), network, evidence, answers);
    ASSERT_EQ(network.UpdateBeliefs(), 0);
    if (evidence.empty()) {
      ExpectSamplesOf(network, answers);
    }
    Posteriors priors;
    for (int handle : AllNodes(network)) {
      priors[handle] = {EquationValueOf(network, handle).mean, EquationValueOf(network, handle).stdDeviation};
    }
    for (const auto& [handle, number] : evidence) {
      ASSERT_EQ(ValueOf(network, handle).SetEvidenceValue(number), 0);
    }
    ExpectIntervalsOf(network, priors, answers);
    compared += static_cast<int>(answers.size());
  }
  SeedRandomStreams(0);
  EXPECT_GT(compared, 50);
}

}  // namespace
}  // namespace qvr
