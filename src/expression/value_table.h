// Numbers by variable name, each in a slot of its own: what bound formulas read.
#ifndef QVR_EXPRESSION_VALUE_TABLE_H
#define QVR_EXPRESSION_VALUE_TABLE_H

#include <cstddef>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace qvr {

// Slots keep their index; nothing is ever removed. Formulas bound to a table must not outlive it.
class ValueTable {
 public:
  ValueTable() = default;
  ValueTable(const ValueTable&) = delete;
  ValueTable& operator=(const ValueTable&) = delete;

  // The index of the name's slot; a new one holds 0.0.
  int GetOrAddVariable(std::string_view name);
  // -1 if the name has no slot.
  [[nodiscard]] int FindVariable(std::string_view name) const;
  [[nodiscard]] int GetSize() const { return static_cast<int>(values.size()); }

  double& operator[](int index) { return values[static_cast<std::size_t>(index)]; }
  const double& operator[](int index) const { return values[static_cast<std::size_t>(index)]; }

 private:
  std::map<std::string, int, std::less<>> indices;
  std::vector<double> values;
};

}  // namespace qvr

#endif
