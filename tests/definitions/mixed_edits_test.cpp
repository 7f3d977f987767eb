// Random edits of networks that mix chance, deterministic, decision and utility nodes: all that has to agree
// does so after each, in the network and in its copies.
#include <gtest/gtest.h>

#include <algorithm>

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
  const int kind = nodes.size() < 4 ? 0 : random.Below(14);
  if (kind < 2) {
    nodes.size() < 9 ? network.AddNode(kTypes[random.Below(5)], nullptr) : 0;
    return;
  }
  const auto pick = [&] {
    return nodes[static_cast<std::size_t>(random.Below(static_cast<int>(nodes.size())))];
  };
  const int handle = pick();
  const int other = pick();
  QVR_node& node = *network.NodeAt(handle);
  const int count = std::max(node.GetNumberOfOutcomes(), 0);
  QVR_intArray order;
  for (int i = 0; i < count; ++i) {
    order.Insert(random.Below(i + 1), i);
  }
  switch (kind) {
    case 2:
      network.RemoveArc(handle, other, kOrdinaryLayer);
      break;
    case 3:
      count < 4 ? node.definition->InsertOutcome(random.Below(count + 1), "more") : 0;
      break;
    case 4:
      node.definition->RemoveOutcome(random.Below(count + 1));
      break;
    case 5:
      node.definition->ReorderOutcomes(order);
      break;
    case 6:
      node.ChangeType(kTypes[random.Below(5)]);
      break;
    case 7:
      node.value->AddIndexingParent(other);
      break;
    case 8:
      node.value->SetEvidence(random.Below(3));
      break;
    case 9:
      SetFormulas(network, node, network.NodeAt(other)->GetId());
      break;
    case 10:
      node.SetId(("r" + std::to_string(random.Below(1000))).c_str());
      break;
    case 11:
      random.Chance(0.5) ? network.DeleteNode(handle) : 0;
      break;
    default:
      network.AddArc(handle, other, kOrdinaryLayer);
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
