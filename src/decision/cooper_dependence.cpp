// On which decisions and observations each result depends, by the relevance walk of the model: with others
// observed, one is retracted, and what that makes invalid depends on it.
#include "decision/cooper_solver.h"
#include "decision/temporal_order.h"
#include "model/special_numbers.h"

namespace qvr {

int QVR_CooperSolver::FindRelevantNodes() {
  // That nodes are observed at their first outcome is only a device: nothing may be deduced from it.
  const unsigned flags = work.GetUpdateFlags() & ~(UPDATE_PROPAGATE_EVIDENCE | UPDATE_IMMEDIATELY);
  work.SetUpdateFlags(flags | UPDATE_TRACK_CHANGES);
  work.SetRelevanceMask(kRelevanceEvidenceRetracted);
  SaveLikelihoods();
  int status = ReinitializeResults();
  if (status >= 0 && overallUtility >= 0) {
    status = FindEvaluated();
  }
  if (status >= 0) {
    status = IndexResults();
  }
  work.SetRelevanceMask(0);
  MarkAbsentResults();
  for (int handle : temporal) {
    RestoreLikelihoods(handle);
  }
  return status;
}

// What is observed or deduced keeps its value.
bool QVR_CooperSolver::IsSolvedFor(int handle) const {
  const QVR_nodeValue* value = network->NodeAt(handle)->value.get();
  return value != nullptr && !value->HasEvidence();
}

int QVR_CooperSolver::ReinitializeResults() {
  for (int handle = network->FirstNode(); handle >= 0; handle = network->NextNode(handle)) {
    if (IsSolvedFor(handle)) {
      if (int status = ValueOf(handle).Reinitialize(); status < 0) {
        return status;
      }
    }
  }
  return QVR_OKAY;
}

// Those on which the utility depends when all are known; and, from the last to the first, those on which an
// observation of such depends that comes later: knowing them is knowing more of what will be observed.
int QVR_CooperSolver::FindEvaluated() {
  const int count = temporal.GetNumItems();
  std::vector<char> isRelevant(static_cast<std::size_t>(count), 0);
  for (int handle : temporal) {
    WorkValueOf(handle).SetEvidence(0);
  }
  for (int place = 0; place < count; ++place) {
    isRelevant[static_cast<std::size_t>(place)] = DependsOn(overallUtility, temporal[place]) ? 1 : 0;
  }
  for (int place = count - 1; place >= 0; --place) {
    const int handle = temporal[place];
    WorkValueOf(handle).ClearEvidence();
    RestoreLikelihoods(handle);  // unobserved, it still opens what meets in it
    const bool isObservation = IsChanceType(network->NodeAt(handle)->GetType());
    if (isRelevant[static_cast<std::size_t>(place)] == 0 || !isObservation) {
      continue;
    }
    for (int earlier = 0; earlier < place; ++earlier) {
      if (DependsOn(handle, temporal[earlier])) {
        isRelevant[static_cast<std::size_t>(earlier)] = 1;
        if (int status = ValueOf(handle).AddIndexingParent(temporal[earlier]); status < 0) {
          return status;
        }
      }
    }
  }
  for (int place = 0; place < count; ++place) {
    if (isRelevant[static_cast<std::size_t>(place)] != 0) {
      if (int status = evaluated.Add(temporal[place]); status < 0) {
        return status;
      }
    }
  }
  return QVR_OKAY;
}

// Whether the value of a node that isn't observed depends on one that is.
bool QVR_CooperSolver::DependsOn(int handle, int observed) {
  WorkValueOf(handle).SetValueValid();
  WorkValueOf(observed).ClearEvidence();
  const bool depends = !WorkValueOf(handle).IsValueValid();
  WorkValueOf(observed).SetEvidence(0);
  return depends;
}

int QVR_CooperSolver::IndexResults() {
  for (int handle : temporal) {
    if (!IsChanceType(network->NodeAt(handle)->GetType())) {
      if (int status = IndexDecision(handle); status < 0) {
        return status;
      }
    }
  }
  for (int handle : evaluated) {
    WorkValueOf(handle).SetEvidence(0);
  }
  int status = QVR_OKAY;
  for (int i = 0; status >= 0 && i < evaluated.GetNumItems(); ++i) {
    status = IndexDependents(evaluated[i]);
  }
  for (int handle : evaluated) {
    WorkValueOf(handle).ClearEvidence();
  }
  return status;
}

// A decision is indexed by all that matters and comes before it.
int QVR_CooperSolver::IndexDecision(int decision) {
  const int end = temporal.Find(decision);
  for (int earlier : evaluated) {
    if (temporal.Find(earlier) >= end) {
      break;
    }
    if (int status = ValueOf(decision).AddIndexingParent(earlier); status < 0) {
      return status;
    }
  }
  return QVR_OKAY;
}

int QVR_CooperSolver::IndexDependents(int observed) {
  for (int handle = work.FirstNode(); handle >= 0; handle = work.NextNode(handle)) {
    if (work.NodeAt(handle)->value) {
      WorkValueOf(handle).SetValueValid();
    }
  }
  WorkValueOf(observed).ClearEvidence();
  for (int handle = network->FirstNode(); handle >= 0; handle = network->NextNode(handle)) {
    const bool isDecision = (network->NodeAt(handle)->GetType() & kTypeBitDecision) != 0;
    if (!IsSolvedFor(handle) || isDecision || evaluated.Contains(handle) != 0 ||
        WorkValueOf(handle).IsValueValid()) {
      continue;
    }
    if (int status = ValueOf(handle).AddIndexingParent(observed); status < 0) {
      return status;
    }
  }
  WorkValueOf(observed).SetEvidence(0);
  return QVR_OKAY;
}

void QVR_CooperSolver::MarkAbsentResults() {
  for (int handle = network->FirstNode(); handle >= 0; handle = network->NextNode(handle)) {
    QVR_Dmatrix* table = IsSolvedFor(handle) ? ValueOf(handle).GetMatrix() : nullptr;
    if (table != nullptr) {
      table->Fill(kUndefined);
    }
  }
}

void QVR_CooperSolver::SaveLikelihoods() {
  for (int handle : temporal) {
    QVR_doubleArray saved;
    if (WorkValueOf(handle).GetVirtualEvidence(saved) >= 0) {
      likelihoods.emplace(handle, std::move(saved));
    }
  }
}

void QVR_CooperSolver::RestoreLikelihoods(int handle) {
  const auto saved = likelihoods.find(handle);
  if (saved != likelihoods.end() && !WorkValueOf(handle).HasEvidence()) {
    WorkValueOf(handle).SetVirtualEvidence(saved->second);
  }
}

}  // namespace qvr
