#include "definitions/noisy_adder.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numeric>

#include "definitions/table_expansion.h"
#include "model/network.h"

namespace qvr {

namespace {

int PlaceIn(std::span<const int> order, int old) {
  return static_cast<int>(std::find(order.begin(), order.end(), old) - order.begin());
}

}  // namespace

QVR_noisyAdder::QVR_noisyAdder(QVR_network* newNetwork, int newHandle)
    : QVR_ciDefinition(newNetwork, newHandle) {
  if (ResetParameters() >= 0) {
    AddPresentParents();
  }
}

void QVR_noisyAdder::CheckConsistency(int deep) {
  QVR_ciDefinition::CheckConsistency(deep);
  const double total = std::accumulate(adderWeights.begin(), adderWeights.end(), 0.0);
  const bool isNegative =
      std::any_of(adderWeights.begin(), adderWeights.end(), [](double x) { return x < 0; });
  SetConsistent(IsConsistent() && std::isfinite(total) && !isNegative);
}

int QVR_noisyAdder::GetType() const { return kTypeNoisyAdder; }

const char* QVR_noisyAdder::GetTypeName() const { return "NOISY_ADDER"; }

void QVR_noisyAdder::BlocksCleared() {
  distinguishedState = std::max(GetNumberOfOutcomes() - 1, 0);
  parentDistinguishedStates.clear();
  adderWeights.assign(1, 1.0);
  function = kAdderAverage;
}

void QVR_noisyAdder::BlockOpened(int parentIndex) {
  const int last = blockSizes[static_cast<std::size_t>(parentIndex)] - 1;
  parentDistinguishedStates.insert(parentDistinguishedStates.begin() + parentIndex, last);
  adderWeights.insert(adderWeights.begin() + parentIndex, 1.0);
}

void QVR_noisyAdder::BlockClosed(int parentIndex) {
  parentDistinguishedStates.erase(parentDistinguishedStates.begin() + parentIndex);
  adderWeights.erase(adderWeights.begin() + parentIndex);
}

void QVR_noisyAdder::BlocksReordered(std::span<const int> order) {
  std::vector<int> states;
  std::vector<double> weights;
  for (const int old : order) {
    states.push_back(parentDistinguishedStates[static_cast<std::size_t>(old)]);
    weights.push_back(adderWeights[static_cast<std::size_t>(old)]);
  }
  weights.push_back(adderWeights.back());
  parentDistinguishedStates.swap(states);
  adderWeights.swap(weights);
}

void QVR_noisyAdder::OwnOutcomeInserted(int position) {
  distinguishedState += position <= distinguishedState ? 1 : 0;
}

void QVR_noisyAdder::OwnOutcomeRemoved(int position) {
  if (position == distinguishedState) {
    distinguishedState = ColumnCount() - 1;
  } else if (position < distinguishedState) {
    --distinguishedState;
  }
}

void QVR_noisyAdder::OwnOutcomesReordered(std::span<const int> order) {
  distinguishedState = PlaceIn(order, distinguishedState);
}

void QVR_noisyAdder::CopyParameters(const QVR_ciDefinition& other) {
  QVR_ciDefinition::CopyParameters(other);
  const auto& source = static_cast<const QVR_noisyAdder&>(other);
  distinguishedState = source.distinguishedState;
  parentDistinguishedStates = source.parentDistinguishedStates;
  adderWeights = source.adderWeights;
  function = source.function;
}

int QVR_noisyAdder::AddParentOutcome(int parentHandle, int position) {
  if (!IsReady()) {
    return QVR_OBJECT_NOT_READY;
  }
  const int block = BlockOf(parentHandle);
  if (block < 0) {
    return StatusWithoutDimension(parentHandle);
  }
  if (position < 0 || position > blockSizes[static_cast<std::size_t>(block)]) {
    return QVR_OUT_OF_RANGE;
  }
  if (int status = OpenRow(block, position); status < 0) {
    return status;
  }
  int& state = parentDistinguishedStates[static_cast<std::size_t>(block)];
  state += state >= position ? 1 : 0;
  ParametersChanged();
  return QVR_OKAY;
}

int QVR_noisyAdder::RemoveParentOutcome(int parentHandle, int position) {
  if (!IsReady()) {
    return QVR_OBJECT_NOT_READY;
  }
  const int block = BlockOf(parentHandle);
  if (block < 0) {
    return StatusWithoutDimension(parentHandle);
  }
  const int count = blockSizes[static_cast<std::size_t>(block)];
  if (position < 0 || position >= count || count < 2) {
    return QVR_OUT_OF_RANGE;
  }
  if (int status = CloseRow(block, position); status < 0) {
    return status;
  }
  int& state = parentDistinguishedStates[static_cast<std::size_t>(block)];
  if (state == position) {
    state = count - 2;
    WriteDistinguishedRow(block);
  } else if (state > position) {
    --state;
  }
  ParametersChanged();
  return QVR_OKAY;
}

int QVR_noisyAdder::ReorderParentOutcomes(int parentHandle, const QVR_intArray& order) {
  if (!IsReady()) {
    return QVR_OBJECT_NOT_READY;
  }
  const int block = BlockOf(parentHandle);
  if (block < 0) {
    return StatusWithoutDimension(parentHandle);
  }
  const std::span<const int> list = order.View();
  if (order.Length() != blockSizes[static_cast<std::size_t>(block)] || !IsPermutation(list)) {
    return QVR_OUT_OF_RANGE;
  }
  const int offset = GetParentOffset(block);
  const std::vector<double> rows(Row(offset).data(), Row(offset).data() + order.Length() * ColumnCount());
  double* to = Row(offset).data();
  for (const int old : list) {
    to = std::copy_n(rows.data() + old * ColumnCount(), ColumnCount(), to);
  }
  int& state = parentDistinguishedStates[static_cast<std::size_t>(block)];
  state = PlaceIn(list, state);
  ParametersChanged();
  return QVR_OKAY;
}

int QVR_noisyAdder::SetDistinguishedState(int state) {
  if (!IsReady()) {
    return QVR_OBJECT_NOT_READY;
  }
  if (state < 0 || state >= ColumnCount()) {
    return QVR_OUT_OF_RANGE;
  }
  if (state == distinguishedState) {
    return QVR_OKAY;
  }
  distinguishedState = state;
  WriteDistinguishedRows();
  ParametersChanged();
  return NumbersReplaced();
}

int QVR_noisyAdder::SetParentDistinguishedState(int parentIndex, int state) {
  if (!IsReady()) {
    return QVR_OBJECT_NOT_READY;
  }
  if (parentIndex < 0 || parentIndex >= ParentCount() || state < 0 ||
      state >= blockSizes[static_cast<std::size_t>(parentIndex)]) {
    return QVR_OUT_OF_RANGE;
  }
  parentDistinguishedStates[static_cast<std::size_t>(parentIndex)] = state;
  WriteDistinguishedRow(parentIndex);
  ParametersChanged();
  return NumbersReplaced();
}

int QVR_noisyAdder::SetParentDistinguishedStates(std::span<const int> states) {
  if (!IsReady()) {
    return QVR_OBJECT_NOT_READY;
  }
  const auto isOutcome = [](int state, int count) { return state >= 0 && state < count; };
  if (!std::equal(states.begin(), states.end(), blockSizes.begin(), blockSizes.end(), isOutcome)) {
    return QVR_OUT_OF_RANGE;
  }
  parentDistinguishedStates.assign(states.begin(), states.end());
  WriteDistinguishedRows();
  ParametersChanged();
  return NumbersReplaced();
}

int QVR_noisyAdder::SetParentWeights(const QVR_doubleArray& weights) {
  if (!IsReady()) {
    return QVR_OBJECT_NOT_READY;
  }
  const std::span<const double> list = weights.View();
  if (list.size() != adderWeights.size()) {
    return QVR_OUT_OF_RANGE;
  }
  adderWeights.assign(list.begin(), list.end());
  ParametersChanged();
  return NumbersReplaced();
}

int QVR_noisyAdder::SetFunction(int newFunction) {
  if (!IsReady()) {
    return QVR_OBJECT_NOT_READY;
  }
  if (newFunction != kAdderAverage && newFunction != kAdderSingleFault) {
    return QVR_OUT_OF_RANGE;
  }
  function = newFunction;
  ParametersChanged();
  return NumbersReplaced();
}

int QVR_noisyAdder::FitToCpt() { return QVR_OKAY; }

int QVR_noisyAdder::ExpandToCpt() {
  if (int status = ShapeExpandedTable(); status < 0) {
    return status;
  }
  const std::span<double> cells = expandedTable.GetItems().Vector();
  if (function == kAdderAverage) {
    if (int status = FillAverages(cells); status < 0) {
      expandedTable.CleanUp();
      return status;
    }
  } else {
    FillSingleFaults(cells);
  }
  upToDate = true;
  return QVR_OKAY;
}

// The sums of weighted rows grow parent by parent in the table, the sums of weights beside it.
int QVR_noisyAdder::FillAverages(std::span<double> cells) const {
  const int width = ColumnCount();
  const std::span<const double> leak = LeakRow();
  const double leakWeight = adderWeights.back();
  QVR_Dmatrix totals;
  if (int status = totals.SetDimensions(std::array{expandedTable.GetNumElements() / width}); status < 0) {
    return status;
  }
  totals.Subscript(0) = leakWeight;
  std::transform(leak.begin(), leak.end(), cells.begin(), [=](double x) { return leakWeight * x; });
  int tableRows = 1;
  for (int parent = 0, offset = 0; parent < ParentCount(); ++parent) {
    const int count = blockSizes[static_cast<std::size_t>(parent)];
    const int idle = DistinguishedPlace(parent);
    const double weight = adderWeights[static_cast<std::size_t>(parent)];
    const double* block = Row(offset).data();
    ExpandByParent(cells.data(), tableRows, width, count,
                   [=](const double* before, int outcome, double* after) {
                     const double share = outcome == idle ? 0.0 : weight;
                     for (int j = 0; j < width; ++j) {
                       after[j] = before[j] + share * block[outcome * width + j];
                     }
                   });
    ExpandByParent(&totals.Subscript(0), tableRows, 1, count,
                   [=](const double* before, int outcome, double* after) {
                     *after = *before + (outcome == idle ? 0.0 : weight);
                   });
    tableRows *= count;
    offset += count;
  }
  double* sums = cells.data();
  for (const double total : totals.GetItems().Vector()) {
    for (int j = 0; j < width; ++j, ++sums) {
      *sums = total > 0 ? *sums / total : leak[static_cast<std::size_t>(j)];
    }
  }
  return QVR_OKAY;
}

void QVR_noisyAdder::FillSingleFaults(std::span<double> cells) const {
  const std::span<const double> leak = LeakRow();
  for (std::size_t start = 0; start < cells.size(); start += leak.size()) {
    std::copy(leak.begin(), leak.end(), cells.begin() + static_cast<std::ptrdiff_t>(start));
  }
  int idleCell = 0;  // where all parents stand at their distinguished states
  for (int parent = 0; parent < ParentCount(); ++parent) {
    idleCell += DistinguishedPlace(parent) * expandedTable.GetStride(parent);
  }
  for (int parent = 0, offset = 0; parent < ParentCount(); ++parent) {
    const int count = blockSizes[static_cast<std::size_t>(parent)];
    const int idle = DistinguishedPlace(parent);
    for (int outcome = 0; outcome < count; ++outcome) {
      if (outcome != idle) {
        const std::span<const double> row = Row(offset + outcome);
        std::copy(row.begin(), row.end(),
                  cells.begin() + idleCell + (outcome - idle) * expandedTable.GetStride(parent));
      }
    }
    offset += count;
  }
}

}  // namespace qvr
