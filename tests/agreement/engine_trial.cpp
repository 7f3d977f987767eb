#include "agreement/engine_trial.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <numeric>
#include <sstream>

#include "support/describe_network.h"
#include "support/log_guard.h"

namespace qvr {
namespace {

bool IsClose(const std::vector<double>& a, const std::vector<double>& b) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](double left, double right) {
    return std::abs(left - right) <= kTolerance;  // false for what isn't a number
  });
}

// What the polytree solver leaves where evidence contradicts itself: a distribution, or zeros.
bool IsBeliefOrZeros(const std::vector<double>& belief) {
  const double sum = std::accumulate(belief.begin(), belief.end(), 0.0);
  return sum == 0 || std::abs(sum - 1) <= kTolerance;  // false for what isn't a number
}

std::string Join(const std::vector<double>& numbers) {
  std::ostringstream text;
  text.precision(12);
  for (double number : numbers) {
    text << ' ' << number;
  }
  return text.str();
}

}  // namespace

std::uint64_t FirstSeed() {
  const char* text = std::getenv("QVR_TEST_SEED");
  const std::uint64_t seed = text == nullptr ? 20240607 : std::strtoull(text, nullptr, 10);
  std::printf("first seed %llu\n", static_cast<unsigned long long>(seed));
  return seed;
}

void Trial::Observe(int handle, int outcome) {
  const auto at = static_cast<std::size_t>(handle);
  QVR_nodeValue& value = ValueOf(network, handle);
  const bool isDeduced = (value.GetFlags() & kValuePropagatedEvidence) != 0;
  const bool opposesDeduction = isDeduced && value.GetEvidence() != outcome;
  const bool inRange = outcome >= 0 && outcome < network.NodeAt(handle)->GetNumberOfOutcomes();
  const int code = value.SetEvidence(outcome);
  if (!opposesDeduction) {  // otherwise nothing changes
    entered.likelihoods[at].clear();
  }
  entered.outcomes[at] = inRange ? outcome : -1;
  if (code != 0) {
    EXPECT_TRUE(code == QVR_OUT_OF_RANGE || code == QVR_EVIDENCE_CONFLICT) << code;
    Observations certain = entered;
    certain.likelihoods.assign(certain.likelihoods.size(), {});
    EXPECT_TRUE(!inRange || SumJoint(network, certain).evidenceProbability == 0)
        << "refused possible evidence on " << network.NodeAt(handle)->GetId();
    entered.outcomes[at] = -1;
  }
  EXPECT_TRUE(code != 0 || (inRange && !opposesDeduction));
  ExpectEntered(code != 0);
}

void Trial::Retract(int handle) {
  const auto at = static_cast<std::size_t>(handle);
  const bool hadAny = entered.outcomes[at] >= 0 || !entered.likelihoods[at].empty();
  EXPECT_EQ(ValueOf(network, handle).ClearEvidence(), hadAny ? QVR_OKAY : QVR_OUT_OF_RANGE);
  entered.outcomes[at] = -1;
  entered.likelihoods[at].clear();
  ExpectEntered(false);
}

void Trial::Weigh(int handle, const std::vector<double>& likelihoods) {
  const auto at = static_cast<std::size_t>(handle);
  EXPECT_EQ(SetLikelihoods(network, handle, likelihoods), QVR_OKAY);
  entered.outcomes[at] = -1;
  entered.likelihoods[at] = likelihoods;
  ExpectEntered(false);
}

void Trial::EnterSomething(TestRandom& random) {
  const std::vector<int> handles = AllNodes(network);
  const int handle = handles[static_cast<std::size_t>(random.Below(static_cast<int>(handles.size())))];
  const int count = network.NodeAt(handle)->GetNumberOfOutcomes();
  const int choice = random.Below(20);
  if (choice < 10) {
    Observe(handle, random.Below(count));
  } else if (choice < 11) {
    Observe(handle, random.Chance(0.5) ? -1 : count);
  } else if (choice < 14) {
    Retract(handle);
  } else if (choice < 17) {
    Weigh(handle, RandomTable(1, count, {.zeroFraction = 0.2}, random));
  } else if (network.UnsetTarget(handle) < 0) {
    EXPECT_EQ(network.SetTarget(handle), QVR_OKAY);
  }
}

// The values hold just what was entered. Deduced evidence takes the place of likelihoods, and a deduction
// made before a refusal leaves no other trace.
void Trial::ExpectEntered(bool refused) {
  for (int handle : AllNodes(network)) {
    const auto at = static_cast<std::size_t>(handle);
    const QVR_nodeValue& value = ValueOf(network, handle);
    const int flags = value.GetFlags();
    if ((flags & kValueVirtualEvidence) == 0 && (refused || (flags & kValuePropagatedEvidence) != 0)) {
      entered.likelihoods[at].clear();
    }
    EXPECT_EQ(value.HasRealEvidence() ? value.GetEvidence() : -1, entered.outcomes[at]);
    EXPECT_EQ((flags & kValueVirtualEvidence) != 0, !entered.likelihoods[at].empty());
  }
}

void Trial::CheckEngines(std::span<const int> engines) {
  const JointAnswer truth = SumJoint(network, entered);
  if (truth.evidenceProbability > 0) {
    ExpectTruth(truth);
  }
  for (int engine : engines) {
    SCOPED_TRACE("engine " + std::to_string(engine));
    const LogGuard log;
    Forget();
    network.SetBeliefAlgorithm(engine);
    const std::string before = Describe(network);
    const int code = network.UpdateBeliefs();
    EXPECT_EQ(Describe(network), before);
    if (truth.evidenceProbability > 0) {
      EXPECT_EQ(code, QVR_OKAY);
      EXPECT_TRUE(LogGuard::Messages().empty());
      for (int handle : AllNodes(network)) {
        EXPECT_TRUE(!IsWanted(handle) || ValueOf(network, handle).IsValueValid());
      }
      ExpectTruth(truth);
    } else {
      ExpectContradiction(engine, code);
    }
  }
  if (truth.evidenceProbability == 0) {
    Forget();
  }
  if (testing::Test::HasFailure()) {
    ADD_FAILURE() << Describe(network);
  }
}

void Trial::ExpectTruth(const JointAnswer& truth) {
  for (int handle : AllNodes(network)) {
    if (!ValueOf(network, handle).IsValueValid()) {
      continue;
    }
    const std::vector<double> belief = BeliefOf(network, handle);
    const std::vector<double>& expected = truth.posteriors[static_cast<std::size_t>(handle)];
    if (!IsClose(belief, expected)) {
      ADD_FAILURE() << network.NodeAt(handle)->GetId() << " is" << Join(belief) << ", not" << Join(expected);
    }
  }
}

// Not every contradiction is seen: one between observed nodes alone leaves nothing to compute. But each
// wanted node either has a result or is named once in the log.
void Trial::ExpectContradiction(int engine, int code) {
  const std::vector<std::string> named = LogGuard::Messages(QVR_ZERO_POTENTIAL);
  const bool reports = engine == ALG_JOIN_TREE && !named.empty();
  EXPECT_EQ(code, reports ? QVR_ZERO_POTENTIAL : QVR_OKAY);
  if (engine == ALG_CLIQUE_TREE || engine == ALG_POLYTREE) {
    EXPECT_TRUE(named.empty());
  }
  std::size_t expected = 0;
  for (int handle : AllNodes(network)) {
    const bool observed = ValueOf(network, handle).HasEvidence();
    const std::string text = "All potential entries are zeros for node " + network.NodeAt(handle)->GetId();
    const auto times = std::count(named.begin(), named.end(), text);
    EXPECT_LE(times, IsWanted(handle) && !observed ? 1 : 0) << text;
    if (IsWanted(handle)) {
      EXPECT_EQ(ValueOf(network, handle).IsValueValid(), times == 0) << network.NodeAt(handle)->GetId();
    }
    EXPECT_TRUE(engine != ALG_POLYTREE || IsBeliefOrZeros(BeliefOf(network, handle)));
    expected += static_cast<std::size_t>(times);
  }
  EXPECT_EQ(named.size(), expected);
  EXPECT_EQ(LogGuard::Messages().size(), expected);
}

bool Trial::IsWanted(int handle) const {
  return network.GetTargetCount() == 0 || network.IsTarget(handle) == 1;
}

// So that nothing passes for a result that an update didn't write.
void Trial::Forget() {
  for (int handle : AllNodes(network)) {
    QVR_nodeValue& value = ValueOf(network, handle);
    if (!value.HasEvidence()) {
      value.SetValueInvalid();
      value.GetMatrix()->Fill(-1);
    }
  }
}

}  // namespace qvr
