// CAST: a binary node whose parents push it towards or away from truth (Chang, Lehner, Levis, Zaidi and
// Zhao 1994).
#ifndef QVR_DEFINITIONS_CAST_H
#define QVR_DEFINITIONS_CAST_H

#include <span>
#include <vector>

#include "definitions/binary_gate.h"

namespace qvr {

class QVR_cast : public QVR_binaryGate {
 public:
  QVR_cast(QVR_network* newNetwork, int newHandle);
  QVR_cast(const QVR_cast& other) = default;  // deep clone; nobody is told

  [[nodiscard]] int GetType() const override;
  [[nodiscard]] const char* GetTypeName() const override;

  // The chance of truth when nothing pushes: -2 outside 0 to 1.
  int SetBaseline(double value);
  // One for each parent, from -1 (makes false) to 1 (makes true): the push of its true state, and that of
  // any other state. -2 for another length.
  int SetPositiveWeights(const QVR_doubleArray& weights);
  int SetNegativeWeights(const QVR_doubleArray& weights);
  [[nodiscard]] double GetBaseline() const { return baseline; }
  [[nodiscard]] const std::vector<double>& GetPositiveWeights() const { return positiveWeights; }
  [[nodiscard]] const std::vector<double>& GetNegativeWeights() const { return negativeWeights; }

 protected:
  void ResetNumbers() override;
  void OpenParent(int place) override;
  void CloseParent(int place) override;
  void PermuteParents(std::span<const int> order) override;
  void SwapParentStates(int place) override;
  void ResetBase() override;
  void CopyNumbers(const QVR_binaryGate& other) override;
  void FillTable(std::span<const int> parentSizes, std::span<double> cells) const override;

 private:
  static constexpr double kDefaultBaseline = 0.5;

  int SetWeights(std::vector<double>& own, const QVR_doubleArray& weights);

  std::vector<double> positiveWeights;
  std::vector<double> negativeWeights;
  double baseline = kDefaultBaseline;
};

}  // namespace qvr

#endif
