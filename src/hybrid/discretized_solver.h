// Equations cut into intervals, solved as a discrete network: exact where the tables are, with evidence on
// any node.
#ifndef QVR_HYBRID_DISCRETIZED_SOLVER_H
#define QVR_HYBRID_DISCRETIZED_SOLVER_H

#include <vector>

#include "definitions/equation.h"
#include "model/network.h"
#include "values/eq_evaluation.h"

namespace qvr {

// Works on a discrete network of its own, with a node for each equation that has intervals; their tables are
// made where the definitions don't keep them already.
class DiscretizedSolver {
 public:
  explicit DiscretizedSolver(QVR_network& newSource) : source(newSource) {}

  // The code of the first table, evidence or update that fails, such as -6, -26 or -42; values that are set
  // by then stay set. Nodes without intervals get a number only if they are observed or a constant.
  int Run();

 private:
  [[nodiscard]] QVR_equation* EquationAt(int handle) const;
  int AddNodes();
  int AddNode(int handle, QVR_equation& equation);
  [[nodiscard]] bool HasFixedParent(int handle) const;
  int GetTable(QVR_equation& equation, QVR_Dmatrix& own, const QVR_Dmatrix*& table) const;
  int EnterEvidence();
  int ReadResults();
  int ReadResult(int handle, QVR_nodeValue& result);
  int FixOthers();

  QVR_network& source;
  QVR_network scratch;
  std::vector<int> toScratch;  // by handle of the source; -1 for none
};

}  // namespace qvr

#endif
