// Temporal arcs and the tables that belong to them.
#include <algorithm>
#include <new>

#include "model/dynamic_extension.h"
#include "model/raised_flag.h"

namespace qvr {

// Its node must have a definition.
int QVR_dynamicExtension::MakeLike(int handle) {
  QVR_nodeDefinition& original = *network.NodeAt(handle)->definition;
  const int made = temporalNetwork.AddNode(original.GetType(), nullptr);
  if (made < 0) {
    return made;
  }
  const QVR_node& node = *temporalNetwork.NodeAt(made);
  const QVR_stringArray* names = original.GetOutcomeNames();
  int status = node.definition && node.value ? QVR_OKAY : QVR_OUT_OF_MEMORY;
  if (status >= 0 && names != nullptr) {
    status = node.definition->SetNumberOfOutcomes(*names);
  }
  if (status >= 0 && node.GetNumberOfOutcomes() != original.GetNumberOfOutcomes()) {
    status = QVR_OUT_OF_MEMORY;
  }
  if (status < 0) {
    temporalNetwork.DeleteNode(made);
    return status;
  }
  return made;
}

int QVR_dynamicExtension::UseShadow(const Key& key) {
  if (const int present = FindIn(shadows, key); present >= 0) {
    return present;
  }
  const int made = MakeLike(key.handle);
  if (made < 0) {
    return made;
  }
  try {
    shadows.emplace(key, made);
    shadowKeys.emplace(made, key);
  } catch (const std::bad_alloc&) {
    shadows.erase(key);
    temporalNetwork.DeleteNode(made);
    return QVR_OUT_OF_MEMORY;
  }
  return made;
}

void QVR_dynamicExtension::DropShadowIfUnused(int shadow) {
  if (temporalNetwork.GetNumberOfChildren(shadow) == 0) {
    shadows.erase(KeyOfShadow(shadow));
    shadowKeys.erase(shadow);
    temporalNetwork.DeleteNode(shadow);
  }
}

int QVR_dynamicExtension::UseTable(const Key& key) {
  if (const int present = FindIn(orderTables, key); present >= 0) {
    return present;
  }
  const std::vector<TemporalParent> parents = GetTableParents(key.handle, key.order);
  std::vector<int> handles;
  handles.reserve(parents.size());
  const int table = MakeLike(key.handle);
  if (table < 0) {
    return table;
  }
  int status = QVR_OKAY;
  try {
    orderTables.emplace(key, table);
    tableKeys.emplace(table, key);
  } catch (const std::bad_alloc&) {
    orderTables.erase(key);
    temporalNetwork.DeleteNode(table);
    return QVR_OUT_OF_MEMORY;
  }
  for (std::size_t i = 0; i < parents.size() && status >= 0; ++i) {
    handles.push_back(UseShadow(parents[i]));
    status = handles.back();
  }
  if (status >= 0) {
    status = temporalNetwork.AddArcs(handles, table);
  }
  if (status < 0) {
    DropTable(table);
    for (const int shadow : handles) {
      DropShadowIfUnused(shadow);
    }
    return status;
  }
  return table;
}

void QVR_dynamicExtension::DropTable(int table) {
  const QVR_intArray& list = temporalNetwork.GetParents(table);
  const std::vector<int> parents(list.begin(), list.end());
  orderTables.erase(tableKeys.find(table)->second);
  tableKeys.erase(table);
  temporalNetwork.DeleteNode(table);
  for (const int shadow : parents) {
    DropShadowIfUnused(shadow);
  }
  maxOrder = -1;
}

// The parents of the highest order stand last.
void QVR_dynamicExtension::DropTableIfBare(int table) {
  const QVR_intArray& parents = temporalNetwork.GetParents(table);
  const int last = parents.GetNumItems() - 1;
  const int order = tableKeys.find(table)->second.order;
  if (last < 0 || KeyOfShadow(parents[last]).order != order) {
    DropTable(table);
  }
}

int QVR_dynamicExtension::AddParentAt(int table, int shadow, int place) {
  if (const int status = temporalNetwork.AddArc(shadow, table, kOrdinaryLayer); status < 0) {
    return status;
  }
  const int status = temporalNetwork.MoveLastParent(table, place);
  if (status < 0) {
    temporalNetwork.RemoveArc(shadow, table, kOrdinaryLayer);
  }
  return status;
}

int QVR_dynamicExtension::AddToTables(const Key& parent, int child, int fromOrder, int ordinaryPlace) {
  const auto [first, last] = RangeOf(orderTables, child, fromOrder);
  if (first == last) {
    return QVR_OKAY;
  }
  const int shadow = UseShadow(parent);
  if (shadow < 0) {
    return shadow;
  }
  for (auto table = first; table != last; ++table) {
    const QVR_intArray& list = temporalNetwork.GetParents(table->second);
    int place = parent.order == 0 ? ordinaryPlace : list.GetNumItems();
    while (parent.order > 0 && place > 0 && KeyOfShadow(list[place - 1]).order > parent.order) {
      --place;
    }
    if (const int status = AddParentAt(table->second, shadow, place); status < 0) {
      RemoveFromTables(shadow, child);
      return status;
    }
  }
  return QVR_OKAY;
}

void QVR_dynamicExtension::RemoveFromTables(int shadow, int child) {
  const auto [first, last] = RangeOf(orderTables, child, 1);
  for (auto table = first; table != last; ++table) {
    temporalNetwork.RemoveArc(shadow, table->second, kOrdinaryLayer);  // -2 where it isn't a parent
  }
  DropShadowIfUnused(shadow);
}

int QVR_dynamicExtension::AddTemporalArc(int parent, int child, int order) {
  if (order < 1 || !IsInPlate(parent) || !IsInPlate(child)) {
    return QVR_OUT_OF_RANGE;
  }
  if (temporalNetwork.HasArc(FindIn(shadows, {parent, order}), FindIn(orderTables, {child, order}))) {
    return QVR_OUT_OF_RANGE;
  }
  if (!HasOutcomes(parent) || !HasOutcomes(child)) {
    return QVR_WRONG_NODE_TYPE;
  }
  if (const int status = MakeTemporalArc({parent, order}, child); status < 0) {
    return status;
  }
  network.TemporalPartChanged(kRelevanceArcAdded);
  return QVR_OKAY;
}

int QVR_dynamicExtension::MakeTemporalArc(const Key& parent, int child) {
  const RaisedFlag scope(following);
  int status = QVR_OUT_OF_MEMORY;
  try {
    status = UseTable({child, parent.order});
    if (status >= 0) {
      status = AddToTables(parent, child, parent.order, 0);
    }
  } catch (const std::bad_alloc&) {
    status = QVR_OUT_OF_MEMORY;
  }
  if (status < 0) {
    if (const int table = FindIn(orderTables, {child, parent.order}); table >= 0) {
      DropTableIfBare(table);
    }
    return status;
  }
  maxOrder = -1;
  return QVR_OKAY;
}

int QVR_dynamicExtension::RemoveTemporalArc(int parent, int child, int order) {
  const int table = FindIn(orderTables, {child, order});
  const int shadow = FindIn(shadows, {parent, order});
  if (order < 1 || table < 0 || shadow < 0 || !temporalNetwork.HasArc(shadow, table)) {
    return QVR_OUT_OF_RANGE;
  }
  {
    const RaisedFlag scope(following);
    RemoveFromTables(shadow, child);
    DropTableIfBare(table);
  }
  network.TemporalPartChanged(kRelevanceArcRemoved);
  return QVR_OKAY;
}

void QVR_dynamicExtension::DropLeftOver() {
  const std::map<int, Key> tables = tableKeys;
  for (const auto& entry : tables) {
    DropTableIfBare(entry.first);
  }
  const std::map<int, Key> before = shadowKeys;
  for (const auto& entry : before) {
    DropShadowIfUnused(entry.first);
  }
}

std::vector<int> QVR_dynamicExtension::GetTemporalOrders(int handle) const {
  std::vector<int> orders;
  const auto [first, last] = RangeOf(orderTables, handle, 1);
  for (auto entry = first; entry != last; ++entry) {
    orders.push_back(entry->first.order);
  }
  return orders;
}

std::vector<int> QVR_dynamicExtension::GetTemporalParents(int handle, int order) const {
  std::vector<int> parents;
  const int table = FindIn(orderTables, {handle, order});
  for (const int shadow : temporalNetwork.GetParents(table)) {
    if (KeyOfShadow(shadow).order == order) {
      parents.push_back(KeyOfShadow(shadow).handle);
    }
  }
  return parents;
}

std::vector<TemporalParent> QVR_dynamicExtension::GetTableParents(int handle, int order) const {
  std::vector<TemporalParent> parents;
  for (const int parent : network.GetParents(handle)) {
    if (network.GetDynamicType(parent) != kDynamicAnchor) {
      parents.push_back({parent, 0});
    }
  }
  const auto [first, last] = RangeOf(orderTables, handle, 1);
  for (auto table = first; table != last && table->first.order <= order; ++table) {
    for (const int parent : GetTemporalParents(handle, table->first.order)) {
      parents.push_back({parent, table->first.order});
    }
  }
  return parents;
}

QVR_nodeDefinition* QVR_dynamicExtension::GetTemporalDefinition(int handle, int order) {
  const int table = FindIn(orderTables, {handle, order});
  if (table < 0) {
    return nullptr;
  }
  // Names change without a word to anybody, so they are fetched when they matter.
  QVR_nodeDefinition& definition = DefinitionOf(table);
  if (const QVR_stringArray* names = network.NodeAt(handle)->definition->GetOutcomeNames()) {
    const RaisedFlag scope(following);
    definition.RenameOutcomes(*names);
  }
  return &definition;
}

bool QVR_dynamicExtension::IsTemporalParent(int handle) const {
  const auto [first, last] = RangeOf(shadows, handle, 1);
  return first != last;
}

int QVR_dynamicExtension::GetMaxOrder() const {
  if (maxOrder < 0) {
    maxOrder = 0;
    for (const auto& [key, table] : orderTables) {
      maxOrder = std::max(maxOrder, key.order);
    }
  }
  return maxOrder;
}

}  // namespace qvr
