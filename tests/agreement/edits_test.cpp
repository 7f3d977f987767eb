// Hundreds of structural edits: after each the network is whole and every number is in its place, and every
// few of them a network built afresh from what can be read has the same posteriors.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <numeric>
#include <set>

#include "agreement/engine_trial.h"
#include "definitions/cpt.h"
#include "support/describe_network.h"
#include "support/log_guard.h"

namespace qvr {
namespace {

constexpr int kEditCount = kSanitized ? 400 : 1500;
constexpr int kMaxNodes = 9;
// So that evidence often decides about other nodes.
constexpr TableStyle kStyle = {.zeroFraction = 0.15, .certainRowFraction = 0.35};

// An outcome by its node and name, and a cell by the outcomes that it stands for: no places.
using Label = std::pair<int, std::string>;
using Cell = std::set<Label>;

std::vector<Label> LabelsOf(const QVR_network& network, int handle) {
  std::vector<Label> labels;
  QVR_nodeDefinition& definition = *network.NodeAt(handle)->definition;
  for (int i = 0; i < definition.GetNumberOfOutcomes(); ++i) {
    labels.emplace_back(handle, definition.GetOutcomeNames()->Get(i));
  }
  return labels;
}

struct Family {
  std::vector<Label> outcomes;
  std::vector<int> parents;
  std::map<Cell, double> cells;
};

Family ReadFamily(QVR_network& network, int handle) {
  Family family{LabelsOf(network, handle), ListOf(network.GetParents(handle)), {}};
  std::vector<Cell> cells = {{}};
  const auto spread = [&cells](const std::vector<Label>& labels) {
    std::vector<Cell> wider;
    for (const Cell& cell : cells) {
      for (const Label& label : labels) {
        wider.push_back(cell);
        wider.back().insert(label);
      }
    }
    cells = wider;
  };
  for (int parent : family.parents) {
    spread(LabelsOf(network, parent));
  }
  spread(family.outcomes);
  const std::vector<double> numbers = CellsOf(network, handle);
  EXPECT_EQ(numbers.size(), cells.size());
  for (std::size_t i = 0; i < cells.size() && i < numbers.size(); ++i) {
    family.cells[cells[i]] = numbers[i];
  }
  return family;
}

std::map<int, Family> ReadFamilies(QVR_network& network) {
  std::map<int, Family> families;
  for (int handle : AllNodes(network)) {
    families[handle] = ReadFamily(network, handle);
  }
  return families;
}

bool Holds(const std::vector<Label>& labels, const Label& label) {
  return std::find(labels.begin(), labels.end(), label) != labels.end();
}

// What an edit must leave in a cell, if all rows summed to 1 before. A new parent changes nothing, a lost one
// leaves its first outcome's rows, a new outcome has probability 0, and a parent's new outcome uniform rows.
double ExpectedCell(const std::map<int, Family>& before, const Family& after, int handle, Cell cell) {
  const Family& old = before.at(handle);
  for (int parent : old.parents) {
    if (std::count(after.parents.begin(), after.parents.end(), parent) == 0) {
      cell.insert(before.at(parent).outcomes.front());
    }
  }
  std::erase_if(cell, [&](const Label& label) {
    return label.first != handle && std::count(old.parents.begin(), old.parents.end(), label.first) == 0;
  });
  for (const Label& label : cell) {
    if (label.first == handle && !Holds(old.outcomes, label)) {
      return 0;
    }
  }
  const auto place = old.cells.find(cell);
  return place != old.cells.end() ? place->second : 1.0 / static_cast<double>(after.outcomes.size());
}

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
  void EditCostArcs();
  void EditOutcomes(int choice);
  void EditEvidence(int choice);
  void ChangeOutcomes(QVR_nodeDefinition& definition);
  void Rename(int handle);
  void ExpectNumbersInPlace();
  [[nodiscard]] std::string AnyName() { return "name" + std::to_string(random.Below(15)); }
  [[nodiscard]] std::string NewName() { return "made" + std::to_string(made++); }

  std::map<int, Family> before;
  int reset = -1;  // the node whose table an edit makes anew
  int made = 0;
};

int Editor::AnyNode() {
  const std::vector<int> handles = AllNodes(network);
  return handles[static_cast<std::size_t>(random.Below(static_cast<int>(handles.size())))];
}

void Editor::EditOnce() {
  before = ReadFamilies(network);
  reset = -1;
  const int choice = random.Below(20);
  if (network.GetNumberOfNodes() < 3 || choice < 4) {
    EditNodes(network.GetNumberOfNodes() < 3 ? 0 : choice);
  } else if (choice < 9) {
    EditArcs();
  } else if (choice < 10) {
    EditCostArcs();
  } else if (choice < 16) {
    EditOutcomes(choice - 10);
  } else {
    EditEvidence(choice - 16);
  }
  ASSERT_EQ(network.CheckInvariants(), "");
  ExpectNumbersInPlace();
}

void Editor::ExpectNumbersInPlace() {
  const std::map<int, Family> after = ReadFamilies(network);
  for (const auto& [handle, family] : after) {
    if (!before.contains(handle)) {
      continue;
    }
    for (const auto& [cell, x] : family.cells) {
      const double uniform = 1.0 / static_cast<double>(family.outcomes.size());
      const double expected = handle == reset ? uniform : ExpectedCell(before, family, handle, cell);
      ASSERT_NEAR(x, expected, 1e-12) << "node " << handle;
    }
  }
}

void Editor::EditNodes(int choice) {
  const bool full = network.GetNumberOfNodes() >= kMaxNodes;
  if (choice <= 1 && !full) {
    const int handle = network.AddNode(kTypeCpt, NewName().c_str());
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
      reset = handle;
    }
  } else {
    Rename(AnyNode());
  }
}

void Editor::Rename(int handle) {
  const std::string name = random.Chance(0.2) ? "no identifier" : AnyName();
  const bool free = network.FindNode(name.c_str()) < 0 || network.FindNode(name.c_str()) == handle;
  const bool taken = network.NodeAt(handle)->SetId(name.c_str()) == QVR_OKAY;
  EXPECT_EQ(taken, free && name != "no identifier") << name;
  EXPECT_EQ(network.FindNode(name.c_str()) == handle, taken);
}

void Editor::EditArcs() {
  const int from = AnyNode();
  const int to = AnyNode();
  const QVR_intArray& parents = network.GetParents(to);
  if (random.Chance(0.35) && parents.GetNumItems() > 0) {
    const int parent = parents[random.Below(parents.GetNumItems())];
    EXPECT_EQ(network.RemoveArc(parent, to, kOrdinaryLayer), QVR_OKAY);
  } else if (parents.GetNumItems() < 4) {
    const bool allowed = network.WouldStayAcyclic(from, to) && parents.Contains(from) == 0;
    EXPECT_EQ(network.AddArc(from, to, kOrdinaryLayer) == QVR_OKAY, allowed);
    EXPECT_EQ(network.IsAcyclic(), 1);
  }
}

// They may run in circles, and stand twice.
void Editor::EditCostArcs() {
  const int from = AnyNode();
  const int to = AnyNode();
  const bool has = network.GetParents(to, kCostLayer).Contains(from) != 0;
  if (has && random.Chance(0.7)) {
    EXPECT_EQ(network.RemoveArc(from, to, kCostLayer), QVR_OKAY);
  } else if (network.GetNumberOfParents(to, kCostLayer) < 4) {
    EXPECT_EQ(network.AddArc(from, to, kCostLayer), from == to ? QVR_OUT_OF_RANGE : QVR_OKAY);
  }
}

void Editor::EditOutcomes(int choice) {
  QVR_nodeDefinition& definition = *network.NodeAt(AnyNode())->definition;
  const int count = definition.GetNumberOfOutcomes();
  const std::string name = random.Chance(0.1) ? "not valid" : NewName();
  if (choice == 0 && count < 4) {
    EXPECT_EQ(definition.AddOutcome(name.c_str()), QVR_OKAY);
  } else if (choice == 1 && count < 4) {
    EXPECT_EQ(definition.InsertOutcome(random.Below(count + 1), name.c_str()), QVR_OKAY);
  } else if (choice == 2) {
    EXPECT_EQ(definition.RemoveOutcome(random.Below(count)), count > 2 ? QVR_OKAY : QVR_OUT_OF_RANGE);
  } else if (choice == 3) {
    EXPECT_EQ(definition.ReorderOutcomes(ShuffledOrder(count, random)), QVR_OKAY);
  } else if (choice == 4) {
    ChangeOutcomes(definition);
  } else {
    const bool isLeaf = network.GetNumberOfChildren(definition.GetHandle()) == 0;
    const int newCount = 2 + random.Below(3);
    EXPECT_EQ(definition.SetNumberOfOutcomes(newCount), isLeaf ? QVR_OKAY : QVR_HAS_CHILDREN);
    reset = isLeaf ? definition.GetHandle() : -1;
  }
}

// Keeps some of the old outcomes, in another order and under new names, between new ones.
void Editor::ChangeOutcomes(QVR_nodeDefinition& definition) {
  QVR_stringArray names;
  QVR_intArray mapping;
  const int count = definition.GetNumberOfOutcomes();
  const int newCount = 2 + random.Below(3);
  std::map<Label, Label> renamed;
  for (int i = 0; i < newCount; ++i) {
    const int old = random.Below(count + 2) - 2;
    names.Add(NewName().c_str());
    mapping.Add(old >= 0 && mapping.Contains(old) == 0 ? old : -1);
    if (mapping[i] >= 0) {
      renamed[{definition.GetHandle(), definition.GetOutcomeNames()->Get(old)}] = {definition.GetHandle(),
                                                                                   names.Get(i)};
    }
  }
  EXPECT_EQ(definition.ChangeOutcomes(names, mapping), QVR_OKAY);
  EXPECT_EQ(definition.GetNumberOfOutcomes(), newCount);
  const auto rename = [&renamed](const Label& label) {
    const auto place = renamed.find(label);
    return place == renamed.end() ? label : place->second;
  };
  for (auto& [handle, family] : before) {
    std::transform(family.outcomes.begin(), family.outcomes.end(), family.outcomes.begin(), rename);
    std::map<Cell, double> cells;
    for (const auto& [cell, x] : family.cells) {
      Cell key;
      std::transform(cell.begin(), cell.end(), std::inserter(key, key.end()), rename);
      cells[key] = x;
    }
    family.cells = cells;
  }
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
    const std::vector<double> cells = CellsOf(network, handle);
    bool improper = false;
    for (auto row = cells.begin(); row != cells.end(); row += count) {
      improper = improper || std::abs(std::accumulate(row, row + count, 0.0) - 1) > 1e-12;
    }
    if (improper || random.Chance(0.1)) {
      const int rows = static_cast<int>(cells.size()) / count;
      EXPECT_EQ(SetTable(network, handle, RandomTable(rows, count, kStyle, random)), QVR_OKAY);
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

// Values that edits left marked as valid must be right before the update as well.
void CompareWithRebuilt(QVR_network& network, int engine) {
  JointAnswer truth = SumJoint(network, ReadEvidence(network));
  if (truth.evidenceProbability == 0) {  // an edit has made the evidence impossible
    network.ClearAllEvidence();
    network.InvalidateAll();
    truth = SumJoint(network, Observations(network));
  }
  QVR_network fresh;
  std::map<int, int> copies = Rebuild(network, ReadEvidence(network), fresh);
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
    if (round == 2) {  // updates that start half-way through an edit must find a whole network
      editor.network.SetUpdateFlags(editor.network.GetUpdateFlags() | UPDATE_IMMEDIATELY);
    }
    for (int edit = 0; edit < kEditCount; ++edit) {
      SCOPED_TRACE("round " + std::to_string(round) + " edit " + std::to_string(edit));
      editor.EditOnce();
      editor.RepairTables();
      if (edit % 4 == 3) {
        CompareWithRebuilt(editor.network, kExactEngines[editor.random.Below(4)]);
      }
      ASSERT_FALSE(HasFailure()) << Describe(editor.network);
    }
  }
}

}  // namespace
}  // namespace qvr
