#include "definitions/equation_definition.h"

#include <algorithm>
#include <unordered_set>
#include <utility>

#include "model/error_log.h"
#include "model/network.h"

namespace qvr {

std::string EquationDefinition::OwnId() const {
  const QVR_node* node = OwnNode();
  return node != nullptr ? node->GetId() : std::string();
}

int EquationDefinition::Refuse(const std::string& message, std::string* errorText) {
  if (errorText != nullptr) {
    *errorText = message;
  }
  return GetErrorLog().Log(QVR_OUT_OF_RANGE, message);
}

EquationPair EquationDefinition::MakeDefault(const std::vector<std::string>& summands) const {
  return {MakeVariable(OwnId()), MakeSum(summands)};
}

void EquationDefinition::AppendParentIds(int withoutParent, std::vector<std::string>& names) const {
  if (network == nullptr) {
    return;
  }
  for (int parent : network->GetParents(handle)) {
    if (parent != withoutParent) {
      names.push_back(network->NodeAt(parent)->GetId());
    }
  }
}

void EquationDefinition::EquationChanged() {
  isParentSum = false;
  ForgetResults();
  ForgetTables();
}

void EquationDefinition::ForgetTables() {
  ForgetTable();
  if (network == nullptr) {
    return;
  }
  for (int child : network->GetChildren(handle)) {
    auto* definition = dynamic_cast<EquationDefinition*>(network->NodeAt(child)->definition.get());
    if (definition != nullptr) {
      definition->ForgetTable();
    }
  }
}

void EquationDefinition::InvalidateValues() {
  std::vector<int> affected = GetDescendants();
  affected.push_back(handle);
  for (int node : affected) {
    QVR_nodeValue* value = network != nullptr ? network->NodeAt(node)->value.get() : nullptr;
    if (value != nullptr && !value->HasEvidence()) {
      value->SetValueInvalid();
    }
  }
}

int EquationDefinition::AddParent(int parentHandle) {
  if (!IsReady()) {
    return QVR_OBJECT_NOT_READY;
  }
  const QVR_node* parent = ParentNode(parentHandle);
  if (parent == nullptr) {
    return QVR_OUT_OF_RANGE;
  }
  if (!TakesParent(GetType(), parent->GetType())) {
    return Refuse("Only QVR_equation or QVR_equationSCC can be the parents.", nullptr);
  }
  if (int status = equation.AddTerm(parent->GetId()); status < 0) {
    return status;
  }
  EquationChanged();
  return QVR_OKAY;
}

int EquationDefinition::RemoveParent(int parentHandle) {
  if (!IsReady()) {
    return QVR_OBJECT_NOT_READY;
  }
  const QVR_node* parent = ParentNode(parentHandle);
  if (parent == nullptr) {
    return QVR_OUT_OF_RANGE;
  }
  std::vector<std::string> names = GetOwnVariables();
  const bool hasUnknowns = !names.empty();
  bool isChain = isParentSum && !hasUnknowns && equation.RemoveTerm(parent->GetId());
  if (!isChain) {
    AppendParentIds(parentHandle, names);
    equation = MakeDefault(names);
    isChain = !hasUnknowns && equation.rightHeight == static_cast<int>(names.size());
  }
  EquationChanged();
  isParentSum = isChain;
  return QVR_OKAY;
}

int EquationDefinition::RenameParent(int /*parentHandle*/, const char* oldId, const char* newId) {
  if (oldId == nullptr || newId == nullptr) {
    return QVR_OUT_OF_RANGE;
  }
  equation.RenameVariable(oldId, newId);
  EquationChanged();
  return QVR_OKAY;
}

bool EquationDefinition::FitsParents() const {
  std::vector<std::string> list;
  AppendParentIds(-1, list);
  std::unordered_set<std::string> unnamed(list.begin(), list.end());
  list = GetOwnVariables();
  list.push_back(OwnId());
  const std::unordered_set<std::string> own(list.begin(), list.end());
  list.clear();
  equation.GetVariables(list);
  return std::ranges::all_of(
             list, [&](const std::string& name) { return unnamed.erase(name) > 0 || own.contains(name); }) &&
         unnamed.empty();
}

int EquationDefinition::RebuildFromNetwork() {
  equation = MakeDefault(GetOwnVariables());
  EquationChanged();
  CheckReady(1);
  AddAllParents();
  return QVR_OKAY;
}

}  // namespace qvr
