#include "hybrid_sampling.h"

#include <chrono>
#include <cstdio>
#include <memory>
#include <string>

#include "definitions/def_continuous.h"
#include "model/network.h"

namespace qvr {
namespace {

constexpr int kFormulas = 25;
constexpr int kSamples = 20'000;

bool Place(QVR_network& network, int handle, std::unique_ptr<QVR_Helement> element) {
  auto& definition = dynamic_cast<QVR_defHybrid&>(*network.NodeAt(handle)->definition);
  return definition.SetElement(QVR_intArray(), element) >= 0;
}

bool AddLink(QVR_network& network, int index) {
  const std::string noise = "e" + std::to_string(index);
  const std::string above = "x" + std::to_string(index - 1);
  const std::string own = "x" + std::to_string(index);
  const int random = network.AddNode(kTypeDistribution, noise.c_str());
  const int formula = network.AddNode(kTypeHEquation, own.c_str());
  auto element = std::make_unique<QVR_equationElement>();
  const std::string rest = index == 0 ? "1" : above + "*0.5+" + above + "*" + above + "*0.01";
  element->SetFormula((rest + "+" + noise).c_str());
  element->SetInverse(noise, QVR_expression::Parse((own + "-(" + rest + ")").c_str(), nullptr, nullptr));
  return network.AddArc(random, formula, kOrdinaryLayer) >= 0 &&
         (index == 0 || network.AddArc(network.FindNode(above.c_str()), formula, kOrdinaryLayer) >= 0) &&
         Place(network, formula, std::move(element));
}

bool MeasureRoutine(int algorithm, bool observed) {
  QVR_network network;
  for (int index = 0; index < kFormulas; ++index) {
    if (!AddLink(network, index)) {
      return false;
    }
  }
  if (observed) {
    network.NodeAt(network.LastNode())->value->SetEvidenceValue(1.0);
  }
  network.sampleCount = kSamples;
  network.SetHybridAlgorithm(algorithm);
  const auto start = std::chrono::steady_clock::now();
  const int status = network.UpdateBeliefs();
  const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  std::printf("%-40s %4d %10.3f %10.2f\n", observed ? "chain, its end observed" : "chain", algorithm, seconds,
              1e-6 * kSamples * network.GetNumberOfNodes() / seconds);
  return status == QVR_OKAY;
}

}  // namespace

bool MeasureHybridSampling() {
  std::printf("\n%-40s %4s %10s %10s\n", "hybrid network", "id", "s", "M nodes/s");
  bool measured = MeasureRoutine(14, false);
  for (const int algorithm : {14, 13, 15}) {
    measured = MeasureRoutine(algorithm, true) && measured;
  }
  return measured;
}

}  // namespace qvr
