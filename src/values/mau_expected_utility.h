// The value of a multi-attribute utility node.
#ifndef QVR_VALUES_MAU_EXPECTED_UTILITY_H
#define QVR_VALUES_MAU_EXPECTED_UTILITY_H

#include "values/expected_utility.h"

namespace qvr {

class QVR_mauExpectedUtility : public QVR_expectedUtility {
 public:
  using QVR_expectedUtility::QVR_expectedUtility;

  [[nodiscard]] int GetValueType() const override { return kValueMauExpectedUtility; }

  // Fills the table from the values of the utility parents, by the weights or formulas of the definition. The
  // table must be shaped by the indexing parents, those of the parents' values among them; one that isn't
  // counts as observed, or at its first outcome. A cell with a utility of kUndefined becomes kUndefined. -51
  // for a node of another class, -2 for a table of another shape. Doesn't set the value valid.
  int ComputeMultiAttributeUtility();
};

}  // namespace qvr

#endif
