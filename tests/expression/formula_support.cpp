#include "expression/formula_support.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cmath>

#include "expression/expression_walk.h"
#include "expression/function_expression.h"

namespace qvr {
namespace {

constexpr const char* kNames[] = {"a", "b", "b_2", "h"};

}  // namespace

ExpressionPtr RandomFormula::Make(int depth) {
  ExpressionPtr formula = depth == 0 || Below(6) == 0 ? MakeLeaf()
                          : kind == FormulaKind::Any  ? MakeAny(depth - 1)
                                                      : MakeExact(depth - 1);
  formula->sign = Below(4) == 0 ? -1 : 1;
  return formula;
}

ExpressionPtr RandomFormula::MakeLeaf() {
  if (kind == FormulaKind::Stochastic && Below(4) == 0) {
    return MakeCall("Normal", 0);
  }
  if (Below(2) == 0) {
    return MakeVariable(kNames[Below(4)]);
  }
  return MakeConstant(kind == FormulaKind::Any ? AnyConstant() : Below(4));
}

double RandomFormula::AnyConstant() {
  if (Below(2) == 0) {
    return Below(1000) / 100.0;
  }
  const std::uint64_t bits = std::uint64_t{random()} << 32 | random();
  const double number = std::bit_cast<double>(bits & 0x7fffffffffffffff);
  return std::isfinite(number) ? number : 1e308;
}

ExpressionPtr RandomFormula::MakeAny(int depth) {
  static const char* const kFunctions[] = {"Sin", "Pi", "Atan2", "Max", "Sum", "If", "Normal", "Trim"};
  const int choice = Below(16);
  if (choice < 11) {
    const auto type = static_cast<ExpressionType>(static_cast<int>(ExpressionType::Plus) + choice);
    ExpressionPtr left = Make(depth);
    return MakeBinary(type, std::move(left), Make(depth));
  }
  if (choice < 13) {
    ExpressionPtr condition = Make(depth);
    ExpressionPtr whenTrue = Make(depth);
    return std::make_unique<QVR_operatorConditional>(std::move(condition), std::move(whenTrue), Make(depth));
  }
  return MakeCall(kFunctions[Below(8)], depth);
}

ExpressionPtr RandomFormula::MakeCall(const char* name, int depth) {
  std::unique_ptr<QVR_function> call = MakeFunction(name);
  const int arity = call->entry->arity;
  for (int i = arity < 0 ? -arity + Below(3) : arity; i > 0; --i) {
    call->arguments.push_back(Make(depth));
  }
  return call;
}

// Divides only by powers of two.
ExpressionPtr RandomFormula::MakeExact(int depth) {
  using enum ExpressionType;
  static constexpr ExpressionType kTypes[] = {Plus,     Minus, Multiply, Plus,   Minus,
                                              Multiply, LT,    EQ,       Divide, Exp};
  const int choice = Below(11);
  ExpressionPtr first = Make(depth);
  if (choice < 8) {
    return MakeBinary(kTypes[choice], std::move(first), Make(depth));
  }
  const double divisor = (1 << Below(3)) * (Below(2) == 0 ? -1.0 : 1.0);
  ExpressionPtr second = choice == 9     ? MakeConstant(Below(3))
                         : Below(2) == 0 ? MakeVariable("h")
                                         : MakeConstant(divisor);
  if (choice < 10) {
    return MakeBinary(kTypes[choice], std::move(first), std::move(second));
  }
  return std::make_unique<QVR_operatorConditional>(std::move(first), std::move(second), Make(depth));
}

Point RandomFormula::ExactPoint() {
  const auto small = [this] { return (1 + Below(3)) * (Below(2) == 0 ? 1.0 : -1.0); };
  return {small(), small(), small(), Below(2) == 0 ? 0.5 : -2.0};
}

void AssignPoint(QVR_expression& formula, const Point& point) {
  for (std::size_t i = 0; i < point.size(); ++i) {
    formula.AssignVariable(kNames[i], point[i]);
  }
}

bool SameTree(const QVR_expression& a, const QVR_expression& b) {
  ExpressionWalk walkA(a);
  ExpressionWalk walkB(b);
  while (const QVR_expression* const nodeA = walkA.Next()) {
    const QVR_expression* const nodeB = walkB.Next();
    if (nodeB == nullptr || nodeA->GetType() != nodeB->GetType() || nodeA->sign != nodeB->sign ||
        nodeA->GetChildCount() != nodeB->GetChildCount()) {
      return false;
    }
    const QVR_constant* const constant = AsConstant(*nodeA);
    if (constant != nullptr && !SameBits(constant->value, AsConstant(*nodeB)->value)) {
      return false;
    }
  }
  return a.GetText() == b.GetText();
}

bool SameNumber(double a, double b) { return SameBits(a, b) || (std::isnan(a) && std::isnan(b)); }

ExpressionPtr ParseOrFail(const std::string& text) {
  std::string error;
  int position = 0;
  ExpressionPtr tree = QVR_expression::Parse(text.c_str(), &error, &position);
  if (tree == nullptr) {
    ADD_FAILURE() << text << ": " << error << " at " << position;
    return MakeConstant(0.0);
  }
  return tree;
}

namespace {

// Cuts off what stands before the separator.
std::string TakePart(std::string_view& text, std::string_view separator) {
  const std::size_t length = std::min(text.find(separator), text.size());
  const std::string_view part = text.substr(0, length);
  text.remove_prefix(std::min(length + separator.size(), text.size()));
  const std::size_t first = part.find_first_not_of(" \n");
  return first == std::string_view::npos
             ? ""
             : std::string(part.substr(first, part.find_last_not_of(" \n") + 1 - first));
}

}  // namespace

std::vector<std::array<std::string, 3>> ReadCases(std::string_view table) {
  std::vector<std::array<std::string, 3>> cases;
  while (!table.empty()) {
    const std::string line = TakePart(table, ";");
    std::string_view rest = line;
    if (!line.empty()) {
      cases.emplace_back();
      for (std::string& part : cases.back()) {
        part = TakePart(rest, "=>");
      }
    }
  }
  return cases;
}

}  // namespace qvr
