#include "definitions/truth_table.h"

#include <algorithm>
#include <span>

#include "definitions/outcome_names.h"
#include "model/network.h"

namespace qvr {

namespace {

// The place of the greatest cell that isn't negative, the last of equals; the first without any.
std::size_t WinnerOf(std::span<const double> row) {
  std::size_t winner = 0;
  double best = 0;
  for (std::size_t i = 0; i < row.size(); ++i) {
    if (row[i] >= best) {
      best = row[i];
      winner = i;
    }
  }
  return winner;
}

}  // namespace

QVR_truthTable::QVR_truthTable(QVR_network* newNetwork, int newHandle) : QVR_cpt(newNetwork, newHandle) {
  SetAllRows(0);
}

void QVR_truthTable::CheckConsistency(int deep) {
  const std::span<const double> cells = static_cast<const QVR_Dmatrix&>(table).GetItems().Vector();
  QVR_cpt::CheckConsistency(deep);
  if (std::any_of(cells.begin(), cells.end(), [](double cell) { return cell != 0.0 && cell != 1.0; })) {
    SetConsistent(false);
  }
}

void QVR_truthTable::SetAllRows(int outcome) {
  table.Fill(0.0);
  for (int cell = outcome; cell < table.GetNumElements(); cell += numOutcomes) {
    table.Subscript(cell) = 1.0;
  }
}

void QVR_truthTable::MakeDeterministic() {
  const std::span<double> cells = table.GetItems().Vector();
  const auto length = static_cast<std::size_t>(numOutcomes);
  for (std::size_t start = 0; start < cells.size(); start += length) {
    const std::span<double> row = cells.subspan(start, length);
    const std::size_t winner = WinnerOf(row);
    std::fill(row.begin(), row.end(), 0.0);
    row[winner] = 1.0;
  }
}

int QVR_truthTable::RebuildFromNetwork() {
  const int status = QVR_cpt::RebuildFromNetwork();
  SetAllRows(0);
  return status;
}

int QVR_truthTable::StartAfresh(QVR_idArray& ownNames, const QVR_idArray& names) {
  const int status = QVR_cpt::StartAfresh(ownNames, names);
  if (status >= 0) {
    SetAllRows(0);
  }
  return status;
}

int QVR_truthTable::AddParentOutcome(int parentHandle, int position) {
  const int status = QVR_cpt::AddParentOutcome(parentHandle, position);
  if (status >= 0) {
    MakeDeterministic();
  }
  return status;
}

// What is taken from nowhere are the default rows, which stay as they are.
void QVR_truthTable::AdoptContent(QVR_nodeDefinition& other) {
  QVR_cpt::AdoptContent(other);
  MakeDeterministic();
}

int QVR_truthTable::SetResultingStates(const QVR_stringArray& names) {
  if (!IsReady() || !names.IsReady()) {
    return QVR_OBJECT_NOT_READY;
  }
  QVR_intArray indices;
  if (int status = indices.SetSize(NameCount(names)); status < 0) {
    return status;
  }
  for (int row = 0; row < indices.GetSize(); ++row) {
    const char* name = names.Get(row);
    indices[row] = name != nullptr ? std::max(0, outcomeNames.FindId(name)) : 0;
  }
  return SetResultingStates(indices);
}

int QVR_truthTable::SetResultingStates(const QVR_intArray& indices) {
  if (!IsReady()) {
    return QVR_OBJECT_NOT_READY;
  }
  const std::span<const int> states = indices.View();
  if (indices.Length() != GetNumberOfRows()) {
    return QVR_WRONG_SIZE;
  }
  if (std::any_of(states.begin(), states.end(), [&](int s) { return s < 0 || s >= numOutcomes; })) {
    return QVR_OUT_OF_RANGE;
  }
  table.Fill(0.0);
  int start = 0;
  for (int state : states) {
    table.Subscript(start + state) = 1.0;
    start += numOutcomes;
  }
  return NumbersReplaced();
}

int QVR_truthTable::GetResultingStates(QVR_stringArray& names) const {
  if (!IsReady() || !names.IsReady()) {
    return QVR_OBJECT_NOT_READY;
  }
  const std::span<const double> cells = table.GetItems().Vector();
  const auto length = static_cast<std::size_t>(numOutcomes);
  for (std::size_t start = 0; start < cells.size(); start += length) {
    const std::span<const double> row = cells.subspan(start, length);
    const auto found = std::find(row.begin(), row.end(), 1.0);
    const int state = found == row.end() ? 0 : static_cast<int>(found - row.begin());
    if (int status = names.Add(outcomeNames.Get(state)); status < 0) {
      return status;
    }
  }
  return QVR_OKAY;
}

}  // namespace qvr
