#include <cmath>
#include <limits>

#include "expression/expression.h"

namespace qvr {

double QVR_binaryOperator::Combine(ExpressionType type, double left, double right) {
  switch (type) {
    case ExpressionType::Plus:
      return left + right;
    case ExpressionType::Minus:
      return left - right;
    case ExpressionType::Divide:
      return left / right;
    case ExpressionType::Multiply:
      return left * right;
    case ExpressionType::Exp:
      return std::pow(left, right);
    case ExpressionType::LT:
      return left < right ? 1.0 : 0.0;
    case ExpressionType::GT:
      return left > right ? 1.0 : 0.0;
    case ExpressionType::LE:
      return left <= right ? 1.0 : 0.0;
    case ExpressionType::GE:
      return left >= right ? 1.0 : 0.0;
    case ExpressionType::EQ:
      return left == right ? 1.0 : 0.0;
    case ExpressionType::NE:
      return left != right ? 1.0 : 0.0;
    case ExpressionType::Variable:
    case ExpressionType::Constant:
    case ExpressionType::Function:
    case ExpressionType::Distribution:
    case ExpressionType::Conditional:
      break;
  }
  return std::numeric_limits<double>::quiet_NaN();
}

// The left operand goes first: draws of distributions follow the text.
double QVR_binaryOperator::Evaluate() const {
  const double leftValue = left->EvaluateSigned();
  return Combine(type, leftValue, right->EvaluateSigned());
}

double QVR_operatorConditional::Evaluate() const {
  const QVR_expression& chosen = condition->EvaluateSigned() != 0.0 ? *whenTrue : *whenFalse;
  return chosen.EvaluateSigned();
}

}  // namespace qvr
