// Random formulas, tables of cases in a text, and what tests compare of two formulas.
#ifndef QVR_EXPRESSION_FORMULA_SUPPORT_H
#define QVR_EXPRESSION_FORMULA_SUPPORT_H

#include <array>
#include <random>

#include "expression/expression.h"

namespace qvr {

// Values of the variables a, b, b_2, h, in this order.
using Point = std::array<double, 4>;
void AssignPoint(QVR_expression& formula, const Point& point);

enum class FormulaKind {
  Any,         // all operators, some functions and distributions, constants of all sizes
  Exact,       // deterministic, and at an ExactPoint evaluated without any rounding
  Stochastic,  // the same with distributions among the leaves
};

class RandomFormula {
 public:
  RandomFormula(unsigned seed, FormulaKind newKind) : random(seed), kind(newKind) {}
  // At most `depth` operators on top of each other.
  ExpressionPtr Make(int depth);
  Point ExactPoint();

 private:
  int Below(int n) { return static_cast<int>(random() % static_cast<unsigned>(n)); }
  ExpressionPtr MakeLeaf();
  ExpressionPtr MakeAny(int depth);
  ExpressionPtr MakeExact(int depth);
  ExpressionPtr MakeCall(const char* name, int depth);
  double AnyConstant();

  std::mt19937 random;
  FormulaKind kind;
};

// Same classes, signs, numbers bit for bit, and text.
[[nodiscard]] bool SameTree(const QVR_expression& a, const QVR_expression& b);
// Bit for bit, or both not a number.
[[nodiscard]] bool SameNumber(double a, double b);
// Fails the running test, and gives the constant 0, for a text that doesn't parse.
[[nodiscard]] ExpressionPtr ParseOrFail(const std::string& text);
// Reads "formula => result => ...; formula => ...": no case is empty, a missing part is.
[[nodiscard]] std::vector<std::array<std::string, 3>> ReadCases(std::string_view table);

}  // namespace qvr

#endif
