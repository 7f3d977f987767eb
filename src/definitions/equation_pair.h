// An equation: two formulas with a "=" between them.
#ifndef QVR_DEFINITIONS_EQUATION_PAIR_H
#define QVR_DEFINITIONS_EQUATION_PAIR_H

#include <string>
#include <string_view>
#include <vector>

#include "expression/expression.h"

namespace qvr {

// Copies are deep. Both sides are always there; only the pair's own operations change them.
struct EquationPair {
  EquationPair();  // 0 = 0
  EquationPair(ExpressionPtr newLeft, ExpressionPtr newRight);
  EquationPair(const EquationPair& other);
  EquationPair(EquationPair&&) noexcept = default;
  EquationPair& operator=(EquationPair other) noexcept;
  ~EquationPair() = default;

  // -2 for a text that doesn't parse, -3 for one without "=" at its top; both leave the pair alone. The
  // outputs are those of QVR_expression::Parse and may be null.
  int Parse(const char* text, int* errorPosition, std::string* errorText);
  // The text, which parses to the same pair.
  [[nodiscard]] std::string GetText() const;
  // Appends each name of either side that isn't in the list yet, in order of first occurrence.
  void GetVariables(std::vector<std::string>& list) const;
  void RenameVariable(std::string_view oldName, std::string_view newName);
  // Adds the variable to the right side, in place of a 0. -42 if the equation would become too high.
  int AddTerm(std::string_view name);
  // The inverse, where the right side is a sum of variables that leans to the left. False, with nothing
  // changed, if the variable isn't in it.
  bool RemoveTerm(std::string_view name);

  ExpressionPtr left;
  ExpressionPtr right;
  bool isStochastic = false;       // a side holds a distribution
  bool hasSingleVariable = false;  // deterministic, and both sides together name exactly one variable
  int rightHeight = 1;             // that of the right side

 private:
  void UpdateFlags();
  [[nodiscard]] bool NamesOneVariable() const;
};

// The variables added up from left to right; 0 for none.
[[nodiscard]] ExpressionPtr MakeSum(const std::vector<std::string>& names);

}  // namespace qvr

#endif
