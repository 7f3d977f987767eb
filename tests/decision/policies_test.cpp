// The expected utilities of random diagrams, cell for cell, against backward induction over all histories.
#include <gtest/gtest.h>

#include <cmath>
#include <functional>

#include "decision/cooper_solver.h"
#include "definitions/mau.h"
#include "definitions/utility_table.h"
#include "model/special_numbers.h"
#include "support/log_guard.h"
#include "support/network_builder.h"
#include "support/policy_enumeration.h"
#include "support/random_network.h"

namespace qvr {
namespace {

struct Diagram {
  QVR_network network;
  std::vector<int> decisions;
  std::vector<int> chances;
  std::vector<int> utilities;  // tables
};

int OutcomesOf(const QVR_network& network, int handle) {
  return network.NodeAt(handle)->GetNumberOfOutcomes();
}

std::vector<int> SomeOf(const std::vector<int>& handles, int most, TestRandom& random) {
  std::vector<int> chosen;
  for (int i = 0; i < most && !handles.empty(); ++i) {
    const int handle = handles[static_cast<std::size_t>(random.Below(static_cast<int>(handles.size())))];
    if (std::find(chosen.begin(), chosen.end(), handle) == chosen.end()) {
      chosen.push_back(handle);
    }
  }
  return chosen;
}

class RandomDiagram {
 public:
  RandomDiagram(std::uint64_t seed, Diagram& newOut) : random(seed), out(newOut) {
    style.zeroFraction = random.Chance(0.4) ? 0.35 : 0;
    const int decisionCount = 1 + random.Below(4);
    AddChances(1 + random.Below(2));
    for (int i = 0; i < decisionCount; ++i) {
      AddDecision(AddChances(random.Below(decisionCount > 2 ? 2 : 3)));
      AddChances(random.Below(2));
    }
    const int utilityCount = 1 + random.Below(4);
    for (int i = 0; i < utilityCount; ++i) {
      AddUtility();
    }
    for (int i = random.Below(3); i > 0; --i) {
      Combine();
    }
  }

  void Observe() {
    QVR_network& network = out.network;
    QVR_intArray below;
    for (int decision : out.decisions) {
      if (random.Chance(0.15)) {
        ValueOf(network, decision).SetEvidence(random.Below(OutcomesOf(network, decision)));
      } else {
        network.GetDescendants(decision, below);
      }
    }
    for (int chance : out.chances) {
      const int count = OutcomesOf(network, chance);
      if (below.Contains(chance) == 0 && random.Chance(0.2)) {
        ValueOf(network, chance).SetEvidence(random.Below(count));
      } else if (below.Contains(chance) == 0 && random.Chance(0.15)) {
        std::vector<double> likelihoods(static_cast<std::size_t>(count), 0.2);
        likelihoods.back() = random.Unit();
        SetLikelihoods(network, chance, likelihoods);
      }
    }
  }

 private:
  std::vector<int> AddChances(int count) {
    std::vector<int> added;
    for (; count > 0; --count) {
      const int outcomes = random.Chance(0.2) ? 3 : 2;
      const std::vector<int> parents = SomeOf(nodes, random.Below(4), random);
      int rows = 1;
      for (int parent : parents) {
        rows *= OutcomesOf(out.network, parent);
      }
      const std::string id = "c" + std::to_string(nodes.size());
      added.push_back(
          AddChance(out.network, id.c_str(), outcomes, parents, RandomTable(rows, outcomes, style, random)));
      nodes.push_back(added.back());
      out.chances.push_back(added.back());
    }
    return added;
  }

  void AddDecision(std::vector<int> known) {
    const int handle = out.network.AddNode(kTypeList, ("d" + std::to_string(nodes.size())).c_str());
    if (random.Chance(0.2)) {
      out.network.NodeAt(handle)->definition->SetNumberOfOutcomes(3);
    }
    known.insert(known.end(), informed.begin(), informed.end());
    for (std::size_t i = 0; i < known.size(); ++i) {
      if (i < known.size() - informed.size() || random.Chance(0.5)) {
        out.network.AddArc(known[i], handle, kOrdinaryLayer);
      }
    }
    informed = known;
    informed.push_back(handle);
    nodes.push_back(handle);
    out.decisions.push_back(handle);
  }

  void AddUtility() {
    const int handle = out.network.AddNode(kTypeTable, ("u" + std::to_string(out.utilities.size())).c_str());
    for (int parent : SomeOf(nodes, 1 + random.Below(4), random)) {
      out.network.AddArc(parent, handle, kOrdinaryLayer);
    }
    QVR_Dmatrix* table = nullptr;
    out.network.NodeAt(handle)->definition->GetMatrix(table);
    const double spread = random.Chance(0.15) ? 0 : 100;
    for (double& cell : table->GetItems().Vector()) {
      cell = 7 + spread * (random.Unit() - 0.7);
    }
    out.utilities.push_back(handle);
    open.push_back(handle);
  }

  void Combine() {
    const int handle = out.network.AddNode(kTypeMau, nullptr);
    std::vector<int> parents = SomeOf(open, 3, random);
    open.push_back(handle);
    if (random.Chance(0.4)) {
      parents.push_back(SomeOf(out.decisions, 1, random)[0]);
    }
    for (int parent : parents) {
      out.network.AddArc(parent, handle, kOrdinaryLayer);
    }
    auto& definition = dynamic_cast<QVR_mau&>(*out.network.NodeAt(handle)->definition);
    QVR_doubleArray weights;
    weights.SetSize(definition.GetWeights().GetNumElements());
    for (double& weight : weights.Vector()) {
      weight = random.Unit() * 3 - 1;
    }
    definition.SetWeights(weights);
  }

  TestRandom random;
  Diagram& out;
  TableStyle style;
  std::vector<int> nodes;     // chances and decisions
  std::vector<int> informed;  // decisions and what was known to any of them
  std::vector<int> open;      // utilities that may be combined
};

// Open decisions and what is observed before one, in the order in which they were made.
std::vector<int> OrderOf(const QVR_network& network) {
  std::vector<int> order;
  for (int handle : AllNodes(network)) {
    bool informs = false;
    for (int child : network.GetChildren(handle)) {
      informs = informs || network.NodeAt(child)->GetType() == kTypeList;
    }
    const QVR_node& node = *network.NodeAt(handle);
    if ((informs || node.GetType() == kTypeList) && !node.value->HasEvidence()) {
      order.push_back(handle);
    }
  }
  return order;
}

void ForEachHistory(const QVR_network& network, const std::vector<int>& order, std::size_t length,
                    const std::function<void(const History&)>& visit) {
  History history(length, 0);
  for (bool more = true; more;) {
    visit(history);
    more = false;
    for (std::size_t i = length; i-- > 0 && !more;) {
      history[i] = (history[i] + 1) % OutcomesOf(network, order[i]);
      more = history[i] != 0;
    }
  }
}

class Comparison {
 public:
  Comparison(Diagram& newDiagram, const std::vector<int>& newOrder, const PolicyEnumeration& newTruth)
      : network(newDiagram.network), order(newOrder), truth(newTruth) {}

  // A cell that no history comes to has no number, but where all utilities are the same.
  void CheckUtility(int handle) {
    SCOPED_TRACE(network.NodeAt(handle)->GetId());
    const QVR_Dmatrix& cells = *ValueOf(network, handle).GetMatrix();
    std::vector<bool> isReached(static_cast<std::size_t>(cells.GetNumElements()), false);
    ForEachHistory(network, order, order.size(), [&](const History& history) {
      if (truth.Probability(history) > 0) {
        const int place = PlaceOf(handle, history);
        isReached[static_cast<std::size_t>(place)] = true;
        ExpectClose(cells.Subscript(place), truth.ExpectedUtility(handle, history));
      }
    });
    const auto* table = dynamic_cast<QVR_table*>(network.NodeAt(handle)->definition.get());
    for (int i = 0; table != nullptr && i < cells.GetNumElements(); ++i) {
      const bool hasNumber =
          isReached[static_cast<std::size_t>(i)] || table->GetMinimumUtility() == table->GetMaximumUtility();
      EXPECT_NE(IsUndefined(cells.Subscript(i)), hasNumber);
    }
    EXPECT_TRUE(ValueOf(network, handle).IsValueValid());
  }

  void CheckDecision(int handle) {
    SCOPED_TRACE(network.NodeAt(handle)->GetId());
    EXPECT_TRUE(ValueOf(network, handle).IsValueValid());
    const QVR_Dmatrix& cells = *ValueOf(network, handle).GetMatrix();
    const auto place =
        static_cast<std::size_t>(std::find(order.begin(), order.end(), handle) - order.begin());
    const bool matters = !std::all_of(cells.GetItems().Vector().begin(), cells.GetItems().Vector().end(),
                                      [](double cell) { return IsUndefined(cell); });
    ForEachHistory(network, order, place + 1, [&](const History& history) {
      if (truth.Probability(history) == 0) {
        return;
      }
      History first = history;
      first.back() = 0;
      const double expected = truth.BestUtility(history);
      const double actual =
          matters ? cells.Subscript(PlaceOf(handle, history) + history.back()) : truth.BestUtility(first);
      ExpectClose(actual, expected);
    });
  }

  // An observation's posterior before it is made, by what it is indexed by. One that matters to nobody may be
  // indexed by what comes later, too; that isn't compared.
  void CheckObserved(int handle) {
    SCOPED_TRACE(network.NodeAt(handle)->GetId());
    const auto place =
        static_cast<std::size_t>(std::find(order.begin(), order.end(), handle) - order.begin());
    for (int parent : ValueOf(network, handle).GetIndexingParents()) {
      if (std::find(order.begin() + static_cast<std::ptrdiff_t>(place), order.end(), parent) != order.end()) {
        return;
      }
    }
    const QVR_Dmatrix& cells = *ValueOf(network, handle).GetMatrix();
    std::map<int, std::map<int, double>> joint;
    ForEachHistory(network, order, place + 1, [&](const History& history) {
      joint[PlaceOf(handle, history)][history.back()] += truth.Probability(history);
    });
    for (const auto& [first, weights] : joint) {
      double total = 0;
      for (const auto& [outcome, weight] : weights) {
        total += weight;
      }
      for (const auto& [outcome, weight] : weights) {
        if (total > 0) {
          ExpectClose(cells.Subscript(first + outcome), weight / total);
        }
      }
    }
  }

  void CheckHidden(int handle) {
    SCOPED_TRACE(network.NodeAt(handle)->GetId());
    const QVR_Dmatrix& cells = *ValueOf(network, handle).GetMatrix();
    std::map<int, std::vector<double>> expected;
    std::map<int, double> weights;
    ForEachHistory(network, order, order.size(), [&](const History& history) {
      const double weight = truth.Probability(history);
      if (weight == 0) {
        return;
      }
      const int place = PlaceOf(handle, history);
      const std::vector<double> posterior = truth.Posterior(handle, history);
      expected[place].resize(posterior.size());
      weights[place] += weight;
      for (std::size_t k = 0; k < posterior.size(); ++k) {
        expected[place][k] += weight * posterior[k];
      }
    });
    for (const auto& [place, sums] : expected) {
      for (std::size_t k = 0; k < sums.size(); ++k) {
        ExpectClose(cells.Subscript(place + static_cast<int>(k)), sums[k] / weights[place]);
      }
    }
  }

 private:
  [[nodiscard]] int PlaceOf(int handle, const History& history) const {
    QVR_nodeValue& value = ValueOf(network, handle);
    int place = 0;
    for (int i = 0; i < value.GetIndexingParents().GetNumItems(); ++i) {
      const auto found = std::find(order.begin(), order.end(), value.GetIndexingParents()[i]);
      place += history.at(static_cast<std::size_t>(found - order.begin())) * value.GetMatrix()->GetStride(i);
    }
    return place;
  }
  static void ExpectClose(double actual, double expected) {
    EXPECT_NEAR(actual, expected, 1e-7 * std::max(1.0, std::abs(expected)));
  }

  QVR_network& network;
  const std::vector<int>& order;
  const PolicyEnumeration& truth;
};

TEST(Policies, AgreeWithBackwardInduction) {
  int solved = 0;
  int severalDecisions = 0;
  for (std::uint64_t seed = 1; seed <= 300; ++seed) {
    SCOPED_TRACE(seed);
    const LogGuard log;
    Diagram diagram;
    RandomDiagram maker(seed, diagram);
    maker.Observe();
    std::vector<int> order = OrderOf(diagram.network);
    PolicyEnumeration truth(diagram.network, order);
    if (truth.Probability({}) == 0) {
      diagram.network.ClearAllEvidence();
      order = OrderOf(diagram.network);
      truth = PolicyEnumeration(diagram.network, order);
    }
    ASSERT_EQ(diagram.network.UpdateBeliefs(), 0);
    Comparison comparison(diagram, order, truth);
    for (int handle : AllNodes(diagram.network)) {
      const QVR_node& node = *diagram.network.NodeAt(handle);
      const bool isInOrder = std::find(order.begin(), order.end(), handle) != order.end();
      if ((node.GetType() & kTypeBitUtility) != 0) {
        comparison.CheckUtility(handle);
      } else if (isInOrder && node.GetType() == kTypeList) {
        comparison.CheckDecision(handle);
      } else if (isInOrder) {
        comparison.CheckObserved(handle);
      } else if (!node.value->HasEvidence()) {
        comparison.CheckHidden(handle);
      }
    }
    if (testing::Test::HasFailure()) {
      break;
    }
    ++solved;
    severalDecisions += order.size() > 2 ? 1 : 0;
  }
  EXPECT_EQ(solved, 300);
  EXPECT_GT(severalDecisions, 100);
}

// All decisions but one are made, and what is known before it is observed.
TEST(Policies, BestFirstChoiceIsOptimal) {
  int compared = 0;
  for (std::uint64_t seed = 1; seed <= 300; ++seed) {
    SCOPED_TRACE(seed);
    const LogGuard log;
    Diagram diagram;
    QVR_network& network = diagram.network;
    RandomDiagram maker(seed, diagram);
    const int open = diagram.decisions[seed % diagram.decisions.size()];
    for (int decision : diagram.decisions) {
      if (decision != open) {
        ValueOf(network, decision).SetEvidence(0);
      }
    }
    bool isKnown = true;
    for (int parent : network.GetParents(open)) {
      isKnown =
          isKnown && (ValueOf(network, parent).HasEvidence() || ValueOf(network, parent).SetEvidence(1) == 0);
    }
    const PolicyEnumeration truth(network, {open});
    if (!isKnown || truth.Probability({}) == 0) {
      continue;
    }
    network.SetDecisionAlgorithm(DECISION_SHACHTER);
    ASSERT_EQ(network.UpdateBeliefs(), 0);
    const std::vector<double> choice = BeliefOf(network, open);
    const auto best = static_cast<int>(std::find(choice.begin(), choice.end(), 1.0) - choice.begin());
    const double greatest = truth.BestUtility({});
    EXPECT_NEAR(truth.BestUtility({best}), greatest, 1e-9 * std::max(1.0, std::abs(greatest)));
    ++compared;
  }
  EXPECT_GT(compared, 200);
}

}  // namespace
}  // namespace qvr
