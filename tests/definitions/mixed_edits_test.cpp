// Random edits of networks that mix chance, deterministic, decision and utility nodes: all that has to agree
// does so after each, in the network and in its copies.
#include <gtest/gtest.h>

#include "definitions/decision_support.h"
#include "support/log_guard.h"
#include "support/random_network.h"

namespace qvr {
namespace {

constexpr int kTypes[] = {kTypeCpt, kTypeTruthTable, kTypeList, kTypeTable, kTypeMau};

void SetFormulas(QVR_network& network, QVR_node& node, const std::string& id) {
  if (node.GetType() == kTypeMau) {
    auto& mau = dynamic_cast<QVR_mau&>(*node.definition);
    Names texts(static_cast<std::size_t>(mau.GetExpressionCount()), id);
    QVR_intArray parents;
    mau.GetOtherParents(parents);
    for (int parent : parents) {
      texts.back() += "-" + network.NodeAt(parent)->GetId();
    }
    std::string error;
    mau.SetExpressions(texts, error);
  }
}

// Refusals are welcome: they must change nothing that counts.
void EditSomething(QVR_network& network, TestRandom& random) {
  const std::vector<int> nodes = AllNodes(network);
  if (nodes.size() < 4 || (nodes.size() < 9 && random.Chance(0.1))) {
    network.AddNode(kTypes[random.Below(5)], nullptr);
    return;
  }
  const int count = static_cast<int>(nodes.size());
  const int handle = nodes[static_cast<std::size_t>(random.Below(count))];
  const int other = nodes[static_cast<std::size_t>(random.Below(count))];
  const std::string otherNode = std::to_string(other);
  const std::string outcome = std::to_string(random.Below(4));
  const std::string verbs[] = {"link " + otherNode,
                               "link " + otherNode,
                               "link " + otherNode,
                               "unlink " + otherNode,
                               "unlink " + otherNode,
                               "insert " + outcome + " x",
                               "remove " + outcome,
                               "reorder 1 0",
                               "reorder 1 2 0",
                               "observe " + outcome,
                               "name r" + outcome,
                               "delete",
                               "type " + std::to_string(kTypes[random.Below(5)])};
  const int kind = random.Below(16);
  if (kind < 13) {
    Edit(network, std::to_string(handle) + " " + verbs[kind]);
  } else if (kind == 13) {
    network.NodeAt(handle)->value->AddIndexingParent(other);
  } else if (kind == 14) {
    if (network.NodeAt(handle)->GetType() == network.NodeAt(other)->GetType()) {
      network.NodeAt(handle)->CopyDefinition(*network.NodeAt(other)->definition);
    }
  } else {
    SetFormulas(network, *network.NodeAt(handle), network.NodeAt(other)->GetId());
  }
}

// Formulas may name present utility parents only, and there is one for each combination of decisions.
std::string CheckFormulas(const QVR_network& network, int handle) {
  const auto* mau = dynamic_cast<const QVR_mau*>(network.NodeAt(handle)->definition.get());
  if (mau == nullptr || mau->GetExpressionTable() == nullptr) {
    return {};
  }
  Names named;
  for (const ExpressionPtr& formula : mau->GetExpressionTable()->View()) {
    formula->GetVariables(named);
  }
  for (const std::string& name : named) {
    const int parent = network.FindNode(name.c_str());
    if (network.GetParents(handle).Contains(parent) == 0 || (network.NodeAt(parent)->GetType() & 8) == 0) {
      return "a formula names what is no utility parent";
    }
  }
  return mau->GetExpressionTable()->GetSize() == mau->GetExpressionCount() ? "" : "formulas are missing";
}

TEST(MixedEdits, KeepEverythingInAgreement) {
  const LogGuard log;
  for (std::uint64_t seed = 1; seed <= 150; ++seed) {
    TestRandom random(seed);
    QVR_network network;
    network.SetUpdateFlags(network.GetUpdateFlags() | (seed % 2 == 1 ? UPDATE_IMMEDIATELY : 0));
    for (int step = 0; step < 60; ++step) {
      SCOPED_TRACE("seed " + std::to_string(seed) + ", step " + std::to_string(step));
      EditSomething(network, random);
      const QVR_network copy(network);
      for (const QVR_network* one : {static_cast<const QVR_network*>(&network), &copy}) {
        ASSERT_EQ(one->CheckInvariants(), "");
        for (int handle : AllNodes(*one)) {
          ASSERT_EQ(CheckFormulas(*one, handle), "");
        }
      }
    }
    GetErrorLog().Clear();
  }
}

}  // namespace
}  // namespace qvr
