#include "diagrams.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <string>
#include <vector>

#include "decision/cooper_solver.h"
#include "definitions/utility_table.h"
#include "support/network_builder.h"
#include "support/random_network.h"

namespace qvr {
namespace {

constexpr int kUpdates = 5;

struct DiagramShape {
  const char* name;
  int stages;  // each with a decision
  int observedPerStage;
  int hiddenPerStage;
  int outcomes;  // of chances and decisions
};

constexpr DiagramShape kShapes[] = {
    {"1 decision", 1, 2, 4, 3},
    {"2 decisions", 2, 1, 6, 4},
    {"3 decisions", 3, 1, 5, 3},
    {"3 decisions, 2,304", 3, 1, 5, 0},  // 19 chances, 2,304 scenarios
};

class CountingSolver : public QVR_CooperSolver {
 public:
  int scenarios = 0;

 protected:
  void BeforeEvaluation(int phase) override { scenarios += phase == 0 ? 1 : 0; }
};

int OutcomesOf(const DiagramShape& shape, int stage) {
  return shape.outcomes > 0 ? shape.outcomes : (stage == 0 ? 4 : 3) + (stage == 2 ? 1 : 0);
}

int AddRandomChance(QVR_network& network, const std::vector<int>& parents, int outcomes, TestRandom& random) {
  int rows = 1;
  for (int parent : parents) {
    rows *= network.NodeAt(parent)->GetNumberOfOutcomes();
  }
  const std::string id = "c" + std::to_string(network.GetNumberOfNodes());
  return AddChance(network, id.c_str(), outcomes, parents, RandomTable(rows, outcomes, {}, random));
}

// A hidden state that moves on with each decision, seen through observations: the utility of each stage
// depends on the state and the choice.
bool FillDiagram(const DiagramShape& shape, QVR_network& network) {
  TestRandom random(1);
  std::vector<int> known;
  int state = AddRandomChance(network, {}, 2, random);
  for (int stage = 0; stage < shape.stages; ++stage) {
    const int outcomes = OutcomesOf(shape, stage);
    for (int i = 0; i < shape.observedPerStage; ++i) {
      known.push_back(AddRandomChance(network, {state}, outcomes, random));
    }
    const int decision = network.AddNode(kTypeList, ("d" + std::to_string(stage)).c_str());
    network.NodeAt(decision)->definition->SetNumberOfOutcomes(outcomes);
    for (int handle : known) {
      network.AddArc(handle, decision, kOrdinaryLayer);
    }
    known.push_back(decision);
    const int utility = network.AddNode(kTypeTable, ("u" + std::to_string(stage)).c_str());
    network.AddArc(state, utility, kOrdinaryLayer);
    network.AddArc(decision, utility, kOrdinaryLayer);
    QVR_Dmatrix* table = nullptr;
    if (network.NodeAt(utility)->definition->GetMatrix(table) < 0) {
      return false;
    }
    for (double& cell : table->GetItems().Vector()) {
      cell = random.Unit() * 100;
    }
    for (int i = 0; i < shape.hiddenPerStage; ++i) {
      const std::vector<int> parents = i == 0 ? std::vector{state, decision} : std::vector{state};
      state = AddRandomChance(network, parents, 2, random);
    }
  }
  return true;
}

bool MeasureDiagram(const DiagramShape& shape) {
  using Clock = std::chrono::steady_clock;
  QVR_network network;
  CountingSolver counter;
  if (!FillDiagram(shape, network) || counter.Solve(network) != QVR_OKAY) {
    std::fprintf(stderr, "%s can't be solved\n", shape.name);
    return false;
  }
  std::vector<double> seconds;
  for (int i = 0; i < kUpdates; ++i) {
    const auto start = Clock::now();
    if (network.UpdateBeliefs() != QVR_OKAY) {
      return false;
    }
    seconds.push_back(std::chrono::duration<double>(Clock::now() - start).count());
  }
  std::sort(seconds.begin(), seconds.end());
  const double median = seconds[seconds.size() / 2];
  std::printf("%-20s %6d %10d %12.1f %12.0f\n", shape.name, network.GetNumberOfNodes(), counter.scenarios,
              median * 1e3, counter.scenarios / median);
  return true;
}

}  // namespace

bool MeasureDiagrams() {
  bool allMeasured = true;
  std::printf("\n%-20s %6s %10s %12s %12s\n", "influence diagram", "nodes", "scenarios", "update ms",
              "scenarios/s");
  for (const DiagramShape& shape : kShapes) {
    allMeasured = MeasureDiagram(shape) && allMeasured;
  }
  return allMeasured;
}

}  // namespace qvr
