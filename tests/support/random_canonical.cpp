#include "support/random_canonical.h"

#include <algorithm>
#include <numeric>
#include <string>

#include "definitions/cast.h"
#include "definitions/demorgan.h"
#include "definitions/noisy_adder.h"
#include "definitions/noisy_max.h"
#include "support/network_builder.h"

namespace qvr {
namespace {

QVR_doubleArray Doubles(const std::vector<double>& numbers) {
  QVR_doubleArray array;
  array.Assign(numbers);
  return array;
}

QVR_intArray Ints(const std::vector<int>& numbers) {
  QVR_intArray array;
  array.Assign(numbers);
  return array;
}

// From -1 or 0 to 1, with the bounds themselves now and then.
std::vector<double> Weights(std::size_t count, double least, const TableStyle& style, TestRandom& random) {
  std::vector<double> weights;
  for (std::size_t i = 0; i < count; ++i) {
    const double inside = least + (1 - least) * random.Unit();
    weights.push_back(random.Chance(style.certainRowFraction) ? (random.Chance(0.5) ? least : 1) : inside);
  }
  return weights;
}

std::vector<double> Parameters(const QVR_ciDefinition& definition, const TableStyle& style,
                               TestRandom& random) {
  return RandomTable(definition.GetCiWeights().GetDimension(0), definition.GetCiWeights().GetDimension(1),
                     style, random);
}

void WriteCertainty(std::vector<double>& cells, int row, int width, int outcome) {
  std::fill_n(cells.begin() + row * width, width, 0.0);
  cells[static_cast<std::size_t>(row * width + outcome)] = 1.0;
}

bool SetNumbers(QVR_noisyMAX& definition, int parentCount, const TableStyle& style, TestRandom& random) {
  std::vector<double> cells = Parameters(definition, style, random);
  const int width = definition.GetNumberOfOutcomes();
  bool taken = true;
  for (int i = 0; i < parentCount; ++i) {
    const int count = static_cast<int>(definition.GetStrengths(i).size());
    taken = definition.SetParentOutcomeStrengths(i, Ints(RandomOrder(count, random))) == 0 && taken;
    WriteCertainty(cells, definition.GetParentOffset(i) + count - 1, width, width - 1);
  }
  return definition.SetValues(Doubles(cells)) == 0 && taken;
}

bool SetNumbers(QVR_noisyAdder& definition, const std::vector<int>& sizes, const TableStyle& style,
                TestRandom& random) {
  const int width = definition.GetNumberOfOutcomes();
  bool taken = definition.SetDistinguishedState(random.Below(width)) == 0 &&
               definition.SetFunction(random.Below(2)) == 0 &&
               definition.SetParentWeights(Doubles(Weights(sizes.size() + 1, 0, style, random))) == 0;
  std::vector<double> cells = Parameters(definition, style, random);
  for (std::size_t i = 0; i < sizes.size(); ++i) {
    const int state = random.Below(sizes[i]);
    const int place = static_cast<int>(i);
    taken = definition.SetParentDistinguishedState(place, state) == 0 && taken;
    WriteCertainty(cells, definition.GetParentOffset(place) + state, width,
                   definition.GetDistinguishedState());
  }
  return definition.SetValues(Doubles(cells)) == 0 && taken;
}

}  // namespace

std::vector<int> RandomOrder(int count, TestRandom& random) {
  std::vector<int> order(static_cast<std::size_t>(count));
  std::iota(order.begin(), order.end(), 0);
  for (std::size_t i = order.size(); i > 1; --i) {
    std::swap(order[i - 1], order[static_cast<std::size_t>(random.Below(static_cast<int>(i)))]);
  }
  return order;
}

bool SetRandomNumbers(QVR_network& network, int handle, const TableStyle& style, TestRandom& random) {
  QVR_nodeDefinition& definition = *network.NodeAt(handle)->definition;
  std::vector<int> sizes;
  for (int parent : network.GetParents(handle)) {
    sizes.push_back(network.NodeAt(parent)->GetNumberOfOutcomes());
  }
  if (definition.GetType() == kTypeNoisyMax) {
    return SetNumbers(dynamic_cast<QVR_noisyMAX&>(definition), static_cast<int>(sizes.size()), style, random);
  }
  if (definition.GetType() == kTypeNoisyAdder) {
    return SetNumbers(dynamic_cast<QVR_noisyAdder&>(definition), sizes, style, random);
  }
  if (auto* cast = dynamic_cast<QVR_cast*>(&definition)) {
    return cast->SetBaseline(random.Unit()) == 0 &&
           cast->SetPositiveWeights(Doubles(Weights(sizes.size(), -1, style, random))) == 0 &&
           cast->SetNegativeWeights(Doubles(Weights(sizes.size(), -1, style, random))) == 0;
  }
  if (auto* demorgan = dynamic_cast<QVR_demorgan*>(&definition)) {
    std::vector<int> types;
    for (std::size_t i = 0; i < sizes.size(); ++i) {
      types.push_back(random.Below(4));
    }
    return demorgan->SetPriorBelief(random.Chance(style.certainRowFraction) ? 0 : random.Unit()) == 0 &&
           demorgan->SetParentWeights(Doubles(Weights(sizes.size(), 0, style, random))) == 0 &&
           demorgan->SetParentTypes(Ints(types)) == 0;
  }
  const int count = definition.GetNumberOfOutcomes();
  return SetTable(network, handle, RandomTable(definition.GetSize() / count, count, style, random)) == 0;
}

int AddOfType(QVR_network& network, int type, const char* id, int outcomeCount,
              const std::vector<int>& parents) {
  const int handle = network.AddNode(type, id);
  if (handle < 0) {
    return handle;
  }
  const bool isGate = type == kTypeCast || type == kTypeDeMorgan;
  if (const int status = network.NodeAt(handle)->definition->SetNumberOfOutcomes(isGate ? 2 : outcomeCount);
      status < 0) {
    return status;
  }
  for (int parent : parents) {
    if (const int status = network.AddArc(parent, handle, kOrdinaryLayer); status < 0) {
      return status;
    }
  }
  return handle;
}

bool FillMixedNetwork(const ParentLists& parents, const std::vector<int>& outcomeCounts,
                      const TableStyle& style, TestRandom& random, QVR_network& network) {
  const UpdateFlagsOff quiet(network, UPDATE_TRACK_CHANGES);
  for (std::size_t i = 0; i < parents.size(); ++i) {
    int type = random.Chance(0.4) ? kTypeCpt : kCanonicalTypes[random.Below(4)];
    const auto refused = [&](int parent) {
      return !QVR_nodeDefinition::TakesParent(type, network.NodeAt(parent)->GetType());
    };
    const bool isGate = type == kTypeCast || type == kTypeDeMorgan;
    if ((isGate && outcomeCounts[i] != 2) || std::any_of(parents[i].begin(), parents[i].end(), refused)) {
      type = kTypeCpt;
    }
    const std::string id = std::string("n").append(std::to_string(i));
    const int handle = AddOfType(network, type, id.c_str(), outcomeCounts[i], parents[i]);
    if (handle != static_cast<int>(i) || !SetRandomNumbers(network, handle, style, random)) {
      return false;
    }
  }
  return true;
}

}  // namespace qvr
