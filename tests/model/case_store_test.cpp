// The saved cases of a network, and how they follow what happens to it.
#include <gtest/gtest.h>

#include <map>
#include <set>

#include "support/network_builder.h"
#include "support/random_network.h"

namespace qvr {
namespace {

using Pairs = std::vector<std::pair<int, int>>;

TEST(CaseStore, NamesAreUniqueAndNeverEmpty) {
  QVR_network network;
  QVR_caseStore& store = network.GetCases();
  QVR_case* const first = store.AddCase("a");
  EXPECT_EQ(store.AddCase("a"), nullptr);
  EXPECT_EQ(store.AddCase(""), nullptr);
  QVR_case* const second = store.AddCase("A");
  ASSERT_TRUE(first != nullptr && second != nullptr);
  EXPECT_EQ(first->SetName("A"), QVR_DUPLICATED_IDENTIFIER);
  EXPECT_EQ(first->SetName("a"), QVR_OKAY);
  EXPECT_EQ(first->SetName("b"), QVR_OKAY);
  EXPECT_EQ(second->SetName("a"), QVR_OKAY);  // free again
  EXPECT_EQ(store.GetCase(1), second);
  EXPECT_TRUE(store.GetCase(2) == nullptr && store.GetCase(-1) == nullptr);
  EXPECT_EQ(network.CheckInvariants(), "");
  network.CleanUp(1);
  EXPECT_EQ(store.GetCount(), 0);
  EXPECT_NE(store.AddCase("a"), nullptr);
}

TEST(CaseStore, EvidenceIsTestedAndReadBackByItsKind) {
  QVR_network network;
  for (int i = 0; i < 4; ++i) {
    network.AddNode(kTypeCpt, nullptr);
  }
  QVR_case& scenario = *network.GetCases().AddCase("a");
  const std::vector<double> likelihoods = {.2, .8, .5};
  struct {
    int status;
    int expected;
  } const calls[] = {
      {scenario.AddDiscreteEvidence(9, 0), -2},
      {scenario.AddDiscreteEvidence(0, 2), -2},
      {scenario.AddDiscreteEvidence(0, 1), -32},
      {scenario.AddSoftEvidence(1, likelihoods), 0},
      {scenario.AddContinuousEvidence(1, 1), -32},
      {scenario.AddContinuousEvidence(2, 2.5), 0},
      {scenario.AddTemporalEvidence(9, -1, 9), -2},
      {scenario.AddTemporalEvidence(3, -1, 9), -4},
      {scenario.AddTemporalEvidence(3, 4, 2), -2},
      {scenario.AddTemporalEvidence(3, 4, 1), 0},
      {scenario.AddTemporalEvidence(3, 0, 0), 0},
      {scenario.AddTemporalEvidence(3, 4, 0), -32},
      {scenario.AddTemporalEvidence(0, 0, 1), 0},
      {scenario.AddTarget(9), -2},
      {scenario.AddTarget(3), 0},
      {scenario.AddTarget(3), 0},
      {scenario.GetTarget(0), 3},
      {scenario.GetTarget(1), -2},
      {scenario.GetEvidenceHandle(2), 2},
      {scenario.GetEvidenceHandle(4), -2},
  };
  for (const auto& call : calls) {
    EXPECT_EQ(call.status, call.expected) << "call " << &call - calls;
  }
  int handle = 77;
  int outcome = 77;
  double value = 77;
  std::vector<double> soft;
  Pairs slices;
  EXPECT_EQ(scenario.GetDiscreteEvidence(4, handle, outcome), -2);
  EXPECT_EQ(scenario.GetDiscreteEvidence(0, handle, outcome), -51) << "it has become temporal";
  EXPECT_TRUE(handle == 77 && outcome == 77);
  EXPECT_EQ(scenario.GetContinuousEvidence(2, handle, value), QVR_OKAY);
  EXPECT_TRUE(handle == 2 && value == 2.5);
  EXPECT_EQ(scenario.GetSoftEvidence(1, handle, soft), QVR_OKAY);
  EXPECT_EQ(soft, likelihoods);
  EXPECT_EQ(scenario.GetTemporalEvidence(3, handle, slices), QVR_OKAY);
  EXPECT_EQ(slices, (Pairs{{4, 1}, {0, 0}}));
  network.NodeAt(1)->definition->InsertOutcome(1, "x");
  EXPECT_EQ(scenario.GetSoftEvidence(1, handle, soft), QVR_OKAY);
  EXPECT_EQ(soft, (std::vector<double>{.2, 0, .8, .5}));
  network.SetDynamicType(3, kDynamicPlate);
  EXPECT_EQ(scenario.GetTemporalEvidence(3, handle, slices), QVR_OKAY);
  EXPECT_EQ(slices, Pairs{}) << "there was no evidence outside the slices";
  network.GetCases().tracking = 0;
  network.DeleteNode(1);
  EXPECT_EQ(scenario.GetEvidenceHandle(1), 1);
}

// What a case holds, with names that last for handles and indices that don't.
struct Known {
  int kind = kCaseUnset;
  std::string outcome;
  std::map<int, std::string> slices;
  std::map<std::string, double> soft;
  bool operator==(const Known&) const = default;
};
struct KnownCase {
  std::map<std::string, Known> evidence;
  std::set<std::string> targets;
  bool operator==(const KnownCase&) const = default;
};
void PrintTo(const KnownCase& known, std::ostream* out) {
  for (const auto& [node, record] : known.evidence) {
    *out << node << " kind " << record.kind << ' ' << record.outcome;
    for (const auto& [slice, outcome] : record.slices) {
      *out << " [" << slice << "] " << outcome;
    }
    for (const auto& [outcome, value] : record.soft) {
      *out << ' ' << outcome << '=' << value;
    }
    *out << "; ";
  }
  for (const std::string& target : known.targets) {
    *out << " target " << target;
  }
}

// A network under random edits, and beside it what its cases must say.
class EditedCases {
 public:
  explicit EditedCases(std::uint64_t seed) : random(seed) {
    for (int i = 0; i < 6; ++i) {
      network.AddNode(kTypeCpt, NewName().c_str());
    }
    network.GetCases().AddCase("one");
    network.GetCases().AddCase("two");
  }

  void Edit() {
    const int handle = AnyNode();
    switch (random.Below(9)) {
      case 0:
        network.AddNode(kTypeCpt, NewName().c_str());
        break;
      case 1:
        if (network.GetNumberOfNodes() > 3) {
          Delete(handle);
        }
        break;
      case 2:
        network.AddArc(handle, AnyNode(), random.Below(2));
        break;
      case 3:
        ChangeType(handle);
        break;
      case 4:
        ChangePlate(handle);
        break;
      default:
        ChangeOutcomes(handle);
    }
    for (int i = 0; i < 2; ++i) {
      AddEvidence(i, AnyNode());
    }
  }

  void Check() {
    ASSERT_EQ(network.CheckInvariants(), "");
    ASSERT_EQ(network.IsAcyclic(), 1) << "cost arcs are no arcs";
    for (int i = 0; i < 2; ++i) {
      ASSERT_EQ(Read(*network.GetCases().GetCase(i)), known[i]);
    }
    const QVR_network copy(network);
    ASSERT_EQ(Read(*copy.GetCases().GetCase(1)), known[1]);
    ASSERT_EQ(copy.CheckInvariants(), "");
  }

 private:
  int AnyNode() {
    const std::vector<int> nodes = AllNodes(network);
    return nodes[static_cast<std::size_t>(random.Below(static_cast<int>(nodes.size())))];
  }
  std::string NewName() { return "x" + std::to_string(names++); }
  [[nodiscard]] std::string IdOf(int handle) const { return network.NodeAt(handle)->GetId(); }
  [[nodiscard]] std::vector<std::string> OutcomesOf(int handle) const {
    std::vector<std::string> list;
    QVR_stringArray* texts = network.NodeAt(handle)->definition->GetOutcomeNames();
    for (int i = 0; texts != nullptr && i < texts->GetNumItems(); ++i) {
      list.emplace_back(texts->Get(i));
    }
    return list;
  }

  [[nodiscard]] KnownCase Read(const QVR_case& scenario) const {
    KnownCase all;
    for (int handle : scenario.GetTargets()) {
      all.targets.insert(IdOf(handle));
    }
    for (const CaseEvidence& record : scenario.GetEvidence()) {
      const std::vector<std::string> outcomes = OutcomesOf(record.handle);
      Known& read = all.evidence[IdOf(record.handle)];
      read.kind = record.kind;
      read.outcome = record.outcome < 0 ? "" : outcomes.at(static_cast<std::size_t>(record.outcome));
      for (const auto& [slice, outcome] : record.temporal) {
        read.slices[slice] = outcomes.at(static_cast<std::size_t>(outcome));
      }
      for (std::size_t i = 0; record.kind == kCaseSoft && i < record.softEvidence.size(); ++i) {
        read.soft[outcomes.at(i)] = record.softEvidence[i];
      }
    }
    return all;
  }

  void AddEvidence(int index, int handle) {
    QVR_case& scenario = *network.GetCases().GetCase(index);
    const std::vector<std::string> outcomes = OutcomesOf(handle);
    const int count = static_cast<int>(outcomes.size());
    const int outcome = count == 0 ? -1 : random.Below(count);
    const int slice = random.Below(3);
    Known record;
    int status = -1;
    switch (random.Below(5)) {
      case 0:
        record.kind = outcome < 0 ? kCaseUnset : kCaseDiscrete;
        record.outcome = outcome < 0 ? "" : outcomes[static_cast<std::size_t>(outcome)];
        status = scenario.AddDiscreteEvidence(handle, outcome);
        break;
      case 1:
        record.kind = kCaseContinuous;
        status = scenario.AddContinuousEvidence(handle, .5);
        break;
      case 2:
        record.kind = kCaseSoft;
        for (int i = 0; i < count; ++i) {
          record.soft[outcomes[static_cast<std::size_t>(i)]] = i + .5;
        }
        status = AddSoft(scenario, handle, count);
        break;
      case 3:
        if (outcome >= 0 && scenario.AddTemporalEvidence(handle, slice, outcome) != QVR_OUT_OF_RANGE) {
          Known& there = known[index].evidence[IdOf(handle)];
          there.kind = kCaseTemporal;
          there.soft.clear();
          there.slices.try_emplace(slice, outcomes[static_cast<std::size_t>(outcome)]);
        }
        return;
      default:
        scenario.AddTarget(handle);
        known[index].targets.insert(IdOf(handle));
        return;
    }
    EXPECT_EQ(status == QVR_DUPLICATED_IDENTIFIER,
              !known[index].evidence.emplace(IdOf(handle), record).second);
  }
  static int AddSoft(QVR_case& scenario, int handle, int count) {
    std::vector<double> values;
    for (int i = 0; i < count; ++i) {
      values.push_back(i + .5);
    }
    return scenario.AddSoftEvidence(handle, values);
  }

  // Drops the records of the node for which the function is true.
  template <typename Function>
  void Follow(const std::string& id, const Function& changeAndDrop) {
    for (KnownCase& scenario : known) {
      const auto record = scenario.evidence.find(id);
      if (record != scenario.evidence.end() && changeAndDrop(record->second)) {
        scenario.evidence.erase(record);
      }
    }
  }
  void Drop(const std::string& id) {
    for (KnownCase& scenario : known) {
      scenario.evidence.erase(id);
      scenario.targets.erase(id);
    }
  }

  void Delete(int handle) {
    Drop(IdOf(handle));
    network.DeleteNode(handle);
  }

  void ChangePlate(int handle) {
    const bool wasPlate = network.GetDynamicType(handle) == kDynamicPlate;
    const bool isPlate = network.SetDynamicType(handle, random.Below(4)) == QVR_OKAY
                             ? network.GetDynamicType(handle) == kDynamicPlate
                             : wasPlate;
    if (isPlate == wasPlate) {
      return;
    }
    Follow(IdOf(handle), [isPlate](Known& record) {
      if (isPlate) {
        record.slices.clear();
        if (!record.outcome.empty()) {
          record.slices[0] = record.outcome;
        }
        record.outcome.clear();
        return false;
      }
      record.outcome = record.slices.contains(0) ? record.slices[0] : "";
      record.slices.clear();
      return record.outcome.empty();
    });
  }

  void ChangeType(int handle) {
    constexpr int kTypes[] = {kTypeCpt, kTypeTruthTable, kTypeEquation, kTypeTable, kTypeNoisyMax};
    const std::vector<std::string> before = OutcomesOf(handle);
    const bool wasEquation = network.NodeAt(handle)->GetType() == kTypeEquation;
    network.NodeAt(handle)->ChangeType(kTypes[random.Below(5)]);
    const bool isEquation = network.NodeAt(handle)->GetType() == kTypeEquation;
    if (wasEquation != isEquation) {
      Drop(IdOf(handle));
    } else {
      Replace(handle, before);
    }
  }

  // The outcomes have other names, and maybe there are more or fewer.
  void Replace(int handle, const std::vector<std::string>& before) {
    const std::vector<std::string> after = OutcomesOf(handle);
    std::map<std::string, std::string> newNames;
    for (std::size_t i = 0; i < std::min(before.size(), after.size()); ++i) {
      newNames[before[i]] = after[i];
    }
    Follow(IdOf(handle), [&](Known& record) {
      const bool hadOutcome = !record.outcome.empty();
      record.outcome = newNames[record.outcome];
      for (auto slice = record.slices.begin(); slice != record.slices.end();) {
        slice->second = newNames[slice->second];
        slice = slice->second.empty() ? record.slices.erase(slice) : std::next(slice);
      }
      std::map<std::string, double> soft;
      for (const auto& [name, value] : record.soft) {
        soft[newNames[name]] = value;
      }
      record.soft = soft;
      return (record.kind == kCaseSoft && soft.size() != after.size()) ||
             (hadOutcome && record.outcome.empty() && !LivesBySlices(handle, record));
    });
  }

  void ChangeOutcomes(int handle) {
    QVR_nodeDefinition& definition = *network.NodeAt(handle)->definition;
    const std::vector<std::string> before = OutcomesOf(handle);
    const int count = static_cast<int>(before.size());
    const int position = random.Below(count + 1);
    const std::string fresh = NewName();
    switch (random.Below(5)) {
      case 0:
        definition.SetNumberOfOutcomes(2 + random.Below(3));
        Replace(handle, before);
        break;
      case 1:
        definition.ReorderOutcomes(ShuffledOrder(count, random));
        break;
      case 2:
        if (definition.RemoveOutcome(position) == QVR_OKAY) {
          Forget(handle, before[static_cast<std::size_t>(position)]);
        }
        break;
      default:
        if (count < 6 && definition.InsertOutcome(position, fresh.c_str()) == QVR_OKAY) {
          Follow(IdOf(handle), [&fresh](Known& record) {
            if (record.kind == kCaseSoft) {
              record.soft[fresh] = 0;
            }
            return false;
          });
        }
    }
  }

  void Forget(int handle, const std::string& outcome) {
    Follow(IdOf(handle), [&](Known& record) {
      record.soft.erase(outcome);
      std::erase_if(record.slices, [&](const auto& slice) { return slice.second == outcome; });
      const bool isLost = record.outcome == outcome;
      record.outcome = isLost ? "" : record.outcome;
      return isLost && !LivesBySlices(handle, record);
    });
  }
  [[nodiscard]] bool LivesBySlices(int handle, const Known& record) const {
    return network.GetDynamicType(handle) == kDynamicPlate && record.kind != kCaseDiscrete;
  }

  TestRandom random;
  int names = 0;
  QVR_network network;
  KnownCase known[2];
};

TEST(CaseStore, FollowsRandomEdits) {
  for (std::uint64_t seed = 1; seed <= 25; ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    EditedCases edited(seed);
    for (int step = 0; step < 200; ++step) {
      edited.Edit();
      ASSERT_NO_FATAL_FAILURE(edited.Check()) << "step " << step;
    }
  }
}

// Each would take minutes if any step looked through everything that came before it.
TEST(CaseStore, GrowsInLinearTime) {
  constexpr int kMany = 30'000;
  QVR_network network;
  for (int i = 0; i < kMany; ++i) {
    network.GetCases().AddCase("case" + std::to_string(i));
    network.AddNode(kTypeCpt, nullptr);
  }
  QVR_case& scenario = *network.GetCases().GetCase(0);
  for (int i = 0; i < kMany; ++i) {
    scenario.AddDiscreteEvidence(i, 1);
    scenario.AddTarget(i);
    scenario.AddTemporalEvidence(0, kMany - i, 1);
  }
  EXPECT_EQ(scenario.GetEvidence().size() + scenario.GetTargets().size(), 2U * kMany);
  EXPECT_EQ(scenario.GetEvidence()[0].temporal.size(), 1U * kMany);
}

}  // namespace
}  // namespace qvr
