#include "definitions/cast.h"

#include <utility>

#include "definitions/table_expansion.h"

namespace qvr {

namespace {

// The chance of truth from what is left of doubt (`promoting`) and of belief (`inhibiting`) after all pushes.
double ChanceOfTruth(double promoting, double inhibiting, double baseline) {
  if (inhibiting == promoting) {
    return baseline;
  }
  if (inhibiting > promoting) {
    return (1 - baseline) * (1 - promoting / inhibiting) + baseline;
  }
  return baseline * (inhibiting / promoting - 1) + baseline;
}

}  // namespace

QVR_cast::QVR_cast(QVR_network* newNetwork, int newHandle) : QVR_binaryGate(newNetwork, newHandle) {
  SetUp();
}

int QVR_cast::GetType() const { return kTypeCast; }

const char* QVR_cast::GetTypeName() const { return "CAST"; }

void QVR_cast::ResetBase() { baseline = kDefaultBaseline; }

void QVR_cast::ResetNumbers() {
  positiveWeights.clear();
  negativeWeights.clear();
}

void QVR_cast::OpenParent(int place) {
  positiveWeights.insert(positiveWeights.begin() + place, 0.0);
  negativeWeights.insert(negativeWeights.begin() + place, 0.0);
}

void QVR_cast::CloseParent(int place) {
  positiveWeights.erase(positiveWeights.begin() + place);
  negativeWeights.erase(negativeWeights.begin() + place);
}

void QVR_cast::PermuteParents(std::span<const int> order) {
  std::vector<double> positive;
  std::vector<double> negative;
  for (const int old : order) {
    positive.push_back(positiveWeights[static_cast<std::size_t>(old)]);
    negative.push_back(negativeWeights[static_cast<std::size_t>(old)]);
  }
  positiveWeights.swap(positive);
  negativeWeights.swap(negative);
}

void QVR_cast::SwapParentStates(int place) {
  std::swap(positiveWeights[static_cast<std::size_t>(place)],
            negativeWeights[static_cast<std::size_t>(place)]);
}

void QVR_cast::CopyNumbers(const QVR_binaryGate& other) {
  const auto& source = static_cast<const QVR_cast&>(other);
  if (positiveWeights.size() == source.positiveWeights.size()) {
    positiveWeights = source.positiveWeights;
    negativeWeights = source.negativeWeights;
  }
  baseline = source.baseline;
}

int QVR_cast::SetBaseline(double value) {
  if (!IsReady()) {
    return QVR_OBJECT_NOT_READY;
  }
  if (!(value >= 0 && value <= 1)) {
    return QVR_OUT_OF_RANGE;
  }
  baseline = value;
  return NumbersSet();
}

int QVR_cast::SetPositiveWeights(const QVR_doubleArray& weights) {
  return SetWeights(positiveWeights, weights);
}

int QVR_cast::SetNegativeWeights(const QVR_doubleArray& weights) {
  return SetWeights(negativeWeights, weights);
}

int QVR_cast::SetWeights(std::vector<double>& own, const QVR_doubleArray& weights) {
  if (!IsReady()) {
    return QVR_OBJECT_NOT_READY;
  }
  const std::span<const double> list = weights.View();
  if (list.size() != own.size()) {
    return QVR_OUT_OF_RANGE;
  }
  own.assign(list.begin(), list.end());
  return NumbersSet();
}

// While the table grows its two columns hold the products of the promoting and of the inhibiting pushes.
void QVR_cast::FillTable(std::span<const int> parentSizes, std::span<double> cells) const {
  cells[0] = 1.0;
  cells[1] = 1.0;
  int rows = 1;
  for (std::size_t parent = 0; parent < parentSizes.size(); ++parent) {
    const double whenTrue = positiveWeights[parent];
    const double otherwise = negativeWeights[parent];
    ExpandByParent(cells.data(), rows, 2, parentSizes[parent],
                   [=](const double* before, int outcome, double* after) {
                     const double weight = outcome == 0 ? whenTrue : otherwise;
                     after[0] = weight < 0 ? before[0] : before[0] * (1 - weight);
                     after[1] = weight < 0 ? before[1] * (1 + weight) : before[1];
                   });
    rows *= parentSizes[parent];
  }
  for (std::size_t row = 0; row < cells.size(); row += 2) {
    cells[row] = ChanceOfTruth(cells[row], cells[row + 1], baseline);
    cells[row + 1] = 1 - cells[row];
  }
}

}  // namespace qvr
