#include "hybrid/equation_sampling.h"

#include <algorithm>
#include <cmath>
#include <optional>
#include <utility>

#include "definitions/equation_scc.h"
#include "model/error_log.h"

namespace qvr {

namespace {

// Once a set has used up its patience, a pass without a solution still ends in bounded time.
constexpr int kLeastPatience = 1000;

QVR_equation* EquationAt(QVR_network& network, int handle) {
  return dynamic_cast<QVR_equation*>(network.NodeAt(handle)->definition.get());
}

}  // namespace

int EquationSampling::Prepare() {
  if (static_cast<long long>(network.sampleCount) * network.GetNumberOfNodes() >
      QVR_valEqEvaluation::kMaxSamples) {
    return QVR_OUT_OF_MEMORY;  // the count may come from a file
  }
  if (int status = OrderEquations(network, order); status < 0) {
    return status;
  }
  if (int status = TestForms(); status < 0) {
    return status;
  }
  rejectOutliers = network.rejectOutliers != 0;
  varying.assign(static_cast<std::size_t>(network.GetTableSize()), 0);
  for (const EquationUnit& unit : order) {
    if (int status = Add(unit); status < 0) {
      return status;
    }
  }
  return QVR_OKAY;
}

// Before any value is touched.
int EquationSampling::TestForms() {
  for (const EquationUnit& unit : order) {
    QVR_equation* definition = EquationAt(network, unit.members.front());
    if (definition != nullptr && definition->GetSolved() == nullptr) {
      return QVR_UNSOLVABLE;
    }
  }
  return QVR_OKAY;
}

int EquationSampling::Add(const EquationUnit& unit) {
  for (int member : unit.members) {
    EquationValue(network, member)->PrepareSamples(network.sampleCount);
  }
  const int first = unit.members.front();
  const QVR_valEqEvaluation& value = *EquationValue(network, first);
  if (value.HasEvidence()) {
    double number = 0.0;
    value.GetDouble(number);
    Fix(first, number);
    return QVR_OKAY;
  }
  return unit.isComponent ? AddSet(unit) : AddEquation(first);
}

void EquationSampling::Fix(int handle, double number) {
  numbers.Of(handle) = number;
  QVR_valEqEvaluation& value = *EquationValue(network, handle);
  value.AddSample(number, 1.0);
  value.FinishSamples();
}

bool EquationSampling::AnyVaries(const QVR_intArray& handles) const {
  return std::any_of(handles.begin(), handles.end(), [this](int handle) { return Varies(handle); });
}

int EquationSampling::AddEquation(int handle) {
  QVR_equation& definition = *EquationAt(network, handle);
  std::optional<CompiledExpression> program;
  if (int status = numbers.Compile(definition, program); status < 0) {
    return status;
  }
  if (definition.GetEquation().hasSingleVariable) {
    Fix(handle, program->Evaluate(numbers.Table()));
    return QVR_OKAY;
  }
  turns.push_back({false, equations.size()});
  equations.push_back({EquationValue(network, handle), numbers.SlotOf(handle), definition.GetLowerBound(),
                       definition.GetUpperBound(), std::move(*program)});
  // What no pass accepts isn't known to the sets below, which then can't be solved once for all.
  const bool varies = definition.GetEquation().isStochastic || AnyVaries(network.GetParents(handle)) ||
                      !Accept(equations.back());
  varying[static_cast<std::size_t>(handle)] = varies ? 1 : 0;
  return QVR_OKAY;
}

bool EquationSampling::IsSetVarying(const EquationUnit& unit) const {
  for (int member : unit.members) {
    const auto& definition = dynamic_cast<const QVR_equationSCC&>(*network.NodeAt(member)->definition);
    for (const auto& [name, unused] : definition.sccVariables) {
      if (Varies(network.FindNode(name.c_str()))) {
        return true;
      }
    }
    if (AnyVaries(network.GetParents(member))) {
      return true;
    }
  }
  return false;
}

int EquationSampling::AddSet(const EquationUnit& unit) {
  SampledSet set{EquationComponent(numbers), solver.maxIterations};
  int status = set.component.Prepare(network, unit.members);
  const bool varies = IsSetVarying(unit);
  if (status >= 0 && !varies) {
    status = solver.SolveComponent(set.component);
  }
  if (status < 0) {
    return GetErrorLog().Log(status, "Failed in computing SCC.");
  }
  for (int member : unit.members) {
    varying[static_cast<std::size_t>(member)] = varies ? 1 : 0;
    if (!varies) {
      Fix(member, numbers.Of(member));
    }
  }
  if (varies) {
    turns.push_back({true, sets.size()});
    sets.push_back(std::move(set));
  }
  return QVR_OKAY;
}

bool EquationSampling::Accept(SampledEquation& equation) {
  const double number = equation.program.Evaluate(numbers.Table());
  if (rejectOutliers && !(number >= equation.lower && number <= equation.upper)) {
    return false;
  }
  numbers.Table()[equation.slot] = number;
  return true;
}

void EquationSampling::DrawEquation(SampledEquation& equation) {
  if (Accept(equation)) {
    equation.value->AddSample(numbers.Table()[equation.slot], 1.0);
  }
}

void EquationSampling::DrawSet(SampledSet& set) {
  int iterations = std::max(set.patience, kLeastPatience);
  if (set.component.Solve(solver.tolerance, iterations) < 0) {
    set.patience -= std::min(set.patience, iterations);
    set.hasFailed = true;
    return;
  }
  for (int member : set.component.GetMembers()) {
    EquationValue(network, member)->AddSample(numbers.Of(member), 1.0);
  }
}

void EquationSampling::DrawPass() {
  for (const Turn& turn : turns) {
    if (turn.isSet) {
      DrawSet(sets[turn.place]);
    } else {
      DrawEquation(equations[turn.place]);
    }
  }
}

void EquationSampling::Draw() {
  for (int pass = 0; pass < network.sampleCount; ++pass) {
    DrawPass();
  }
}

int EquationSampling::Finish() {
  bool allUseful = true;
  for (const EquationUnit& unit : order) {
    for (int member : unit.members) {
      QVR_valEqEvaluation& value = *EquationValue(network, member);
      value.FinishSamples();
      if (std::isnan(value.minimum)) {
        value.SetValueInvalid();
        allUseful = false;
      }
    }
  }
  for (const SampledSet& set : sets) {
    if (set.hasFailed) {
      GetErrorLog().Log(QVR_OUT_OF_RANGE, "Failed in solving nonlinear quations.");
    }
  }
  return allUseful
             ? QVR_OKAY
             : GetErrorLog().Log(QVR_NO_SAMPLES, "No useful samples have been generated for some of nodes.");
}

int EquationSolver::SolveStochastic() {
  EquationSampling run(network, *this);
  if (int status = run.Prepare(); status < 0) {
    return status;
  }
  run.Draw();
  return run.Finish();
}

}  // namespace qvr
