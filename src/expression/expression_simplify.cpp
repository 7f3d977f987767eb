// Simplification: the passes over a tree. The rules stand in simplify_rules.cpp.
#include <cmath>

#include "expression/expression.h"
#include "expression/expression_walk.h"
#include "expression/simplify_rules.h"

namespace qvr {
namespace {

// Products of sums grow exponentially when they are multiplied out.
constexpr int kMaxPasses = 10'000;
constexpr int kMaxNodes = 10'000;

bool HasMoreNodes(const QVR_expression& root, int limit) {
  int count = 0;
  ExpressionWalk walk(root);
  while (walk.Next() != nullptr) {
    if (++count > limit) {
      return true;
    }
  }
  return false;
}

// All nodes with a distribution at or below them.
NodeSet FindStochastic(const QVR_expression& root) {
  NodeSet stochastic;
  ExpressionWalk walk(root);
  while (const QVR_expression* const node = walk.Next()) {
    if (node->GetType() != ExpressionType::Distribution) {
      continue;
    }
    for (std::size_t i = walk.Path().size(); i-- > 0;) {
      if (!stochastic.insert(walk.Path()[i].node).second) {
        break;  // and so are all above
      }
    }
  }
  return stochastic;
}

bool WouldLoseSign(QVR_expression& node) {
  const ExpressionType type = node.GetType();
  return node.sign < 0 && type >= ExpressionType::Exp && type <= ExpressionType::NE &&
         HasConstantOperands(node);
}

// A negated power or comparison of constants becomes its value here, as folding it would drop the sign.
// Children go first, since they may become the constants of their parents.
void FoldNegated(ExpressionPtr& root) {
  std::vector<ExpressionPtr*> slots;
  SlotWalk walk(root);
  while (ExpressionPtr* const slot = walk.Next()) {
    slots.push_back(slot);
    walk.Enter(*slot);
  }
  for (std::size_t i = slots.size(); i-- > 0;) {
    ExpressionPtr& slot = *slots[i];
    if (const double value = WouldLoseSign(*slot) ? slot->EvaluateSigned() : HUGE_VAL; std::isfinite(value)) {
      slot = MakeConstant(value);
    }
  }
}

}  // namespace

bool QVR_expression::Simplify(ExpressionPtr& ownerSlot) {
  const NodeSet stochastic = FindStochastic(*ownerSlot);
  bool changed = false;
  SlotWalk walk(ownerSlot);
  while (ExpressionPtr* const slot = walk.Next()) {
    const Rewrite result = ApplyRules(*slot, stochastic);
    changed = changed || result == Rewrite::Done;
    if (result == Rewrite::None) {
      walk.Enter(*slot);
    }
  }
  return changed;
}

void QVR_expression::SimplifyFully(ExpressionPtr& ownerSlot) {
  for (int pass = 0; pass < kMaxPasses && !HasMoreNodes(*ownerSlot, kMaxNodes); ++pass) {
    FoldNegated(ownerSlot);
    if (!Simplify(ownerSlot)) {
      return;
    }
  }
}

}  // namespace qvr
