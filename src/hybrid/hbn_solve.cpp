// Equation networks with evidence below a root: converted, solved as a hybrid network, and read back.
#include <string>
#include <utility>
#include <vector>

#include "definitions/equation.h"
#include "expression/isolate_variable.h"
#include "hybrid/hybrid_conversion.h"
#include "inference/solver_entries.h"
#include "model/error_log.h"
#include "values/continuous_value.h"
#include "values/eq_evaluation.h"

namespace qvr {

namespace {

// Entered by the user, not found by an earlier run.
bool IsObserved(const QVR_nodeValue& value) {
  return value.HasRealEvidence() && (value.GetFlags() & kValuePropagatedEvidence) == 0;
}

class HbnConversion {
 public:
  explicit HbnConversion(QVR_network& newSource)
      : source(newSource), scratchOf(static_cast<std::size_t>(newSource.GetTableSize()), QVR_OUT_OF_RANGE) {}

  int ConvertNodes();
  int Solve();
  void TakeResults();

 private:
  [[nodiscard]] int ConvertNode(int handle);
  // What the node equals; null if its equation can't be solved for it.
  [[nodiscard]] static ExpressionPtr GetForm(const QVR_equation& definition, const std::string& id);
  void CopyEvidence();
  static void TakeResult(QVR_valEqEvaluation& value, const QVR_valcontinuous& result);
  [[nodiscard]] QVR_valcontinuous& ScratchValue(int handle) {
    const int mapped = scratchOf[static_cast<std::size_t>(handle)];
    return static_cast<QVR_valcontinuous&>(*scratch.NodeAt(mapped)->value);
  }

  QVR_network& source;
  QVR_network scratch;
  std::vector<int> scratchOf;  // by handle of the source
  int auxiliaryCounter = 1;
};

ExpressionPtr HbnConversion::GetForm(const QVR_equation& definition, const std::string& id) {
  EquationPair pair = definition.GetEquation();
  if (IsVariable(*pair.left, id) && pair.right->CountVariable(id) == 0) {
    pair.right->sign *= pair.left->sign;
  } else if (IsolateVariable(pair.left, pair.right, id) < 0) {
    return nullptr;
  }
  return std::move(pair.right);
}

int HbnConversion::ConvertNode(int handle) {
  const QVR_node& node = *source.NodeAt(handle);
  const auto* definition = dynamic_cast<const QVR_equation*>(node.definition.get());
  if (definition == nullptr) {
    return QVR_OUT_OF_RANGE;
  }
  ExpressionPtr form;
  if (IsObserved(*node.value) && source.GetNumberOfParents(handle) == 0) {
    double number = 0.0;
    node.value->GetDouble(number);
    form = MakeConstant(number);
  } else {
    form = GetForm(*definition, node.GetId());
  }
  if (form == nullptr) {
    return QVR_OUT_OF_RANGE;
  }
  const ValueRange range = {definition->GetLowerBound(), definition->GetUpperBound()};
  // A distribution node has no sign, so a negated law takes an auxiliary variable to carry it.
  return form->GetType() == ExpressionType::Distribution && form->sign > 0
             ? AddDistributionNode(scratch, node.GetId(), *form, range)
             : ConvertEquation(scratch, node.GetId(), *form, source, auxiliaryCounter, range);
}

int HbnConversion::ConvertNodes() {
  for (const int handle : source.GetTopologicalOrder()) {
    if (source.NodeAt(handle)->GetType() == kTypeNone) {
      continue;
    }
    const int converted = ConvertNode(handle);
    if (converted < 0) {
      return GetErrorLog().Log(converted,
                               "Conversion to HBN failed for node " + source.NodeAt(handle)->GetId());
    }
    scratchOf[static_cast<std::size_t>(handle)] = converted;
  }
  return QVR_OKAY;
}

void HbnConversion::CopyEvidence() {
  for (const int handle : source.GetTopologicalOrder()) {
    const QVR_node& node = *source.NodeAt(handle);
    if (node.value && IsObserved(*node.value)) {
      double number = 0.0;
      node.value->GetDouble(number);
      ScratchValue(handle).SetEvidenceValue(number);
    }
  }
}

int HbnConversion::Solve() {
  CopyEvidence();
  scratch.sampleCount = source.sampleCount;
  scratch.SetHybridAlgorithm(source.GetHybridAlgorithm());
  const int status = scratch.UpdateBeliefs();
  return status == QVR_OKAY ? status : GetErrorLog().Log(status, "HBN algorithm failed.");
}

void HbnConversion::TakeResult(QVR_valEqEvaluation& value, const QVR_valcontinuous& result) {
  if ((result.GetFlags() & kValuePropagatedEvidence) != 0) {
    value.SetExactNumber(result.evidenceValue);
    value.SetPropagatedValue(result.evidenceValue);
  } else if (result.IsValueValid() && !result.samples.empty()) {
    value.SetWeightedSamples(result.samples);
  } else {
    value.SetValueInvalid();
  }
}

void HbnConversion::TakeResults() {
  for (const int handle : source.GetTopologicalOrder()) {
    auto* value = dynamic_cast<QVR_valEqEvaluation*>(source.NodeAt(handle)->value.get());
    if (value != nullptr && !IsObserved(*value)) {
      TakeResult(*value, ScratchValue(handle));
    }
  }
}

// No result of an earlier run may show through.
void InvalidateUnobserved(QVR_network& network) {
  for (int handle = network.FirstNode(); handle >= 0; handle = network.NextNode(handle)) {
    QVR_nodeValue* value = network.NodeAt(handle)->value.get();
    if (value != nullptr && !IsObserved(*value)) {
      value->ClearPropagatedEvidence();
      value->SetValueInvalid();
    }
  }
}

}  // namespace

int HbnSolve(QVR_network& network) {
  InvalidateUnobserved(network);
  HbnConversion conversion(network);
  if (const int status = conversion.ConvertNodes(); status < 0) {
    return status;
  }
  if (const int status = conversion.Solve(); status != QVR_OKAY) {
    return status;
  }
  conversion.TakeResults();
  return QVR_OKAY;
}

}  // namespace qvr
