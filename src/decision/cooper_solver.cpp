#include "decision/cooper_solver.h"

#include <new>
#include <stdexcept>

#include "decision/relevance_mask_off.h"
#include "decision/scenario_network.h"
#include "decision/temporal_order.h"
#include "definitions/mau.h"
#include "definitions/utility_table.h"
#include "inference/solver_entries.h"
#include "model/error_log.h"
#include "values/mau_expected_utility.h"

namespace qvr {

int RunCooperSolver(QVR_network& network) { return QVR_CooperSolver().Solve(network); }

QVR_CooperSolver::~QVR_CooperSolver() {
  try {
    DeleteAddedUtility();
  } catch (const std::bad_alloc&) {
    // The update is failing for lack of memory already; nothing more can be done about the extra node.
  }
}

int QVR_CooperSolver::Solve(QVR_network& diagram) {
  network = &diagram;
  const UpdateFlagsOff quiet(*network, UPDATE_IMMEDIATELY);
  Reset();
  try {
    return SolveForPolicies();
  } catch (const std::bad_alloc&) {
    return GiveUp(QVR_OUT_OF_MEMORY);
  } catch (const std::length_error&) {
    return GiveUp(QVR_OUT_OF_MEMORY);
  }
}

int QVR_CooperSolver::SolveForPolicies() {
  if (int status = FindOverallUtility(); status < 0) {
    GetErrorLog().Log(status, "Utilities not specified. Policies cannot be evaluated");
    hasUtility = false;
  }
  int status = MakeWork();
  if (status == QVR_OKAY) {
    status = PrepareAndEvaluate();
  }
  if (status != QVR_OKAY) {
    return GiveUp(status);
  }
  for (const Result& result : constantResults) {
    StoreResult(result);
  }
  RescaleExpectedUtilities();
  ComputeMultiAttributeUtilities();
  if (hasUtility) {
    if (status = ExtractPolicies(); status < 0) {
      return GiveUp(status);
    }
  }
  DeleteAddedUtility();
  CopyValidFlags();
  if (!hasUtility) {
    InvalidateOpenDecisions();
  }
  return QVR_OKAY;
}

int QVR_CooperSolver::FindOverallUtility() {
  QVR_intArray candidates;
  for (int handle : network->GetTopologicalOrder()) {
    if ((network->NodeAt(handle)->GetType() & kTypeBitUtility) == 0) {
      continue;
    }
    int status = utilityNodes.Add(handle);
    if (status >= 0 && network->GetNumberOfChildren(handle) == 0) {
      status = candidates.Add(handle);
    }
    if (status < 0) {
      return status;
    }
  }
  if (utilityNodes.GetNumItems() == 0) {
    return QVR_OUT_OF_RANGE;
  }
  if (candidates.GetNumItems() == 1) {
    overallUtility = candidates[0];
    return QVR_OKAY;
  }
  return AddOverallUtility(candidates);
}

// The plain sum of all utilities that no other combines.
int QVR_CooperSolver::AddOverallUtility(const QVR_intArray& candidates) {
  const int handle = network->AddNode(kTypeMau, nullptr);
  if (handle < 0) {
    return handle;
  }
  overallUtility = handle;
  addedUtility = true;
  const QVR_node& node = *network->NodeAt(handle);
  int status = node.definition && node.value ? utilityNodes.Add(handle) : QVR_OUT_OF_MEMORY;
  if (status >= 0) {
    // All values are invalid by now: nothing is left to tell.
    const UpdateFlagsOff quiet(*network, UPDATE_TRACK_CHANGES | UPDATE_IMMEDIATELY);
    status = static_cast<QVR_mau&>(*node.definition).AddParents(candidates.View());
  }
  if (status < 0) {
    DeleteAddedUtility();
  }
  return status;
}

void QVR_CooperSolver::DeleteAddedUtility() {
  if (addedUtility) {
    addedUtility = false;
    const UpdateFlagsOff quiet(*network, UPDATE_TRACK_CHANGES | UPDATE_IMMEDIATELY);
    network->DeleteNode(overallUtility);
    utilityNodes.DeleteValue(overallUtility);
    overallUtility = -1;
  }
}

int QVR_CooperSolver::MakeWork() {
  const RelevanceMaskOff quiet(*network);
  if (int status = GatherTemporalNodes(*network, temporal); status < 0) {
    return status;
  }
  AssumeTemporalOrder(*network, temporal);
  if (int status = work.Assign(*network); status < 0) {
    return status;
  }
  work.ClearAllTargets();  // utilities and decisions have to be computed whatever the user looks at
  return QVR_OKAY;
}

int QVR_CooperSolver::PrepareAndEvaluate() {
  if (int status = FindRelevantNodes(); status < 0) {
    return status;
  }
  for (int handle : utilityNodes) {
    if (work.NodeAt(handle)->GetType() == kTypeMau) {
      work.DeleteNode(handle);  // computed from the utilities that it combines
    }
  }
  if (int status = ConvertToChances(work); status < 0) {
    return status;
  }
  PrepareForScenarios(work);
  PlanResults();
  if (int status = Evaluate(); status != QVR_OKAY) {
    return status;
  }
  BringWorkUpToDate();
  return QVR_OKAY;
}

int QVR_CooperSolver::GiveUp(int status) {
  DeleteAddedUtility();
  network->InvalidateAll();
  return GetErrorLog().Log(status, "Error when running Cooper's algorithm");
}

void QVR_CooperSolver::RescaleExpectedUtilities() {
  for (int handle : utilityNodes) {
    const QVR_node& node = *network->NodeAt(handle);
    if (node.GetType() == kTypeTable) {
      const auto& utilities = dynamic_cast<const QVR_table&>(*node.definition);
      dynamic_cast<QVR_expectedUtility&>(*node.value)
          .RescaleValues(0, 1, utilities.GetMinimumUtility(), utilities.GetMaximumUtility());
      node.value->SetValueValid();
    }
  }
}

void QVR_CooperSolver::ComputeMultiAttributeUtilities() {
  for (int handle : utilityNodes) {
    if (network->NodeAt(handle)->GetType() == kTypeMau) {
      dynamic_cast<QVR_mauExpectedUtility&>(ValueOf(handle)).ComputeMultiAttributeUtility();
      ValueOf(handle).SetValueValid();
    }
  }
}

void QVR_CooperSolver::CopyValidFlags() {
  for (int handle = work.FirstNode(); handle >= 0; handle = work.NextNode(handle)) {
    const QVR_nodeValue* solved = work.NodeAt(handle)->value.get();
    if (solved != nullptr && solved->IsValueValid()) {
      ValueOf(handle).SetValueValid();
    }
  }
}

void QVR_CooperSolver::InvalidateOpenDecisions() {
  for (int handle = network->FirstNode(); handle >= 0; handle = network->NextNode(handle)) {
    const QVR_node& node = *network->NodeAt(handle);
    if ((node.GetType() & kTypeBitDecision) != 0 && node.value && !node.value->HasEvidence()) {
      node.value->SetValueInvalid();
    }
  }
}

}  // namespace qvr
