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

class MixedEdits {
 public:
  explicit MixedEdits(std::uint64_t seed) : random(seed) {
    if (seed % 2 == 1) {
      network.SetUpdateFlags(network.GetUpdateFlags() | UPDATE_IMMEDIATELY);
    }
  }

  // What it did, for a failure's message. Refusals are welcome: they must change nothing that counts.
  std::string Step() {
    const std::vector<int> nodes = AllNodes(network);
    const int kind = nodes.size() < 4 ? 0 : random.Below(14);
    const int node = Pick(nodes);
    const int other = Pick(nodes);
    const std::string where = " " + std::to_string(node) + " " + std::to_string(other);
    if (kind == 0) {
      if (nodes.size() < 9) {
        network.AddNode(kTypes[random.Below(5)], nullptr);
      }
      return "add";
    }
    if (kind <= 4) {
      network.AddArc(node, other, kOrdinaryLayer);
      return "arc" + where;
    }
    return EditNode(kind, node, other) + where;
  }

  std::string Fault() {
    std::string fault = network.CheckInvariants();
    const QVR_network copy(network);
    fault += fault.empty() ? copy.CheckInvariants() : "";
    for (int handle : AllNodes(network)) {
      if (network.NodeAt(handle)->GetType() == kTypeMau) {
        fault += CheckFormulas(handle);
      }
    }
    return fault;
  }

 private:
  int Pick(const std::vector<int>& nodes) {
    return nodes.empty() ? -1 : nodes[static_cast<std::size_t>(random.Below(static_cast<int>(nodes.size())))];
  }

  std::string EditNode(int kind, int node, int other) {
    QVR_nodeDefinition& definition = *network.NodeAt(node)->definition;
    const int count = definition.GetNumberOfOutcomes();
    switch (kind) {
      case 5:
        network.RemoveArc(node, other, kOrdinaryLayer);
        return "remove arc";
      case 6:
        if (count < 4) {
          definition.InsertOutcome(random.Below(std::max(count, 0) + 1), "more");
        }
        return "add outcome";
      case 7:
        definition.RemoveOutcome(random.Below(std::max(count, 1)));
        return "remove outcome";
      case 8:
        definition.ReorderOutcomes(Shuffled(std::max(count, 0)));
        return "reorder";
      case 9:
        network.NodeAt(node)->ChangeType(kTypes[random.Below(5)]);
        return "change type";
      case 10:
        network.NodeAt(node)->value->AddIndexingParent(other);
        network.NodeAt(other)->value->SetEvidence(random.Below(3));
        return "index and observe";
      case 11:
        SetFormulas(node, other);
        return "formulas";
      case 12:
        network.NodeAt(node)->SetId(("r" + std::to_string(random.Below(1000))).c_str());
        return "rename";
      default:
        network.DeleteNode(node);
        return "delete";
    }
  }

  QVR_intArray Shuffled(int count) {
    QVR_intArray order;
    for (int i = 0; i < count; ++i) {
      order.Insert(random.Below(i + 1), i);
    }
    return order;
  }

  void SetFormulas(int node, int other) {
    auto* mau = dynamic_cast<QVR_mau*>(network.NodeAt(node)->definition.get());
    if (mau == nullptr) {
      return;
    }
    Names texts(static_cast<std::size_t>(mau->GetExpressionCount()), network.NodeAt(other)->GetId());
    QVR_intArray parents;
    mau->GetOtherParents(parents);
    for (int parent : parents) {
      texts.back() += "-" + network.NodeAt(parent)->GetId();
    }
    std::string error;
    mau->SetExpressions(texts, error);
  }

  // Formulas may name present utility parents only, and there is one for each combination of decisions.
  std::string CheckFormulas(int handle) {
    const auto& mau = DefinitionOf<QVR_mau>(network, handle);
    const MauExpressionTable* table = mau.GetExpressionTable();
    if (table == nullptr) {
      return {};
    }
    Names named;
    for (const ExpressionPtr& formula : table->View()) {
      formula->GetVariables(named);
    }
    for (const std::string& name : named) {
      const int parent = network.FindNode(name.c_str());
      if (network.GetParents(handle).Contains(parent) == 0 || (network.NodeAt(parent)->GetType() & 8) == 0) {
        return "a formula names what is no utility parent";
      }
    }
    return table->GetSize() == mau.GetExpressionCount() ? "" : "the formulas don't number the combinations";
  }

  TestRandom random;
  QVR_network network;
};

TEST(MixedEdits, KeepEverythingInAgreement) {
  const LogGuard log;
  for (std::uint64_t seed = 1; seed <= 150; ++seed) {
    MixedEdits edits(seed);
    std::string history;
    for (int step = 0; step < 60; ++step) {
      history += edits.Step() + "; ";
      ASSERT_EQ(edits.Fault(), "") << "seed " << seed << ": " << history;
    }
    GetErrorLog().Clear();
  }
}

}  // namespace
}  // namespace qvr
