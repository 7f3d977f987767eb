#include "definitions/binary_gate.h"

#include "definitions/outcome_names.h"
#include "model/network.h"

namespace qvr {

namespace {

constexpr int kOutcomes = 2;

bool IsIdentity(const QVR_intArray& order) {
  for (int i = 0; i < order.Length(); ++i) {
    if (order[i] != i) {
      return false;
    }
  }
  return true;
}

}  // namespace

void QVR_binaryGate::AddDefaultNames() {
  outcomeNames.Flush();
  for (const char* const name : kOutcomeNames) {
    outcomeNames.Add(name);
  }
}

void QVR_binaryGate::SetUp() {
  AddDefaultNames();
  for (int place = 0; place + 1 < table.GetNumDimensions(); ++place) {
    OpenParent(place);
  }
  ComputeTable();
}

void QVR_binaryGate::CleanUp(int deep) {
  QVR_cpt::CleanUp(deep);
  if (deep != 0) {
    ResetNumbers();
    ResetBase();
  }
}

void QVR_binaryGate::ComputeTable() {
  const QVR_Dmatrix& shaped = table;
  const int parents = table.GetNumDimensions() - 1;
  if (parents >= 0 && table.GetDimension(parents) == kOutcomes) {  // not so after CleanUp
    FillTable(shaped.GetDimensions().Vector().first(static_cast<std::size_t>(parents)),
              table.GetItems().Vector());
  }
}

int QVR_binaryGate::NumbersSet() {
  ComputeTable();
  return NumbersReplaced();
}

int QVR_binaryGate::RebuildFromNetwork() {
  ResetNumbers();
  if (outcomeNames.GetNumItems() != kOutcomes) {
    AddDefaultNames();
  }
  if (int status = QVR_cpt::RebuildFromNetwork(); status < 0) {
    return status;
  }
  ComputeTable();
  return QVR_OKAY;
}

int QVR_binaryGate::AddParent(int parentHandle) {
  const int before = table.GetNumDimensions();
  const int status = QVR_cpt::AddParent(parentHandle);
  if (table.GetNumDimensions() > before) {
    OpenParent(ParentPosition(parentHandle));
    ComputeTable();
  }
  return status;
}

int QVR_binaryGate::RemoveParent(int parentHandle) {
  const int place = DimensionOf(parentHandle);
  const int status = QVR_cpt::RemoveParent(parentHandle);
  if (status >= 0 && place >= 0) {
    CloseParent(place);
    ComputeTable();
  }
  return status;
}

int QVR_binaryGate::AbsorbObservedParent(int /*parentHandle*/) { return QVR_WRONG_NODE_TYPE; }

int QVR_binaryGate::AbsorbRootParent(int /*parentHandle*/) { return QVR_WRONG_NODE_TYPE; }

int QVR_binaryGate::AddParentOutcome(int parentHandle, int position) {
  const int status = QVR_cpt::AddParentOutcome(parentHandle, position);
  ComputeTable();
  return status;
}

int QVR_binaryGate::RemoveParentOutcome(int parentHandle, int position) {
  const int status = QVR_cpt::RemoveParentOutcome(parentHandle, position);
  ComputeTable();
  return status;
}

int QVR_binaryGate::ReorderParentOutcomes(int parentHandle, const QVR_intArray& order) {
  const int place = DimensionOf(parentHandle);
  const int status = QVR_cpt::ReorderParentOutcomes(parentHandle, order);
  if (status >= 0 && place >= 0 && order.Length() == 2 && !IsIdentity(order)) {
    SwapParentStates(place);
  }
  ComputeTable();
  return status;
}

int QVR_binaryGate::ReorderParents(const QVR_intArray& order) {
  const int status = QVR_cpt::ReorderParents(order);
  if (status >= 0) {
    PermuteParents(order.View());
    ComputeTable();
  }
  return status;
}

int QVR_binaryGate::AddOutcome(const char* /*name*/) { return QVR_WRONG_NODE_TYPE; }

int QVR_binaryGate::InsertOutcome(int /*position*/, const char* /*name*/) { return QVR_WRONG_NODE_TYPE; }

int QVR_binaryGate::RemoveOutcome(int /*position*/) { return QVR_WRONG_NODE_TYPE; }

int QVR_binaryGate::ReorderOutcomes(const QVR_intArray& order) {
  if (!IsReady()) {
    return QVR_OBJECT_NOT_READY;
  }
  if (order.Length() != kOutcomes || !IsPermutation(order.View())) {
    return QVR_OUT_OF_RANGE;
  }
  return IsIdentity(order) ? QVR_OKAY : QVR_WRONG_NODE_TYPE;
}

int QVR_binaryGate::SetNumberOfOutcomes(const QVR_stringArray& names) {
  return NameCount(names) == kOutcomes ? QVR_cpt::SetNumberOfOutcomes(names) : QVR_OUT_OF_RANGE;
}

int QVR_binaryGate::SetNumberOfOutcomes(int count) {
  if (count != kOutcomes) {
    return QVR_OUT_OF_RANGE;
  }
  QVR_stringArray names;
  for (const char* const name : kOutcomeNames) {
    names.Add(name);
  }
  return QVR_cpt::SetNumberOfOutcomes(names);
}

int QVR_binaryGate::MakeUniform() { return QVR_WRONG_NODE_TYPE; }

int QVR_binaryGate::SetMatrix(const QVR_Dmatrix& /*matrix*/) { return QVR_WRONG_NODE_TYPE; }

int QVR_binaryGate::SetValues(const QVR_doubleArray& /*array*/) { return QVR_WRONG_NODE_TYPE; }

int QVR_binaryGate::ExpandInto(QVR_nodeDefinition& other) {
  auto* target = other.GetType() == GetType() ? dynamic_cast<QVR_binaryGate*>(&other) : nullptr;
  if (target != nullptr && table.SameShape(target->table) != 0) {
    target->CopyNumbers(*this);
  }
  return QVR_cpt::ExpandInto(other);
}

// Of another class nothing is taken, since its numbers mean something else.
void QVR_binaryGate::AdoptContent(QVR_nodeDefinition& other) {
  const auto* source = other.GetType() == GetType() ? dynamic_cast<const QVR_binaryGate*>(&other) : nullptr;
  if (source != nullptr) {
    AdoptNames(other);
  }
  RebuildFromNetwork();
  if (source != nullptr) {
    CopyNumbers(*source);
    ComputeTable();
  }
}

}  // namespace qvr
