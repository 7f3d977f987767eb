#include "hybrid/hybrid_sample_node.h"

#include <algorithm>
#include <cmath>

#include "hybrid/hybrid_random.h"

namespace qvr {

namespace {

// -1 if no outcome has a probability above 0.
int DrawOutcome(std::span<const double> row) {
  double sum = 0.0;
  for (const double weight : row) {
    sum += weight > 0.0 ? weight : 0.0;
  }
  double rest = OutcomeSource().NextDouble() * sum;
  int last = -1;
  for (std::size_t outcome = 0; outcome < row.size(); ++outcome) {
    if (row[outcome] > 0.0) {
      last = static_cast<int>(outcome);
      if (rest < row[outcome]) {
        break;
      }
      rest -= row[outcome];
    }
  }
  return last;
}

}  // namespace

std::span<const double> QVR_discreteSampleNode::GetRow(const ValueTable& table) {
  const auto count = static_cast<std::size_t>(outcomeCount);
  const std::size_t first = Combination(table) * count;
  if (!cells.empty()) {
    return std::span(cells).subspan(first, count);
  }
  for (std::size_t outcome = 0; outcome < count; ++outcome) {
    row[outcome] = formulas[first + outcome].Evaluate(table);
  }
  MakeDistribution(row);
  return row;
}

bool QVR_discreteSampleNode::Draw(ValueTable& table) {
  const int outcome = DrawOutcome(GetRow(table));
  table[slot] = std::max(outcome, 0);
  return outcome >= 0;
}

double QVR_discreteSampleNode::DrawFromMixture(ValueTable& table) {
  const auto& vector = static_cast<const QVR_discreteMessage&>(*belief).GetVector();
  const std::span<const double> law = GetRow(table);
  const bool byLaw = OutcomeSource().NextDouble() < 0.5;
  const int outcome = DrawOutcome(byLaw ? law : std::span<const double>(vector));
  if (outcome < 0) {
    return 0.0;
  }
  table[slot] = outcome;
  const auto place = static_cast<std::size_t>(outcome);
  return law[place] / (0.5 * law[place] + 0.5 * vector[place]);
}

double QVR_discreteSampleNode::Weigh(const ValueTable& table) {
  return GetRow(table)[static_cast<std::size_t>(table[slot])];
}

double QVR_discreteSampleNode::GetLikelihood(const ValueTable& table) const {
  return likelihoods.empty() ? 1.0 : likelihoods[static_cast<std::size_t>(table[slot])];
}

std::unique_ptr<QVR_hybridMessage> QVR_discreteSampleNode::MakeMessage(double /*densityTolerance*/) const {
  return std::make_unique<QVR_discreteMessage>(outcomeCount);
}

bool QVR_continuousSampleNode::Draw(ValueTable& table) {
  table[slot] = IsEquation() ? GetEquation(table).Evaluate(table) : GetLaw(table).Draw(table);
  return true;
}

// A law that counts has no density to compare with that of the message.
double QVR_continuousSampleNode::DrawFromMixture(ValueTable& table) {
  if (IsEquation() || GetLaw(table).Counts()) {
    return Draw(table) ? 1.0 : 0.0;
  }
  LawProgram& law = GetLaw(table);
  const bool byLaw = MessageSource().NextDouble() < 0.5;
  const double x = byLaw ? law.Draw(table) : belief->DrawValue();
  table[slot] = x;
  const double density = law.Weigh(x, table);
  return density / (0.5 * density + 0.5 * belief->GetDensity(x));
}

double QVR_continuousSampleNode::Weigh(const ValueTable& table) {
  return IsEquation() ? 1.0 : GetLaw(table).Weigh(table[slot], table);
}

std::unique_ptr<QVR_hybridMessage> QVR_continuousSampleNode::MakeMessage(double densityTolerance) const {
  return std::make_unique<QVR_continuousMessage>(lowerBound, upperBound, densityTolerance);
}

bool QVR_continuousSampleNode::HasInverse(int parent) {
  return IsEquation() && std::all_of(equations.begin(), equations.end(), [&](EquationProgram& equation) {
           return equation.FindInverse(parent) != nullptr;
         });
}

bool QVR_continuousSampleNode::IsDeterministic() const {
  return IsEquation() && std::all_of(equations.begin(), equations.end(), [](const EquationProgram& equation) {
           return equation.IsDeterministic();
         });
}

bool QVR_continuousSampleNode::CountsSomewhere() const {
  return std::any_of(laws.begin(), laws.end(), [](const LawProgram& law) { return law.Counts(); });
}

}  // namespace qvr
