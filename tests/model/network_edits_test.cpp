// A long random life of a network, followed by a plain record of what it must hold.
#include <gtest/gtest.h>

#include <algorithm>
#include <map>

#include "support/log_guard.h"
#include "support/network_builder.h"
#include "support/random_network.h"

namespace qvr {
namespace {

constexpr int kEdits = 1500;
constexpr int kMaxNodes = 14;

struct Record {
  std::string id;
  std::vector<int> parents;
  std::vector<int> costParents;
  int outcomes = 2;
  bool target = false;
};

class Life {
 public:
  void Edit();
  void Compare();

 private:
  [[nodiscard]] int Any() {
    return std::next(records.begin(), random.Below(static_cast<int>(records.size())))->first;
  }
  [[nodiscard]] std::string AnyName() { return "name" + std::to_string(random.Below(2 * kMaxNodes)); }
  [[nodiscard]] bool IsTaken(const std::string& id, int except) const {
    return std::any_of(records.begin(), records.end(),
                       [&](const auto& r) { return r.first != except && r.second.id == id; });
  }
  [[nodiscard]] bool Reaches(int from, int to) const {
    return from == to || std::any_of(records.at(to).parents.begin(), records.at(to).parents.end(),
                                     [&](int parent) { return Reaches(from, parent); });
  }
  void Add();
  void Delete();
  void Rename();
  void ChangeArc();
  void ChangeCostArc();
  void ChangeOutcomes();
  void ChangeEvidence();
  void ChangeTarget();

  QVR_network network;
  std::map<int, Record> records;
  TestRandom random{2024};
};

void Life::Edit() {
  using Step = void (Life::*)();
  constexpr Step kSteps[] = {&Life::Add,
                             &Life::Delete,
                             &Life::Rename,
                             &Life::ChangeArc,
                             &Life::ChangeArc,
                             &Life::ChangeArc,
                             &Life::ChangeCostArc,
                             &Life::ChangeOutcomes,
                             &Life::ChangeOutcomes,
                             &Life::ChangeEvidence,
                             &Life::ChangeTarget};
  const Step step =
      records.size() < 4 ? &Life::Add : kSteps[random.Below(static_cast<int>(std::size(kSteps)))];
  (this->*step)();
}

void Life::Add() {
  if (records.size() == kMaxNodes) {
    return;
  }
  const std::string name = AnyName();
  const int handle = network.AddNode(kTypeCpt, name.c_str());
  if (IsTaken(name, -1)) {
    EXPECT_EQ(handle, -2);
  } else {
    ASSERT_EQ(records.count(handle), 0U);
    records[handle].id = name;
  }
}

void Life::Delete() {
  const int handle = Any();
  ASSERT_EQ(network.DeleteNode(handle), QVR_OKAY);
  records.erase(handle);
  for (auto& [other, record] : records) {
    std::erase(record.parents, handle);
    std::erase(record.costParents, handle);
  }
}

void Life::Rename() {
  const int handle = Any();
  const std::string name = AnyName();
  const bool taken = IsTaken(name, handle);
  EXPECT_EQ(network.NodeAt(handle)->SetId(name.c_str()), taken ? -30 : QVR_OKAY);
  if (!taken) {
    records[handle].id = name;
  }
}

void Life::ChangeArc() {
  const int from = Any();
  const int to = Any();
  std::vector<int>& parents = records[to].parents;
  const std::vector<int>& back = records[from].parents;
  const auto place = std::find(parents.begin(), parents.end(), from);
  if (place != parents.end()) {
    EXPECT_EQ(network.RemoveArc(from, to, kOrdinaryLayer), QVR_OKAY);
    parents.erase(place);
  } else if (parents.size() < 4) {
    const bool bad = from == to || std::count(back.begin(), back.end(), to) != 0;
    const int expected = bad ? -2 : Reaches(to, from) ? -11 : QVR_OKAY;
    EXPECT_EQ(network.AddArc(from, to, kOrdinaryLayer), expected);
    parents.insert(parents.end(), expected == QVR_OKAY ? 1 : 0, from);
  }
}

void Life::ChangeCostArc() {
  const int from = Any();
  const int to = Any();
  std::vector<int>& parents = records[to].costParents;
  const auto place = std::find(parents.begin(), parents.end(), from);
  if (place != parents.end() && random.Chance(0.7)) {
    EXPECT_EQ(network.RemoveArc(from, to, kCostLayer), QVR_OKAY);
    parents.erase(place);
  } else if (parents.size() < 4) {
    EXPECT_EQ(network.AddArc(from, to, kCostLayer), from == to ? -2 : QVR_OKAY);
    parents.insert(parents.end(), from == to ? 0 : 1, from);
  }
}

void Life::ChangeOutcomes() {
  const int handle = Any();
  int& outcomes = records[handle].outcomes;
  QVR_nodeDefinition& definition = *network.NodeAt(handle)->definition;
  const std::string name = "late" + std::to_string(random.Below(1000000));
  const int choice = random.Below(4);
  if (choice == 0 && outcomes < 5) {
    EXPECT_EQ(definition.InsertOutcome(random.Below(outcomes + 1), name.c_str()), QVR_OKAY);
    ++outcomes;
  } else if (choice == 1 && outcomes > 2) {
    EXPECT_EQ(definition.RemoveOutcome(random.Below(outcomes)), QVR_OKAY);
    --outcomes;
  } else if (choice == 2) {
    QVR_intArray order;
    for (int i = 0; i < outcomes; ++i) {
      order.Insert(random.Below(i + 1), i);
    }
    EXPECT_EQ(definition.ReorderOutcomes(order), QVR_OKAY);
  } else if (choice == 3 && definition.SetNumberOfOutcomes(2 + handle % 3) == QVR_OKAY) {
    outcomes = 2 + handle % 3;
  }
}

void Life::ChangeEvidence() {
  const int handle = Any();
  QVR_nodeValue& value = ValueOf(network, handle);
  if (!value.HasEvidence()) {
    value.SetEvidence(random.Below(records[handle].outcomes));
  } else {
    value.ClearEvidence();
  }
}

void Life::ChangeTarget() {
  Record& record = records[Any()];
  const int handle = network.FindNode(record.id.c_str());
  EXPECT_EQ(network.SetTarget(handle), record.target ? -2 : QVR_OKAY);
  if (record.target) {
    EXPECT_EQ(network.UnsetTarget(handle), QVR_OKAY);
  }
  record.target = !record.target;
}

void Life::Compare() {
  ASSERT_EQ(network.CheckInvariants(), "");
  ASSERT_EQ(network.GetNumberOfNodes(), static_cast<int>(records.size()));
  for (const auto& [handle, record] : records) {
    ASSERT_EQ(network.FindNode(record.id.c_str()), handle);
    const QVR_intArray& parents = network.GetParents(handle);
    ASSERT_EQ(std::vector<int>(parents.begin(), parents.end()), record.parents);
    const QVR_intArray& costParents = network.GetParents(handle, kCostLayer);
    ASSERT_EQ(std::vector<int>(costParents.begin(), costParents.end()), record.costParents);
    ASSERT_EQ(network.NodeAt(handle)->GetNumberOfOutcomes(), record.outcomes);
    ASSERT_EQ(network.IsTarget(handle), record.target ? 1 : 0);
  }
}

TEST(NetworkEdits, EveryOneLeavesTheNetworkWhole) {
  const LogGuard log;
  Life life;
  for (int edit = 0; edit < kEdits && !testing::Test::HasFailure(); ++edit) {
    SCOPED_TRACE(edit);
    life.Edit();
    life.Compare();
  }
}

}  // namespace
}  // namespace qvr
