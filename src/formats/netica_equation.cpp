#include "formats/netica_equation.h"

#include <algorithm>
#include <utility>

namespace qvr {
namespace {

constexpr int kMaxMapped = 3;
constexpr int kVariableArguments = -2;

struct Translation {
  std::string_view name;
  int arguments;  // or kVariableArguments
  std::string_view ownName;
  int mapped;           // number of arguments taken; 0 for all, unchanged
  int map[kMaxMapped];  // which
};

// Sorted by name.
constexpr Translation kTranslations[] = {
    {"BernoulliDist", 2, "Bernoulli", 1, {1}},
    {"BetaDist", 3, "Beta", 2, {1, 2}},
    {"BinomialDist", 3, "Binomial", 2, {1, 2}},
    {"ExponentialDist", 2, "Exponential", 1, {1}},
    {"LognormalDist", 3, "Lognormal", 2, {1, 2}},
    {"NormalDist", 3, "Normal", 2, {1, 2}},
    {"TriangularEnd3Dist", 4, "Triangular", 3, {1, 2, 3}},
    {"UniformDist", 3, "Uniform", 2, {1, 2}},
    {"WeibullDist", 3, "Weibull", 2, {1, 2}},
    {"binomial", 2, "Combin", 0, {}},
    {"clip", 3, "Trim", 3, {2, 0, 1}},
    {"plus", kVariableArguments, "Sum", 0, {}},
};

const Translation* FindTranslation(std::string_view name) {
  const auto* const found =
      std::lower_bound(std::begin(kTranslations), std::end(kTranslations), name,
                       [](const Translation& row, std::string_view key) { return row.name < key; });
  return found != std::end(kTranslations) && found->name == name ? found : nullptr;
}

}  // namespace

bool NeticaExpressionParser::LookupFunction(std::string_view name, std::unique_ptr<QVR_function>& function,
                                            int& arity) {
  const Translation* row = FindTranslation(name);
  if (row == nullptr) {
    return QVR_expressionParser::LookupFunction(name, function, arity);
  }
  function = std::make_unique<QVR_unknownFunction>(name);
  arity = row->arguments;
  return true;
}

ExpressionPtr NeticaExpressionParser::TranslateFunction(std::unique_ptr<QVR_function> function,
                                                        std::string& reason) {
  const Translation* row = FindTranslation(function->GetName());
  if (row == nullptr) {
    return function;
  }
  std::unique_ptr<QVR_function> own = MakeFunction(row->ownName);
  if (own == nullptr) {
    reason = "Unexpected error in TranslateFunction";
    return nullptr;
  }
  if (row->mapped == 0) {
    own->arguments = std::move(function->arguments);
    function->arguments.clear();
    return own;
  }
  std::vector<ExpressionPtr> arguments;
  for (int i = 0; i < row->mapped; ++i) {
    arguments.push_back(function->arguments[static_cast<std::size_t>(row->map[i])]->Clone());
  }
  own->arguments = std::move(arguments);
  return own;
}

ExpressionPtr ParseNeticaEquation(const std::string& text, std::string& message) {
  const std::size_t sign = text.find('=');
  if (sign == std::string::npos) {
    message = "Can't find the '=' sign in equation";
    return nullptr;
  }
  return NeticaExpressionParser().Parse(text.c_str() + sign + 1, &message, nullptr);
}

}  // namespace qvr
