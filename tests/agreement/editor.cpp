#include "agreement/editor.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numeric>

#include "definitions/node_definition.h"
#include "support/network_builder.h"

namespace qvr {
namespace {

constexpr int kMaxNodes = 9;
// So that evidence often decides about other nodes.
constexpr TableStyle kStyle = {.zeroFraction = 0.15, .certainRowFraction = 0.35};

std::vector<Label> LabelsOf(const QVR_network& network, int handle) {
  std::vector<Label> labels;
  QVR_nodeDefinition& definition = *network.NodeAt(handle)->definition;
  for (int i = 0; i < definition.GetNumberOfOutcomes(); ++i) {
    labels.emplace_back(handle, definition.GetOutcomeNames()->Get(i));
  }
  return labels;
}

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
    if (label.first == handle && std::count(old.outcomes.begin(), old.outcomes.end(), label) == 0) {
      return 0;
    }
  }
  const auto place = old.cells.find(cell);
  return place != old.cells.end() ? place->second : 1.0 / static_cast<double>(after.outcomes.size());
}

}  // namespace

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
  const int position = random.Below(count + 2) - 1;  // now and then no outcome's
  if (choice == 0 && count < 4) {
    EXPECT_EQ(definition.AddOutcome(name.c_str()), QVR_OKAY);
  } else if (choice == 1 && count < 4) {
    EXPECT_EQ(definition.InsertOutcome(position, name.c_str()), position < 0 ? QVR_OUT_OF_RANGE : QVR_OKAY);
  } else if (choice == 2) {
    const bool possible = count > 2 && position >= 0 && position < count;
    EXPECT_EQ(definition.RemoveOutcome(position), possible ? QVR_OKAY : QVR_OUT_OF_RANGE);
  } else if (choice == 3) {
    QVR_intArray order = ShuffledOrder(count, random);
    const bool repeats = random.Chance(0.1);
    order[0] = repeats ? order[1] : order[0];
    EXPECT_EQ(definition.ReorderOutcomes(order), repeats ? QVR_OUT_OF_RANGE : QVR_OKAY);
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

}  // namespace qvr
