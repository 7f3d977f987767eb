#include "hybrid/discretized_solver.h"

#include <algorithm>

#include "inference/solver_entries.h"

namespace qvr {

namespace {

QVR_valEqEvaluation& ValueAt(QVR_network& network, int handle) {
  return dynamic_cast<QVR_valEqEvaluation&>(*network.NodeAt(handle)->value);
}

// The place of a number among the intervals; what lies out of bounds belongs to the outermost ones.
int IntervalOf(const QVR_equation& equation, double number) {
  const std::vector<DiscretizationInterval>& intervals = equation.GetDiscIntervals();
  const auto found = std::find_if(intervals.begin(), intervals.end() - 1,
                                  [number](const auto& interval) { return interval.upperBound > number; });
  return static_cast<int>(found - intervals.begin());
}

int SetOutcomes(QVR_nodeDefinition& table, const QVR_equation& equation) {
  QVR_stringArray names;
  for (const DiscretizationInterval& interval : equation.GetDiscIntervals()) {
    if (int status = names.Add(interval.id.c_str()); status < 0) {
      return status;
    }
  }
  return table.SetNumberOfOutcomes(names);
}

// All the weight on one interval.
int SetCertain(QVR_valEqEvaluation& value, int intervalCount, int interval) {
  std::vector<double> weights(static_cast<std::size_t>(intervalCount), 0.0);
  weights[static_cast<std::size_t>(interval)] = 1.0;
  QVR_doubleArray list;
  if (int status = list.Assign(weights); status < 0) {
    return status;
  }
  return value.SetDiscretePosterior(list);
}

}  // namespace

QVR_equation* DiscretizedSolver::EquationAt(int handle) const {
  return dynamic_cast<QVR_equation*>(source.NodeAt(handle)->definition.get());
}

int DiscretizedSolver::Run() {
  toScratch.assign(static_cast<std::size_t>(source.GetTableSize()), -1);
  if (int status = AddNodes(); status < 0) {
    return status;
  }
  if (int status = EnterEvidence(); status < 0) {
    return status;
  }
  if (int status = scratch.UpdateBeliefs(); status < 0) {
    return status;
  }
  if (int status = ReadResults(); status < 0) {
    return status;
  }
  return FixOthers();
}

int DiscretizedSolver::AddNodes() {
  for (int handle : source.GetTopologicalOrder()) {
    QVR_equation* equation = EquationAt(handle);
    if (equation == nullptr || equation->GetDiscIntervals().empty()) {
      continue;
    }
    if (int status = AddNode(handle, *equation); status < 0) {
      return status;
    }
  }
  return QVR_OKAY;
}

int DiscretizedSolver::AddNode(int handle, QVR_equation& equation) {
  QVR_Dmatrix own;
  const QVR_Dmatrix* table = nullptr;
  if (int status = GetTable(equation, own, table); status < 0) {
    return status;
  }
  const int node = scratch.AddNode(kTypeCpt, source.NodeAt(handle)->GetId().c_str());
  if (node < 0) {
    return node;
  }
  toScratch[static_cast<std::size_t>(handle)] = node;
  QVR_nodeDefinition& definition = *scratch.NodeAt(node)->definition;
  if (int status = SetOutcomes(definition, equation); status < 0) {
    return status;
  }
  std::vector<int> parents;
  for (int parent : source.GetParents(handle)) {
    if (const int known = toScratch[static_cast<std::size_t>(parent)]; known >= 0) {
      parents.push_back(known);
    }
  }
  if (int status = scratch.AddArcs(parents, node); status < 0) {
    return status;
  }
  return definition.SetMatrix(*table);
}

// An observed parent without intervals: the table then holds for this evidence only.
bool DiscretizedSolver::HasFixedParent(int handle) const {
  const QVR_intArray& parents = source.GetParents(handle);
  return std::any_of(parents.begin(), parents.end(), [this](int parent) {
    return toScratch[static_cast<std::size_t>(parent)] < 0 && source.NodeAt(parent)->value->HasRealEvidence();
  });
}

// The definition's table, or one in `own`.
int DiscretizedSolver::GetTable(QVR_equation& equation, QVR_Dmatrix& own, const QVR_Dmatrix*& table) const {
  if (HasFixedParent(equation.GetHandle())) {
    table = &own;
    return equation.DiscretizeGivenEvidence(0, own);
  }
  if (equation.GetDiscretized() == nullptr) {
    if (int status = equation.Discretize(0, nullptr); status < 0) {
      return status;
    }
  }
  table = equation.GetDiscretized();
  return QVR_OKAY;
}

int DiscretizedSolver::EnterEvidence() {
  for (int handle = source.FirstNode(); handle >= 0; handle = source.NextNode(handle)) {
    const int node = toScratch[static_cast<std::size_t>(handle)];
    if (node < 0 || !source.NodeAt(handle)->value->HasRealEvidence()) {
      continue;
    }
    double number = 0.0;
    ValueAt(source, handle).GetDouble(number);
    const int interval = IntervalOf(*EquationAt(handle), number);
    if (int status = scratch.NodeAt(node)->value->SetEvidence(interval); status < 0) {
      return status;
    }
  }
  return QVR_OKAY;
}

int DiscretizedSolver::ReadResults() {
  for (int handle = source.FirstNode(); handle >= 0; handle = source.NextNode(handle)) {
    const int node = toScratch[static_cast<std::size_t>(handle)];
    if (node < 0) {
      continue;
    }
    if (int status = ReadResult(handle, *scratch.NodeAt(node)->value); status < 0) {
      return status;
    }
  }
  return QVR_OKAY;
}

int DiscretizedSolver::ReadResult(int handle, QVR_nodeValue& result) {
  QVR_valEqEvaluation& value = ValueAt(source, handle);
  if (!result.HasEvidence()) {
    return result.IsValueValid() ? value.SetDiscretePosterior(result.GetMatrix()->GetItems()) : QVR_OKAY;
  }
  const int outcome = result.GetEvidence();
  const QVR_equation& equation = *EquationAt(handle);
  if (value.HasEvidence()) {
    value.PrepareSamples(0);  // what an earlier run left
  } else {
    const auto intervalCount = static_cast<int>(equation.GetDiscIntervals().size());
    if (int status = SetCertain(value, intervalCount, outcome); status < 0) {
      return status;
    }
  }
  double low = 0.0;
  double high = 0.0;
  if (int status = equation.GetIntervalBounds(outcome, low, high); status < 0) {
    return status;
  }
  value.mean = low + (high - low) / 2;
  value.SetValueValid();
  return QVR_OKAY;
}

int DiscretizedSolver::FixOthers() {
  for (int handle = source.FirstNode(); handle >= 0; handle = source.NextNode(handle)) {
    QVR_equation* equation = EquationAt(handle);
    if (equation == nullptr || toScratch[static_cast<std::size_t>(handle)] >= 0) {
      continue;
    }
    QVR_valEqEvaluation& value = ValueAt(source, handle);
    double number = 0.0;
    if (value.HasEvidence()) {
      value.GetDouble(number);
    } else if (!equation->GetEquation().hasSingleVariable) {
      continue;
    } else if (const QVR_expression* form = equation->GetSolved()) {
      number = form->EvaluateSigned();
    } else {
      return QVR_UNSOLVABLE;
    }
    value.PrepareSamples(1);
    value.AddSample(number, 1.0);
    value.FinishSamples();
  }
  return QVR_OKAY;
}

int RunDiscretizedSolver(QVR_network& network) { return DiscretizedSolver(network).Run(); }

}  // namespace qvr
