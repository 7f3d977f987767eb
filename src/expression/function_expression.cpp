#include "expression/function_expression.h"

#include <algorithm>
#include <cstdlib>
#include <limits>

namespace qvr {
namespace {

constexpr FunctionRow kUnknownRow = {.name = "", .arity = -kMaxArguments, .evaluate = nullptr};

}  // namespace

ExpressionPtr& QVR_function::ChildSlot(int index) { return arguments[static_cast<std::size_t>(index)]; }

ExpressionPtr QVR_function::CloneNode() const {
  auto copy = std::make_unique<QVR_function>(*entry);
  CopyShape(*copy);
  return copy;
}

void QVR_function::EvaluateArguments(ArgumentBlock& block) const {
  block.count = std::min(GetChildCount(), kMaxArguments);
  for (int i = 0; i < block.count; ++i) {
    block.values[i] = arguments[static_cast<std::size_t>(i)]->EvaluateSigned();
  }
  PadArguments(*entry, block);
}

double QVR_function::Evaluate() const {
  if (entry->evaluate == nullptr) {
    return std::numeric_limits<double>::quiet_NaN();
  }
  ArgumentBlock block;
  EvaluateArguments(block);
  return entry->evaluate(block);
}

QVR_unknownFunction::QVR_unknownFunction(std::string_view newName)
    : QVR_function(kUnknownRow), name(newName) {}

ExpressionPtr QVR_unknownFunction::CloneNode() const {
  auto copy = std::make_unique<QVR_unknownFunction>(name);
  CopyShape(*copy);
  return copy;
}

double QVR_distribution::GetDensity(double x) const {
  ArgumentBlock block;
  EvaluateArguments(block);
  return entry->density(x, block);
}

double QVR_distribution::GetTrueDensity(double x) const {
  ArgumentBlock block;
  EvaluateArguments(block);
  return entry->trueDensity(x, block);
}

void QVR_distribution::GetMoments(double& mean, double& variance) const {
  ArgumentBlock block;
  EvaluateArguments(block);
  entry->moments(mean, variance, block);
}

ExpressionPtr QVR_distribution::CloneNode() const {
  auto copy = std::make_unique<QVR_distribution>(*entry);
  CopyShape(*copy);
  return copy;
}

void PadArguments(const FunctionRow& row, ArgumentBlock& block) {
  for (const int least = std::abs(row.arity); block.count < least; ++block.count) {
    block.values[block.count] = std::numeric_limits<double>::quiet_NaN();
  }
}

std::unique_ptr<QVR_function> MakeFunction(std::string_view name) {
  const FunctionRow* const row = LookupFunctionRow(name);
  if (row == nullptr) {
    return nullptr;
  }
  if (row->density != nullptr) {
    return std::make_unique<QVR_distribution>(*row);
  }
  return std::make_unique<QVR_function>(*row);
}

}  // namespace qvr
