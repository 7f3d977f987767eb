// The conditional table of an equation's intervals, by sampling.
#include <algorithm>
#include <limits>
#include <new>
#include <utility>

#include "definitions/equation.h"
#include "expression/compiled_expression.h"
#include "expression/distribution_source.h"
#include "expression/value_table.h"
#include "model/error_log.h"
#include "model/network.h"

namespace qvr {

namespace {

constexpr double kLargest = std::numeric_limits<double>::max();

// A parent that is drawn uniformly from a range: from its bounds, or from one of its intervals.
struct DrawnParent {
  const QVR_equation* definition;
  int slot;  // of the value table
  double low;
  double high;
};

// Samples on one side of the bounds.
struct Outliers {
  long long count = 0;
  double extreme;

  void Add(double value, bool isBelow) {
    ++count;
    extreme = isBelow ? std::min(extreme, value) : std::max(extreme, value);
  }
};

// What an observed parent without intervals is.
enum class ObservedParents { DrawnAsOthers, Fixed };

class Discretization {
 public:
  Discretization(QVR_network& newNetwork, QVR_equation& newTarget, ObservedParents newObservedParents)
      : network(newNetwork),
        target(newTarget),
        observedParents(newObservedParents),
        sampleCount(std::max(0, newNetwork.discSamples)) {
    for (const DiscretizationInterval& interval : target.GetDiscIntervals()) {
      innerBounds.push_back(interval.upperBound);
    }
    innerBounds.pop_back();
    counts.resize(innerBounds.size() + 1);
  }

  // What each parent is, and the shape of the table.
  int Prepare(QVR_Dmatrix& table);
  // -6 without an explicit form.
  int Fill(std::uint32_t seed, QVR_Dmatrix& table, std::vector<std::vector<float>>* perConfigValues);
  void Report() const;

 private:
  int AddParent(int parent);
  void SetRanges(int configuration);
  void CountSamples(CompiledExpression& form, QVR_randomSource& source, std::vector<float>* kept);
  void Count(double value, std::vector<float>* kept);
  void WriteRow(bool avoidZero, std::span<double> row);

  QVR_network& network;
  QVR_equation& target;
  ObservedParents observedParents;
  int sampleCount;
  ValueTable values;
  std::vector<DrawnParent> drawn;
  std::vector<std::size_t> withIntervals;  // those of `drawn` that have a dimension, in its order
  std::vector<int> sizes;                  // of the table
  std::vector<double> innerBounds;         // the upper ends of all intervals but the last
  std::vector<int> counts;                 // samples of the present row, by interval
  int configurations = 1;
  int emptyConfigurations = 0;
  long long kept = 0;
  Outliers underflow{.extreme = kLargest};
  Outliers overflow{.extreme = -kLargest};
};

int Discretization::AddParent(int parent) {
  QVR_node& node = *network.NodeAt(parent);
  auto* definition = dynamic_cast<QVR_equation*>(node.definition.get());
  if (definition == nullptr) {
    return QVR_UNSOLVABLE;
  }
  const int slot = values.GetOrAddVariable(node.GetId());
  const auto intervalCount = static_cast<int>(definition->GetDiscIntervals().size());
  if (intervalCount > 0) {
    withIntervals.push_back(drawn.size());
    sizes.push_back(intervalCount);
  } else if (observedParents == ObservedParents::Fixed && node.value && node.value->HasRealEvidence()) {
    return node.value->GetDouble(values[slot]);
  } else if (definition->GetEquation().hasSingleVariable) {
    const QVR_expression* form = definition->GetSolved();
    if (form == nullptr) {
      return QVR_UNSOLVABLE;
    }
    values[slot] = form->EvaluateSigned();
    return QVR_OKAY;
  }
  drawn.push_back({definition, slot, definition->GetLowerBound(), definition->GetUpperBound()});
  return QVR_OKAY;
}

int Discretization::Prepare(QVR_Dmatrix& table) {
  for (int parent : network.GetParents(target.GetHandle())) {
    if (int status = AddParent(parent); status < 0) {
      return status;
    }
  }
  sizes.push_back(static_cast<int>(counts.size()));
  if (int status = table.SetDimensions(sizes); status < 0) {
    return status;
  }
  configurations = table.GetNumElements() / sizes.back();
  return QVR_OKAY;
}

// The last parent with intervals changes fastest.
void Discretization::SetRanges(int configuration) {
  for (std::size_t i = withIntervals.size(); i-- > 0;) {
    DrawnParent& parent = drawn[withIntervals[i]];
    parent.definition->GetIntervalBounds(configuration % sizes[i], parent.low, parent.high);
    configuration /= sizes[i];
  }
}

void Discretization::Count(double value, std::vector<float>* keptValues) {
  if (value < target.GetLowerBound()) {
    underflow.Add(value, true);
  } else if (value > target.GetUpperBound()) {
    overflow.Add(value, false);
  } else if (value == value) {
    const auto interval = std::upper_bound(innerBounds.begin(), innerBounds.end(), value);
    ++counts[static_cast<std::size_t>(interval - innerBounds.begin())];
    if (keptValues != nullptr) {
      keptValues->push_back(static_cast<float>(value));
    }
  }
}

void Discretization::CountSamples(CompiledExpression& form, QVR_randomSource& source,
                                  std::vector<float>* keptValues) {
  std::fill(counts.begin(), counts.end(), 0);
  for (int i = 0; i < sampleCount; ++i) {
    for (const DrawnParent& parent : drawn) {
      values[parent.slot] = parent.low + (parent.high - parent.low) * source.NextDouble();
    }
    Count(form.Evaluate(values), keptValues);
  }
}

void Discretization::WriteRow(bool avoidZero, std::span<double> row) {
  long long total = 0;
  for (int count : counts) {
    total += count;
  }
  kept += total;
  if (total == 0) {
    ++emptyConfigurations;
  }
  if (total == 0 || avoidZero) {
    for (int& count : counts) {
      total += count == 0 ? 1 : 0;
      count = std::max(count, 1);
    }
  }
  for (std::size_t i = 0; i < row.size(); ++i) {
    row[i] = static_cast<double>(counts[i]) / static_cast<double>(total);
  }
}

int Discretization::Fill(std::uint32_t seed, QVR_Dmatrix& table,
                         std::vector<std::vector<float>>* perConfigValues) {
  const QVR_expression* form = target.GetSolved();
  if (form == nullptr) {
    return QVR_UNSOLVABLE;
  }
  if (perConfigValues != nullptr) {
    perConfigValues->assign(static_cast<std::size_t>(configurations), {});
  }
  CompiledExpression program(*form, values);
  const bool avoidZero = network.discAvoidZero != 0 && !form->IsDeterministic();
  QVR_randomSource source(seed);
  const DistributionSourceScope scope(source);  // distributions in the formula draw from it too
  const std::span<double> cells = table.GetItems().Vector();
  for (int i = 0; i < configurations; ++i) {
    const auto place = static_cast<std::size_t>(i);
    SetRanges(i);
    CountSamples(program, source, perConfigValues != nullptr ? &(*perConfigValues)[place] : nullptr);
    WriteRow(avoidZero, cells.subspan(place * counts.size(), counts.size()));
  }
  return QVR_OKAY;
}

void Discretization::Report() const {
  if (underflow.count == 0 && overflow.count == 0 && emptyConfigurations == 0) {
    return;
  }
  std::string text = "Discretization problem in node " + network.NodeAt(target.GetHandle())->GetId() + ":";
  if (underflow.count > 0) {
    text += "  Underflow samples: " + std::to_string(underflow.count) +
            ", min=" + FormatGeneral(underflow.extreme, 6) +
            " loBound=" + FormatGeneral(target.GetLowerBound(), 6);
  }
  if (overflow.count > 0) {
    text += "  Overflow samples: " + std::to_string(overflow.count) +
            ", max=" + FormatGeneral(overflow.extreme, 6) +
            " hiBound=" + FormatGeneral(target.GetUpperBound(), 6);
  }
  if (underflow.count > 0 || overflow.count > 0) {
    text += "  Total valid samples: " + std::to_string(kept) + " of " +
            std::to_string(static_cast<long long>(sampleCount) * configurations);
  }
  if (emptyConfigurations > 0) {
    text += "  CPT configs with no valid samples: " + std::to_string(emptyConfigurations) + " of " +
            std::to_string(configurations);
  }
  GetErrorLog().Log(QVR_WRONG_SIZE, text);
}

int MakeTable(QVR_network& network, QVR_equation& target, ObservedParents observedParents, std::uint32_t seed,
              QVR_Dmatrix& table, std::vector<std::vector<float>>* perConfigValues) {
  try {
    Discretization run(network, target, observedParents);
    if (int status = run.Prepare(table); status < 0) {
      return status;
    }
    if (int status = run.Fill(seed, table, perConfigValues); status < 0) {
      return status;
    }
    run.Report();
  } catch (const std::bad_alloc&) {
    if (perConfigValues != nullptr) {
      perConfigValues->clear();
    }
    return QVR_OUT_OF_MEMORY;
  }
  return QVR_OKAY;
}

}  // namespace

int QVR_equation::Discretize(std::uint32_t seed, std::vector<std::vector<float>>* perConfigValues) {
  if (!IsReady()) {
    return QVR_OBJECT_NOT_READY;
  }
  if (intervals.empty()) {
    return QVR_OUT_OF_RANGE;
  }
  discretized.reset();
  std::unique_ptr<QVR_Dmatrix> table(new (std::nothrow) QVR_Dmatrix);
  if (!table) {
    return QVR_OUT_OF_MEMORY;
  }
  const int status =
      MakeTable(*network, *this, ObservedParents::DrawnAsOthers, seed, *table, perConfigValues);
  if (status >= 0) {
    discretized = std::move(table);
  }
  return status;
}

int QVR_equation::DiscretizeGivenEvidence(std::uint32_t seed, QVR_Dmatrix& table) {
  if (!IsReady()) {
    return QVR_OBJECT_NOT_READY;
  }
  if (intervals.empty()) {
    return QVR_OUT_OF_RANGE;
  }
  return MakeTable(*network, *this, ObservedParents::Fixed, seed, table, nullptr);
}

}  // namespace qvr
