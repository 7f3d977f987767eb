#include "definitions/cpt.h"

#include <algorithm>
#include <array>
#include <span>

#include "definitions/outcome_names.h"
#include "definitions/probability_row.h"

namespace qvr {

namespace {

bool IsDistribution(std::span<const double> row) {
  double sum = 0;
  for (double probability : row) {
    if (probability < 0) {
      return false;
    }
    sum += probability;
  }
  return IsProbabilitySum(sum);
}

}  // namespace

QVR_cpt::QVR_cpt(QVR_network* newNetwork, int newHandle) : TabularDefinition(newNetwork, newHandle) {
  if (QVR_cpt::ResetTable() < 0) {
    SetReady(false);
    return;
  }
  AddPresentParents();
}

void QVR_cpt::CleanUp(int deep) {
  if (deep != 0) {
    outcomeNames.CleanUp(deep);
    table.CleanUp();
  }
  numOutcomes = 0;
  QVR_cpt::CheckReady(0);
}

void QVR_cpt::CheckReady(int deep) {
  if (deep != 0) {
    outcomeNames.CheckReady(deep);
  }
  SetReady(outcomeNames.IsReady() && numOutcomes == outcomeNames.GetNumItems());
}

void QVR_cpt::CheckConsistency(int deep) {
  if (deep != 0) {
    outcomeNames.CheckConsistency(deep);
  }
  const std::span<const double> cells = static_cast<const QVR_Dmatrix&>(table).GetItems().Vector();
  const std::size_t length = static_cast<std::size_t>(std::max(1, numOutcomes));
  bool consistent = outcomeNames.IsConsistent() && cells.size() % length == 0;
  for (std::size_t start = 0; start < cells.size() && consistent; start += length) {
    consistent = IsDistribution(cells.subspan(start, length));
  }
  SetConsistent(consistent);
}

int QVR_cpt::GetType() const { return kTypeCpt; }

const char* QVR_cpt::GetTypeName() const { return "CPT"; }

int QVR_cpt::GetNumberOfOutcomes() const { return numOutcomes; }

QVR_stringArray* QVR_cpt::GetOutcomeNames() { return &outcomeNames; }

int QVR_cpt::ResetTable() {
  SetReady(false);
  if (int status = FillUpNames(outcomeNames, "State", kLeastOutcomes); status < 0) {
    return status;
  }
  numOutcomes = outcomeNames.GetNumItems();
  if (int status = table.SetDimensions(std::array{numOutcomes}); status < 0) {
    return status;
  }
  table.Fill(1.0 / numOutcomes);
  QVR_cpt::CheckReady(1);
  return QVR_OKAY;
}

int QVR_cpt::RebuildFromNetwork() {
  const int status = ResetTable();
  AddAllParents();  // without a table all are refused
  return status;
}

int QVR_cpt::MakeUniform() {
  if (!IsReady()) {
    return QVR_OBJECT_NOT_READY;
  }
  table.Fill(1.0 / numOutcomes);
  return NumbersReplaced();
}

int QVR_cpt::SetProbabilities(const QVR_doubleArray& array) { return SetAllValues(array); }

void QVR_cpt::FillNewRows() { table.Normalize(); }

int QVR_cpt::ExpandInto(QVR_nodeDefinition& other) {
  auto* target = other.GetType() == GetType() ? dynamic_cast<QVR_cpt*>(&other) : nullptr;
  if (target == nullptr || table.SameShape(target->table) == 0) {
    return QVR_OKAY;
  }
  const int status = target->table.Copy(table);
  target->CheckConsistency(1);
  return status;
}

}  // namespace qvr
