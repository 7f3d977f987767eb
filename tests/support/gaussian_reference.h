// Linear Gaussian networks in closed form: the joint normal distribution, conditioned on evidence.
#ifndef QVR_SUPPORT_GAUSSIAN_REFERENCE_H
#define QVR_SUPPORT_GAUSSIAN_REFERENCE_H

#include <string>
#include <vector>

#include "model/network.h"
#include "support/random_network.h"

namespace qvr {

struct GaussianTerm {
  int parent;  // index of an earlier node
  double coefficient;
};

// intercept + the sum of coefficient * parent + Normal(0, deviation).
struct GaussianNode {
  double intercept;
  std::vector<GaussianTerm> terms;
  double deviation;
};

using GaussianModel = std::vector<GaussianNode>;  // parents before their children

class GaussianReference {
 public:
  explicit GaussianReference(const GaussianModel& model);

  // Adds to what was observed before. The node must still have a deviation above 0.
  void Observe(int node, double value);
  [[nodiscard]] double Mean(int node) const { return means[static_cast<std::size_t>(node)]; }
  [[nodiscard]] double Deviation(int node) const;
  [[nodiscard]] double Covariance(int first, int second) const {
    return covariances[static_cast<std::size_t>(first)][static_cast<std::size_t>(second)];
  }

 private:
  std::vector<double> means;
  std::vector<std::vector<double>> covariances;
};

[[nodiscard]] GaussianModel RandomGaussian(const ParentLists& parents, TestRandom& random);
// The equation of a node, whose name is "x<index>".
[[nodiscard]] std::string GaussianFormula(const GaussianModel& model, int node);
// Fills an empty network with equation nodes of wide bounds; node i gets handle i. False if one was refused.
[[nodiscard]] bool FillWithEquations(const GaussianModel& model, QVR_network& network);

}  // namespace qvr

#endif
