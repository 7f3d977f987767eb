#include "support/temporal_reference.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "definitions/demorgan.h"
#include "definitions/noisy_max.h"
#include "support/network_builder.h"

namespace qvr {
namespace {

class Reference {
 public:
  explicit Reference(QVR_network& newNetwork)
      : network(newNetwork), temporal(*newNetwork.GetDynamicExtension()) {
    for (const int handle : AllNodes(network)) {
      (network.GetDynamicType(handle) == kDynamicPlate ? plate : statics).push_back(handle);
    }
    plateStates = CountStates(plate);
    for (int i = 1; i < temporal.GetMaxOrder(); ++i) {
      olderStates *= plateStates;
    }
  }

  TemporalAnswer Solve() {
    std::vector<TemporalAnswer> parts;
    double most = -std::numeric_limits<double>::infinity();
    for (int state = 0; state < CountStates(statics); ++state) {
      Decode(statics, state, fixed);
      parts.push_back(SolvePart());
      most = std::max(most, parts.back().logLikelihood);
    }
    TemporalAnswer answer;
    double total = 0;
    for (const TemporalAnswer& part : parts) {
      const double weight = std::isfinite(most) ? std::exp(part.logLikelihood - most) : 0.0;
      total += weight;
      for (const auto& [key, belief] : part.beliefs) {
        std::vector<double>& sum = answer.beliefs[key];
        sum.resize(belief.size());
        for (std::size_t i = 0; i < belief.size() && weight > 0; ++i) {
          sum[i] += weight * belief[i];
        }
      }
    }
    answer.logLikelihood = most + std::log(total);
    for (auto& [key, belief] : answer.beliefs) {
      std::for_each(belief.begin(), belief.end(), [total](double& cell) { cell /= total; });
    }
    return answer;
  }

 private:
  using States = std::map<int, int>;  // outcomes by handle

  int CountOf(int handle) { return network.NodeAt(handle)->GetNumberOfOutcomes(); }
  int CountStates(const std::vector<int>& handles) {
    int count = 1;
    for (const int handle : handles) {
      count *= CountOf(handle);
    }
    return count;
  }
  void Decode(const std::vector<int>& handles, int state, States& out) {
    for (const int handle : handles) {
      out[handle] = state % CountOf(handle);
      state /= CountOf(handle);
    }
  }

  double EvidenceFactor(int handle, int slice, int outcome) {
    const int stored = temporal.GetTemporalEvidence(handle, slice);
    const QVR_nodeValue& value = ValueOf(network, handle);
    if (stored >= 0 || (slice == 0 && value.HasRealEvidence())) {
      return outcome == (stored >= 0 ? stored : value.GetEvidence()) ? 1.0 : 0.0;
    }
    QVR_doubleArray likelihoods;
    return slice == 0 && value.GetVirtualEvidence(likelihoods) == 0 ? likelihoods[outcome] : 1.0;
  }

  // The cell of a table whose dimensions are the parents' and last the node's.
  static double CellOf(QVR_nodeDefinition& definition, const std::vector<int>& coordinates) {
    QVR_Dmatrix* table = nullptr;
    definition.GetMatrix(table);
    int cell = 0;
    for (std::size_t i = 0; i < coordinates.size(); ++i) {
      cell += coordinates[i] * table->GetStride(static_cast<int>(i));
    }
    return table->Subscript(cell);
  }

  // The outcome of a parent at which the table stands as if its arc weren't there: the first, but where
  // parents act through parameters of their own the one without effect.
  static int WithoutParent(const QVR_nodeDefinition& definition, int place) {
    if (const auto* noisyMax = dynamic_cast<const QVR_noisyMAX*>(&definition)) {
      return noisyMax->GetStrengths(place).back();
    }
    if (const auto* gate = dynamic_cast<const QVR_demorgan*>(&definition)) {
      const int type = gate->GetParentTypes()[static_cast<std::size_t>(place)];
      return type == kInhibitor || type == kCause ? 1 : 0;
    }
    return 0;
  }

  // slices[k] are the outcomes of the plate k slices ago.
  double PlateFactor(int handle, int slice, std::vector<States>& slices) {
    int order = 0;
    for (const int listed : temporal.GetTemporalOrders(handle)) {
      order = listed <= slice ? listed : order;
    }
    std::vector<int> coordinates;
    if (order > 0) {
      for (const TemporalParent& parent : temporal.GetTableParents(handle, order)) {
        States& ago = slices[static_cast<std::size_t>(parent.order)];
        coordinates.push_back(fixed.contains(parent.handle) ? fixed[parent.handle] : ago[parent.handle]);
      }
    } else {
      const QVR_nodeDefinition& plain = *network.NodeAt(handle)->definition;
      for (const int parent : network.GetParents(handle)) {
        const bool isLost = slice > 0 && network.GetDynamicType(parent) == kDynamicAnchor;
        coordinates.push_back(isLost ? WithoutParent(plain, static_cast<int>(coordinates.size()))
                              : fixed.contains(parent) ? fixed[parent]
                                                       : slices[0][parent]);
      }
    }
    coordinates.push_back(slices[0][handle]);
    QVR_nodeDefinition& definition =
        order > 0 ? *temporal.GetTemporalDefinition(handle, order) : *network.NodeAt(handle)->definition;
    return CellOf(definition, coordinates) * EvidenceFactor(handle, slice, coordinates.back());
  }

  double StaticFactor(bool ofTerminals, States& lastSlice) {
    double factor = 1.0;
    for (const int handle : statics) {
      if ((network.GetDynamicType(handle) == kDynamicTerminal) != ofTerminals) {
        continue;
      }
      std::vector<int> coordinates;
      for (const int parent : network.GetParents(handle)) {
        coordinates.push_back(fixed.contains(parent) ? fixed[parent] : lastSlice[parent]);
      }
      coordinates.push_back(fixed[handle]);
      factor *=
          CellOf(*network.NodeAt(handle)->definition, coordinates) * EvidenceFactor(handle, 0, fixed[handle]);
    }
    return factor;
  }

  // Of the plate's state `now` after a history: the newest slice is its lowest digit.
  double Step(int slice, int history, int now) {
    std::vector<States> slices(static_cast<std::size_t>(temporal.GetMaxOrder()) + 1);
    Decode(plate, now, slices[0]);
    for (std::size_t ago = 1; ago < slices.size(); ++ago, history /= plateStates) {
      Decode(plate, history % plateStates, slices[ago]);
    }
    double factor = slice == temporal.GetSliceCount() - 1 ? StaticFactor(true, slices[0]) : 1.0;
    for (const int handle : plate) {
      factor *= PlateFactor(handle, slice, slices);
    }
    return factor;
  }

  // For one state of the nodes outside the plate.
  TemporalAnswer SolvePart() {
    const int sliceCount = temporal.GetSliceCount();
    const int histories = olderStates * plateStates;
    const auto at = [this](int slice, int history, int now) {
      return slice == 0 && history > 0 ? 0.0 : Step(slice, history, now);  // before slice 0 there's nothing
    };
    States none;
    TemporalAnswer part;
    part.logLikelihood = std::log(StaticFactor(false, none));
    std::vector<std::vector<double>> forward(1, std::vector<double>(static_cast<std::size_t>(histories)));
    forward[0][0] = 1.0;
    std::vector<std::vector<double>> factors;
    for (int slice = 0; slice < sliceCount; ++slice) {
      std::vector<double> next(static_cast<std::size_t>(histories));
      factors.emplace_back();
      double sum = 0;
      for (int cell = 0; cell < histories * plateStates; ++cell) {
        const int history = cell / plateStates;
        factors.back().push_back(forward.back()[static_cast<std::size_t>(history)] > 0
                                     ? at(slice, history, cell % plateStates)
                                     : 0.0);
        const double weight = forward.back()[static_cast<std::size_t>(history)] * factors.back().back();
        next[static_cast<std::size_t>(Follow(history, cell % plateStates))] += weight;
        sum += weight;
      }
      part.logLikelihood += std::log(sum);
      std::for_each(next.begin(), next.end(), [sum](double& weight) { weight /= sum > 0 ? sum : 1.0; });
      forward.push_back(next);
    }
    WalkBack(forward, factors, part);
    return part;
  }

  [[nodiscard]] int Follow(int history, int now) const { return history % olderStates * plateStates + now; }

  void WalkBack(const std::vector<std::vector<double>>& forward,
                const std::vector<std::vector<double>>& factors, TemporalAnswer& part) {
    std::vector<double> backward(forward[0].size(), 1.0);
    for (int slice = temporal.GetSliceCount() - 1; slice >= 0; --slice) {
      const auto now = static_cast<std::size_t>(slice);
      std::vector<double> marginal(static_cast<std::size_t>(plateStates));
      std::vector<double> before(backward.size());
      double sum = 0;
      for (std::size_t cell = 0; cell < factors[now].size(); ++cell) {
        const int state = static_cast<int>(cell) % plateStates;
        const int history = static_cast<int>(cell) / plateStates;
        const double weight = factors[now][cell] * backward[static_cast<std::size_t>(Follow(history, state))];
        before[static_cast<std::size_t>(history)] += weight;
        marginal[static_cast<std::size_t>(state)] += weight * forward[now][static_cast<std::size_t>(history)];
      }
      for (const double weight : marginal) {
        sum += weight;
      }
      AddMarginals(slice, marginal, sum, part);
      backward = before;
      std::for_each(backward.begin(), backward.end(),
                    [sum](double& weight) { weight /= sum > 0 ? sum : 1.0; });
    }
    for (const auto& [handle, outcome] : fixed) {
      part.beliefs[{handle, 0}].assign(static_cast<std::size_t>(CountOf(handle)), 0.0);
      part.beliefs[{handle, 0}][static_cast<std::size_t>(outcome)] = 1.0;
    }
  }

  void AddMarginals(int slice, const std::vector<double>& marginal, double sum, TemporalAnswer& part) {
    States states;
    for (int state = 0; state < plateStates; ++state) {
      Decode(plate, state, states);
      for (const int handle : plate) {
        std::vector<double>& belief = part.beliefs[{handle, slice}];
        belief.resize(static_cast<std::size_t>(CountOf(handle)));
        belief[static_cast<std::size_t>(states[handle])] += marginal[static_cast<std::size_t>(state)] / sum;
      }
    }
  }

  QVR_network& network;
  QVR_dynamicExtension& temporal;
  std::vector<int> plate;
  std::vector<int> statics;
  States fixed;  // of the nodes outside the plate
  int plateStates = 1;
  int olderStates = 1;  // of all slices of a history but the newest
};

}  // namespace

TemporalAnswer ForwardBackward(QVR_network& network) { return Reference(network).Solve(); }

void FillRandomly(QVR_nodeDefinition& definition, TestRandom& random) {
  const int columns = definition.GetNumberOfOutcomes();
  const std::vector<double> cells = RandomTable(definition.GetSize() / columns, columns, {}, random);
  QVR_doubleArray array;
  array.Assign(cells);
  definition.SetValues(array);
}

void FillAll(QVR_network& network, TestRandom& random) {
  for (const int handle : AllNodes(network)) {
    FillRandomly(*network.NodeAt(handle)->definition, random);
    for (const int order : network.GetDynamicExtension()->GetTemporalOrders(handle)) {
      FillRandomly(*network.GetDynamicExtension()->GetTemporalDefinition(handle, order), random);
    }
  }
}

void MakeRandomTemporal(QVR_network& network, int plateSize, int maxOrder, int slices, TestRandom& random) {
  std::vector<int> earlier = {AddChance(network, "S", 2, {}, {0.3, 0.7}),
                              AddChance(network, "A", 3, {}, {0.2, 0.3, 0.5})};
  network.SetDynamicType(earlier[1], kDynamicAnchor);
  QVR_dynamicExtension& temporal = *network.GetDynamicExtension();
  temporal.SetSliceCount(slices);
  std::vector<int> plate;
  for (int i = 0; i < plateSize; ++i) {
    plate.push_back(network.AddNode(kTypeCpt, ("P" + std::to_string(i)).c_str()));
    network.NodeAt(plate.back())->definition->SetNumberOfOutcomes(2 + (i == 0 ? random.Below(2) : 0));
    network.SetDynamicType(plate.back(), kDynamicPlate);
  }
  // Arcs of both kinds in any order: the dimensions of tables don't depend on it.
  for (int i = 0; i < 6 * plateSize; ++i) {
    const int child = random.Below(plateSize);
    if (random.Chance(0.5)) {
      earlier.resize(2);
      earlier.insert(earlier.end(), plate.begin(), plate.begin() + child);
      network.AddArc(earlier[static_cast<std::size_t>(random.Below(static_cast<int>(earlier.size())))],
                     plate[static_cast<std::size_t>(child)], 0);
    } else if (maxOrder > 0) {
      temporal.AddTemporalArc(plate[static_cast<std::size_t>(random.Below(plateSize))],
                              plate[static_cast<std::size_t>(child)], 1 + random.Below(maxOrder));
    }
  }
  const int terminal = network.AddNode(kTypeCpt, "Z");
  network.SetDynamicType(terminal, kDynamicTerminal);
  network.AddArcs(std::vector<int>{0, plate.front(), plate.back()}, terminal);
  FillAll(network, random);
}

void MakeHiddenChains(QVR_network& network, int outcomes, TestRandom& random) {
  int upper = -1;
  for (const char* id : {"X", "Y", "Z"}) {
    const int hidden = network.AddNode(kTypeCpt, id);
    const int seen = network.AddNode(kTypeCpt, (std::string("Seen") + id).c_str());
    for (const int handle : {hidden, seen}) {
      network.NodeAt(handle)->definition->SetNumberOfOutcomes(outcomes);
      network.SetDynamicType(handle, kDynamicPlate);
    }
    network.AddArc(hidden, seen, 0);
    network.AddArc(upper, hidden, 0);  // -2 for the first
    network.GetDynamicExtension()->AddTemporalArc(hidden, hidden, 1);
    upper = hidden;
  }
  FillAll(network, random);
}

double LargestError(QVR_network& network, const TemporalAnswer& expected) {
  double largest = expected.beliefs.empty() ? std::numeric_limits<double>::infinity() : 0.0;
  for (const auto& [key, belief] : expected.beliefs) {
    const auto [handle, slice] = key;
    const std::vector<double> cells = BeliefOf(network, handle);
    const bool isPlate = network.GetDynamicType(handle) == kDynamicPlate;
    const int slices = isPlate ? network.GetDynamicExtension()->GetSliceCount() : 1;
    if (!ValueOf(network, handle).IsValueValid() ||
        cells.size() != static_cast<std::size_t>(slices) * belief.size()) {
      return std::numeric_limits<double>::infinity();
    }
    for (std::size_t i = 0; i < belief.size(); ++i) {
      const double error = std::abs(cells[static_cast<std::size_t>(slice) * belief.size() + i] - belief[i]);
      largest = error <= largest ? largest : error;  // also what isn't a number
    }
  }
  return largest;
}

}  // namespace qvr
