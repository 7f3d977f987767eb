// The elements of a hybrid definition as flat programs over one value table, for evaluating them many times.
#ifndef QVR_HYBRID_HYBRID_PROGRAM_H
#define QVR_HYBRID_HYBRID_PROGRAM_H

#include <vector>

#include "definitions/hybrid_element.h"
#include "expression/compiled_expression.h"
#include "expression/value_table.h"

namespace qvr {

// A distribution. Both operations evaluate the arguments by the table first.
class LawProgram {
 public:
  LawProgram(const QVR_distribution& law, const ValueTable& table);

  [[nodiscard]] double Draw(const ValueTable& table);
  // The normalised density, or the probability of a law that counts.
  [[nodiscard]] double Weigh(double x, const ValueTable& table);
  // Draws of whole numbers only, with probabilities in place of a density.
  [[nodiscard]] bool Counts() const { return counts; }

 private:
  void EvaluateArguments(const ValueTable& table);

  const FunctionRow* row;
  bool counts;
  std::vector<CompiledExpression> arguments;
  ArgumentBlock block;
};

// A formula, and what it gives for those parents that it can be solved for.
class EquationProgram {
 public:
  // The inverses are for variables with a slot in the table.
  EquationProgram(const QVR_equationElement& element, const ValueTable& table);

  [[nodiscard]] double Evaluate(const ValueTable& table) { return formula.Evaluate(table); }
  // Null if the formula isn't solved for the variable of the slot. A formula that draws isn't for any.
  [[nodiscard]] CompiledExpression* FindInverse(int slot);
  [[nodiscard]] bool IsDeterministic() const { return isDeterministic; }
  // The derivative for the variable of the slot where the table stands, by central differences, made finer
  // until two agree; NaN if none is finite. The table is left as it was.
  [[nodiscard]] double Differentiate(int slot, ValueTable& table);

 private:
  struct Inverse {
    int slot;
    CompiledExpression formula;
  };
  [[nodiscard]] double CentralDifference(int slot, double step, ValueTable& table);

  CompiledExpression formula;
  bool isDeterministic;
  std::vector<Inverse> inverses;
};

}  // namespace qvr

#endif
