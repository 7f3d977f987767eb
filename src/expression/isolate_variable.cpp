#include "expression/isolate_variable.h"

#include <vector>

#include "expression/expression_walk.h"
#include "model/status.h"

namespace qvr {
namespace {

// The indices of the children that lead from the root to the variable's first occurrence.
std::vector<int> PathTo(const QVR_expression& root, std::string_view name) {
  std::vector<int> children;
  ExpressionWalk walk(root);
  while (const QVR_expression* const node = walk.Next()) {
    if (IsVariable(*node, name)) {
      break;
    }
  }
  for (const ExpressionWalk::Step& step : walk.Path()) {
    children.push_back(step.child);
  }
  children.pop_back();
  return children;
}

// Simplifying can multiply occurrences, as z = x*(y+w) shows, so it is left to the equations that need it.
bool OccursOnce(ExpressionPtr& side, std::string_view name) {
  if (side->CountVariable(name) == 1) {
    return true;
  }
  QVR_expression::SimplifyFully(side);
  return side->CountVariable(name) == 1;
}

}  // namespace

int IsolateVariable(ExpressionPtr& left, ExpressionPtr& right, std::string_view name) {
  left = MakeBinary(ExpressionType::Minus, std::move(left), std::move(right));
  right = MakeConstant(0.0);
  if (!OccursOnce(left, name)) {
    return QVR_OUT_OF_RANGE;
  }
  for (const int child : PathTo(*left, name)) {
    if (!QVR_expression::SolveStepAt(child, left, right)) {
      return QVR_OUT_OF_RANGE;
    }
  }
  if (left->sign < 0) {
    left->sign = 1;
    right = MakeBinary(ExpressionType::Minus, MakeConstant(0.0), std::move(right));
  }
  QVR_expression::SimplifyFully(right);
  return QVR_OKAY;
}

}  // namespace qvr
