#include "expression/expression.h"

#include <algorithm>
#include <cassert>
#include <cmath>

#include "expression/expression_walk.h"

namespace qvr {

// Clones through an explicit stack: formulas may be thousands of nodes high.
ExpressionPtr QVR_expression::Clone() const {
  struct Pair {
    const QVR_expression* source;
    QVR_expression* copy;
  };
  ExpressionPtr root = CloneNode();
  std::vector<Pair> open = {{this, root.get()}};
  while (!open.empty()) {
    const Pair pair = open.back();
    open.pop_back();
    pair.copy->sign = pair.source->sign;
    for (int i = 0; i < pair.source->GetChildCount(); ++i) {
      const QVR_expression* const child = pair.source->GetChild(i);
      pair.copy->ChildSlot(i) = child->CloneNode();
      open.push_back({child, pair.copy->ChildSlot(i).get()});
    }
  }
  return root;
}

void QVR_expression::CollectDistributions(ExpressionPtr& ownerSlot, std::vector<ExpressionPtr*>& list) {
  SlotWalk walk(ownerSlot);
  while (ExpressionPtr* const slot = walk.Next()) {
    if ((*slot)->GetType() == ExpressionType::Distribution) {
      list.push_back(slot);
    } else {
      walk.Enter(*slot);
    }
  }
}

bool QVR_expression::IsDeterministic() const {
  ExpressionWalk walk(*this);
  while (const QVR_expression* const node = walk.Next()) {
    if (node->GetType() == ExpressionType::Distribution) {
      return false;
    }
  }
  return true;
}

int QVR_expression::GetHeight() const {
  std::size_t height = 0;
  ExpressionWalk walk(*this);
  while (walk.Next() != nullptr) {
    height = std::max(height, walk.Path().size());
  }
  return static_cast<int>(height);
}

int QVR_expression::CountNodes() const {
  int count = 0;
  ExpressionWalk walk(*this);
  while (walk.Next() != nullptr) {
    ++count;
  }
  return count;
}

ExpressionPtr& QVR_expression::ChildSlot(int /*index*/) {
  assert(false && "a leaf has no children");
  static ExpressionPtr none;
  return none;
}

// Takes the tree below apart in a loop and without memory of its own. Nodes still to be freed form a chain,
// each holding the next one in the slot of its first child.
void QVR_expression::ReleaseChildren() {
  ExpressionPtr chain;
  const auto prepend = [&chain](ExpressionPtr node) {
    while (node != nullptr && node->GetChildCount() > 0) {
      ExpressionPtr first = std::move(node->ChildSlot(0));
      node->ChildSlot(0) = std::move(chain);
      chain = std::move(node);
      node = std::move(first);
    }
  };
  for (int i = 0; i < GetChildCount(); ++i) {
    prepend(std::move(ChildSlot(i)));
  }
  while (chain != nullptr) {
    const ExpressionPtr node = std::move(chain);
    chain = std::move(node->ChildSlot(0));
    for (int i = 1; i < node->GetChildCount(); ++i) {
      prepend(std::move(node->ChildSlot(i)));
    }
  }
}

ExpressionPtr QVR_constant::CloneNode() const { return std::make_unique<QVR_constant>(value); }

ExpressionPtr QVR_variable::CloneNode() const {
  auto copy = std::make_unique<QVR_variable>(name);
  copy->value = value;
  return copy;
}

QVR_binaryOperator::QVR_binaryOperator(ExpressionType newType, ExpressionPtr newLeft, ExpressionPtr newRight)
    : type(newType), left(std::move(newLeft)), right(std::move(newRight)) {}

ExpressionPtr QVR_binaryOperator::CloneNode() const { return MakeBinary(type, nullptr, nullptr); }

QVR_operatorConditional::QVR_operatorConditional(ExpressionPtr newCondition, ExpressionPtr newWhenTrue,
                                                 ExpressionPtr newWhenFalse)
    : condition(std::move(newCondition)),
      whenTrue(std::move(newWhenTrue)),
      whenFalse(std::move(newWhenFalse)) {}

ExpressionPtr& QVR_operatorConditional::ChildSlot(int index) {
  return index == 0 ? condition : index == 1 ? whenTrue : whenFalse;
}

ExpressionPtr QVR_operatorConditional::CloneNode() const {
  return std::make_unique<QVR_operatorConditional>(nullptr, nullptr, nullptr);
}

ExpressionPtr MakeConstant(double value) {
  ExpressionPtr constant = std::make_unique<QVR_constant>(std::fabs(value));
  constant->sign = std::signbit(value) ? -1 : 1;
  return constant;
}

ExpressionPtr MakeVariable(std::string_view name) { return std::make_unique<QVR_variable>(name); }

ExpressionPtr MakeBinary(ExpressionType type, ExpressionPtr left, ExpressionPtr right) {
  return std::make_unique<QVR_binaryOperator>(type, std::move(left), std::move(right));
}

const QVR_constant* AsConstant(const QVR_expression& node) {
  return node.GetType() == ExpressionType::Constant ? static_cast<const QVR_constant*>(&node) : nullptr;
}

const QVR_variable* AsVariable(const QVR_expression& node) {
  return node.GetType() == ExpressionType::Variable ? static_cast<const QVR_variable*>(&node) : nullptr;
}

QVR_binaryOperator* AsBinary(QVR_expression& node) {
  const bool binary = node.IsOperator() && node.GetType() != ExpressionType::Conditional;
  return binary ? static_cast<QVR_binaryOperator*>(&node) : nullptr;
}

bool IsVariable(const QVR_expression& node, std::string_view name) {
  const QVR_variable* const variable = AsVariable(node);
  return variable != nullptr && variable->name == name;
}

}  // namespace qvr
