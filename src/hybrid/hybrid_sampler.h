// Weighted samples of a hybrid network.
#ifndef QVR_HYBRID_HYBRID_SAMPLER_H
#define QVR_HYBRID_HYBRID_SAMPLER_H

#include <vector>

#include "hybrid/hybrid_paths.h"

namespace qvr {

// Every node draws from its law in turn; where a path leads up from observed equation nodes, the nodes on it
// follow from the one below. The weight of a sample is the probability or density of what is observed; a
// solved random node counts by its own density, divided by the derivatives along its path, since that is
// what the change of variables makes of the density of the observed number.
class HybridSampler {
 public:
  // Unknown nodes of these slots draw from the even mixture of their law and their belief message, unless
  // they are on a path or computed. `requested` are the slots whose numbers are kept.
  HybridSampler(HybridNetwork& newNetwork, const std::vector<bool>& mixes, std::vector<int> newRequested);

  // Ends early when a million samples had the weight 0.
  void Run(int sampleCount);

  [[nodiscard]] const std::vector<int>& GetRequested() const { return requested; }
  // The numbers of the i-th requested node, sample by sample.
  [[nodiscard]] const std::vector<double>& GetColumn(std::size_t i) const { return columns[i]; }
  // Divided by the largest. Empty if no sample had a weight.
  [[nodiscard]] std::vector<double> GetWeights() const;

 private:
  enum class Kind { Draw, DrawWithLikelihood, Mix, Solve, Weigh, WeighSolved, Check };
  struct Step {
    Kind kind;
    int slot;
    int path;  // of Solve and WeighSolved
  };
  void MakeSteps(const SamplingOrder& order, const std::vector<bool>& mixes);
  void AddDraw(int slot, bool mixes);
  [[nodiscard]] double TakeStep(const Step& step);
  [[nodiscard]] double Mix(QVR_hybridSampleNode& node);
  [[nodiscard]] double Solve(const Step& step);
  [[nodiscard]] double WeighSolved(const Step& step);
  [[nodiscard]] double Check(int slot);
  // False if the weight is 0.
  [[nodiscard]] bool DrawSample();

  HybridNetwork& network;
  std::vector<int> requested;
  std::vector<Step> steps;
  std::vector<int> lowerNodes;         // by slot
  std::vector<int> pathOf;             // by slot; -1 for nodes on none
  std::vector<double> logDerivatives;  // by path, of the steps so far
  std::vector<std::vector<double>> columns;
  double logWeight = 0.0;  // of the present sample
  std::vector<double> logWeights;
};

// Solves the formula of an equation node for one of its parents where the table stands, and puts the number
// there. The result is the size of the formula's derivative there; 0 where there is no solution: the inverse
// of Sqrt also squares negative numbers.
[[nodiscard]] double SolveForParent(HybridNetwork& network, int node, int parent);

}  // namespace qvr

#endif
