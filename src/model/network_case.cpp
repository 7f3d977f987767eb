#include "model/network_case.h"

#include <algorithm>
#include <new>

#include "model/network.h"

namespace qvr {

int QVR_case::SetName(std::string_view newName) {
  if (newName.empty()) {
    return QVR_ILLEGAL_IDENTIFIER;
  }
  if (newName == name) {
    return QVR_OKAY;
  }
  try {
    std::string text(newName);
    if (!network->GetCases().TakeName(text, name)) {
      return QVR_DUPLICATED_IDENTIFIER;
    }
    name = std::move(text);
  } catch (const std::bad_alloc&) {
    return QVR_OUT_OF_MEMORY;
  }
  return QVR_OKAY;
}

int QVR_case::FindRecord(int handle) const {
  const auto place = places.find(handle);
  return place == places.end() ? -1 : place->second;
}

int QVR_case::AddRecord(int handle) {
  if (!network->IsValidHandle(handle)) {
    return QVR_OUT_OF_RANGE;
  }
  if (FindRecord(handle) >= 0) {
    return QVR_DUPLICATED_IDENTIFIER;
  }
  const auto place = static_cast<int>(evidence.size());
  try {
    evidence.emplace_back().handle = handle;
    places.emplace(handle, place);
  } catch (const std::bad_alloc&) {
    evidence.resize(static_cast<std::size_t>(place));
    return QVR_OUT_OF_MEMORY;
  }
  return QVR_OKAY;
}

bool QVR_case::IsOutcome(int handle, int outcome) const {
  return outcome >= 0 && outcome < network->NodeAt(handle)->GetNumberOfOutcomes();
}

int QVR_case::AddDiscreteEvidence(int handle, int outcome) {
  if (int status = AddRecord(handle); status < 0) {
    return status;
  }
  if (!IsOutcome(handle, outcome)) {
    return QVR_OUT_OF_RANGE;
  }
  evidence.back().kind = kCaseDiscrete;
  evidence.back().outcome = outcome;
  return QVR_OKAY;
}

int QVR_case::AddContinuousEvidence(int handle, double value) {
  if (int status = AddRecord(handle); status < 0) {
    return status;
  }
  evidence.back().kind = kCaseContinuous;
  evidence.back().value = value;
  return QVR_OKAY;
}

int QVR_case::AddSoftEvidence(int handle, std::span<const double> values) {
  if (int status = AddRecord(handle); status < 0) {
    return status;
  }
  try {
    evidence.back().softEvidence.assign(values.begin(), values.end());
  } catch (const std::bad_alloc&) {
    RemoveRecord(static_cast<int>(evidence.size()) - 1);
    return QVR_OUT_OF_MEMORY;
  }
  evidence.back().kind = kCaseSoft;
  return QVR_OKAY;
}

int QVR_case::AddTemporalEvidence(int handle, int slice, int outcome) {
  if (int status = AddRecord(handle); status < 0 && status != QVR_DUPLICATED_IDENTIFIER) {
    return status;
  }
  if (slice < 0) {
    return QVR_WRONG_SIZE;
  }
  if (!IsOutcome(handle, outcome)) {
    return QVR_OUT_OF_RANGE;
  }
  CaseEvidence& record = evidence[static_cast<std::size_t>(FindRecord(handle))];
  record.kind = kCaseTemporal;
  return AddSlice(record, slice, outcome);
}

int QVR_case::AddSlice(CaseEvidence& record, int slice, int outcome) {
  const std::size_t known = record.temporal.size();
  int status = QVR_OKAY;
  try {
    record.temporal.emplace_back(slice, outcome);
    status = usedSlices.emplace(record.handle, slice).second ? QVR_OKAY : QVR_DUPLICATED_IDENTIFIER;
  } catch (const std::bad_alloc&) {
    status = QVR_OUT_OF_MEMORY;
  }
  if (status < 0) {
    record.temporal.resize(known);
  }
  return status;
}

int QVR_case::AddTarget(int handle) {
  if (!network->IsValidHandle(handle)) {
    return QVR_OUT_OF_RANGE;
  }
  const std::size_t known = targets.size();
  try {
    targets.push_back(handle);
    if (targetHandles.insert(handle).second) {
      return QVR_OKAY;
    }
  } catch (const std::bad_alloc&) {
    targets.resize(known);
    return QVR_OUT_OF_MEMORY;
  }
  targets.pop_back();
  return QVR_OKAY;
}

int QVR_case::TestRecord(int index, int kind) const {
  if (index < 0 || index >= static_cast<int>(evidence.size())) {
    return QVR_OUT_OF_RANGE;
  }
  return evidence[static_cast<std::size_t>(index)].kind == kind ? QVR_OKAY : QVR_WRONG_NODE_TYPE;
}

int QVR_case::GetDiscreteEvidence(int index, int& handle, int& outcome) const {
  const int status = TestRecord(index, kCaseDiscrete);
  if (status == QVR_OKAY) {
    const CaseEvidence& record = evidence[static_cast<std::size_t>(index)];
    handle = record.handle;
    outcome = record.outcome;
  }
  return status;
}

int QVR_case::GetContinuousEvidence(int index, int& handle, double& value) const {
  const int status = TestRecord(index, kCaseContinuous);
  if (status == QVR_OKAY) {
    const CaseEvidence& record = evidence[static_cast<std::size_t>(index)];
    handle = record.handle;
    value = record.value;
  }
  return status;
}

int QVR_case::GetSoftEvidence(int index, int& handle, std::vector<double>& values) const {
  const int status = TestRecord(index, kCaseSoft);
  if (status == QVR_OKAY) {
    const CaseEvidence& record = evidence[static_cast<std::size_t>(index)];
    handle = record.handle;
    values = record.softEvidence;
  }
  return status;
}

int QVR_case::GetTemporalEvidence(int index, int& handle, std::vector<std::pair<int, int>>& slices) const {
  const int status = TestRecord(index, kCaseTemporal);
  if (status == QVR_OKAY) {
    const CaseEvidence& record = evidence[static_cast<std::size_t>(index)];
    handle = record.handle;
    slices = record.temporal;
  }
  return status;
}

int QVR_case::GetEvidenceHandle(int index) const {
  const bool exists = index >= 0 && index < static_cast<int>(evidence.size());
  return exists ? evidence[static_cast<std::size_t>(index)].handle : QVR_OUT_OF_RANGE;
}

int QVR_case::GetTarget(int index) const {
  const bool exists = index >= 0 && index < static_cast<int>(targets.size());
  return exists ? targets[static_cast<std::size_t>(index)] : QVR_OUT_OF_RANGE;
}

std::string QVR_case::CheckInvariants() const {
  std::size_t pairs = 0;
  for (const CaseEvidence& record : evidence) {
    const int place = FindRecord(record.handle);
    if (place < 0 || &evidence[static_cast<std::size_t>(place)] != &record) {
      return "a case doesn't find one of its records";
    }
    for (const auto& [slice, outcome] : record.temporal) {
      if (outcome < 0 || !usedSlices.contains({record.handle, slice})) {
        return "a case doesn't know of evidence in a slice";
      }
    }
    pairs += record.temporal.size();
  }
  const bool knowsTargets = std::all_of(targets.begin(), targets.end(),
                                        [this](int handle) { return targetHandles.contains(handle); });
  if (places.size() != evidence.size() || usedSlices.size() != pairs || !knowsTargets ||
      targetHandles.size() != targets.size()) {
    return "a case knows of evidence or targets that it doesn't have";
  }
  return {};
}

}  // namespace qvr
