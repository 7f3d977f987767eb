#include "definitions/equation_pair.h"

#include <algorithm>
#include <utility>

#include "model/status.h"

namespace qvr {

namespace {

// Sums with more terms are added up in blocks, since a formula's height is limited.
constexpr std::size_t kLongestChain = 9000;

bool IsZero(const QVR_expression& side) {
  const QVR_constant* constant = AsConstant(side);
  return constant != nullptr && constant->value == 0.0;
}

ExpressionPtr AddUp(std::vector<ExpressionPtr>::iterator first, std::vector<ExpressionPtr>::iterator last) {
  ExpressionPtr sum = std::move(*first);
  while (++first != last) {
    sum = MakeBinary(ExpressionType::Plus, std::move(sum), std::move(*first));
  }
  return sum;
}

}  // namespace

EquationPair::EquationPair() : EquationPair(MakeConstant(0.0), MakeConstant(0.0)) {}

EquationPair::EquationPair(ExpressionPtr newLeft, ExpressionPtr newRight)
    : left(std::move(newLeft)), right(std::move(newRight)) {
  UpdateFlags();
}

EquationPair::EquationPair(const EquationPair& other)
    : left(other.left->Clone()),
      right(other.right->Clone()),
      isStochastic(other.isStochastic),
      hasSingleVariable(other.hasSingleVariable),
      rightHeight(other.rightHeight) {}

EquationPair& EquationPair::operator=(EquationPair other) noexcept {
  left.swap(other.left);
  right.swap(other.right);
  isStochastic = other.isStochastic;
  hasSingleVariable = other.hasSingleVariable;
  rightHeight = other.rightHeight;
  return *this;
}

int EquationPair::Parse(const char* text, int* errorPosition, std::string* errorText) {
  const ExpressionPtr root = QVR_expression::Parse(text, errorText, errorPosition);
  if (root == nullptr) {
    return QVR_OUT_OF_RANGE;
  }
  if (root->GetType() != ExpressionType::EQ) {
    if (errorText != nullptr) {
      *errorText = "Toplevel '=' sign missing in equation";
    }
    return QVR_ERROR_3;
  }
  // A minus in front of the whole equation says nothing.
  auto& equation = static_cast<QVR_binaryOperator&>(*root);
  *this = EquationPair(std::move(equation.left), std::move(equation.right));
  return QVR_OKAY;
}

std::string EquationPair::GetText() const {
  return MakeBinary(ExpressionType::EQ, left->Clone(), right->Clone())->GetText();
}

void EquationPair::GetVariables(std::vector<std::string>& list) const {
  left->GetVariables(list);
  right->GetVariables(list);
}

void EquationPair::RenameVariable(std::string_view oldName, std::string_view newName) {
  left->RenameVariable(oldName, newName);
  right->RenameVariable(oldName, newName);
  UpdateFlags();
}

int EquationPair::AddTerm(std::string_view name) {
  ExpressionPtr variable = MakeVariable(name);
  if (IsZero(*right)) {
    right = std::move(variable);
  } else {
    // The sum and the "=" each make the equation higher by one.
    if (rightHeight + 2 > kMaxExpressionHeight) {
      return QVR_OUT_OF_MEMORY;
    }
    right = MakeBinary(ExpressionType::Plus, std::move(right), std::move(variable));
    ++rightHeight;
  }
  hasSingleVariable = !isStochastic && NamesOneVariable();
  return QVR_OKAY;
}

bool EquationPair::RemoveTerm(std::string_view name) {
  ExpressionPtr* slot = &right;
  QVR_binaryOperator* sum = AsBinary(**slot);
  while (sum != nullptr && !IsVariable(*sum->left, name) && !IsVariable(*sum->right, name)) {
    slot = &sum->left;
    sum = AsBinary(**slot);
  }
  if (sum == nullptr) {
    return false;
  }
  ExpressionPtr rest = std::move(IsVariable(*sum->right, name) ? sum->left : sum->right);
  *slot = std::move(rest);
  --rightHeight;
  hasSingleVariable = !isStochastic && NamesOneVariable();
  return true;
}

void EquationPair::UpdateFlags() {
  isStochastic = !left->IsDeterministic() || !right->IsDeterministic();
  hasSingleVariable = !isStochastic && NamesOneVariable();
  rightHeight = right->GetHeight();
}

// Stops at a second name. The terms that came last are met first, so that in a sum it meets one at once.
bool EquationPair::NamesOneVariable() const {
  const QVR_variable* found = nullptr;
  std::vector<const QVR_expression*> open = {left.get(), right.get()};
  while (!open.empty()) {
    const QVR_expression& node = *open.back();
    open.pop_back();
    if (const QVR_variable* variable = AsVariable(node)) {
      if (found != nullptr && found->name != variable->name) {
        return false;
      }
      found = variable;
    }
    for (int i = 0; i < node.GetChildCount(); ++i) {
      open.push_back(node.GetChild(i));
    }
  }
  return found != nullptr;
}

ExpressionPtr MakeSum(const std::vector<std::string>& names) {
  if (names.empty()) {
    return MakeConstant(0.0);
  }
  std::vector<ExpressionPtr> terms;
  terms.reserve(names.size());
  for (const std::string& name : names) {
    terms.push_back(MakeVariable(name));
  }
  while (terms.size() > kLongestChain) {
    std::vector<ExpressionPtr> blocks;
    for (std::size_t start = 0; start < terms.size(); start += kLongestChain) {
      const std::size_t end = std::min(start + kLongestChain, terms.size());
      blocks.push_back(AddUp(terms.begin() + static_cast<std::ptrdiff_t>(start),
                             terms.begin() + static_cast<std::ptrdiff_t>(end)));
    }
    terms.swap(blocks);
  }
  return AddUp(terms.begin(), terms.end());
}

}  // namespace qvr
