// The solver of equation networks whose evidence, if any, stands on roots: by forward evaluation if nothing
// is random, else by forward sampling. Simultaneous sets are solved by Newton's method.
#ifndef QVR_HYBRID_EQUATION_SOLVER_H
#define QVR_HYBRID_EQUATION_SOLVER_H

#include "hybrid/equation_component.h"
#include "hybrid/equation_numbers.h"
#include "hybrid/equation_order.h"

namespace qvr {

class EquationSolver {
 public:
  explicit EquationSolver(QVR_network& newNetwork) : network(newNetwork) {}

  // -2, which is logged, for nodes of other kinds, for distributions in a simultaneous set, and for a set
  // without a solution; -6 for an equation without an explicit form; -5, logged, for nodes without a useful
  // sample; -42. Values that are set by then stay set.
  int Run();
  // What Run comes down to for a network of equation nodes. Every node gets one exact number.
  int SolveDeterministic();
  // Every node gets samples: sampleCount of the network, or one if it is observed or a constant.
  int SolveStochastic();

  // The number of one node, from those of its parents. -2, -6 as above.
  static int EvaluateNode(QVR_network& network, int handle, EquationNumbers& numbers, double& value);
  // -2, which is logged, without a solution; see EquationComponent::Solve.
  int SolveComponent(EquationComponent& component);

  int maxIterations = 1'000'000;  // passes of Newton's method
  double tolerance = 1e-6;        // see NewtonSolve

 private:
  int EvaluateUnit(const EquationUnit& unit, EquationNumbers& numbers);

  QVR_network& network;
};

}  // namespace qvr

#endif
