// The solver of influence diagrams that only looks for the best choice of the first open decision.
#ifndef QVR_DECISION_SHACHTER_SOLVER_H
#define QVR_DECISION_SHACHTER_SOLVER_H

#include "model/network.h"
#include "model/number_array.h"

namespace qvr {

// All utilities become one, and that the chance of its better outcome. Given that outcome, the posterior of a
// choice is proportional to its expected utility (Shachter and Peot, "Decision making using probabilistic
// inference methods", 1992), so that one update decides a decision; no scenario is enumerated. From the last
// decision to the first, each is fixed at its best choice, the earlier ones uniform. With one open decision
// that is the best policy. With several it is an approximation: a later decision gets one choice for all that
// may be observed before it.
class ShachterSolver {
 public:
  // One solve for each object. The first open decision's value becomes 1.0 on its best choice, of equals the
  // highest; no other value is made valid. Logged and returned: -2 unless all parents of that decision are
  // observed, if no decision is open, if a multi-attribute utility has formulas, or if all utilities together
  // depend on more than 20 nodes or too many combinations (after these two the relevanceMask of the diagram
  // stays 0); -42, or what else ended an update.
  int Solve(QVR_network& diagram);

 private:
  [[nodiscard]] bool IsBestPolicySolvable() const;
  int GatherDecisions();
  int MakeWork();
  int BestPolicy();
  int DecideInWork(int decision, int& best);
  int StoreBest(int best);

  QVR_network* network = nullptr;  // the diagram; not owned
  QVR_network work;                // the private copy
  QVR_intArray decisions;          // those without evidence, in the order of time
  int overallUtility = -1;         // the merged utility, in `work`
};

}  // namespace qvr

#endif
