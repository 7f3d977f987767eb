#include "samplers.h"

#include <algorithm>
#include <chrono>
#include <cstdio>

#include "model/random_source.h"

namespace qvr {
namespace {

constexpr double kNodeDraws = 8e6;  // a run; enough to outweigh what comes before the first sample
constexpr int kRepetitions = 3;
constexpr int kMostNodes = 2000;  // beyond, the learning phase alone would take minutes

double SecondsOfUpdate(QVR_network& network) {
  const auto start = std::chrono::steady_clock::now();
  network.UpdateBeliefs();  // a sampler that accepts nothing has a cost, too
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

// The quickest of some runs: others may share the machine.
double BestSeconds(QVR_network& network, int samples) {
  network.sampleCount = samples;
  double best = SecondsOfUpdate(network);
  for (int i = 1; i < kRepetitions; ++i) {
    best = std::min(best, SecondsOfUpdate(network));
  }
  return best;
}

void PrintSamplerRow(const char* name, const char* evidence, QVR_network& network) {
  const int samples = static_cast<int>(std::max(kNodeDraws / network.GetNumberOfNodes(), 1.0));
  std::printf("%-18s %-8s", name, evidence);
  double learning = 0;
  for (const Sampler& sampler : kSamplers) {
    network.SetBeliefAlgorithm(sampler.id);
    SeedRandomStreams(1);
    const double before = BestSeconds(network, 1);
    const double drawing = BestSeconds(network, samples + 1) - before;
    std::printf(" %10.1f", 1e-6 * samples * network.GetNumberOfNodes() / drawing);
    learning = sampler.id == ALG_ADAPTIVE_IMPORTANCE ? before : learning;
  }
  std::printf(" %11.1f\n", learning * 1e3);
  std::fflush(stdout);
}

}  // namespace

void PrintSamplerHeader() {
  std::printf("\n%-18s %-8s", "M node draws/s", "evidence");
  for (const Sampler& sampler : kSamplers) {
    std::printf(" %10s", sampler.name);
  }
  std::printf(" %11s\n", "learning ms");
  std::fflush(stdout);
}

bool MeasureSamplers(const Workload& workload) {
  QVR_network network;
  if (!workload.load(network)) {
    return false;
  }
  if (network.GetNumberOfNodes() > kMostNodes) {
    return true;
  }
  PrintSamplerRow(workload.name.c_str(), "without", network);
  if (!EnterEvidence(workload, network)) {
    return false;
  }
  PrintSamplerRow(workload.name.c_str(), "with", network);
  return true;
}

}  // namespace qvr
