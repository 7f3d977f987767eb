#include "equations.h"

#include <chrono>
#include <cstdio>
#include <string>

#include "support/network_builder.h"

namespace qvr {
namespace {

constexpr int kNodes = 50;
constexpr int kSamples = 20000;
constexpr int kUpdates = 5;

// Every node has this formula over the two before it, p and q.
constexpr const char* kFormulas[] = {
    "p*0.5+q*0.25-p/9",     // five operations
    "(p-q)*(p+q)/(p*p+1)",  // six
    "p*0.5-q*0.25+Normal(0,1)",
};

bool FillChain(const std::string& formula, QVR_network& network) {
  bool filled =
      AddEquation(network, "x0", "x0=Normal(0,1)") >= 0 && AddEquation(network, "x1", "x1=x0/2") >= 0;
  for (int i = 2; i < kNodes && filled; ++i) {
    const std::string id = "x" + std::to_string(i);
    std::string text = id + "=";
    for (char letter : formula) {
      text += letter == 'p'   ? "x" + std::to_string(i - 1)
              : letter == 'q' ? "x" + std::to_string(i - 2)
                              : std::string(1, letter);
    }
    filled = AddEquation(network, id.c_str(), text.c_str()) >= 0;
  }
  network.sampleCount = kSamples;
  return filled;
}

bool MeasureChain(const char* formula) {
  using Clock = std::chrono::steady_clock;
  QVR_network network;
  if (!FillChain(formula, network) || network.UpdateBeliefs() < 0) {
    std::fprintf(stderr, "%s can't be sampled\n", formula);
    return false;
  }
  const auto start = Clock::now();
  for (int i = 0; i < kUpdates; ++i) {
    if (network.UpdateBeliefs() < 0) {
      return false;
    }
  }
  const double seconds = std::chrono::duration<double>(Clock::now() - start).count();
  std::printf("%-50s %10.1f\n", formula, 1e-6 * kUpdates * kSamples * kNodes / seconds);
  return true;
}

}  // namespace

bool MeasureEquations() {
  bool allMeasured = true;
  std::printf("\n%-50s %10s\n", "equation networks of 50 nodes", "M nodes/s");
  for (const char* formula : kFormulas) {
    allMeasured = MeasureChain(formula) && allMeasured;
  }
  return allMeasured;
}

}  // namespace qvr
