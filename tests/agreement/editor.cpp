#include "agreement/editor.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numeric>
#include <optional>

#include "definitions/demorgan.h"
#include "definitions/noisy_adder.h"
#include "definitions/noisy_max.h"
#include "support/canonical_reference.h"
#include "support/network_builder.h"
#include "support/random_canonical.h"

namespace qvr {
namespace {

constexpr int kMaxNodes = 9;
// So that evidence often decides about other nodes.
constexpr TableStyle kStyle = {.zeroFraction = 0.15, .certainRowFraction = 0.35};

bool IsGate(int type) { return type == kTypeCast || type == kTypeDeMorgan; }

bool IsNoisy(int type) { return type == kTypeNoisyMax || type == kTypeNoisyAdder; }

template <typename Item>
bool Contains(const std::vector<Item>& list, const Item& item) {
  return std::find(list.begin(), list.end(), item) != list.end();
}

std::vector<Label> LabelsOf(const QVR_network& network, int handle) {
  std::vector<Label> labels;
  QVR_nodeDefinition& definition = *network.NodeAt(handle)->definition;
  for (int i = 0; i < definition.GetNumberOfOutcomes(); ++i) {
    labels.emplace_back(handle, definition.GetOutcomeNames()->Get(i));
  }
  return labels;
}

// The outcome of the parent that has no effect, or whose slice a table keeps; -1 for none.
int IdleOutcome(const QVR_nodeDefinition& definition, int parentIndex) {
  const auto at = static_cast<std::size_t>(parentIndex);
  switch (definition.GetType()) {
    case kTypeNoisyMax:
      return dynamic_cast<const QVR_noisyMAX&>(definition).GetStrengths(parentIndex).back();
    case kTypeNoisyAdder:
      return dynamic_cast<const QVR_noisyAdder&>(definition).GetParentDistinguishedStates()[at];
    case kTypeDeMorgan: {
      const int influence = dynamic_cast<const QVR_demorgan&>(definition).GetParentTypes()[at];
      return influence == kInhibitor || influence == kCause ? 1 : 0;
    }
    case kTypeCast:
      return -1;
    default:
      return 0;
  }
}

std::vector<Cell> AllCells(const std::vector<std::vector<Label>>& dimensions) {
  std::vector<Cell> cells = {{}};
  for (const std::vector<Label>& labels : dimensions) {
    std::vector<Cell> wider;
    for (const Cell& cell : cells) {
      for (const Label& label : labels) {
        wider.push_back(cell);
        wider.back().insert(label);
      }
    }
    cells = wider;
  }
  return cells;
}

Family ReadFamily(QVR_network& network, int handle) {
  const QVR_nodeDefinition& definition = *network.NodeAt(handle)->definition;
  Family family{
      definition.GetType(), LabelsOf(network, handle), ListOf(network.GetParents(handle)), {}, {}, {}};
  if (const auto* adder = dynamic_cast<const QVR_noisyAdder*>(&definition)) {
    family.certain = family.outcomes.at(static_cast<std::size_t>(adder->GetDistinguishedState()));
  }
  std::vector<std::vector<Label>> dimensions;
  for (int parent : family.parents) {
    const int idle = IdleOutcome(definition, static_cast<int>(dimensions.size()));
    dimensions.push_back(LabelsOf(network, parent));
    if (idle >= 0) {
      family.idle[parent] = dimensions.back().at(static_cast<std::size_t>(idle));
    }
  }
  dimensions.push_back(family.outcomes);
  const std::vector<Cell> cells = AllCells(dimensions);
  const std::vector<double> numbers = CellsOf(network, handle);
  const std::vector<double> reference = ReferenceTable(network, handle);
  EXPECT_EQ(numbers.size(), cells.size());
  for (std::size_t i = 0; i < cells.size() && i < numbers.size(); ++i) {
    EXPECT_NEAR(numbers[i], reference[i], 1e-12) << "node " << handle << " shows an outdated table";
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

// Whether a noisy-MAX keeps what its rows say of the old outcomes: their order is a scale that ends at the
// distinguished one.
bool KeepsScale(const std::vector<Label>& old, const std::vector<Label>& now) {
  auto next = old.begin();
  for (const Label& label : now) {
    next += next != old.end() && *next == label ? 1 : 0;
  }
  return next == old.end() && old.back() == now.back();
}

// Whether a gate's parent keeps its true state, or two states change places together with their meaning.
bool KeepsTruth(const std::vector<Label>& old, const std::vector<Label>& now) {
  return old.front() == now.front() ||
         (old.size() == 2 && now.size() == 2 && std::is_permutation(old.begin(), old.end(), now.begin()));
}

// Whether the numbers of a canonical node go on to say the same of the outcomes that there were. They can't
// where an outcome came, went or moved that the class gives a part of its own.
bool KeepsLaw(const std::map<int, Family>& before, const std::map<int, Family>& after, int handle) {
  const Family& old = before.at(handle);
  const Family& now = after.at(handle);
  if (now.type == kTypeNoisyMax && !KeepsScale(old.outcomes, now.outcomes)) {
    return false;
  }
  return std::all_of(old.parents.begin(), old.parents.end(), [&](int parent) {
    if (!Contains(now.parents, parent)) {
      return old.idle.contains(parent);
    }
    const std::vector<Label>& outcomes = after.at(parent).outcomes;
    return IsGate(now.type) ? KeepsTruth(before.at(parent).outcomes, outcomes)
                            : Contains(outcomes, old.idle.at(parent));
  });
}

// What an edit must leave in a cell, if all rows summed to 1 before and the law is kept; nothing where it may
// leave anything. A lost parent leaves its idle outcome's rows, and a new outcome has probability 0. A table
// and a gate don't heed a new parent, a noisy node doesn't heed its idle outcome. A parent's new outcome has
// uniform rows, in a truth table those of the last outcome.
std::optional<double> ExpectedCell(const std::map<int, Family>& before, const Family& now, int handle,
                                   Cell cell) {
  const Family& old = before.at(handle);
  for (int parent : old.parents) {
    if (!Contains(now.parents, parent)) {
      cell.insert(old.idle.at(parent));
    }
  }
  for (int parent : now.parents) {
    if (!Contains(old.parents, parent)) {
      if (IsNoisy(now.type) && !cell.contains(now.idle.at(parent))) {
        return std::nullopt;
      }
      std::erase_if(cell, [=](const Label& label) { return label.first == parent; });
    }
  }
  const auto own = std::find_if(cell.begin(), cell.end(), [=](const Label& x) { return x.first == handle; });
  if (!Contains(old.outcomes, *own)) {
    return 0;
  }
  if (const auto place = old.cells.find(cell); place != old.cells.end()) {
    return place->second;
  }
  if (now.type == kTypeTruthTable) {
    return *own == now.outcomes.back() ? 1 : 0;
  }
  return now.type == kTypeCpt ? std::optional(1.0 / static_cast<double>(now.outcomes.size())) : std::nullopt;
}

}  // namespace

int Editor::AnyNode() {
  const std::vector<int> handles = AllNodes(network);
  return handles[static_cast<std::size_t>(random.Below(static_cast<int>(handles.size())))];
}

void Editor::EditOnce() {
  before = ReadFamilies(network);
  reset = -1;
  untold.clear();
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
    const bool isTable = family.type == kTypeCpt || family.type == kTypeTruthTable;
    if (!before.contains(handle) || untold.contains(handle)) {
      continue;
    }
    const Label& certain = before.at(handle).certain;
    EXPECT_TRUE(!Contains(family.outcomes, certain) || isTable || family.certain == certain) << handle;
    if (!isTable && !KeepsLaw(before, after, handle)) {
      continue;
    }
    for (const auto& [cell, x] : family.cells) {
      const double uniform = 1.0 / static_cast<double>(family.outcomes.size());
      const auto expected =
          handle == reset ? std::optional(uniform) : ExpectedCell(before, family, handle, cell);
      ASSERT_NEAR(x, expected.value_or(x), 1e-12) << "node " << handle;
    }
  }
}

int Editor::AnyType() {
  constexpr int kTableTypes[] = {kTypeCpt, kTypeCpt, kTypeCpt, kTypeTruthTable};
  return random.Chance(0.5) ? kTableTypes[random.Below(4)] : kCanonicalTypes[random.Below(4)];
}

void Editor::EditNodes(int choice) {
  const bool full = network.GetNumberOfNodes() >= kMaxNodes;
  if (choice <= 1 && !full) {
    const int handle = network.AddNode(AnyType(), NewName().c_str());
    ASSERT_GE(handle, 0);
    for (int arc = 0; arc < 2; ++arc) {
      network.AddArc(AnyNode(), handle, kOrdinaryLayer);
    }
  } else if (choice <= 1 || full) {
    EXPECT_EQ(network.DeleteNode(AnyNode()), QVR_OKAY);
  } else if (choice == 2) {
    const int type = random.Below(4);
    ChangeType(AnyNode(), type == 0 ? kTypeNone : type == 1 ? 3 : AnyType());  // 3 is the type of no class
  } else {
    Rename(AnyNode());
  }
}

// A table takes over the numbers of any class, a truth table and a canonical node what they can express.
void Editor::ChangeType(int handle, int type) {
  QVR_node& node = *network.NodeAt(handle);
  const std::vector<Label> labels = LabelsOf(network, handle);
  const std::vector<int> children = ListOf(network.GetChildren(handle));
  const int oldType = node.GetType();
  EXPECT_EQ(node.ChangeType(type), type == 3 ? QVR_OUT_OF_RANGE : QVR_OKAY);
  if (type == kTypeNone) {
    EXPECT_EQ(network.CheckInvariants(), "");
    EXPECT_EQ(network.GetNumberOfParents(handle) + network.GetNumberOfChildren(handle), 0);
    EXPECT_EQ(node.ChangeType("CPT"), QVR_OKAY);
    reset = handle;
    return;
  }
  EXPECT_EQ(node.GetType(), type == 3 ? oldType : type);
  node.definition->CheckConsistency(1);
  EXPECT_TRUE(node.definition->IsConsistent()) << oldType << " to " << type;
  if (LabelsOf(network, handle) != labels) {  // "True" and "False"
    untold.insert(children.begin(), children.end());
    untold.insert(handle);
  }
  if (node.GetType() != oldType && type != kTypeCpt) {
    untold.insert(handle);
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
    const bool allowed =
        network.WouldStayAcyclic(from, to) && parents.Contains(from) == 0 &&
        QVR_nodeDefinition::TakesParent(network.NodeAt(to)->GetType(), network.NodeAt(from)->GetType());
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
  const bool isGate = IsGate(definition.GetType());  // it has two outcomes and keeps them
  const auto unlessGate = [isGate](int code) { return isGate ? QVR_WRONG_NODE_TYPE : code; };
  const std::string name = random.Chance(0.1) ? "not valid" : NewName();
  const int position = random.Below(count + 2) - 1;  // now and then no outcome's
  if (choice == 0 && count < 4) {
    EXPECT_EQ(definition.AddOutcome(name.c_str()), unlessGate(QVR_OKAY));
  } else if (choice == 1 && count < 4) {
    EXPECT_EQ(definition.InsertOutcome(position, name.c_str()),
              unlessGate(position < 0 ? QVR_OUT_OF_RANGE : QVR_OKAY));
  } else if (choice == 2) {
    const bool possible = count > 2 && position >= 0 && position < count;
    EXPECT_EQ(definition.RemoveOutcome(position), unlessGate(possible ? QVR_OKAY : QVR_OUT_OF_RANGE));
  } else if (choice == 3) {
    QVR_intArray order = ShuffledOrder(count, random);
    const bool repeats = random.Chance(0.1);
    order[0] = repeats ? order[1] : order[0];
    const int code = order[0] == 0 ? QVR_OKAY : unlessGate(QVR_OKAY);
    EXPECT_EQ(definition.ReorderOutcomes(order), repeats ? QVR_OUT_OF_RANGE : code);
  } else if (choice == 4) {
    ChangeOutcomes(definition);
  } else {
    const bool isLeaf = network.GetNumberOfChildren(definition.GetHandle()) == 0;
    const int newCount = 2 + random.Below(3);
    const int code = isLeaf ? QVR_OKAY : QVR_HAS_CHILDREN;
    EXPECT_EQ(definition.SetNumberOfOutcomes(newCount), isGate && newCount != 2 ? QVR_OUT_OF_RANGE : code);
    reset = isLeaf && definition.GetType() == kTypeCpt ? definition.GetHandle() : -1;
    if (isLeaf && reset < 0) {
      untold.insert(definition.GetHandle());
    }
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
  if (IsGate(definition.GetType())) {
    const bool isRenaming = newCount == 2 && mapping[0] == 0 && mapping[1] == 1;
    EXPECT_EQ(definition.ChangeOutcomes(names, mapping), isRenaming ? QVR_OKAY : QVR_WRONG_NODE_TYPE);
    if (!isRenaming) {
      return;
    }
  } else {
    EXPECT_EQ(definition.ChangeOutcomes(names, mapping), QVR_OKAY);
  }
  EXPECT_EQ(definition.GetNumberOfOutcomes(), newCount);
  const auto rename = [&renamed](const Label& label) {
    const auto place = renamed.find(label);
    return place == renamed.end() ? label : place->second;
  };
  for (auto& [handle, family] : before) {
    std::transform(family.outcomes.begin(), family.outcomes.end(), family.outcomes.begin(), rename);
    family.certain = rename(family.certain);
    for (auto& [parent, label] : family.idle) {
      label = rename(label);
    }
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
  constexpr TableStyle kCertain = {.zeroFraction = 0, .certainRowFraction = 1};
  for (int handle : AllNodes(network)) {
    const int count = network.NodeAt(handle)->GetNumberOfOutcomes();
    const std::vector<double> cells = CellsOf(network, handle);
    bool improper = false;
    for (auto row = cells.begin(); row != cells.end(); row += count) {
      improper = improper || std::abs(std::accumulate(row, row + count, 0.0) - 1) > 1e-12;
    }
    if (improper || random.Chance(0.1)) {
      const bool isTruthTable = network.NodeAt(handle)->GetType() == kTypeTruthTable;
      EXPECT_TRUE(SetRandomNumbers(network, handle, isTruthTable ? kCertain : kStyle, random));
    }
  }
}

}  // namespace qvr
