// The value of a decision node: the expected utility of each choice, and the choice that was made.
#ifndef QVR_VALUES_LIST_OF_DECISIONS_H
#define QVR_VALUES_LIST_OF_DECISIONS_H

#include "values/outcome_value.h"

namespace qvr {

// Evidence is the choice made, and leaves the table alone. Unlike that of a belief vector it isn't refused
// for an outcome that there isn't: such a call gives 0 and leaves no evidence.
class QVR_listOfDecisions : public OutcomeValue {
 public:
  QVR_listOfDecisions(QVR_network* newNetwork, int newHandle);
  QVR_listOfDecisions(const QVR_listOfDecisions& other) = default;  // deep clone; nobody is told

  int Assign(QVR_nodeValue& other) override;
  // Takes the table of its own class, and evidence of any class with outcomes, if their number fits.
  int AdoptValue(QVR_nodeValue& other) override;
  int Reinitialize() override;
  [[nodiscard]] int GetValueType() const override { return kValueListOfDecisions; }
  int SetEvidence(int outcome) override;  // -2 in conflict with a deduction
  int ClearEvidence() override;
  int SetPropagatedEvidence(int outcome) override;  // -2 if there is evidence
  int DropIndexingParents() override;

 private:
  int SetValueToEvidence(int outcome);
};

}  // namespace qvr

#endif
