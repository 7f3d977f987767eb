// How solvers write what they found into the values of the nodes.
#include <algorithm>
#include <new>

#include "inference/relevance.h"
#include "model/network.h"

namespace qvr {

namespace {

// The cells of the record's value, shaped for its outcomes alone.
std::span<double> ShapePosterior(const RelevanceNode& record) {
  QVR_nodeValue& value = *record.node->value;
  if (value.ShapeAsVector(record.outcomeCount) < 0) {
    throw std::bad_alloc();
  }
  return value.GetMatrix()->GetItems().Vector();
}

}  // namespace

bool HoldsPosterior(const RelevanceNode& record) {
  return record.node != nullptr && record.node->GetType() != kTypeList;
}

void WritePosterior(const RelevanceNode& record, std::span<const double> numbers, double total) {
  if (HoldsPosterior(record)) {
    std::transform(numbers.begin(), numbers.end(), ShapePosterior(record).begin(),
                   [total](double number) { return number / total; });
  }
}

void WriteCertainty(const RelevanceNode& record) {
  if (HoldsPosterior(record)) {
    const std::span<double> cells = ShapePosterior(record);
    std::fill(cells.begin(), cells.end(), 0.0);
    cells[static_cast<std::size_t>(record.evidence)] = 1.0;
  }
}

void MarkValid(const RelevanceNode& record) {
  if (HoldsPosterior(record)) {
    record.node->value->SetValueValid();
  }
}

void ApplySingleNodeComponent(const RelevanceNode& record) {
  if (!HoldsPosterior(record)) {
    return;
  }
  QVR_nodeValue& value = *record.node->value;
  QVR_Dmatrix* matrix = value.ShapeAsVector(record.outcomeCount) < 0 ? nullptr : value.GetMatrix();
  if (matrix != nullptr) {
    matrix->GetItems().CopyPrefix(record.table->GetItems());
    value.SetValueValid();
  }
}

int ApplyEvidenceToValue(RelevanceNode& record, int outcome) {
  if (outcome < 0 || outcome >= record.outcomeCount) {
    return QVR_OUT_OF_RANGE;
  }
  record.evidence = outcome;
  try {
    WriteCertainty(record);
  } catch (const std::bad_alloc&) {
    return QVR_OUT_OF_MEMORY;
  }
  MarkValid(record);
  return QVR_OKAY;
}

}  // namespace qvr
