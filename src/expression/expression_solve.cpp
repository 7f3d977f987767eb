// Moves one layer of a formula to the other side of an equation.
#include "expression/expression.h"
#include "expression/function_expression.h"

namespace qvr {
namespace {

struct InversePair {
  std::string_view name;
  const char* inverse;
};

constexpr InversePair kInverses[] = {
    {"Sin", "Asin"}, {"Asin", "Sin"}, {"Cos", "Acos"},    {"Acos", "Cos"},
    {"Tan", "Atan"}, {"Atan", "Tan"}, {"Exp", "Ln"},      {"Ln", "Exp"},
    {"Sqr", "Sqrt"}, {"Sqrt", "Sqr"}, {"Pow10", "Log10"}, {"Log10", "Pow10"},
};

// Null for a function without one.
const char* InverseOf(std::string_view name) {
  for (const InversePair& pair : kInverses) {
    if (pair.name == name) {
      return pair.inverse;
    }
  }
  return nullptr;
}

// By the row's name: a call that only stands for itself may be called anything.
std::string_view RowName(const QVR_function& call) { return call.entry->name; }

bool IsLog(const QVR_function& call) { return RowName(call) == "Log" && call.GetChildCount() == 2; }

bool CanInvert(const QVR_expression& node) {
  const ExpressionType type = node.GetType();
  if (type == ExpressionType::Function) {
    const auto& call = static_cast<const QVR_function&>(node);
    return IsLog(call) || (call.GetChildCount() == 1 && InverseOf(RowName(call)) != nullptr);
  }
  return type >= ExpressionType::Plus && type <= ExpressionType::Exp;
}

ExpressionPtr Call(const char* name, ExpressionPtr argument) {
  std::unique_ptr<QVR_function> call = MakeFunction(name);
  call->arguments.push_back(std::move(argument));
  return call;
}

ExpressionPtr Reciprocal(ExpressionPtr x) {
  return MakeBinary(ExpressionType::Divide, MakeConstant(1.0), std::move(x));
}

// l from l o r = y.
ExpressionPtr SolveForLeft(ExpressionType type, ExpressionPtr r, ExpressionPtr y) {
  switch (type) {
    case ExpressionType::Plus:
      return MakeBinary(ExpressionType::Minus, std::move(y), std::move(r));
    case ExpressionType::Minus:
      return MakeBinary(ExpressionType::Plus, std::move(y), std::move(r));
    case ExpressionType::Multiply:
      return MakeBinary(ExpressionType::Divide, std::move(y), std::move(r));
    case ExpressionType::Divide:
      return MakeBinary(ExpressionType::Multiply, std::move(y), std::move(r));
    default:
      return MakeBinary(ExpressionType::Exp, std::move(y), Reciprocal(std::move(r)));
  }
}

// r from l o r = y.
ExpressionPtr SolveForRight(ExpressionType type, ExpressionPtr l, ExpressionPtr y) {
  switch (type) {
    case ExpressionType::Plus:
      return MakeBinary(ExpressionType::Minus, std::move(y), std::move(l));
    case ExpressionType::Multiply:
      return MakeBinary(ExpressionType::Divide, std::move(y), std::move(l));
    case ExpressionType::Minus:
    case ExpressionType::Divide:
      return MakeBinary(type, std::move(l), std::move(y));
    default:
      return MakeBinary(ExpressionType::Divide, Call("Ln", std::move(y)), Call("Ln", std::move(l)));
  }
}

// The other side once everything but the child has moved there.
ExpressionPtr SolveFor(int child, QVR_expression& node, ExpressionPtr y) {
  if (QVR_binaryOperator* const binary = AsBinary(node); binary != nullptr) {
    return child == 0 ? SolveForLeft(binary->type, std::move(binary->right), std::move(y))
                      : SolveForRight(binary->type, std::move(binary->left), std::move(y));
  }
  auto& call = static_cast<QVR_function&>(node);
  if (!IsLog(call)) {
    return Call(InverseOf(RowName(call)), std::move(y));
  }
  if (child == 0) {
    return MakeBinary(ExpressionType::Exp, std::move(call.arguments[1]), std::move(y));
  }
  return MakeBinary(ExpressionType::Exp, std::move(call.arguments[0]), Reciprocal(std::move(y)));
}

}  // namespace

bool QVR_expression::SolveStep(std::string_view variable, ExpressionPtr& inner, ExpressionPtr& rhs) {
  for (int i = 0; i < inner->GetChildCount(); ++i) {
    if (inner->GetChild(i)->CountVariable(variable) > 0) {
      return SolveStepAt(i, inner, rhs);
    }
  }
  return false;
}

bool QVR_expression::SolveStepAt(int child, ExpressionPtr& inner, ExpressionPtr& rhs) {
  if (!CanInvert(*inner)) {
    return false;
  }
  rhs->sign *= inner->sign;
  rhs = SolveFor(child, *inner, std::move(rhs));
  ExpressionPtr kept = std::move(inner->ChildSlot(child));
  inner = std::move(kept);
  return true;
}

}  // namespace qvr
