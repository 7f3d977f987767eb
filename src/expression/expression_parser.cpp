#include "expression/expression_parser.h"

#include <algorithm>
#include <cmath>
#include <span>

#include "model/identifier.h"
#include "model/special_numbers.h"

namespace qvr {
namespace {

// Bounds on what texts from outside may ask for. A node takes about fifty bytes.
constexpr int kMaxNesting = 500;
constexpr int kMaxNodes = 1 << 22;
constexpr const char* kTooComplex = "Expression too complex";

// All other tokens are single characters, and stand for themselves.
constexpr int kEnd = 0;
constexpr int kIdentifier = 1;
constexpr int kNumber = 2;
constexpr int kNotEqual = '#';
constexpr int kLessEqual = '{';
constexpr int kGreaterEqual = '}';

struct LevelOperator {
  int token;
  ExpressionType type;
};

constexpr LevelOperator kEqualities[] = {{'=', ExpressionType::EQ}, {kNotEqual, ExpressionType::NE}};
constexpr LevelOperator kRelations[] = {{kLessEqual, ExpressionType::LE},
                                        {'<', ExpressionType::LT},
                                        {kGreaterEqual, ExpressionType::GE},
                                        {'>', ExpressionType::GT}};
constexpr LevelOperator kSums[] = {{'+', ExpressionType::Plus}, {'-', ExpressionType::Minus}};
constexpr LevelOperator kProducts[] = {{'*', ExpressionType::Multiply}, {'/', ExpressionType::Divide}};
constexpr LevelOperator kPowers[] = {{'^', ExpressionType::Exp}};

// From the level that binds least.
constexpr std::span<const LevelOperator> kLevels[] = {kEqualities, kRelations, kSums, kProducts, kPowers};
constexpr int kLevelCount = 5;

const LevelOperator* FindOperator(int level, int token) {
  for (const LevelOperator& candidate : kLevels[level]) {
    if (candidate.token == token) {
      return &candidate;
    }
  }
  return nullptr;
}

bool IsSpace(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }
bool IsDigit(char c) { return c >= '0' && c <= '9'; }
bool IsHexDigit(char c) { return IsDigit(c) || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F'); }
bool IsNameCharacter(char c) { return IsAsciiLetterOrDigit(c) || c == '_'; }

// A stretch that no number at the start of the text goes beyond. Numbers are converted from a copy of it, so
// that the conversion never looks at a long rest of the text.
std::string_view NumberStretch(const char* text) {
  const bool hex = text[0] == '0' && (text[1] == 'x' || text[1] == 'X');
  const char* end = hex ? text + 2 : text;
  while (*end == '.' || (hex ? IsHexDigit(*end) : IsDigit(*end))) {
    ++end;
  }
  const char exponent = hex ? 'p' : 'e';
  if ((*end | 0x20) == exponent) {
    end += end[1] == '+' || end[1] == '-' ? 2 : 1;
    while (IsDigit(*end)) {
      ++end;
    }
  }
  return {text, static_cast<std::size_t>(end - text)};
}

}  // namespace

ExpressionPtr QVR_expression::Parse(const char* text, std::string* errorText, int* errorPosition) {
  return QVR_expressionParser().Parse(text, errorText, errorPosition);
}

ExpressionPtr QVR_expressionParser::Parse(const char* newText, std::string* errorText, int* errorPosition) {
  text = newText == nullptr ? "" : newText;
  position = 0;
  errorCount = 0;
  firstError.clear();
  firstErrorPosition = 0;
  nesting = 0;
  nodeCount = 0;
  ExpressionPtr root = ParseAll();
  if (errorText != nullptr) {
    *errorText = firstError;
  }
  if (errorPosition != nullptr) {
    *errorPosition = firstErrorPosition;
  }
  return root;
}

ExpressionPtr QVR_expressionParser::ParseAll() {
  ReadToken();
  if (token == kEnd) {
    AddError("Empty expression");
    return nullptr;
  }
  Tree tree = ParseConditional();
  if (token != kEnd) {
    AddError("Invalid expression");
  }
  return errorCount == 0 ? std::move(tree.root) : nullptr;
}

bool QVR_expressionParser::ValidateVariable(std::string_view /*name*/, std::string& /*reason*/) {
  return true;
}

bool QVR_expressionParser::LookupFunction(std::string_view name, std::unique_ptr<QVR_function>& function,
                                          int& arity) {
  function = MakeFunction(name);
  if (function == nullptr) {
    return false;
  }
  arity = function->entry->arity;
  return true;
}

ExpressionPtr QVR_expressionParser::TranslateFunction(std::unique_ptr<QVR_function> function,
                                                      std::string& /*reason*/) {
  return function;
}

// Tokens.

void QVR_expressionParser::ReadToken() {
  while (IsSpace(text[position])) {
    ++position;
  }
  const char c = text[position];
  if (IsDigit(c) || c == '.') {
    ReadNumber();
  } else if (IsAsciiLetter(c)) {
    ReadIdentifier();
  } else {
    ReadSymbol();
  }
}

void QVR_expressionParser::ReadNumber() {
  const std::string stretch(NumberStretch(text + position));
  const char* end = nullptr;
  number = ParseDouble(stretch.c_str(), &end);
  const std::size_t length = static_cast<std::size_t>(end - stretch.c_str());
  position += std::max<std::size_t>(length, 1);
  token = kNumber;
  if (length == 0 || std::isinf(number)) {
    token = kEnd;
    AddError("Invalid token");
  }
}

void QVR_expressionParser::ReadIdentifier() {
  const std::size_t begin = position;
  while (IsNameCharacter(text[position])) {
    ++position;
  }
  identifier.assign(text + begin, position - begin);
  token = kIdentifier;
}

void QVR_expressionParser::ReadSymbol() {
  const char c = text[position];
  token = kEnd;
  if (c == '\0') {
    return;
  }
  ++position;
  const char next = text[position];
  if ((c == '<' || c == '>') && (next == '=' || (c == '<' && next == '>'))) {
    ++position;
    token = next == '>' ? kNotEqual : c == '<' ? kLessEqual : kGreaterEqual;
  } else if (std::string_view("()*+,-/:=?^<>").find(c) != std::string_view::npos) {
    token = static_cast<unsigned char>(c);
  } else {
    AddError("Invalid token");
  }
}

// Grammar. Each routine starts at its first token and ends at the first one behind what it has read.

QVR_expressionParser::Tree QVR_expressionParser::ParseConditional() {
  Tree condition = ParseLevel(0);
  if (condition.root == nullptr || token != '?') {
    return condition;
  }
  ReadToken();
  Tree whenTrue = ParseNested();
  if (whenTrue.root == nullptr || (token != ':' && !Fail("':' expected"))) {
    return {};
  }
  ReadToken();
  Tree whenFalse = ParseNested();
  if (whenFalse.root == nullptr) {
    return {};
  }
  return Grow(std::make_unique<QVR_operatorConditional>(std::move(condition.root), std::move(whenTrue.root),
                                                        std::move(whenFalse.root)),
              std::max({condition.height, whenTrue.height, whenFalse.height}));
}

QVR_expressionParser::Tree QVR_expressionParser::ParseNested() {
  if (nesting >= kMaxNesting) {
    AddError(kTooComplex);
    return {};
  }
  ++nesting;
  Tree tree = ParseConditional();
  --nesting;
  return tree;
}

QVR_expressionParser::Tree QVR_expressionParser::ParseLevel(int level) {
  if (level == kLevelCount) {
    return ParseFactor();
  }
  Tree left = ParseLevel(level + 1);
  while (left.root != nullptr) {
    const LevelOperator* const found = FindOperator(level, token);
    if (found == nullptr) {
      break;
    }
    ReadToken();
    Tree right = ParseLevel(level + 1);
    if (right.root == nullptr) {
      return {};
    }
    left = Grow(MakeBinary(found->type, std::move(left.root), std::move(right.root)),
                std::max(left.height, right.height));
  }
  return left;
}

QVR_expressionParser::Tree QVR_expressionParser::ParseFactor() {
  switch (token) {
    case kNumber: {
      ExpressionPtr constant = std::make_unique<QVR_constant>(number);
      ReadToken();
      return Grow(std::move(constant), 0);
    }
    case kIdentifier:
      return ParseName();
    case '(':
      return ParseParenthesised();
    case '-':
      return ParseNegated();
    default:
      AddError("Factor expected");
      return {};
  }
}

QVR_expressionParser::Tree QVR_expressionParser::ParseNegated() {
  if (nesting >= kMaxNesting) {
    AddError(kTooComplex);
    return {};
  }
  ++nesting;
  ReadToken();
  Tree tree = ParseFactor();
  --nesting;
  if (tree.root != nullptr) {
    tree.root->sign = -tree.root->sign;
  }
  return tree;
}

QVR_expressionParser::Tree QVR_expressionParser::ParseParenthesised() {
  ReadToken();
  Tree tree = ParseNested();
  if (tree.root == nullptr || (token != ')' && !Fail("')' expected"))) {
    return {};
  }
  ReadToken();
  return errorCount == 0 ? std::move(tree) : Tree{};
}

QVR_expressionParser::Tree QVR_expressionParser::ParseName() {
  const std::string name = identifier;
  ReadToken();
  if (token == '(') {
    return ParseCall(name);
  }
  std::string reason;
  if (errorCount == 0 && !ValidateVariable(name, reason)) {
    AddError("Invalid variable '" + name + "': " + reason);
  }
  return Grow(MakeVariable(name), 0);
}

QVR_expressionParser::Tree QVR_expressionParser::ParseCall(std::string_view name) {
  std::unique_ptr<QVR_function> call;
  int arity = 0;
  if (!LookupFunction(name, call, arity)) {
    AddError("Unknown function: " + std::string(name));
    return {};
  }
  ReadToken();
  int height = 0;
  if (!(arity < 0 ? ParseVariableArguments(*call, -arity, height)
                  : ParseFixedArguments(*call, arity, height))) {
    return {};
  }
  ReadToken();
  if (errorCount > 0) {
    return {};
  }
  std::string reason;
  const QVR_expression* const original = call.get();
  ExpressionPtr translated = TranslateFunction(std::move(call), reason);
  if (translated == nullptr) {
    AddError(reason);
    return {};
  }
  const int childHeight = translated.get() == original ? height : translated->GetHeight() - 1;
  return Grow(std::move(translated), childHeight);
}

bool QVR_expressionParser::ParseArgument(QVR_function& call, int& height) {
  Tree argument = ParseNested();
  if (argument.root == nullptr) {
    return false;
  }
  height = std::max(height, argument.height);
  call.arguments.push_back(std::move(argument.root));
  return true;
}

bool QVR_expressionParser::ParseFixedArguments(QVR_function& call, int count, int& height) {
  for (int due = count; due > 0; --due) {
    if (token == ')') {
      return Fail("Too few parameters in function call");
    }
    if (!ParseArgument(call, height)) {
      return false;
    }
    if (due == 1) {
      break;
    }
    if (token != ',') {
      return Fail(token == ')' ? "Too few parameters in function call" : "Comma expected in a function call");
    }
    ReadToken();
  }
  return token == ')' || Fail("')' expected in a function call");
}

// A closing parenthesis ends the list anywhere, also behind a comma.
bool QVR_expressionParser::ParseVariableArguments(QVR_function& call, int minimum, int& height) {
  while (token != ')') {
    if (call.GetChildCount() == kMaxArguments) {
      return Fail("Max parameter count for vararg function call exceeded");
    }
    if (!ParseArgument(call, height)) {
      return false;
    }
    if (token == ',') {
      ReadToken();
    } else if (token != ')') {
      return Fail("Comma expected in a function call");
    }
  }
  return call.GetChildCount() >= minimum || Fail("Too few parameters in vararg function call");
}

// Accounts for a node that is put on top of trees of the height.
QVR_expressionParser::Tree QVR_expressionParser::Grow(ExpressionPtr root, int childHeight) {
  ++nodeCount;
  if (childHeight >= kMaxExpressionHeight || nodeCount > kMaxNodes) {
    AddError(kTooComplex);
  }
  if (errorCount > 0) {
    return {};
  }
  return {std::move(root), childHeight + 1};
}

void QVR_expressionParser::AddError(std::string_view message) {
  if (++errorCount == 1) {
    firstError = message;
    firstErrorPosition = static_cast<int>(position);
  }
}

bool QVR_expressionParser::Fail(std::string_view message) {
  AddError(message);
  return false;
}

}  // namespace qvr
