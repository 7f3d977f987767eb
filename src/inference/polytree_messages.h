// What a node of a polytree tells its neighbours, and what it makes of what they tell.
#ifndef QVR_INFERENCE_POLYTREE_MESSAGES_H
#define QVR_INFERENCE_POLYTREE_MESSAGES_H

#include <cstddef>
#include <span>
#include <vector>

#include "inference/polytree_graph.h"

namespace qvr {

// Which links a node sends along.
enum class PolyDirection {
  Inward,   // to its inward neighbour alone
  Outward,  // to all others
};

// The formulas of one family, a node and its parents, in time linear in its table. Every message and
// product is scaled by a power of two so that its largest entry is in [0.5, 1); one of zeros stays so.
class PolyMessages {
 public:
  // To be called before ComputePi and SendLambda of the node, for which it prepares.
  void EnterFamily(const PolyNode& x);
  // Both give an observed node the delta of its evidence.
  void ComputePi(PolyNode& x) const;
  static void ComputeLambda(PolyNode& x);
  // Writes the product of lambda and pi, normalised, to the value of an unobserved node; 0.0 for all
  // outcomes where they contradict each other, but 1.0 for an outcome that is the only one.
  static void ComputeBelief(const PolyNode& x);
  // To the children, from x.pi. An observed node sends its delta.
  void SendPi(const PolyNode& x, PolyDirection direction);
  // To the parents, from x.lambda.
  void SendLambda(const PolyNode& x, PolyDirection direction);

 private:
  // Products over the first `count` parents' messages: an entry for each combination of their outcomes.
  [[nodiscard]] std::span<const double> ProductOf(std::size_t count) const;
  void MultiplyLaterChildren(const PolyNode& x);

  std::vector<double> products;            // of no parent, the first one, the first two, ...
  std::vector<std::size_t> productStarts;  // in `products`
  std::vector<double> rowWeights;          // an entry for each combination of the parents not yet summed out
  std::vector<double> later;    // for each child, pi times the lambda messages of all children after it
  std::vector<double> earlier;  // the product of the lambda messages of all children before one
};

}  // namespace qvr

#endif
