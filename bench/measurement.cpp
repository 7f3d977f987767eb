#include "measurement.h"

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <fstream>
#include <string>
#include <vector>

#include "inference/join_tree_statistics.h"

namespace qvr {
namespace {

// Enough for a steady median of short updates; long ones get few repetitions.
constexpr double kSecondsToSpend = 1.5;
constexpr std::size_t kLeastRepetitions = 5;
constexpr std::size_t kMostRepetitions = 20001;

double SecondsSince(std::chrono::steady_clock::time_point start) {
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

double MedianMicroseconds(std::vector<double>& seconds) {
  const auto middle = seconds.begin() + static_cast<std::ptrdiff_t>(seconds.size() / 2);
  std::nth_element(seconds.begin(), middle, seconds.end());
  return *middle * 1e6;
}

}  // namespace

UpdateCost MeasureUpdate(QVR_network& network) {
  UpdateCost cost;
  cost.code = network.UpdateBeliefs();
  std::vector<double> whole;
  std::vector<double> compile;
  std::vector<double> propagate;
  const auto start = std::chrono::steady_clock::now();
  while (cost.code == 0 && whole.size() < kMostRepetitions &&
         (whole.size() < kLeastRepetitions || SecondsSince(start) < kSecondsToSpend)) {
    ResetJoinTreeStatistics();
    const auto updateStart = std::chrono::steady_clock::now();
    cost.code = network.UpdateBeliefs();
    whole.push_back(SecondsSince(updateStart));
    const JoinTreeStatistics& statistics = LastJoinTreeStatistics();
    compile.push_back(statistics.compileSeconds);
    propagate.push_back(statistics.propagateSeconds);
    cost.cliqueEntries = statistics.cliqueEntries;
  }
  if (!whole.empty()) {
    cost.microseconds = MedianMicroseconds(whole);
    cost.compileMicroseconds = MedianMicroseconds(compile);
    cost.propagateMicroseconds = MedianMicroseconds(propagate);
  }
  return cost;
}

double PeakMemory() {
  std::ifstream status("/proc/self/status");
  std::string line;
  while (std::getline(status, line)) {
    if (line.rfind("VmHWM:", 0) == 0) {
      return std::strtod(line.c_str() + 6, nullptr) / 1024;
    }
  }
  return 0;
}

}  // namespace qvr
