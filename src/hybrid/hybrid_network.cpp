#include "hybrid/hybrid_network.h"

#include <algorithm>
#include <cstdint>
#include <string>

#include "definitions/def_continuous.h"
#include "definitions/def_dchild_hparent.h"
#include "values/continuous_value.h"

namespace qvr {

namespace {

// The elements stand by combinations of just these outcomes.
bool HasRows(const QVR_defHybrid& definition, int rows) {
  return definition.FitsParents() && definition.GetSize() == rows;
}

}  // namespace

int HybridNetwork::Build() {
  AddSlots();
  for (const int handle : network.GetTopologicalOrder()) {
    if (const int status = AddSampleNode(handle); status < 0) {
      return status;
    }
    LinkNeighbours(*nodes.back());
    if (!nodes.back()->IsDiscrete()) {
      HoldFixed(Continuous(GetSize() - 1));
    }
  }
  for (const auto& node : nodes) {
    std::stable_partition(node->children.begin(), node->children.end(),
                          [this](int child) { return (*this)[child].IsDiscrete(); });
  }
  return QVR_OKAY;
}

// An identifier that two nodes share is none that a formula can name.
void HybridNetwork::AddSlots() {
  slotOf.assign(static_cast<std::size_t>(network.GetTableSize()), QVR_OUT_OF_RANGE);
  for (const int handle : network.GetTopologicalOrder()) {
    const std::string& id = network.NodeAt(handle)->GetId();
    const bool isTaken = table.FindVariable(id) >= 0;
    slotOf[static_cast<std::size_t>(handle)] =
        table.GetOrAddVariable(isTaken ? "@" + std::to_string(handle) : id);
  }
}

int HybridNetwork::AddSampleNode(int handle) {
  const QVR_node& node = *network.NodeAt(handle);
  switch (node.GetType()) {
    case kTypeCpt:
    case kTypeTruthTable:
    case kTypeCast:
    case kTypeDeMorgan:
    case kTypeNoisyMax:
    case kTypeNoisyAdder:
    case kTypeDChildHParent:
      return AddDiscreteNode(node);
    case kTypeDistribution:
    case kTypeHEquation:
      return AddContinuousNode(node);
    default:
      return QVR_OUT_OF_RANGE;
  }
}

int HybridNetwork::ListDimensions(int handle, std::vector<ParentDimension>& out, int& rows) const {
  std::int64_t stride = 1;
  const QVR_intArray& parents = network.GetParents(handle);
  for (int i = parents.GetNumItems(); i-- > 0;) {
    const QVR_node& parent = *network.NodeAt(parents[i]);
    if ((parent.GetType() & kTypeBitDiscrete) == 0) {
      continue;
    }
    const int outcomeCount = parent.GetNumberOfOutcomes();
    if (outcomeCount < 1) {
      return QVR_OUT_OF_RANGE;
    }
    out.push_back({slotOf[static_cast<std::size_t>(parents[i])], static_cast<int>(stride)});
    stride *= outcomeCount;
    if (stride > QVR_Dmatrix::kMaxElements) {
      return QVR_OUT_OF_MEMORY;
    }
  }
  rows = static_cast<int>(stride);
  return QVR_OKAY;
}

int HybridNetwork::AddDiscreteNode(const QVR_node& node) {
  std::vector<ParentDimension> dimensions;
  int rows = 0;
  if (const int status = ListDimensions(node.handle, dimensions, rows); status < 0) {
    return status;
  }
  const int outcomeCount = node.GetNumberOfOutcomes();
  if (outcomeCount < 1) {
    return QVR_OUT_OF_RANGE;
  }
  auto added =
      std::make_unique<QVR_discreteSampleNode>(node.handle, GetSize(), outcomeCount, std::move(dimensions));
  QVR_discreteSampleNode& sampleNode = *added;
  nodes.push_back(std::move(added));
  const auto* hybrid = dynamic_cast<const QVR_defHybrid*>(node.definition.get());
  if (hybrid != nullptr && !HasRows(*hybrid, rows)) {
    return QVR_OUT_OF_RANGE;
  }
  const int status =
      hybrid != nullptr ? FillFormulas(sampleNode, *hybrid) : FillCells(sampleNode, *node.definition);
  if (status < 0) {
    return status;
  }
  if (hybrid == nullptr &&
      static_cast<std::int64_t>(sampleNode.cells.size()) != static_cast<std::int64_t>(rows) * outcomeCount) {
    return QVR_OUT_OF_RANGE;
  }
  return TakeDiscreteEvidence(sampleNode, node);
}

int HybridNetwork::FillCells(QVR_discreteSampleNode& sampleNode, QVR_nodeDefinition& definition) {
  QVR_Dmatrix* matrix = nullptr;
  if (const int status = definition.GetMatrix(matrix); status < 0) {
    return status;
  }
  if (matrix == nullptr) {
    return QVR_OUT_OF_RANGE;
  }
  const std::span<const double> numbers = matrix->GetItems().Vector();
  sampleNode.cells.assign(numbers.begin(), numbers.end());
  return QVR_OKAY;
}

int HybridNetwork::FillFormulas(QVR_discreteSampleNode& sampleNode, const QVR_defHybrid& definition) {
  sampleNode.row.resize(static_cast<std::size_t>(sampleNode.outcomeCount));
  for (const auto& item : definition.GetElements().View()) {
    const auto* element = dynamic_cast<const QVR_discreteElement*>(item.get());
    if (element == nullptr || element->GetOutcomeCount() != sampleNode.outcomeCount) {
      return QVR_OUT_OF_RANGE;
    }
    for (int outcome = 0; outcome < sampleNode.outcomeCount; ++outcome) {
      if (!NamesOnlyParents(element->GetFormula(outcome), sampleNode.handle, false)) {
        return QVR_OUT_OF_RANGE;
      }
      sampleNode.formulas.emplace_back(element->GetFormula(outcome), table);
    }
  }
  return QVR_OKAY;
}

int HybridNetwork::TakeDiscreteEvidence(QVR_discreteSampleNode& sampleNode, const QVR_node& node) {
  if (node.value == nullptr) {
    return QVR_OUT_OF_RANGE;
  }
  if (node.value->HasEvidence()) {
    const int outcome = node.value->GetEvidence();
    if (outcome < 0 || outcome >= sampleNode.outcomeCount) {
      return QVR_OUT_OF_RANGE;
    }
    sampleNode.isObserved = true;
    table[sampleNode.slot] = outcome;
    return QVR_OKAY;
  }
  QVR_doubleArray likelihoods;
  if ((node.value->GetFlags() & kValueVirtualEvidence) != 0 &&
      node.value->GetVirtualEvidence(likelihoods) >= 0 && likelihoods.Length() == sampleNode.outcomeCount) {
    sampleNode.likelihoods.assign(likelihoods.View().begin(), likelihoods.View().end());
    sampleNode.hasVirtualEvidence = true;
  }
  return QVR_OKAY;
}

int HybridNetwork::AddContinuousNode(const QVR_node& node) {
  std::vector<ParentDimension> dimensions;
  int rows = 0;
  if (const int status = ListDimensions(node.handle, dimensions, rows); status < 0) {
    return status;
  }
  const auto* definition = dynamic_cast<const HybridContinuousDefinition*>(node.definition.get());
  const auto* value = dynamic_cast<const QVR_valcontinuous*>(node.value.get());
  if (definition == nullptr || value == nullptr || !HasRows(*definition, rows)) {
    return QVR_OUT_OF_RANGE;
  }
  nodes.push_back(std::make_unique<QVR_continuousSampleNode>(node.handle, GetSize(), std::move(dimensions)));
  QVR_continuousSampleNode& sampleNode = Continuous(GetSize() - 1);
  sampleNode.lowerBound = definition->GetLowerBound();
  sampleNode.upperBound = definition->GetUpperBound();
  for (const auto& item : definition->GetElements().View()) {
    if (item->IsEquation()) {
      const auto& element = static_cast<const QVR_equationElement&>(*item);
      const auto fits = [&](const auto& entry) { return NamesOnlyParents(*entry.second, node.handle, true); };
      if (!NamesOnlyParents(element.GetFormula(), node.handle, false) ||
          !std::all_of(element.GetInverses().begin(), element.GetInverses().end(), fits)) {
        return QVR_OUT_OF_RANGE;
      }
      sampleNode.equations.emplace_back(element, table);
    } else {
      const auto& element = static_cast<const QVR_distributionElement&>(*item);
      if (!NamesOnlyParents(element.GetDistribution(), node.handle, false)) {
        return QVR_OUT_OF_RANGE;
      }
      sampleNode.laws.emplace_back(element.GetDistribution(), table);
    }
  }
  if (value->HasRealEvidence()) {
    sampleNode.isObserved = true;
    table[sampleNode.slot] = value->evidenceValue;
  }
  return QVR_OKAY;
}

bool HybridNetwork::NamesOnlyParents(const QVR_expression& formula, int handle, bool mayNameItself) const {
  std::vector<std::string> names;
  formula.GetVariables(names);
  return std::all_of(names.begin(), names.end(), [&](const std::string& name) {
    const int named = network.FindNode(name.c_str());
    return named >= 0 && (network.HasArc(named, handle) || (mayNameItself && named == handle));
  });
}

void HybridNetwork::LinkNeighbours(QVR_hybridSampleNode& node) {
  for (const int parent : network.GetParents(node.handle)) {
    const int slot = slotOf[static_cast<std::size_t>(parent)];
    node.parents.push_back(slot);
    (*this)[slot].children.push_back(node.slot);
  }
  std::stable_partition(node.parents.begin(), node.parents.end(),
                        [this](int slot) { return (*this)[slot].IsDiscrete(); });
}

void HybridNetwork::HoldFixed(QVR_continuousSampleNode& node) {
  const auto isKnown = [this](int slot) { return (*this)[slot].IsKnown(); };
  if (!node.isObserved && node.IsDeterministic() &&
      std::all_of(node.parents.begin(), node.parents.end(), isKnown)) {
    node.isFixed = node.Draw(table);
  }
}

bool HybridNetwork::HasEvidence() const {
  return std::any_of(nodes.begin(), nodes.end(),
                     [](const auto& node) { return node->isObserved || node->hasVirtualEvidence; });
}

}  // namespace qvr
