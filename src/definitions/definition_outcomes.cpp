// How the outcomes of a node stay in step with all that depends on them.
#include <algorithm>
#include <functional>
#include <string>
#include <vector>

#include "definitions/node_definition.h"
#include "definitions/outcome_names.h"
#include "model/dynamic_extension.h"
#include "model/network.h"

namespace qvr {

namespace {

// Each cost child once: several cost arcs may join the same two nodes.
std::vector<QVR_nodeCost*> CostsOfChildren(QVR_network& network, int handle) {
  const QVR_intArray& list = network.GetChildren(handle, kCostLayer);
  std::vector<int> children(list.begin(), list.end());
  std::sort(children.begin(), children.end());
  children.erase(std::unique(children.begin(), children.end()), children.end());
  std::vector<QVR_nodeCost*> costs;
  costs.reserve(children.size());
  for (int child : children) {
    costs.push_back(network.NodeAt(child)->cost.get());
  }
  return costs;
}

bool IsIdentity(const QVR_intArray& mapping) {
  for (int i = 0; i < mapping.Length(); ++i) {
    if (mapping[i] != i) {
      return false;
    }
  }
  return true;
}

// Every element from `from` on falls by `amount`.
void LowerElements(QVR_intArray& mapping, int from, int amount) {
  for (int i = 0; i < mapping.Length(); ++i) {
    mapping[i] -= mapping[i] >= from ? amount : 0;
  }
}

// Whether each element is -1 or an old outcome that no other element names.
bool IsValidMapping(const QVR_intArray& mapping, int oldCount) {
  std::vector<char> seen(static_cast<std::size_t>(std::max(oldCount, 0)));
  for (int old : mapping.View()) {
    if (old >= oldCount || (old >= 0 && seen[static_cast<std::size_t>(old)]++ != 0)) {
      return false;
    }
  }
  return true;
}

// Replaces outcomes by adding and removing them, so that the numbers of those that stay follow along.
class OutcomeReplacement {
 public:
  OutcomeReplacement(QVR_nodeDefinition& newDefinition, QVR_intArray& newMapping)
      : definition(newDefinition), mapping(newMapping) {
    const auto elements = mapping.View();
    kept =
        static_cast<int>(std::count_if(elements.begin(), elements.end(), [](int old) { return old >= 0; }));
    // A definition never has fewer than two outcomes, also while nearly all of them are replaced.
    extra = std::max(0, 2 - kept);
  }

  int AddTemporaries() {
    std::string name = "tmpStateUI";
    for (int i = 0; i < extra; ++i) {
      name += '0';
      if (int status = definition.AddOutcome(name.c_str()); status < 0) {
        return status;
      }
    }
    return QVR_OKAY;
  }

  int RemoveDropped(int oldCount) {
    const auto elements = mapping.View();
    std::vector<char> isKept(static_cast<std::size_t>(oldCount));
    for (int old : elements) {
      if (old >= 0) {
        isKept[static_cast<std::size_t>(old)] = 1;
      }
    }
    for (int old = oldCount - 1; old >= 0; --old) {
      if (isKept[static_cast<std::size_t>(old)] != 0) {
        continue;
      }
      if (int status = definition.RemoveOutcome(old); status < 0) {
        return status;
      }
      LowerElements(mapping, old, 1);
    }
    return QVR_OKAY;
  }

  int AddNew(const QVR_stringArray& names) {
    for (int i = 0; i < mapping.Length(); ++i) {
      if (mapping[i] >= 0) {
        continue;
      }
      if (int status = definition.AddOutcome(names.Get(i)); status < 0) {
        return status;
      }
      mapping[i] = definition.GetNumberOfOutcomes() - 1;
    }
    return QVR_OKAY;
  }

  int RemoveTemporaries() {
    for (int i = 0; i < extra; ++i) {
      if (int status = definition.RemoveOutcome(kept); status < 0) {
        return status;
      }
    }
    LowerElements(mapping, kept + extra, extra);
    return QVR_OKAY;
  }

 private:
  QVR_nodeDefinition& definition;
  QVR_intArray& mapping;
  int kept;
  int extra;
};

}  // namespace

int QVR_nodeDefinition::TestTableGrowth(const QVR_Dmatrix& table, int dimension, std::int64_t newSize) {
  const bool isEmpty = table.GetNumElements() == 0;
  const std::int64_t others = isEmpty ? 1 : table.GetNumElements() / table.GetDimension(dimension);
  return newSize > QVR_Dmatrix::kMaxElements / others ? QVR_OUT_OF_MEMORY : QVR_OKAY;
}

int QVR_nodeDefinition::TestOutcomeGrowth() const {
  if (network == nullptr) {
    return QVR_OKAY;
  }
  for (int child : network->GetChildren(handle)) {
    if (int status = network->NodeAt(child)->definition->TestParentGrowth(handle); status < 0) {
      return status;
    }
  }
  if (const QVR_dynamicExtension* temporal = network->GetDynamicExtension()) {
    if (int status = temporal->TestOutcomeGrowth(handle); status < 0) {
      return status;
    }
  }
  for (const QVR_nodeCost* cost : CostsOfChildren(*network, handle)) {
    if (int status = cost->TestParentGrowth(handle); status < 0) {
      return status;
    }
  }
  return QVR_OKAY;
}

void QVR_nodeDefinition::RetractEvidence() {
  QVR_node* node = OwnNode();
  if (node == nullptr || !node->value) {
    return;
  }
  node->value->ClearPropagatedEvidence();
  if ((node->value->GetFlags() & (kValueEvidence | kValueVirtualEvidence)) != 0) {
    node->value->ClearEvidence();
  }
}

void QVR_nodeDefinition::ReinitializeValues() {
  if (QVR_node* node = OwnNode(); node != nullptr && node->value) {
    node->value->Reinitialize();
    network->ReinitializeIndexedValues(handle);
  }
}

int QVR_nodeDefinition::TellChildren(const std::function<int(QVR_nodeDefinition&)>& follow) {
  const QVR_intArray& list = network->GetChildren(handle);
  int result = QVR_OKAY;
  for (int child : std::vector<int>(list.begin(), list.end())) {
    QVR_nodeDefinition& definition = *network->NodeAt(child)->definition;
    if (int status = follow(definition); status < 0) {
      definition.RebuildFromNetwork();
      result = result < 0 ? result : status;
    }
  }
  return result;
}

int QVR_nodeDefinition::AddOutcome(const char* name) {
  return InsertOutcome(std::max(0, GetNumberOfOutcomes()), name);
}

int QVR_nodeDefinition::InsertOutcome(int position, const char* name) {
  if (int status = TestOutcome(position, GetNumberOfOutcomes() + 1); status < 0) {
    return status;
  }
  return InsertOutcomeAt(position, name);
}

int QVR_nodeDefinition::RemoveOutcome(int position) {
  if (int status = TestOutcome(position, GetNumberOfOutcomes()); status < 0) {
    return status;
  }
  return GetNumberOfOutcomes() > kLeastOutcomes ? RemoveOutcomeAt(position) : QVR_OUT_OF_RANGE;
}

int QVR_nodeDefinition::RenameOutcome(int position, const char* name) {
  if (int status = TestOutcome(position, GetNumberOfOutcomes()); status < 0) {
    return status;
  }
  return GetOutcomeNames()->SetItem(position, name);
}

int QVR_nodeDefinition::InsertOutcomeAt(int /*position*/, const char* /*name*/) {
  return QVR_WRONG_NODE_TYPE;
}

int QVR_nodeDefinition::RemoveOutcomeAt(int /*position*/) { return QVR_WRONG_NODE_TYPE; }

int QVR_nodeDefinition::TestOutcome(int position, int count) {
  if (GetOutcomeNames() == nullptr) {
    return QVR_WRONG_NODE_TYPE;
  }
  if (!IsReady()) {
    return QVR_OBJECT_NOT_READY;
  }
  return position >= 0 && position < count ? QVR_OKAY : QVR_OUT_OF_RANGE;
}

int QVR_nodeDefinition::OutcomeAdded(int position) {
  ReinitializeValues();
  QVR_node* node = OwnNode();
  if (node == nullptr) {
    return QVR_OKAY;
  }
  network->GetCases().OutcomeAdded(handle, position);
  if (QVR_dynamicExtension* temporal = network->GetDynamicExtension()) {
    temporal->OutcomeAdded(handle, position);
  }
  const int status =
      TellChildren([&](QVR_nodeDefinition& child) { return child.AddParentOutcome(handle, position); });
  for (QVR_nodeCost* cost : CostsOfChildren(*network, handle)) {
    cost->ParentOutcomeAdded(handle, position);
  }
  if (node->extra) {
    node->extra->AddOutcome(position);
  }
  CheckReady(0);
  const int result = NotifyChange(kOutcomesChanged);
  return status < 0 ? status : result;
}

int QVR_nodeDefinition::OutcomeRemoved(int position, QVR_stringArray& names) {
  names.Delete(position);
  ReinitializeValues();
  QVR_node* node = OwnNode();
  if (node == nullptr) {
    return QVR_OKAY;
  }
  network->GetCases().OutcomeRemoved(handle, position);
  if (QVR_dynamicExtension* temporal = network->GetDynamicExtension()) {
    temporal->OutcomeRemoved(handle, position);
  }
  const int status =
      TellChildren([&](QVR_nodeDefinition& child) { return child.RemoveParentOutcome(handle, position); });
  for (QVR_nodeCost* cost : CostsOfChildren(*network, handle)) {
    cost->ParentOutcomeRemoved(handle, position);
  }
  if (node->extra) {
    node->extra->RemoveOutcome(position);
  }
  CheckReady(0);
  const int result = NotifyChange(kOutcomesChanged);
  return status < 0 ? status : result;
}

int QVR_nodeDefinition::OutcomesReordered(const QVR_intArray& order) {
  QVR_node* node = OwnNode();
  if (node == nullptr) {
    return QVR_OKAY;
  }
  if (node->extra) {
    node->extra->PermuteOutcomes(order);
  }
  if (QVR_dynamicExtension* temporal = network->GetDynamicExtension()) {
    temporal->OutcomesReordered(handle, order);
  }
  const int status =
      TellChildren([&](QVR_nodeDefinition& child) { return child.ReorderParentOutcomes(handle, order); });
  for (QVR_nodeCost* cost : CostsOfChildren(*network, handle)) {
    cost->ReorderParentOutcomes(handle, order);
  }
  network->GetCases().OutcomesReordered(handle, order);
  const int result = node->value ? node->value->ReorderOutcomes(order) : QVR_OKAY;
  if (order.Length() > 0 && order[0] != 0) {
    NotifyGates();
  }
  return status < 0 ? status : result;
}

// A gate takes a parent's first outcome for its true state: another one in its place can be a new meaning.
void QVR_nodeDefinition::NotifyGates() {
  const QVR_intArray& list = network->GetChildren(handle);
  for (int child : std::vector<int>(list.begin(), list.end())) {
    if ((network->NodeAt(child)->GetType() & (kTypeBitCast | kTypeBitDeMorgan)) != 0) {
      network->NotifyChange(child, kNumbersChanged);
    }
  }
}

void QVR_nodeDefinition::OutcomesAdopted() {
  QVR_node* node = OwnNode();
  if (node == nullptr || node->definition.get() != this) {
    return;
  }
  const UpdateFlagsOff noUpdates(*network, UPDATE_IMMEDIATELY);  // half the network still has the old shapes
  const int count = std::max(0, GetNumberOfOutcomes());
  network->GetCases().OutcomesReplaced(handle);
  const QVR_Dmatrix* beliefs = node->value ? node->value->GetMatrix() : nullptr;
  const int dimensions = beliefs != nullptr ? beliefs->GetNumDimensions() : 0;
  if (beliefs != nullptr && (dimensions == 0 || beliefs->GetDimension(dimensions - 1) != count)) {
    RetractEvidence();
    ReinitializeValues();
  }
  if (node->extra && node->extra->GetFaultStates().GetNumItems() != count) {
    node->extra->ResetForOutcomes();
    network->RebuildCostChildren(handle);
  }
  if (QVR_dynamicExtension* temporal = network->GetDynamicExtension()) {
    temporal->DefinitionChanged(handle);
  }
  const QVR_intArray& list = network->GetChildren(handle);
  for (int child : std::vector<int>(list.begin(), list.end())) {
    QVR_nodeDefinition& definition = *network->NodeAt(child)->definition;
    const int known = definition.GetParentDimension(handle);
    if (known >= 0 && known != count && TakesParent(definition.GetType(), GetType())) {
      definition.RebuildFromNetwork();
    }
  }
}

int QVR_nodeDefinition::Adopt(QVR_nodeDefinition& other, const std::function<int()>& takeOver) {
  if (!other.IsReady()) {
    return QVR_OBJECT_NOT_READY;
  }
  if (&other == this) {
    return QVR_OKAY;
  }
  const int status = takeOver();
  OutcomesAdopted();
  CheckReady(1);
  CheckConsistency(1);
  const int result = NotifyChange(kDefinitionReplaced);
  return status < 0 ? status : result;
}

int QVR_nodeDefinition::StartAfresh(QVR_idArray& ownNames, const QVR_idArray& names) {
  return ClearAndRebuild(ownNames, names);
}

int QVR_nodeDefinition::ClearAndRebuild(QVR_idArray& ownNames, const QVR_idArray& names) {
  CleanUp(1);
  const int status = ownNames.Copy(names);
  return status < 0 ? status : RebuildFromNetwork();
}

int QVR_nodeDefinition::ReplaceOutcomes(QVR_idArray& ownNames, const QVR_idArray& names) {
  const int oldCount = GetNumberOfOutcomes();
  if (std::max(2, names.GetNumItems()) != oldCount) {
    RetractEvidence();
  }
  const int status = StartAfresh(ownNames, names);
  if (GetNumberOfOutcomes() != oldCount) {
    ReinitializeValues();
  }
  if (QVR_node* node = OwnNode(); node != nullptr) {
    if (QVR_dynamicExtension* temporal = network->GetDynamicExtension()) {
      temporal->OutcomesReplaced(handle);
    }
    node->cost->Rebuild();
    network->GetCases().OutcomesReplaced(handle);
    if (node->extra) {
      node->extra->ResetForOutcomes();
    }
    network->RebuildCostChildren(handle);
  }
  CheckConsistency(1);
  return status < 0 ? status : NotifyChange(kDefinitionReplaced);
}

int QVR_nodeDefinition::ChangeOutcomes(const QVR_stringArray& names, QVR_intArray& mapping) {
  const int oldCount = GetNumberOfOutcomes();
  if (oldCount == QVR_WRONG_NODE_TYPE) {
    return oldCount;
  }
  const QVR_stringArray newNames(names);  // they may be this definition's own
  const int newCount = NameCount(newNames);
  if (newCount < 2 || mapping.Length() != newCount || !IsValidMapping(mapping, oldCount)) {
    return QVR_OUT_OF_RANGE;
  }
  OutcomeReplacement replacement(*this, mapping);
  int status = replacement.AddTemporaries();
  if (status >= 0) {
    status = replacement.RemoveDropped(oldCount);
  }
  if (status >= 0) {
    status = replacement.AddNew(newNames);
  }
  if (status >= 0) {
    status = replacement.RemoveTemporaries();
  }
  if (status >= 0 && !IsIdentity(mapping)) {
    status = ReorderOutcomes(mapping);
  }
  return status < 0 ? status : RenameOutcomes(newNames);
}

}  // namespace qvr
