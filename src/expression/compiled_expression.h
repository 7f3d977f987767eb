// A formula as a flat program, for evaluating it many times.
#ifndef QVR_EXPRESSION_COMPILED_EXPRESSION_H
#define QVR_EXPRESSION_COMPILED_EXPRESSION_H

#include <vector>

#include "expression/expression.h"
#include "expression/function_row.h"

namespace qvr {

class QVR_function;
class ValueTable;

// Gives bit for bit what the tree gives, distributions drawing in the same order, without recursion and
// without allocating.
class CompiledExpression {
 public:
  // Keeps nothing of the tree. Variables that the table doesn't name are taken as the numbers that they
  // have now.
  CompiledExpression(const QVR_expression& root, const ValueTable& table);

  // The signed value, by the table of the constructor or one with the same slots.
  [[nodiscard]] double Evaluate(const ValueTable& table);

 private:
  enum class Code { Constant, Variable, Plus, Minus, Divide, Multiply, Binary, Call, Sign, Jump, JumpIfZero };
  // `number` is the constant, or a sign.
  struct Instruction {
    Code code;
    int operand;  // slot, ExpressionType, index of the call, or where to jump
    double number;
  };
  struct CallSite {
    const FunctionRow* row;
    int argumentCount;
  };
  // A node whose children are being compiled.
  struct Frame {
    const QVR_expression* node;
    int nextChild;
    int openJump;  // the instruction still without a destination
  };

  void StartChild(Frame& frame);
  void EmitNode(const QVR_expression& node, const ValueTable& table);
  // False where what is emitted is a constant, its sign included.
  bool EmitVariable(const QVR_variable& variable, const ValueTable& table);
  bool EmitCall(const QVR_function& function);
  int Emit(Code code, int operand, double number, int depthChange);
  [[nodiscard]] static double Call(const CallSite& site, const double* arguments);

  std::vector<Instruction> program;
  std::vector<CallSite> calls;
  std::vector<double> stack;
  int depth = 0;  // of the stack, while compiling
};

}  // namespace qvr

#endif
