// Walks over the nodes of a formula, with stacks of their own.
#ifndef QVR_EXPRESSION_EXPRESSION_WALK_H
#define QVR_EXPRESSION_EXPRESSION_WALK_H

#include <vector>

#include "expression/expression.h"

namespace qvr {

// Parents come before their children, and these from left to right. The tree must not change meanwhile.
class ExpressionWalk {
 public:
  struct Step {
    const QVR_expression* node;
    int child;  // the index of the child that the next step holds; -1 in the last step
  };

  explicit ExpressionWalk(const QVR_expression& root) : start(&root) {}

  // Null behind the last node.
  const QVR_expression* Next();
  // From the root to the present node.
  [[nodiscard]] const std::vector<Step>& Path() const { return path; }

 private:
  const QVR_expression* Enter(const QVR_expression* node);

  const QVR_expression* start;  // null once the walk has begun
  std::vector<Step> path;
};

// A walk in the same order that may rewrite the tree: the caller decides at each slot, when it has done what
// it wants to do there, whether to enter what is then below.
class SlotWalk {
 public:
  explicit SlotWalk(ExpressionPtr& root) : open({&root}) {}

  // Null behind the last slot.
  ExpressionPtr* Next();
  void Enter(ExpressionPtr& slot);

 private:
  std::vector<ExpressionPtr*> open;
};

}  // namespace qvr

#endif
