// The definition of a continuous node: an equation over its parents.
#ifndef QVR_DEFINITIONS_EQUATION_H
#define QVR_DEFINITIONS_EQUATION_H

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "definitions/equation_definition.h"

namespace qvr {

// Reaches from the upper bound of the interval before, or from the definition's lower bound.
struct DiscretizationInterval {
  std::string id;
  double upperBound = 0.0;
};

// The parents are exactly the nodes that the equation names, in the order of its text, once it was set; an
// arc that is added or removed changes the equation.
class QVR_equation final : public EquationDefinition {
 public:
  QVR_equation(QVR_network* newNetwork, int newHandle);
  QVR_equation(const QVR_equation& other);  // deep clone; nobody is told

  [[nodiscard]] int GetType() const override { return kTypeEquation; }
  [[nodiscard]] const char* GetTypeName() const override { return "EQUATION"; }
  int AddParent(int parentHandle) override;
  int RemoveParent(int parentHandle) override;
  // Only from another QVR_equation; else -2 and the default form.
  int AdoptFrom(QVR_nodeDefinition& other) override;

  // Whether SetEquation would take the text. The outputs may be null: a message, and the place in the text
  // behind the token that is wrong, 0 where the fault isn't one of syntax.
  bool ValidateEquation(const char* text, int* errorPosition, std::string* errorText);
  // Takes on the equation, and arcs from exactly the nodes that it names. -2, which is logged, for a text
  // that isn't valid; the code of an arc that the network refuses. Both leave equation and arcs alone.
  int SetEquation(const char* text, int* errorPosition = nullptr, std::string* errorText = nullptr);
  // Any bounds are taken; the last interval ends at the upper one.
  int SetBounds(double lower, double upper);
  [[nodiscard]] double GetLowerBound() const { return lowerBound; }
  [[nodiscard]] double GetUpperBound() const { return upperBound; }
  [[nodiscard]] const std::vector<DiscretizationInterval>& GetDiscIntervals() const { return intervals; }
  // None, to end the discretisation (-2 without one), or at least two (-2). Ids are repaired, and -32 if two
  // are the same. -4 unless the bounds, the last one left out, strictly increase within the definition's.
  int SetDiscIntervals(std::vector<DiscretizationInterval> newIntervals);
  // -51 without intervals, -2 for a bad index.
  int GetIntervalBounds(int index, double& lower, double& upper) const;

  // Makes the explicit form anew: what the node equals. Null, with -6 in the log, unless the equation is
  // solved for the node already. The form is this definition's; its variables must not be bound.
  const QVR_expression* Solve();
  // The same, made only if need be.
  const QVR_expression* GetSolved() { return solved ? solved.get() : Solve(); }

  // Makes the conditional table of the intervals by sampling. It has a dimension for each parent with
  // intervals; the others are drawn from their bounds, or fixed if their equation is a constant. A seed of 0
  // stands for one that differs from run to run. `perConfigValues`, which may be null, gets the samples
  // within the bounds, one list for each row. -2 without intervals, -6 if this node or a constant parent has
  // no explicit form or a parent is of another type, -42. Samples out of bounds are logged as -4, with the
  // result 0. Follows the network's discSamples and discAvoidZero.
  int Discretize(std::uint32_t seed, std::vector<std::vector<float>>* perConfigValues);
  // The same table for present evidence alone: an observed parent without intervals is fixed at its number.
  // Nothing is kept. Codes as above.
  int DiscretizeGivenEvidence(std::uint32_t seed, QVR_Dmatrix& table);
  // The table as it was last made; null since anything changed that it was made from.
  [[nodiscard]] const QVR_Dmatrix* GetDiscretized() const { return discretized.get(); }

 protected:
  void ForgetResults() override { solved.reset(); }
  void ForgetTable() override { discretized.reset(); }

 private:
  bool ParseValid(const char* text, int* errorPosition, std::string& errorText, EquationPair& parsed);
  // Empty if the node may name these.
  [[nodiscard]] std::string FindFault(const std::vector<std::string>& names) const;
  int ReplaceParents(const std::vector<int>& wanted);
  int AddParents(const std::vector<int>& handles);
  void RemoveParents();
  [[nodiscard]] int TestIntervals(const std::vector<DiscretizationInterval>& tested) const;

  double lowerBound = -1.0;
  double upperBound = 1.0;
  ExpressionPtr solved;  // the explicit form, or null
  std::vector<DiscretizationInterval> intervals;
  std::unique_ptr<QVR_Dmatrix> discretized;  // or null
  bool replacingParents = false;             // the equation will fit once the arcs stand
};

}  // namespace qvr

#endif
