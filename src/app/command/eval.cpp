// qvr eval: the value of a formula.
#include <algorithm>

#include "app/command/answer_formats.h"
#include "app/command/assignment.h"
#include "app/command/commands.h"
#include "app/command/output.h"
#include "expression/expression.h"
#include "formats/latin1.h"
#include "model/random_source.h"

namespace qvr {

namespace {

// Gives each variable its value. All must have one, and every value a variable.
Failure AssignVariables(const std::vector<std::string>& texts, QVR_expression& tree) {
  std::vector<std::string> open;
  tree.GetVariables(open);
  for (const std::string& text : texts) {
    const std::optional<Assignment> given = SplitAssignment(text);
    const std::optional<double> value = given ? ParseNumber(given->value) : std::nullopt;
    if (!value) {
      return "'" + text + "' isn't of the form NAME=NUMBER";
    }
    const auto place = std::find(open.begin(), open.end(), given->name);
    if (place == open.end()) {
      return "'" + text + "': the expression has no such variable, or it has a value already";
    }
    open.erase(place);
    tree.AssignVariable(given->name, *value);
  }
  if (!open.empty()) {
    return "the variable '" + ToUtf8(open.front()) + "' has no value";
  }
  return std::nullopt;
}

}  // namespace

Failure Eval(const EvalOptions& options) {
  if (options.seed) {
    SeedRandomStreams(*options.seed);
  }
  std::string text = options.expression;
  ConvertToLatin1(text);
  std::string error;
  int position = 0;
  const ExpressionPtr tree = QVR_expression::Parse(text.c_str(), &error, &position);
  if (tree == nullptr) {
    return "character " + std::to_string(position) + ": " + ToUtf8(error);
  }
  if (Failure failure = AssignVariables(options.variables, *tree)) {
    return failure;
  }
  PrintResult(ShortestNumber(tree->EvaluateSigned()) + "\n");
  return std::nullopt;
}

}  // namespace qvr
