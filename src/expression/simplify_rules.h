// The rules by which a node of a formula is rewritten.
#ifndef QVR_EXPRESSION_SIMPLIFY_RULES_H
#define QVR_EXPRESSION_SIMPLIFY_RULES_H

#include <optional>
#include <unordered_set>

#include "expression/expression.h"

namespace qvr {

enum class Rewrite {
  None,  // no rule applies
  Done,
  Copied,  // done, and the tree may have grown
  Stop,    // no rule may be applied here, nor below
};

// What becomes of the sign of a power or comparison that is folded into a constant.
enum class FoldedSign { Dropped, Kept };

// What the rules need to know beyond the node in question; for one pass over a tree.
class RewriteContext {
 public:
  RewriteContext(const ExpressionPtr& newRoot, FoldedSign newFoldedSign)
      : root(newRoot), foldedSign(newFoldedSign) {}

  [[nodiscard]] FoldedSign GetFoldedSign() const { return foldedSign; }
  // Whether there is a distribution at or below a node that the pass hasn't changed yet. Copies of it would
  // draw independently of each other.
  [[nodiscard]] bool IsStochastic(const QVR_expression& node);

 private:
  const ExpressionPtr& root;
  FoldedSign foldedSign;
  std::optional<std::unordered_set<const QVR_expression*>> stochastic;  // found when first asked for
};

// Applies the first rule that fits to the node in the slot.
Rewrite ApplyRules(ExpressionPtr& slot, RewriteContext& context);

}  // namespace qvr

#endif
