// Hundreds of structural edits: after each the network is whole, and every few of them a network built
// afresh from what can be read has the same posteriors.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numeric>
#include <unordered_map>

#include "agreement/engine_trial.h"
#include "definitions/cpt.h"
#include "support/log_guard.h"

namespace qvr {
namespace {

constexpr int kEditCount = kSanitized ? 400 : 1500;
constexpr int kMaxNodes = 9;

class Editor {
 public:
  explicit Editor(std::uint64_t seed) : random(seed) {}

  void EditOnce();
  // New numbers for every table with rows that no longer sum to 1, as after the loss of an outcome.
  void RepairTables();

  QVR_network network;
  TestRandom random;

 private:
  [[nodiscard]] int AnyNode();
  void EditNodes(int choice);
  void EditArcs();
  void EditOutcomes(int choice);
  void EditEvidence(int choice);
  void ReorderOutcomes(QVR_nodeDefinition& definition);
  void ChangeOutcomes(QVR_nodeDefinition& definition);
  [[nodiscard]] std::string AnyName() { return "name" + std::to_string(random.Below(15)); }

  int made = 0;
};

int Editor::AnyNode() {
  const std::vector<int> handles = AllNodes(network);
  return handles[static_cast<std::size_t>(random.Below(static_cast<int>(handles.size())))];
}

void Editor::EditOnce() {
  const int choice = random.Below(20);
  if (network.GetNumberOfNodes() < 3 || choice < 4) {
    EditNodes(network.GetNumberOfNodes() < 3 ? 0 : choice);
  } else if (choice < 10) {
    EditArcs();
  } else if (choice < 16) {
    EditOutcomes(choice - 10);
  } else {
    EditEvidence(choice - 16);
  }
}

void Editor::EditNodes(int choice) {
  const bool full = network.GetNumberOfNodes() >= kMaxNodes;
  if (choice <= 1 && !full) {
    const int handle = network.AddNode(kTypeCpt, ("made" + std::to_string(made++)).c_str());
    ASSERT_GE(handle, 0);
    for (int arc = 0; arc < 2; ++arc) {
      network.AddArc(AnyNode(), handle, kOrdinaryLayer);
    }
  } else if (choice <= 1 || full) {
    EXPECT_EQ(network.DeleteNode(AnyNode()), QVR_OKAY);
  } else if (choice == 2) {
    constexpr int kTypes[] = {kTypeCpt, kTypeNone, 3, kTypeCpt};  // 3 is the type of no class
    const int handle = AnyNode();
    network.NodeAt(handle)->ChangeType(kTypes[random.Below(4)]);
    if (network.NodeAt(handle)->GetType() == kTypeNone) {
      EXPECT_EQ(network.CheckInvariants(), "");
      EXPECT_EQ(network.GetNumberOfParents(handle) + network.GetNumberOfChildren(handle), 0);
      EXPECT_EQ(network.NodeAt(handle)->ChangeType("CPT"), QVR_OKAY);
    }
  } else {
    const int handle = AnyNode();
    const std::string name = random.Chance(0.2) ? "no identifier" : AnyName();
    const bool free = network.FindNode(name.c_str()) < 0 || network.FindNode(name.c_str()) == handle;
    const bool taken = network.NodeAt(handle)->SetId(name.c_str()) == QVR_OKAY;
    EXPECT_EQ(taken, free && name != "no identifier") << name;
    EXPECT_EQ(network.FindNode(name.c_str()) == handle, taken);
  }
}

void Editor::EditArcs() {
  const int from = AnyNode();
  const int to = AnyNode();
  const QVR_intArray& parents = network.GetParents(to);
  if (random.Chance(0.35) && parents.GetNumItems() > 0) {
    const int parent = parents[random.Below(parents.GetNumItems())];
    EXPECT_EQ(network.RemoveArc(parent, to, kOrdinaryLayer), QVR_OKAY);
  } else if (parents.GetNumItems() < 4) {
    network.AddArc(from, to, kOrdinaryLayer);
    EXPECT_EQ(network.IsAcyclic(), 1);
  }
}

void Editor::EditOutcomes(int choice) {
  QVR_nodeDefinition& definition = *network.NodeAt(AnyNode())->definition;
  const int count = definition.GetNumberOfOutcomes();
  const std::string name = random.Chance(0.1) ? "not valid" : AnyName();
  if (choice == 0 && count < 4) {
    EXPECT_EQ(definition.AddOutcome(name.c_str()), QVR_OKAY);
  } else if (choice == 1 && count < 4) {
    EXPECT_EQ(definition.InsertOutcome(random.Below(count + 1), name.c_str()), QVR_OKAY);
  } else if (choice == 2) {
    EXPECT_EQ(definition.RemoveOutcome(random.Below(count)), count > 2 ? QVR_OKAY : QVR_OUT_OF_RANGE);
  } else if (choice == 3) {
    ReorderOutcomes(definition);
  } else if (choice == 4) {
    ChangeOutcomes(definition);
  } else {
    const bool isLeaf = network.GetNumberOfChildren(definition.GetHandle()) == 0;
    EXPECT_EQ(definition.SetNumberOfOutcomes(2 + random.Below(3)), isLeaf ? QVR_OKAY : QVR_HAS_CHILDREN);
  }
}

void Editor::ReorderOutcomes(QVR_nodeDefinition& definition) {
  std::vector<int> order(static_cast<std::size_t>(definition.GetNumberOfOutcomes()));
  std::iota(order.begin(), order.end(), 0);
  for (std::size_t i = order.size(); i > 1; --i) {
    std::swap(order[i - 1], order[static_cast<std::size_t>(random.Below(static_cast<int>(i)))]);
  }
  QVR_intArray list;
  for (int place : order) {
    list.Add(place);
  }
  EXPECT_EQ(definition.ReorderOutcomes(list), QVR_OKAY);
}

// Keeps some of the old outcomes, in another order, between new ones.
void Editor::ChangeOutcomes(QVR_nodeDefinition& definition) {
  QVR_stringArray names;
  QVR_intArray mapping;
  const int count = definition.GetNumberOfOutcomes();
  const int newCount = 2 + random.Below(3);
  for (int i = 0; i < newCount; ++i) {
    const int old = random.Below(count + 2) - 2;
    mapping.Add(old >= 0 && mapping.Contains(old) == 0 ? old : -1);
    names.Add(("new" + std::to_string(i)).c_str());
  }
  EXPECT_EQ(definition.ChangeOutcomes(names, mapping), QVR_OKAY);
  EXPECT_EQ(definition.GetNumberOfOutcomes(), newCount);
  EXPECT_STREQ(definition.GetOutcomeNames()->Get(newCount - 1), names.Get(newCount - 1));
}

void Editor::EditEvidence(int choice) {
  const int handle = AnyNode();
  const int count = network.NodeAt(handle)->GetNumberOfOutcomes();
  if (choice <= 1) {
    (void)ValueOf(network, handle).SetEvidence(random.Below(count));
  } else if (choice == 2) {
    (void)ValueOf(network, handle).ClearEvidence();
  } else if (random.Chance(0.5)) {
    EXPECT_EQ(SetLikelihoods(network, handle, RandomTable(1, count, {}, random)), QVR_OKAY);
  } else if (network.UnsetTarget(handle) < 0) {
    EXPECT_EQ(network.SetTarget(handle), QVR_OKAY);
  }
}

void Editor::RepairTables() {
  for (int handle : AllNodes(network)) {
    const int count = network.NodeAt(handle)->GetNumberOfOutcomes();
    const auto cells = TableOf(network, handle)->GetItems().Vector();
    bool improper = false;
    for (auto row = cells.begin(); row != cells.end(); row += count) {
      improper = improper || std::abs(std::accumulate(row, row + count, 0.0) - 1) > 1e-12;
    }
    if (improper || random.Chance(0.1)) {
      const int rows = static_cast<int>(cells.size()) / count;
      EXPECT_EQ(SetTable(network, handle, RandomTable(rows, count, {}, random)), QVR_OKAY);
    }
  }
}

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

// The same network under other handles, from structure, names and numbers alone.
std::unordered_map<int, int> Rebuild(QVR_network& from, const Observations& entered, QVR_network& fresh) {
  std::unordered_map<int, int> copies;
  for (int handle : from.GetTopologicalOrder()) {
    QVR_node& node = *from.NodeAt(handle);
    const int copy = fresh.AddNode(kTypeCpt, node.GetId().c_str());
    copies[handle] = copy;
    EXPECT_EQ(fresh.NodeAt(copy)->definition->SetNumberOfOutcomes(*node.definition->GetOutcomeNames()),
              QVR_OKAY);
    for (int parent : from.GetParents(handle)) {
      EXPECT_EQ(fresh.AddArc(copies[parent], copy, kOrdinaryLayer), QVR_OKAY);
    }
    const auto cells = TableOf(from, handle)->GetItems().Vector();
    EXPECT_EQ(SetTable(fresh, copy, {cells.begin(), cells.end()}), QVR_OKAY);
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

// Values that edits left marked as valid must be right before the update as well.
void CompareWithRebuilt(QVR_network& network, int engine) {
  JointAnswer truth = SumJoint(network, ReadEvidence(network));
  if (truth.evidenceProbability == 0) {  // an edit has made the evidence impossible
    network.ClearAllEvidence();
    network.InvalidateAll();
    truth = SumJoint(network, Observations(network));
  }
  QVR_network fresh;
  std::unordered_map<int, int> copies = Rebuild(network, ReadEvidence(network), fresh);
  for (int handle : AllNodes(network)) {
    if (ValueOf(network, handle).IsValueValid()) {
      ExpectSame(BeliefOf(network, handle), truth.posteriors[static_cast<std::size_t>(handle)], "stale");
    }
  }
  for (QVR_network* side : {&network, &fresh}) {
    side->SetBeliefAlgorithm(engine);
    EXPECT_EQ(side->UpdateBeliefs(), QVR_OKAY);
  }
  for (int handle : AllNodes(network)) {
    EXPECT_EQ(fresh.FindNode(network.NodeAt(handle)->GetId().c_str()), copies[handle]);
    if (network.GetTargetCount() == 0 || network.IsTarget(handle) == 1) {
      const std::vector<double> belief = BeliefOf(network, handle);
      ExpectSame(belief, BeliefOf(fresh, copies[handle]), "rebuilt");
      ExpectSame(belief, truth.posteriors[static_cast<std::size_t>(handle)], "joint");
    }
  }
}

TEST(Edits, NetworkStaysWholeAndEqualsOneBuiltAfresh) {
  const std::uint64_t seed = FirstSeed() + 9000000;
  for (std::uint64_t round = 0; round < 3; ++round) {
    const LogGuard log;
    Editor editor(seed + round);
    for (int edit = 0; edit < kEditCount; ++edit) {
      SCOPED_TRACE("round " + std::to_string(round) + " edit " + std::to_string(edit));
      editor.EditOnce();
      ASSERT_EQ(editor.network.CheckInvariants(), "");
      if (edit % 4 == 3) {
        editor.RepairTables();
        CompareWithRebuilt(editor.network, kExactEngines[editor.random.Below(4)]);
      }
      ASSERT_FALSE(HasFailure()) << Describe(editor.network);
    }
  }
}

}  // namespace
}  // namespace qvr
