// Hundreds of structural edits: every few of them a network built afresh from what can be read has the same
// posteriors.
#include <gtest/gtest.h>

#include <map>

#include "agreement/editor.h"
#include "agreement/engine_trial.h"
#include "support/describe_network.h"
#include "support/log_guard.h"

namespace qvr {
namespace {

constexpr int kEditCount = kSanitized ? 400 : 1500;

Observations ReadEvidence(QVR_network& network) {
  Observations entered(network);
  for (int handle : AllNodes(network)) {
    const QVR_nodeValue& value = ValueOf(network, handle);
    QVR_doubleArray likelihoods;
    if (value.HasRealEvidence()) {
      entered.outcomes[static_cast<std::size_t>(handle)] = value.GetEvidence();
    } else if (value.GetVirtualEvidence(likelihoods) == QVR_OKAY) {
      const auto view = likelihoods.View();
      entered.likelihoods[static_cast<std::size_t>(handle)].assign(view.begin(), view.end());
    }
  }
  return entered;
}

// The same network under other handles, of plain tables, from structure, names and numbers alone.
std::map<int, int> Rebuild(QVR_network& from, const Observations& entered, QVR_network& fresh) {
  std::map<int, int> copies;
  for (int handle : from.GetTopologicalOrder()) {
    QVR_node& node = *from.NodeAt(handle);
    const int copy = fresh.AddNode(kTypeCpt, node.GetId().c_str());
    copies[handle] = copy;
    EXPECT_EQ(fresh.NodeAt(copy)->definition->SetNumberOfOutcomes(*node.definition->GetOutcomeNames()),
              QVR_OKAY);
    for (int parent : from.GetParents(handle)) {
      EXPECT_EQ(fresh.AddArc(copies[parent], copy, kOrdinaryLayer), QVR_OKAY);
    }
    EXPECT_EQ(SetTable(fresh, copy, CellsOf(from, handle)), QVR_OKAY);
  }
  for (int handle : AllNodes(from)) {
    const auto at = static_cast<std::size_t>(handle);
    if (entered.outcomes[at] >= 0) {
      EXPECT_EQ(ValueOf(fresh, copies[handle]).SetEvidence(entered.outcomes[at]), QVR_OKAY);
    } else if (!entered.likelihoods[at].empty()) {
      EXPECT_EQ(SetLikelihoods(fresh, copies[handle], entered.likelihoods[at]), QVR_OKAY);
    }
    if (from.IsTarget(handle) == 1) {
      EXPECT_EQ(fresh.SetTarget(copies[handle]), QVR_OKAY);
    }
  }
  return copies;
}

void ExpectSame(const std::vector<double>& belief, const std::vector<double>& expected, const char* text) {
  ASSERT_EQ(belief.size(), expected.size()) << text;
  for (std::size_t i = 0; i < belief.size(); ++i) {
    EXPECT_NEAR(belief[i], expected[i], kTolerance) << text;
  }
}

void UpdateAndCompare(QVR_network& network, const JointAnswer& truth) {
  EXPECT_EQ(network.UpdateBeliefs(), QVR_OKAY);
  for (int handle : AllNodes(network)) {
    if (network.GetTargetCount() == 0 || network.IsTarget(handle) == 1) {
      ExpectSame(BeliefOf(network, handle), truth.posteriors[static_cast<std::size_t>(handle)], "joint");
    }
  }
}

// Values that edits left marked as valid must be right before the update as well. `first` is the engine that
// may build on them.
void CompareWithRebuilt(QVR_network& network, int first) {
  JointAnswer truth = SumJoint(network, ReadEvidence(network));
  if (truth.evidenceProbability == 0) {  // an edit has made the evidence impossible
    network.ClearAllEvidence();
    network.InvalidateAll();
    truth = SumJoint(network, ReadEvidence(network));  // likelihoods of a deduced node stay
  }
  QVR_network fresh;
  std::map<int, int> copies = Rebuild(network, ReadEvidence(network), fresh);
  for (int handle : AllNodes(network)) {
    if (ValueOf(network, handle).IsValueValid()) {
      ExpectSame(BeliefOf(network, handle), truth.posteriors[static_cast<std::size_t>(handle)], "stale");
    }
  }
  network.SetBeliefAlgorithm(first);
  UpdateAndCompare(network, truth);
  for (const int engine : kExactEngines) {
    SCOPED_TRACE("engine " + std::to_string(engine));
    network.InvalidateAll();
    network.SetBeliefAlgorithm(engine);
    network.noisyMaxRelevance = network.noisyMaxRelevance == 0 ? 1 : 0;
    UpdateAndCompare(network, truth);
  }
  fresh.SetBeliefAlgorithm(first);
  EXPECT_EQ(fresh.UpdateBeliefs(), QVR_OKAY);
  for (int handle : AllNodes(network)) {
    EXPECT_EQ(fresh.FindNode(network.NodeAt(handle)->GetId().c_str()), copies[handle]);
    if (network.GetTargetCount() == 0 || network.IsTarget(handle) == 1) {
      ExpectSame(BeliefOf(network, handle), BeliefOf(fresh, copies[handle]), "rebuilt");
    }
  }
}

TEST(Edits, NetworkStaysWholeAndEqualsOneBuiltAfresh) {
  const std::uint64_t seed = FirstSeed() + 9000000;
  for (std::uint64_t round = 0; round < 3; ++round) {
    const LogGuard log;
    Editor editor(TestRandom(seed + round));
    if (round == 2) {  // updates that start half-way through an edit must find a whole network
      editor.network.SetUpdateFlags(editor.network.GetUpdateFlags() | UPDATE_IMMEDIATELY);
    }
    for (int edit = 0; edit < kEditCount; ++edit) {
      SCOPED_TRACE("round " + std::to_string(round) + " edit " + std::to_string(edit));
      editor.EditOnce();
      editor.RepairTables();
      if (edit % 4 == 3) {
        editor.network.noisyMaxRelevance = editor.random.Chance(0.5) ? 1 : 0;
        CompareWithRebuilt(editor.network, kExactEngines[editor.random.Below(4)]);
      }
      ASSERT_FALSE(HasFailure()) << Describe(editor.network);
    }
  }
}

}  // namespace
}  // namespace qvr
