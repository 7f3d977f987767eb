#include "decision/shachter_solver.h"

#include <algorithm>

#include "decision/relevance_mask_off.h"
#include "decision/scenario_network.h"
#include "decision/temporal_order.h"
#include "decision/utility_merge.h"
#include "inference/solver_entries.h"
#include "model/error_log.h"

namespace qvr {

namespace {

bool IsObserved(const QVR_network& network, int handle) {
  const QVR_nodeValue* value = network.NodeAt(handle)->value.get();
  return value != nullptr && value->HasEvidence();
}

// A table that takes the outcome for certain, whatever its parents are.
int FixOutcome(QVR_node& node, int outcome) {
  QVR_Dmatrix* table = nullptr;
  if (int status = node.definition->GetMatrix(table); status < 0) {
    return status;
  }
  table->Fill(0.0);
  for (int cell = outcome; cell < table->GetNumElements(); cell += node.GetNumberOfOutcomes()) {
    table->Subscript(cell) = 1.0;
  }
  return QVR_OKAY;
}

}  // namespace

int RunShachterSolver(QVR_network& network) { return ShachterSolver().Solve(network); }

int ShachterSolver::Solve(QVR_network& diagram) {
  network = &diagram;
  if (int status = GatherDecisions(); status < 0) {
    return status;
  }
  if (!IsBestPolicySolvable()) {
    return GetErrorLog().Log(QVR_OUT_OF_RANGE, "Can't solve this network using best policy algorithm");
  }
  if (int status = MakeWork(); status < 0) {
    return status;
  }
  int status = ConvertToChances(work);
  if (status >= 0) {
    PrepareForScenarios(work);
    status = BestPolicy();
  }
  if (status != QVR_OKAY) {
    network->InvalidateAll();
    return GetErrorLog().Log(status, "Error when running Shachter's algorithm");
  }
  return QVR_OKAY;
}

int ShachterSolver::GatherDecisions() {
  decisions.Flush();
  QVR_intArray order;
  network->GetDecisionFirstOrder(order);
  for (int handle : order) {
    if (network->NodeAt(handle)->GetType() == kTypeList && !IsObserved(*network, handle)) {
      if (int status = decisions.Add(handle); status < 0) {
        return status;
      }
    }
  }
  return QVR_OKAY;
}

bool ShachterSolver::IsBestPolicySolvable() const {
  if (decisions.GetNumItems() == 0) {
    return true;
  }
  const QVR_intArray& parents = network->GetParents(decisions[0]);
  return std::all_of(parents.begin(), parents.end(),
                     [this](int parent) { return IsObserved(*network, parent); });
}

// A utility that can't be merged leaves the diagram's relevanceMask at 0.
int ShachterSolver::MakeWork() {
  RelevanceMaskOff quiet(*network);
  network->InvalidateAll();
  QVR_intArray temporal;
  if (int status = GatherTemporalNodes(*network, temporal); status < 0) {
    return status;
  }
  AssumeTemporalOrder(*network, temporal);
  if (int status = GatherDecisions(); status < 0) {
    return status;
  }
  if (int status = work.Assign(*network); status < 0) {
    return status;
  }
  work.ClearAllTargets();
  work.SetUpdateFlags(work.GetUpdateFlags() & ~UPDATE_IMMEDIATELY);
  int status = ApplyUtilityWeights(work);
  if (status >= 0) {
    status = MergeUtilities(work, overallUtility);
  }
  if (status < 0) {
    quiet.LeaveOff();
  }
  return status;
}

int ShachterSolver::BestPolicy() {
  work.NodeAt(overallUtility)->value->SetEvidence(0);
  int best = QVR_OUT_OF_RANGE;
  for (int i = decisions.GetNumItems() - 1; i >= 0; --i) {
    if (int status = DecideInWork(decisions[i], best); status < 0) {
      return status;
    }
  }
  return best < 0 ? best : StoreBest(best);
}

// Where the good outcome is impossible whatever is chosen, all choices are equal.
int ShachterSolver::DecideInWork(int decision, int& best) {
  work.InvalidateAll();
  const int status = work.SolveDiscrete();
  if (status != QVR_OKAY && status != QVR_NO_SAMPLES && status != QVR_ZERO_POTENTIAL) {
    return status;
  }
  QVR_node& node = *work.NodeAt(decision);
  const QVR_Dmatrix& posterior = *node.value->GetMatrix();
  best = node.value->IsValueValid() ? 0 : node.GetNumberOfOutcomes() - 1;
  double greatest = 0;
  for (int i = 0; node.value->IsValueValid() && i < posterior.GetNumElements(); ++i) {
    if (posterior.Subscript(i) >= greatest) {
      greatest = posterior.Subscript(i);
      best = i;
    }
  }
  return FixOutcome(node, best);
}

int ShachterSolver::StoreBest(int best) {
  const QVR_node& node = *network->NodeAt(decisions[0]);
  if (int status = node.value->ShapeAsVector(node.GetNumberOfOutcomes()); status < 0) {
    return status;
  }
  QVR_Dmatrix& table = *node.value->GetMatrix();
  table.Fill(0.0);
  table.Subscript(best) = 1.0;
  node.value->SetValueValid();
  return QVR_OKAY;
}

}  // namespace qvr
