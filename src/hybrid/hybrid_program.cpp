#include "hybrid/hybrid_program.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <string_view>

#include "expression/function_expression.h"

namespace qvr {

namespace {

// About the cube root of a double's precision, where rounding and curvature cost the same.
constexpr double kFirstStep = 6e-6;
constexpr double kRefinement = 8.0;
constexpr int kMostRefinements = 12;
constexpr double kAgreement = 1e-6;

}  // namespace

LawProgram::LawProgram(const QVR_distribution& law, const ValueTable& table) : row(law.entry) {
  const std::string_view name = row->name;
  counts = name == "Bernoulli" || name == "Binomial";
  for (const ExpressionPtr& argument : law.arguments) {
    arguments.emplace_back(*argument, table);
  }
}

void LawProgram::EvaluateArguments(const ValueTable& table) {
  block.count = 0;
  for (CompiledExpression& argument : arguments) {
    block.values[block.count++] = argument.Evaluate(table);
  }
  PadArguments(*row, block);
}

double LawProgram::Draw(const ValueTable& table) {
  EvaluateArguments(table);
  return row->evaluate(block);
}

double LawProgram::Weigh(double x, const ValueTable& table) {
  EvaluateArguments(table);
  return row->trueDensity(x, block);
}

EquationProgram::EquationProgram(const QVR_equationElement& element, const ValueTable& table)
    : formula(element.GetFormula(), table), isDeterministic(element.GetFormula().IsDeterministic()) {
  for (const auto& [name, inverse] : element.GetInverses()) {
    if (const int slot = table.FindVariable(name); slot >= 0 && isDeterministic) {
      inverses.push_back({slot, CompiledExpression(*inverse, table)});
    }
  }
}

CompiledExpression* EquationProgram::FindInverse(int slot) {
  for (Inverse& inverse : inverses) {
    if (inverse.slot == slot) {
      return &inverse.formula;
    }
  }
  return nullptr;
}

double EquationProgram::CentralDifference(int slot, double step, ValueTable& table) {
  const double x = table[slot];
  const double above = x + step;
  const double below = x - step;
  table[slot] = above;
  const double high = formula.Evaluate(table);
  table[slot] = below;
  const double low = formula.Evaluate(table);
  table[slot] = x;
  return (high - low) / (above - below);
}

double EquationProgram::Differentiate(int slot, ValueTable& table) {
  double step = kFirstStep * std::max(1.0, std::abs(table[slot]));
  double coarse = CentralDifference(slot, step, table);
  double best = std::isfinite(coarse) ? coarse : std::numeric_limits<double>::quiet_NaN();
  double bestGap = std::numeric_limits<double>::infinity();
  for (int round = 0; round < kMostRefinements; ++round) {
    step /= kRefinement;
    const double fine = CentralDifference(slot, step, table);
    const double gap = std::abs(fine - coarse) / std::abs(fine);
    if (gap < bestGap) {
      best = fine;
      bestGap = gap;
    }
    if (bestGap <= kAgreement) {
      break;
    }
    coarse = fine;
  }
  return best;
}

}  // namespace qvr
