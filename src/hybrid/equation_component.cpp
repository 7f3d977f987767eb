#include "hybrid/equation_component.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "definitions/equation_scc.h"

namespace qvr {

namespace {

constexpr double kLargestResidual = 0.001;  // of what the sides of the equations are together

}  // namespace

int EquationComponent::Prepare(QVR_network& network, const std::vector<int>& members) {
  handles = members;
  for (int handle : members) {
    const auto& definition = dynamic_cast<const QVR_equationSCC&>(*network.NodeAt(handle)->definition);
    const EquationPair& pair = definition.GetEquation();
    std::vector<int> known = members;
    for (const auto& [name, unused] : definition.sccVariables) {
      known.push_back(network.FindNode(name.c_str()));
    }
    if (!numbers.NamesOnly(handle, pair, std::move(known))) {
      return QVR_OUT_OF_RANGE;
    }
    equations.push_back(
        {CompiledExpression(*pair.left, numbers.Table()), CompiledExpression(*pair.right, numbers.Table())});
    slots.push_back(numbers.SlotOf(handle));
  }
  return QVR_OKAY;
}

void EquationComponent::Store(const std::vector<double>& stored) {
  for (std::size_t i = 0; i < slots.size(); ++i) {
    numbers.Table()[slots[i]] = stored[i];
  }
}

void EquationComponent::FindResiduals(const std::vector<double>& at, std::vector<double>& residuals) {
  Store(at);
  for (std::size_t i = 0; i < equations.size(); ++i) {
    residuals[i] = equations[i].right.Evaluate(numbers.Table()) - equations[i].left.Evaluate(numbers.Table());
  }
}

// A small step alone may be one on a matrix that is nearly singular, far from any root.
bool EquationComponent::Holds(const std::vector<double>& at) {
  Store(at);
  double missing = 0.0;
  double size = 1.0;
  for (Sides& equation : equations) {
    const double left = equation.left.Evaluate(numbers.Table());
    const double right = equation.right.Evaluate(numbers.Table());
    missing += std::abs(right - left);
    size += std::abs(left) + std::abs(right);
  }
  return std::isfinite(size) && missing <= kLargestResidual * size &&
         std::all_of(at.begin(), at.end(), [](double number) { return std::isfinite(number); });
}

int EquationComponent::Solve(double tolerance, int& iterations) {
  before.clear();
  for (int slot : slots) {
    before.push_back(numbers.Table()[slot]);
  }
  x.assign(slots.size(), 0.0);
  NewtonSolve(x, *this, tolerance, iterations, work);
  if (work.converged && Holds(x)) {
    return QVR_OKAY;
  }
  Store(before);
  return QVR_OUT_OF_RANGE;
}

}  // namespace qvr
