// Small networks of discrete and continuous nodes, and their posteriors by enumeration and numerical
// integration.
#ifndef QVR_SUPPORT_HYBRID_REFERENCE_H
#define QVR_SUPPORT_HYBRID_REFERENCE_H

#include <map>
#include <vector>

#include "model/network.h"
#include "support/gaussian_reference.h"
#include "support/random_network.h"

namespace qvr {

// A Table or Weighted node has two outcomes, a Law is normal around a sum of its parents, an Equation is such
// a sum.
enum class MixedKind { Table, Weighted, Law, Equation };

// By combination of the discrete parents, the last one fastest: an intercept, then a coefficient for each
// continuous parent. The sum is a Table's probability of outcome 1, the logarithm of a Weighted node's odds
// of it, or a mean.
struct MixedNode {
  MixedKind kind;
  std::vector<int> discreteParents;
  std::vector<int> continuousParents;
  std::vector<std::vector<double>> terms;
  std::vector<double> deviations;  // of a Law, by combination

  [[nodiscard]] bool IsDiscrete() const { return kind == MixedKind::Table || kind == MixedKind::Weighted; }
};

// Parents stand before their children. At most one node is Weighted, with one continuous parent.
using MixedModel = std::vector<MixedNode>;

[[nodiscard]] MixedModel RandomMixed(const ParentLists& parents, TestRandom& random);
// Fills an empty network; node i gets handle i. False if any step was refused.
[[nodiscard]] bool FillMixed(const MixedModel& model, QVR_network& network);

class MixedReference {
 public:
  MixedReference(const MixedModel& model, const std::map<int, double>& evidence);

  // False if something observed had hardly any freedom left, so that no posterior is well defined.
  [[nodiscard]] bool IsDefined() const { return isDefined; }
  // Of a discrete node the probability of outcome 1.
  [[nodiscard]] double Mean(int node) const { return first[static_cast<std::size_t>(node)] / total; }
  [[nodiscard]] double Deviation(int node) const;

 private:
  void AddState(const MixedModel& model, const std::map<int, double>& evidence, unsigned state);
  // Of the tables, and the density of what is observed, which `given` then takes on.
  double Observe(const MixedModel& model, const std::map<int, double>& evidence, unsigned state,
                 GaussianReference& given);

  bool isDefined = true;
  double total = 0.0;
  std::vector<double> first;   // sums of weighted numbers
  std::vector<double> second;  // and of their squares
};

}  // namespace qvr

#endif
