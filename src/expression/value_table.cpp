#include "expression/value_table.h"

namespace qvr {

int ValueTable::GetOrAddVariable(std::string_view name) {
  if (const int index = FindVariable(name); index >= 0) {
    return index;
  }
  const int index = GetSize();
  values.push_back(0.0);
  indices.emplace(name, index);
  return index;
}

int ValueTable::FindVariable(std::string_view name) const {
  const auto found = indices.find(name);
  return found == indices.end() ? -1 : found->second;
}

}  // namespace qvr
