// Formulas as text, with no more parentheses than reading them back needs.
#include <algorithm>
#include <cstddef>

#include "expression/expression.h"
#include "expression/function_expression.h"
#include "model/special_numbers.h"

namespace qvr {
namespace {

struct OperatorText {
  int precedence;
  const char* symbol;
};

// By type, from Plus on.
constexpr OperatorText kOperators[] = {
    {2, "+"}, {2, "-"},  {3, "/"},  {3, "*"}, {4, "^"},  {1, "<"},
    {1, ">"}, {1, "<="}, {1, ">="}, {0, "="}, {0, "<>"}, {-1, nullptr},
};

const OperatorText& TextOf(ExpressionType type) {
  return kOperators[static_cast<std::size_t>(type) - static_cast<std::size_t>(ExpressionType::Plus)];
}

// Six digits if they make the same number, otherwise as many as it takes.
std::string ConstantText(double value) {
  for (const int digits : {6, 15, 16}) {
    std::string text = FormatGeneral(value, digits);
    if (SameBits(ParseDouble(text.c_str(), nullptr), value)) {
      return text;
    }
  }
  return FormatGeneral(value, 17);
}

int PrecedenceOf(const QVR_expression& node) { return TextOf(node.GetType()).precedence; }

// Prints with a stack of its own what is still to come, the next piece last.
class Printer {
 public:
  explicit Printer(std::string& newOut) : out(newOut) {}

  void Print(const QVR_expression& root) {
    AddNode(root);
    while (!pieces.empty()) {
      const Piece piece = pieces.back();
      pieces.pop_back();
      if (piece.node == nullptr) {
        out += piece.text;
      } else {
        PrintNode(*piece.node);
      }
    }
  }

 private:
  struct Piece {
    const QVR_expression* node;  // without its sign; null for a text
    std::string_view text;
  };

  void AddText(std::string_view text) { pieces.push_back({nullptr, text}); }
  void AddNode(const QVR_expression& node) { pieces.push_back({&node, {}}); }
  // The sign in front, and all in parentheses if an operator needs them or has that sign.
  void AddChild(const QVR_expression& child, bool needsParentheses) {
    const bool enclosed = child.IsOperator() && (needsParentheses || child.sign < 0);
    if (enclosed) {
      AddText(")");
    }
    AddNode(child);
    if (enclosed) {
      AddText("(");
    }
    if (child.sign < 0) {
      AddText("-");
    }
  }
  // Operators associate to the left, so that an equal on the right needs parentheses.
  void AddLeft(const QVR_expression& child, int precedence) {
    AddChild(child, child.IsOperator() && PrecedenceOf(child) < precedence);
  }
  void AddRight(const QVR_expression& child, int precedence) {
    AddChild(child, child.IsOperator() && PrecedenceOf(child) <= precedence);
  }

  void PrintNode(const QVR_expression& node) {
    switch (node.GetType()) {
      case ExpressionType::Variable:
        out += static_cast<const QVR_variable&>(node).name;
        break;
      case ExpressionType::Constant:
        out += ConstantText(static_cast<const QVR_constant&>(node).value);
        break;
      case ExpressionType::Function:
      case ExpressionType::Distribution:
        AddCall(static_cast<const QVR_function&>(node));
        break;
      case ExpressionType::Conditional:
        AddConditional(static_cast<const QVR_operatorConditional&>(node));
        break;
      default:
        AddBinary(static_cast<const QVR_binaryOperator&>(node));
    }
  }

  void AddCall(const QVR_function& call) {
    out += call.GetName();
    AddText(")");
    for (int i = call.GetChildCount(); i-- > 0;) {
      AddChild(*call.GetChild(i), false);
      AddText(i > 0 ? "," : "(");
    }
    if (call.GetChildCount() == 0) {
      AddText("(");
    }
  }

  void AddConditional(const QVR_operatorConditional& node) {
    AddLeft(*node.whenFalse, node.GetPrecedence());
    AddText(" : ");
    AddLeft(*node.whenTrue, node.GetPrecedence());
    AddText(" ? ");
    AddRight(*node.condition, node.GetPrecedence());
  }

  void AddBinary(const QVR_binaryOperator& node) {
    AddRight(*node.right, node.GetPrecedence());
    AddText(node.GetSymbol());
    AddLeft(*node.left, node.GetPrecedence());
  }

  std::string& out;
  std::vector<Piece> pieces;
};

}  // namespace

int QVR_operator::GetPrecedence() const { return PrecedenceOf(*this); }

const char* QVR_binaryOperator::GetSymbol() const { return TextOf(type).symbol; }

void QVR_expression::ToString(std::string& out) const { Printer(out).Print(*this); }

std::string QVR_expression::GetText() const {
  std::string text = sign > 0 ? "" : IsOperator() ? "-(" : "-";
  ToString(text);
  return sign < 0 && IsOperator() ? text + ")" : text;
}

}  // namespace qvr
