// The rules by which a node of a formula is rewritten.
#ifndef QVR_EXPRESSION_SIMPLIFY_RULES_H
#define QVR_EXPRESSION_SIMPLIFY_RULES_H

#include <unordered_set>

#include "expression/expression.h"

namespace qvr {

using NodeSet = std::unordered_set<const QVR_expression*>;

enum class Rewrite {
  None,  // no rule applies
  Done,
  Stop,  // no rule may be applied here, nor below
};

// Applies the first rule that fits to the node in the slot. `stochastic` holds the nodes with a distribution
// at or below them: what is in there must not be copied, since two copies would draw independently.
Rewrite ApplyRules(ExpressionPtr& slot, const NodeSet& stochastic);

[[nodiscard]] bool HasConstantOperands(QVR_expression& node);

}  // namespace qvr

#endif
