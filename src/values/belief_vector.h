// The value of a discrete chance node: its posterior, and the state of its evidence.
#ifndef QVR_VALUES_BELIEF_VECTOR_H
#define QVR_VALUES_BELIEF_VECTOR_H

#include <memory>
#include <vector>

#include "values/outcome_value.h"

namespace qvr {

class QVR_beliefVector : public OutcomeValue {
 public:
  QVR_beliefVector(QVR_network* newNetwork, int newHandle);
  QVR_beliefVector(const QVR_beliefVector& other);  // deep clone; nobody is told

  void CleanUp(int deep) override;
  int Assign(QVR_nodeValue& other) override;
  int AdoptValue(QVR_nodeValue& other) override;
  int Reinitialize() override;
  [[nodiscard]] int GetValueType() const override { return kValueBeliefVector; }
  int SetEvidence(int outcome) override;
  int ClearEvidence() override;
  int SetPropagatedEvidence(int outcome) override;
  int GetVirtualEvidence(QVR_doubleArray& out) const override;
  int SetVirtualEvidence(const QVR_doubleArray& likelihoods) override;
  int ReorderOutcomes(const QVR_intArray& order) override;

 private:
  int SetValueToEvidence(int outcome);
  void DropVirtualEvidence();
  void StoreLikelihoods(std::vector<double> likelihoods);
  // Another belief vector's table, evidence and likelihoods, as far as they fit the outcomes.
  void AdoptBeliefs(QVR_beliefVector& other);

  std::unique_ptr<std::vector<double>> virtualEvidence;  // one likelihood for each outcome, or null
};

}  // namespace qvr

#endif
