// Deduces evidence: what the evidence of a node forces, through certain rows of tables, on its neighbours.
#ifndef QVR_MODEL_EVIDENCE_PROPAGATION_H
#define QVR_MODEL_EVIDENCE_PROPAGATION_H

#include <vector>

#include "model/network.h"

namespace qvr {

class EvidencePropagation {
 public:
  explicit EvidencePropagation(QVR_network& newNetwork) : network(newNetwork) {}

  // Depth first from a node with evidence, children before parents, going on only from nodes that
  // a deduction has just been made for. -26, logged, when a deduction contradicts evidence: the
  // deductions made by then stay.
  int Run(int handle);

  // Whether the node's evidence has probability 0 under all that its parents may still be.
  [[nodiscard]] bool IsImpossible(int handle);

 private:
  // A node on the way, and how far its neighbours have been looked at.
  struct Frame {
    int handle;
    int outcome;
    bool backward = false;        // children first, then parents
    int neighbour = 0;            // the place in that list
    int childOutcome = 0;         // the child's outcome to test next
    std::vector<int> pattern;     // what is known of the child's family
    std::vector<int> deductions;  // backward: the only outcome each parent can have, or -2
  };

  int Enter(int handle);
  int StepForward();
  int StepBackward();
  void TurnBackward(Frame& frame);
  int Deduce(int from, int to, int outcome, bool& isNew);
  [[nodiscard]] QVR_nodeDefinition* DefinitionOf(int handle) const;  // null without
  // The evidence of each parent, -1 without; and -1 for the node itself.
  [[nodiscard]] std::vector<int> FamilyPattern(int handle) const;
  [[nodiscard]] bool IsDecisionOrUtility(int handle) const;
  // From the plate to a terminal node: what is known of the parent is about the first slice, and the child
  // belongs to the last.
  [[nodiscard]] bool SpansSlices(int parent, int child) const;
  [[nodiscard]] int EvidenceOf(int handle) const;  // negative without

  QVR_network& network;
  std::vector<Frame> frames;
};

}  // namespace qvr

#endif
