// How the parameters of a canonical definition follow the node's parents and outcomes.
#include <algorithm>
#include <array>
#include <numeric>

#include "definitions/ci_definition.h"
#include "definitions/outcome_names.h"
#include "model/network.h"

namespace qvr {

int QVR_ciDefinition::GetParentOffset(int parentIndex) const {
  if (parentIndex < 0 || parentIndex >= ParentCount()) {
    return QVR_OUT_OF_RANGE;
  }
  return std::accumulate(blockSizes.begin(), blockSizes.begin() + parentIndex, 0);
}

int QVR_ciDefinition::BlockOf(int parentHandle) const {
  const int position = ParentPosition(parentHandle);
  // With fewer blocks than parents, the place in the list says nothing.
  return position >= 0 && network->GetNumberOfParents(handle) == ParentCount() ? position : QVR_OUT_OF_RANGE;
}

int QVR_ciDefinition::GetParentDimension(int parentHandle) const {
  const int block = BlockOf(parentHandle);
  return block < 0 ? block : blockSizes[static_cast<std::size_t>(block)];
}

int QVR_ciDefinition::TestParentGrowth(int parentHandle) const {
  return BlockOf(parentHandle) < 0 ? QVR_OKAY : TestTableGrowth(ciWeights, 0, std::int64_t{RowCount()} + 1);
}

int QVR_ciDefinition::ReplaceRows(int first, int removed, int added) {
  QVR_Dmatrix result;
  if (int status = result.SetDimensions(std::array{RowCount() - removed + added, ColumnCount()});
      status < 0) {
    return status;
  }
  const std::span<const double> from = ciWeights.GetItems().Vector();
  const std::span<double> to = result.GetItems().Vector();
  const auto width = static_cast<std::ptrdiff_t>(ColumnCount());
  std::copy_n(from.begin(), first * width, to.begin());
  std::copy(from.begin() + (first + removed) * width, from.end(), to.begin() + (first + added) * width);
  ciWeights.Swap(result);
  return QVR_OKAY;
}

int QVR_ciDefinition::OpenRow(int parentIndex, int place) {
  const int row = GetParentOffset(parentIndex) + place;
  if (int status = ReplaceRows(row, 0, 1); status < 0) {
    return status;
  }
  Row(row)[static_cast<std::size_t>(DistinguishedOutcome())] = 1.0;
  ++blockSizes[static_cast<std::size_t>(parentIndex)];
  return QVR_OKAY;
}

int QVR_ciDefinition::CloseRow(int parentIndex, int place) {
  if (int status = ReplaceRows(GetParentOffset(parentIndex) + place, 1, 0); status < 0) {
    return status;
  }
  --blockSizes[static_cast<std::size_t>(parentIndex)];
  return QVR_OKAY;
}

int QVR_ciDefinition::AddParent(int parentHandle) {
  int taken = 0;
  return TakeParents({&parentHandle, 1}, taken);
}

int QVR_ciDefinition::TakeParents(std::span<const int> parentHandles, int& taken) {
  taken = 0;
  if (!IsReady() || !HasParameters()) {
    return QVR_OBJECT_NOT_READY;
  }
  int status = QVR_OKAY;
  while (status >= 0 && taken < static_cast<int>(parentHandles.size())) {
    int more = 0;
    status = AddNeighbours(parentHandles.subspan(static_cast<std::size_t>(taken)), more);
    taken += more;
  }
  return status;
}

int QVR_ciDefinition::AddNeighbours(std::span<const int> parentHandles, int& taken) {
  taken = 0;
  const int first = ParentPosition(parentHandles[0]);
  if (first < 0 || first > ParentCount()) {
    return QVR_OUT_OF_RANGE;
  }
  const QVR_intArray& list = network->GetParents(handle);
  std::vector<int> sizes;
  std::int64_t rows = RowCount();
  int status = QVR_OKAY;
  for (const int parentHandle : parentHandles) {
    const int position = first + static_cast<int>(sizes.size());
    if (position >= list.GetNumItems() || list[position] != parentHandle) {
      break;
    }
    const QVR_node& parent = *network->NodeAt(parentHandle);
    const int count = std::max(parent.GetNumberOfOutcomes(), 0);
    rows += count;
    status =
        TakesParent(GetType(), parent.GetType()) ? TestTableGrowth(ciWeights, 0, rows) : QVR_OUT_OF_RANGE;
    if (status < 0) {
      break;
    }
    if (count > 0) {
      sizes.push_back(count);
    }
    ++taken;
  }
  if (const int opened = OpenBlocks(first, sizes); opened < 0) {
    // Fewer may find the memory.
    const auto half = static_cast<std::size_t>(taken) / 2;
    taken = 0;
    return half > 0 ? AddNeighbours(parentHandles.first(half), taken) : opened;
  }
  return status;
}

int QVR_ciDefinition::OpenBlocks(int first, std::span<const int> sizes) {
  if (sizes.empty()) {
    return QVR_OKAY;
  }
  const int offset = first < ParentCount() ? GetParentOffset(first) : RowCount() - 1;
  if (int status = ReplaceRows(offset, 0, std::accumulate(sizes.begin(), sizes.end(), 0)); status < 0) {
    return status;
  }
  blockSizes.insert(blockSizes.begin() + first, sizes.begin(), sizes.end());
  int row = offset;
  for (int block = first; block < first + static_cast<int>(sizes.size()); ++block) {
    BlockOpened(block);
    MakeDistinguished(Row(row + DistinguishedPlace(block)));
    row += blockSizes[static_cast<std::size_t>(block)];
  }
  ciWeights.Normalize();
  ParametersChanged();
  return QVR_OKAY;
}

int QVR_ciDefinition::RemoveParent(int parentHandle) {
  if (!IsReady()) {
    return QVR_OBJECT_NOT_READY;
  }
  const int block = BlockOf(parentHandle);
  return block < 0 ? StatusWithoutDimension(parentHandle) : CloseBlock(block);
}

int QVR_ciDefinition::CloseBlock(int parentIndex) {
  const int count = blockSizes[static_cast<std::size_t>(parentIndex)];
  if (int status = ReplaceRows(GetParentOffset(parentIndex), count, 0); status < 0) {
    return status;
  }
  blockSizes.erase(blockSizes.begin() + parentIndex);
  BlockClosed(parentIndex);
  ParametersChanged();
  return QVR_OKAY;
}

int QVR_ciDefinition::AbsorbObservedParent(int /*parentHandle*/) { return QVR_OKAY; }

int QVR_ciDefinition::AbsorbRootParent(int /*parentHandle*/) { return QVR_OKAY; }

int QVR_ciDefinition::ReorderParents(const QVR_intArray& order) {
  if (!IsReady()) {
    return QVR_OBJECT_NOT_READY;
  }
  const std::span<const int> list = order.View();
  if (order.Length() != ParentCount() || !IsPermutation(list)) {
    return QVR_OUT_OF_RANGE;
  }
  QVR_Dmatrix reordered;
  if (int status = reordered.Copy(ciWeights); status < 0) {
    return status;
  }
  std::vector<int> sizes;
  double* to = reordered.GetItems().Vector().data();
  for (const int old : list) {
    sizes.push_back(blockSizes[static_cast<std::size_t>(old)]);
    to = std::copy_n(Row(GetParentOffset(old)).data(), sizes.back() * ColumnCount(), to);
  }
  ciWeights.Swap(reordered);
  blockSizes.swap(sizes);
  BlocksReordered(list);
  ParametersChanged();
  return QVR_OKAY;
}

void QVR_ciDefinition::OwnOutcomeInserted(int /*position*/) {}

void QVR_ciDefinition::OwnOutcomeRemoved(int /*position*/) {}

void QVR_ciDefinition::OwnOutcomesReordered(std::span<const int> /*order*/) {}

int QVR_ciDefinition::InsertOutcomeAt(int position, const char* name) {
  if (int status = TestTableGrowth(ciWeights, 1, std::int64_t{ColumnCount()} + 1); status < 0) {
    return status;
  }
  if (int status = TestOutcomeGrowth(); status < 0) {
    return status;
  }
  QVR_Dmatrix grown;
  if (int status = grown.Copy(ciWeights); status < 0) {
    return status;
  }
  if (int status = grown.AddItem(1); status < 0) {
    return status;
  }
  grown.ShiftItemsUp(1, position, 0.0);
  RetractEvidence();  // may start an update, which still finds the old outcomes
  if (int status = InsertName(outcomeNames, position, name, "State"); status < 0) {
    return status;
  }
  ciWeights.Swap(grown);
  OwnOutcomeInserted(position);
  WriteDistinguishedRows();
  ParametersChanged();
  return OutcomeAdded(position);
}

int QVR_ciDefinition::RemoveOutcomeAt(int position) {
  QVR_Dmatrix reduced;
  if (int status = reduced.Copy(ciWeights); status < 0) {
    return status;
  }
  reduced.ShiftItemsDown(1, position);
  if (int status = reduced.RemoveLastItem(1); status < 0) {
    return status;
  }
  RetractEvidence();
  ciWeights.Swap(reduced);
  OwnOutcomeRemoved(position);
  WriteDistinguishedRows();
  ParametersChanged();
  const int status = OutcomeRemoved(position, outcomeNames);
  CheckConsistency(0);  // the probability of the outcome is lost
  return status;
}

int QVR_ciDefinition::RenameOutcomes(const QVR_stringArray& names) {
  if (!IsReady() || !names.IsReady()) {
    return QVR_OBJECT_NOT_READY;
  }
  if (NameCount(names) != GetNumberOfOutcomes()) {
    return QVR_OUT_OF_RANGE;
  }
  const int status = ReplaceNames(outcomeNames, names, GetNumberOfOutcomes());
  CheckReady(0);
  return status;
}

int QVR_ciDefinition::SetNumberOfOutcomes(const QVR_stringArray& names) {
  if (HasChildren()) {
    return QVR_HAS_CHILDREN;
  }
  if (!names.IsReady() || !names.IsConsistent()) {
    return QVR_OBJECT_NOT_READY;
  }
  const int count = NameCount(names);
  if (count < 2) {
    return QVR_OUT_OF_RANGE;
  }
  if (int status = TestTableGrowth(ciWeights, 1, count); status < 0) {
    return status;
  }
  QVR_idArray newNames;
  if (int status = ReplaceNames(newNames, names, count); status < 0) {
    return status;
  }
  return ReplaceAllOutcomes(newNames);
}

int QVR_ciDefinition::SetNumberOfOutcomes(int count) {
  if (HasChildren()) {
    return QVR_HAS_CHILDREN;
  }
  if (count < 2) {
    return QVR_OUT_OF_RANGE;
  }
  if (int status = TestTableGrowth(ciWeights, 1, count); status < 0) {
    return status;
  }
  QVR_idArray newNames;
  if (int status = FillUpNames(newNames, "State", count); status < 0) {
    return status;
  }
  return ReplaceAllOutcomes(newNames);
}

// Whatever the count: all parameters go, so nothing known of the old outcomes holds for the new ones. The
// value is made anew first, since the replacement may end in an update.
int QVR_ciDefinition::ReplaceAllOutcomes(const QVR_idArray& names) {
  RetractEvidence();
  ReinitializeValues();
  return ReplaceOutcomes(outcomeNames, names);
}

int QVR_ciDefinition::ReorderOutcomes(const QVR_intArray& order) {
  if (!IsReady()) {
    return QVR_OBJECT_NOT_READY;
  }
  QVR_intArray list;
  for (int old : order.View()) {
    list.Add(old);
  }
  if (int status = ciWeights.PermuteItems(1, list); status < 0) {
    return status;
  }
  outcomeNames.Permute(list);
  OwnOutcomesReordered(list.View());
  WriteDistinguishedRows();
  ParametersChanged();
  return OutcomesReordered(list);
}

}  // namespace qvr
