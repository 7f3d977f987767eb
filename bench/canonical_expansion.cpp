#include "canonical_expansion.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <string>
#include <vector>

#include "definitions/cast.h"
#include "definitions/ci_definition.h"
#include "definitions/demorgan.h"
#include "definitions/noisy_adder.h"
#include "support/network_builder.h"
#include "support/random_canonical.h"

namespace qvr {
namespace {

void Expand(QVR_nodeDefinition& definition) {
  if (auto* ci = dynamic_cast<QVR_ciDefinition*>(&definition)) {
    ci->ExpandToCpt();
  } else if (auto* cast = dynamic_cast<QVR_cast*>(&definition)) {
    cast->SetBaseline(0.5);
  } else if (auto* demorgan = dynamic_cast<QVR_demorgan*>(&definition)) {
    demorgan->SetPriorBelief(0.5);
  }
}

double MedianNanoseconds(QVR_nodeDefinition& definition) {
  constexpr int kRepetitions = 31;
  std::vector<double> times;
  for (int i = 0; i < kRepetitions; ++i) {
    const auto start = std::chrono::steady_clock::now();
    Expand(definition);
    times.push_back(
        std::chrono::duration<double, std::nano>(std::chrono::steady_clock::now() - start).count());
  }
  std::nth_element(times.begin(), times.begin() + kRepetitions / 2, times.end());
  return times[kRepetitions / 2];
}

}  // namespace

void PrintCanonicalExpansion() {
  std::printf("%-18s %8s %9s %12s %12s %9s\n", "expansion", "parents", "outcomes", "entries", "us",
              "ns/entry");
  for (int parentCount : {4, 10, 16}) {
    QVR_network network;
    const UpdateFlagsOff quiet(network, UPDATE_TRACK_CHANGES);
    TestRandom random(1);
    std::vector<int> parents;
    for (int i = 0; i < parentCount; ++i) {
      parents.push_back(AddChance(network, nullptr, 2, {}, {.5, .5}));
    }
    for (int type : kCanonicalTypes) {
      const int handle = AddOfType(network, type, nullptr, 3, parents);
      if (!SetRandomNumbers(network, handle, {}, random)) {
        continue;
      }
      QVR_nodeDefinition& definition = *network.NodeAt(handle)->definition;
      if (auto* adder = dynamic_cast<QVR_noisyAdder*>(&definition)) {
        adder->SetFunction(kAdderAverage);
      }
      const double nanoseconds = MedianNanoseconds(definition);
      std::printf("%-18s %8d %9d %12d %12.1f %9.2f\n", definition.GetTypeName(), parentCount,
                  definition.GetNumberOfOutcomes(), definition.GetSize(), nanoseconds / 1e3,
                  nanoseconds / definition.GetSize());
    }
  }
  std::fflush(stdout);
}

}  // namespace qvr
