// The walk through all scenarios. It is an odometer over `evaluated`, the last node fastest.
#include <algorithm>

#include "decision/cooper_solver.h"
#include "decision/temporal_order.h"
#include "model/error_log.h"
#include "model/evidence_propagation.h"
#include "model/special_numbers.h"

namespace qvr {

namespace {

// Whether the walk goes on: a scenario that can't be is no failure.
bool IsTolerated(int status) { return status == QVR_OKAY || status == QVR_NO_SAMPLES; }

}  // namespace

int QVR_CooperSolver::Evaluate() {
  const int count = evaluated.GetNumItems();
  if (count == 0) {
    return EvaluateScenario();
  }
  std::vector<int> nextOutcome(static_cast<std::size_t>(count), 0);
  int status = QVR_OKAY;
  for (int depth = 0; depth >= 0;) {
    int& next = nextOutcome[static_cast<std::size_t>(depth)];
    if (next == network->NodeAt(evaluated[depth])->GetNumberOfOutcomes()) {
      next = 0;
      status = EvaluateObservation(depth);
      --depth;
    } else if (EnterOutcome(depth, next++)) {
      status = depth + 1 == count ? EvaluateScenario() : QVR_OKAY;
      depth = std::min(depth + 1, count - 1);
    }
    if (!IsTolerated(status)) {
      return status;
    }
  }
  return status;
}

// False if what is known already rules the outcome out.
bool QVR_CooperSolver::EnterOutcome(int depth, int outcome) {
  if (depth < impossiblePrefix) {
    impossiblePrefix = -1;
  }
  isWorkCurrent = false;
  if (WorkValueOf(evaluated[depth]).SetEvidence(outcome) != QVR_OKAY) {
    return false;
  }
  currentOutcomes[depth] = outcome;
  return true;
}

int QVR_CooperSolver::EvaluateScenario() {
  if (impossiblePrefix < 0) {
    if (IsAnswered()) {
      return QVR_OKAY;
    }
    const int status = SolveWork(0);
    if (status == QVR_OKAY) {
      for (const Result& result : scenarioResults) {
        StoreResult(result);
      }
      return QVR_OKAY;
    }
    if (status == QVR_ZERO_POTENTIAL) {
      FindImpossiblePrefix();
    } else if (status != QVR_NO_SAMPLES) {
      return status;
    }
  }
  LogScenario();
  return QVR_NO_SAMPLES;
}

// When all outcomes of a node are done: what is its posterior, given what comes before it?
int QVR_CooperSolver::EvaluateObservation(int depth) {
  const int handle = evaluated[depth];
  if (!IsChanceType(network->NodeAt(handle)->GetType())) {
    return QVR_OKAY;
  }
  WorkValueOf(handle).ClearEvidence();
  RestoreLikelihoods(handle);
  isWorkCurrent = false;
  if (impossiblePrefix >= 0 && impossiblePrefix <= depth) {
    return QVR_NO_SAMPLES;
  }
  const int status = SolveWork(1);
  if (status == QVR_OKAY) {
    StoreResult(observationResults[static_cast<std::size_t>(depth)]);
  }
  return status == QVR_ZERO_POTENTIAL ? QVR_NO_SAMPLES : status;
}

// -43 also for a contradiction between observed nodes alone: no posterior shows it, so a discrete update goes
// on without a word.
int QVR_CooperSolver::SolveWork(int phase) {
  if (looksForContradictions && IsContradictory()) {
    return QVR_ZERO_POTENTIAL;
  }
  BeforeEvaluation(phase);
  const int status = work.SolveDiscrete();
  AfterEvaluation(phase);
  isWorkCurrent = status == QVR_OKAY;
  return status;
}

bool QVR_CooperSolver::IsContradictory() {
  QVR_intArray observed;
  work.GetEvidenceNodes(observed);
  return std::any_of(observed.begin(), observed.end(),
                     [this](int handle) { return EvidencePropagation(work).IsImpossible(handle); });
}

// After an impossible scenario: how many of its outcomes, from the first on, are enough to contradict the
// model? All scenarios that share these need no update.
void QVR_CooperSolver::FindImpossiblePrefix() {
  impossiblePrefix = evaluated.GetNumItems();
  int retracted = impossiblePrefix;
  while (retracted > 0) {
    WorkValueOf(evaluated[--retracted]).ClearEvidence();
    const bool isContradictory = looksForContradictions && IsContradictory();
    if (!isContradictory && work.SolveDiscrete() != QVR_ZERO_POTENTIAL) {
      break;
    }
    impossiblePrefix = retracted;
  }
  for (int i = retracted; i < evaluated.GetNumItems(); ++i) {
    WorkValueOf(evaluated[i]).SetEvidence(currentOutcomes[i]);
  }
}

void QVR_CooperSolver::LogScenario() const {
  GetErrorLog().Log(QVR_NO_SAMPLES, "The following scenario could not be evaluated:");
  for (int i = 0; i < evaluated.GetNumItems(); ++i) {
    const QVR_node& node = *network->NodeAt(evaluated[i]);
    const QVR_stringArray* names = node.definition->GetOutcomeNames();
    const char* name = names != nullptr ? names->Get(currentOutcomes[i]) : nullptr;
    GetErrorLog().Log(QVR_NO_SAMPLES, node.GetId() + " = " + (name != nullptr ? name : ""));
  }
}

// Nodes that depend on no scenario are read from the last update, so there has to be one.
void QVR_CooperSolver::BringWorkUpToDate() {
  if (isWorkCurrent) {
    return;
  }
  for (int handle : evaluated) {
    WorkValueOf(handle).ClearEvidence();
    RestoreLikelihoods(handle);
  }
  isWorkCurrent = work.SolveDiscrete() == QVR_OKAY;
}

void QVR_CooperSolver::PlanResults() {
  currentOutcomes.SetSize(evaluated.GetNumItems());
  looksForContradictions = !IsContradictory();
  for (int handle : evaluated) {
    observationResults.push_back(MakeResult(handle));
  }
  for (int handle = work.FirstNode(); handle >= 0; handle = work.NextNode(handle)) {
    const int type = network->NodeAt(handle)->GetType();
    const bool hasPosterior = type == kTypeTable || IsChanceType(type);
    if (hasPosterior && IsSolvedFor(handle) && evaluated.Contains(handle) == 0) {
      const bool isConstant = ValueOf(handle).GetIndexingParents().GetNumItems() == 0;
      (isConstant ? constantResults : scenarioResults).push_back(MakeResult(handle));
    }
  }
}

QVR_CooperSolver::Result QVR_CooperSolver::MakeResult(int handle) const {
  QVR_nodeValue& value = *network->NodeAt(handle)->value;
  const QVR_intArray& indexing = value.GetIndexingParents();
  Result result;
  result.source = work.NodeAt(handle)->value.get();
  result.table = value.GetMatrix();
  result.cellCount = result.table->GetDimension(result.table->GetNumDimensions() - 1);
  for (int i = 0; i < indexing.GetNumItems(); ++i) {
    result.steps.emplace_back(evaluated.Find(indexing[i]), result.table->GetStride(i));
  }
  return result;
}

int QVR_CooperSolver::PlaceInTable(const Result& result) const {
  int index = 0;
  for (const auto& [place, stride] : result.steps) {
    index += currentOutcomes[place] * stride;
  }
  return index;
}

// Whether earlier scenarios that differ only in what no result depends on have filled all cells.
bool QVR_CooperSolver::IsAnswered() const {
  const auto isOpen = [this](const Result& result) {
    return IsUndefined(result.table->Subscript(PlaceInTable(result)));
  };
  return evaluated.GetNumItems() > 0 && std::none_of(scenarioResults.begin(), scenarioResults.end(), isOpen);
}

// A utility has one cell: the chance of its first outcome.
void QVR_CooperSolver::StoreResult(const Result& result) const {
  if (!result.source->IsValueValid()) {
    return;
  }
  const QVR_Dmatrix& posterior = *result.source->GetMatrix();
  const int first = PlaceInTable(result);
  for (int k = 0; k < std::min(result.cellCount, posterior.GetNumElements()); ++k) {
    result.table->Subscript(first + k) = posterior.Subscript(k);
  }
}

}  // namespace qvr
