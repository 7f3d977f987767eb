// The nodes of a hybrid network as its solver sees them: numbers in one value table, laws as flat programs.
#ifndef QVR_HYBRID_HYBRID_SAMPLE_NODE_H
#define QVR_HYBRID_HYBRID_SAMPLE_NODE_H

#include <memory>
#include <span>
#include <utility>
#include <vector>

#include "hybrid/hybrid_message.h"
#include "hybrid/hybrid_program.h"

namespace qvr {

// A discrete parent, and how far apart its outcomes are among the combinations.
struct ParentDimension {
  int slot;
  int stride;
};

// A node's number is in its own slot of the table: of a discrete node the index of its outcome. Nodes are
// named by their slots, parents having lower ones.
class QVR_hybridSampleNode {
 public:
  virtual ~QVR_hybridSampleNode() = default;
  QVR_hybridSampleNode(const QVR_hybridSampleNode&) = delete;
  QVR_hybridSampleNode& operator=(const QVR_hybridSampleNode&) = delete;

  [[nodiscard]] virtual bool IsDiscrete() const = 0;
  // Puts a draw from the node's law, or what its formula gives, into its slot; both by its parents' numbers.
  // False if the law has no outcome.
  virtual bool Draw(ValueTable& table) = 0;
  // Draws as above or from the belief message, with even chances. The result is the ratio of the law to that
  // mixture at the draw; 0 for a failure.
  [[nodiscard]] virtual double DrawFromMixture(ValueTable& table) = 0;
  // The probability or normalised density of its number, given its parents'; 1 for what has no law.
  [[nodiscard]] virtual double Weigh(const ValueTable& table) = 0;
  // What virtual evidence says of its number; 1 without.
  [[nodiscard]] virtual double GetLikelihood(const ValueTable& /*table*/) const { return 1.0; }
  [[nodiscard]] virtual std::unique_ptr<QVR_hybridMessage> MakeMessage(double densityTolerance) const = 0;

  [[nodiscard]] bool IsKnown() const { return isObserved || isFixed; }

  int handle;
  int slot;
  std::vector<int> parents;   // discrete ones first
  std::vector<int> children;  // likewise
  bool isObserved = false;
  bool isFixed = false;  // the same number in every sample: what it depends on is observed
  bool hasVirtualEvidence = false;

  // What parents and children, in their order here, have sent; empty until messages are set up.
  std::vector<std::unique_ptr<QVR_hybridMessage>> piMessages;
  std::vector<std::unique_ptr<QVR_hybridMessage>> lambdaMessages;
  std::unique_ptr<QVR_hybridMessage> belief;

 protected:
  QVR_hybridSampleNode(int newHandle, int newSlot, std::vector<ParentDimension> newDimensions)
      : handle(newHandle), slot(newSlot), dimensions(std::move(newDimensions)) {}

  // The place of the element or row for the outcomes of the discrete parents.
  [[nodiscard]] std::size_t Combination(const ValueTable& table) const {
    int index = 0;
    for (const ParentDimension& dimension : dimensions) {
      index += static_cast<int>(table[dimension.slot]) * dimension.stride;
    }
    return static_cast<std::size_t>(index);
  }

 private:
  std::vector<ParentDimension> dimensions;
};

class QVR_discreteSampleNode final : public QVR_hybridSampleNode {
 public:
  QVR_discreteSampleNode(int newHandle, int newSlot, int newOutcomeCount, std::vector<ParentDimension> dims)
      : QVR_hybridSampleNode(newHandle, newSlot, std::move(dims)), outcomeCount(newOutcomeCount) {}

  [[nodiscard]] bool IsDiscrete() const override { return true; }
  bool Draw(ValueTable& table) override;
  [[nodiscard]] double DrawFromMixture(ValueTable& table) override;
  [[nodiscard]] double Weigh(const ValueTable& table) override;
  [[nodiscard]] double GetLikelihood(const ValueTable& table) const override;
  [[nodiscard]] std::unique_ptr<QVR_hybridMessage> MakeMessage(double densityTolerance) const override;
  // The probabilities of the outcomes, given the parents' numbers; good until the next call.
  [[nodiscard]] std::span<const double> GetRow(const ValueTable& table);

  int outcomeCount;
  std::vector<double> likelihoods;  // virtual evidence, or empty

 private:
  friend class HybridNetwork;

  std::vector<double> cells;                 // row by row; empty if formulas weigh the outcomes
  std::vector<CompiledExpression> formulas;  // in the same order
  std::vector<double> row;
};

class QVR_continuousSampleNode final : public QVR_hybridSampleNode {
 public:
  QVR_continuousSampleNode(int newHandle, int newSlot, std::vector<ParentDimension> dims)
      : QVR_hybridSampleNode(newHandle, newSlot, std::move(dims)) {}

  [[nodiscard]] bool IsDiscrete() const override { return false; }
  [[nodiscard]] bool IsEquation() const { return laws.empty(); }
  bool Draw(ValueTable& table) override;
  [[nodiscard]] double DrawFromMixture(ValueTable& table) override;
  [[nodiscard]] double Weigh(const ValueTable& table) override;
  [[nodiscard]] std::unique_ptr<QVR_hybridMessage> MakeMessage(double densityTolerance) const override;
  // For an equation node: the formula for the discrete parents' outcomes.
  [[nodiscard]] EquationProgram& GetEquation(const ValueTable& table) {
    return equations[Combination(table)];
  }
  // For a distribution node: the law for the discrete parents' outcomes.
  [[nodiscard]] LawProgram& GetLaw(const ValueTable& table) { return laws[Combination(table)]; }
  [[nodiscard]] bool HasInverse(int parent);  // in every formula
  [[nodiscard]] bool IsDeterministic() const;
  [[nodiscard]] bool CountsSomewhere() const;  // any of its laws

  double lowerBound = 0.0;
  double upperBound = 1.0;

 private:
  friend class HybridNetwork;

  std::vector<EquationProgram> equations;
  std::vector<LawProgram> laws;
};

}  // namespace qvr

#endif
