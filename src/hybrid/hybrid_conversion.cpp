#include "hybrid/hybrid_conversion.h"

#include <memory>
#include <utility>
#include <vector>

#include "definitions/def_continuous.h"
#include "expression/isolate_variable.h"

namespace qvr {

namespace {

// Where uninformed draws of an auxiliary node may lie.
constexpr ValueRange kAuxiliaryRange = {-10.0, 10.0};

std::string AuxiliaryText(int counter) {
  auto rest = static_cast<unsigned>(counter);
  std::string text;
  do {
    text += static_cast<char>('a' + (rest & 15U));
    rest >>= 4U;
  } while (rest != 0);
  return text;
}

// A new node with its bounds.
int AddContinuousNode(QVR_network& scratch, int type, const std::string& id, const ValueRange& range) {
  const int handle = scratch.AddNode(type, id.c_str());
  if (handle < 0) {
    return handle;
  }
  auto* definition = dynamic_cast<HybridContinuousDefinition*>(scratch.NodeAt(handle)->definition.get());
  if (definition == nullptr) {
    return QVR_OUT_OF_MEMORY;
  }
  definition->SetLowerBound(range.lowerBound);
  definition->SetUpperBound(range.upperBound);
  return handle;
}

int LinkVariables(QVR_network& scratch, const QVR_expression& formula, int child) {
  std::vector<std::string> names;
  formula.GetVariables(names);
  for (const std::string& name : names) {
    const int parent = scratch.FindNode(name.c_str());
    if (scratch.HasArc(parent, child)) {
      continue;
    }
    if (const int status = scratch.AddArc(parent, child, kOrdinaryLayer); status < 0) {
      return status;
    }
  }
  return QVR_OKAY;
}

int PlaceOnlyElement(QVR_network& scratch, int handle, std::unique_ptr<QVR_Helement> element) {
  auto& definition = static_cast<QVR_defHybrid&>(*scratch.NodeAt(handle)->definition);
  return definition.SetElement(QVR_intArray(), element);
}

// Replaces the distributions of the form by variables named as new nodes, whose handles are appended.
int SplitOffDistributions(QVR_network& scratch, ExpressionPtr& form, const QVR_network& source,
                          int& auxiliaryCounter, std::vector<int>& auxiliaries) {
  std::vector<ExpressionPtr*> slots;
  QVR_expression::CollectDistributions(form, slots);
  for (ExpressionPtr* slot : slots) {
    std::string id;
    MakeAuxiliaryId(id, auxiliaryCounter, scratch, source);
    const int handle = AddDistributionNode(scratch, id, **slot, kAuxiliaryRange);
    if (handle < 0) {
      return handle;
    }
    auxiliaries.push_back(handle);
    ExpressionPtr variable = MakeVariable(id);
    variable->sign = (*slot)->sign;
    *slot = std::move(variable);
  }
  return QVR_OKAY;
}

// `id` = formula, solved for each variable of the formula.
int AddInverses(QVR_equationElement& element, const std::string& id) {
  std::vector<std::string> names;
  element.GetFormula().GetVariables(names);
  for (const std::string& name : names) {
    ExpressionPtr left = MakeVariable(id);
    ExpressionPtr right = element.GetFormula().Clone();
    if (const int status = IsolateVariable(left, right, name); status < 0) {
      return status;
    }
    element.SetInverse(name, std::move(right));
  }
  return QVR_OKAY;
}

}  // namespace

void MakeAuxiliaryId(std::string& text, int& auxiliaryCounter, const QVR_network& scratch,
                     const QVR_network& source) {
  do {
    text = AuxiliaryText(++auxiliaryCounter);
  } while (scratch.IsIdentifierTaken(text.c_str(), -1) || source.IsIdentifierTaken(text.c_str(), -1));
}

int AddDistributionNode(QVR_network& scratch, const std::string& id, const QVR_expression& distribution,
                        const ValueRange& range) {
  const int handle = AddContinuousNode(scratch, kTypeDistribution, id, range);
  if (handle < 0) {
    return handle;
  }
  if (const int status = LinkVariables(scratch, distribution, handle); status < 0) {
    return status;
  }
  ExpressionPtr copy = distribution.Clone();
  copy->sign = 1;
  auto element = std::make_unique<QVR_distributionElement>();
  if (const int status = element->SetDistribution(std::move(copy)); status < 0) {
    return status;
  }
  const int status = PlaceOnlyElement(scratch, handle, std::move(element));
  return status < 0 ? status : handle;
}

int ConvertEquation(QVR_network& scratch, const std::string& id, const QVR_expression& form,
                    const QVR_network& source, int& auxiliaryCounter, const ValueRange& range) {
  ExpressionPtr formula = form.Clone();
  std::vector<int> auxiliaries;
  if (const int status = SplitOffDistributions(scratch, formula, source, auxiliaryCounter, auxiliaries);
      status < 0) {
    return status;
  }
  const int handle = AddContinuousNode(scratch, kTypeHEquation, id, range);
  if (handle < 0) {
    return handle;
  }
  if (const int status = scratch.AddArcs(auxiliaries, handle); status < 0) {
    return status;
  }
  if (const int status = LinkVariables(scratch, *formula, handle); status < 0) {
    return status;
  }
  auto element = std::make_unique<QVR_equationElement>();
  element->SetFormula(std::move(formula));
  if (const int status = AddInverses(*element, id); status < 0) {
    return status;
  }
  const int status = PlaceOnlyElement(scratch, handle, std::move(element));
  return status < 0 ? status : handle;
}

}  // namespace qvr
