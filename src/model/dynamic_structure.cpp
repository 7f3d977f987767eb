// How order tables follow the ordinary arcs and nodes of their network, and what they have to agree on.
#include <algorithm>
#include <new>

#include "model/dynamic_extension.h"
#include "model/raised_flag.h"

namespace qvr {

// Where the parent has its dimension in the child's order tables: anchors have none there.
int QVR_dynamicExtension::OrdinaryPlace(int parent, int child) const {
  int place = 0;
  for (const int other : network.GetParents(child)) {
    if (other == parent) {
      break;
    }
    place += network.GetDynamicType(other) != kDynamicAnchor ? 1 : 0;
  }
  return place;
}

int QVR_dynamicExtension::OrdinaryArcAdded(int parent, int child) {
  if (network.GetDynamicType(parent) == kDynamicAnchor) {
    return QVR_OKAY;
  }
  const RaisedFlag scope(following);
  try {
    return AddToTables({parent, 0}, child, 1, OrdinaryPlace(parent, child));
  } catch (const std::bad_alloc&) {
    return QVR_OUT_OF_MEMORY;
  }
}

void QVR_dynamicExtension::OrdinaryArcRemoved(int parent, int child) {
  const int shadow = FindIn(shadows, {parent, 0});
  if (shadow >= 0) {
    const RaisedFlag scope(following);
    RemoveFromTables(shadow, child);
  }
}

int QVR_dynamicExtension::AnchorChanging(int handle, bool becomesAnchor) {
  const RaisedFlag scope(following);
  const QVR_intArray& children = network.GetChildren(handle);
  for (int i = 0; i < children.GetNumItems(); ++i) {
    if (becomesAnchor) {
      OrdinaryArcRemoved(handle, children[i]);
      continue;
    }
    const int place = OrdinaryPlace(handle, children[i]);
    if (const int status = AddToTables({handle, 0}, children[i], 1, place); status < 0) {
      while (--i >= 0) {
        OrdinaryArcRemoved(handle, children[i]);
      }
      return status;
    }
  }
  return QVR_OKAY;
}

void QVR_dynamicExtension::NodeDeleted(int handle) {
  evidence.erase(handle);
  const RaisedFlag scope(following);
  DropShadowsOf(handle, 0);
  DropTablesOf(handle);
}

void QVR_dynamicExtension::DropTablesOf(int handle) {
  for (const int order : GetTemporalOrders(handle)) {
    DropTable(FindIn(orderTables, {handle, order}));
  }
}

void QVR_dynamicExtension::DropShadowsOf(int handle, int fromOrder) {
  std::vector<int> doomed;
  const auto [first, last] = RangeOf(shadows, handle, fromOrder);
  for (auto entry = first; entry != last; ++entry) {
    doomed.push_back(entry->second);
  }
  for (const int shadow : doomed) {
    const QVR_intArray& list = temporalNetwork.GetChildren(shadow);
    for (const int table : std::vector<int>(list.begin(), list.end())) {
      temporalNetwork.RemoveArc(shadow, table, kOrdinaryLayer);
      DropTableIfBare(table);
    }
    DropShadowIfUnused(shadow);
  }
  maxOrder = -1;
}

std::string QVR_dynamicExtension::CheckMirror(int mirror, int handle) const {
  const QVR_node* inner = temporalNetwork.NodeAt(mirror);
  const QVR_node* original = network.NodeAt(handle);
  if (inner == nullptr || original == nullptr || inner->GetType() != original->GetType()) {
    return "a shadow or order table isn't of its node's type";
  }
  return inner->GetNumberOfOutcomes() == original->GetNumberOfOutcomes()
             ? ""
             : "a shadow or order table hasn't the outcomes of its node";
}

std::string QVR_dynamicExtension::CheckTable(const Key& key, int table) const {
  std::vector<TemporalParent> parents;
  for (const int shadow : temporalNetwork.GetParents(table)) {
    parents.push_back(KeyOfShadow(shadow));
  }
  if (!IsInPlate(key.handle) || GetTemporalParents(key.handle, key.order).empty()) {
    return "an order table without an arc of its order";
  }
  return parents == GetTableParents(key.handle, key.order) ? ""
                                                           : "an order table hasn't the parents it should";
}

std::string QVR_dynamicExtension::CheckInvariants() const {
  std::string fault = temporalNetwork.CheckInvariants();
  for (const auto& [key, shadow] : shadows) {
    fault += CheckMirror(shadow, key.handle);
    fault +=
        temporalNetwork.GetNumberOfChildren(shadow) > 0 && KeyOfShadow(shadow) == key ? "" : "a stray shadow";
  }
  for (const auto& [key, table] : orderTables) {
    fault += CheckMirror(table, key.handle) + CheckTable(key, table);
  }
  const auto total = static_cast<int>(shadows.size() + orderTables.size());
  fault += temporalNetwork.GetNumberOfNodes() == total && shadows.size() == shadowKeys.size()
               ? ""
               : "nodes of the tables' network that nothing refers to";
  for (const auto& entry : evidence) {
    const QVR_node* node = IsInPlate(entry.first) ? network.NodeAt(entry.first) : nullptr;
    const int count = node != nullptr ? node->GetNumberOfOutcomes() : 0;
    const bool fits =
        std::ranges::all_of(entry.second, [count](const auto& of) { return of.second < count; });
    fault += fits ? "" : "evidence that no slice can have";
  }
  return fault;
}

}  // namespace qvr
