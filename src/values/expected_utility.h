// The value of a utility node: expected utilities.
#ifndef QVR_VALUES_EXPECTED_UTILITY_H
#define QVR_VALUES_EXPECTED_UTILITY_H

#include "values/node_value.h"

namespace qvr {

// One number for each combination of the indexing parents' outcomes; kUndefined where no scenario came to it.
// Takes no evidence.
class QVR_expectedUtility : public QVR_nodeValue {
 public:
  QVR_expectedUtility(QVR_network* newNetwork, int newHandle);
  QVR_expectedUtility(const QVR_expectedUtility& other) = default;  // deep clone; nobody is told

  void CleanUp(int deep) override;
  int Assign(QVR_nodeValue& other) override;
  // Takes the table of its own class.
  int AdoptValue(QVR_nodeValue& other) override;
  int Reinitialize() override;
  [[nodiscard]] int GetValueType() const override { return kValueExpectedUtility; }
  int GetValueMatrix(QVR_Dmatrix*& out) override;
  int SetValueMatrix(const QVR_Dmatrix& matrix) override;

  // Of all cells; one that holds kUndefined counts as the number that it is.
  [[nodiscard]] double GetMaximumValue() const;
  [[nodiscard]] double GetMinimumValue() const;
  // As RescaleCells in definitions/utility_scale.h. Returns 0.
  int RescaleValues(double fromLow, double fromHigh, double toLow, double toHigh);

 protected:
  QVR_Dmatrix table;  // the indexing parents' outcome counts, then size 1
};

}  // namespace qvr

#endif
