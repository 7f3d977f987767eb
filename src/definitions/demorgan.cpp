#include "definitions/demorgan.h"

#include <algorithm>

#include "definitions/table_expansion.h"

namespace qvr {

QVR_demorgan::QVR_demorgan(QVR_network* newNetwork, int newHandle) : QVR_binaryGate(newNetwork, newHandle) {
  SetUp();
}

int QVR_demorgan::GetType() const { return kTypeDeMorgan; }

const char* QVR_demorgan::GetTypeName() const { return "DEMORGAN"; }

void QVR_demorgan::ResetBase() { priorBelief = kDefaultBelief; }

void QVR_demorgan::ResetNumbers() {
  parentTypes.clear();
  parentWeights.clear();
}

void QVR_demorgan::OpenParent(int place) {
  parentTypes.insert(parentTypes.begin() + place, kCause);
  parentWeights.insert(parentWeights.begin() + place, 0.0);
}

void QVR_demorgan::CloseParent(int place) {
  parentTypes.erase(parentTypes.begin() + place);
  parentWeights.erase(parentWeights.begin() + place);
}

void QVR_demorgan::PermuteParents(std::span<const int> order) {
  std::vector<int> types;
  std::vector<double> weights;
  for (const int old : order) {
    types.push_back(parentTypes[static_cast<std::size_t>(old)]);
    weights.push_back(parentWeights[static_cast<std::size_t>(old)]);
  }
  parentTypes.swap(types);
  parentWeights.swap(weights);
}

void QVR_demorgan::SwapParentStates(int place) {
  constexpr int kOpposites[] = {kRequirement, kInhibitor, kBarrier, kCause};
  int& type = parentTypes[static_cast<std::size_t>(place)];
  type = kOpposites[type];
}

void QVR_demorgan::CopyNumbers(const QVR_binaryGate& other) {
  const auto& source = static_cast<const QVR_demorgan&>(other);
  if (parentTypes.size() == source.parentTypes.size()) {
    parentTypes = source.parentTypes;
    parentWeights = source.parentWeights;
  }
  priorBelief = source.priorBelief;
}

int QVR_demorgan::SetPriorBelief(double value) {
  if (!IsReady()) {
    return QVR_OBJECT_NOT_READY;
  }
  if (!(value >= 0 && value <= 1)) {
    return QVR_OUT_OF_RANGE;
  }
  priorBelief = value;
  return NumbersSet();
}

int QVR_demorgan::SetParentWeights(const QVR_doubleArray& weights) {
  if (!IsReady()) {
    return QVR_OBJECT_NOT_READY;
  }
  const std::span<const double> list = weights.View();
  if (list.size() != parentWeights.size()) {
    return QVR_OUT_OF_RANGE;
  }
  parentWeights.assign(list.begin(), list.end());
  return NumbersSet();
}

int QVR_demorgan::SetParentTypes(const QVR_intArray& types) {
  if (!IsReady()) {
    return QVR_OBJECT_NOT_READY;
  }
  const std::span<const int> list = types.View();
  const auto isType = [](int type) { return type >= kInhibitor && type <= kBarrier; };
  if (list.size() != parentTypes.size() || !std::all_of(list.begin(), list.end(), isType)) {
    return QVR_OUT_OF_RANGE;
  }
  parentTypes.assign(list.begin(), list.end());
  return NumbersSet();
}

// All promoting influences act before any inhibiting one. While the table grows its first column holds the
// chance of truth after the former, and its second the product of the latter.
void QVR_demorgan::FillTable(std::span<const int> parentSizes, std::span<double> cells) const {
  cells[0] = priorBelief;
  cells[1] = 1.0;
  int rows = 1;
  for (std::size_t parent = 0; parent < parentSizes.size(); ++parent) {
    const int type = parentTypes[parent];
    const double weight = parentWeights[parent];
    const bool actsWhenTrue = type == kCause || type == kInhibitor;
    const bool promotes = type == kCause || type == kBarrier;
    ExpandByParent(cells.data(), rows, 2, parentSizes[parent],
                   [=](const double* before, int outcome, double* after) {
                     const bool acts = (outcome == 0) == actsWhenTrue;
                     after[0] = acts && promotes ? before[0] + (1 - before[0]) * weight : before[0];
                     after[1] = acts && !promotes ? before[1] * (1 - weight) : before[1];
                   });
    rows *= parentSizes[parent];
  }
  for (std::size_t row = 0; row < cells.size(); row += 2) {
    cells[row] *= cells[row + 1];
    cells[row + 1] = 1 - cells[row];
  }
}

}  // namespace qvr
