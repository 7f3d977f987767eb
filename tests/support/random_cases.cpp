#include "support/random_cases.h"

#include "support/network_builder.h"

namespace qvr {
namespace {

void AddRandomEvidence(QVR_case& scenario, QVR_node& node, TestRandom& random) {
  const int type = node.GetType();
  const int outcomes = node.GetNumberOfOutcomes();
  if (type == kTypeEquation || type == kTypeEquationScc) {
    scenario.AddContinuousEvidence(node.handle, (random.Below(4000) - 2000) / 8.0);
  } else if (random.Chance(0.3)) {
    std::vector<double> soft;
    for (int i = random.Below(5); i > 0; --i) {
      soft.push_back(random.Below(64) / 64.0);
    }
    scenario.AddSoftEvidence(node.handle, soft);
  } else if (outcomes > 0 && random.Chance(0.5)) {
    scenario.AddDiscreteEvidence(node.handle, random.Below(outcomes));
  } else if (outcomes > 0) {
    for (int i = 0; i < 3; ++i) {
      scenario.AddTemporalEvidence(node.handle, random.Below(5), random.Below(outcomes));
    }
  }
}

}  // namespace

void AddRandomCases(QVR_network& network, int count, TestRandom& random) {
  for (int i = 0; i < count; ++i) {
    QVR_case& scenario = *network.GetCases().AddCase("<case> \"\xE9\" " + std::to_string(i));
    if (random.Chance(0.5)) {
      scenario.SetCategory("&amp;'");
      scenario.SetDescription("lines\n\tand\\nslashes\\ \xFF");
      scenario.created = random.Below(2000) - 1000;
      scenario.modified = scenario.created * 10'000'000'000;
    }
    for (int handle : AllNodes(network)) {
      if (random.Chance(0.5)) {
        AddRandomEvidence(scenario, *network.NodeAt(handle), random);
      }
      if (random.Chance(0.2)) {
        scenario.AddTarget(handle);
      }
    }
  }
}

}  // namespace qvr
