// Parses the input as a formula. What is refused has a message; what is accepted prints to a text that gives
// the same tree, and stands all operations.
#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include "expression/compiled_expression.h"
#include "expression/isolate_variable.h"
#include "expression/value_table.h"
#include "model/special_numbers.h"
#include "model/status.h"

namespace qvr {
namespace {

void Demand(bool holds) {
  if (!holds) {
    std::abort();
  }
}

bool SameNumber(double a, double b) { return SameBits(a, b) || (std::isnan(a) && std::isnan(b)); }

void FillTable(const std::vector<std::string>& names, ValueTable& table) {
  for (const std::string& name : names) {
    table[table.GetOrAddVariable(name)] = 0.75 + static_cast<double>(name.size());
  }
}

void CheckRoundTrip(const QVR_expression& tree, const ValueTable& table) {
  const std::string text = tree.GetText();
  const ExpressionPtr again = QVR_expression::Parse(text.c_str(), nullptr, nullptr);
  Demand(again != nullptr && again->GetText() == text && again->CountNodes() == tree.CountNodes());
  if (tree.IsDeterministic()) {
    again->Bind(&table);
    const double value = tree.EvaluateSigned();
    Demand(SameNumber(again->EvaluateSigned(), value));
    Demand(SameNumber(CompiledExpression(tree, table).Evaluate(table), value));
  }
}

void CheckRewriting(const QVR_expression& tree, const std::vector<std::string>& names) {
  ExpressionPtr simple = tree.Clone();
  QVR_expression::SimplifyFully(simple);
  for (const std::string& name : names) {
    ExpressionPtr left = tree.Clone();
    ExpressionPtr right = MakeVariable("y_" + name);
    const int status = IsolateVariable(left, right, name);
    Demand(status == QVR_OUT_OF_RANGE || (status == QVR_OKAY && left->GetText() == name));
    Demand(status != QVR_OKAY || right->CountVariable(name) == 0);
  }
}

}  // namespace
}  // namespace qvr

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string text(data, data + size);
  std::string message;
  int position = -1;
  const qvr::ExpressionPtr tree = qvr::QVR_expression::Parse(text.c_str(), &message, &position);
  qvr::Demand(position >= 0 && position <= static_cast<int>(size) && message.empty() == (tree != nullptr));
  if (tree == nullptr) {
    return 0;
  }
  qvr::ValueTable table;
  std::vector<std::string> names;
  tree->GetVariables(names);
  qvr::FillTable(names, table);
  tree->Bind(&table);
  qvr::CheckRoundTrip(*tree, table);
  names.resize(std::min<std::size_t>(names.size(), 3));
  qvr::CheckRewriting(*tree, names);
  return 0;
}
