#include "hybrid/hybrid_solver.h"

#include <cmath>
#include <cstdint>

#include "hybrid/hybrid_sampler.h"
#include "hybrid/message_passing.h"
#include "inference/sample_network.h"
#include "inference/solver_entries.h"
#include "values/continuous_value.h"
#include "values/eq_evaluation.h"

namespace qvr {

namespace {

// What an earlier run deduced would count as evidence.
void ClearResults(QVR_network& network) {
  for (int handle = network.FirstNode(); handle >= 0; handle = network.NextNode(handle)) {
    QVR_nodeValue* value = network.NodeAt(handle)->value.get();
    if (value == nullptr) {
      continue;
    }
    if (value->GetValueType() == kValueContinuous) {
      value->ClearPropagatedEvidence();
    }
    if (!value->HasRealEvidence()) {
      value->SetValueInvalid();
    }
  }
}

int RunChosen(HybridSolver& solver, int algorithm) {
  switch (algorithm) {
    case 13:
      return solver.SolveByBoth();
    case 15:
      return solver.SolveByMessages();
    default:
      return solver.SolveBySampling();
  }
}

}  // namespace

int SolveHybridNetwork(QVR_network& network) {
  const int algorithm = network.GetHybridAlgorithm();
  if (algorithm < 13 || algorithm > 16) {
    return QVR_OUT_OF_RANGE;
  }
  ClearResults(network);
  HybridSolver solver(network);
  const int status = RunChosen(solver, algorithm);
  return status < 0 && status != QVR_OUT_OF_MEMORY ? ReportNoSamples() : status;
}

HybridSolver::HybridSolver(QVR_network& newNetwork) : compiled(newNetwork) {
  if (compiled.Build() < 0) {
    flags |= kUnsupportedNode;
  }
}

int HybridSolver::SolveByBoth() {
  if ((flags & kUnsupportedNode) == 0 && compiled.HasEvidence()) {
    PassMessages();
    flags |= kMessagesPropose;
  }
  return SolveBySampling();
}

int HybridSolver::SolveBySampling() {
  if ((flags & kUnsupportedNode) != 0) {
    return QVR_OUT_OF_RANGE;
  }
  const int sampleCount = compiled.network.sampleCount;
  if (static_cast<std::int64_t>(sampleCount) * compiled.GetSize() > QVR_valEqEvaluation::kMaxSamples) {
    return QVR_OUT_OF_MEMORY;  // the count may come from a file
  }
  std::vector<bool> mixes(compiled.nodes.size());
  std::vector<int> requested;
  for (const auto& node : compiled.nodes) {
    mixes[static_cast<std::size_t>(node->slot)] =
        (flags & kMessagesPropose) != 0 && !node->IsKnown() && node->belief->HasWeight();
    if (!node->IsKnown() && IsRequested(*node)) {
      requested.push_back(node->slot);
    }
  }
  HybridSampler sampler(compiled, mixes, std::move(requested));
  sampler.Run(sampleCount);
  return WriteSamples(sampler);
}

int HybridSolver::SolveByMessages() {
  if ((flags & kUnsupportedNode) != 0) {
    return QVR_OUT_OF_RANGE;
  }
  PassMessages();
  WriteFixedNodes();
  for (const auto& node : compiled.nodes) {
    if (node->IsKnown() || !IsRequested(*node) || !node->belief->HasWeight()) {
      continue;
    }
    if (node->IsDiscrete()) {
      WriteVector(*node, static_cast<const QVR_discreteMessage&>(*node->belief).GetVector());
    } else {
      WritePairs(static_cast<const QVR_continuousSampleNode&>(*node),
                 static_cast<const QVR_continuousMessage&>(*node->belief).GetSamples());
    }
  }
  return QVR_OKAY;
}

void HybridSolver::PassMessages() { MessagePassing(compiled, *this).Run(); }

bool HybridSolver::IsRequested(const QVR_hybridSampleNode& node) const {
  return compiled.network.GetTargetCount() == 0 || compiled.network.IsTarget(node.handle) == 1;
}

int HybridSolver::WriteSamples(const HybridSampler& sampler) {
  const std::vector<double> weights = sampler.GetWeights();
  if (weights.empty()) {
    return QVR_OUT_OF_RANGE;
  }
  WriteFixedNodes();
  for (std::size_t i = 0; i < sampler.GetRequested().size(); ++i) {
    const QVR_hybridSampleNode& node = compiled[sampler.GetRequested()[i]];
    const std::vector<double>& column = sampler.GetColumn(i);
    if (node.IsDiscrete()) {
      QVR_discreteMessage posterior(static_cast<const QVR_discreteSampleNode&>(node).outcomeCount);
      for (std::size_t sample = 0; sample < column.size(); ++sample) {
        posterior.AddValue(column[sample], weights[sample]);
      }
      posterior.Normalize();
      WriteVector(node, posterior.GetVector());
      continue;
    }
    std::vector<WeightedSample> pairs;
    pairs.reserve(column.size());
    for (std::size_t sample = 0; sample < column.size(); ++sample) {
      pairs.push_back({column[sample], weights[sample]});
    }
    WritePairs(static_cast<const QVR_continuousSampleNode&>(node), std::move(pairs));
  }
  return QVR_OKAY;
}

// Deduced outcomes are results, too.
void HybridSolver::WriteFixedNodes() {
  for (const auto& node : compiled.nodes) {
    QVR_nodeValue& value = *compiled.network.NodeAt(node->handle)->value;
    const double number = compiled.table[node->slot];
    if (node->isFixed && std::isfinite(number)) {
      value.SetPropagatedValue(number);
    } else if (node->isObserved && node->IsDiscrete()) {
      value.SetValueValid();
    }
  }
}

void HybridSolver::WritePairs(const QVR_continuousSampleNode& node, std::vector<WeightedSample> pairs) {
  std::erase_if(pairs, [](const WeightedSample& pair) {
    return !std::isfinite(pair.value) || !std::isfinite(pair.weight);
  });
  if (pairs.empty()) {
    return;
  }
  auto& value = static_cast<QVR_valcontinuous&>(*compiled.network.NodeAt(node.handle)->value);
  value.sampleCount = static_cast<int>(pairs.size());
  value.density.low = node.lowerBound;
  value.density.high = node.upperBound;
  value.density.samples = pairs;
  value.density.tolerance = densityTolerance;
  value.density.bound = densityBound;
  value.samples = std::move(pairs);
  value.SetValueValid();
}

void HybridSolver::WriteVector(const QVR_hybridSampleNode& node, const std::vector<double>& vector) {
  QVR_nodeValue& value = *compiled.network.NodeAt(node.handle)->value;
  QVR_Dmatrix* matrix = nullptr;
  if (value.ShapeAsVector(static_cast<int>(vector.size())) < 0 || value.GetValueMatrix(matrix) < 0) {
    return;
  }
  for (std::size_t outcome = 0; outcome < vector.size(); ++outcome) {
    matrix->Subscript(static_cast<int>(outcome)) = vector[outcome];
  }
  value.SetValueValid();
}

}  // namespace qvr
