#include "support/canonical_reference.h"

#include <algorithm>

#include "definitions/cast.h"
#include "definitions/demorgan.h"
#include "definitions/noisy_adder.h"
#include "definitions/noisy_max.h"
#include "support/network_builder.h"

namespace qvr {
namespace {

using Row = std::vector<double>;
using States = std::vector<int>;

Row RowOf(const QVR_ciDefinition& definition, int row) {
  const QVR_Dmatrix& parameters = definition.GetCiWeights();
  const int width = parameters.GetDimension(1);
  const double* first = &parameters.GetItems()[row * width];
  return {first, first + width};
}

Row LeakOf(const QVR_ciDefinition& definition) {
  return RowOf(definition, definition.GetCiWeights().GetDimension(0) - 1);
}

// Each parent puts the node at some outcome, on its own; the leak does; the most severe one shows.
Row NoisyMaxRow(const QVR_noisyMAX& definition, const States& states) {
  Row result = LeakOf(definition);
  int offset = 0;
  for (std::size_t i = 0; i < states.size(); ++i) {
    const std::vector<int>& owners = definition.GetStrengths(static_cast<int>(i));
    const auto place = std::find(owners.begin(), owners.end(), states[i]) - owners.begin();
    result = MoreSevere(result, RowOf(definition, offset + static_cast<int>(place)));
    offset += static_cast<int>(owners.size());
  }
  return result;
}

// The weighted mean of the leak and of all parents off their distinguished states, or what the only such
// parent says.
Row NoisyAdderRow(const QVR_noisyAdder& definition, const States& states, const States& sizes) {
  const bool isAverage = definition.GetFunction() == 0;
  std::vector<Row> active;
  Row weights;
  int offset = 0;
  for (std::size_t i = 0; i < states.size(); ++i) {
    if (states[i] != definition.GetParentDistinguishedStates()[i]) {
      active.push_back(RowOf(definition, offset + states[i]));
      weights.push_back(definition.GetParentWeights()[i]);
    }
    offset += sizes[i];
  }
  if (!isAverage) {
    return active.size() == 1 ? active[0] : LeakOf(definition);
  }
  active.push_back(LeakOf(definition));
  weights.push_back(definition.GetParentWeights().back());
  double total = 0;
  for (double weight : weights) {
    total += weight;
  }
  if (!(total > 0)) {
    return LeakOf(definition);
  }
  Row result(active[0].size(), 0.0);
  for (std::size_t i = 0; i < active.size(); ++i) {
    for (std::size_t j = 0; j < result.size(); ++j) {
      result[j] += active[i][j] * weights[i] / total;
    }
  }
  return result;
}

Row CastRow(const QVR_cast& definition, const States& states) {
  double againstFalse = 1;  // what the promoting influences leave of falsehood
  double againstTrue = 1;
  for (std::size_t i = 0; i < states.size(); ++i) {
    const double push =
        states[i] == 0 ? definition.GetPositiveWeights()[i] : definition.GetNegativeWeights()[i];
    (push < 0 ? againstTrue : againstFalse) *= push < 0 ? 1 + push : 1 - push;
  }
  double overall = 0;  // from -1 to 1
  if (againstTrue > againstFalse) {
    overall = 1 - againstFalse / againstTrue;
  } else if (againstTrue < againstFalse) {
    overall = againstTrue / againstFalse - 1;
  }
  const double base = definition.GetBaseline();
  const double truth = overall >= 0 ? base + (1 - base) * overall : base + base * overall;
  return {truth, 1 - truth};
}

Row DeMorganRow(const QVR_demorgan& definition, const States& states) {
  double falsehood = 1 - definition.GetPriorBelief();
  double uninhibited = 1;
  for (std::size_t i = 0; i < states.size(); ++i) {
    const double miss = 1 - definition.GetParentWeights()[i];
    const int type = definition.GetParentTypes()[i];
    falsehood *= (type == 2 && states[i] == 0) || (type == 3 && states[i] != 0) ? miss : 1;
    uninhibited *= (type == 0 && states[i] == 0) || (type == 1 && states[i] != 0) ? miss : 1;
  }
  const double truth = (1 - falsehood) * uninhibited;
  return {truth, 1 - truth};
}

Row ReferenceRow(const QVR_nodeDefinition& definition, const States& states, const States& sizes) {
  switch (definition.GetType()) {
    case kTypeNoisyMax:
      return NoisyMaxRow(dynamic_cast<const QVR_noisyMAX&>(definition), states);
    case kTypeNoisyAdder:
      return NoisyAdderRow(dynamic_cast<const QVR_noisyAdder&>(definition), states, sizes);
    case kTypeCast:
      return CastRow(dynamic_cast<const QVR_cast&>(definition), states);
    default:
      return DeMorganRow(dynamic_cast<const QVR_demorgan&>(definition), states);
  }
}

}  // namespace

std::vector<double> MoreSevere(const std::vector<double>& a, const std::vector<double>& b) {
  std::vector<double> result(a.size(), 0.0);
  for (std::size_t i = 0; i < a.size(); ++i) {
    for (std::size_t j = 0; j < b.size(); ++j) {
      result[std::min(i, j)] += a[i] * b[j];
    }
  }
  return result;
}

std::vector<double> ReferenceTable(QVR_network& network, int handle) {
  const int type = network.NodeAt(handle)->GetType();
  if (type != kTypeNoisyMax && type != kTypeNoisyAdder && type != kTypeCast && type != kTypeDeMorgan) {
    const QVR_Dmatrix* table = TableOf(network, handle);
    return table == nullptr ? Row()
                            : Row(table->GetItems().Vector().begin(), table->GetItems().Vector().end());
  }
  States sizes;
  for (int parent : network.GetParents(handle)) {
    sizes.push_back(network.NodeAt(parent)->GetNumberOfOutcomes());
  }
  States states(sizes.size(), 0);
  Row table;
  for (bool done = false; !done;) {
    const Row row = ReferenceRow(*network.NodeAt(handle)->definition, states, sizes);
    table.insert(table.end(), row.begin(), row.end());
    std::size_t i = sizes.size();
    while (i > 0 && ++states[i - 1] == sizes[i - 1]) {
      states[--i] = 0;
    }
    done = i == 0;
  }
  return table;
}

}  // namespace qvr
