// Diagrams with answers of a separate program, where a checkout has them beside it.
#include <gtest/gtest.h>

#include "support/network_builder.h"
#include "support/shared_answers.h"

namespace qvr {
namespace {

// The expected utilities of a decision over everything known before it, and its own choices last.
struct ExpectedPolicy {
  std::string decision;
  std::vector<std::string> axes;
  std::vector<double> utilities;
};

// {"D": {"axes": [..], "shape": [..], "expectedUtility": [..]}}
std::vector<ExpectedPolicy> ReadPolicies(std::istream& words) {
  std::vector<ExpectedPolicy> policies;
  std::string field = "decision";
  for (std::string word; words >> word;) {
    const bool isName = word.front() == '"';
    const std::string name = isName ? word.substr(1, word.size() - 2) : "";
    if (name == "axes" || name == "shape" || name == "expectedUtility") {
      field = name;
    } else if (isName && field != "axes") {
      policies.push_back({name, {}, {}});
    } else if (isName) {
      policies.back().axes.push_back(name);
    } else if (field == "expectedUtility") {
      policies.back().utilities.push_back(std::stod(word));
    }
  }
  return policies;
}

// The place of a full history in the value's table, which may leave out axes.
int PlaceOf(QVR_network& network, int decision, const std::vector<std::string>& axes,
            const std::vector<int>& outcomes) {
  const QVR_nodeValue& value = ValueOf(network, decision);
  const QVR_Dmatrix& table = *ValueOf(network, decision).GetMatrix();
  int place = outcomes.back();
  for (int i = 0; i < value.GetIndexingParents().GetNumItems(); ++i) {
    for (std::size_t axis = 0; axis < axes.size(); ++axis) {
      const bool isSame = network.FindNode(axes[axis].c_str()) == value.GetIndexingParents()[i];
      place += isSame ? outcomes[axis] * table.GetStride(i) : 0;
    }
  }
  return place;
}

// The history behind this one, the last axis fastest.
void Advance(QVR_network& network, const std::vector<std::string>& axes, std::vector<int>& outcomes) {
  for (std::size_t i = outcomes.size(); i-- > 0;) {
    const int handle = network.FindNode(axes[i].c_str());
    outcomes[i] = (outcomes[i] + 1) % network.NodeAt(handle)->GetNumberOfOutcomes();
    if (outcomes[i] != 0) {
      return;
    }
  }
}

// How many numbers were compared.
int Compare(QVR_network& network, const ExpectedPolicy& policy) {
  const int decision = network.FindNode(policy.decision.c_str());
  EXPECT_TRUE(ValueOf(network, decision).IsValueValid());
  std::vector<int> outcomes(policy.axes.size(), 0);
  for (double utility : policy.utilities) {
    const int place = PlaceOf(network, decision, policy.axes, outcomes);
    EXPECT_NEAR(ValueOf(network, decision).GetMatrix()->Subscript(place), utility, 1e-7)
        << policy.decision << " " << place;
    Advance(network, policy.axes, outcomes);
  }
  return static_cast<int>(policy.utilities.size());
}

TEST(SharedDecisions, MatchIndependentAnswers) {
  const std::string folder = QVR_SHARED_DIR "/answers/decisions";
  int compared = 0;
  const bool isThere = ForEachAnswer(folder, [&](QVR_network& network, std::istream& words) {
    EXPECT_EQ(network.UpdateBeliefs(), 0);
    for (const ExpectedPolicy& policy : ReadPolicies(words)) {
      compared += Compare(network, policy);
    }
  });
  if (!isThere) {
    GTEST_SKIP() << "no diagrams in " << folder;
  }
  EXPECT_GT(compared, 1000);
}

}  // namespace
}  // namespace qvr
