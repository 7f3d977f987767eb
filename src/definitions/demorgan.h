// DeMorgan gate: a binary node with promoting and inhibiting binary influences (Maaskant and Druzdzel 2008).
#ifndef QVR_DEFINITIONS_DEMORGAN_H
#define QVR_DEFINITIONS_DEMORGAN_H

#include <span>
#include <vector>

#include "definitions/binary_gate.h"

namespace qvr {

enum InfluenceType : int {
  kInhibitor = 0,    // makes false when true
  kRequirement = 1,  // makes false when not true
  kCause = 2,        // makes true when true
  kBarrier = 3,      // makes true when not true
};

class QVR_demorgan : public QVR_binaryGate {
 public:
  QVR_demorgan(QVR_network* newNetwork, int newHandle);
  QVR_demorgan(const QVR_demorgan& other) = default;  // deep clone; nobody is told

  [[nodiscard]] int GetType() const override;
  [[nodiscard]] const char* GetTypeName() const override;

  // The chance of truth when nothing acts: -2 outside 0 to 1.
  int SetPriorBelief(double value);
  // One for each parent: how likely it has its effect when it acts; and its InfluenceType. -2 for another
  // length and for no such type.
  int SetParentWeights(const QVR_doubleArray& weights);
  int SetParentTypes(const QVR_intArray& types);
  [[nodiscard]] double GetPriorBelief() const { return priorBelief; }
  [[nodiscard]] const std::vector<double>& GetParentWeights() const { return parentWeights; }
  [[nodiscard]] const std::vector<int>& GetParentTypes() const { return parentTypes; }

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
  static constexpr double kDefaultBelief = 0.5;

  std::vector<int> parentTypes;
  std::vector<double> parentWeights;
  double priorBelief = kDefaultBelief;
};

}  // namespace qvr

#endif
