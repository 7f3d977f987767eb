// Solvers of the folders above, as the update driver reaches them: declared here, defined there.
#ifndef QVR_INFERENCE_SOLVER_ENTRIES_H
#define QVR_INFERENCE_SOLVER_ENTRIES_H

namespace qvr {

class QVR_network;

// decision/: the expected utility of every policy. Returns as QVR_CooperSolver::Solve.
[[nodiscard]] int RunCooperSolver(QVR_network& network);
// decision/: the best choice of the first open decision. Returns as ShachterSolver::Solve.
[[nodiscard]] int RunShachterSolver(QVR_network& network);
// hybrid/: -2, which is logged, if a node is neither an equation nor without definition.
[[nodiscard]] int RefuseForeignNodes(const QVR_network& network);
// hybrid/: equations whose evidence stands on roots. Returns as EquationSolver::Run.
[[nodiscard]] int RunEquationSolver(QVR_network& network);
// hybrid/: equations cut into intervals. Returns as DiscretizedSolver::Run.
[[nodiscard]] int RunDiscretizedSolver(QVR_network& network);
// hybrid/: an equation network with evidence below a root, by way of a hybrid network. The code of what can't
// be converted or solved, which is logged; every value without evidence is then invalid.
[[nodiscard]] int HbnSolve(QVR_network& network);
// hybrid/: a hybrid network by its hybridAlgorithm; -2 for an id outside 13 to 16. -5, which is logged, where
// the network has a node or a formula that the solver can't handle or no sample agrees with the evidence.
[[nodiscard]] int SolveHybridNetwork(QVR_network& network);

}  // namespace qvr

#endif
