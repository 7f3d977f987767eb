// How shadows, order tables and stored evidence follow the outcomes and types of nodes.
#include <algorithm>

#include "model/dynamic_extension.h"
#include "model/error_log.h"
#include "model/raised_flag.h"

namespace qvr {

// The node's shadows and its own order tables. The shadows stand first: the tables over them follow them.
std::vector<int> QVR_dynamicExtension::MirrorsOf(int handle) const {
  std::vector<int> mirrors;
  for (const KeyMap* map : {&shadows, &orderTables}) {
    const auto [first, last] = RangeOf(*map, handle, 0);
    for (auto entry = first; entry != last; ++entry) {
      mirrors.push_back(entry->second);
    }
  }
  return mirrors;
}

int QVR_dynamicExtension::TestOutcomeGrowth(int handle) const {
  for (const int mirror : MirrorsOf(handle)) {
    for (const int table : temporalNetwork.GetChildren(mirror)) {
      if (const int status = DefinitionOf(table).TestParentGrowth(mirror); status < 0) {
        return status;
      }
    }
    const QVR_nodeDefinition& definition = DefinitionOf(mirror);
    const bool isFullTable = definition.GetType() == kTypeCpt || definition.GetType() == kTypeTruthTable;
    const long long rows = isFullTable ? definition.GetSize() / definition.GetNumberOfOutcomes() : 0;
    if (rows * (definition.GetNumberOfOutcomes() + 1LL) > QVR_Dmatrix::kMaxElements) {
      return QVR_OUT_OF_MEMORY;
    }
  }
  return QVR_OKAY;
}

void QVR_dynamicExtension::OutcomeAdded(int handle, int position) {
  {
    const RaisedFlag scope(following);
    for (const int mirror : MirrorsOf(handle)) {
      DefinitionOf(mirror).InsertOutcome(position, nullptr);
    }
  }
  if (const auto found = evidence.find(handle); found != evidence.end()) {
    for (auto& [slice, outcome] : found->second) {
      outcome += outcome >= position ? 1 : 0;
    }
  }
  DefinitionChanged(handle);
}

void QVR_dynamicExtension::OutcomeRemoved(int handle, int position) {
  {
    const RaisedFlag scope(following);
    for (const int mirror : MirrorsOf(handle)) {
      DefinitionOf(mirror).RemoveOutcome(position);
    }
  }
  if (const auto found = evidence.find(handle); found != evidence.end()) {
    std::erase_if(found->second, [position](const auto& entry) { return entry.second == position; });
    for (auto& [slice, outcome] : found->second) {
      outcome -= outcome > position ? 1 : 0;
    }
  }
  DefinitionChanged(handle);
}

void QVR_dynamicExtension::OutcomesReordered(int handle, const QVR_intArray& order) {
  const RaisedFlag scope(following);
  for (const int mirror : MirrorsOf(handle)) {
    DefinitionOf(mirror).ReorderOutcomes(order);
  }
  const std::span<const int> places = order.View();
  if (const auto found = evidence.find(handle); found != evidence.end()) {
    for (auto& [slice, outcome] : found->second) {
      outcome = static_cast<int>(std::find(places.begin(), places.end(), outcome) - places.begin());
    }
  }
}

void QVR_dynamicExtension::OutcomesReplaced(int handle) {
  {
    const RaisedFlag scope(following);
    QVR_nodeDefinition& original = *network.NodeAt(handle)->definition;
    const auto [first, last] = RangeOf(orderTables, handle, 1);
    for (auto table = first; table != last; ++table) {
      DefinitionOf(table->second).SetNumberOfOutcomes(*original.GetOutcomeNames());
    }
  }
  DefinitionChanged(handle);
}

void QVR_dynamicExtension::DefinitionChanged(int handle) {
  QVR_node& original = *network.NodeAt(handle);
  const int count = original.GetNumberOfOutcomes();
  if (const auto found = evidence.find(handle); found != evidence.end()) {
    std::erase_if(found->second, [count](const auto& entry) { return entry.second >= count; });
  }
  const RaisedFlag scope(following);
  if (count < 1) {  // it may still be an ordinary parent of something
    DropShadowsOf(handle, 1);
    DropTablesOf(handle);
  }
  const std::vector<int> mirrors = MirrorsOf(handle);
  if (mirrors.empty()) {
    return;
  }
  int status = QVR_OKAY;
  for (const int mirror : mirrors) {
    if (Conform(mirror, original) < 0) {
      // Without the dimension of a node, or without its own, a table can't be used: its arcs go.
      status = QVR_OUT_OF_MEMORY;
    }
  }
  if (status < 0) {
    GetErrorLog().Log(status, "Temporal arcs can't follow their node");
    NodeDeleted(handle);
  }
  DropLeftOver();
  maxOrder = -1;
}

int QVR_dynamicExtension::Conform(int mirror, QVR_node& original) {
  QVR_node& node = *temporalNetwork.NodeAt(mirror);
  int status = node.ChangeType(original.GetType());
  if (status >= 0 && node.GetNumberOfOutcomes() != original.GetNumberOfOutcomes()) {
    status = shadowKeys.contains(mirror)
                 ? node.CopyDefinition(*original.definition)
                 : node.definition->SetNumberOfOutcomes(*original.definition->GetOutcomeNames());
  }
  if (status >= 0 && node.GetNumberOfOutcomes() != original.GetNumberOfOutcomes()) {
    status = QVR_OUT_OF_MEMORY;
  }
  return status;
}

int QVR_dynamicExtension::TableChanged(int code) {
  if (!following) {
    network.TemporalPartChanged(static_cast<unsigned>(code));
  }
  return QVR_OKAY;
}

}  // namespace qvr
