// The equations of a simultaneous set, as one system.
#ifndef QVR_HYBRID_EQUATION_COMPONENT_H
#define QVR_HYBRID_EQUATION_COMPONENT_H

#include <vector>

#include "hybrid/equation_numbers.h"
#include "hybrid/newton.h"

namespace qvr {

// Reads all other nodes' numbers, and leaves its own, in the table of `numbers`, which must outlive it.
class EquationComponent final : public EquationSystem {
 public:
  explicit EquationComponent(EquationNumbers& newNumbers) : numbers(newNumbers) {}

  // The unknowns, handles in ascending order. -2 if an equation names what is neither a parent nor one of the
  // set.
  int Prepare(QVR_network& network, const std::vector<int>& members);
  // Starts at zero. -2, with the unknowns' numbers as they were, unless it ends where every equation holds;
  // `iterations` is the limit of passes and becomes their number.
  int Solve(double tolerance, int& iterations);
  void FindResiduals(const std::vector<double>& x, std::vector<double>& residuals) override;

  [[nodiscard]] const std::vector<int>& GetMembers() const { return handles; }

 private:
  struct Sides {
    CompiledExpression left;
    CompiledExpression right;
  };

  void Store(const std::vector<double>& x);
  [[nodiscard]] bool Holds(const std::vector<double>& x);

  EquationNumbers& numbers;
  std::vector<int> handles;
  std::vector<int> slots;  // of the unknowns
  std::vector<Sides> equations;
  std::vector<double> x;
  std::vector<double> before;
  NewtonWork work;
};

}  // namespace qvr

#endif
