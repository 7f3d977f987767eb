// The view of noisy-MAX parameters in which the leak acts along with each parent, as some experts and files
// state them: what is observed when this parent alone is known to be present.
#include <algorithm>
#include <cmath>

#include "definitions/noisy_max.h"
#include "definitions/probability_row.h"

namespace qvr {

namespace {

std::span<double> RowOf(QVR_Dmatrix& matrix, int row) {
  const auto width = static_cast<std::size_t>(matrix.GetDimension(1));
  return matrix.GetItems().Vector().subspan(static_cast<std::size_t>(row) * width, width);
}

void CumulateAll(QVR_Dmatrix& matrix) {
  for (int row = 0; row < matrix.GetDimension(0); ++row) {
    Cumulate(RowOf(matrix, row));
  }
}

void DifferenceAll(QVR_Dmatrix& matrix) {
  for (int row = 0; row < matrix.GetDimension(0); ++row) {
    Difference(RowOf(matrix, row));
  }
}

// Calls visit(row) for every row of a parent that isn't distinguished.
template <typename Visit>
void ForEachEffectiveRow(std::span<const int> blockSizes, Visit visit) {
  int offset = 0;
  for (const int count : blockSizes) {
    for (int place = 0; place + 1 < count; ++place) {
      visit(offset + place);
    }
    offset += count;
  }
}

// A probability less severe than what the leak alone allows can't be reached with the parent either.
double Quotient(double compound, double leak) { return leak == 0 ? 0.0 : std::min(compound / leak, 1.0); }

}  // namespace

int QVR_noisyMAX::GetCompoundParameters(QVR_Dmatrix& matrix) const {
  if (!HasParameters()) {
    return QVR_OBJECT_NOT_READY;
  }
  if (int status = matrix.Copy(ciWeights); status < 0) {
    return status;
  }
  CumulateAll(matrix);
  const std::span<const double> leak = RowOf(matrix, RowCount() - 1);
  ForEachEffectiveRow(blockSizes, [&](int row) {
    const std::span<double> cells = RowOf(matrix, row);
    std::transform(cells.begin(), cells.end(), leak.begin(), cells.begin(), std::multiplies<>());
  });
  DifferenceAll(matrix);
  return QVR_OKAY;
}

int QVR_noisyMAX::GetCompoundParameterList(QVR_doubleArray& array) const {
  QVR_Dmatrix matrix;
  if (int status = GetCompoundParameters(matrix); status < 0) {
    return status;
  }
  std::vector<double> list;
  const auto append = [&](int row) {
    const std::span<const double> cells = RowOf(matrix, row);
    list.insert(list.end(), cells.begin(), cells.end());
  };
  ForEachEffectiveRow(blockSizes, append);
  append(RowCount() - 1);
  return array.Assign(list);
}

int QVR_noisyMAX::SetCompoundParameters(const QVR_doubleArray& array) {
  if (!IsReady()) {
    return QVR_OBJECT_NOT_READY;
  }
  if (array.Length() != (RowCount() - ParentCount()) * ColumnCount()) {
    return QVR_OUT_OF_RANGE;
  }
  QVR_Dmatrix matrix;
  if (int status = GetCompoundParameters(matrix); status < 0) {
    return status;
  }
  auto from = array.View().begin();
  const auto take = [&](int row) {
    std::copy_n(from, ColumnCount(), RowOf(matrix, row).begin());
    from += ColumnCount();
  };
  ForEachEffectiveRow(blockSizes, take);
  take(RowCount() - 1);
  return SetCompoundParameters(matrix);
}

bool QVR_noisyMAX::HasDistinguishedRows() const {
  for (int parent = 0, offset = 0; parent < ParentCount(); ++parent) {
    offset += blockSizes[static_cast<std::size_t>(parent)];
    const std::span<const double> row = Row(offset - 1);
    if (row.back() != 1.0 || std::any_of(row.begin(), row.end() - 1, [](double x) { return x != 0; })) {
      return false;
    }
  }
  return true;
}

int QVR_noisyMAX::SetCompoundParameters(const QVR_Dmatrix& matrix) {
  const std::span<const double> given = matrix.GetItems().Vector();
  if (matrix.SameShape(ciWeights) == 0 || !HasDistinguishedRows() ||
      std::any_of(given.begin(), given.end(), [](double x) { return std::isnan(x); })) {
    return QVR_OUT_OF_RANGE;
  }
  if (int status = ciWeights.Copy(matrix); status < 0) {
    return status;
  }
  CumulateAll(ciWeights);
  const std::span<const double> leak = RowOf(ciWeights, RowCount() - 1);
  ForEachEffectiveRow(blockSizes, [&](int row) {
    const std::span<double> cells = RowOf(ciWeights, row);
    std::transform(cells.begin(), cells.end(), leak.begin(), cells.begin(), Quotient);
  });
  DifferenceAll(ciWeights);
  ParametersChanged();
  return NumbersReplaced();
}

}  // namespace qvr
