#include <gtest/gtest.h>

#include <limits>
#include <memory>
#include <string>

#include "inference/table_rescale.h"
#include "model/error_log.h"
#include "model/network.h"
#include "support/log_guard.h"
#include "support/network_builder.h"
#include "support/random_network.h"

namespace qvr {
namespace {

constexpr int kExactIds[] = {ALG_JOIN_TREE, ALG_CLIQUE_TREE, ALG_RELEVANCE_BATCHES, ALG_RELEVANCE_HALVING};

// Stands for a kind of definition by nothing but its type code.
class TypeOnly : public QVR_nodeDefinition {
 public:
  TypeOnly(QVR_network& owner, int newHandle, int newType)
      : QVR_nodeDefinition(&owner, newHandle), type(newType) {}
  [[nodiscard]] int GetType() const override { return type; }
  [[nodiscard]] const char* GetTypeName() const override { return "TYPE_ONLY"; }

 private:
  int type;
};

int AddOfType(QVR_network& network, int type) {
  const int handle = network.AddNode(kTypeCpt, nullptr);
  if (type != kTypeCpt) {
    network.NodeAt(handle)->definition = std::make_unique<TypeOnly>(network, handle, type);
  }
  return handle;
}

struct RefusalCase {
  std::vector<int> types;
  const char* message;
};

TEST(UpdateDriver, NamesTheSolverThatIsMissing) {
  constexpr const char* kDecision = "The solver for influence diagrams isn't built in.";
  constexpr const char* kEquation = "The solver for equations isn't built in.";
  constexpr const char* kHybrid = "The solver for hybrid networks isn't built in.";
  constexpr const char* kMixedDecision = "Unable to handle hybrid networks in influence diagrams.";
  constexpr const char* kMixedEquation = "Unable to handle hybrid networks with equation solver.";
  const RefusalCase cases[] = {
      {{kTypeCpt, kTypeList}, kDecision},
      {{kTypeTable}, kDecision},
      {{kTypeMau, kTypeCpt}, kDecision},
      {{kTypeEquation}, kEquation},
      {{kTypeEquationScc, kTypeEquation}, kEquation},
      {{kTypeDistribution, kTypeEquation}, kMixedEquation},
      {{kTypeEquation, kTypeCpt}, kMixedEquation},
      {{kTypeDChildHParent, kTypeCpt}, kHybrid},
      {{kTypeDistribution}, kHybrid},
      {{kTypeHEquation}, kHybrid},
      {{kTypeTable, kTypeEquationScc}, kMixedDecision},
      {{kTypeHEquation, kTypeList}, kMixedDecision},
  };
  for (const RefusalCase& refusal : cases) {
    SCOPED_TRACE(testing::PrintToString(refusal.types));
    const LogGuard log;
    QVR_network network;
    for (const int type : refusal.types) {
      AddOfType(network, type);
    }
    EXPECT_EQ(network.UpdateBeliefs(), QVR_OUT_OF_RANGE);
    EXPECT_EQ(LogGuard::Messages(QVR_OUT_OF_RANGE), std::vector<std::string>{refusal.message});
    // A node inside the temporal plate outweighs all others.
    GetErrorLog().Clear();
    ASSERT_EQ(network.SetDynamicType(AddOfType(network, kTypeCpt), kDynamicPlate), QVR_OKAY);
    EXPECT_EQ(network.UpdateBeliefs(), QVR_OUT_OF_RANGE);
    EXPECT_EQ(LogGuard::Messages(),
              std::vector<std::string>{"The solver for temporal networks isn't built in."});
  }
}

TEST(UpdateDriver, AnswersOrRefusesEveryAlgorithm) {
  for (int id = ALG_JOIN_TREE; id <= ALG_RELEVANCE_HALVING; ++id) {
    SCOPED_TRACE(id);
    const LogGuard log;
    QVR_network network;
    network.SetBeliefAlgorithm(id);
    EXPECT_EQ(network.UpdateBeliefs(), QVR_OKAY) << "without nodes";
    const int node = AddChance(network, "a", 2, {}, {0.25, 0.75});
    const bool builtIn = id == ALG_JOIN_TREE || id >= ALG_CLIQUE_TREE;
    EXPECT_EQ(network.UpdateBeliefs(), builtIn ? QVR_OKAY : QVR_OUT_OF_RANGE);
    EXPECT_EQ(LogGuard::Messages(QVR_OUT_OF_RANGE).size(), builtIn ? 0U : 1U);
    EXPECT_EQ(ValueOf(network, node).IsValueValid(), builtIn);
  }
}

TEST(UpdateDriver, PassesOverNodesWithoutDefinition) {
  QVR_network network;
  const int empty = network.AddNode(kTypeNone, "empty");
  const int node = AddChance(network, "a", 2, {}, {0.25, 0.75});
  for (const int id : kExactIds) {
    network.SetBeliefAlgorithm(id);
    EXPECT_EQ(network.UpdateBeliefs(), QVR_OKAY);
    EXPECT_EQ(BeliefOf(network, node), (std::vector<double>{0.25, 0.75}));
    EXPECT_EQ(network.NodeAt(empty)->value, nullptr);
  }
}

// Everything of a network that an update must leave alone.
std::string Describe(QVR_network& network) {
  std::string text = testing::PrintToString(network.GetUpdateFlags()) + '/' +
                     testing::PrintToString(network.GetTargetCount()) + '/' + network.CheckInvariants();
  for (const int handle : AllNodes(network)) {
    const QVR_nodeValue& value = ValueOf(network, handle);
    text += '\n' + network.NodeAt(handle)->GetId() + ' ' + testing::PrintToString(network.IsTarget(handle));
    text += ' ' + testing::PrintToString(value.GetFlags() & ~kValueValid);
    for (const QVR_intArray* list : {&network.GetParents(handle), &network.GetChildren(handle)}) {
      text += testing::PrintToString(std::vector<int>(list->begin(), list->end()));
    }
  }
  return text;
}

// a -> b -> c, with likelihoods on a and c.
void FillSoftChain(QVR_network& network) {
  const int a = AddChance(network, "a", 3, {}, {0.2, 0.3, 0.5});
  const int b = AddChance(network, "b", 2, {a}, {0.9, 0.1, 0.4, 0.6, 0.3, 0.7});
  const int c = AddChance(network, "c", 2, {b}, {0.8, 0.2, 0.1, 0.9});
  ASSERT_EQ(SetLikelihoods(network, a, {0.5, 0.25, 0.25}), QVR_OKAY);
  ASSERT_EQ(SetLikelihoods(network, c, {0.75, 0.25}), QVR_OKAY);
}

TEST(VirtualEvidence, ActsAsAnObservedChildAndLeavesNoTrace) {
  // By hand: a weighs 0.1, 0.075, 0.125; then b, each state seeing c's likelihood 0.65 or 0.3.
  const double b0 = (0.1 * 0.9 + 0.075 * 0.4 + 0.125 * 0.3) * 0.65;
  const double b1 = (0.1 * 0.1 + 0.075 * 0.6 + 0.125 * 0.7) * 0.3;
  for (const int id : kExactIds) {
    for (const bool withTarget : {false, true}) {
      SCOPED_TRACE(testing::Message() << id << withTarget);
      const LogGuard log;
      QVR_network network;
      FillSoftChain(network);
      network.SetBeliefAlgorithm(id);
      network.SetUpdateFlags(network.GetUpdateFlags() | UPDATE_IMMEDIATELY);
      if (withTarget) {
        network.SetTarget(1);
      }
      const std::string before = Describe(network);
      EXPECT_EQ(network.UpdateBeliefs(), QVR_OKAY);
      EXPECT_NEAR(BeliefOf(network, 1)[0], b0 / (b0 + b1), 1e-12);
      EXPECT_EQ(Describe(network), before);
      EXPECT_EQ(network.FindNode("@"), QVR_OUT_OF_RANGE);
      EXPECT_EQ(LogGuard::Messages(), std::vector<std::string>{});
    }
  }
}

TEST(VirtualEvidence, LeavesNoTraceWhenMemoryRunsOut) {
  const LogGuard log;
  QVR_network network;
  FillSoftChain(network);
  const std::string before = Describe(network);
  QVR_Dmatrix::SetMemoryCeiling(QVR_Dmatrix::MemoryInUse());
  EXPECT_EQ(network.UpdateBeliefs(), QVR_OUT_OF_MEMORY);
  QVR_Dmatrix::SetMemoryCeiling(std::int64_t{1} << 40);
  EXPECT_EQ(Describe(network), before);
  EXPECT_EQ(network.UpdateBeliefs(), QVR_OKAY);
}

// Two posteriors of each node: with the network's settings, and by one join tree.
void ExpectSameAsJoinTree(QVR_network& network) {
  QVR_network reference(network);
  reference.SetBeliefAlgorithm(ALG_JOIN_TREE);
  ASSERT_EQ(reference.UpdateBeliefs(), QVR_OKAY);
  const std::string before = Describe(network);
  ASSERT_EQ(network.UpdateBeliefs(), QVR_OKAY);
  EXPECT_EQ(Describe(network), before);
  for (const int handle : AllNodes(network)) {
    if (network.GetTargetCount() > 0 && network.IsTarget(handle) == 0) {
      continue;
    }
    EXPECT_TRUE(ValueOf(network, handle).IsValueValid()) << handle;
    const std::vector<double> expected = BeliefOf(reference, handle);
    const std::vector<double> found = BeliefOf(network, handle);
    ASSERT_EQ(found.size(), expected.size());
    for (std::size_t i = 0; i < found.size(); ++i) {
      EXPECT_NEAR(found[i], expected[i], 1e-9) << handle;
    }
  }
}

// One target in four, evidence on one node in five.
void Ask(QVR_network& network, TestRandom& random, bool withTargets) {
  const std::vector<int> states = SampleStates(network, random);
  for (const int handle : AllNodes(network)) {
    if (withTargets && random.Chance(0.25)) {
      network.SetTarget(handle);
    }
    if (random.Chance(0.2)) {
      ValueOf(network, handle).SetEvidence(states[static_cast<std::size_t>(handle)]);
    }
  }
}

TEST(Decomposition, GivesTheSameAnswersUnderAnyThresholds) {
  constexpr const char* kThresholds[][3] = {
      {"1", "1", "0"}, {"2", "8", "1"}, {"3", "64", "16"}, {"0", "none", "-5"}, {"99999999999", "1", ""}};
  TestRandom random(99);
  for (int trial = 0; trial < 60; ++trial) {
    SCOPED_TRACE(trial);
    QVR_network network;
    const int count = 4 + random.Below(16);
    ASSERT_TRUE(FillNetwork(RandomParents(count, 3, 6, random), RandomOutcomeCounts(count, 2, 3, 1e9, random),
                            {0.1, 0.0}, random, network));
    Ask(network, random, trial % 2 == 0);
    const auto& thresholds = kThresholds[trial % 5];
    network.userProperties.Add("QVR_REL_DECOMP_THRESHOLD", thresholds[0]);
    network.userProperties.Add("QVR_REL_DECOMP_THRESHOLD2", thresholds[1]);
    network.userProperties.Add("QVR_REL_DECOMP_THRESHOLD3", thresholds[2]);
    for (const int id : {ALG_RELEVANCE_BATCHES, ALG_RELEVANCE_HALVING}) {
      network.SetBeliefAlgorithm(id);
      ExpectSameAsJoinTree(network);
    }
  }
}

// Every two of 32 roots share a child: no tree holds all at once, but a child alone needs two roots.
class PairedRoots : public testing::Test {
 protected:
  static constexpr int kRoots = 32;

  void SetUp() override {
    for (int root = 0; root < kRoots; ++root) {
      AddChance(network, nullptr, 2, {}, {0.25, 0.75});
    }
    for (int a = 0; a < kRoots; ++a) {
      for (int b = a + 1; b < kRoots; ++b) {
        AddChance(network, nullptr, 2, {a, b}, {0.9, 0.1, 0.6, 0.4, 0.5, 0.5, 0.2, 0.8});
      }
    }
  }
  void ObserveChildren() {
    for (int child = kRoots; child < network.GetNumberOfNodes(); ++child) {
      ValueOf(network, child).SetEvidence(0);
    }
  }
  int Update(int id) {
    network.SetBeliefAlgorithm(id);
    network.InvalidateAll();
    return network.UpdateBeliefs();
  }

  QVR_network network;
};

TEST_F(PairedRoots, AreSolvedInGroupsUnlessTheNetworkForbidsIt) {
  const double expected = 0.0625 * 0.9 + 0.1875 * 0.6 + 0.1875 * 0.5 + 0.5625 * 0.2;
  for (const int id : {ALG_JOIN_TREE, ALG_RELEVANCE_BATCHES, ALG_RELEVANCE_HALVING}) {
    SCOPED_TRACE(id);
    EXPECT_EQ(Update(id), QVR_OKAY);
    EXPECT_EQ(network.GetTargetCount(), 0);
    for (const int handle : AllNodes(network)) {
      ASSERT_TRUE(ValueOf(network, handle).IsValueValid());
      ASSERT_NEAR(BeliefOf(network, handle)[0], handle < kRoots ? 0.25 : expected, 1e-12);
    }
  }
  EXPECT_EQ(Update(ALG_CLIQUE_TREE), QVR_OUT_OF_MEMORY);
  network.userProperties.Add("QVR_REL_DECOMP_DISABLE_FALLBACK", nullptr);
  EXPECT_EQ(Update(ALG_JOIN_TREE), QVR_OUT_OF_MEMORY);
  EXPECT_EQ(Update(ALG_RELEVANCE_BATCHES), QVR_OKAY);
}

TEST_F(PairedRoots, AreRefusedWhereOneTargetNeedsThemAll) {
  const LogGuard log;
  ObserveChildren();
  network.SetTarget(0);
  for (const int id : kExactIds) {
    SCOPED_TRACE(id);
    EXPECT_EQ(Update(id), QVR_OUT_OF_MEMORY);
    EXPECT_FALSE(ValueOf(network, 0).IsValueValid());
    EXPECT_EQ(network.IsTarget(0), 1);
    EXPECT_EQ(network.GetTargetCount(), 1);
  }
  EXPECT_EQ(LogGuard::Messages(), std::vector<std::string>{});
}

TEST_F(PairedRoots, DontMatterToTargetsWithEvidence) {
  ObserveChildren();
  network.SetTarget(kRoots);
  for (const int id : {ALG_JOIN_TREE, ALG_RELEVANCE_BATCHES, ALG_RELEVANCE_HALVING}) {
    EXPECT_EQ(Update(id), QVR_OKAY) << id;
  }
}

TEST(Rescaling, ChangesOnlyTheExponent) {
  constexpr double kInfinity = std::numeric_limits<double>::infinity();
  const struct {
    std::vector<double> table, rescaled;
  } cases[] = {
      {{0x1p-256, 0x1p-900}, {0x1p-256, 0x1p-900}},
      {{0x1p256, 3.0}, {0x1p256, 3.0}},
      {{0.0, 0x1.8p-257, 0x1p-300}, {0.0, 0x1.8p-1, 0x1p-44}},
      {{0x1.4p256, 0x1p-9}, {0x1.4p-1, 0x1p-266}},
      {{0x3p-1074, 0x1p-1074}, {0.75, 0.25}},
      {{kInfinity, 0x1p-300}, {kInfinity, 0x1p-300}},
      {{0.0, 0.0}, {0.0, 0.0}},
      {{}, {}},
  };
  for (auto [table, rescaled] : cases) {
    const std::vector<double> before = table;
    RescaleTable(table);
    EXPECT_EQ(table, rescaled) << testing::PrintToString(before);
  }
}

TEST(Rescaling, KeepsAHubWithThousandsOfObservedChildren) {
  QVR_network network;
  network.SetUpdateFlags(0);  // no walk over the children for each of them
  const int hub = AddChance(network, "hub", 2, {}, {0.5, 0.5});
  for (int i = 0; i < 4000; ++i) {
    // By turns, so that the children's weights cancel.
    const std::vector<double> table =
        i % 2 == 0 ? std::vector<double>{0.2, 0.8, 0.3, 0.7} : std::vector<double>{0.3, 0.7, 0.2, 0.8};
    ValueOf(network, AddChance(network, nullptr, 2, {hub}, table)).SetEvidence(0);
  }
  ValueOf(network, AddChance(network, "last", 2, {hub}, {0.2, 0.8, 0.6, 0.4})).SetEvidence(0);
  for (const int id : kExactIds) {
    network.SetBeliefAlgorithm(id);
    EXPECT_EQ(network.UpdateBeliefs(), QVR_OKAY);
    EXPECT_NEAR(BeliefOf(network, hub)[0], 0.25, 1e-9) << id;
  }
}

}  // namespace
}  // namespace qvr
