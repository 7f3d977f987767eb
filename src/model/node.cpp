#include "model/node.h"

#include <algorithm>
#include <iterator>
#include <new>
#include <string_view>
#include <utility>
#include <vector>

#include "model/dynamic_extension.h"
#include "model/error_log.h"
#include "model/network.h"

namespace qvr {

namespace {

// The names that files and front ends use for a change of type.
constexpr std::pair<std::string_view, int> kTypeNames[] = {
    {"CPT", kTypeCpt},
    {"TRUTHTABLE", kTypeTruthTable},
    {"LIST", kTypeList},
    {"TABLE", kTypeTable},
    {"NOISY_MAX", kTypeNoisyMax},
    {"NOISY_ADDER", kTypeNoisyAdder},
    {"MAU", kTypeMau},
    {"CAST", kTypeCast},
    {"DEMORGAN", kTypeDeMorgan},
    {"DCHILDHPARENT", kTypeDChildHParent},
    {"DISTRIBUTION", kTypeDistribution},
    {"HEQUATION", kTypeHEquation},
    {"EQUATION", kTypeEquation},
};

constexpr int kEvidenceBits = kValueAnyEvidence | kValueVirtualEvidence;

int EvidenceOf(const QVR_nodeValue* value) {
  return value != nullptr ? value->GetFlags() & kEvidenceBits : 0;
}

// Handles and identifiers of parents mean something in their own network alone.
bool HoldsParents(int type) {
  return type == kTypeMau || type == kTypeEquation || type == kTypeEquationScc ||
         (type & kTypeBitHybrid) != 0;
}

// A copy of a handle list, in order, for loops that change the list.
std::vector<int> Handles(const QVR_intArray& list) { return {list.begin(), list.end()}; }

}  // namespace

QVR_node::QVR_node(int type, int newHandle, QVR_network* newNetwork)
    : info(std::make_unique<QVR_nodeInfo>()),
      cost(std::make_unique<QVR_nodeCost>(newNetwork, newHandle)),
      network(newNetwork),
      handle(newHandle) {
  info->header.owner = this;
  if (network != nullptr) {
    CreateDefinition(type);
    CreateValue(type);
    CheckReady(1);
  }
}

QVR_node::QVR_node(const QVR_node& other)
    : QVR_object(other),
      info(std::make_unique<QVR_nodeInfo>(*other.info)),
      cost(std::make_unique<QVR_nodeCost>(*other.cost)),
      network(other.network),
      handle(other.handle),
      submodel(other.submodel) {
  info->header.owner = this;
  if ((other.definition && CopyDefinition(*other.definition) == QVR_OUT_OF_MEMORY) ||
      (other.value && CopyValue(*other.value) == QVR_OUT_OF_MEMORY)) {
    throw std::bad_alloc();
  }
  extra = other.extra ? std::make_unique<QVR_extraDefinition>(*other.extra) : nullptr;
}

QVR_node::~QVR_node() = default;

void QVR_node::CleanUp(int deep) {
  info->CleanUp(deep);
  cost->CleanUp(deep);
  definition.reset();
  value.reset();
  extra.reset();
  SetReady(false);
}

void QVR_node::CheckReady(int deep) {
  if (deep != 0) {
    info->CheckReady(deep);
    if (definition) {
      definition->CheckReady(deep);
    }
    if (value) {
      value->CheckReady(deep);
    }
  }
  SetReady(info->IsReady() && definition && definition->IsReady() && value && value->IsReady());
}

void QVR_node::CheckConsistency(int deep) {
  if (deep != 0) {
    info->CheckConsistency(deep);
    if (definition) {
      definition->CheckConsistency(deep);
    }
    if (value) {
      value->CheckConsistency(deep);
    }
  }
  SetConsistent(info->IsConsistent() && definition && definition->IsConsistent() && value &&
                value->IsConsistent());
}

int QVR_node::GetNumberOfOutcomes() const {
  return definition ? definition->GetNumberOfOutcomes() : QVR_WRONG_NODE_TYPE;
}

int QVR_node::SetNetwork(QVR_network* newNetwork) {
  if (newNetwork == nullptr) {
    return QVR_OUT_OF_RANGE;
  }
  if (!newNetwork->IsReady()) {
    return QVR_OBJECT_NOT_READY;
  }
  Bind(newNetwork, handle);
  return QVR_OKAY;
}

void QVR_node::Bind(QVR_network* newNetwork, int newHandle) {
  network = newNetwork;
  handle = newHandle;
  cost->SetOwner(network, handle);
  if (definition) {
    definition->SetOwner(network, handle);
  }
  if (value) {
    value->SetOwner(network, handle);
  }
  if (extra) {
    extra->SetOwner(network, handle);
  }
}

int QVR_node::SetSubmodel(int newSubmodel) {
  if (network == nullptr || network->GetSubmodels().GetSubmodel(newSubmodel) == nullptr) {
    return QVR_OUT_OF_RANGE;
  }
  submodel = newSubmodel | QVR_submodelHandler::kHandleBit;
  return QVR_OKAY;
}

int QVR_node::SetSubmodel(const char* id) {
  if (id == nullptr || network == nullptr) {
    return QVR_OUT_OF_RANGE;
  }
  const int found = network->GetSubmodels().FindSubmodel(id);
  if (found < 0) {
    return GetErrorLog().Log(QVR_ILLEGAL_IDENTIFIER, "Unknown submodel");
  }
  return SetSubmodel(found);
}

int QVR_node::ChangeType(const char* typeName) {
  const std::string_view wanted = typeName != nullptr ? typeName : "";
  for (const auto& [name, type] : kTypeNames) {
    if (name == wanted) {
      return ChangeType(type);
    }
  }
  return ChangeType(QVR_OUT_OF_RANGE);
}

int QVR_node::ChangeType(int newType) {
  if (definition && definition->GetType() == newType) {
    return QVR_OKAY;
  }
  if (network == nullptr) {
    return QVR_OBJECT_NOT_READY;
  }
  const int oldType = GetType();
  const int oldCount = GetNumberOfOutcomes();
  // The new pair is made aside, so that a type that can't be had changes nothing.
  auto newDefinition = std::move(definition);
  auto newValue = std::move(value);
  auto keptExtra = std::move(extra);
  int status = CreateDefinition(newType);
  if (status >= 0) {
    status = CreateValue(newType);
  }
  std::swap(definition, newDefinition);
  std::swap(value, newValue);
  if (keptExtra) {
    extra = std::move(keptExtra);
  }
  if (status < 0) {
    return status;
  }
  bool invalidateWidely = false;
  {
    const UpdateFlagsOff quiet(*network, UPDATE_TRACK_CHANGES);
    invalidateWidely = Replace(std::move(newDefinition), std::move(newValue));
    invalidateWidely = UpdateChildren(oldType, oldCount) || invalidateWidely;
    UpdateExtra();
    network->GetCases().DefinitionTypeChanged(handle, oldType);
    CheckReady(1);
  }
  // The walk that starts at this node doesn't reach what has just been cut off from it.
  if (invalidateWidely && (network->GetUpdateFlags() & UPDATE_TRACK_CHANGES) != 0 &&
      (network->GetRelevanceMask() & kDefinitionReplaced) != 0) {
    network->InvalidateAll();
  }
  network->NotifyChange(handle, kDefinitionReplaced);
  return QVR_OKAY;
}

bool QVR_node::Replace(std::unique_ptr<QVR_nodeDefinition> newDefinition,
                       std::unique_ptr<QVR_nodeValue> newValue) {
  // The old definition loses these parents, so that what is adopted fits those that stay.
  const int newType = newDefinition ? newDefinition->GetType() : kTypeNone;
  const bool lostParents = DropParentsNotTakenBy(newType);
  const int oldEvidence = EvidenceOf(value.get());
  std::swap(definition, newDefinition);
  std::swap(value, newValue);
  if (definition && newDefinition) {
    definition->AdoptFrom(*newDefinition);
  }
  if (value && (!newValue || value->AdoptValue(*newValue) < 0)) {
    value->Reinitialize();
  }
  return lostParents || EvidenceOf(value.get()) != oldEvidence;
}

bool QVR_node::StandsInTable() const { return network != nullptr && network->NodeAt(handle) == this; }

bool QVR_node::DefinitionFitsParents(const QVR_nodeDefinition& source) const {
  const QVR_intArray& parents = network->GetParents(handle);
  const QVR_network* sourceNetwork = source.GetNetwork();
  if (sourceNetwork == nullptr) {
    return false;
  }
  const QVR_intArray& sourceParents = sourceNetwork->GetParents(source.GetHandle());
  const bool knowsHandles = (source.GetType() & kTypeBitHybrid) != 0;
  if (sourceParents.GetNumItems() != parents.GetNumItems() ||
      (knowsHandles && !std::equal(parents.begin(), parents.end(), sourceParents.begin()))) {
    return false;
  }
  const bool sameParents =
      sourceNetwork == network && std::ranges::equal(sourceNetwork->GetParents(source.GetHandle()), parents);
  if (HoldsParents(GetType()) && !(sameParents && definition->FitsParents())) {
    return false;
  }
  return std::all_of(parents.begin(), parents.end(), [this](int parent) {
    const QVR_node& node = *network->NodeAt(parent);
    return (node.GetType() & kTypeBitDiscrete) == 0 ||
           definition->GetParentDimension(parent) == node.GetNumberOfOutcomes();
  });
}

bool QVR_node::DropParentsNotTakenBy(int newType) {
  bool dropped = false;
  for (int parent : Handles(network->GetParents(handle))) {
    if (!QVR_nodeDefinition::TakesParent(newType, network->NodeAt(parent)->GetType())) {
      network->RemoveArc(parent, handle, kOrdinaryLayer);
      dropped = true;
    }
  }
  return dropped;
}

bool QVR_node::UpdateChildren(int oldType, int oldCount) {
  if (QVR_dynamicExtension* temporal = network->GetDynamicExtension()) {
    temporal->DefinitionChanged(handle);
  }
  const int newType = GetType();
  const bool countChanged = GetNumberOfOutcomes() != oldCount;
  bool dropped = false;
  for (int child : Handles(network->GetChildren(handle))) {
    QVR_node& childNode = *network->NodeAt(child);
    if (!QVR_nodeDefinition::TakesParent(childNode.GetType(), newType)) {
      network->RemoveArc(handle, child, kOrdinaryLayer);
    } else if (countChanged) {
      childNode.definition->RebuildFromNetwork();  // drops the arc if the table can't be had
    }
    dropped = dropped || network->GetParents(child).Contains(handle) == 0;
  }
  const bool wasDiscrete = QVR_nodeDefinition::IsDiscreteParentType(oldType);
  if (countChanged || wasDiscrete != QVR_nodeDefinition::IsDiscreteParentType(newType)) {
    network->ReinitializeIndexedValues(handle);
    network->RebuildCostChildren(handle);
  }
  return dropped;
}

void QVR_node::FitExtra() {
  const int count = std::max(0, GetNumberOfOutcomes());
  if (extra && extra->GetFaultStates().GetNumItems() != count) {
    extra->ResetForOutcomes();
  }
}

void QVR_node::UpdateExtra() {
  FitExtra();
  if (extra && GetNumberOfOutcomes() < 2) {
    extra->diagnosisType = 2;
  }
}

}  // namespace qvr
