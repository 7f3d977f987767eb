#include "definitions/equation_scc.h"

#include <unordered_set>
#include <utility>

#include "model/network.h"

namespace qvr {

QVR_equationSCC::QVR_equationSCC(QVR_network* newNetwork, int newHandle)
    : EquationDefinition(newNetwork, newHandle) {
  std::vector<std::string> names;
  AppendParentIds(-1, names);
  equation = MakeDefault(names);
  QVR_nodeDefinition::CheckReady(1);
}

std::vector<std::string> QVR_equationSCC::GetOwnVariables() const {
  std::vector<std::string> names;
  for (const auto& [name, value] : sccVariables) {
    names.push_back(name);
  }
  return names;
}

int QVR_equationSCC::RemoveParent(int parentHandle) {
  const int status = EquationDefinition::RemoveParent(parentHandle);
  if (status >= 0) {
    InvalidateValues();
  }
  return status;
}

int QVR_equationSCC::RenameParent(int parentHandle, const char* oldId, const char* newId) {
  if (int status = EquationDefinition::RenameParent(parentHandle, oldId, newId); status < 0) {
    return status;
  }
  if (auto unknown = sccVariables.extract(oldId); !unknown.empty()) {
    unknown.key() = newId;
    sccVariables.insert(std::move(unknown));
  }
  return QVR_OKAY;
}

int QVR_equationSCC::AdoptFrom(QVR_nodeDefinition& other) {
  if (!other.IsReady()) {
    return QVR_OBJECT_NOT_READY;
  }
  if (&other == this) {
    return QVR_OKAY;
  }
  const auto* source = dynamic_cast<const QVR_equationSCC*>(&other);
  if (source != nullptr) {
    equation = source->equation;
    sccVariables = source->sccVariables;
    EquationChanged();
  } else {
    sccVariables.clear();
    RebuildFromNetwork();
  }
  CheckReady(1);
  CheckConsistency(1);
  const int status = NotifyChange(kDefinitionReplaced);
  return source != nullptr ? status : QVR_OUT_OF_RANGE;
}

bool QVR_equationSCC::ParseValid(const char* text, int* errorPosition, std::string& errorText,
                                 EquationPair& parsed) const {
  errorText.clear();
  if (errorPosition != nullptr) {
    *errorPosition = 0;
  }
  if (text == nullptr || *text == '\0') {
    errorText = "Equation cannot be empty.";
    return false;
  }
  if (parsed.Parse(text, errorPosition, nullptr) < 0) {
    errorText = "Equation syntax error";
    return false;
  }
  std::vector<std::string> known = GetOwnVariables();
  known.push_back(OwnId());
  AppendParentIds(-1, known);
  const std::unordered_set<std::string> allowed(known.begin(), known.end());
  std::vector<std::string> names;
  parsed.GetVariables(names);
  for (const std::string& name : names) {
    if (!allowed.contains(name)) {
      errorText = "Equation contains a variable (" + name +
                  ") which is not ID of this node, one of its parents, or one of its scc varaibles.";
      return false;
    }
  }
  return true;
}

bool QVR_equationSCC::ValidateEquation(const char* text, int* errorPosition, std::string* errorText) {
  std::string message;
  EquationPair parsed;
  const bool valid = IsReady() && ParseValid(text, errorPosition, message, parsed);
  if (errorText != nullptr) {
    *errorText = message;
  }
  return valid;
}

int QVR_equationSCC::SetEquation(const char* text) {
  if (!IsReady()) {
    return QVR_OBJECT_NOT_READY;
  }
  std::string message;
  EquationPair parsed;
  if (!ParseValid(text, nullptr, message, parsed)) {
    return Refuse(message, nullptr);
  }
  equation = std::move(parsed);
  EquationChanged();
  InvalidateValues();
  return NotifyChange(kDefinitionReplaced);
}

}  // namespace qvr
