#include "values/mau_expected_utility.h"

#include <algorithm>
#include <optional>
#include <vector>

#include "definitions/mau.h"
#include "expression/compiled_expression.h"
#include "expression/value_table.h"
#include "model/network.h"
#include "model/special_numbers.h"
#include "model/system_coordinates.h"

namespace qvr {

namespace {

// A place in another table, as a linear function of the coordinates in the value's own.
struct Projection {
  const QVR_Dmatrix* table = nullptr;
  bool fits = true;  // false if the tables don't agree on a dimension
  int base = 0;
  std::vector<int> steps;  // for each own coordinate

  [[nodiscard]] int At(const QVR_intArray& coordinates) const {
    int index = base;
    for (std::size_t k = 0; k < steps.size(); ++k) {
      index += coordinates[static_cast<int>(k)] * steps[k];
    }
    return index;
  }
};

int OutcomeOf(const QVR_network& network, int handle) {
  const QVR_node* node = network.NodeAt(handle);
  return node != nullptr && node->value ? std::max(0, node->value->GetEvidence()) : 0;
}

// Works out where the numbers for a combination of indexing parents stand elsewhere.
class Projector {
 public:
  Projector(const QVR_network& newNetwork, const QVR_intArray& newIndexing, const QVR_Dmatrix& newTable)
      : network(newNetwork), indexing(newIndexing), table(newTable) {}

  // The place of a parent's utility.
  [[nodiscard]] Projection MapParentCoordinates(QVR_nodeValue& parent) const {
    const QVR_intArray& parentIndexing = parent.GetIndexingParents();
    Projection result = Start(parent.GetMatrix());
    result.fits =
        result.table != nullptr && result.table->GetNumDimensions() == parentIndexing.GetNumItems() + 1;
    for (int j = 0; result.fits && j < parentIndexing.GetNumItems(); ++j) {
      Follow(parentIndexing[j], j, result.table->GetStride(j), result);
    }
    return result;
  }

  // The place of the first weight, or of the formula.
  [[nodiscard]] Projection MapDecisions(const QVR_mau& definition) const {
    QVR_intArray decisions;
    definition.GetDecisionParents(decisions);
    const MauExpressionTable* formulas = definition.GetExpressionTable();
    Projection result = Start(&definition.GetWeights());
    for (int i = 0; result.fits && i < decisions.GetNumItems(); ++i) {
      Follow(decisions[i], i, formulas != nullptr ? formulas->GetStrides()[i] : result.table->GetStride(i),
             result);
    }
    return result;
  }

 private:
  [[nodiscard]] Projection Start(const QVR_Dmatrix* other) const {
    Projection result;
    result.table = other;
    result.steps.resize(static_cast<std::size_t>(indexing.GetNumItems()));
    return result;
  }

  // Goes along a dimension of the other table, which belongs to the node.
  void Follow(int handle, int dimension, int stride, Projection& out) const {
    const int size = out.table->GetDimension(dimension);
    const int own = indexing.Find(handle);
    if (own >= 0) {
      out.steps[static_cast<std::size_t>(own)] += stride;
      out.fits = table.GetDimension(own) == size;
    } else {
      const int outcome = OutcomeOf(network, handle);
      out.base += outcome * stride;
      out.fits = outcome < size;
    }
  }

  const QVR_network& network;
  const QVR_intArray& indexing;
  const QVR_Dmatrix& table;
};

// What the definition makes of the utilities of its parents.
class Combination {
 public:
  Combination(const QVR_network& network, const QVR_mau& newDefinition)
      : definition(newDefinition), formulas(newDefinition.GetExpressionTable()) {
    QVR_intArray others;
    definition.GetOtherParents(others);
    for (int parent : others) {
      slots.push_back(variables.GetOrAddVariable(network.NodeAt(parent)->GetId()));
    }
    if (formulas != nullptr) {
      compiled.resize(static_cast<std::size_t>(formulas->GetSize()));
    }
  }

  [[nodiscard]] double EvaluateMauCell(const std::vector<double>& utilities, int index) {
    if (std::any_of(utilities.begin(), utilities.end(), IsUndefined)) {
      return kUndefined;
    }
    return formulas != nullptr ? EvaluateFormula(utilities, index) : WeightedSum(utilities, index);
  }

 private:
  [[nodiscard]] double WeightedSum(const std::vector<double>& utilities, int index) const {
    const QVR_Dmatrix& weights = definition.GetWeights();
    const int places = weights.GetDimension(weights.GetNumDimensions() - 1);
    const std::size_t count = std::min(utilities.size(), static_cast<std::size_t>(places));
    double sum = 0;
    for (std::size_t i = 0; i < count; ++i) {
      sum += utilities[i] * weights.Subscript(index + static_cast<int>(i));
    }
    return sum;
  }

  [[nodiscard]] double EvaluateFormula(const std::vector<double>& utilities, int index) {
    std::optional<CompiledExpression>& formula = compiled[static_cast<std::size_t>(index)];
    if (!formula) {
      formula.emplace((*formulas)[index], variables);
    }
    const std::size_t count = std::min(utilities.size(), slots.size());
    for (std::size_t i = 0; i < count; ++i) {
      variables[slots[i]] = utilities[i];
    }
    return formula->Evaluate(variables);
  }

  const QVR_mau& definition;
  const MauExpressionTable* formulas;  // null in the plain form
  ValueTable variables;
  std::vector<int> slots;  // of each parent that is no decision
  std::vector<std::optional<CompiledExpression>> compiled;
};

std::vector<Projection> MapUtilityParents(const QVR_network& network, int handle,
                                          const Projector& projector) {
  std::vector<Projection> places;
  for (int parent : network.GetParents(handle)) {
    QVR_nodeValue* value = network.NodeAt(parent)->value.get();
    const int type = value != nullptr ? value->GetValueType() : 0;
    if (type == kValueExpectedUtility || type == kValueMauExpectedUtility) {
      places.push_back(projector.MapParentCoordinates(*value));
    }
  }
  return places;
}

}  // namespace

int QVR_mauExpectedUtility::ComputeMultiAttributeUtility() {
  const QVR_node* node = network != nullptr ? network->NodeAt(handle) : nullptr;
  const auto* definition = node != nullptr ? dynamic_cast<QVR_mau*>(node->definition.get()) : nullptr;
  if (definition == nullptr) {
    return QVR_WRONG_NODE_TYPE;
  }
  if (table.GetNumDimensions() != indexingParents.GetNumItems() + 1) {
    return QVR_OUT_OF_RANGE;
  }
  const Projector projector(*network, indexingParents, table);
  const std::vector<Projection> parents = MapUtilityParents(*network, handle, projector);
  const Projection decisions = projector.MapDecisions(*definition);
  if (!decisions.fits) {
    return QVR_OUT_OF_RANGE;
  }
  Combination combination(*network, *definition);
  std::vector<double> utilities(parents.size());
  QVR_sysCoordinates cursor(table);
  do {
    const QVR_intArray& coordinates = cursor.Coordinates();
    for (std::size_t i = 0; i < parents.size(); ++i) {
      const Projection& parent = parents[i];
      utilities[i] = parent.fits ? parent.table->Subscript(parent.At(coordinates)) : kUndefined;
    }
    cursor.CurrentValue() = combination.EvaluateMauCell(utilities, decisions.At(coordinates));
  } while (cursor.Next() >= 0);
  return QVR_OKAY;
}

}  // namespace qvr
