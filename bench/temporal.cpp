#include "temporal.h"

#include <algorithm>
#include <chrono>
#include <cstdio>

#include "support/temporal_reference.h"

namespace qvr {
namespace {

constexpr int kRuns = 5;
constexpr int kSliceCounts[] = {50, 500, 5000};

// The best of several runs; negative if one fails.
template <typename Run>
double MillisecondsOf(const Run& run) {
  double best = 1e300;
  for (int i = 0; i < kRuns; ++i) {
    const auto start = std::chrono::steady_clock::now();
    if (run() < 0) {
      return -1;
    }
    const std::chrono::duration<double, std::milli> spent = std::chrono::steady_clock::now() - start;
    best = std::min(best, spent.count());
  }
  return best;
}

}  // namespace

bool MeasureTemporal() {
  std::printf("\n%-18s %8s %12s %12s\n", "plate of 6 nodes", "slices", "unroll ms", "update ms");
  TestRandom random(1);
  QVR_network network;
  MakeHiddenChains(network, 2, random);
  QVR_dynamicExtension& temporal = *network.GetDynamicExtension();
  for (const int slices : kSliceCounts) {
    temporal.SetSliceCount(slices);
    const double unroll = MillisecondsOf([&] {
      QVR_network unrolled;
      QVR_intArray handleMap;
      return temporal.Unroll(unrolled, handleMap);
    });
    const double update = MillisecondsOf([&] { return network.UpdateBeliefs(); });
    std::printf("%-18s %8d %12.1f %12.1f\n", "hidden chains", slices, unroll, update);
    if (unroll < 0 || update < 0) {
      return false;
    }
  }
  return true;
}

}  // namespace qvr
