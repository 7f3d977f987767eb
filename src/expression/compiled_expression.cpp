#include "expression/compiled_expression.h"

#include <algorithm>

#include "expression/function_expression.h"
#include "expression/value_table.h"

namespace qvr {
namespace {

// A call without evaluator is a constant: its arguments aren't evaluated.
int CountOperands(const QVR_expression& node) {
  const bool unknown = node.GetType() == ExpressionType::Function &&
                       static_cast<const QVR_function&>(node).entry->evaluate == nullptr;
  return unknown ? 0 : node.GetChildCount();
}

}  // namespace

// Operands come before their operator. A conditional is its condition, a jump behind the first branch, the
// branch, a jump behind the second one, and that.
CompiledExpression::CompiledExpression(const QVR_expression& root, const ValueTable& table) {
  std::vector<Frame> open = {{&root, 0, -1}};
  while (!open.empty()) {
    Frame& frame = open.back();
    if (frame.node->GetType() == ExpressionType::Conditional) {
      StartChild(frame);
    }
    if (frame.nextChild < CountOperands(*frame.node)) {
      open.push_back({frame.node->GetChild(frame.nextChild++), 0, -1});
    } else {
      EmitNode(*frame.node, table);
      open.pop_back();
    }
  }
}

// What stands before the next child of a conditional, or behind the last.
void CompiledExpression::StartChild(Frame& frame) {
  if (frame.nextChild == 0) {
    return;
  }
  const int closedJump = frame.openJump;
  if (frame.nextChild < 3) {
    frame.openJump = Emit(frame.nextChild == 1 ? Code::JumpIfZero : Code::Jump, 0, 0.0, -1);
  }
  if (closedJump >= 0) {
    program[static_cast<std::size_t>(closedJump)].operand = static_cast<int>(program.size());
  }
}

void CompiledExpression::EmitNode(const QVR_expression& node, const ValueTable& table) {
  const ExpressionType type = node.GetType();
  switch (type) {
    case ExpressionType::Variable:
      if (!EmitVariable(static_cast<const QVR_variable&>(node), table)) {
        return;
      }
      break;
    case ExpressionType::Constant:
      Emit(Code::Constant, 0, node.EvaluateSigned(), 1);
      return;
    case ExpressionType::Function:
    case ExpressionType::Distribution:
      if (!EmitCall(static_cast<const QVR_function&>(node))) {
        return;
      }
      break;
    case ExpressionType::Plus:
      Emit(Code::Plus, 0, 0.0, -1);
      break;
    case ExpressionType::Minus:
      Emit(Code::Minus, 0, 0.0, -1);
      break;
    case ExpressionType::Divide:
      Emit(Code::Divide, 0, 0.0, -1);
      break;
    case ExpressionType::Multiply:
      Emit(Code::Multiply, 0, 0.0, -1);
      break;
    case ExpressionType::Conditional:
      break;
    default:
      Emit(Code::Binary, static_cast<int>(type), 0.0, -1);
  }
  if (node.sign != 1) {
    Emit(Code::Sign, 0, node.sign, 0);
  }
}

bool CompiledExpression::EmitVariable(const QVR_variable& variable, const ValueTable& table) {
  const int slot = table.FindVariable(variable.name);
  if (slot < 0) {
    Emit(Code::Constant, 0, variable.EvaluateSigned(), 1);
    return false;
  }
  Emit(Code::Variable, slot, 0.0, 1);
  return true;
}

bool CompiledExpression::EmitCall(const QVR_function& function) {
  if (function.entry->evaluate == nullptr) {
    Emit(Code::Constant, 0, function.EvaluateSigned(), 1);
    return false;
  }
  const int argumentCount = function.GetChildCount();
  Emit(Code::Call, static_cast<int>(calls.size()), 0.0, 1 - argumentCount);
  calls.push_back({function.entry, argumentCount});
  return true;
}

int CompiledExpression::Emit(Code code, int operand, double number, int depthChange) {
  depth += depthChange;
  stack.resize(std::max(stack.size(), static_cast<std::size_t>(depth)));
  program.push_back({code, operand, number});
  return static_cast<int>(program.size()) - 1;
}

double CompiledExpression::Evaluate(const ValueTable& table) {
  double* top = stack.data();  // behind the last operand
  const Instruction* const begin = program.data();
  const Instruction* const end = begin + program.size();
  for (const Instruction* at = begin; at != end; ++at) {
    switch (at->code) {
      case Code::Constant:
        *top++ = at->number;
        break;
      case Code::Variable:
        *top++ = table[at->operand];
        break;
      case Code::Plus:
        --top;
        top[-1] += top[0];
        break;
      case Code::Minus:
        --top;
        top[-1] -= top[0];
        break;
      case Code::Divide:
        --top;
        top[-1] /= top[0];
        break;
      case Code::Multiply:
        --top;
        top[-1] *= top[0];
        break;
      case Code::Binary:
        --top;
        top[-1] = QVR_binaryOperator::Combine(static_cast<ExpressionType>(at->operand), top[-1], top[0]);
        break;
      case Code::Call: {
        const CallSite& site = calls[static_cast<std::size_t>(at->operand)];
        top -= site.argumentCount;
        *top = Call(site, top);
        ++top;
        break;
      }
      case Code::Sign:
        top[-1] *= at->number;
        break;
      case Code::JumpIfZero:
        if (*--top != 0.0) {
          break;
        }
        [[fallthrough]];
      case Code::Jump:
        at = begin + at->operand - 1;
    }
  }
  return top[-1];
}

double CompiledExpression::Call(const CallSite& site, const double* arguments) {
  ArgumentBlock block;
  block.count = std::min(site.argumentCount, kMaxArguments);
  std::copy(arguments, arguments + block.count, block.values);
  PadArguments(*site.row, block);
  return site.row->evaluate(block);
}

}  // namespace qvr
