// The one entry of inference: which family of solvers a network needs, and which discrete solver.
#include <new>
#include <stdexcept>

#include "definitions/equation.h"
#include "inference/solver_entries.h"
#include "inference/solver_runs.h"
#include "inference/virtual_evidence_guard.h"
#include "model/dynamic_extension.h"
#include "model/error_log.h"
#include "model/network.h"

namespace qvr {

// Marks an update in progress; a nested one leaves the mark to the outer.
class UpdateScope {
 public:
  explicit UpdateScope(QVR_network& newNetwork) : network(newNetwork), outer(newNetwork.updating) {
    network.updating = true;
  }
  ~UpdateScope() { network.updating = outer; }
  UpdateScope(const UpdateScope&) = delete;
  UpdateScope& operator=(const UpdateScope&) = delete;

 private:
  QVR_network& network;
  bool outer;
};

namespace {

// The families of solvers, in the order in which a network that asks for several gets one.
enum class SolverFamily { Temporal, Unsolvable, Decision, Equation, Hybrid, Discrete };

struct NodeKinds {
  bool decision = false;
  bool equation = false;
  bool hybrid = false;
  bool temporal = false;
};

void CountKind(int type, NodeKinds& kinds) {
  if ((type & (kTypeBitDecision | kTypeBitUtility)) != 0) {
    kinds.decision = true;
  } else if (type == kTypeDChildHParent || type == kTypeDistribution || type == kTypeHEquation) {
    kinds.hybrid = true;
  } else if (type == kTypeEquation || type == kTypeEquationScc) {
    kinds.equation = true;
  }
}

NodeKinds CollectKinds(const QVR_network& network) {
  NodeKinds kinds;
  const bool canUnroll = network.GetDynamicExtension() != nullptr;
  for (int handle = network.FirstNode(); handle >= 0; handle = network.NextNode(handle)) {
    CountKind(network.NodeAt(handle)->GetType(), kinds);
    kinds.temporal = kinds.temporal || (canUnroll && network.GetDynamicType(handle) == kDynamicPlate);
  }
  return kinds;
}

SolverFamily ChooseFamily(const NodeKinds& kinds) {
  if (kinds.temporal) {
    return SolverFamily::Temporal;
  }
  if (kinds.decision) {
    return kinds.equation || kinds.hybrid ? SolverFamily::Unsolvable : SolverFamily::Decision;
  }
  if (kinds.equation) {
    return SolverFamily::Equation;
  }
  return kinds.hybrid ? SolverFamily::Hybrid : SolverFamily::Discrete;
}

int Refuse(const char* reason) { return GetErrorLog().Log(QVR_OUT_OF_RANGE, reason); }

// Nothing of an earlier update shows through.
void ForgetResults(QVR_network& network) {
  for (int handle = network.FirstNode(); handle >= 0; handle = network.NextNode(handle)) {
    QVR_nodeValue* value = network.NodeAt(handle)->value.get();
    if (value == nullptr) {
      continue;
    }
    value->ClearPropagatedEvidence();
    if (!value->HasEvidence()) {
      value->SetValueInvalid();
    }
  }
}

bool HasEvidenceBelowRoots(const QVR_network& network) {
  for (int handle = network.FirstNode(); handle >= 0; handle = network.NextNode(handle)) {
    const QVR_nodeValue* value = network.NodeAt(handle)->value.get();
    if (value != nullptr && value->HasRealEvidence() && network.GetNumberOfParents(handle) > 0) {
      return true;
    }
  }
  return false;
}

bool HasIntervals(const QVR_network& network) {
  for (int handle = network.FirstNode(); handle >= 0; handle = network.NextNode(handle)) {
    const auto* equation = dynamic_cast<const QVR_equation*>(network.NodeAt(handle)->definition.get());
    if (equation != nullptr && !equation->GetDiscIntervals().empty()) {
      return true;
    }
  }
  return false;
}

int RunEquationFamily(QVR_network& network) {
  ForgetResults(network);
  if (const int status = RefuseForeignNodes(network); status < 0) {
    return status;  // no routine can go around them
  }
  if (network.discretize != 0) {
    return HasIntervals(network)
               ? RunDiscretizedSolver(network)
               : GetErrorLog().Log(QVR_WRONG_NODE_TYPE,
                                   "At least one node with discretization intervals is required.");
  }
  if (HasEvidenceBelowRoots(network)) {
    return HbnSolve(network);
  }
  return RunEquationSolver(network);
}

int SolveTemporal(const QVR_network& network) { return network.GetDynamicExtension()->SolveUnrolled(); }

int Solve(QVR_network& network) {
  switch (ChooseFamily(CollectKinds(network))) {
    case SolverFamily::Temporal:
      return SolveTemporal(network);
    case SolverFamily::Unsolvable:
      return Refuse("Unable to handle hybrid networks in influence diagrams.");
    case SolverFamily::Decision:
      return network.SolveDecisions();
    case SolverFamily::Equation:
      return network.SolveEquations();
    case SolverFamily::Hybrid:
      return network.SolveHybrid();
    case SolverFamily::Discrete:
      return network.SolveDiscrete();
  }
  return QVR_OUT_OF_RANGE;
}

int RunDiscreteSolver(QVR_network& network) {
  const int id = network.GetBeliefAlgorithm();
  if (id < ALG_JOIN_TREE || id > ALG_RELEVANCE_HALVING) {
    return QVR_OUT_OF_RANGE;
  }
  if (network.GetNumberOfNodes() == 0) {
    return QVR_OKAY;
  }
  switch (id) {
    case ALG_JOIN_TREE:
      return RunJoinTreeWithFallback(network);
    case ALG_LOGIC_SAMPLING:
      return RunLogicSampling(network);
    case ALG_POLYTREE:
      return RunPolytree(network);
    case ALG_LIKELIHOOD_WEIGHTING:
    case ALG_LIKELIHOOD_WEIGHTING_2:
      return RunLikelihoodWeighting(network);
    case ALG_SELF_IMPORTANCE:
      return RunSelfImportance(network);
    case ALG_BACKWARD_SAMPLING:
      return RunBackwardSampling(network);
    case ALG_ADAPTIVE_IMPORTANCE:
      return RunAdaptiveImportance(network);
    case ALG_MESSAGE_IMPORTANCE:
      return RunMessageImportance(network);
    case ALG_LOOPY_BELIEF:
      return RunLoopyBelief(network);
    case ALG_CLIQUE_TREE:
      return RunCliqueTree(network);
    case ALG_RELEVANCE_BATCHES:
      return RunRelevanceBatches(network);
    case ALG_RELEVANCE_HALVING:
      return RunRelevanceHalving(network);
    default:
      return QVR_OUT_OF_RANGE;
  }
}

// What is observed or deduced keeps its value.
int ResetValues(QVR_network& network) {
  for (int handle = network.FirstNode(); handle >= 0; handle = network.NextNode(handle)) {
    const QVR_node& node = *network.NodeAt(handle);
    if (!node.value || node.value->HasEvidence()) {
      continue;
    }
    const int outcomeCount = node.GetNumberOfOutcomes();
    if (const int status = node.value->ShapeAsVector(outcomeCount < 0 ? 1 : outcomeCount); status < 0) {
      return status;
    }
    node.value->SetValueInvalid();
  }
  return QVR_OKAY;
}

int RunDecisionSolver(QVR_network& network) {
  if (const int status = ResetValues(network); status < 0) {
    return status;
  }
  return network.GetDecisionAlgorithm() == DECISION_COOPER ? RunCooperSolver(network)
                                                           : RunShachterSolver(network);
}

int SolveWithVirtualEvidence(QVR_network& network) {
  VirtualEvidenceGuard guard(network);
  if (const int status = guard.Enter(); status < 0) {
    return status;
  }
  return RunDiscreteSolver(network);
}

// Nothing of the engine throws; what the standard library throws for lack of memory becomes a code.
int WithoutExceptions(int (*solve)(QVR_network&), QVR_network& network) {
  try {
    const UpdateScope scope(network);
    return solve(network);
  } catch (const std::bad_alloc&) {
    return QVR_OUT_OF_MEMORY;
  } catch (const std::length_error&) {
    return QVR_OUT_OF_MEMORY;
  }
}

}  // namespace

int QVR_network::UpdateBeliefs() { return WithoutExceptions(Solve, *this); }

int QVR_network::SolveDecisions() { return WithoutExceptions(RunDecisionSolver, *this); }

int QVR_network::SolveEquations() { return WithoutExceptions(RunEquationFamily, *this); }

int QVR_network::SolveHybrid() { return WithoutExceptions(SolveHybridNetwork, *this); }

int QVR_network::SolveDiscrete() { return WithoutExceptions(SolveWithVirtualEvidence, *this); }

}  // namespace qvr
