#include <gtest/gtest.h>

#include <cmath>
#include <ctime>

#include "support/log_guard.h"
#include "support/network_builder.h"
#include "support/shared_answers.h"
#include "support/temporal_reference.h"

namespace qvr {
namespace {

// Random real evidence, also on slices that aren't there.
void EnterEvidence(QVR_network& network, TestRandom& random) {
  QVR_dynamicExtension& temporal = *network.GetDynamicExtension();
  for (const int handle : AllNodes(network)) {
    const int count = network.NodeAt(handle)->GetNumberOfOutcomes();
    if (random.Chance(0.3)) {
      ASSERT_EQ(ValueOf(network, handle).SetEvidence(random.Below(count)), 0);
    } else if (random.Chance(0.3)) {
      ASSERT_EQ(SetLikelihoods(network, handle, RandomTable(1, count, {}, random)), 0);
    }
    for (int i = 0; network.GetDynamicType(handle) == kDynamicPlate && i < 3; ++i) {
      const int slice = random.Below(temporal.GetSliceCount() + 2);
      ASSERT_EQ(temporal.SetTemporalEvidence(handle, slice, random.Below(count)), 0);
    }
  }
}

void ExpectForwardBackward(QVR_network& network) {
  ASSERT_EQ(network.CheckInvariants(), "");
  ASSERT_EQ(network.UpdateBeliefs(), 0);
  ASSERT_LT(LargestError(network, ForwardBackward(network)), 1e-9);
}

TEST(Temporal, AgreesWithForwardBackward) {
  struct Case {
    int plateSize, maxOrder, slices, repeats;
  };
  for (const Case& c : {Case{1, 1, 200, 1}, Case{3, 1, 30, 3}, Case{2, 2, 12, 6}, Case{2, 3, 7, 6},
                        Case{3, 3, 3, 4}, Case{2, 3, 2, 4}, Case{3, 2, 1, 4}, Case{2, 0, 4, 2}}) {
    for (int seed = 0; seed < c.repeats; ++seed) {
      SCOPED_TRACE(testing::PrintToString(std::vector<int>{c.plateSize, c.maxOrder, c.slices, seed}));
      TestRandom random(static_cast<std::uint64_t>(100 * c.slices + seed));
      QVR_network network;
      MakeRandomTemporal(network, c.plateSize, c.maxOrder, c.slices, random);
      ExpectForwardBackward(network);
      EnterEvidence(network, random);
      ExpectForwardBackward(network);
      if (testing::Test::HasFailure()) {
        return;
      }
    }
  }
}

// One edit of any kind; many are refused.
void EditSomething(QVR_network& network, int edit, TestRandom& random) {
  constexpr int kTypes[] = {kTypeCpt, kTypeNoisyMax, kTypeTruthTable, kTypeDeMorgan};
  QVR_dynamicExtension& temporal = *network.GetDynamicExtension();
  const std::vector<int> nodes = AllNodes(network);
  const int node = nodes[static_cast<std::size_t>(random.Below(static_cast<int>(nodes.size())))];
  const int other = nodes[static_cast<std::size_t>(random.Below(static_cast<int>(nodes.size())))];
  const int order = 1 + random.Below(2);
  QVR_nodeDefinition& definition = *network.NodeAt(node)->definition;
  const int count = definition.GetNumberOfOutcomes();
  switch (random.Below(12)) {
    case 0:
      count < 3 ? definition.InsertOutcome(random.Below(count + 1), nullptr) : 0;
      break;
    case 1:
      definition.RemoveOutcome(random.Below(count));
      break;
    case 2:
      definition.ReorderOutcomes(ShuffledOrder(count, random));
      break;
    case 3:
      definition.RenameOutcome(0, ("N" + std::to_string(edit)).c_str());
      break;
    case 4:
      definition.SetNumberOfOutcomes(2 + random.Below(2));
      break;
    case 5:
      network.NodeAt(node)->ChangeType(kTypes[random.Below(4)]);
      break;
    case 6:
      network.AddArc(other, node, 0);
      break;
    case 7:
      network.RemoveArc(other, node, 0);
      break;
    case 8:
      network.SetDynamicType(node, random.Below(node < 2 ? 3 : 4));
      break;
    case 9:
      temporal.AddTemporalArc(other, node, order);
      break;
    case 10:
      temporal.RemoveTemporalArc(other, node, order);
      break;
    default:
      nodes.size() > 5 && random.Chance(0.2) ? network.DeleteNode(node) : 0;
      break;
  }
}

// Tables keep the names of their node; what an edit left inconsistent gets new numbers.
void ExpectNamesAndRefill(QVR_network& network, TestRandom& random) {
  QVR_dynamicExtension& temporal = *network.GetDynamicExtension();
  for (const int handle : AllNodes(network)) {
    for (const int listed : temporal.GetTemporalOrders(handle)) {
      QVR_nodeDefinition& table = *temporal.GetTemporalDefinition(handle, listed);
      EXPECT_STREQ(table.GetOutcomeNames()->Get(0),
                   network.NodeAt(handle)->definition->GetOutcomeNames()->Get(0));
      if (!table.IsConsistent()) {
        FillRandomly(table, random);
      }
    }
    if (QVR_nodeDefinition& own = *network.NodeAt(handle)->definition; !own.IsConsistent()) {
      FillRandomly(own, random);
    }
  }
}

// Whatever is edited, the tables keep fitting, copies are independent, and updates follow.
TEST(Temporal, EditsReachTablesAndEvidence) {
  int solved = 0;
  for (std::uint64_t seed = 0; seed < 8; ++seed) {
    SCOPED_TRACE(seed);
    TestRandom random(seed);
    QVR_network network;
    MakeRandomTemporal(network, 3, 2, 4, random);
    EnterEvidence(network, random);
    for (int edit = 0; edit < 25; ++edit) {
      QVR_network before(network);
      EditSomething(network, edit, random);
      ASSERT_EQ(network.CheckInvariants(), "") << "edit " << edit;
      ASSERT_EQ(before.CheckInvariants(), "");
      ExpectNamesAndRefill(network, random);
    }
    ASSERT_EQ(network.CheckInvariants(), "");
    const TemporalAnswer expected = ForwardBackward(network);
    if (std::isfinite(expected.logLikelihood)) {  // what the evidence says may have become impossible
      ASSERT_EQ(network.UpdateBeliefs(), 0);
      ASSERT_LT(LargestError(network, expected), 1e-9);
      ++solved;
    }
  }
  EXPECT_GT(solved, 4);
}

TEST(Temporal, OutcomesKeepTheirNumbersAndEvidence) {
  QVR_network network;
  const int node = AddChance(network, "X", 3, {}, {0.5, 0.3, 0.2});
  ASSERT_EQ(network.SetDynamicType(node, kDynamicPlate), 0);
  QVR_dynamicExtension& temporal = *network.GetDynamicExtension();
  ASSERT_EQ(temporal.AddTemporalArc(node, node, 1), 0);
  QVR_nodeDefinition& table = *temporal.GetTemporalDefinition(node, 1);
  QVR_doubleArray cells;
  cells.Assign(std::vector<double>{0.1, 0.2, 0.7, 0.3, 0.3, 0.4, 0.6, 0.1, 0.3});
  ASSERT_EQ(table.SetValues(cells), 0);
  for (int slice = 0; slice < 3; ++slice) {
    ASSERT_EQ(temporal.SetTemporalEvidence(node, slice, slice), 0);
  }
  EXPECT_EQ(network.NodeAt(node)->definition->SetNumberOfOutcomes(2), QVR_HAS_CHILDREN);
  ASSERT_EQ(network.NodeAt(node)->definition->ReorderOutcomes(QVR_intArray{2, 0, 1}), 0);
  QVR_Dmatrix* matrix = nullptr;
  ASSERT_EQ(table.GetMatrix(matrix), 0);
  const auto numbers = [&] {
    return std::vector<double>(matrix->GetItems().Vector().begin(), matrix->GetItems().Vector().end());
  };
  EXPECT_EQ(numbers(), (std::vector<double>{0.3, 0.6, 0.1, 0.7, 0.1, 0.2, 0.4, 0.3, 0.3}));
  using Evidence = std::vector<std::pair<int, int>>;
  EXPECT_EQ(temporal.GetTemporalEvidence(node), (Evidence{{0, 1}, {1, 2}, {2, 0}}));
  ASSERT_EQ(network.NodeAt(node)->definition->RemoveOutcome(1), 0);
  EXPECT_EQ(numbers(), (std::vector<double>{0.3, 0.1, 0.4, 0.3}));
  EXPECT_EQ(temporal.GetTemporalEvidence(node), (Evidence{{1, 1}, {2, 0}}));
  ASSERT_EQ(network.NodeAt(node)->definition->InsertOutcome(0, "New"), 0);
  EXPECT_EQ(temporal.GetTemporalEvidence(node), (Evidence{{1, 2}, {2, 1}}));
  network.ClearAllEvidence();
  EXPECT_EQ(temporal.GetTemporalEvidence(node), Evidence());
}

// Two plate nodes under an anchor and above a terminal that is certain of what P1 is.
class SmallPlate : public testing::Test {
 protected:
  void SetUp() override {
    anchor = AddChance(network, "A", 2, {}, {0.5, 0.5});
    ASSERT_EQ(network.SetDynamicType(anchor, kDynamicAnchor), 0);
    upper = AddChance(network, "P0", 2, {}, {0.4, 0.6});
    lower = AddChance(network, "P1", 2, {}, {0.5, 0.5});
    ASSERT_EQ(network.SetDynamicType(upper, kDynamicPlate), 0);
    ASSERT_EQ(network.SetDynamicType(lower, kDynamicPlate), 0);
    ASSERT_EQ(network.AddArc(upper, lower, 0), 0);
    ASSERT_EQ(network.AddArc(anchor, upper, 0), 0);
    terminal = AddChance(network, "Z", 2, {}, {0.5, 0.5});
    ASSERT_EQ(network.SetDynamicType(terminal, kDynamicTerminal), 0);
    ASSERT_EQ(network.AddArc(lower, terminal, 0), 0);
    ASSERT_EQ(SetTable(network, terminal, {1, 0, 0, 1}), 0);
    temporal = network.GetDynamicExtension();
    ASSERT_EQ(temporal->AddTemporalArc(lower, lower, 1), 0);
    ASSERT_EQ(temporal->SetSliceCount(3), 0);
  }

  QVR_network network;
  QVR_dynamicExtension* temporal = nullptr;
  int anchor = -1, upper = -1, lower = -1, terminal = -1;
};

TEST_F(SmallPlate, RefusesAndStaysAsItWas) {
  const int utility = network.AddNode(kTypeTable, "U");
  ASSERT_EQ(network.SetDynamicType(utility, kDynamicPlate), 0);
  const int none = network.GetTableSize();
  const std::pair<const char*, std::pair<int, int>> refusals[] = {
      {"order 0", {temporal->AddTemporalArc(upper, lower, 0), -2}},
      {"bad parent", {temporal->AddTemporalArc(none, lower, 1), -2}},
      {"bad child", {temporal->AddTemporalArc(lower, -1, 1), -2}},
      {"anchor", {temporal->AddTemporalArc(anchor, lower, 1), -2}},
      {"again", {temporal->AddTemporalArc(lower, lower, 1), -2}},
      {"no outcomes", {temporal->AddTemporalArc(utility, lower, 1), -51}},
      {"absent", {temporal->RemoveTemporalArc(upper, lower, 1), -2}},
      {"other order", {temporal->RemoveTemporalArc(lower, lower, 2), -2}},
      {"same slice", {temporal->RemoveTemporalArc(upper, lower, 0), -2}},
      {"slices", {temporal->SetSliceCount(-1), -2}},
      {"evidence outside the plate", {temporal->SetTemporalEvidence(anchor, 0, 0), -2}},
      {"evidence on a bad handle", {temporal->SetTemporalEvidence(none, -1, 0), -2}},
      {"slice", {temporal->SetTemporalEvidence(lower, -1, 9), -4}},
      {"outcome", {temporal->SetTemporalEvidence(lower, 0, 2), -2}},
      {"no evidence", {temporal->ClearTemporalEvidence(lower, 0), -2}},
      {"bad handle", {network.SetDynamicType(none, 0), -2}},
      {"held by arcs, before the type is looked at", {network.SetDynamicType(lower, 4), -2}},
      {"type", {network.SetDynamicType(anchor, 4), -4}},
      {"negative type", {network.SetDynamicType(anchor, -1), -4}},
      {"child in plate", {network.SetDynamicType(anchor, kDynamicTerminal), -2}},
      {"parent in plate", {network.SetDynamicType(terminal, kDynamicNormal), -2}},
      {"arc out of the plate", {network.AddArc(terminal, lower, 0), -2}},
      {"arc from terminal to anchor", {network.AddArc(terminal, anchor, 0), -11}},
      {"no change", {network.SetDynamicType(anchor, kDynamicAnchor), 0}},
      {"a prior of slice 0 alone", {network.NodeAt(upper)->definition->AbsorbRootParent(anchor), -51}},
  };
  for (const auto& [name, codes] : refusals) {
    EXPECT_EQ(codes.first, codes.second) << name;
  }
  EXPECT_EQ(network.CheckInvariants(), "");
  const LogGuard log;
  EXPECT_EQ(network.UpdateBeliefs(), QVR_WRONG_NODE_TYPE) << "a utility can't be unrolled";
  ASSERT_EQ(network.DeleteNode(utility), 0);
  // A table of a huge order is one table. Plates of too many copies are refused in no time.
  EXPECT_EQ(temporal->AddTemporalArc(upper, lower, 2'000'000'000), 0);
  EXPECT_EQ(temporal->GetTemporalOrders(lower), (std::vector<int>{1, 2'000'000'000}));
  EXPECT_EQ(temporal->GetMaxOrder(), 2'000'000'000);
  EXPECT_EQ(network.UpdateBeliefs(), 0);
  const std::vector<double> kept = BeliefOf(network, lower);
  for (const auto& [slices, code] : {std::pair{2'000'000'000, -42}, {500'001, -42}, {0, -2}}) {
    ASSERT_EQ(temporal->SetSliceCount(slices), 0);
    EXPECT_EQ(network.UpdateBeliefs(), code);
    EXPECT_EQ(BeliefOf(network, lower), kept);
    EXPECT_FALSE(ValueOf(network, lower).IsValueValid());
  }
  EXPECT_EQ(LogGuard::Messages(QVR_OUT_OF_RANGE),
            std::vector<std::string>{"Number of slices must be at least 1"});
}

TEST_F(SmallPlate, EvidenceBelongsToItsSlice) {
  // Certain tables between plate and terminal tell nothing of slice 0.
  ASSERT_EQ(ValueOf(network, lower).SetEvidence(0), 0);
  EXPECT_FALSE(ValueOf(network, terminal).HasEvidence());
  ASSERT_EQ(ValueOf(network, terminal).SetEvidence(1), 0);
  ExpectForwardBackward(network);
  const std::vector<double> slices = BeliefOf(network, lower);
  EXPECT_EQ(slices[0], 1.0);
  EXPECT_EQ(slices[5], 1.0) << "the last slice is what the terminal says";
  ASSERT_EQ(temporal->SetTemporalEvidence(lower, 2, 0), 0);
  EXPECT_FALSE(ValueOf(network, upper).IsValueValid());
  ASSERT_EQ(temporal->SetTemporalEvidence(lower, 2, 1), 0) << "a second entry replaces the first";
  ASSERT_EQ(temporal->SetTemporalEvidence(lower, 0, 1), 0) << "outdoes the node's own";
  ExpectForwardBackward(network);
  EXPECT_EQ(BeliefOf(network, lower)[1], 1.0);
  // With immediate updates each change is seen at once.
  network.SetUpdateFlags(network.GetUpdateFlags() | UPDATE_IMMEDIATELY);
  ASSERT_EQ(temporal->ClearTemporalEvidence(lower, 0), 0);
  EXPECT_EQ(BeliefOf(network, lower)[0], 1.0);
  ASSERT_EQ(temporal->SetSliceCount(1), 0);
  EXPECT_EQ(BeliefOf(network, upper).size(), 2U);
  QVR_doubleArray cells;
  ASSERT_EQ(temporal->SetSliceCount(2), 0);
  ASSERT_EQ(ValueOf(network, terminal).ClearEvidence(), 0);
  cells.Assign(std::vector<double>{1, 0, 1, 0, 0.25, 0.75, 0.25, 0.75});
  ASSERT_EQ(temporal->GetTemporalDefinition(lower, 1)->SetValues(cells), 0);
  EXPECT_TRUE(ValueOf(network, lower).IsValueValid());
  EXPECT_LT(LargestError(network, ForwardBackward(network)), 1e-9) << "a change of a table is news";
}

// Nothing of it may depend on how many other tables there are.
TEST(Temporal, DeletesPlatesInLinearTime) {
  constexpr int kMany = 6'000;
  QVR_network network;
  std::vector<int> plate;
  for (int i = 0; i < kMany; ++i) {
    plate.push_back(network.AddNode(kTypeCpt, nullptr));
    ASSERT_EQ(network.SetDynamicType(plate.back(), kDynamicPlate), 0);
    ASSERT_EQ(network.GetDynamicExtension()->AddTemporalArc(plate.back(), plate.back(), 1), 0);
  }
  const std::clock_t start = std::clock();
  for (const int node : plate) {
    ASSERT_EQ(network.DeleteNode(node), 0);
  }
  EXPECT_LT(static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC, 2.0);
  EXPECT_EQ(network.CheckInvariants(), "");
}

// A hybrid node of the plate keeps the dimensions of its parents, with outcomes or without.
TEST(Temporal, TablesFollowTheTypesOfOrdinaryParents) {
  QVR_network network;
  const int parent = network.AddNode(kTypeCpt, "P");
  const int node = network.AddNode(kTypeDChildHParent, "X");
  ASSERT_EQ(network.SetDynamicType(node, kDynamicPlate), 0);
  ASSERT_EQ(network.AddArc(parent, node, 0), 0);
  ASSERT_EQ(network.GetDynamicExtension()->AddTemporalArc(node, node, 1), 0);
  for (const int type : {kTypeDistribution, kTypeHEquation, kTypeCpt, kTypeTable}) {
    ASSERT_EQ(network.NodeAt(parent)->ChangeType(type), 0);
    EXPECT_EQ(network.CheckInvariants(), "") << "type " << type;
  }
  EXPECT_EQ(network.GetDynamicExtension()->GetTableParents(node, 1),
            (std::vector<TemporalParent>{{node, 1}}));
}

// No single step is impossible: what isn't is the way from the first slice to what the terminal says.
TEST(Temporal, ContradictionShowsInTheSolver) {
  QVR_network network;
  const int node = AddChance(network, "X", 4, {}, {0.25, 0.25, 0.25, 0.25});
  ASSERT_EQ(network.SetDynamicType(node, kDynamicPlate), 0);
  const int terminal = AddChance(network, "Z", 2, {}, {0.5, 0.5});
  ASSERT_EQ(network.SetDynamicType(terminal, kDynamicTerminal), 0);
  ASSERT_EQ(network.AddArc(node, terminal, 0), 0);
  ASSERT_EQ(SetTable(network, terminal, {1, 0, 1, 0, 0.5, 0.5, 0.5, 0.5}), 0);
  QVR_dynamicExtension& temporal = *network.GetDynamicExtension();
  ASSERT_EQ(temporal.AddTemporalArc(node, node, 1), 0);
  QVR_doubleArray cells;
  cells.Assign(std::vector<double>{.5, .5, 0, 0, .5, .5, 0, 0, 0, 0, .5, .5, 0, 0, .5, .5});
  ASSERT_EQ(temporal.GetTemporalDefinition(node, 1)->SetValues(cells), 0);
  ASSERT_EQ(ValueOf(network, node).SetEvidence(0), 0);
  ExpectForwardBackward(network);
  const std::vector<double> before = BeliefOf(network, node);
  ASSERT_EQ(ValueOf(network, terminal).SetEvidence(1), 0);
  const LogGuard log;
  EXPECT_EQ(network.UpdateBeliefs(), QVR_ZERO_POTENTIAL);
  EXPECT_EQ(BeliefOf(network, node), before);
}

TEST(Temporal, UpdatesLongPlatesInLinearTime) {
  TestRandom random(7);
  QVR_network network;
  MakeHiddenChains(network, 2, random);
  const auto secondsOf = [&](int slices) {
    EXPECT_EQ(network.GetDynamicExtension()->SetSliceCount(slices), 0);
    const std::clock_t start = std::clock();
    EXPECT_EQ(network.UpdateBeliefs(), 0);
    return static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC;
  };
  const double first = secondsOf(500);
  EXPECT_LT(first, 4.0);                            // 0.2 are allowed in a release build on a quiet machine
  EXPECT_LT(secondsOf(4000), 8 * 4 * first + 0.5);  // nothing quadratic, and no walk deep in the stack
}

// {"slices": n, "evidence": {"P0@3": 1}, "posterior": {"P0@0": [..]}}. Counts the numbers compared.
void CompareSlices(QVR_network& network, std::istream& words, int& compared) {
  std::string section;
  int handle = -1, slice = 0, outcome = 0;
  for (std::string word; words >> word;) {
    std::erase(word, '"');
    if (word == "slices" || word == "evidence" || word == "posterior") {
      section = word;
      if (word == "posterior") {
        ASSERT_EQ(network.UpdateBeliefs(), 0);
      }
    } else if (std::isalpha(static_cast<unsigned char>(word.front())) != 0) {
      const std::size_t at = word.find('@');
      handle = network.FindNode(word.substr(0, at).c_str());
      slice = at == std::string::npos ? -1 : std::stoi(word.substr(at + 1));
      outcome = 0;
    } else if (section == "slices") {
      ASSERT_EQ(network.GetDynamicExtension()->GetSliceCount(), std::stoi(word));
    } else if (section == "evidence") {
      ASSERT_EQ(slice < 0
                    ? ValueOf(network, handle).SetEvidence(std::stoi(word))
                    : network.GetDynamicExtension()->SetTemporalEvidence(handle, slice, std::stoi(word)),
                0);
    } else {
      const int count = network.NodeAt(handle)->GetNumberOfOutcomes();
      const auto cell = static_cast<std::size_t>(std::max(slice, 0) * count + outcome++);
      EXPECT_NEAR(BeliefOf(network, handle)[cell], std::stod(word), 1e-9) << handle << " " << slice;
      ++compared;
    }
  }
}

TEST(Temporal, MatchesIndependentAnswers) {
  const std::string folder = QVR_SHARED_DIR "/answers/temporal";
  int compared = 0;
  const bool isThere = ForEachAnswer(
      folder, [&](QVR_network& network, std::istream& words) { CompareSlices(network, words, compared); });
  if (!isThere) {
    GTEST_SKIP() << "no models in " << folder;
  }
  EXPECT_GT(compared, 300);
}

}  // namespace
}  // namespace qvr
