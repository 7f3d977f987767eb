// How texts become the formulas of a multi-attribute utility, and its parents with them.
#include <algorithm>
#include <unordered_set>

#include "definitions/mau.h"
#include "model/network.h"
#include "model/raised_flag.h"

namespace qvr {

struct QVR_mau::Formulas {
  std::vector<ExpressionPtr> trees;
  std::vector<int> named;  // nodes, in the order of their first occurrence
  std::unordered_set<int> namedSet;
};

// The parents as formulas want them, and what leads there.
struct QVR_mau::Arrangement {
  std::vector<KnownParent> parents;
  QVR_Dmatrix weights;
  std::vector<int> added;
  std::vector<int> removed;
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
  Arrangement arrangement;
  if (int status = Arrange(formulas, arrangement); status < 0) {
    return status;
  }
  if (int status = ReplaceArcs(arrangement); status < 0) {
    return status;
  }
  knownParents.swap(arrangement.parents);
  weights.Swap(arrangement.weights);
  expressionTable = std::move(newTable);
  return NotifyChange(kDefinitionReplaced);
}

int QVR_mau::ParseFormulas(std::span<const std::string> texts, Formulas& out, std::string& errorText) const {
  if (texts.size() != static_cast<std::size_t>(GetExpressionCount())) {
    errorText = "Wrong matrix dimensions";
    return QVR_OUT_OF_RANGE;
  }
  const std::vector<int> descendants = GetDescendants();
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
    std::vector<std::string> names;
    formula->GetVariables(names);
    for (const std::string& name : names) {
      const int node = network->FindNode(name.c_str());
      if (const char* fault = FindFault(node, descendants); fault != nullptr) {
        errorText = fault;
        return QVR_OUT_OF_RANGE;
      }
      if (out.namedSet.insert(node).second) {
        out.named.push_back(node);
      }
    }
    out.trees.push_back(std::move(formula));
  }
  return QVR_OKAY;
}

const char* QVR_mau::FindFault(int node, const std::vector<int>& descendants) const {
  if (node < 0) {
    return "unknown identifier";
  }
  if (node == handle) {
    return "self-references not allowed";
  }
  const bool isUtility = (network->NodeAt(node)->GetType() & kTypeBitUtility) != 0;
  return isUtility && !std::binary_search(descendants.begin(), descendants.end(), node)
             ? nullptr
             : "only non-descendant utility/ALU/MAU nodes are allowed";
}

// All at once: a matrix that follows arc by arc would be copied as often.
int QVR_mau::Arrange(const Formulas& formulas, Arrangement& out) const {
  std::unordered_set<int> missing = formulas.namedSet;
  std::vector<int> oldPlaces;  // of the weights of each parent that is no decision; -1 for new ones
  int place = 0;
  for (const KnownParent& known : knownParents) {
    const bool stays = known.isDecision || missing.erase(known.handle) > 0;
    if (stays) {
      out.parents.push_back(known);
    } else {
      out.removed.push_back(known.handle);
    }
    if (!known.isDecision && stays) {
      oldPlaces.push_back(place);
    }
    place += known.isDecision ? 0 : 1;
  }
  for (int node : formulas.named) {
    if (missing.contains(node)) {
      out.parents.push_back({node, false});
      out.added.push_back(node);
      oldPlaces.push_back(-1);
    }
  }
  if (oldPlaces.empty()) {
    oldPlaces.push_back(-1);
  }
  return CopyWeights(oldPlaces, out.weights);
}

int QVR_mau::CopyWeights(const std::vector<int>& oldPlaces, QVR_Dmatrix& out) const {
  const int last = LastDimension();
  std::vector<int> sizes(weights.GetDimensions().Vector().begin(), weights.GetDimensions().Vector().end());
  sizes.back() = static_cast<int>(oldPlaces.size());
  if (int status = out.SetDimensions(sizes); status < 0) {
    return status;
  }
  int cell = 0;
  for (int row = 0; row < GetExpressionCount(); ++row) {
    for (int place : oldPlaces) {
      out.Subscript(cell++) = place < 0 ? 1.0 : weights.Subscript(row * weights.GetDimension(last) + place);
    }
  }
  return QVR_OKAY;
}

// In the end either all the arcs that are wanted stand, or those that stood before.
int QVR_mau::ReplaceArcs(const Arrangement& arrangement) {
  const UpdateFlagsOff noUpdates(*network, UPDATE_IMMEDIATELY);  // arcs and weights don't fit yet
  const RaisedFlag scope(replacingParents);
  for (std::size_t i = 0; i < arrangement.added.size(); ++i) {
    const int status = network->AddArc(arrangement.added[i], handle, kOrdinaryLayer);
    if (status < 0) {
      while (i-- > 0) {
        network->RemoveArc(arrangement.added[i], handle, kOrdinaryLayer);
      }
      return status;
    }
  }
  for (int node : arrangement.removed) {
    network->RemoveArc(node, handle, kOrdinaryLayer);
  }
  return QVR_OKAY;
}

}  // namespace qvr
