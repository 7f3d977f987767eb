#include "definitions/equation.h"

#include <algorithm>
#include <utility>

#include "model/error_log.h"
#include "model/identifier.h"
#include "model/network.h"
#include "model/raised_flag.h"

namespace qvr {

namespace {

// Without the node's own name.
std::vector<std::string> NamesOf(const EquationPair& equation, const std::string& ownId) {
  std::vector<std::string> names;
  equation.GetVariables(names);
  std::erase(names, ownId);
  return names;
}

std::vector<int> Handles(const QVR_intArray& list) { return {list.begin(), list.end()}; }

}  // namespace

QVR_equation::QVR_equation(QVR_network* newNetwork, int newHandle)
    : EquationDefinition(newNetwork, newHandle) {
  std::vector<std::string> names;
  AppendParentIds(-1, names);
  equation = MakeDefault(names);
  QVR_nodeDefinition::CheckReady(1);
}

QVR_equation::QVR_equation(const QVR_equation& other)
    : EquationDefinition(other),
      lowerBound(other.lowerBound),
      upperBound(other.upperBound),
      solved(other.solved ? other.solved->Clone() : nullptr),
      intervals(other.intervals),
      discretized(other.discretized ? std::make_unique<QVR_Dmatrix>(*other.discretized) : nullptr) {}

int QVR_equation::AddParent(int parentHandle) {
  return replacingParents ? QVR_OKAY : EquationDefinition::AddParent(parentHandle);
}

int QVR_equation::RemoveParent(int parentHandle) {
  return replacingParents ? QVR_OKAY : EquationDefinition::RemoveParent(parentHandle);
}

int QVR_equation::AdoptFrom(QVR_nodeDefinition& other) {
  if (!other.IsReady()) {
    return QVR_OBJECT_NOT_READY;
  }
  if (&other == this) {
    return QVR_OKAY;
  }
  const auto* source = dynamic_cast<const QVR_equation*>(&other);
  QVR_equation copy = source != nullptr ? QVR_equation(*source) : QVR_equation(network, handle);
  std::swap(equation, copy.equation);
  std::swap(lowerBound, copy.lowerBound);
  std::swap(upperBound, copy.upperBound);
  intervals.swap(copy.intervals);
  if (source != nullptr) {
    EquationChanged();
  } else {
    RebuildFromNetwork();
  }
  CheckReady(1);
  CheckConsistency(1);
  const int status = NotifyChange(kDefinitionReplaced);
  return source != nullptr ? status : QVR_OUT_OF_RANGE;
}

std::string QVR_equation::FindFault(const std::vector<std::string>& names) const {
  const std::vector<int> descendants = GetDescendants();
  for (const std::string& name : names) {
    const int node = network->FindNode(name.c_str());
    if (node < 0) {
      return "Unknown node identifier: " + name;
    }
    if (std::binary_search(descendants.begin(), descendants.end(), node)) {
      return "Node " + name +
             " can't be used in equation for current node, because it would result in a cycle.";
    }
    if (!TakesParent(GetType(), network->NodeAt(node)->GetType())) {
      return "Only QVR_equation or QVR_equationSCC can be the parents.";
    }
  }
  return {};
}

bool QVR_equation::ParseValid(const char* text, int* errorPosition, std::string& errorText,
                              EquationPair& parsed) {
  errorText.clear();
  if (errorPosition != nullptr) {
    *errorPosition = 0;
  }
  if (text == nullptr || *text == '\0') {
    errorText = "Equation cannot be empty.";
  } else if (parsed.Parse(text, errorPosition, &errorText) == QVR_OKAY) {
    errorText = FindFault(NamesOf(parsed, OwnId()));
  }
  return errorText.empty();
}

bool QVR_equation::ValidateEquation(const char* text, int* errorPosition, std::string* errorText) {
  std::string message;
  EquationPair parsed;
  const bool valid = IsReady() && ParseValid(text, errorPosition, message, parsed);
  if (errorText != nullptr) {
    *errorText = message;
  }
  return valid;
}

int QVR_equation::SetEquation(const char* text, int* errorPosition, std::string* errorText) {
  if (!IsReady()) {
    return QVR_OBJECT_NOT_READY;
  }
  std::string message;
  EquationPair parsed;
  if (!ParseValid(text, errorPosition, message, parsed)) {
    return Refuse(message, errorText);
  }
  std::vector<int> wanted;
  for (const std::string& name : NamesOf(parsed, OwnId())) {
    wanted.push_back(network->FindNode(name.c_str()));
  }
  const int status = ReplaceParents(wanted);
  if (errorText != nullptr) {
    *errorText = status < 0 ? ErrorText(status) : "";
  }
  if (status < 0) {
    return status;
  }
  equation = std::move(parsed);
  EquationChanged();
  InvalidateValues();
  return NotifyChange(kDefinitionReplaced);
}

// In the end either the wanted arcs stand, or those that stood before.
int QVR_equation::ReplaceParents(const std::vector<int>& wanted) {
  const std::vector<int> old = Handles(network->GetParents(handle));
  if (wanted == old) {
    return QVR_OKAY;
  }
  const UpdateFlagsOff noUpdates(*network, UPDATE_IMMEDIATELY);  // arcs and equation don't fit yet
  const RaisedFlag scope(replacingParents);
  RemoveParents();
  const int status = AddParents(wanted);
  if (status < 0) {
    RemoveParents();
    AddParents(old);
  }
  return status;
}

int QVR_equation::AddParents(const std::vector<int>& handles) {
  for (int parent : handles) {
    if (int status = network->AddArc(parent, handle, kOrdinaryLayer); status < 0) {
      return status;
    }
  }
  return QVR_OKAY;
}

void QVR_equation::RemoveParents() {
  for (int parent : Handles(network->GetParents(handle))) {
    network->RemoveArc(parent, handle, kOrdinaryLayer);
  }
}

int QVR_equation::SetBounds(double lower, double upper) {
  if (lower == lowerBound && upper == upperBound) {
    return QVR_OKAY;
  }
  lowerBound = lower;
  upperBound = upper;
  if (!intervals.empty()) {
    intervals.back().upperBound = upper;
  }
  ForgetTables();
  InvalidateValues();
  return QVR_OKAY;
}

// A bound that is no number fails every comparison.
int QVR_equation::TestIntervals(const std::vector<DiscretizationInterval>& tested) const {
  std::vector<std::string> ids;
  for (const DiscretizationInterval& interval : tested) {
    ids.push_back(interval.id);
  }
  std::sort(ids.begin(), ids.end());
  if (std::adjacent_find(ids.begin(), ids.end()) != ids.end()) {
    return QVR_DUPLICATED_IDENTIFIER;
  }
  double below = lowerBound;
  for (std::size_t i = 0; i + 1 < tested.size(); ++i) {
    if (!(below < tested[i].upperBound)) {
      return QVR_WRONG_SIZE;
    }
    below = tested[i].upperBound;
  }
  const double last = tested.back().upperBound;
  return below < upperBound && last == last ? QVR_OKAY : QVR_WRONG_SIZE;
}

int QVR_equation::SetDiscIntervals(std::vector<DiscretizationInterval> newIntervals) {
  if (newIntervals.size() == 1 || (newIntervals.empty() && intervals.empty())) {
    return QVR_OUT_OF_RANGE;
  }
  if (!newIntervals.empty()) {
    for (std::size_t i = 0; i < newIntervals.size(); ++i) {
      FixOutcomeId(newIntervals[i].id, static_cast<int>(i));
    }
    if (int status = TestIntervals(newIntervals); status < 0) {
      return status;
    }
    newIntervals.back().upperBound = upperBound;
  }
  intervals.swap(newIntervals);
  ForgetTables();
  InvalidateValues();
  return QVR_OKAY;
}

int QVR_equation::GetIntervalBounds(int index, double& lower, double& upper) const {
  if (intervals.empty()) {
    return QVR_WRONG_NODE_TYPE;
  }
  if (index < 0 || static_cast<std::size_t>(index) >= intervals.size()) {
    return QVR_OUT_OF_RANGE;
  }
  const auto place = static_cast<std::size_t>(index);
  lower = place == 0 ? lowerBound : intervals[place - 1].upperBound;
  upper = intervals[place].upperBound;
  return QVR_OKAY;
}

const QVR_expression* QVR_equation::Solve() {
  solved.reset();
  const std::string id = OwnId();
  if (!IsVariable(*equation.left, id) || equation.right->CountVariable(id) > 0) {
    GetErrorLog().Log(QVR_UNSOLVABLE, "Can't solve the equation for " + id + " : " + equation.GetText());
    return nullptr;
  }
  solved = equation.right->Clone();
  solved->sign *= equation.left->sign;
  return solved.get();
}

}  // namespace qvr
