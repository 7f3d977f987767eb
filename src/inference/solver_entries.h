// Solvers of the folders above, as the update driver reaches them: declared here, defined there.
#ifndef QVR_INFERENCE_SOLVER_ENTRIES_H
#define QVR_INFERENCE_SOLVER_ENTRIES_H

namespace qvr {

class QVR_network;

// decision/: the expected utility of every policy. Returns as QVR_CooperSolver::Solve.
[[nodiscard]] int RunCooperSolver(QVR_network& network);
// decision/: the best choice of the first open decision. Returns as ShachterSolver::Solve.
[[nodiscard]] int RunShachterSolver(QVR_network& network);
// hybrid/: equations whose evidence stands on roots. Returns as EquationSolver::Run.
[[nodiscard]] int RunEquationSolver(QVR_network& network);
// hybrid/: equations cut into intervals. Returns as DiscretizedSolver::Run.
[[nodiscard]] int RunDiscretizedSolver(QVR_network& network);

}  // namespace qvr

#endif
