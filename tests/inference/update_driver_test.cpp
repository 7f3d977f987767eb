#include <gtest/gtest.h>

#include <limits>
#include <memory>
#include <string>

#include "inference/table_rescale.h"
#include "model/dynamic_extension.h"
#include "model/error_log.h"
#include "model/network.h"
#include "support/describe_network.h"
#include "support/log_guard.h"
#include "support/network_builder.h"

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
  int status = QVR_OUT_OF_RANGE;
};

TEST(UpdateDriver, RefusesWhatNoSolverTakes) {
  constexpr const char* kHybrid = "No useful samples have been generated for some of nodes.";
  constexpr const char* kMixedDecision = "Unable to handle hybrid networks in influence diagrams.";
  constexpr const char* kMixedEquation = "Unable to handle hybrid networks with equation solver.";
  const RefusalCase cases[] = {
      {{kTypeDistribution, kTypeEquation}, kMixedEquation},
      {{kTypeEquation, kTypeCpt}, kMixedEquation},
      {{kTypeDChildHParent, kTypeCpt}, kHybrid, QVR_NO_SAMPLES},
      {{kTypeDistribution}, kHybrid, QVR_NO_SAMPLES},
      {{kTypeHEquation}, kHybrid, QVR_NO_SAMPLES},
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
    EXPECT_EQ(network.UpdateBeliefs(), refusal.status);
    EXPECT_EQ(LogGuard::Messages(refusal.status), std::vector<std::string>{refusal.message});
    // A node inside the temporal plate outweighs all others.
    GetErrorLog().Clear();
    ASSERT_EQ(network.SetDynamicType(AddOfType(network, kTypeCpt), kDynamicPlate), QVR_OKAY);
    ASSERT_EQ(network.GetDynamicExtension()->SetSliceCount(0), QVR_OKAY);
    EXPECT_EQ(network.UpdateBeliefs(), QVR_OUT_OF_RANGE);
    EXPECT_EQ(LogGuard::Messages(), std::vector<std::string>{"Number of slices must be at least 1"});
  }
}

TEST(UpdateDriver, AnswersOrRefusesEveryAlgorithm) {
  for (int id = ALG_JOIN_TREE; id <= ALG_RELEVANCE_HALVING; ++id) {
    SCOPED_TRACE(id);
    const LogGuard log;
    QVR_network network;
    network.SetBeliefAlgorithm(id);
    EXPECT_EQ(network.UpdateBeliefs(), QVR_OKAY) << "without nodes";
    const int empty = network.AddNode(kTypeNone, "empty");
    const int node = AddChance(network, "a", 2, {}, {0.25, 0.75});
    const bool solved = id != ALG_POLYTREE;  // which needs a table of every node
    EXPECT_EQ(network.UpdateBeliefs(), solved ? QVR_OKAY : QVR_OUT_OF_RANGE);
    EXPECT_EQ(LogGuard::Messages(QVR_OUT_OF_RANGE).size(), 0U);
    EXPECT_EQ(ValueOf(network, node).IsValueValid(), solved && id != ALG_LOOPY_BELIEF);
    EXPECT_EQ(network.NodeAt(empty)->value, nullptr);
  }
}

// For the discrete solvers a decision is a uniform node without parents, known once it is made. Utilities
// are nothing to them.
TEST(UpdateDriver, SolvesAroundDecisionsAndUtilities) {
  for (const int id : kExactIds) {
    QVR_network network;
    network.SetBeliefAlgorithm(id);
    const int decision = network.AddNode(kTypeList, "d");
    const int chance = AddChance(network, "c", 2, {decision}, {0.2, 0.8, 0.6, 0.4});
    const int equal = network.AddNode(kTypeTruthTable, "t");
    const int utility = network.AddNode(kTypeTable, "u");
    for (const auto& [parent, child] : {std::pair(decision, equal), {chance, equal}, {equal, utility}}) {
      ASSERT_EQ(network.AddArc(parent, child, kOrdinaryLayer), QVR_OKAY);
    }
    ASSERT_EQ(network.NodeAt(equal)->definition->SetResultingStates(QVR_intArray{1, 0, 0, 1}), QVR_OKAY);
    ASSERT_EQ(network.SolveDiscrete(), QVR_OKAY);
    EXPECT_NEAR(BeliefOf(network, equal)[1], 0.5 * 0.2 + 0.5 * 0.4, 1e-12);
    ASSERT_EQ(ValueOf(network, decision).SetEvidence(1), QVR_OKAY);
    EXPECT_FALSE(ValueOf(network, chance).IsValueValid());
    ASSERT_EQ(network.SolveDiscrete(), QVR_OKAY);
    EXPECT_NEAR(BeliefOf(network, equal)[1], 0.4, 1e-12);
    ASSERT_EQ(ValueOf(network, equal).SetEvidence(1), QVR_OKAY);
    EXPECT_EQ(ValueOf(network, chance).GetEvidence(), 1);  // deduced from both
    ASSERT_EQ(ValueOf(network, decision).ClearEvidence(), QVR_OKAY);
    ASSERT_EQ(network.SolveDiscrete(), QVR_OKAY);
    EXPECT_NEAR(BeliefOf(network, chance)[0], 0.1 / (0.1 + 0.2), 1e-12);
    EXPECT_FALSE(ValueOf(network, decision).IsValueValid() || ValueOf(network, utility).IsValueValid());
  }
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
  for (int id = ALG_JOIN_TREE; id <= ALG_RELEVANCE_HALVING; ++id) {
    if (id == ALG_SELF_IMPORTANCE) {
      continue;  // of another limit
    }
    const bool samples = id != ALG_POLYTREE && id >= ALG_LOGIC_SAMPLING && id <= ALG_MESSAGE_IMPORTANCE;
    for (const bool withTarget : {false, true}) {
      SCOPED_TRACE(testing::Message() << id << withTarget);
      const LogGuard log;
      QVR_network network;
      FillSoftChain(network);
      network.SetBeliefAlgorithm(id);
      network.sampleCount = 50000;
      network.SetUpdateFlags(network.GetUpdateFlags() | UPDATE_IMMEDIATELY);
      if (withTarget) {
        network.SetTarget(1);
      }
      const std::string before = Describe(network);
      EXPECT_EQ(network.UpdateBeliefs(), QVR_OKAY);
      EXPECT_NEAR(BeliefOf(network, 1)[0], b0 / (b0 + b1), samples ? 0.02 : 1e-12);
      EXPECT_EQ(Describe(network), before);
      EXPECT_EQ(network.FindNode("@"), QVR_OUT_OF_RANGE);
      EXPECT_EQ(LogGuard::Messages(), std::vector<std::string>{});
    }
  }
}

TEST(VirtualEvidence, LeavesNoTraceWhenMemoryRunsOut) {
  const LogGuard log;
  QVR_network network;
  const int a = AddChance(network, "a", 4, {}, {0.2, 0.3, 0.4, 0.1});
  const int b = AddChance(network, "b", 2, {a}, {0.9, 0.1, 0.4, 0.6, 0.3, 0.7, 0.5, 0.5});
  ASSERT_EQ(SetLikelihoods(network, a, {0.5, 0.25, 0.125, 0.125}), QVR_OKAY);
  ASSERT_EQ(SetLikelihoods(network, b, {0.75, 0.25}), QVR_OKAY);
  network.SetUpdateFlags(network.GetUpdateFlags() | UPDATE_IMMEDIATELY);
  const std::string before = Describe(network);
  QVR_Dmatrix::SetMemoryCeiling(0);
  EXPECT_EQ(network.UpdateBeliefs(), QVR_OUT_OF_MEMORY);
  QVR_Dmatrix::SetMemoryCeiling(std::int64_t{1} << 40);
  EXPECT_EQ(Describe(network), before);
  EXPECT_EQ(network.UpdateBeliefs(), QVR_OKAY);
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
