// How a case follows the changes of its network.
#include <algorithm>
#include <limits>

#include "model/network.h"
#include "model/network_case.h"

namespace qvr {

void QVR_case::ForgetSlices(CaseEvidence& record) {
  constexpr int kFirst = std::numeric_limits<int>::min();
  constexpr int kLast = std::numeric_limits<int>::max();
  usedSlices.erase(usedSlices.lower_bound({record.handle, kFirst}),
                   usedSlices.upper_bound({record.handle, kLast}));
  record.temporal.clear();
}

void QVR_case::RemoveRecord(int place) {
  const auto doomed = evidence.begin() + place;
  ForgetSlices(*doomed);
  places.erase(doomed->handle);
  for (auto next = evidence.erase(doomed); next != evidence.end(); ++next) {
    --places[next->handle];
  }
}

void QVR_case::DropNode(int handle) {
  if (targetHandles.erase(handle) > 0) {
    targets.erase(std::find(targets.begin(), targets.end(), handle));
  }
  if (const int place = FindRecord(handle); place >= 0) {
    RemoveRecord(place);
  }
}

bool QVR_case::Renumber(CaseEvidence& record, const Renumbering& renumber) {
  const bool hadOutcome = record.outcome >= 0;
  record.outcome = hadOutcome ? renumber(record.outcome) : record.outcome;
  for (auto& [slice, outcome] : record.temporal) {
    outcome = renumber(outcome);
    if (outcome < 0) {
      usedSlices.erase({record.handle, slice});
    }
  }
  std::erase_if(record.temporal, [](const std::pair<int, int>& pair) { return pair.second < 0; });
  return hadOutcome && record.outcome < 0;
}

// In the plate it may, even if no slice is left.
bool QVR_case::LivesBySlices(const CaseEvidence& record) const {
  return network->GetDynamicType(record.handle) == kDynamicPlate && record.kind != kCaseDiscrete;
}

void QVR_case::OutcomeAdded(int handle, int position) {
  const int place = FindRecord(handle);
  if (place < 0) {
    return;
  }
  CaseEvidence& record = evidence[static_cast<std::size_t>(place)];
  std::vector<double>& soft = record.softEvidence;
  if (record.kind == kCaseSoft && position >= 0 && position <= static_cast<int>(soft.size())) {
    soft.insert(soft.begin() + position, 0.0);
  }
  Renumber(record, [position](int old) { return old >= position ? old + 1 : old; });
}

void QVR_case::OutcomeRemoved(int handle, int position) {
  const int place = FindRecord(handle);
  if (place < 0) {
    return;
  }
  CaseEvidence& record = evidence[static_cast<std::size_t>(place)];
  std::vector<double>& soft = record.softEvidence;
  if (record.kind == kCaseSoft && position >= 0 && position < static_cast<int>(soft.size())) {
    soft.erase(soft.begin() + position);
  }
  const bool lostOutcome = Renumber(record, [position](int old) {
    if (old == position) {
      return -1;
    }
    return old > position ? old - 1 : old;
  });
  if (lostOutcome && !LivesBySlices(record)) {
    RemoveRecord(place);
  }
}

void QVR_case::OutcomesReordered(int handle, std::span<const int> order, std::span<const int> placeOf) {
  const int found = FindRecord(handle);
  if (found < 0) {
    return;
  }
  CaseEvidence& record = evidence[static_cast<std::size_t>(found)];
  if (record.kind == kCaseSoft && record.softEvidence.size() == order.size()) {
    const std::vector<double> old = record.softEvidence;
    for (std::size_t i = 0; i < old.size(); ++i) {
      record.softEvidence[i] = old[static_cast<std::size_t>(order[i])];
    }
  }
  Renumber(record, [placeOf](int old) {
    const auto index = static_cast<std::size_t>(old);
    return index < placeOf.size() ? placeOf[index] : old;
  });
}

void QVR_case::OutcomesReplaced(int handle, int count) {
  const int place = FindRecord(handle);
  if (place < 0) {
    return;
  }
  CaseEvidence& record = evidence[static_cast<std::size_t>(place)];
  const bool lostOutcome = Renumber(record, [count](int old) { return old < count ? old : -1; });
  const bool misfits = record.kind == kCaseSoft && static_cast<int>(record.softEvidence.size()) != count;
  if (misfits || (lostOutcome && !LivesBySlices(record))) {
    RemoveRecord(place);
  }
}

void QVR_case::PlateEntered(int handle) {
  const int place = FindRecord(handle);
  if (place < 0) {
    return;
  }
  CaseEvidence& record = evidence[static_cast<std::size_t>(place)];
  ForgetSlices(record);
  if (record.outcome >= 0) {
    usedSlices.emplace(handle, 0);
    record.temporal.emplace_back(0, record.outcome);
  }
  record.outcome = -1;
}

void QVR_case::PlateLeft(int handle) {
  const int place = FindRecord(handle);
  if (place < 0) {
    return;
  }
  CaseEvidence& record = evidence[static_cast<std::size_t>(place)];
  const auto first = std::find_if(record.temporal.begin(), record.temporal.end(),
                                  [](const std::pair<int, int>& pair) { return pair.first == 0; });
  if (first == record.temporal.end()) {
    RemoveRecord(place);
    return;
  }
  record.outcome = first->second;
  ForgetSlices(record);
}

}  // namespace qvr
