#include "definitions/ci_definition.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <numeric>

#include "definitions/outcome_names.h"
#include "definitions/probability_row.h"
#include "model/network.h"

namespace qvr {

namespace {

int Report(int code, const char* text, char* message, int messageSize) {
  if (message != nullptr && messageSize > 0) {
    std::snprintf(message, static_cast<std::size_t>(messageSize), "%s", text);
  }
  return code;
}

}  // namespace

void QVR_ciDefinition::CleanUp(int deep) {
  if (deep != 0) {
    outcomeNames.CleanUp(deep);
    expandedTable.CleanUp();
    ciWeights.CleanUp();
    blockSizes.clear();
    BlocksCleared();
  }
  upToDate = false;
  CheckReady(0);
}

void QVR_ciDefinition::CheckReady(int deep) {
  if (deep != 0) {
    outcomeNames.CheckReady(deep);
  }
  SetReady(outcomeNames.IsReady() && ciWeights.GetNumElements() > 0);
}

void QVR_ciDefinition::CheckConsistency(int deep) {
  if (deep != 0) {
    outcomeNames.CheckConsistency(deep);
  }
  char message[64];
  SetConsistent(outcomeNames.IsConsistent() && ciWeights.GetNumDimensions() == 2 &&
                ColumnCount() == GetNumberOfOutcomes() &&
                ValidateCiWeights(ciWeights, message, sizeof message) == QVR_OKAY);
}

int QVR_ciDefinition::ValidateCiWeights(const QVR_Dmatrix& matrix, char* message, int messageSize) const {
  if (matrix.SameShape(ciWeights) == 0) {
    return Report(QVR_OUT_OF_RANGE, "Inappropirate Dmatrix size", message, messageSize);
  }
  if (matrix.GetNumElements() == 0) {
    return Report(QVR_OKAY, "Ok", message, messageSize);
  }
  const int leak = RowCount() - 1;
  int block = 0;
  int offset = 0;
  for (int row = 0; row <= leak; ++row) {
    if (row < leak && row == offset + blockSizes[static_cast<std::size_t>(block)]) {
      offset += blockSizes[static_cast<std::size_t>(block++)];
    }
    const bool isDistinguished = row < leak && row == offset + DistinguishedPlace(block);
    double sum = 0;
    for (int column = 0; column < ColumnCount(); ++column) {
      const double cell = matrix.Subscript(row * ColumnCount() + column);
      if (cell < 0) {
        return Report(QVR_WRONG_SIZE, "Probability less than 0", message, messageSize);
      }
      if (isDistinguished && cell != (column == DistinguishedOutcome() ? 1.0 : 0.0)) {
        return Report(QVR_WRONG_SIZE, "Constraints violeted", message, messageSize);
      }
      sum += cell;
    }
    if (!IsProbabilitySum(sum)) {
      return Report(QVR_WRONG_SIZE, "Probabilities don't sum up to 1", message, messageSize);
    }
  }
  return Report(QVR_OKAY, "Ok", message, messageSize);
}

int QVR_ciDefinition::GetNumberOfOutcomes() const { return outcomeNames.GetNumItems(); }

QVR_stringArray* QVR_ciDefinition::GetOutcomeNames() { return &outcomeNames; }

std::vector<int> QVR_ciDefinition::TableShape() const {
  std::vector<int> sizes = blockSizes;
  sizes.push_back(ColumnCount());
  return sizes;
}

int QVR_ciDefinition::GetSize() const {
  if (!HasParameters()) {
    return 0;
  }
  std::int64_t size = 1;
  for (const int count : TableShape()) {
    size *= count;
    if (size > QVR_Dmatrix::kMaxElements) {
      return QVR_OUT_OF_MEMORY;
    }
  }
  return static_cast<int>(size);
}

int QVR_ciDefinition::ShapeExpandedTable() {
  upToDate = false;
  const int status = HasParameters() ? expandedTable.SetDimensions(TableShape()) : QVR_OBJECT_NOT_READY;
  if (status < 0) {
    expandedTable.CleanUp();
  }
  return status;
}

int QVR_ciDefinition::GetCptMatrix(QVR_Dmatrix*& out) {
  // A copy that found no memory for the table has none, whatever its source had.
  if (!upToDate || expandedTable.GetNumElements() == 0) {
    if (const int status = ExpandToCpt(); status < 0) {
      out = nullptr;
      return status;
    }
  }
  out = &expandedTable;
  return QVR_OKAY;
}

int QVR_ciDefinition::GetMatrix(QVR_Dmatrix*& out) { return GetCptMatrix(out); }

int QVR_ciDefinition::GetDataArray(QVR_doubleArray*& out) {
  QVR_Dmatrix* table = nullptr;
  const int status = GetCptMatrix(table);
  out = table != nullptr ? &table->GetItems() : nullptr;
  return status;
}

int QVR_ciDefinition::SetMatrix(const QVR_Dmatrix& matrix) {
  if (!IsReady()) {
    return QVR_OBJECT_NOT_READY;
  }
  return ciWeights.SameShape(matrix) != 0 ? SetValues(matrix.GetItems()) : QVR_OUT_OF_RANGE;
}

int QVR_ciDefinition::SetValues(const QVR_doubleArray& array) {
  if (!IsReady()) {
    return QVR_OBJECT_NOT_READY;
  }
  const std::span<const double> cells = array.View();
  const std::span<double> own = ciWeights.GetItems().Vector();
  std::copy_n(cells.begin(), std::min(cells.size(), own.size()), own.begin());
  ParametersChanged();
  return NumbersReplaced();
}

std::span<double> QVR_ciDefinition::Row(int row) {
  const auto width = static_cast<std::size_t>(ColumnCount());
  return ciWeights.GetItems().Vector().subspan(static_cast<std::size_t>(row) * width, width);
}

std::span<const double> QVR_ciDefinition::Row(int row) const {
  const auto width = static_cast<std::size_t>(ColumnCount());
  return ciWeights.GetItems().Vector().subspan(static_cast<std::size_t>(row) * width, width);
}

void QVR_ciDefinition::MakeDistinguished(std::span<double> row) const {
  std::fill(row.begin(), row.end(), 0.0);
  row[static_cast<std::size_t>(DistinguishedOutcome())] = 1.0;
}

void QVR_ciDefinition::WriteDistinguishedRow(int parentIndex) {
  MakeDistinguished(Row(GetParentOffset(parentIndex) + DistinguishedPlace(parentIndex)));
}

void QVR_ciDefinition::WriteDistinguishedRows() {
  for (int parent = 0, offset = 0; parent < ParentCount(); ++parent) {
    MakeDistinguished(Row(offset + DistinguishedPlace(parent)));
    offset += blockSizes[static_cast<std::size_t>(parent)];
  }
}

void QVR_ciDefinition::ParametersChanged() {
  upToDate = false;
  CheckReady(0);
}

int QVR_ciDefinition::ResetParameters() {
  SetReady(false);
  upToDate = false;
  expandedTable.CleanUp();
  ciWeights.CleanUp();
  blockSizes.clear();
  const int named = FillUpNames(outcomeNames, "State", kLeastOutcomes);
  BlocksCleared();
  if (named < 0) {
    return named;
  }
  const int count = GetNumberOfOutcomes();
  if (int status = ciWeights.SetDimensions(std::array{1, count}); status < 0) {
    return status;
  }
  ciWeights.Fill(1.0 / count);
  CheckReady(1);
  return QVR_OKAY;
}

void QVR_ciDefinition::AddPresentParents() {
  if (network == nullptr) {
    return;
  }
  const QVR_intArray& parents = network->GetParents(handle);
  int taken = 0;
  TakeParents({parents.begin(), parents.end()}, taken);
}

int QVR_ciDefinition::RebuildFromNetwork() {
  const int status = ResetParameters();
  AddAllParents();  // without parameters all are refused
  return status;
}

int QVR_ciDefinition::ExpandInto(QVR_nodeDefinition& other) {
  auto* target = other.GetType() == GetType() ? dynamic_cast<QVR_ciDefinition*>(&other) : nullptr;
  if (target == nullptr || !HasSameBlocks(*target)) {
    return QVR_OKAY;
  }
  target->CopyParameters(*this);
  target->CheckConsistency(1);
  return QVR_OKAY;
}

bool QVR_ciDefinition::HasSameBlocks(const QVR_ciDefinition& other) const {
  return blockSizes == other.blockSizes && ciWeights.SameShape(other.ciWeights) != 0;
}

void QVR_ciDefinition::CopyParameters(const QVR_ciDefinition& other) {
  ciWeights.GetItems().CopyPrefix(other.ciWeights.GetItems());
  upToDate = other.upToDate && expandedTable.Copy(other.expandedTable) >= 0;
}

int QVR_ciDefinition::AdoptFrom(QVR_nodeDefinition& other) {
  return Adopt(other, [&] {
    CleanUp(1);
    outcomeNames.SetAllowEmpty(false);
    QVR_nodeDefinition::AdoptFrom(other);
    return AdoptContent(other);
  });
}

// Whatever isn't taken ends as in a fresh definition over the present parents.
int QVR_ciDefinition::AdoptContent(QVR_nodeDefinition& other) {
  switch (other.GetType()) {
    case kTypeList:
    case kTypeCpt:
    case kTypeTruthTable:
    case kTypeNoisyMax:
    case kTypeNoisyAdder:
      if (const QVR_stringArray* names = other.GetOutcomeNames()) {
        TakeNames(outcomeNames, *names);
      }
      RebuildFromNetwork();
      if (other.GetType() != kTypeList) {
        AdoptTable(other);
      }
      return QVR_OKAY;
    case kTypeNone:
    case kTypeEquation:
    case kTypeTable:
    case kTypeEquationScc:
      RebuildFromNetwork();
      return QVR_OKAY;
    default:
      RebuildFromNetwork();
      return QVR_OUT_OF_RANGE;
  }
}

void QVR_ciDefinition::AdoptTable(QVR_nodeDefinition& other) {
  if (other.GetType() == GetType()) {
    const auto* source = dynamic_cast<const QVR_ciDefinition*>(&other);
    if (source != nullptr && HasSameBlocks(*source)) {
      CopyParameters(*source);
    }
    return;
  }
  QVR_Dmatrix* table = nullptr;
  if (other.GetMatrix(table) >= 0 && table->HasShape(TableShape()) && expandedTable.Copy(*table) >= 0) {
    FitToCpt();
  }
}

}  // namespace qvr
