#include "hybrid/equation_numbers.h"

#include <algorithm>
#include <limits>
#include <string>

namespace qvr {

EquationNumbers::EquationNumbers(const QVR_network& newNetwork)
    : network(newNetwork), slots(static_cast<std::size_t>(newNetwork.GetTableSize()), -1) {
  for (int handle = network.FirstNode(); handle >= 0; handle = network.NextNode(handle)) {
    const int slot = table.GetOrAddVariable(network.NodeAt(handle)->GetId());
    slots[static_cast<std::size_t>(handle)] = slot;
    table[slot] = std::numeric_limits<double>::quiet_NaN();
  }
}

int EquationNumbers::Compile(QVR_equation& equation, std::optional<CompiledExpression>& program) {
  const QVR_expression* form = equation.GetSolved();
  if (form == nullptr) {
    return QVR_UNSOLVABLE;
  }
  if (!NamesOnly(equation.GetHandle(), equation.GetEquation(), {})) {
    return QVR_OUT_OF_RANGE;
  }
  program.emplace(*form, table);
  return QVR_OKAY;
}

bool EquationNumbers::NamesOnly(int handle, const EquationPair& equation, std::vector<int> others) const {
  const QVR_intArray& parents = network.GetParents(handle);
  others.insert(others.end(), parents.begin(), parents.end());
  others.push_back(handle);
  std::sort(others.begin(), others.end());
  std::vector<std::string> names;
  equation.GetVariables(names);
  return std::all_of(names.begin(), names.end(), [&](const std::string& name) {
    return std::binary_search(others.begin(), others.end(), network.FindNode(name.c_str()));
  });
}

}  // namespace qvr
