// Canonical definitions against the meaning of their models, through every change of parents and outcomes.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "definitions/cast.h"
#include "definitions/demorgan.h"
#include "definitions/noisy_adder.h"
#include "definitions/noisy_max.h"
#include "support/canonical_reference.h"
#include "support/log_guard.h"
#include "support/network_builder.h"
#include "support/random_canonical.h"

namespace qvr {
namespace {

using Doubles = std::vector<double>;

Doubles Cells(const QVR_Dmatrix& matrix) {
  return {matrix.GetItems().Vector().begin(), matrix.GetItems().Vector().end()};
}

QVR_intArray Ints(const std::vector<int>& numbers) {
  QVR_intArray array;
  array.Assign(numbers);
  return array;
}

QVR_doubleArray Numbers(const Doubles& numbers) {
  QVR_doubleArray array;
  array.Assign(numbers);
  return array;
}

void ExpectClose(const Doubles& actual, const Doubles& expected, double tolerance, const char* what) {
  ASSERT_EQ(actual.size(), expected.size()) << what;
  for (std::size_t i = 0; i < actual.size(); ++i) {
    EXPECT_NEAR(actual[i], expected[i], tolerance) << what << " cell " << i;
  }
}

// A node of the type, handle 3, below parents of 2, 3 and 2 outcomes.
void MakeFamily(int type, TestRandom& random, const TableStyle& style, QVR_network& network) {
  AddChance(network, "a", 2, {}, {.3, .7});
  AddChance(network, "b", 3, {}, {.2, .5, .3});
  AddChance(network, "c", 2, {}, {.6, .4});
  ASSERT_EQ(AddOfType(network, type, "x", 3, {0, 1, 2}), 3);
  ASSERT_TRUE(SetRandomNumbers(network, 3, style, random));
}

template <typename T>
T& DefinitionOf(QVR_network& network, int handle) {
  return dynamic_cast<T&>(*network.NodeAt(handle)->definition);
}

TEST(Canonical, TablesFollowEveryChange) {
  TestRandom random(1);
  for (int round = 0; round < 40; ++round) {
    const int type = kCanonicalTypes[round % 4];
    SCOPED_TRACE("type " + std::to_string(type));
    QVR_network network;
    MakeFamily(type, random, {.certainRowFraction = 0.2}, network);
    const auto expectReference = [&](const char* what) {
      const QVR_Dmatrix* table = TableOf(network, 3);
      ASSERT_NE(table, nullptr);
      ExpectClose(Cells(*table), ReferenceTable(network, 3), 1e-12, what);
      EXPECT_EQ(network.NodeAt(3)->definition->GetSize(), table->GetNumElements());
      EXPECT_EQ(network.CheckInvariants(), "") << what;
    };
    expectReference("fresh");

    // Other orders of parents and of their outcomes only rearrange the table.
    QVR_Dmatrix before(*TableOf(network, 3));
    QVR_nodeDefinition& parent = *network.NodeAt(1)->definition;
    const bool isGate = type == kTypeCast || type == kTypeDeMorgan;
    const QVR_intArray ofOutcomes = Ints(isGate ? std::vector{0, 2, 1} : RandomOrder(3, random));
    EXPECT_EQ(parent.ReorderOutcomes(ofOutcomes), QVR_OKAY);
    EXPECT_EQ(network.NodeAt(2)->definition->ReorderOutcomes(Ints({1, 0})), QVR_OKAY);
    EXPECT_EQ(before.PermuteItems(1, ofOutcomes), QVR_OKAY);
    EXPECT_EQ(before.PermuteItems(2, Ints({1, 0})), QVR_OKAY);
    ExpectClose(Cells(*TableOf(network, 3)), Cells(before), 1e-12, "outcomes reordered");
    expectReference("outcomes reordered");
    const std::vector<int> ofParents = RandomOrder(3, random);
    const QVR_intArray old = Ints(ofParents);
    EXPECT_EQ(network.NodeAt(3)->definition->ReorderParents(old), QVR_OKAY);
    EXPECT_EQ(before.PermuteDimensions(Ints({ofParents[0], ofParents[1], ofParents[2], 3})), QVR_OKAY);
    ExpectClose(Cells(*TableOf(network, 3)), Cells(before), 1e-12, "parents reordered");
    QVR_intArray inverse = Ints({0, 0, 0});
    for (int i = 0; i < 3; ++i) {
      inverse[old[i]] = i;
    }
    EXPECT_EQ(network.NodeAt(3)->definition->ReorderParents(inverse), QVR_OKAY);

    EXPECT_EQ(parent.InsertOutcome(1, "new"), QVR_OKAY);
    expectReference("parent outcome added");
    EXPECT_EQ(parent.RemoveOutcome(random.Below(4)), QVR_OKAY);
    expectReference("parent outcome removed");
    const QVR_network copy(network);
    EXPECT_EQ(network.RemoveArc(random.Below(3), 3, kOrdinaryLayer), QVR_OKAY);
    expectReference("parent removed");
    if (!isGate) {
      EXPECT_EQ(network.NodeAt(3)->definition->InsertOutcome(random.Below(4), "new"), QVR_OKAY);
      expectReference("outcome inserted");
      EXPECT_EQ(network.NodeAt(3)->definition->RemoveOutcome(random.Below(4)), QVR_OKAY);
      EXPECT_EQ(network.NodeAt(3)->definition->ReorderOutcomes(Ints({2, 0, 1})), QVR_OKAY);
      char message[64];
      const auto& ci = DefinitionOf<QVR_ciDefinition>(network, 3);
      // A lost outcome may leave other rows short, but never a distinguished one.
      EXPECT_NE(ci.ValidateCiWeights(ci.GetCiWeights(), message, 64), QVR_OUT_OF_RANGE);
      EXPECT_STRNE(message, "Constraints violeted");
    }
    EXPECT_EQ(copy.CheckInvariants(), "");
    ASSERT_FALSE(HasFailure());
  }
}

TEST(Canonical, GatesKeepTwoOutcomesAndRefuseBadNumbers) {
  QVR_network network;
  AddChance(network, "a", 3, {}, {.5, .25, .25});
  for (int type : {kTypeCast, kTypeDeMorgan}) {
    const int handle = network.AddNode(type, nullptr);
    EXPECT_EQ(network.AddArc(0, handle, kOrdinaryLayer), QVR_OKAY);
    QVR_nodeDefinition& definition = *network.NodeAt(handle)->definition;
    EXPECT_EQ(definition.SetNumberOfOutcomes(3), QVR_OUT_OF_RANGE);
    EXPECT_EQ(definition.ReorderOutcomes(Ints({1, 0})), QVR_WRONG_NODE_TYPE);
    EXPECT_EQ(definition.AbsorbRootParent(0), QVR_WRONG_NODE_TYPE);
    if (auto* cast = dynamic_cast<QVR_cast*>(&definition)) {
      EXPECT_EQ(cast->SetNegativeWeights(Numbers({.5, .5})), QVR_OUT_OF_RANGE);
      EXPECT_EQ(cast->SetBaseline(std::nan("")), QVR_OUT_OF_RANGE);
    } else {
      EXPECT_EQ(dynamic_cast<QVR_demorgan&>(definition).SetParentTypes(Ints({4})), QVR_OUT_OF_RANGE);
      EXPECT_EQ(dynamic_cast<QVR_demorgan&>(definition).SetPriorBelief(1.5), QVR_OUT_OF_RANGE);
    }
    // A fresh gate is undecided, and a new parent changes nothing.
    EXPECT_EQ(Cells(*TableOf(network, handle)), Doubles(6, .5));
  }
}

// Gate 1 has as many parents as gate 0, but of other sizes; gate 2 has more.
TEST(Canonical, GatesAdoptTheNumbersThatFit) {
  QVR_network network;
  AddChance(network, "two", 2, {}, {.5, .5});
  AddChance(network, "three", 3, {}, {.5, .25, .25});
  const int gates[] = {AddOfType(network, kTypeCast, "g0", 2, {0}),
                       AddOfType(network, kTypeCast, "g1", 2, {1}),
                       AddOfType(network, kTypeCast, "g2", 2, {0, 1})};
  auto& source = DefinitionOf<QVR_cast>(network, gates[0]);
  EXPECT_EQ(source.SetBaseline(.25), QVR_OKAY);
  EXPECT_EQ(source.SetPositiveWeights(Numbers({.5})), QVR_OKAY);
  for (int i : {1, 2}) {
    auto& gate = DefinitionOf<QVR_cast>(network, gates[i]);
    EXPECT_EQ(gate.AdoptFrom(source), QVR_OKAY);
    EXPECT_EQ(gate.GetBaseline(), .25);
    EXPECT_EQ(gate.GetPositiveWeights(), i == 1 ? Doubles{.5} : Doubles(2, 0.0));
    ExpectClose(Cells(*TableOf(network, gates[i])), ReferenceTable(network, gates[i]), 1e-15, "adopted");
  }
}

TEST(Canonical, FollowsArcsAndOutcomesThatComeAllAtOnce) {
  for (int type : kCanonicalTypes) {
    TestRandom random(9);
    QVR_network network;
    MakeFamily(type, random, {}, network);
    const int gate = network.AddNode(kTypeCast, "g");
    const int child = network.AddNode(type, "y");
    const bool takesGates = type == kTypeCast || type == kTypeDeMorgan;
    EXPECT_EQ(network.AddArcs(std::vector{2, 1, gate, 0}, child),
              takesGates ? QVR_OKAY : QVR_WRONG_NODE_TYPE);
    EXPECT_EQ(network.GetNumberOfParents(child), takesGates ? 4 : 2);
    ExpectClose(Cells(*TableOf(network, child)), ReferenceTable(network, child), 1e-12, "arcs");
    EXPECT_EQ(network.CheckInvariants(), "");
    EXPECT_EQ(ValueOf(network, child).SetEvidence(1), QVR_OKAY);
    EXPECT_EQ(network.NodeAt(child)->definition->SetNumberOfOutcomes(2), QVR_OKAY);
    EXPECT_TRUE(takesGates || !ValueOf(network, child).HasEvidence());
    const int bare = network.AddNode(type, "z");
    network.NodeAt(bare)->definition->CleanUp(1);
    EXPECT_EQ(network.AddArc(1, bare, kOrdinaryLayer), QVR_WRONG_NODE_TYPE);
  }
  GetErrorLog().Clear();
}

TEST(Canonical, RefusesBadParametersByName) {
  struct {
    std::vector<double> cells;
    int code;
    const char* message;
  } const cases[] = {
      {{.5, .5, 0, 1, .5, .5}, QVR_OKAY, "Ok"},
      {{-.5, 1.5, 0, 1, .5, .5}, QVR_WRONG_SIZE, "Probability less than 0"},
      {{.5, .5, .5, .5, .5, .5}, QVR_WRONG_SIZE, "Constraints violeted"},
      {{.5, .5, 0, 1, .5, .499994}, QVR_WRONG_SIZE, "Probabilities don't sum up to 1"},
      {{.5, .5, 0, 1, .5, .4999951}, QVR_OKAY, "Ok"},
      {{.5, .5, 0, 1}, QVR_OUT_OF_RANGE, "Inappropirate Dmatrix size"},
  };
  for (int type : {kTypeNoisyMax, kTypeNoisyAdder}) {
    QVR_network network;
    AddChance(network, "a", 2, {}, {.5, .5});
    network.AddNode(type, "x");
    EXPECT_EQ(network.AddArc(0, 1, kOrdinaryLayer), QVR_OKAY);
    auto& definition = DefinitionOf<QVR_ciDefinition>(network, 1);
    for (const auto& c : cases) {
      QVR_Dmatrix matrix(Ints({static_cast<int>(c.cells.size()) / 2, 2}));
      matrix.GetItems().Assign(c.cells);
      char message[64];
      EXPECT_EQ(definition.ValidateCiWeights(matrix, message, 64), c.code) << c.message;
      EXPECT_STREQ(message, c.message);
      EXPECT_EQ(definition.SetMatrix(matrix), c.code == QVR_OUT_OF_RANGE ? c.code : QVR_OKAY);
      EXPECT_TRUE(c.code == QVR_OUT_OF_RANGE || definition.IsConsistent() == (c.code == QVR_OKAY));
    }
    EXPECT_EQ(definition.RemoveOutcome(0), QVR_OUT_OF_RANGE);
    EXPECT_EQ(definition.ReorderParents(Ints({1})), QVR_OUT_OF_RANGE);
    EXPECT_EQ(network.AddArc(network.AddNode(kTypeCast, "g"), 1, kOrdinaryLayer), QVR_WRONG_NODE_TYPE);
  }
  GetErrorLog().Clear();
}

TEST(NoisyMax, CompoundParametersHaveTheLeakFoldedIn) {
  TestRandom random(5);
  QVR_network network;
  MakeFamily(kTypeNoisyMax, random, {}, network);
  auto& definition = DefinitionOf<QVR_noisyMAX>(network, 3);
  const Doubles rows = Cells(definition.GetCiWeights());
  const Doubles leak(rows.end() - 3, rows.end());
  Doubles expected;
  for (int row : {0, 2, 3, 5}) {  // the others are distinguished
    const Doubles folded = MoreSevere({rows.begin() + 3 * row, rows.begin() + 3 * row + 3}, leak);
    expected.insert(expected.end(), folded.begin(), folded.end());
  }
  expected.insert(expected.end(), leak.begin(), leak.end());
  QVR_doubleArray list;
  EXPECT_EQ(definition.GetCompoundParameterList(list), QVR_OKAY);
  ExpectClose({list.Vector().begin(), list.Vector().end()}, expected, 1e-15, "folded");
  EXPECT_EQ(definition.SetValues(Numbers(Doubles(21, 1.0 / 3))), QVR_OKAY);
  EXPECT_EQ(definition.SetCompoundParameters(list), QVR_OUT_OF_RANGE);  // no row is distinguished any more
  for (int i = 0; i < 3; ++i) {
    const int count = static_cast<int>(definition.GetStrengths(i).size());
    EXPECT_EQ(definition.PermuteParentBlock(i, Ints(RandomOrder(count, random))), QVR_OKAY);
  }
  EXPECT_EQ(definition.SetCompoundParameters(list), QVR_OKAY);
  ExpectClose(Cells(definition.GetCiWeights()), rows, 1e-12, "and back");
  list[0] = std::nan("");
  EXPECT_EQ(definition.SetCompoundParameters(list), QVR_OUT_OF_RANGE);
}

// Multiples of 1/4 make every product exact, so both must see the same.
TEST(NoisyMax, KnowsTheDeterminismOfItsTableWithoutIt) {
  constexpr double kRows[][3] = {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}, {.5, .5, 0}, {0, .75, .25}, {.25, 0, .75}};
  TestRandom random(7);
  for (int round = 0; round < 60; ++round) {
    QVR_network network;
    MakeFamily(kTypeNoisyMax, random, {}, network);
    auto& definition = DefinitionOf<QVR_noisyMAX>(network, 3);
    Doubles cells = Cells(definition.GetCiWeights());
    for (int row : {0, 2, 3, 5, 7}) {
      std::copy_n(kRows[random.Below(6)], 3, cells.begin() + 3 * row);
    }
    ASSERT_EQ(definition.SetValues(Numbers(cells)), QVR_OKAY);
    for (int code = 0; code < 3 * 4 * 3 * 3; ++code) {
      const int pattern[] = {code % 3 - 1, code / 3 % 4 - 1, code / 12 % 3 - 1, code / 36};
      const std::vector<int> counts = {2, round % 2 == 0 ? 3 : 0, 2};
      const std::vector<int> given(std::begin(pattern), std::end(pattern));
      EXPECT_EQ(definition.OnlyPossibleOutcomes(given, counts),
                definition.QVR_nodeDefinition::OnlyPossibleOutcomes(given, counts));
      for (double x : {0.0, 1.0}) {
        const int answer = definition.AllCellsEqual(x, pattern);
        EXPECT_EQ(answer, TableOf(network, 3)->AllEqual(x, pattern)) << "code " << code << " x " << x;
      }
    }
    ASSERT_FALSE(HasFailure());
  }
}

TEST(NoisyMax, FoldsParentsAndFitsTables) {
  TestRandom random(11);
  for (int round = 0; round < 12; ++round) {
    QVR_network network;
    MakeFamily(kTypeNoisyMax, random, {}, network);
    auto& definition = DefinitionOf<QVR_noisyMAX>(network, 3);
    for (int i = 0; i < 3; ++i) {  // a fit takes the last outcomes of parents for the ones without effect
      EXPECT_EQ(definition.SetParentOutcomeStrengths(i, i == 1 ? Ints({0, 1, 2}) : Ints({0, 1})), QVR_OKAY);
    }
    QVR_Dmatrix folded(*TableOf(network, 3));
    EXPECT_EQ(folded.SumOutWeighted(1, TableOf(network, 1)->GetItems()), QVR_OKAY);
    const QVR_Dmatrix original(*TableOf(network, 3));
    QVR_network fitted(network);
    EXPECT_EQ(fitted.NodeAt(3)->ChangeType(kTypeCpt), QVR_OKAY);
    ExpectClose(Cells(*TableOf(fitted, 3)), Cells(original), 0, "as a table");
    EXPECT_EQ(fitted.NodeAt(3)->ChangeType(kTypeNoisyMax), QVR_OKAY);
    double error = 0;
    for (int i = 0; i < original.GetNumElements(); ++i) {
      error += std::pow(TableOf(fitted, 3)->Subscript(i) - original.Subscript(i), 2);
    }
    EXPECT_LT(error, 1e-6);

    EXPECT_EQ(definition.AbsorbObservedParent(0), QVR_OUT_OF_RANGE);
    EXPECT_EQ(definition.AbsorbRootParent(1), QVR_OKAY);
    ExpectClose(Cells(*TableOf(network, 3)), Cells(folded), 1e-12, "root folded");
    EXPECT_EQ(ValueOf(network, 2).SetEvidence(1), QVR_OKAY);
    EXPECT_EQ(folded.Reduce(1, 1), QVR_OKAY);
    EXPECT_EQ(definition.AbsorbObservedParent(2), QVR_OKAY);
    ExpectClose(Cells(*TableOf(network, 3)), Cells(folded), 1e-12, "observation folded");
    EXPECT_EQ(network.CheckInvariants(), "");
  }
}

TEST(NoisyMax, ShortMemoryLeavesTheParameters) {
  TestRandom random(3);
  QVR_network network;
  MakeFamily(kTypeNoisyMax, random, {}, network);
  auto& definition = DefinitionOf<QVR_noisyMAX>(network, 3);
  ASSERT_NE(TableOf(network, 3), nullptr);
  const Doubles rows = Cells(definition.GetCiWeights());
  QVR_Dmatrix::SetMemoryCeiling(QVR_Dmatrix::MemoryInUse());
  EXPECT_EQ(definition.PermuteParentBlock(1, Ints({2, 1, 0})), QVR_OUT_OF_MEMORY);
  EXPECT_EQ(definition.FitToCpt(), QVR_OUT_OF_MEMORY);
  QVR_Dmatrix::SetMemoryCeiling(std::int64_t{1} << 32);
  EXPECT_FALSE(definition.IsUpToDate());
  EXPECT_EQ(Cells(definition.GetCiWeights()), rows);
}

TEST(NoisyMax, FitReachesTheTableOfOneParent) {
  QVR_network network;
  AddChance(network, "a", 3, {}, {.2, .3, .5});
  AddChance(network, "x", 2, {0}, {.9, .1, .6, .4, 0, 1});
  EXPECT_EQ(network.NodeAt(1)->ChangeType(kTypeNoisyMax), QVR_OKAY);
  ExpectClose(Cells(*TableOf(network, 1)), {.9, .1, .6, .4, 0, 1}, 1e-15, "fitted");
}

TEST(Canonical, FortyParentsNeedNoTable) {
  for (int type : {kTypeNoisyMax, kTypeNoisyAdder}) {
    QVR_network network;
    std::vector<int> parents;
    for (int i = 0; i < 40; ++i) {
      parents.push_back(AddChance(network, ("p" + std::to_string(i)).c_str(), 2, {}, {.5, .5}));
    }
    const int child = AddOfType(network, type, "x", 3, parents);
    QVR_nodeDefinition& definition = *network.NodeAt(child)->definition;
    QVR_Dmatrix* table = TableOf(network, 0);
    EXPECT_EQ(definition.GetMatrix(table), QVR_OUT_OF_MEMORY);
    EXPECT_EQ(table, nullptr);
    EXPECT_EQ(definition.GetSize(), QVR_OUT_OF_MEMORY);
    EXPECT_EQ(network.NodeAt(7)->definition->AddOutcome("more"), QVR_OKAY);
    EXPECT_EQ(ValueOf(network, child).SetEvidence(1), QVR_OKAY);
    QVR_network copy(network);
    EXPECT_EQ(copy.GetNumberOfParents(child), 40);
    EXPECT_EQ(copy.CheckInvariants(), "");
  }
}

}  // namespace
}  // namespace qvr
