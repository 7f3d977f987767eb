#include "definitions/hybrid_element.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "model/status.h"

namespace qvr {

namespace {

constexpr double kNotSupported = QVR_ERROR_52;

ExpressionPtr Parse(const char* text) { return QVR_expression::Parse(text, nullptr, nullptr); }

// A node whose class is told by its type.
std::unique_ptr<QVR_distribution> AsDistribution(ExpressionPtr node) {
  return std::unique_ptr<QVR_distribution>(static_cast<QVR_distribution*>(node.release()));
}

}  // namespace

int QVR_Helement::GetMoments(double& /*mean*/, double& /*variance*/) const { return QVR_ERROR_52; }

int QVR_Helement::GetValue(double& /*value*/) { return QVR_ERROR_52; }

int QVR_Helement::GetInverseValue(std::string_view /*name*/, double& /*value*/) const { return QVR_ERROR_52; }

int QVR_Helement::GetSample(double& /*value*/) const { return QVR_ERROR_52; }

int QVR_Helement::GetOutcomeWeight(std::span<double> /*weights*/) const { return QVR_ERROR_52; }

double QVR_Helement::GetDensity(double /*x*/) const { return kNotSupported; }

double QVR_Helement::GetDensityAt(double /*x*/) const { return kNotSupported; }

int QVR_Helement::GetKind() const { return QVR_ERROR_52; }

QVR_equationElement::QVR_equationElement() : text("0"), formula(MakeConstant(0.0)) {}

QVR_equationElement::QVR_equationElement(const QVR_equationElement& other)
    : QVR_Helement(other),
      isEvaluated(other.isEvaluated),
      value(other.value),
      text(other.text),
      formula(other.formula->Clone()) {
  for (const auto& [name, inverse] : other.inverses) {
    inverses.emplace(name, inverse->Clone());
  }
}

std::unique_ptr<QVR_Helement> QVR_equationElement::Clone() const {
  return std::make_unique<QVR_equationElement>(*this);
}

void QVR_equationElement::AssignVariable(std::string_view name, double newValue) {
  isEvaluated = false;
  formula->AssignVariable(name, newValue);
  for (const auto& [variable, inverse] : inverses) {
    inverse->AssignVariable(name, newValue);
  }
}

int QVR_equationElement::GetValue(double& out) {
  value = formula->EvaluateSigned();
  isEvaluated = true;
  out = value;
  return QVR_OKAY;
}

int QVR_equationElement::GetInverseValue(std::string_view name, double& out) const {
  const auto found = inverses.find(name);
  if (found == inverses.end()) {
    return QVR_OUT_OF_RANGE;
  }
  out = found->second->EvaluateSigned();
  return QVR_OKAY;
}

void QVR_equationElement::RenameVariable(std::string_view oldName, std::string_view newName) {
  formula->RenameVariable(oldName, newName);
  text = formula->GetText();
  for (const auto& [variable, inverse] : inverses) {
    inverse->RenameVariable(oldName, newName);
  }
  if (const auto found = inverses.find(oldName); found != inverses.end()) {
    auto renamed = inverses.extract(found);
    renamed.key() = newName;
    inverses.insert(std::move(renamed));
  }
}

bool QVR_equationElement::NamesVariable(std::string_view name) const {
  return formula->CountVariable(name) > 0 || inverses.contains(name) ||
         std::any_of(inverses.begin(), inverses.end(),
                     [&](const auto& entry) { return entry.second->CountVariable(name) > 0; });
}

int QVR_equationElement::SetFormula(ExpressionPtr newFormula) {
  if (newFormula == nullptr) {
    return QVR_OUT_OF_RANGE;
  }
  formula = std::move(newFormula);
  text = formula->GetText();
  inverses.clear();
  isEvaluated = false;
  return QVR_OKAY;
}

int QVR_equationElement::SetFormula(const char* newText) { return SetFormula(Parse(newText)); }

int QVR_equationElement::SetInverse(std::string_view name, ExpressionPtr inverse) {
  if (inverse == nullptr) {
    return QVR_OUT_OF_RANGE;
  }
  inverses.insert_or_assign(std::string(name), std::move(inverse));
  return QVR_OKAY;
}

QVR_distributionElement::QVR_distributionElement()
    : distribution(AsDistribution(Parse("Normal(0,1)"))), text(distribution->GetText()) {}

QVR_distributionElement::QVR_distributionElement(const QVR_distributionElement& other)
    : QVR_Helement(other), distribution(AsDistribution(other.distribution->Clone())), text(other.text) {}

std::unique_ptr<QVR_Helement> QVR_distributionElement::Clone() const {
  return std::make_unique<QVR_distributionElement>(*this);
}

void QVR_distributionElement::AssignVariable(std::string_view name, double newValue) {
  distribution->AssignVariable(name, newValue);
}

int QVR_distributionElement::GetMoments(double& mean, double& variance) const {
  distribution->GetMoments(mean, variance);
  return QVR_OKAY;
}

int QVR_distributionElement::GetSample(double& out) const {
  out = distribution->Evaluate();
  return QVR_OKAY;
}

double QVR_distributionElement::GetDensity(double x) const { return distribution->GetDensity(x); }

void QVR_distributionElement::RenameVariable(std::string_view oldName, std::string_view newName) {
  distribution->RenameVariable(oldName, newName);
  text = distribution->GetText();
}

bool QVR_distributionElement::NamesVariable(std::string_view name) const {
  return distribution->CountVariable(name) > 0;
}

int QVR_distributionElement::SetDistribution(ExpressionPtr newDistribution) {
  if (newDistribution == nullptr || newDistribution->GetType() != ExpressionType::Distribution ||
      newDistribution->sign < 0) {
    return QVR_OUT_OF_RANGE;
  }
  distribution = AsDistribution(std::move(newDistribution));
  text = distribution->GetText();
  return QVR_OKAY;
}

int QVR_distributionElement::SetDistribution(const char* newText) { return SetDistribution(Parse(newText)); }

void MakeDistribution(std::span<double> weights) {
  double sum = 0.0;
  for (double& weight : weights) {
    weight = weight > 0.0 ? weight : 0.0;
    sum += weight;
  }
  const bool usable = sum > 0.0 && std::isfinite(sum);
  for (double& weight : weights) {
    weight = usable ? weight / sum : 1.0 / static_cast<double>(weights.size());
  }
}

QVR_discreteElement::QVR_discreteElement(int outcomeCount) {
  for (int i = 0; i < outcomeCount; ++i) {
    formulas.push_back(MakeConstant(1.0));
  }
}

QVR_discreteElement::QVR_discreteElement(const QVR_discreteElement& other) : QVR_Helement(other) {
  formulas.reserve(other.formulas.size());
  for (const ExpressionPtr& formula : other.formulas) {
    formulas.push_back(formula->Clone());
  }
}

std::unique_ptr<QVR_Helement> QVR_discreteElement::Clone() const {
  return std::make_unique<QVR_discreteElement>(*this);
}

void QVR_discreteElement::AssignVariable(std::string_view name, double value) {
  for (const ExpressionPtr& formula : formulas) {
    formula->AssignVariable(name, value);
  }
}

int QVR_discreteElement::GetOutcomeWeight(std::span<double> weights) const {
  if (weights.size() != formulas.size()) {
    return QVR_OUT_OF_RANGE;
  }
  for (std::size_t i = 0; i < weights.size(); ++i) {
    weights[i] = formulas[i]->EvaluateSigned();
  }
  MakeDistribution(weights);
  return QVR_OKAY;
}

void QVR_discreteElement::RenameVariable(std::string_view oldName, std::string_view newName) {
  for (const ExpressionPtr& formula : formulas) {
    formula->RenameVariable(oldName, newName);
  }
}

bool QVR_discreteElement::NamesVariable(std::string_view name) const {
  return std::any_of(formulas.begin(), formulas.end(),
                     [&](const ExpressionPtr& formula) { return formula->CountVariable(name) > 0; });
}

int QVR_discreteElement::SetFormula(int outcome, ExpressionPtr formula) {
  if (formula == nullptr || outcome < 0 || outcome >= GetOutcomeCount()) {
    return QVR_OUT_OF_RANGE;
  }
  formulas[static_cast<std::size_t>(outcome)] = std::move(formula);
  return QVR_OKAY;
}

int QVR_discreteElement::SetFormula(int outcome, const char* text) {
  return SetFormula(outcome, Parse(text));
}

void QVR_discreteElement::InsertOutcome(int position) {
  formulas.insert(formulas.begin() + position, MakeConstant(0.0));
}

void QVR_discreteElement::RemoveOutcome(int position) { formulas.erase(formulas.begin() + position); }

void QVR_discreteElement::ReorderOutcomes(std::span<const int> order) {
  std::vector<ExpressionPtr> reordered;
  reordered.reserve(formulas.size());
  for (int old : order) {
    reordered.push_back(std::move(formulas[static_cast<std::size_t>(old)]));
  }
  formulas.swap(reordered);
}

}  // namespace qvr
