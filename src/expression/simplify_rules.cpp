#include "expression/simplify_rules.h"

#include <cmath>
#include <span>

#include "expression/expression_walk.h"

namespace qvr {
namespace {

// The node that a rule looks at. A rule that changes anything may have destroyed it.
struct Site {
  ExpressionPtr& slot;
  QVR_binaryOperator& node;
  RewriteContext& context;
};

using Rule = Rewrite (*)(const Site& site);

bool IsConstant(const ExpressionPtr& e) { return e->GetType() == ExpressionType::Constant; }

bool IsConstant(const ExpressionPtr& e, double value) {
  return IsConstant(e) && e->EvaluateSigned() == value;
}

bool IsSum(const ExpressionPtr& e) {
  return e->GetType() == ExpressionType::Plus || e->GetType() == ExpressionType::Minus;
}

QVR_binaryOperator& Binary(const ExpressionPtr& e) { return static_cast<QVR_binaryOperator&>(*e); }

void Flip(const ExpressionPtr& e) { e->sign = -e->sign; }

// Takes the replacement by value: it may come out of the node that goes.
Rewrite Replace(const Site& site, ExpressionPtr replacement) {
  site.slot = std::move(replacement);
  return Rewrite::Done;
}

ExpressionPtr Product(ExpressionPtr a, ExpressionPtr b) {
  return MakeBinary(ExpressionType::Multiply, std::move(a), std::move(b));
}

ExpressionPtr CopiedProduct(const ExpressionPtr& a, const ExpressionPtr& b) {
  return Product(a->Clone(), b->Clone());
}

// Signs of sums go down, until they meet what can hold them.

Rewrite PushSignIntoPlus(const Site& site) {
  if (site.node.sign > 0) {
    return Rewrite::None;
  }
  site.node.sign = 1;
  Flip(site.node.left);
  Flip(site.node.right);
  return Rewrite::Done;
}

Rewrite PushSignIntoMinus(const Site& site) {
  if (site.node.sign > 0) {
    return Rewrite::None;
  }
  site.node.sign = 1;
  std::swap(site.node.left, site.node.right);
  return Rewrite::Done;
}

Rewrite PushSignIntoLeft(const Site& site) {
  if (site.node.sign > 0) {
    return Rewrite::None;
  }
  site.node.sign = 1;
  Flip(site.node.left);
  return Rewrite::Done;
}

// Two constants give one. A value that isn't finite has no text, and so keeps its operator; other rules
// would only push its operands to and fro.
Rewrite Fold(const Site& site) {
  if (!IsConstant(site.node.left) || !IsConstant(site.node.right)) {
    return Rewrite::None;
  }
  const bool keepsSign = site.context.GetFoldedSign() == FoldedSign::Kept;
  const double value = keepsSign ? site.node.EvaluateSigned() : site.node.Evaluate();
  return std::isfinite(value) ? Replace(site, MakeConstant(value)) : Rewrite::Stop;
}

// 0 + x and x + 0 are x.
Rewrite DropZeroFromPlus(const Site& site) {
  if (IsConstant(site.node.left, 0.0)) {
    return Replace(site, std::move(site.node.right));
  }
  if (IsConstant(site.node.right, 0.0)) {
    return Replace(site, std::move(site.node.left));
  }
  return Rewrite::None;
}

// x + -c is x - c.
Rewrite PlusNegative(const Site& site) {
  if (!IsConstant(site.node.right) || site.node.right->sign > 0) {
    return Rewrite::None;
  }
  Flip(site.node.right);
  site.node.type = ExpressionType::Minus;
  return Rewrite::Done;
}

// c + x is x + c.
Rewrite ConstantToRight(const Site& site) {
  if (!IsConstant(site.node.left)) {
    return Rewrite::None;
  }
  std::swap(site.node.left, site.node.right);
  return Rewrite::Done;
}

// Whether the node is (x + c1) + c2 or alike; only a positive sum may be opened.
bool HasTwoConstants(const QVR_binaryOperator& node) {
  return IsConstant(node.right) && IsSum(node.left) && node.left->sign > 0 &&
         IsConstant(Binary(node.left).right);
}

// (x + c1) + c2 is x + (c1 + c2), and (x - c1) + c2 is x + (c2 - c1).
Rewrite MergeIntoPlus(const Site& site) {
  if (!HasTwoConstants(site.node)) {
    return Rewrite::None;
  }
  QVR_binaryOperator& inner = Binary(site.node.left);
  const double c1 = inner.right->EvaluateSigned();
  const double c2 = site.node.right->EvaluateSigned();
  const double sum = inner.type == ExpressionType::Plus ? c1 + c2 : c2 - c1;
  if (!std::isfinite(sum)) {
    return Rewrite::None;
  }
  ExpressionPtr x = std::move(inner.left);
  site.node.left = std::move(x);
  site.node.right = MakeConstant(sum);
  return Rewrite::Done;
}

// (x + c1) - c2 is x + (c1 - c2), and (x - c1) - c2 is x - (c1 + c2).
Rewrite MergeIntoMinus(const Site& site) {
  if (!HasTwoConstants(site.node)) {
    return Rewrite::None;
  }
  QVR_binaryOperator& inner = Binary(site.node.left);
  const double c1 = inner.right->EvaluateSigned();
  const double c2 = site.node.right->EvaluateSigned();
  const double sum = inner.type == ExpressionType::Plus ? c1 - c2 : c1 + c2;
  if (!std::isfinite(sum)) {
    return Rewrite::None;
  }
  inner.right = MakeConstant(sum);
  return Replace(site, std::move(site.node.left));
}

// 0 - x is -x, and x - 0 is x.
Rewrite DropZeroFromMinus(const Site& site) {
  if (IsConstant(site.node.left, 0.0)) {
    Flip(site.node.right);
    return Replace(site, std::move(site.node.right));
  }
  if (IsConstant(site.node.right, 0.0)) {
    return Replace(site, std::move(site.node.left));
  }
  return Rewrite::None;
}

// x - -c is x + c, and c - -x is c + x.
Rewrite MinusNegative(const Site& site) {
  if (site.node.right->sign > 0 || (!IsConstant(site.node.left) && !IsConstant(site.node.right))) {
    return Rewrite::None;
  }
  Flip(site.node.right);
  site.node.type = ExpressionType::Plus;
  return Rewrite::Done;
}

Rewrite MultiplyByZero(const Site& site) {
  if (!IsConstant(site.node.left, 0.0) && !IsConstant(site.node.right, 0.0)) {
    return Rewrite::None;
  }
  return Replace(site, MakeConstant(0.0));
}

Rewrite MultiplyByOne(const Site& site) {
  if (IsConstant(site.node.left, 1.0)) {
    return Replace(site, std::move(site.node.right));
  }
  if (IsConstant(site.node.right, 1.0)) {
    return Replace(site, std::move(site.node.left));
  }
  return Rewrite::None;
}

Rewrite MultiplyByMinusOne(const Site& site) {
  if (!IsConstant(site.node.left, -1.0)) {
    return Rewrite::None;
  }
  Flip(site.node.right);
  return Replace(site, std::move(site.node.right));
}

// x * c is c * x.
Rewrite ConstantToLeft(const Site& site) {
  if (!IsConstant(site.node.right)) {
    return Rewrite::None;
  }
  std::swap(site.node.left, site.node.right);
  return Rewrite::Done;
}

// Whether the operand is simple enough to be multiplied into the terms of a sum.
bool CanSpread(const Site& site, const ExpressionPtr& e) {
  return !e->IsOperator() && !site.context.IsStochastic(*e);
}

// a * (b + c) is a * b + a * c.
Rewrite SpreadLeft(const Site& site) {
  if (!IsSum(site.node.right) || !CanSpread(site, site.node.left)) {
    return Rewrite::None;
  }
  QVR_binaryOperator& sum = Binary(site.node.right);
  sum.right = Product(site.node.left->Clone(), std::move(sum.right));
  sum.left = Product(std::move(site.node.left), std::move(sum.left));
  Replace(site, std::move(site.node.right));
  return Rewrite::Copied;
}

// (a + b) o c is a o c + b o c, for products and quotients.
Rewrite SpreadRight(const Site& site) {
  if (!IsSum(site.node.left) || !CanSpread(site, site.node.right)) {
    return Rewrite::None;
  }
  QVR_binaryOperator& sum = Binary(site.node.left);
  sum.right = MakeBinary(site.node.type, std::move(sum.right), site.node.right->Clone());
  sum.left = MakeBinary(site.node.type, std::move(sum.left), std::move(site.node.right));
  Replace(site, std::move(site.node.left));
  return Rewrite::Copied;
}

// (a o b) * (c p d) is ((a * c p a * d) o b * c) t b * d, where t is Plus if o and p are the same.
Rewrite MultiplyOut(const Site& site) {
  if (!IsSum(site.node.left) || !IsSum(site.node.right) || site.context.IsStochastic(site.node)) {
    return Rewrite::None;
  }
  const QVR_binaryOperator& first = Binary(site.node.left);
  const QVR_binaryOperator& second = Binary(site.node.right);
  const ExpressionType last = first.type == second.type ? ExpressionType::Plus : ExpressionType::Minus;
  ExpressionPtr result = MakeBinary(second.type, CopiedProduct(first.left, second.left),
                                    CopiedProduct(first.left, second.right));
  result = MakeBinary(first.type, std::move(result), CopiedProduct(first.right, second.left));
  result = MakeBinary(last, std::move(result), CopiedProduct(first.right, second.right));
  result->sign = first.sign * second.sign;
  Replace(site, std::move(result));
  return Rewrite::Copied;
}

// 0 / x is 0, and x / 1 is x.
Rewrite DivideSimply(const Site& site) {
  const bool zero = IsConstant(site.node.left, 0.0);
  return zero || IsConstant(site.node.right, 1.0) ? Replace(site, std::move(site.node.left)) : Rewrite::None;
}

Rewrite DivideByZero(const Site& site) {
  return IsConstant(site.node.right, 0.0) ? Rewrite::Stop : Rewrite::None;
}

// x / c is (1 / c) * x.
Rewrite DivideByConstant(const Site& site) {
  const double factor = IsConstant(site.node.right) ? 1.0 / site.node.right->EvaluateSigned() : HUGE_VAL;
  if (!std::isfinite(factor)) {
    return Rewrite::None;
  }
  return Replace(site, Product(MakeConstant(factor), std::move(site.node.left)));
}

// x / x is 1.
Rewrite DivideBySame(const Site& site) {
  const QVR_variable* const divisor = AsVariable(*site.node.right);
  if (divisor == nullptr || !IsVariable(*site.node.left, divisor->name)) {
    return Rewrite::None;
  }
  return Replace(site, MakeConstant(site.node.left->sign * divisor->sign));
}

// x ^ 0 is 1.
Rewrite RaiseToZero(const Site& site) {
  return IsConstant(site.node.right, 0.0) ? Replace(site, MakeConstant(site.node.sign)) : Rewrite::None;
}

// The order counts: each rule may rely on those before it not having applied.
constexpr Rule kPlusRules[] = {
    PushSignIntoPlus, Fold, DropZeroFromPlus, PlusNegative, ConstantToRight, MergeIntoPlus,
};
constexpr Rule kMinusRules[] = {
    PushSignIntoMinus, Fold, DropZeroFromMinus, MinusNegative, MergeIntoMinus,
};
constexpr Rule kMultiplyRules[] = {
    PushSignIntoLeft, Fold,       MultiplyByZero, MultiplyByOne, MultiplyByMinusOne,
    ConstantToLeft,   SpreadLeft, SpreadRight,    MultiplyOut,
};
constexpr Rule kDivideRules[] = {
    PushSignIntoLeft, Fold, DivideSimply, DivideByZero, DivideByConstant, SpreadRight, DivideBySame,
};
constexpr Rule kExpRules[] = {Fold, RaiseToZero};
constexpr Rule kComparisonRules[] = {Fold};

std::span<const Rule> RulesFor(ExpressionType type) {
  switch (type) {
    case ExpressionType::Plus:
      return kPlusRules;
    case ExpressionType::Minus:
      return kMinusRules;
    case ExpressionType::Multiply:
      return kMultiplyRules;
    case ExpressionType::Divide:
      return kDivideRules;
    case ExpressionType::Exp:
      return kExpRules;
    default:
      return kComparisonRules;
  }
}

}  // namespace

Rewrite ApplyRules(ExpressionPtr& slot, RewriteContext& context) {
  QVR_binaryOperator* const node = AsBinary(*slot);
  if (node == nullptr) {
    return Rewrite::None;
  }
  const Site site = {slot, *node, context};
  for (const Rule rule : RulesFor(node->type)) {
    if (const Rewrite result = rule(site); result != Rewrite::None) {
      return result;
    }
  }
  return Rewrite::None;
}

bool RewriteContext::IsStochastic(const QVR_expression& node) {
  if (!stochastic) {
    stochastic.emplace();
    ExpressionWalk walk(*root);
    while (const QVR_expression* const found = walk.Next()) {
      // Where one node of the path is known, so are all above.
      bool fresh = found->GetType() == ExpressionType::Distribution;
      for (std::size_t i = walk.Path().size(); fresh && i-- > 0;) {
        fresh = stochastic->insert(walk.Path()[i].node).second;
      }
    }
  }
  return stochastic->count(&node) != 0;
}

}  // namespace qvr
