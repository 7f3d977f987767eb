// What a node of a hybrid network states for one combination of its discrete parents' outcomes.
#ifndef QVR_DEFINITIONS_HYBRID_ELEMENT_H
#define QVR_DEFINITIONS_HYBRID_ELEMENT_H

#include <map>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "expression/expression.h"
#include "expression/function_expression.h"

namespace qvr {

// Up to GetKind the order of the virtual operations is part of the design. Where a class doesn't say
// otherwise the answer is -52 or -52.0: not supported.
class QVR_Helement {
 public:
  virtual ~QVR_Helement() = default;
  QVR_Helement& operator=(const QVR_Helement&) = delete;

  [[nodiscard]] virtual std::unique_ptr<QVR_Helement> Clone() const = 0;
  [[nodiscard]] virtual bool IsEquation() const { return false; }
  // Sets the variable in all formulas.
  virtual void AssignVariable(std::string_view name, double value) = 0;
  virtual int GetMoments(double& mean, double& variance) const;
  virtual int GetValue(double& value);
  virtual int GetInverseValue(std::string_view name, double& value) const;
  virtual int GetSample(double& value) const;
  virtual int GetOutcomeWeight(std::span<double> weights) const;
  [[nodiscard]] virtual double GetDensity(double x) const;
  [[nodiscard]] virtual double GetDensityAt(double x) const;  // reserved
  [[nodiscard]] virtual int GetKind() const;                  // reserved

  virtual void RenameVariable(std::string_view oldName, std::string_view newName) = 0;
  [[nodiscard]] virtual bool NamesVariable(std::string_view name) const = 0;

 protected:
  QVR_Helement() = default;
  QVR_Helement(const QVR_Helement&) = default;
};

// A formula of the node's parents, and the same solved for some of them.
class QVR_equationElement final : public QVR_Helement {
 public:
  using Inverses = std::map<std::string, ExpressionPtr, std::less<>>;

  QVR_equationElement();  // 0
  QVR_equationElement(const QVR_equationElement& other);

  [[nodiscard]] std::unique_ptr<QVR_Helement> Clone() const override;
  [[nodiscard]] bool IsEquation() const override { return true; }
  void AssignVariable(std::string_view name, double newValue) override;
  int GetValue(double& out) override;
  int GetInverseValue(std::string_view name, double& out) const override;  // -2 without such an inverse
  void RenameVariable(std::string_view oldName, std::string_view newName) override;
  [[nodiscard]] bool NamesVariable(std::string_view name) const override;

  // Take the tree, or what the text parses to, and drop all inverses. -2, with nothing changed, for null and
  // for a text that doesn't parse.
  int SetFormula(ExpressionPtr newFormula);
  int SetFormula(const char* newText);
  // What the formula gives for the variable, as a formula of its value and the others. -2 for null.
  int SetInverse(std::string_view name, ExpressionPtr inverse);
  [[nodiscard]] const QVR_expression& GetFormula() const { return *formula; }
  [[nodiscard]] const Inverses& GetInverses() const { return inverses; }
  [[nodiscard]] const std::string& GetText() const { return text; }
  [[nodiscard]] bool IsEvaluated() const { return isEvaluated; }

 private:
  bool isEvaluated = false;  // since a variable was last assigned
  double value = -1.0;       // as last evaluated
  std::string text;          // as printed
  ExpressionPtr formula;
  Inverses inverses;  // by variable
};

class QVR_distributionElement final : public QVR_Helement {
 public:
  QVR_distributionElement();  // Normal(0,1)
  QVR_distributionElement(const QVR_distributionElement& other);

  [[nodiscard]] std::unique_ptr<QVR_Helement> Clone() const override;
  void AssignVariable(std::string_view name, double newValue) override;
  int GetMoments(double& mean, double& variance) const override;
  int GetSample(double& out) const override;
  [[nodiscard]] double GetDensity(double x) const override;
  void RenameVariable(std::string_view oldName, std::string_view newName) override;
  [[nodiscard]] bool NamesVariable(std::string_view name) const override;

  // -2, with nothing changed, for anything but one distribution, and for one with a minus in front.
  int SetDistribution(ExpressionPtr newDistribution);
  int SetDistribution(const char* newText);
  [[nodiscard]] const QVR_distribution& GetDistribution() const { return *distribution; }
  [[nodiscard]] const std::string& GetText() const { return text; }

 private:
  std::unique_ptr<QVR_distribution> distribution;
  std::string text;  // as printed
};

// Scales to sum 1: what is negative or not a number counts as 0, and a sum of 0 gives the uniform
// distribution.
void MakeDistribution(std::span<double> weights);

// A formula for each outcome of a discrete node, whose values are in proportion to the probabilities.
class QVR_discreteElement final : public QVR_Helement {
 public:
  explicit QVR_discreteElement(int outcomeCount);  // 1 for each
  QVR_discreteElement(const QVR_discreteElement& other);

  [[nodiscard]] std::unique_ptr<QVR_Helement> Clone() const override;
  void AssignVariable(std::string_view name, double value) override;
  // A distribution over the outcomes, by MakeDistribution. -2 unless there is room for just the outcomes.
  int GetOutcomeWeight(std::span<double> weights) const override;
  void RenameVariable(std::string_view oldName, std::string_view newName) override;
  [[nodiscard]] bool NamesVariable(std::string_view name) const override;

  [[nodiscard]] int GetOutcomeCount() const { return static_cast<int>(formulas.size()); }
  // -2, with nothing changed, for null, a text that doesn't parse and a bad outcome.
  int SetFormula(int outcome, ExpressionPtr formula);
  int SetFormula(int outcome, const char* text);
  [[nodiscard]] const QVR_expression& GetFormula(int outcome) const {
    return *formulas[static_cast<std::size_t>(outcome)];
  }
  // For the definition, which tests the arguments. A new outcome gets the constant 0.
  void InsertOutcome(int position);
  void RemoveOutcome(int position);
  void ReorderOutcomes(std::span<const int> order);

 private:
  std::vector<ExpressionPtr> formulas;
};

}  // namespace qvr

#endif
