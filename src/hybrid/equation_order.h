// The order in which equations are evaluated, simultaneous sets as one.
#ifndef QVR_HYBRID_EQUATION_ORDER_H
#define QVR_HYBRID_EQUATION_ORDER_H

#include <vector>

#include "model/network.h"
#include "values/eq_evaluation.h"

namespace qvr {

// One equation, or the members of a simultaneous set in ascending order.
struct EquationUnit {
  std::vector<int> members;  // handles
  bool isComponent = false;
};

// Null for a node without such a value.
[[nodiscard]] inline QVR_valEqEvaluation* EquationValue(QVR_network& network, int handle) {
  return dynamic_cast<QVR_valEqEvaluation*>(network.NodeAt(handle)->value.get());
}

// Every unit stands behind those that hold parents of its members; ties in topological order. An observed
// node is a unit of its own that needs nothing. -2, which is logged, if a set names what is no node of its
// kind or depends on itself from outside; -567, likewise, for a node without its value.
int OrderEquations(QVR_network& network, std::vector<EquationUnit>& order);

}  // namespace qvr

#endif
