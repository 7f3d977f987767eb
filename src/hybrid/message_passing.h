// Belief propagation with messages that are sets of weighted samples.
#ifndef QVR_HYBRID_MESSAGE_PASSING_H
#define QVR_HYBRID_MESSAGE_PASSING_H

#include <memory>
#include <optional>
#include <vector>

#include "hybrid/hybrid_network.h"

namespace qvr {

struct MessageSettings {
  int messageSamples = 250;  // for one message
  int innerSamples = 12;     // averaged for one weight of a message to a parent
  int iterations = 4;        // rounds of message passing
  double densityTolerance = 0.001;
  int neighbourCount = 2;  // this and what follows is kept beside results, and not used
  double densityBound = 10.0;
  int useEstimate = 1;
};

// Non-parametric belief propagation (Sudderth et al. 2003; Koller, Lerner and Angelov 1999), by Pearl's
// (1988) two kinds of messages: a node tells each child what its other neighbours make it believe of itself,
// and each parent how likely what is known at and below the node is for the parent's numbers.
class MessagePassing {
 public:
  MessagePassing(HybridNetwork& newNetwork, const MessageSettings& newSettings);

  // Leaves a belief in each unknown node.
  void Run();

 private:
  using MessagePtr = std::unique_ptr<QVR_hybridMessage>;
  // Which messages are due because what they are made of has changed.
  struct Due {
    std::vector<bool> toParents;
    std::vector<bool> toChildren;
    bool draws = true;  // its forward draws, too
  };

  void SetUpMessages();
  [[nodiscard]] MessagePtr MakeMessage(int slot) const {
    return network[slot].MakeMessage(settings.densityTolerance);
  }
  // Puts draws from the parents' messages into the table.
  void DrawParents(int slot, int exceptParent);

  // message_forward.cpp: to the children, and beliefs
  void SendToChildren(int slot);
  void DrawForward(int slot);
  // The node's forward draws, or its outcomes with their probabilities.
  [[nodiscard]] std::vector<WeightedSample> GetPoints(int slot) const;
  // What each child has sent, at each of the points; nothing for a child that has told nothing.
  [[nodiscard]] std::vector<std::vector<double>> GetFactors(int slot,
                                                            const std::vector<WeightedSample>& points) const;
  // The points, weighted by all children's factors but that of one (-1: by all).
  void Fill(int slot, std::vector<WeightedSample> points, const std::vector<std::vector<double>>& factors,
            int exceptChild, QVR_hybridMessage& message) const;

  // message_backward.cpp: to the parents
  void SendToParents(int slot);
  // False if the node has nothing to say.
  [[nodiscard]] bool FillLambda(int slot, std::size_t parentIndex, QVR_hybridMessage& message);
  void FillByInverse(int slot, int parent, double number, QVR_continuousMessage& message);
  void FillByDraws(int slot, std::size_t parentIndex, QVR_continuousMessage& message);
  void FillByOutcomes(int slot, int parent, QVR_discreteMessage& message);
  // Of what is known at and below the node, for the number of one parent that stands in the table.
  [[nodiscard]] double AverageLikelihood(int slot, int parent, int draws);
  [[nodiscard]] double DrawLikelihood(int slot, int parent);
  [[nodiscard]] double ExpectOutcomes(int slot);
  [[nodiscard]] double WeighByInverse(int slot, int parent, double number);
  // The product of what the children have sent, at the number in the table.
  [[nodiscard]] double MultiplyLambdas(int slot) const;
  // The index of another parent that an equation can be solved for, or -1.
  [[nodiscard]] int FindSolvableParent(int slot, int exceptParent);
  [[nodiscard]] bool HasInformation(int slot) const;
  [[nodiscard]] bool MixesFormulas(int slot) const;
  [[nodiscard]] bool AreOthersFixed(int slot, int exceptParent) const;
  // The node's number, if it is observed, or if a child leaves it no choice.
  [[nodiscard]] std::optional<double> GetNumber(int slot) const;

  HybridNetwork& network;
  const MessageSettings& settings;
  std::vector<Due> due;                            // by slot
  std::vector<std::vector<double>> forward;        // by slot: draws, or probabilities of outcomes
  std::vector<std::vector<std::size_t>> atParent;  // by slot and parent: the place among its children
  std::vector<std::vector<std::size_t>> atChild;   // by slot and child: the place among its parents
};

// Draws made for each sample of a message.
inline constexpr int kDrawsPerSample = 16;
// Sorts the finite draws and keeps `count` of them, each for a run of equally many and with their weight:
// these stand for the distribution far better than as many independent draws.
[[nodiscard]] std::vector<WeightedSample> Thin(std::vector<WeightedSample> draws, int count);

}  // namespace qvr

#endif
