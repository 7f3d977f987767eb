#include "support/hybrid_reference.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "definitions/def_continuous.h"
#include "definitions/def_dchild_hparent.h"
#include "support/gaussian_reference.h"
#include "support/network_builder.h"

namespace qvr {

namespace {

constexpr double kLeastFreedom = 0.05;
constexpr double kReach = 8.0;  // deviations
constexpr int kCells = 400;

int StateOf(unsigned state, int node) { return static_cast<int>(state >> static_cast<unsigned>(node) & 1U); }

std::size_t Combination(const MixedNode& node, unsigned state) {
  std::size_t index = 0;
  for (const int parent : node.discreteParents) {
    index = 2 * index + static_cast<std::size_t>(StateOf(state, parent));
  }
  return index;
}

double NormalDensity(double x, double mean, double deviation) {
  const double z = (x - mean) / deviation;
  return std::exp(-z * z / 2) / (deviation * std::sqrt(2 * M_PI));
}

// The continuous nodes once the discrete ones are given; these stand in as zeros of no use to anybody.
GaussianModel GivenState(const MixedModel& model, unsigned state) {
  GaussianModel given;
  for (const MixedNode& node : model) {
    GaussianNode described{0.0, {}, 0.0};
    if (!node.IsDiscrete()) {
      const std::size_t row = Combination(node, state);
      described.intercept = node.terms[row][0];
      for (std::size_t i = 0; i < node.continuousParents.size(); ++i) {
        described.terms.push_back({node.continuousParents[i], node.terms[row][i + 1]});
      }
      described.deviation = node.kind == MixedKind::Law ? node.deviations[row] : 0.0;
    }
    given.push_back(described);
  }
  return given;
}

std::string LinearText(const std::vector<double>& row, const std::vector<int>& parents) {
  char text[64];
  std::snprintf(text, sizeof text, "(%.17g)", row[0]);
  std::string sum = text;
  for (std::size_t i = 0; i < parents.size(); ++i) {
    std::snprintf(text, sizeof text, "+(%.17g)*n%d", row[i + 1], parents[i]);
    sum += text;
  }
  return sum;
}

// The formula, solved for each continuous parent.
std::unique_ptr<QVR_Helement> MakeEquation(const std::string& id, const std::vector<double>& row,
                                           const std::vector<int>& parents) {
  auto element = std::make_unique<QVR_equationElement>();
  element->SetFormula(LinearText(row, parents).c_str());
  for (std::size_t i = 0; i < parents.size(); ++i) {
    std::vector<double> others = row;
    others[i + 1] = 0.0;
    const std::string rest = "(" + id + "-(" + LinearText(others, parents) + "))/(";
    const std::string text = rest + LinearText({row[i + 1]}, {}) + ")";
    element->SetInverse("n" + std::to_string(parents[i]),
                        QVR_expression::Parse(text.c_str(), nullptr, nullptr));
  }
  return element;
}

std::unique_ptr<QVR_Helement> MakeElement(const MixedNode& node, const std::string& id, std::size_t row) {
  const std::string linear = LinearText(node.terms[row], node.continuousParents);
  if (node.kind == MixedKind::Equation) {
    return MakeEquation(id, node.terms[row], node.continuousParents);
  }
  if (node.kind == MixedKind::Law) {
    auto element = std::make_unique<QVR_distributionElement>();
    element->SetDistribution(
        ("Normal(" + linear + "," + LinearText({node.deviations[row]}, {}) + ")").c_str());
    return element;
  }
  auto element = std::make_unique<QVR_discreteElement>(2);
  element->SetFormula(1, ("Exp(" + linear + ")").c_str());
  return element;
}

int TypeOf(MixedKind kind) {
  switch (kind) {
    case MixedKind::Table:
      return kTypeCpt;
    case MixedKind::Weighted:
      return kTypeDChildHParent;
    case MixedKind::Law:
      return kTypeDistribution;
    default:
      return kTypeHEquation;
  }
}

bool PlaceElements(const MixedNode& node, QVR_node& target) {
  auto& definition = dynamic_cast<QVR_defHybrid&>(*target.definition);
  const int digits = static_cast<int>(node.discreteParents.size());
  bool placed = true;
  for (std::size_t row = 0; row < node.terms.size(); ++row) {
    QVR_intArray coordinates;
    for (int digit = digits; digit-- > 0;) {
      coordinates.Add(static_cast<int>(row >> static_cast<unsigned>(digit) & 1U));
    }
    std::unique_ptr<QVR_Helement> element = MakeElement(node, target.GetId(), row);
    placed = definition.SetElement(coordinates, element) >= 0 && placed;
  }
  return placed;
}

// A table takes no Weighted parent.
MixedKind RandomKind(const MixedModel& model, const MixedNode& node, bool& mayWeigh, TestRandom& random) {
  if (node.continuousParents.empty()) {
    const bool takesTable = std::none_of(
        node.discreteParents.begin(), node.discreteParents.end(),
        [&](int parent) { return model[static_cast<std::size_t>(parent)].kind == MixedKind::Weighted; });
    return takesTable && random.Chance(0.5) ? MixedKind::Table : MixedKind::Law;
  }
  if (mayWeigh && node.continuousParents.size() == 1 && random.Chance(0.4)) {
    mayWeigh = false;
    return MixedKind::Weighted;
  }
  return random.Chance(0.5) ? MixedKind::Law : MixedKind::Equation;
}

// The probability of the outcome that a Weighted node has in the state, at a number of its parent.
double ChanceOf(const MixedNode& weighted, int outcome, unsigned state, double parent) {
  const std::vector<double>& row = weighted.terms[Combination(weighted, state)];
  const double odds = std::exp(row[0] + row[1] * parent);
  return (outcome == 1 ? odds : 1.0) / (1 + odds);
}

}  // namespace

MixedModel RandomMixed(const ParentLists& parents, TestRandom& random) {
  MixedModel model;
  bool mayWeigh = true;
  for (const std::vector<int>& list : parents) {
    MixedNode node;
    for (const int parent : list) {
      const bool isDiscrete = model[static_cast<std::size_t>(parent)].IsDiscrete();
      (isDiscrete ? node.discreteParents : node.continuousParents).push_back(parent);
    }
    node.kind = RandomKind(model, node, mayWeigh, random);
    for (std::size_t row = 0; row < std::size_t{1} << node.discreteParents.size(); ++row) {
      const bool isTable = node.kind == MixedKind::Table;
      node.terms.push_back({isTable ? 0.1 + 0.8 * random.Unit() : 4 * random.Unit() - 2});
      for (std::size_t i = 0; i < node.continuousParents.size(); ++i) {
        const double size = 0.4 + 0.8 * random.Unit();
        node.terms.back().push_back(random.Chance(0.5) ? size : -size);
      }
      node.deviations.push_back(0.5 + random.Unit());
    }
    model.push_back(node);
  }
  return model;
}

bool FillMixed(const MixedModel& model, QVR_network& network) {
  bool filled = true;
  for (const MixedNode& node : model) {
    const std::string id = "n" + std::to_string(network.GetNumberOfNodes());
    const int handle = network.AddNode(TypeOf(node.kind), id.c_str());
    for (const std::vector<int>& parents : {node.discreteParents, node.continuousParents}) {
      filled = network.AddArcs(parents, handle) == 0 && filled;
    }
    if (node.kind == MixedKind::Table) {
      std::vector<double> cells;
      for (const std::vector<double>& row : node.terms) {
        cells.insert(cells.end(), {1 - row[0], row[0]});
      }
      filled = SetTable(network, handle, cells) == 0 && filled;
    } else {
      filled = PlaceElements(node, *network.NodeAt(handle)) && filled;
    }
  }
  return filled;
}

MixedReference::MixedReference(const MixedModel& model, const std::map<int, double>& evidence)
    : first(model.size(), 0.0), second(model.size(), 0.0) {
  for (unsigned state = 0; state < 1U << model.size(); ++state) {
    bool counts = true;  // continuous nodes have no state, so theirs is 0
    for (int node = 0; node < static_cast<int>(model.size()); ++node) {
      const bool isDiscrete = model[static_cast<std::size_t>(node)].IsDiscrete();
      const auto observed = evidence.find(node);
      counts = counts && (isDiscrete ? observed == evidence.end() || observed->second == StateOf(state, node)
                                     : StateOf(state, node) == 0);
    }
    if (counts) {
      AddState(model, evidence, state);
    }
  }
}

double MixedReference::Observe(const MixedModel& model, const std::map<int, double>& evidence, unsigned state,
                               GaussianReference& given) {
  double weight = 1.0;
  for (int i = 0; i < static_cast<int>(model.size()); ++i) {
    const MixedNode& node = model[static_cast<std::size_t>(i)];
    const auto observed = evidence.find(i);
    if (node.kind == MixedKind::Table) {
      const double probability = node.terms[Combination(node, state)][0];
      weight *= StateOf(state, i) == 1 ? probability : 1 - probability;
    } else if (!node.IsDiscrete() && observed != evidence.end()) {
      isDefined = isDefined && given.Deviation(i) > kLeastFreedom;
      weight *= NormalDensity(observed->second, given.Mean(i), given.Deviation(i));
      given.Observe(i, observed->second);
    }
  }
  return weight;
}

// What the Weighted node has to say is integrated over its parent, on which all else depends linearly.
void MixedReference::AddState(const MixedModel& model, const std::map<int, double>& evidence,
                              unsigned state) {
  GaussianReference given(GivenState(model, state));
  const double weight = Observe(model, evidence, state, given);
  const auto weighted = std::find_if(model.begin(), model.end(),
                                     [](const MixedNode& node) { return node.kind == MixedKind::Weighted; });
  const int pivot = weighted == model.end() ? -1 : weighted->continuousParents[0];
  const double spread = pivot < 0 || evidence.contains(pivot) ? 0.0 : given.Deviation(pivot);
  const int cells = spread > 1e-9 ? kCells : 0;
  for (int cell = 0; cell <= cells; ++cell) {
    const double z = cells == 0 ? 0.0 : kReach * (2.0 * cell / cells - 1.0);
    double mass = weight * (cells == 0 ? 1.0 : NormalDensity(z, 0, 1) * 2 * kReach / cells);
    if (pivot >= 0) {
      const int self = static_cast<int>(weighted - model.begin());
      mass *= ChanceOf(*weighted, StateOf(state, self), state, given.Mean(pivot) + z * spread);
    }
    total += mass;
    for (int i = 0; i < static_cast<int>(model.size()); ++i) {
      const bool isDiscrete = model[static_cast<std::size_t>(i)].IsDiscrete();
      const double slope = cells == 0 || isDiscrete ? 0.0 : given.Covariance(i, pivot) / spread;
      const double mean = isDiscrete ? StateOf(state, i) : given.Mean(i) + slope * z;
      const double rest = isDiscrete ? 0.0 : given.Covariance(i, i) - slope * slope;
      first[static_cast<std::size_t>(i)] += mass * mean;
      second[static_cast<std::size_t>(i)] += mass * (mean * mean + rest);
    }
  }
}

double MixedReference::Deviation(int node) const {
  const double mean = Mean(node);
  return std::sqrt(std::max(0.0, second[static_cast<std::size_t>(node)] / total - mean * mean));
}

}  // namespace qvr
