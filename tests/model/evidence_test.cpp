// What evidence deduces and invalidates, against d-separation and by example.
#include <gtest/gtest.h>

#include <set>
#include <string>

#include "support/log_guard.h"
#include "support/network_builder.h"
#include "support/random_network.h"

namespace qvr {
namespace {

bool IsValid(QVR_network& network, int handle) { return ValueOf(network, handle).IsValueValid(); }

void MarkAllValid(QVR_network& network) {
  for (int handle : AllNodes(network)) {
    ValueOf(network, handle).SetValueValid();
  }
}

// Whether anything observed about `source` tells of `other`: a path in the moral graph of all ancestors.
bool AreConnected(QVR_network& network, int source, int other, const std::set<int>& observed,
                  const std::set<int>& soft) {
  std::set<int> family = {source, other};
  family.insert(observed.begin(), observed.end());
  family.insert(soft.begin(), soft.end());
  std::vector<int> open(family.begin(), family.end());
  while (!open.empty()) {
    const int node = open.back();
    open.pop_back();
    for (int parent : network.GetParents(node)) {
      if (family.insert(parent).second) {
        open.push_back(parent);
      }
    }
  }
  std::vector<std::set<int>> moral(static_cast<std::size_t>(network.GetTableSize()));
  for (int node : family) {
    std::vector<int> clique(network.GetParents(node).begin(), network.GetParents(node).end());
    clique.push_back(node);
    for (int a : clique) {
      moral[static_cast<std::size_t>(a)].insert(clique.begin(), clique.end());
    }
  }
  std::set<int> reached = {source};
  open = {source};
  while (!open.empty()) {
    const int node = open.back();
    open.pop_back();
    for (int next : moral[static_cast<std::size_t>(node)]) {
      if (!observed.contains(next) && reached.insert(next).second) {
        open.push_back(next);
      }
    }
  }
  return reached.contains(other);
}

TEST(Evidence, InvalidatesExactlyWhatIsNotSeparated) {
  TestRandom random(7);
  for (int trial = 0; trial < 60; ++trial) {
    QVR_network network;
    ASSERT_TRUE(FillNetwork(RandomParents(9, 3, 9, random), std::vector<int>(9, 2), {}, random, network));
    std::set<int> observed;
    std::set<int> soft;
    for (int node = 0; node < 9; ++node) {
      if (random.Chance(0.15)) {
        ASSERT_EQ(SetLikelihoods(network, node, {0.3, 0.7}), 0);
        soft.insert(node);
      }
    }
    for (int step = 0; step < 25; ++step) {
      SCOPED_TRACE("trial " + std::to_string(trial) + " step " + std::to_string(step));
      MarkAllValid(network);
      const int node = random.Below(9);
      const bool retracts = observed.contains(node) && random.Chance(0.6);
      ASSERT_EQ(retracts ? ValueOf(network, node).ClearEvidence()
                         : ValueOf(network, node).SetEvidence(random.Below(2)),
                0);
      observed.erase(node);
      soft.erase(node);
      for (int other : AllNodes(network)) {
        if (other != node && !observed.contains(other)) {
          ASSERT_EQ(IsValid(network, other), !AreConnected(network, node, other, observed, soft))
              << "node " << node << " other " << other;
        }
      }
      ASSERT_EQ(IsValid(network, node), !retracts);
      if (!retracts) {
        observed.insert(node);
      }
    }
  }
}

TEST(Evidence, DeductionsRunBothWaysAndGoWithTheirCause) {
  LogGuard log;
  QVR_network network;
  const int a = AddChance(network, "a", 2, {}, {0.5, 0.5});
  const int b = AddChance(network, "b", 2, {a}, {1, 0, 0, 1});
  const int c = AddChance(network, "c", 2, {b}, {0, 1, 1, 0});
  const int d = AddChance(network, "d", 2, {b}, {0.5, 0.5, 1, 0});
  ASSERT_EQ(ValueOf(network, b).SetEvidence(1), 0);
  EXPECT_EQ(ValueOf(network, a).GetEvidence(), 1);
  EXPECT_EQ(ValueOf(network, c).GetEvidence(), 0);
  EXPECT_EQ(ValueOf(network, d).GetEvidence(), 0);
  EXPECT_EQ(ValueOf(network, a).SetEvidence(0), -26);  // the deduction stands
  EXPECT_EQ(ValueOf(network, a).GetEvidence(), 1);
  QVR_intArray list;
  network.GetEvidenceNodes(list);
  EXPECT_EQ(list.GetNumItems(), 4);
  ASSERT_EQ(ValueOf(network, b).ClearEvidence(), 0);
  for (int handle : {a, b, c, d}) {
    EXPECT_EQ(ValueOf(network, handle).GetFlags(), 0);
  }
  EXPECT_EQ(GetErrorLog().GetCount(), 0);
}

TEST(Evidence, ADeducedNodeWithNothingObservedBelowBlocks) {
  QVR_network network;
  const int a = AddChance(network, "a", 2, {}, {0.5, 0.5});
  const int b = AddChance(network, "b", 2, {}, {0.5, 0.5});
  const int c = AddChance(network, "c", 2, {}, {0.5, 0.5});
  const int sink =
      AddChance(network, "s", 2, {a, b, c}, {1, 0, 1, 0, 1, 0, 1, 0, 0.1, 0.9, 0.2, 0.8, 0.3, 0.7, 0.4, 0.6});
  ASSERT_EQ(ValueOf(network, a).SetEvidence(0), 0);
  ASSERT_EQ(ValueOf(network, sink).GetEvidence(), 0);
  MarkAllValid(network);
  ASSERT_EQ(ValueOf(network, b).SetEvidence(0), 0);
  EXPECT_TRUE(IsValid(network, c));
}

TEST(Evidence, ATableOfTheWrongShapeDeducesNothing) {
  for (const std::vector<int>& shape : {std::vector<int>{1, 2}, {2}, {2, 2, 2}, {2, 1}}) {
    QVR_network network;
    const int a = AddChance(network, "a", 2, {}, {0.5, 0.5});
    const int b = AddChance(network, "b", 2, {a}, {0.5, 0.5, 0, 1});
    ASSERT_EQ(TableOf(network, b)->SetDimensions(shape), 0);
    EXPECT_EQ(ValueOf(network, a).SetEvidence(1), 0);
    EXPECT_FALSE(ValueOf(network, b).HasEvidence());
    EXPECT_EQ(ValueOf(network, b).SetEvidence(1), 0);
  }
}

TEST(Evidence, RefusalsNameTheNodes) {
  LogGuard log;
  QVR_network network;
  const int a = AddChance(network, "a", 2, {}, {0.5, 0.5});
  const int b = AddChance(network, "b", 2, {a}, {1, 0, 0.5, 0.5});
  const int c = AddChance(network, "c", 2, {a}, {0.5, 0.5, 0, 1});
  network.NodeAt(b)->definition->RenameOutcome(1, "high");
  ASSERT_EQ(ValueOf(network, a).SetEvidence(0), 0);
  ASSERT_EQ(ValueOf(network, b).ClearPropagatedEvidence(), 0);  // or the deduction would refuse first
  EXPECT_EQ(ValueOf(network, b).SetEvidence(1), -2);
  EXPECT_EQ(ValueOf(network, b).GetEvidence(), 0);  // deduced again by the retraction
  EXPECT_EQ(log.Messages(-2), std::vector<std::string>{"Outcome [high] of node [b] is impossible"});
  ASSERT_EQ(ValueOf(network, a).ClearEvidence(), 0);
  network.SetUpdateFlags(UPDATE_TRACK_CHANGES);
  ASSERT_EQ(ValueOf(network, b).SetEvidence(1), 0);  // only a = State1
  network.SetUpdateFlags(UPDATE_TRACK_CHANGES | UPDATE_PROPAGATE_EVIDENCE);
  EXPECT_EQ(ValueOf(network, c).SetEvidence(0), -26);  // only a = State0, which then has b = State0
  EXPECT_EQ(ValueOf(network, a).GetEvidence(), 1);     // deduced by the retraction, as the outcome of c
  EXPECT_EQ(ValueOf(network, c).GetEvidence(), 1);
  EXPECT_EQ(log.Messages(-26),
            std::vector<std::string>{"ERROR: conficting evidence between nodes [a] and [b]"});
}

TEST(Evidence, SwitchesAndMasksAreObeyed) {
  const struct {
    const char* name;
    unsigned updateFlags;
    unsigned mask;
    bool deduces;
    bool invalidates;
  } cases[] = {
      {"all on", UPDATE_TRACK_CHANGES | UPDATE_PROPAGATE_EVIDENCE, 463, true, true},
      {"no deductions", UPDATE_TRACK_CHANGES, 463, false, true},
      {"no tracking", UPDATE_PROPAGATE_EVIDENCE, 463, false, false},
      {"masked", UPDATE_TRACK_CHANGES | UPDATE_PROPAGATE_EVIDENCE, 463 & ~4U, false, false},
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(row.name);
    QVR_network network;
    const int a = AddChance(network, "a", 2, {}, {0.5, 0.5});
    const int b = AddChance(network, "b", 2, {a}, {1, 0, 0, 1});
    const int c = AddChance(network, "c", 2, {b}, {0.2, 0.8, 0.4, 0.6});
    MarkAllValid(network);
    network.SetUpdateFlags(row.updateFlags);
    network.SetRelevanceMask(row.mask);
    EXPECT_EQ(ValueOf(network, a).SetEvidence(1), 0);
    EXPECT_EQ(ValueOf(network, b).HasEvidence(), row.deduces);
    EXPECT_EQ(IsValid(network, c), !row.invalidates);
    MarkAllValid(network);
    EXPECT_EQ(network.ClearAllEvidence(), 0);
    EXPECT_EQ(network.GetUpdateFlags(), row.updateFlags);
    EXPECT_EQ(ValueOf(network, a).GetFlags(), 0);
    EXPECT_EQ(ValueOf(network, b).GetFlags(), row.deduces ? 0 : kValueValid);
    EXPECT_TRUE(IsValid(network, c));  // nothing else is touched
  }
}

TEST(Evidence, ImmediateUpdatesFollowEveryChange) {
  LogGuard log;
  QVR_network network;
  const int a = AddChance(network, "a", 2, {}, {0.5, 0.5});
  const int b = AddChance(network, "b", 2, {a}, {0.9, 0.1, 0.2, 0.8});
  network.SetUpdateFlags(network.GetUpdateFlags() | UPDATE_IMMEDIATELY);
  ASSERT_EQ(ValueOf(network, b).SetEvidence(0), 0);
  EXPECT_NEAR(BeliefOf(network, a)[0], 0.45 / 0.55, 1e-12);
  ASSERT_EQ(SetTable(network, a, {0.2, 0.8}), 0);
  EXPECT_NEAR(BeliefOf(network, a)[0], 0.18 / 0.34, 1e-12);
  ASSERT_EQ(ValueOf(network, b).ClearEvidence(), 0);
  EXPECT_NEAR(BeliefOf(network, b)[0], 0.34, 1e-12);
  ASSERT_EQ(SetLikelihoods(network, b, {0.5, 0.5}), 0);
  EXPECT_NEAR(BeliefOf(network, a)[0], 0.2, 1e-12);
  ASSERT_EQ(network.RemoveArc(a, b, kOrdinaryLayer), 0);
  EXPECT_NEAR(BeliefOf(network, b)[0], 0.9, 1e-12);
  EXPECT_TRUE(IsValid(network, a) && IsValid(network, b));
}

TEST(Evidence, ALongChainOfCopiesIsDeducedWithoutRecursion) {
  constexpr int kLength = 100000;
  QVR_network network;
  for (int i = 0; i < kLength; ++i) {
    ASSERT_GE(AddChance(network, nullptr, 2, i > 0 ? std::vector<int>{i - 1} : std::vector<int>{},
                        i > 0 ? std::vector<double>{1, 0, 0, 1} : std::vector<double>{0.5, 0.5}),
              0);
  }
  MarkAllValid(network);
  ASSERT_EQ(ValueOf(network, kLength / 2).SetEvidence(1), 0);
  EXPECT_EQ(ValueOf(network, 0).GetEvidence(), 1);
  EXPECT_EQ(ValueOf(network, kLength - 1).GetEvidence(), 1);
  ASSERT_EQ(ValueOf(network, kLength / 2).ClearEvidence(), 0);
  EXPECT_FALSE(IsValid(network, 0) || IsValid(network, kLength - 1));
}

}  // namespace
}  // namespace qvr
