// How texts become the formulas of a multi-attribute utility, and its parents with them.
#include "definitions/mau.h"
#include "model/network.h"

namespace qvr {

struct QVR_mau::Formulas {
  std::vector<ExpressionPtr> trees;
  std::vector<int> named;  // nodes, in the order of their first occurrence
  std::vector<Use> uses;   // by handle
};

int QVR_mau::SetExpressions(std::span<const std::string> texts, std::string& errorText) {
  errorText.clear();
  if (!IsReady() || network == nullptr) {
    return QVR_OBJECT_NOT_READY;
  }
  Formulas formulas;
  if (int status = ParseFormulas(texts, formulas, errorText); status < 0) {
    return status;
  }
  const std::span<const int> sizes = weights.GetDimensions().Vector();
  auto newTable = std::make_unique<MauExpressionTable>(MakeConstant(0.0));
  if (int status = newTable->Assign(sizes.first(sizes.size() - 1), std::move(formulas.trees)); status < 0) {
    return status;
  }
  QVR_Dmatrix oldWeights;
  if (int status = oldWeights.Copy(weights); status < 0) {
    return status;
  }
  // While the arcs change, the old formulas stand aside: they must not follow.
  std::unique_ptr<MauExpressionTable> oldTable = std::move(expressionTable);
  {
    const UpdateFlagsOff noUpdates(*network, UPDATE_IMMEDIATELY);
    if (int status = AddNamedParents(formulas.named); status < 0) {
      weights.Swap(oldWeights);
      expressionTable = std::move(oldTable);
      return status;
    }
    RemoveUnnamedParents(formulas.uses);
  }
  expressionTable = std::move(newTable);
  return NotifyChange(kDefinitionReplaced);
}

int QVR_mau::ParseFormulas(std::span<const std::string> texts, Formulas& out, std::string& errorText) const {
  if (texts.size() != static_cast<std::size_t>(GetExpressionCount())) {
    errorText = "Wrong matrix dimensions";
    return QVR_OUT_OF_RANGE;
  }
  out.uses = FindAllowedNodes();
  for (std::size_t i = 0; i < texts.size(); ++i) {
    std::string reason;
    ExpressionPtr formula = QVR_expression::Parse(texts[i].c_str(), &reason, nullptr);
    if (!formula) {
      errorText = "Invalid expression at index " + std::to_string(i) + ": " + reason;
      return QVR_OUT_OF_RANGE;
    }
    if (!formula->IsDeterministic()) {
      errorText = "Distributions not allowed";
      return QVR_OUT_OF_RANGE;
    }
    if (int status = AddNodesNamedBy(*formula, out, errorText); status < 0) {
      return status;
    }
    out.trees.push_back(std::move(formula));
  }
  return QVR_OKAY;
}

int QVR_mau::AddNodesNamedBy(const QVR_expression& formula, Formulas& out, std::string& errorText) const {
  std::vector<std::string> names;
  formula.GetVariables(names);
  for (const std::string& name : names) {
    const int node = network->FindNode(name.c_str());
    Use* use = node < 0 ? nullptr : &out.uses[static_cast<std::size_t>(node)];
    if (use == nullptr || *use == Use::Forbidden) {
      errorText = node < 0         ? "unknown identifier"
                  : node == handle ? "self-references not allowed"
                                   : "only non-descendant utility/ALU/MAU nodes are allowed";
      return QVR_OUT_OF_RANGE;
    }
    if (*use == Use::Allowed) {
      *use = Use::Named;
      out.named.push_back(node);
    }
  }
  return QVR_OKAY;
}

// The utility nodes that may become parents without closing a cycle.
std::vector<QVR_mau::Use> QVR_mau::FindAllowedNodes() const {
  std::vector<Use> uses(static_cast<std::size_t>(network->GetTableSize()), Use::Forbidden);
  for (int node = network->FirstNode(); node >= 0; node = network->NextNode(node)) {
    if ((network->NodeAt(node)->GetType() & kTypeBitUtility) != 0 && node != handle) {
      uses[static_cast<std::size_t>(node)] = Use::Allowed;
    }
  }
  QVR_intArray descendants;
  network->GetDescendants(handle, descendants);
  for (int node : descendants) {
    uses[static_cast<std::size_t>(node)] = Use::Forbidden;
  }
  return uses;
}

int QVR_mau::AddNamedParents(const std::vector<int>& named) {
  std::vector<int> added;
  for (int node : named) {
    if (IsKnown(node, false)) {
      continue;
    }
    if (int status = network->AddArc(node, handle, kOrdinaryLayer); status < 0) {
      while (!added.empty()) {
        network->RemoveArc(added.back(), handle, kOrdinaryLayer);
        added.pop_back();
      }
      return status;
    }
    added.push_back(node);
  }
  return QVR_OKAY;
}

void QVR_mau::RemoveUnnamedParents(const std::vector<Use>& uses) {
  QVR_intArray others;
  GetOtherParents(others);
  for (int node : others) {
    if (uses[static_cast<std::size_t>(node)] != Use::Named) {
      network->RemoveArc(node, handle, kOrdinaryLayer);
    }
  }
}

}  // namespace qvr
