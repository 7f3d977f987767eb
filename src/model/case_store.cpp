#include "model/case_store.h"

#include <algorithm>
#include <new>

#include "model/network.h"

namespace qvr {

namespace {

bool IsContinuous(int type) { return type == kTypeEquation || type == kTypeEquationScc; }

}  // namespace

void QVR_caseStore::Assign(const QVR_caseStore& other) {
  if (this == &other) {
    return;
  }
  Clear();
  cases.reserve(other.cases.size());
  for (const std::unique_ptr<QVR_case>& source : other.cases) {
    cases.push_back(std::make_unique<QVR_case>(*source, *network));
  }
  names = other.names;
  tracking = other.tracking;
}

QVR_case* QVR_caseStore::AddCase(std::string_view name) {
  try {
    cases.push_back(std::make_unique<QVR_case>(*network));
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
  if (cases.back()->SetName(name) < 0) {
    cases.pop_back();
    return nullptr;
  }
  return cases.back().get();
}

QVR_case* QVR_caseStore::GetCase(int index) {
  return index >= 0 && index < GetCount() ? cases[static_cast<std::size_t>(index)].get() : nullptr;
}

const QVR_case* QVR_caseStore::GetCase(int index) const {
  return index >= 0 && index < GetCount() ? cases[static_cast<std::size_t>(index)].get() : nullptr;
}

void QVR_caseStore::Clear() {
  cases.clear();
  names.clear();
}

bool QVR_caseStore::TakeName(const std::string& newName, const std::string& oldName) {
  if (!names.insert(newName).second) {
    return false;
  }
  names.erase(oldName);
  return true;
}

template <typename Change>
void QVR_caseStore::ChangeCases(const Change& change) {
  if (tracking == 0) {
    return;
  }
  for (const std::unique_ptr<QVR_case>& scenario : cases) {
    change(*scenario);
  }
}

int QVR_caseStore::CountOutcomes(int handle) const {
  const QVR_node* node = network->NodeAt(handle);
  return node != nullptr ? std::max(0, node->GetNumberOfOutcomes()) : 0;
}

void QVR_caseStore::NodeDeleted(int handle) {
  ChangeCases([=](QVR_case& scenario) { scenario.DropNode(handle); });
}

void QVR_caseStore::OutcomeAdded(int handle, int position) {
  ChangeCases([=](QVR_case& scenario) { scenario.OutcomeAdded(handle, position); });
}

void QVR_caseStore::OutcomeRemoved(int handle, int position) {
  ChangeCases([=](QVR_case& scenario) { scenario.OutcomeRemoved(handle, position); });
}

void QVR_caseStore::OutcomesReordered(int handle, const QVR_intArray& order) {
  const std::span<const int> oldAt = order.View();
  std::vector<int> newAt(oldAt.size());
  for (std::size_t place = 0; place < oldAt.size(); ++place) {
    const auto old = static_cast<std::size_t>(oldAt[place]);
    if (old >= newAt.size()) {
      return;
    }
    newAt[old] = static_cast<int>(place);
  }
  ChangeCases([&](QVR_case& scenario) { scenario.OutcomesReordered(handle, oldAt, newAt); });
}

void QVR_caseStore::OutcomesReplaced(int handle) {
  const int count = CountOutcomes(handle);
  ChangeCases([=](QVR_case& scenario) { scenario.OutcomesReplaced(handle, count); });
}

void QVR_caseStore::DynamicTypeChanged(int handle, int oldType) {
  const bool isPlate = network->GetDynamicType(handle) == kDynamicPlate;
  if (isPlate == (oldType == kDynamicPlate)) {
    return;
  }
  ChangeCases([=](QVR_case& scenario) {
    if (isPlate) {
      scenario.PlateEntered(handle);
    } else {
      scenario.PlateLeft(handle);
    }
  });
}

void QVR_caseStore::DefinitionTypeChanged(int handle, int oldType) {
  const QVR_node* node = network->NodeAt(handle);
  const int newType = node != nullptr ? node->GetType() : kTypeNone;
  const bool staysDiscrete = (oldType & newType & kTypeBitDiscrete) != 0;
  if (IsContinuous(oldType) != IsContinuous(newType) || (staysDiscrete && CountOutcomes(handle) < 2)) {
    NodeDeleted(handle);
  } else {
    OutcomesReplaced(handle);
  }
}

std::string QVR_caseStore::CheckInvariants() const {
  for (const std::unique_ptr<QVR_case>& scenario : cases) {
    if (!names.contains(scenario->name) || scenario->network != network) {
      return "a case isn't known by its name, or belongs elsewhere";
    }
    if (std::string fault = scenario->CheckInvariants(); !fault.empty()) {
      return fault;
    }
  }
  return names.size() == cases.size() ? "" : "two cases have one name";
}

}  // namespace qvr
