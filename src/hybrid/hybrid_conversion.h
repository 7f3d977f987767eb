// Rewriting equation networks as hybrid networks, so that evidence below a root can be met.
#ifndef QVR_HYBRID_HYBRID_CONVERSION_H
#define QVR_HYBRID_HYBRID_CONVERSION_H

#include <string>

#include "expression/expression.h"
#include "model/network.h"

namespace qvr {

// Moves the counter on to the next generated identifier that neither network has yet: "b" for 1, "ab" for
// 16, and so on.
void MakeAuxiliaryId(std::string& text, int& auxiliaryCounter, const QVR_network& scratch,
                     const QVR_network& source);

// Where a continuous node's values are expected.
struct ValueRange {
  double lowerBound;
  double upperBound;
};

// Adds a QVR_defDistribution node of this law, whatever the root's sign is, with arcs from the nodes that its
// arguments name. The new handle, or a negative code.
[[nodiscard]] int AddDistributionNode(QVR_network& scratch, const std::string& id,
                                      const QVR_expression& distribution, const ValueRange& range);

// Adds a QVR_defHEquation node. Each distribution in the form becomes an auxiliary node of its own, and the
// form is solved for every variable that is then in it; arcs come from the auxiliary nodes and then from the
// others. The new handle, or -2 if a variable can't be solved for, or the code of what the network refused.
[[nodiscard]] int ConvertEquation(QVR_network& scratch, const std::string& id, const QVR_expression& form,
                                  const QVR_network& source, int& auxiliaryCounter, const ValueRange& range);

}  // namespace qvr

#endif
