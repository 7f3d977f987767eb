// qvr_accuracy [folder ...]: how far the samplers stay from the exact posteriors. One line for each network,
// sampler and number of samples: the mean over runs and unobserved nodes of the Hellinger distance to the
// join tree's answer, or "none" where a run had no useful sample. The networks are a generated one and those
// of the batch folders named, each with the evidence of its first case.
#include <cmath>
#include <cstdio>
#include <string>
#include <vector>

#include "model/random_source.h"
#include "samplers.h"
#include "support/network_builder.h"

namespace qvr {
namespace {

constexpr int kSampleCounts[] = {100, 300, 1000, 3000, 10000, 30000, 100000};
constexpr int kRuns = 10;

using Beliefs = std::vector<std::vector<double>>;

Beliefs UnobservedBeliefs(QVR_network& network) {
  Beliefs beliefs;
  for (const int handle : AllNodes(network)) {
    if (!ValueOf(network, handle).HasEvidence()) {
      beliefs.push_back(BeliefOf(network, handle));
    }
  }
  return beliefs;
}

double Hellinger(const std::vector<double>& p, const std::vector<double>& q) {
  double sum = 0;
  for (std::size_t i = 0; i < p.size(); ++i) {
    const double difference = std::sqrt(p[i]) - std::sqrt(q[i]);
    sum += difference * difference;
  }
  return std::sqrt(sum / 2);
}

double MeanDistance(const Beliefs& found, const Beliefs& exact) {
  double sum = 0;
  for (std::size_t i = 0; i < exact.size(); ++i) {
    sum += Hellinger(found[i], exact[i]);
  }
  return sum / static_cast<double>(exact.size());
}

void Measure(const char* name, QVR_network& network, const Sampler& sampler, int samples,
             const Beliefs& exact) {
  network.SetBeliefAlgorithm(sampler.id);
  network.sampleCount = samples;
  SeedRandomStreams(static_cast<std::uint32_t>(samples));
  double sum = 0;
  for (int run = 0; run < kRuns; ++run) {
    if (network.UpdateBeliefs() != QVR_OKAY) {
      std::printf("%s\t%s\t%d\tnone\n", name, sampler.name, samples);
      return;
    }
    sum += MeanDistance(UnobservedBeliefs(network), exact);
  }
  std::printf("%s\t%s\t%d\t%.5f\n", name, sampler.name, samples, sum / kRuns);
  std::fflush(stdout);
}

bool MeasureNetwork(const Workload& workload) {
  QVR_network network;
  if (!workload.load(network) || !EnterEvidence(workload, network) || network.UpdateBeliefs() != QVR_OKAY) {
    return false;
  }
  const Beliefs exact = UnobservedBeliefs(network);
  for (const Sampler& sampler : kSamplers) {
    for (const int samples : kSampleCounts) {
      Measure(workload.name.c_str(), network, sampler, samples, exact);
    }
  }
  network.SetBeliefAlgorithm(ALG_LOOPY_BELIEF);
  for (const int rounds : {5, 20}) {
    EpisParameters parameters;
    parameters.propLength = rounds;
    if (network.SetEpisParameters(parameters) < 0 || network.UpdateBeliefs() < 0) {
      return false;
    }
    std::printf("%s\tloopy\t%d rounds\t%.5f\n", workload.name.c_str(), rounds,
                MeanDistance(UnobservedBeliefs(network), exact));
  }
  return true;
}

}  // namespace
}  // namespace qvr

int main(int argumentCount, char** arguments) {
  std::vector<qvr::Workload> workloads;
  for (int i = 1; i < argumentCount; ++i) {
    workloads.push_back(qvr::FolderWorkload(arguments[i]));
  }
  for (const qvr::Workload& workload : qvr::GeneratedWorkloads()) {
    if (workload.name == "random_100") {
      workloads.push_back(workload);
    }
  }
  std::printf("network\tsampler\tsamples\tHellinger distance\n");
  bool allMeasured = true;
  for (const qvr::Workload& workload : workloads) {
    allMeasured = qvr::MeasureNetwork(workload) && allMeasured;
  }
  return allMeasured ? 0 : 1;
}
