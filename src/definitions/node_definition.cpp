#include "definitions/node_definition.h"

#include <cmath>

#include "model/error_log.h"
#include "model/network.h"

namespace qvr {

namespace {

// The squared distance of two rows of probabilities, by the square roots of their cells.
double RowDistance(const QVR_Dmatrix& table, int first, int second, int length) {
  double sum = 0;
  for (int i = 0; i < length; ++i) {
    const double difference = std::sqrt(table.Subscript(first + i)) - std::sqrt(table.Subscript(second + i));
    sum += difference * difference;
  }
  return sum;
}

}  // namespace

void QVR_nodeDefinition::CleanUp(int /*deep*/) { SetReady(true); }

void QVR_nodeDefinition::CheckReady(int /*deep*/) {
  SetReady(network != nullptr && network->IsValidHandle(handle));
}

void QVR_nodeDefinition::CheckConsistency(int /*deep*/) { SetConsistent(true); }

int QVR_nodeDefinition::AddParent(int /*parentHandle*/) { return QVR_WRONG_NODE_TYPE; }

int QVR_nodeDefinition::RemoveParent(int /*parentHandle*/) { return QVR_WRONG_NODE_TYPE; }

int QVR_nodeDefinition::AbsorbObservedParent(int /*parentHandle*/) { return QVR_WRONG_NODE_TYPE; }

int QVR_nodeDefinition::AbsorbRootParent(int /*parentHandle*/) { return QVR_WRONG_NODE_TYPE; }

int QVR_nodeDefinition::AddParentOutcome(int /*parentHandle*/, int /*position*/) {
  return QVR_WRONG_NODE_TYPE;
}

int QVR_nodeDefinition::RemoveParentOutcome(int /*parentHandle*/, int /*position*/) {
  return QVR_WRONG_NODE_TYPE;
}

int QVR_nodeDefinition::ReorderParentOutcomes(int /*parentHandle*/, const QVR_intArray& /*order*/) {
  return QVR_WRONG_NODE_TYPE;
}

int QVR_nodeDefinition::ReorderParents(const QVR_intArray& /*order*/) { return QVR_WRONG_NODE_TYPE; }

int QVR_nodeDefinition::RenameParent(int /*parentHandle*/, const char* /*oldId*/, const char* /*newId*/) {
  return QVR_OKAY;
}

int QVR_nodeDefinition::ChangeHook(int /*code*/) { return QVR_OKAY; }

int QVR_nodeDefinition::ForwardChange(int code) {
  if (code == kForwardedChange) {
    NotifyChange(code);
  }
  return QVR_OKAY;
}

int QVR_nodeDefinition::GetSize() const { return QVR_WRONG_NODE_TYPE; }

int QVR_nodeDefinition::Assign(const QVR_nodeDefinition& /*other*/) { return QVR_WRONG_NODE_TYPE; }

int QVR_nodeDefinition::RebuildFromNetwork() { return QVR_WRONG_NODE_TYPE; }

int QVR_nodeDefinition::AdoptFrom(QVR_nodeDefinition& other) {
  if (!other.IsReady()) {
    return QVR_OBJECT_NOT_READY;
  }
  if (const QVR_node* own = OwnNode(); own == nullptr || own->definition.get() != this) {
    network = other.network;  // one that stands in a network's table stays where it is
    handle = other.handle;
  }
  return QVR_OKAY;
}

int QVR_nodeDefinition::DropUnsupportedParents() {
  if (network == nullptr) {
    return QVR_OKAY;
  }
  const QVR_intArray& list = network->GetParents(handle);
  for (int parent : std::vector<int>(list.begin(), list.end())) {
    if (!TakesParent(GetType(), network->NodeAt(parent)->GetType())) {
      network->RemoveArc(parent, handle, kOrdinaryLayer);
    }
  }
  return QVR_OKAY;
}

bool QVR_nodeDefinition::AnyRowDiffers(const QVR_Dmatrix& table, int dimension,
                                       const std::function<bool(int, int)>& differ) {
  const int length = table.GetDimension(table.GetNumDimensions() - 1);
  const int stride = table.GetStride(dimension);
  const int block = stride * table.GetDimension(dimension);
  for (int start = 0; start < table.GetNumElements(); start += block) {
    for (int first = start; first < start + stride; first += length) {
      for (int other = first + stride; other < start + block; other += stride) {
        if (differ(first, other)) {
          return true;
        }
      }
    }
  }
  return false;
}

int QVR_nodeDefinition::CheckParentInfluence(int parentIndex, double epsilon, int& isRelevant) {
  QVR_Dmatrix* table = nullptr;
  if (GetMatrix(table) < 0 || table == nullptr) {
    isRelevant = 1;
    return QVR_OKAY;
  }
  if (parentIndex < 0 || parentIndex >= table->GetNumDimensions() - 1) {
    return QVR_OUT_OF_RANGE;
  }
  const int length = table->GetDimension(table->GetNumDimensions() - 1);
  const auto isFar = [&](int first, int other) {  // a distance that is no number counts as far
    return !(RowDistance(*table, first, other, length) <= epsilon * epsilon);
  };
  isRelevant = AnyRowDiffers(*table, parentIndex, isFar) ? 1 : 0;
  return QVR_OKAY;
}

int QVR_nodeDefinition::GetNumberOfOutcomes() const { return QVR_WRONG_NODE_TYPE; }

int QVR_nodeDefinition::RenameOutcomes(const QVR_stringArray& /*names*/) { return QVR_WRONG_NODE_TYPE; }

QVR_stringArray* QVR_nodeDefinition::GetOutcomeNames() { return nullptr; }

int QVR_nodeDefinition::SetNumberOfOutcomes(const QVR_stringArray& /*names*/) { return QVR_WRONG_NODE_TYPE; }

int QVR_nodeDefinition::SetNumberOfOutcomes(int /*count*/) { return QVR_WRONG_NODE_TYPE; }

int QVR_nodeDefinition::ReorderOutcomes(const QVR_intArray& /*order*/) { return QVR_WRONG_NODE_TYPE; }

int QVR_nodeDefinition::MakeUniform() { return QVR_WRONG_NODE_TYPE; }

int QVR_nodeDefinition::GetChoiceNames(QVR_idArray*& out) {
  out = nullptr;
  return QVR_WRONG_NODE_TYPE;
}

int QVR_nodeDefinition::Reserved() { return QVR_WRONG_NODE_TYPE; }

int QVR_nodeDefinition::GetDataArray(QVR_doubleArray*& out) {
  out = nullptr;
  return QVR_WRONG_NODE_TYPE;
}

int QVR_nodeDefinition::GetMatrix(QVR_Dmatrix*& out) {
  out = nullptr;
  return QVR_WRONG_NODE_TYPE;
}

int QVR_nodeDefinition::SetMatrix(const QVR_Dmatrix& /*matrix*/) { return QVR_WRONG_NODE_TYPE; }

int QVR_nodeDefinition::SetResultingStates(const QVR_stringArray& /*names*/) { return QVR_WRONG_NODE_TYPE; }

int QVR_nodeDefinition::SetResultingStates(const QVR_intArray& /*indices*/) { return QVR_WRONG_NODE_TYPE; }

int QVR_nodeDefinition::SetValues(const QVR_doubleArray& /*array*/) { return QVR_WRONG_NODE_TYPE; }

int QVR_nodeDefinition::ExpandInto(QVR_nodeDefinition& /*other*/) { return QVR_OKAY; }

int QVR_nodeDefinition::TestParentGrowth(int /*parentHandle*/) const { return QVR_OKAY; }

int QVR_nodeDefinition::GetParentDimension(int /*parentHandle*/) const { return QVR_OUT_OF_RANGE; }

int QVR_nodeDefinition::AllCellsEqual(double x, std::span<const int> pattern) {
  QVR_Dmatrix* table = nullptr;
  if (const int status = GetMatrix(table); status < 0) {
    return status;
  }
  return table->GetNumDimensions() == static_cast<int>(pattern.size()) ? table->AllEqual(x, pattern)
                                                                       : QVR_OUT_OF_RANGE;
}

std::vector<int> QVR_nodeDefinition::OnlyPossibleOutcomes(std::vector<int> pattern,
                                                          std::span<const int> counts) {
  std::vector<int> found(counts.size(), QVR_OUT_OF_RANGE);
  for (std::size_t place = 0; place < counts.size(); ++place) {
    int possible = 0;
    for (int outcome = 0; outcome < counts[place] && possible < 2; ++outcome) {
      pattern[place] = outcome;
      const int isRuledOut = AllCellsEqual(0.0, pattern);
      if (isRuledOut < 0) {
        return std::vector<int>(counts.size(), QVR_OUT_OF_RANGE);
      }
      if (isRuledOut == 0) {
        found[place] = ++possible == 1 ? outcome : QVR_OUT_OF_RANGE;
      }
    }
    pattern[place] = counts[place] > 0 ? -1 : pattern[place];
  }
  return found;
}

void QVR_nodeDefinition::SetOwner(QVR_network* newNetwork, int newHandle) {
  network = newNetwork;
  handle = newHandle;
}

void QVR_nodeDefinition::RemoveAllParents() {
  if (network == nullptr) {
    return;
  }
  const QVR_intArray& parents = network->GetParents(handle);
  for (int parent : std::vector<int>(parents.begin(), parents.end())) {  // an update may add some anew
    network->RemoveArc(parent, handle, kOrdinaryLayer);
  }
}

int QVR_nodeDefinition::ParentPosition(int parentHandle) const {
  if (network == nullptr) {
    return QVR_OUT_OF_RANGE;
  }
  const QVR_intArray& parents = network->GetParents(handle);
  const int last = parents.GetNumItems() - 1;  // where a parent that is being added stands
  return last >= 0 && parents[last] == parentHandle ? last : parents.Find(parentHandle);
}

QVR_node* QVR_nodeDefinition::ParentNode(int parentHandle) const {
  return network != nullptr && network->HasArc(parentHandle, handle, kOrdinaryLayer)
             ? network->NodeAt(parentHandle)
             : nullptr;
}

bool QVR_nodeDefinition::HasChildren() const {
  return network != nullptr &&
         (network->GetNumberOfChildren(handle) > 0 || network->IsTemporalParent(handle));
}

std::vector<int> QVR_nodeDefinition::GetDescendants() const {
  QVR_intArray list;
  if (network != nullptr && network->GetNumberOfChildren(handle) > 0) {
    network->GetDescendants(handle, list);
  }
  return {list.begin(), list.end()};
}

void QVR_nodeDefinition::DetachParent(int parentHandle) {
  if (network != nullptr) {
    network->DetachArc(parentHandle, handle);
  }
}

void QVR_nodeDefinition::AddAllParents() {
  if (network == nullptr) {
    return;
  }
  const QVR_intArray& list = network->GetParents(handle);
  const std::vector<int> parents(list.begin(), list.end());
  for (std::span<const int> left = parents; !left.empty();) {
    int taken = 0;
    if (int status = TakeParents(left, taken); status < 0) {
      GetErrorLog().Log(status, "Parent could not be added");
      DetachParent(left[static_cast<std::size_t>(taken++)]);
    }
    left = left.subspan(static_cast<std::size_t>(taken));
  }
}

int QVR_nodeDefinition::TakeParents(std::span<const int> parentHandles, int& taken) {
  taken = 0;
  for (const int parent : parentHandles) {
    if (int status = AddParent(parent); status < 0) {
      return status;
    }
    ++taken;
  }
  return QVR_OKAY;
}

int QVR_nodeDefinition::StatusWithoutDimension(int parentHandle) {
  const QVR_node* parent = ParentNode(parentHandle);
  if (parent == nullptr || parent->GetType() == kTypeTable) {
    return QVR_OUT_OF_RANGE;
  }
  CheckReady(0);
  return QVR_OKAY;
}

int QVR_nodeDefinition::FinishAbsorption(int parentHandle) {
  DetachParent(parentHandle);
  CheckReady(0);
  return network->ParentAbsorbed(parentHandle, handle);
}

int QVR_nodeDefinition::NumbersReplaced() {
  CheckReady(1);
  CheckConsistency(1);
  return NotifyChange(kNumbersChanged);
}

int QVR_nodeDefinition::NotifyChange(int code) {
  return network != nullptr ? network->NotifyChange(handle, code) : QVR_OKAY;
}

QVR_node* QVR_nodeDefinition::OwnNode() const {
  return network != nullptr ? network->NodeAt(handle) : nullptr;
}

}  // namespace qvr
