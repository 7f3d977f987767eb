// The networks that are measured: generated ones, and those of batch folders.
#ifndef QVR_BENCH_WORKLOAD_H
#define QVR_BENCH_WORKLOAD_H

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "model/network.h"

namespace qvr {

struct Workload {
  std::string name;
  // Fills an empty network. False, with a line on standard error, if that fails.
  std::function<bool(QVR_network&)> load;
  // Handles and outcomes of the case with evidence.
  std::function<std::vector<std::pair<int, int>>(QVR_network&)> evidence;
};

// Enters the workload's evidence. False, with a line on standard error, if it is refused.
[[nodiscard]] bool EnterEvidence(const Workload& workload, QVR_network& network);

[[nodiscard]] std::vector<Workload> GeneratedWorkloads();
// The evidence is the first line of cases that observes anything.
[[nodiscard]] Workload FolderWorkload(const std::string& folder);

}  // namespace qvr

#endif
