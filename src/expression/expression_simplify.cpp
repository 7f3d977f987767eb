// Simplification: the passes over a tree. The rules stand in simplify_rules.cpp.
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

// Copied if there have been copies, else Done if there has been any change.
Rewrite RunPass(ExpressionPtr& root, FoldedSign foldedSign) {
  RewriteContext context(root, foldedSign);
  Rewrite outcome = Rewrite::None;
  SlotWalk walk(root);
  while (ExpressionPtr* const slot = walk.Next()) {
    const Rewrite result = ApplyRules(*slot, context);
    if (result == Rewrite::None) {
      walk.Enter(*slot);
    } else if (result == Rewrite::Copied || (result == Rewrite::Done && outcome == Rewrite::None)) {
      outcome = result;
    }
  }
  return outcome;
}

}  // namespace

bool QVR_expression::Simplify(ExpressionPtr& ownerSlot) {
  return RunPass(ownerSlot, FoldedSign::Dropped) != Rewrite::None;
}

void QVR_expression::SimplifyFully(ExpressionPtr& ownerSlot) {
  Rewrite last = Rewrite::Copied;
  for (int pass = 0; pass < kMaxPasses && last != Rewrite::None; ++pass) {
    if (last == Rewrite::Copied && HasMoreNodes(*ownerSlot, kMaxNodes)) {
      return;
    }
    last = RunPass(ownerSlot, FoldedSign::Kept);
  }
}

}  // namespace qvr
