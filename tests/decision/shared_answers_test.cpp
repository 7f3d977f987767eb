// Diagrams with answers of a separate program, where a checkout has them beside it.
#include <gtest/gtest.h>

#include <cctype>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "support/network_builder.h"

namespace qvr {
namespace {

namespace fs = std::filesystem;

// The expected utilities of a decision over everything known before it, and its own choices last.
struct ExpectedPolicy {
  std::string decision;
  std::vector<std::string> axes;
  std::vector<double> utilities;
};

// Reads no more of JSON than these files have: {"D": {"axes": [..], "shape": [..], "expectedUtility": [..]}}.
std::vector<ExpectedPolicy> ReadPolicies(const fs::path& path) {
  std::ifstream file(path);
  std::stringstream whole;
  whole << file.rdbuf();
  std::string text = whole.str();
  for (char& letter : text) {
    letter = std::string("{}[]:,").find(letter) == std::string::npos ? letter : ' ';
  }
  std::istringstream words(text);
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
  const fs::path folder = fs::path(QVR_SHARED_DIR) / "answers" / "decisions";
  if (!fs::exists(folder)) {
    GTEST_SKIP() << "no diagrams in " << folder;
  }
  int compared = 0;
  for (const fs::directory_entry& entry : fs::directory_iterator(folder)) {
    if (entry.path().extension() != ".xqvr") {
      continue;
    }
    SCOPED_TRACE(entry.path().string());
    QVR_network network;
    ASSERT_EQ(network.LoadFile(entry.path().c_str(), 0, nullptr), 0);
    ASSERT_EQ(network.UpdateBeliefs(), 0);
    for (const ExpectedPolicy& policy : ReadPolicies(fs::path(entry.path()).replace_extension(".json"))) {
      compared += Compare(network, policy);
    }
  }
  EXPECT_GT(compared, 1000);
}

}  // namespace
}  // namespace qvr
