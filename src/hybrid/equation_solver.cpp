#include "hybrid/equation_solver.h"

#include <optional>

#include "inference/solver_entries.h"
#include "model/error_log.h"

namespace qvr {

namespace {

int Refuse(const char* reason) { return GetErrorLog().Log(QVR_OUT_OF_RANGE, reason); }

}  // namespace

int EquationSolver::Run() {
  if (int status = RefuseForeignNodes(network); status < 0) {
    return status;
  }
  bool isStochastic = false;
  for (int handle = network.FirstNode(); handle >= 0; handle = network.NextNode(handle)) {
    const QVR_node& node = *network.NodeAt(handle);
    const auto* definition = dynamic_cast<const EquationDefinition*>(node.definition.get());
    const bool draws = definition != nullptr && definition->GetEquation().isStochastic;
    if (draws && node.GetType() == kTypeEquationScc) {
      return Refuse(
          "Unable to solve: the network contains strongly-coupled components with distribution definitions.");
    }
    isStochastic = isStochastic || draws;
  }
  return isStochastic ? SolveStochastic() : SolveDeterministic();
}

int EquationSolver::EvaluateNode(QVR_network& network, int handle, EquationNumbers& numbers, double& value) {
  std::optional<CompiledExpression> program;
  auto& definition = dynamic_cast<QVR_equation&>(*network.NodeAt(handle)->definition);
  if (int status = numbers.Compile(definition, program); status < 0) {
    return status;
  }
  value = program->Evaluate(numbers.Table());
  return QVR_OKAY;
}

int EquationSolver::SolveComponent(EquationComponent& component) {
  int iterations = maxIterations;
  if (component.Solve(tolerance, iterations) < 0) {
    return Refuse("Failed in solving nonlinear quations.");
  }
  return QVR_OKAY;
}

int EquationSolver::EvaluateUnit(const EquationUnit& unit, EquationNumbers& numbers) {
  const int first = unit.members.front();
  const QVR_valEqEvaluation& value = *EquationValue(network, first);
  if (value.HasEvidence()) {
    return value.GetDouble(numbers.Of(first));
  }
  if (!unit.isComponent) {
    return EvaluateNode(network, first, numbers, numbers.Of(first));
  }
  EquationComponent component(numbers);
  int status = component.Prepare(network, unit.members);
  if (status >= 0) {
    status = SolveComponent(component);
  }
  return status < 0 ? GetErrorLog().Log(status, "Failed in computing SCC.") : QVR_OKAY;
}

int EquationSolver::SolveDeterministic() {
  std::vector<EquationUnit> order;
  if (int status = OrderEquations(network, order); status < 0) {
    return status;
  }
  EquationNumbers numbers(network);
  for (const EquationUnit& unit : order) {
    if (int status = EvaluateUnit(unit, numbers); status < 0) {
      return status;
    }
    for (int member : unit.members) {
      EquationValue(network, member)->SetExactNumber(numbers.Of(member));
    }
  }
  return QVR_OKAY;
}

int RefuseForeignNodes(const QVR_network& network) {
  for (int handle = network.FirstNode(); handle >= 0; handle = network.NextNode(handle)) {
    const int type = network.NodeAt(handle)->GetType();
    if (type != kTypeNone && type != kTypeEquation && type != kTypeEquationScc) {
      return Refuse("Unable to handle hybrid networks with equation solver.");
    }
  }
  return QVR_OKAY;
}

int RunEquationSolver(QVR_network& network) { return EquationSolver(network).Run(); }

}  // namespace qvr
