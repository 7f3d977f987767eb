// qvr_bench [folder ...]: one table row for each generated network, and for each batch folder named; then
// what samples, canonical nodes, formulas, equation and hybrid networks, influence diagrams and temporal
// plates cost. Every network runs in a child process, so that none adds to another's peak memory.
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>

#include "canonical_expansion.h"
#include "diagrams.h"
#include "equations.h"
#include "formulas.h"
#include "hybrid_sampling.h"
#include "measurement.h"
#include "model/network.h"
#include "samplers.h"
#include "temporal.h"
#include "workload.h"

namespace qvr {
namespace {

void PrintRow(const char* name, const char* evidence, const UpdateCost& cost) {
  const auto entries = static_cast<double>(cost.cliqueEntries);
  const double perEntry = entries > 0 ? cost.propagateMicroseconds * 1e3 / entries : 0;
  std::printf("%-18s %-8s %4d %12lld %12.1f %12.1f %12.1f %9.2f %10.1f %10.1f\n", name, evidence, cost.code,
              static_cast<long long>(cost.cliqueEntries), cost.microseconds, cost.compileMicroseconds,
              cost.propagateMicroseconds, perEntry, entries * sizeof(double) / (1 << 20), PeakMemory());
  std::fflush(stdout);
}

// False if the network can't be had or its evidence is refused.
bool Measure(const Workload& workload) {
  QVR_network network;
  if (!workload.load(network)) {
    return false;
  }
  PrintRow(workload.name.c_str(), "without", MeasureUpdate(network));
  if (!EnterEvidence(workload, network)) {
    return false;
  }
  PrintRow(workload.name.c_str(), "with", MeasureUpdate(network));
  return true;
}

bool MeasureInChild(const Workload& workload, bool (*measure)(const Workload&)) {
  const pid_t child = fork();
  if (child == 0) {
    _exit(measure(workload) ? 0 : 1);
  }
  int status = 0;
  const bool ended = child > 0 && waitpid(child, &status, 0) == child && WIFEXITED(status);
  if (!ended) {
    std::fprintf(stderr, "%s: the measuring process didn't end by itself\n", workload.name.c_str());
  }
  return ended && WEXITSTATUS(status) == 0;
}

}  // namespace
}  // namespace qvr

int main(int argumentCount, char** arguments) {
  std::vector<qvr::Workload> workloads = qvr::GeneratedWorkloads();
  for (int i = 1; i < argumentCount; ++i) {
    workloads.push_back(qvr::FolderWorkload(arguments[i]));
  }
  std::printf("%-18s %-8s %4s %12s %12s %12s %12s %9s %10s %10s\n", "network", "evidence", "code", "entries",
              "update us", "compile us", "propag. us", "ns/entry", "table MiB", "peak MiB");
  std::fflush(stdout);
  bool allMeasured = true;
  for (const qvr::Workload& workload : workloads) {
    allMeasured = qvr::MeasureInChild(workload, qvr::Measure) && allMeasured;
  }
  qvr::PrintSamplerHeader();
  for (const qvr::Workload& workload : workloads) {
    allMeasured = qvr::MeasureInChild(workload, qvr::MeasureSamplers) && allMeasured;
  }
  qvr::PrintCanonicalExpansion();
  allMeasured = qvr::MeasureFormulas() && allMeasured;
  allMeasured = qvr::MeasureEquations() && allMeasured;
  allMeasured = qvr::MeasureHybridSampling() && allMeasured;
  allMeasured = qvr::MeasureDiagrams() && allMeasured;
  allMeasured = qvr::MeasureTemporal() && allMeasured;
  return allMeasured ? 0 : 1;
}
