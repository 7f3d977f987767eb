// Systems of nonlinear equations, by Newton's method with a Jacobian of forward differences (Dennis and
// Schnabel 1983).
#ifndef QVR_HYBRID_NEWTON_H
#define QVR_HYBRID_NEWTON_H

#include <vector>

namespace qvr {

// As many equations as unknowns.
class EquationSystem {
 public:
  virtual ~EquationSystem() = default;
  // What each equation lacks at x; 0 where it holds.
  virtual void FindResiduals(const std::vector<double>& x, std::vector<double>& residuals) = 0;
};

// What one run works with, for the next one to use again; and whether the run ended by a small step of a
// system that could be solved.
struct NewtonWork {
  bool converged = false;
  std::vector<double> residuals;
  std::vector<double> moved;     // residuals with one unknown advanced
  std::vector<double> jacobian;  // row by row
  std::vector<double> rhs;
  std::vector<double> next;        // x of the next pass
  std::vector<double> remembered;  // an earlier x, to notice going in circles
};

// Moves x towards a root. `tolerance` is the step of the differences, relative for large unknowns;
// `iterations` comes in as the limit of passes and goes out as their number. Always 0: see work.converged.
int NewtonSolve(std::vector<double>& x, EquationSystem& system, double tolerance, int& iterations,
                NewtonWork& work);

}  // namespace qvr

#endif
