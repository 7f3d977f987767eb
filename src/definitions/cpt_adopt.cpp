// What a conditional probability table takes over from a definition of any class.
#include <algorithm>

#include "definitions/cpt.h"
#include "model/network.h"

namespace qvr {

int QVR_cpt::AdoptFrom(QVR_nodeDefinition& other) {
  return Adopt(other, [&] {
    CleanUp(1);
    outcomeNames.SetAllowEmpty(false);
    QVR_nodeDefinition::AdoptFrom(other);
    AdoptContent(other);
    return QVR_OKAY;
  });
}

// Whatever isn't taken ends as in a fresh definition over the present parents.
void QVR_cpt::AdoptContent(QVR_nodeDefinition& other) {
  switch (other.GetType()) {
    case kTypeTable:
      RebuildFromNetwork();
      AdoptUtilities(other);
      break;
    case kTypeList:
      AdoptNames(other);
      // A list's parents inform a choice; they say nothing of chances, and have no dimension to lose.
      while (network != nullptr && network->GetNumberOfParents(handle) > 0) {
        DetachParent(network->GetParents(handle)[0]);
      }
      RebuildFromNetwork();
      break;
    case kTypeCpt:
    case kTypeTruthTable:
    case kTypeNoisyMax:
    case kTypeNoisyAdder:
      AdoptNames(other);
      RebuildFromNetwork();
      AdoptTable(other);
      break;
    case kTypeCast:
    case kTypeDeMorgan:
      if (other.GetType() == kTypeCast && network != nullptr && network->GetNumberOfParents(handle) > 0) {
        AdoptNames(other);
      } else {
        outcomeNames.Add("True");
        outcomeNames.Add("False");
      }
      RebuildFromNetwork();
      AdoptTable(other);
      break;
    case kTypeDChildHParent:
      AdoptNames(other);
      RebuildFromNetwork();
      break;
    default:
      RebuildFromNetwork();
  }
}

void QVR_cpt::AdoptNames(QVR_nodeDefinition& other) {
  const QVR_stringArray* names = other.GetOutcomeNames();
  if (names == nullptr) {
    return;
  }
  if (const auto* ids = dynamic_cast<const QVR_idArray*>(names)) {
    outcomeNames.Copy(*ids);
  } else {
    outcomeNames.Copy(*names);
  }
}

void QVR_cpt::AdoptTable(QVR_nodeDefinition& other) {
  QVR_Dmatrix* source = nullptr;
  if (other.GetMatrix(source) >= 0 && source != nullptr && table.SameShape(*source) != 0) {
    table.GetItems().CopyPrefix(source->GetItems());
  }
}

// Each utility becomes the chance of the first of two outcomes, scaled to the range of all utilities.
void QVR_cpt::AdoptUtilities(QVR_nodeDefinition& other) {
  QVR_doubleArray* utilities = nullptr;
  if (other.GetDataArray(utilities) < 0 || utilities == nullptr || utilities->GetSize() == 0 ||
      utilities->GetSize() != table.GetNumElements() / 2) {
    return;
  }
  const std::span<const double> source = utilities->Vector();
  const auto [minimum, maximum] = std::minmax_element(source.begin(), source.end());
  const double range = *maximum == *minimum ? 1.0 : *maximum - *minimum;
  const std::span<double> cells = table.GetItems().Vector();
  for (std::size_t row = 0; row < source.size(); ++row) {
    cells[2 * row] = (source[row] - *minimum) / range;
    cells[2 * row + 1] = 1.0 - cells[2 * row];
  }
}

}  // namespace qvr
