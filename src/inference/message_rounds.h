// Sum-product messages along the arcs of a component, all at once in each round.
#ifndef QVR_INFERENCE_MESSAGE_ROUNDS_H
#define QVR_INFERENCE_MESSAGE_ROUNDS_H

#include <span>
#include <vector>

#include "inference/sample_network.h"

namespace qvr {

// Loopy belief propagation (Pearl 1988; Murphy, Weiss and Jordan 1999). Every arc carries a lambda message
// from the child and a pi message from the parent, both by the parent's outcomes. Exact where no two paths
// join the same nodes, one round after the farthest message has arrived: with as many rounds as the longest
// path has nodes. Throws std::bad_alloc on construction only.
class MessageRounds {
 public:
  explicit MessageRounds(const SampleNet& newNet);  // outlives this

  // Up to `count` rounds, but no more than 10,000: stops at the first that leaves all messages as they were.
  void Run(int count);
  // By the node's outcomes, from the present messages of its children; the evidence of an observed node.
  // The largest entry isn't too small to multiply with.
  std::span<const double> LambdaOf(std::size_t place);
  // As the last round left it: what the messages before that round said. Zeros if there was none.
  [[nodiscard]] std::span<const double> BeliefOf(std::size_t place) const;

 private:
  // One arc, by its place in net.arcs.
  struct Link {
    std::size_t firstEntry;  // in the blocks of messages
    std::size_t count;       // the parent's outcomes
  };

  void LinkChildren();
  // False if all messages came out as they were.
  bool Round();
  void SendFrom(std::size_t place);
  void MultiplyParents(const SampleNode& node);
  void SumFamily(const SampleNode& node, std::span<const double> lambda);
  void SendToParents(const SampleNode& node);
  void SendToChildren(std::size_t place, std::span<const double> lambda);
  void StoreBelief(const SampleNode& node, std::span<const double> lambda);
  void NormaliseMessages(std::vector<double>& messages) const;
  [[nodiscard]] std::span<const double> Message(const std::vector<double>& block, std::size_t arc) const {
    return {block.data() + links[arc].firstEntry, links[arc].count};
  }
  [[nodiscard]] std::span<double> Message(std::vector<double>& block, std::size_t arc) const {
    return {block.data() + links[arc].firstEntry, links[arc].count};
  }

  const SampleNet& net;
  std::vector<Link> links;              // by place in net.arcs
  std::vector<std::size_t> childStart;  // by place, and the end
  std::vector<std::size_t> childArcs;   // places in net.arcs, in the order of each node's children
  std::vector<double> lambdaMessages;   // of the last round, as piMessages
  std::vector<double> piMessages;
  std::vector<double> newLambdaMessages;
  std::vector<double> newPiMessages;
  std::vector<double> beliefs;      // by outcome of each node
  std::vector<double> lambda;       // of one node
  std::vector<double> pi;           // of one node
  QVR_Dmatrix parentProduct;        // by combination of one node's parents
  std::vector<double> familySums;   // by entry of the messages of one node's arcs
  std::vector<std::size_t> digits;  // one for each parent of one node
};

}  // namespace qvr

#endif
