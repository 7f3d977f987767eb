// What the values of nodes with outcomes share: a table, and evidence on one of the outcomes.
#ifndef QVR_VALUES_OUTCOME_VALUE_H
#define QVR_VALUES_OUTCOME_VALUE_H

#include "values/node_value.h"

namespace qvr {

class OutcomeValue : public QVR_nodeValue {
 public:
  void CleanUp(int deep) override;
  [[nodiscard]] int GetEvidence() const override;
  int ClearPropagatedEvidence() override;
  int GetValueMatrix(QVR_Dmatrix*& out) override;
  int SetValueMatrix(const QVR_Dmatrix& matrix) override;
  int ReorderOutcomes(const QVR_intArray& order) override;

 protected:
  using QVR_nodeValue::QVR_nodeValue;
  OutcomeValue(const OutcomeValue&) = default;

  // The outcome becomes real evidence, which a value shows already, and the network is told; what it refuses
  // goes again. Returns its code.
  int EnterEvidence();

  QVR_Dmatrix table;  // the indexing parents' outcome counts, then the node's own
  int evidence = 0;   // the outcome, while valueFlags has a bit of kValueAnyEvidence
};

}  // namespace qvr

#endif
