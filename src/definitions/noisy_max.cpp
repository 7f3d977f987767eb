#include "definitions/noisy_max.h"

#include <algorithm>
#include <numeric>

#include "definitions/probability_row.h"
#include "model/dynamic_extension.h"
#include "model/network.h"

namespace qvr {

QVR_noisyMAX::QVR_noisyMAX(QVR_network* newNetwork, int newHandle) : QVR_ciDefinition(newNetwork, newHandle) {
  if (ResetParameters() >= 0) {
    AddPresentParents();
  }
}

int QVR_noisyMAX::GetType() const { return kTypeNoisyMax; }

const char* QVR_noisyMAX::GetTypeName() const { return "NOISY_MAX"; }

int QVR_noisyMAX::DistinguishedPlace(int parentIndex) const {
  return blockSizes[static_cast<std::size_t>(parentIndex)] - 1;
}

int QVR_noisyMAX::PlaceOfOutcome(int parentIndex, int outcome) const {
  const std::vector<int>& owners = GetStrengths(parentIndex);
  const auto found = std::find(owners.begin(), owners.end(), outcome);
  return found == owners.end() ? QVR_OUT_OF_RANGE : static_cast<int>(found - owners.begin());
}

void QVR_noisyMAX::BlockOpened(int parentIndex) {
  std::vector<int> identity(static_cast<std::size_t>(blockSizes[static_cast<std::size_t>(parentIndex)]));
  std::iota(identity.begin(), identity.end(), 0);
  strengths.insert(strengths.begin() + parentIndex, std::move(identity));
}

void QVR_noisyMAX::BlockClosed(int parentIndex) { strengths.erase(strengths.begin() + parentIndex); }

void QVR_noisyMAX::BlocksReordered(std::span<const int> order) {
  std::vector<std::vector<int>> reordered;
  for (const int old : order) {
    reordered.push_back(std::move(strengths[static_cast<std::size_t>(old)]));
  }
  strengths = std::move(reordered);
}

void QVR_noisyMAX::CopyParameters(const QVR_ciDefinition& other) {
  QVR_ciDefinition::CopyParameters(other);
  strengths = static_cast<const QVR_noisyMAX&>(other).strengths;
}

int QVR_noisyMAX::AddParentOutcome(int parentHandle, int position) {
  if (!IsReady()) {
    return QVR_OBJECT_NOT_READY;
  }
  const int block = BlockOf(parentHandle);
  if (block < 0) {
    return StatusWithoutDimension(parentHandle);
  }
  const int place = DistinguishedPlace(block);
  if (position < 0 || position > place + 1) {
    return QVR_OUT_OF_RANGE;
  }
  if (int status = OpenRow(block, place); status < 0) {
    return status;
  }
  std::vector<int>& owners = strengths[static_cast<std::size_t>(block)];
  for (int& owner : owners) {
    owner += owner >= position ? 1 : 0;
  }
  owners.insert(owners.begin() + place, position);
  ciWeights.Normalize();
  ParametersChanged();
  return QVR_OKAY;
}

int QVR_noisyMAX::RemoveParentOutcome(int parentHandle, int position) {
  if (!IsReady()) {
    return QVR_OBJECT_NOT_READY;
  }
  const int block = BlockOf(parentHandle);
  const int place = block < 0 ? block : PlaceOfOutcome(block, position);
  if (place < 0 || GetStrengths(block).size() < 2) {
    return QVR_OUT_OF_RANGE;
  }
  if (int status = CloseRow(block, place); status < 0) {
    return status;
  }
  std::vector<int>& owners = strengths[static_cast<std::size_t>(block)];
  owners.erase(owners.begin() + place);
  for (int& owner : owners) {
    owner -= owner > position ? 1 : 0;
  }
  WriteDistinguishedRow(block);  // the old one may just have gone
  ParametersChanged();
  return QVR_OKAY;
}

// The rows stay with their outcomes, which go by other numbers now.
int QVR_noisyMAX::ReorderParentOutcomes(int parentHandle, const QVR_intArray& order) {
  if (!IsReady()) {
    return QVR_OBJECT_NOT_READY;
  }
  const int block = BlockOf(parentHandle);
  if (block < 0) {
    return StatusWithoutDimension(parentHandle);
  }
  const std::span<const int> list = order.View();
  std::vector<int>& owners = strengths[static_cast<std::size_t>(block)];
  if (list.size() != owners.size() || !IsPermutation(list)) {
    return QVR_OUT_OF_RANGE;
  }
  std::vector<int> places(list.size());
  for (std::size_t place = 0; place < list.size(); ++place) {
    places[static_cast<std::size_t>(list[place])] = static_cast<int>(place);
  }
  for (int& owner : owners) {
    owner = places[static_cast<std::size_t>(owner)];
  }
  ParametersChanged();
  return QVR_OKAY;
}

int QVR_noisyMAX::ReorderOutcomes(const QVR_intArray& order) {
  const int status = QVR_ciDefinition::ReorderOutcomes(order);
  return status < 0 ? status : NotifyChange(kNumbersChanged);
}

int QVR_noisyMAX::SetParentOutcomeStrengths(int parentIndex, const QVR_intArray& newStrengths) {
  if (!IsReady()) {
    return QVR_OBJECT_NOT_READY;
  }
  const std::span<const int> list = newStrengths.View();
  if (parentIndex < 0 || parentIndex >= ParentCount() || list.size() != GetStrengths(parentIndex).size() ||
      !IsPermutation(list)) {
    return QVR_OUT_OF_RANGE;
  }
  strengths[static_cast<std::size_t>(parentIndex)].assign(list.begin(), list.end());
  ParametersChanged();
  return NumbersReplaced();
}

int QVR_noisyMAX::SetOutcomeStrengths(std::vector<std::vector<int>> newStrengths) {
  if (!IsReady()) {
    return QVR_OBJECT_NOT_READY;
  }
  const auto isOrder = [](const std::vector<int>& list, const std::vector<int>& old) {
    return list.size() == old.size() && IsPermutation(list);
  };
  if (!std::equal(newStrengths.begin(), newStrengths.end(), strengths.begin(), strengths.end(), isOrder)) {
    return QVR_OUT_OF_RANGE;
  }
  strengths.swap(newStrengths);
  ParametersChanged();
  return NumbersReplaced();
}

int QVR_noisyMAX::PermuteParentBlock(int parentIndex, const QVR_intArray& order) {
  if (!IsReady()) {
    return QVR_OBJECT_NOT_READY;
  }
  const std::span<const int> list = order.View();
  if (parentIndex < 0 || parentIndex >= ParentCount() || list.size() != GetStrengths(parentIndex).size() ||
      !IsPermutation(list)) {
    return QVR_OUT_OF_RANGE;
  }
  QVR_Dmatrix old;
  if (int status = old.Copy(ciWeights); status < 0) {
    return status;
  }
  const std::vector<int> owners = GetStrengths(parentIndex);
  const int offset = GetParentOffset(parentIndex);
  for (std::size_t place = 0; place < list.size(); ++place) {
    const int from = list[place];
    strengths[static_cast<std::size_t>(parentIndex)][place] = owners[static_cast<std::size_t>(from)];
    std::copy_n(old.GetItems().Vector().data() + (offset + from) * ColumnCount(), ColumnCount(),
                Row(offset + static_cast<int>(place)).data());
  }
  WriteDistinguishedRow(parentIndex);
  ParametersChanged();
  return NumbersReplaced();
}

int QVR_noisyMAX::CheckParentInfluence(int parentIndex, double /*epsilon*/, int& isRelevant) {
  if (parentIndex < 0 || parentIndex >= ParentCount()) {
    return QVR_OUT_OF_RANGE;
  }
  const int first = GetParentOffset(parentIndex);
  const int count = blockSizes[static_cast<std::size_t>(parentIndex)];
  isRelevant = 0;
  for (int row = first; row < first + count; ++row) {
    isRelevant = Row(row).back() != 1.0 ? 1 : isRelevant;
  }
  return QVR_OKAY;
}

int QVR_noisyMAX::AbsorbObservedParent(int parentHandle) {
  if (!IsReady()) {
    return QVR_OBJECT_NOT_READY;
  }
  const QVR_node* parent = ParentNode(parentHandle);
  if (parent == nullptr || !parent->value || !parent->value->HasEvidence()) {
    return QVR_OUT_OF_RANGE;
  }
  if (network->GetDynamicExtension() != nullptr &&
      network->GetDynamicExtension()->StandsForSlices(parentHandle, handle)) {
    return QVR_WRONG_NODE_TYPE;
  }
  const int block = BlockOf(parentHandle);
  if (block < 0) {
    return StatusWithoutDimension(parentHandle);
  }
  const int place = PlaceOfOutcome(block, parent->value->GetEvidence());
  if (place < 0) {
    return QVR_OUT_OF_RANGE;
  }
  const std::span<const double> row = Row(GetParentOffset(block) + place);
  std::vector<double> factors(row.begin(), row.end());
  Cumulate(factors);
  return FoldIntoLeak(parentHandle, factors);
}

int QVR_noisyMAX::AbsorbRootParent(int parentHandle) {
  if (!IsReady()) {
    return QVR_OBJECT_NOT_READY;
  }
  const QVR_node* parent = ParentNode(parentHandle);
  if (parent == nullptr || (parent->value && parent->value->HasEvidence())) {
    return QVR_OUT_OF_RANGE;
  }
  if (network->GetDynamicExtension() != nullptr &&
      network->GetDynamicExtension()->StandsForSlices(parentHandle, handle)) {
    return QVR_WRONG_NODE_TYPE;
  }
  const int block = BlockOf(parentHandle);
  if (block < 0 || parent->GetType() == kTypeList) {
    return StatusWithoutDimension(parentHandle);
  }
  QVR_doubleArray* prior = nullptr;
  if (network->GetNumberOfParents(parentHandle) > 0 || parent->definition->GetDataArray(prior) < 0 ||
      prior->GetSize() != blockSizes[static_cast<std::size_t>(block)]) {
    return QVR_OUT_OF_RANGE;
  }
  std::vector<double> factors(static_cast<std::size_t>(ColumnCount()));
  const int offset = GetParentOffset(block);
  for (int place = 0; place < prior->GetSize(); ++place) {
    std::vector<double> row(Row(offset + place).begin(), Row(offset + place).end());
    Cumulate(row);
    const double weight = (*prior)[GetStrengths(block)[static_cast<std::size_t>(place)]];
    for (std::size_t j = 0; j < row.size(); ++j) {
      factors[j] += row[j] * weight;
    }
  }
  return FoldIntoLeak(parentHandle, factors);
}

int QVR_noisyMAX::FoldIntoLeak(int parentHandle, std::span<const double> factors) {
  if (int status = CloseBlock(BlockOf(parentHandle)); status < 0) {
    return status;
  }
  const std::span<double> leak = Row(RowCount() - 1);
  Cumulate(leak);
  std::transform(leak.begin(), leak.end(), factors.begin(), leak.begin(), std::multiplies<>());
  Difference(leak);
  return FinishAbsorption(parentHandle);
}

}  // namespace qvr
