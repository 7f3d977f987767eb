// The value of an equation node: samples with their statistics, or a posterior over intervals.
#ifndef QVR_VALUES_EQ_EVALUATION_H
#define QVR_VALUES_EQ_EVALUATION_H

#include <vector>

#include "values/density_estimate.h"
#include "values/node_value.h"

namespace qvr {

// Evidence is a number. A solver fills the value by PrepareSamples, AddSample for each and FinishSamples, or
// by one of SetExactNumber, SetWeightedSamples and SetDiscretePosterior; in between it isn't valid.
class QVR_valEqEvaluation : public QVR_nodeValue {
 public:
  static constexpr int kMaxSamples = 268'435'455;

  QVR_valEqEvaluation(QVR_network* newNetwork, int newHandle) : QVR_nodeValue(newNetwork, newHandle) {}
  QVR_valEqEvaluation(const QVR_valEqEvaluation& other) = default;  // deep clone; nobody is told

  // Takes from a value of this class all but minimum, maximum and exact, from others nothing.
  int AdoptValue(QVR_nodeValue& other) override;
  [[nodiscard]] int GetValueType() const override { return kValueEqEvaluation; }
  int AddIndexingParent(int /*parentHandle*/) override { return QVR_WRONG_NODE_TYPE; }
  int GetDouble(double& out) const override;  // the evidence, or the propagated number
  int SetEvidenceValue(double newValue) override;
  int ClearEvidence() override;
  int ClearPropagatedEvidence() override;
  // The flag of real evidence goes up, too. The network isn't told.
  int SetPropagatedValue(double newValue) override;

  // Empties the results. -42 for more than kMaxSamples expected, with nothing changed.
  int PrepareSamples(int expected);
  void AddSample(double newValue, double weight) { samples.push_back({newValue, weight}); }
  void FinishSamples();
  // Mean, deviation and range of those samples that are finite; weights play no part. What can't be said of
  // so few is not a number.
  void ComputeStatistics();
  // The result is this number, without samples.
  void SetExactNumber(double number);
  // Keeps the samples and their weighted mean; weights that are all 0 become 1. -2 for none, which empties
  // the results.
  int SetWeightedSamples(std::vector<WeightedSample> pairs);
  // One number for each interval of the definition. -51 if that has none, -2 for another count.
  int SetDiscretePosterior(const QVR_doubleArray& posterior);

  [[nodiscard]] const std::vector<WeightedSample>& GetSamples() const { return samples; }
  [[nodiscard]] const std::vector<double>& GetDiscretePosterior() const { return discretePosterior; }

  // A deviation of -1 says that the mean is weighted; both -1 that the result is a posterior over intervals.
  double mean = 0.0;
  double stdDeviation = 0.0;
  double minimum = 0.0;
  double maximum = 0.0;
  char exact = 0;  // 1 once the statistics stand

 private:
  double value = 0.0;
  std::vector<WeightedSample> samples;
  std::vector<double> discretePosterior;
};

}  // namespace qvr

#endif
