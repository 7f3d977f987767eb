#include "definitions/equation_pair.h"

#include <algorithm>
#include <utility>

#include "model/status.h"

namespace qvr {

namespace {

// Sums with more terms are added up in blocks, since a formula's height is limited.
constexpr std::size_t kLongestChain = 9000;

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
      hasSingleVariable(other.hasSingleVariable) {}

EquationPair& EquationPair::operator=(EquationPair other) noexcept {
  left.swap(other.left);
  right.swap(other.right);
  isStochastic = other.isStochastic;
  hasSingleVariable = other.hasSingleVariable;
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
}

void EquationPair::UpdateFlags() {
  isStochastic = !left->IsDeterministic() || !right->IsDeterministic();
  std::vector<std::string> names;
  GetVariables(names);
  hasSingleVariable = !isStochastic && names.size() == 1;
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
