// Formulas as trees, which evaluate, print, simplify and solve themselves.
#ifndef QVR_EXPRESSION_EXPRESSION_H
#define QVR_EXPRESSION_EXPRESSION_H

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "model/special_numbers.h"

namespace qvr {

class QVR_expression;
class QVR_variable;
class ValueTable;

using ExpressionPtr = std::unique_ptr<QVR_expression>;

// All from Plus on are operators, all between Plus and NE binary ones.
enum class ExpressionType {
  Variable = 0,
  Constant = 1,
  Function = 2,
  Distribution = 3,
  Plus = 4,
  Minus = 5,
  Divide = 6,
  Multiply = 7,
  Exp = 8,
  LT = 9,
  GT = 10,
  LE = 11,
  GE = 12,
  EQ = 13,
  NE = 14,
  Conditional = 15,
};

// Parsed trees are at most this high, a single node counting 1.
inline constexpr int kMaxExpressionHeight = 10'000;

class QVR_variableVisitor {
 public:
  virtual ~QVR_variableVisitor() = default;
  virtual void Visit(QVR_variable& variable) = 0;
};

// A node with the tree below it. Children are never null. Only Evaluate recurses, with small frames; all
// other operations, the destructor included, take trees of any height.
class QVR_expression {
 public:
  QVR_expression() = default;
  QVR_expression(const QVR_expression&) = delete;  // see Clone
  QVR_expression& operator=(const QVR_expression&) = delete;
  virtual ~QVR_expression() = default;

  // Null for a faulty text, with a message and the place behind the token where the fault was noticed.
  // Both outputs may be null.
  [[nodiscard]] static ExpressionPtr Parse(const char* text, std::string* errorText, int* errorPosition);

  // A deep copy whose variables are unbound.
  [[nodiscard]] ExpressionPtr Clone() const;
  [[nodiscard]] virtual ExpressionType GetType() const = 0;
  [[nodiscard]] bool IsOperator() const { return GetType() >= ExpressionType::Plus; }

  // Appends the owners of the topmost distributions below and at `ownerSlot`, left to right. Whoever puts
  // something else there disposes of the distribution.
  static void CollectDistributions(ExpressionPtr& ownerSlot, std::vector<ExpressionPtr*>& list);
  // Whether there is no distribution anywhere in the tree.
  [[nodiscard]] bool IsDeterministic() const;

  // Visits all variables from left to right.
  void Accept(QVR_variableVisitor& visitor);
  // Makes the variables read their slots of the table; those that it doesn't name, or all if the table is
  // null, read their own value.
  void Bind(const ValueTable* table);
  void RenameVariable(std::string_view oldName, std::string_view newName);
  // Bound variables go on reading the table.
  void AssignVariable(std::string_view name, double value);
  [[nodiscard]] int CountVariable(std::string_view name) const;
  // Appends each name that isn't in the list yet, in order of first occurrence.
  void GetVariables(std::vector<std::string>& list) const;

  // Solves `inner` = `rhs` by one step: moves everything but the child that holds the variable to the other
  // side, and leaves that child in `inner`. False, with nothing changed, if the node has no inverse or no
  // child holds the variable. If several do, the first is taken.
  static bool SolveStep(std::string_view variable, ExpressionPtr& inner, ExpressionPtr& rhs);
  // The same for a given child.
  static bool SolveStepAt(int child, ExpressionPtr& inner, ExpressionPtr& rhs);

  // One pass of rewriting: a node to which a rule applies is done, others pass on to their children. True
  // if anything changed; to be repeated until false, see SimplifyFully. A power or comparison of two
  // constants loses its sign.
  static bool Simplify(ExpressionPtr& ownerSlot);
  // Repeats Simplify, for at most 10,000 passes and while there are at most 10,000 nodes. Keeps the value.
  static void SimplifyFully(ExpressionPtr& ownerSlot);

  // The value, without the node's own sign. A distribution draws.
  [[nodiscard]] virtual double Evaluate() const = 0;
  [[nodiscard]] double EvaluateSigned() const { return Evaluate() * sign; }
  // Appends the text, without the node's own sign.
  void ToString(std::string& out) const;
  // The text of a whole tree, sign included, which parses to the same tree.
  [[nodiscard]] std::string GetText() const;

  [[nodiscard]] int GetHeight() const;
  [[nodiscard]] int CountNodes() const;
  [[nodiscard]] virtual int GetChildCount() const { return 0; }
  // From left to right, in the order of evaluation.
  [[nodiscard]] virtual ExpressionPtr& ChildSlot(int index);
  [[nodiscard]] const QVR_expression* GetChild(int index) const {
    return const_cast<QVR_expression*>(this)->ChildSlot(index).get();
  }

  int sign = 1;  // or -1; applied by whoever evaluates or prints the node

 protected:
  // For destructors of classes with children.
  void ReleaseChildren();

 private:
  // A copy with room for children, but without them and the sign.
  [[nodiscard]] virtual ExpressionPtr CloneNode() const = 0;
};

class QVR_constant final : public QVR_expression {
 public:
  explicit QVR_constant(double newValue) : value(newValue) {}

  [[nodiscard]] ExpressionType GetType() const override { return ExpressionType::Constant; }
  [[nodiscard]] double Evaluate() const override { return value; }

  double value;  // the parser and the simplifier make it positive, with the sign in `sign`

 private:
  [[nodiscard]] ExpressionPtr CloneNode() const override;
};

class QVR_variable final : public QVR_expression {
 public:
  explicit QVR_variable(std::string_view newName) : name(newName) {}

  [[nodiscard]] ExpressionType GetType() const override { return ExpressionType::Variable; }
  [[nodiscard]] double Evaluate() const override;

  std::string name;
  double value = kUndefined;
  const ValueTable* bindingTable = nullptr;  // null while unbound
  int bindingIndex = -1;

 private:
  [[nodiscard]] ExpressionPtr CloneNode() const override;
};

class QVR_operator : public QVR_expression {
 public:
  // -1 for the conditional, which binds least, to 4 for powers.
  [[nodiscard]] int GetPrecedence() const;
};

class QVR_binaryOperator final : public QVR_operator {
 public:
  QVR_binaryOperator(ExpressionType newType, ExpressionPtr newLeft, ExpressionPtr newRight);
  ~QVR_binaryOperator() override { ReleaseChildren(); }

  [[nodiscard]] ExpressionType GetType() const override { return type; }
  [[nodiscard]] const char* GetSymbol() const;
  [[nodiscard]] double Evaluate() const override;
  // What an operator of the type makes of the signed values of its operands.
  [[nodiscard]] static double Combine(ExpressionType type, double left, double right);
  [[nodiscard]] int GetChildCount() const override { return 2; }
  [[nodiscard]] ExpressionPtr& ChildSlot(int index) override { return index == 0 ? left : right; }

  ExpressionType type;  // Plus to NE
  ExpressionPtr left;
  ExpressionPtr right;

 private:
  [[nodiscard]] ExpressionPtr CloneNode() const override;
};

// Evaluates only the chosen branch.
class QVR_operatorConditional final : public QVR_operator {
 public:
  QVR_operatorConditional(ExpressionPtr newCondition, ExpressionPtr newWhenTrue, ExpressionPtr newWhenFalse);
  ~QVR_operatorConditional() override { ReleaseChildren(); }

  [[nodiscard]] ExpressionType GetType() const override { return ExpressionType::Conditional; }
  [[nodiscard]] double Evaluate() const override;
  [[nodiscard]] int GetChildCount() const override { return 3; }
  [[nodiscard]] ExpressionPtr& ChildSlot(int index) override;

  ExpressionPtr condition;
  ExpressionPtr whenTrue;
  ExpressionPtr whenFalse;

 private:
  [[nodiscard]] ExpressionPtr CloneNode() const override;
};

// The magnitude with the number's sign as that of the node.
[[nodiscard]] ExpressionPtr MakeConstant(double value);
[[nodiscard]] ExpressionPtr MakeVariable(std::string_view name);
[[nodiscard]] ExpressionPtr MakeBinary(ExpressionType type, ExpressionPtr left, ExpressionPtr right);

// Null if the node is of another class.
[[nodiscard]] const QVR_constant* AsConstant(const QVR_expression& node);
[[nodiscard]] const QVR_variable* AsVariable(const QVR_expression& node);
[[nodiscard]] QVR_binaryOperator* AsBinary(QVR_expression& node);
// Whether the node is a variable of the name, of either sign.
[[nodiscard]] bool IsVariable(const QVR_expression& node, std::string_view name);

}  // namespace qvr

#endif
