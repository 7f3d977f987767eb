// The numbers of a network's equation nodes in one value table, and the formulas that read them.
#ifndef QVR_HYBRID_EQUATION_NUMBERS_H
#define QVR_HYBRID_EQUATION_NUMBERS_H

#include <optional>
#include <vector>

#include "definitions/equation.h"
#include "expression/compiled_expression.h"
#include "expression/value_table.h"
#include "model/network.h"

namespace qvr {

// Every node has a slot; what isn't known yet is not a number. Formulas are compiled: the definitions stay as
// they are.
class EquationNumbers {
 public:
  explicit EquationNumbers(const QVR_network& newNetwork);

  [[nodiscard]] int SlotOf(int handle) const { return slots[static_cast<std::size_t>(handle)]; }
  [[nodiscard]] double& Of(int handle) { return table[SlotOf(handle)]; }
  [[nodiscard]] ValueTable& Table() { return table; }

  // The explicit form of an equation. -6, which is logged, if there's none; -2 if it names anything but the
  // node's parents.
  int Compile(QVR_equation& equation, std::optional<CompiledExpression>& program);

  // Whether the equation of a node names nothing but the node itself, its parents, and these others.
  [[nodiscard]] bool NamesOnly(int handle, const EquationPair& equation, std::vector<int> others) const;

 private:
  const QVR_network& network;
  ValueTable table;
  std::vector<int> slots;  // by handle
};

}  // namespace qvr

#endif
