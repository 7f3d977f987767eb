// Message passing over one compiled join tree (Jensen, Lauritzen and Olesen 1990). Private to the engine.
#ifndef QVR_INFERENCE_JOIN_TREE_PROPAGATION_H
#define QVR_INFERENCE_JOIN_TREE_PROPAGATION_H

#include <span>
#include <vector>

#include "inference/join_tree_structure.h"
#include "inference/relevance.h"
#include "inference/table_block.h"
#include "inference/table_kernels.h"

namespace qvr {

// Lives in the scratch of a thread, for the memory it holds.
class JoinTreePropagation {
 public:
  // Borrows both until the next call. Throws std::bad_alloc when the tables don't fit.
  void Prepare(const JoinTreeStructure& newTree, const RelevanceComponent& newComponent);
  // Fills every clique's table and sends messages towards the root.
  void Collect();
  // Sends messages away from the root as far as they serve a wanted node (1 by position), and sums up
  // the marginals.
  void Distribute(std::span<const unsigned char> wanted);
  // The unnormalised marginal at this place of the structure's posteriors.
  [[nodiscard]] std::span<const double> Marginal(std::size_t place) const { return MarginalCells(place); }

 private:
  // A small table that is walked beside a clique's table.
  template <typename Cells>
  struct Companion {
    Cells* cells;  // moves with the walk
    SlabPlan plan;
    const int* outerStrides;
  };
  using Input = Companion<const double>;
  using Output = Companion<double>;

  static std::size_t Index(int i) { return static_cast<std::size_t>(i); }
  [[nodiscard]] bool Sends(int clique) const {
    return tree->parent[Index(clique)] >= 0 && !tree->separators[clique].empty();
  }
  [[nodiscard]] std::span<double> Table(int clique) const;
  [[nodiscard]] std::span<double> Message(int clique) const;     // sent to the parent
  [[nodiscard]] std::span<double> NewMessage(int clique) const;  // got from the parent
  [[nodiscard]] std::span<double> MarginalCells(std::size_t place) const;
  [[nodiscard]] const double* FirstCell(int node) const;
  void AddInput(const double* first, const TablePlan& plan);
  void AddOutput(std::span<double> cellsOfSum, const TablePlan& plan);
  void ClearOutputs();
  void ListFactors(int clique);
  void ListSums(int clique, std::span<const unsigned char> wanted);
  void FillSlab(double* slab, std::size_t size) const;
  void SumSlab(const double* slab) const;
  void CollectClique(int clique);
  void FillStepwise(int clique);
  void MultiplyTable(int clique, const Input& input, bool first);
  void MarkNeeded(std::span<const unsigned char> wanted);
  void MakeRatio(int clique);
  void DistributeClique(int clique, std::span<const unsigned char> wanted);
  void FinishClique(int clique, std::span<const unsigned char> wanted);
  template <typename Work>
  void WalkSlabs(int clique, const Work& work);
  void MoveCompanions(int dimension, int items);

  const JoinTreeStructure* tree = nullptr;
  const RelevanceComponent* component = nullptr;
  TableBlock block;
  double* cells = nullptr;
  std::vector<std::size_t> tableAt;     // by clique, in `cells`
  std::vector<std::size_t> messageAt;   // by clique; the new message behind it
  std::vector<std::size_t> marginalAt;  // by place in the posteriors, one more at the end
  std::vector<unsigned char> needed;    // by clique
  std::vector<Input> inputs;
  std::vector<Output> outputs;
  std::vector<std::span<double>> sums;  // the outputs' tables, which don't move
  std::vector<int> odometer;
  std::vector<double> product;  // one slab
};

}  // namespace qvr

#endif
