// Calls in a formula: functions, and distributions, which draw.
#ifndef QVR_EXPRESSION_FUNCTION_EXPRESSION_H
#define QVR_EXPRESSION_FUNCTION_EXPRESSION_H

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "expression/expression.h"
#include "expression/function_row.h"

namespace qvr {

// Evaluates all arguments, in order.
class QVR_function : public QVR_expression {
 public:
  explicit QVR_function(const FunctionRow& newEntry) : entry(&newEntry) {}
  ~QVR_function() override { ReleaseChildren(); }

  [[nodiscard]] ExpressionType GetType() const override { return ExpressionType::Function; }
  [[nodiscard]] virtual std::string_view GetName() const { return entry->name; }
  [[nodiscard]] double Evaluate() const override;
  [[nodiscard]] int GetChildCount() const override { return static_cast<int>(arguments.size()); }
  [[nodiscard]] ExpressionPtr& ChildSlot(int index) override;

  const FunctionRow* entry;
  std::vector<ExpressionPtr> arguments;  // at most kMaxArguments, none of them null

 protected:
  void EvaluateArguments(ArgumentBlock& block) const;
  void CopyShape(QVR_function& copy) const { copy.arguments.resize(arguments.size()); }

 private:
  [[nodiscard]] ExpressionPtr CloneNode() const override;
};

// A call that only stands for itself, in a language with functions of its own. Its value is not a number.
class QVR_unknownFunction final : public QVR_function {
 public:
  explicit QVR_unknownFunction(std::string_view newName);

  [[nodiscard]] std::string_view GetName() const override { return name; }

  std::string name;

 private:
  [[nodiscard]] ExpressionPtr CloneNode() const override;
};

class QVR_distribution final : public QVR_function {
 public:
  explicit QVR_distribution(const FunctionRow& newEntry) : QVR_function(newEntry) {}

  [[nodiscard]] ExpressionType GetType() const override { return ExpressionType::Distribution; }
  // By the columns of the same names in the row.
  [[nodiscard]] double GetDensity(double x) const;
  [[nodiscard]] double GetTrueDensity(double x) const;
  void GetMoments(double& mean, double& variance) const;

 private:
  [[nodiscard]] ExpressionPtr CloneNode() const override;
};

// Fills the block up to the least count of arguments that a call of the row has: what is lacking is no
// number.
void PadArguments(const FunctionRow& row, ArgumentBlock& block);

// The row's function or distribution, still without arguments; null if there is no row of the name.
[[nodiscard]] std::unique_ptr<QVR_function> MakeFunction(std::string_view name);

}  // namespace qvr

#endif
