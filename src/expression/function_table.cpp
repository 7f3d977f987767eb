#include <algorithm>
#include <vector>

#include "expression/function_catalogue.h"

namespace qvr {

namespace {

char Folded(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

bool ComesBefore(std::string_view a, std::string_view b) {
  return std::lexicographical_compare(a.begin(), a.end(), b.begin(), b.end(),
                                      [](char left, char right) { return Folded(left) < Folded(right); });
}

// All rows, sorted by name without regard to case.
std::vector<FunctionRow> BuildTable() {
  std::vector<FunctionRow> rows;
  for (const std::span<const FunctionRow> part : {PlainFunctions(), Distributions()}) {
    rows.insert(rows.end(), part.begin(), part.end());
  }
  std::sort(rows.begin(), rows.end(),
            [](const FunctionRow& a, const FunctionRow& b) { return ComesBefore(a.name, b.name); });
  return rows;
}

}  // namespace

const FunctionRow* LookupFunctionRow(std::string_view name) {
  static const std::vector<FunctionRow> table = BuildTable();
  const auto found = std::lower_bound(
      table.begin(), table.end(), name,
      [](const FunctionRow& row, std::string_view wanted) { return ComesBefore(row.name, wanted); });
  return found != table.end() && !ComesBefore(name, found->name) ? &*found : nullptr;
}

}  // namespace qvr
