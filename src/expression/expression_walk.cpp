#include "expression/expression_walk.h"

#include <utility>

namespace qvr {

const QVR_expression* ExpressionWalk::Next() {
  if (start != nullptr) {
    return Enter(std::exchange(start, nullptr));
  }
  while (!path.empty()) {
    Step& top = path.back();
    if (++top.child < top.node->GetChildCount()) {
      return Enter(top.node->GetChild(top.child));
    }
    path.pop_back();
  }
  return nullptr;
}

const QVR_expression* ExpressionWalk::Enter(const QVR_expression* node) {
  path.push_back({node, -1});
  return node;
}

ExpressionPtr* SlotWalk::Next() {
  if (open.empty()) {
    return nullptr;
  }
  ExpressionPtr* const slot = open.back();
  open.pop_back();
  return slot;
}

void SlotWalk::Enter(ExpressionPtr& slot) {
  for (int i = slot->GetChildCount(); i-- > 0;) {
    open.push_back(&slot->ChildSlot(i));
  }
}

}  // namespace qvr
