// Solving an equation for one of its variables.
#ifndef QVR_EXPRESSION_ISOLATE_VARIABLE_H
#define QVR_EXPRESSION_ISOLATE_VARIABLE_H

#include <string_view>

#include "expression/expression.h"

namespace qvr {

// Rewrites `left` = `right` as name = form. -2 if the variable can't be brought down to one occurrence or
// stands below something that has no inverse; the two sides are then left rewritten in part, so callers
// that need them pass copies.
[[nodiscard]] int IsolateVariable(ExpressionPtr& left, ExpressionPtr& right, std::string_view name);

}  // namespace qvr

#endif
