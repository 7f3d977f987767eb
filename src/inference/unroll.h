// Makes an ordinary network of a temporal one: the plate once for each slice.
#ifndef QVR_INFERENCE_UNROLL_H
#define QVR_INFERENCE_UNROLL_H

#include <vector>

#include "model/dynamic_extension.h"

namespace qvr {

// The copy in slice t of a plate node depends on the copies of the same slice, on those of t - k along
// temporal arcs of order k, and on the nodes outside the plate; anchors reach slice 0 alone. Which arcs and
// which table a copy has depends on the highest order not above t, so for each plate node there is a recipe
// for each order. Takes time linear in copies and arcs: nothing is tested or told for a single arc, and
// tables are cloned.
class Unrolling {
 public:
  Unrolling(QVR_network& newSource, QVR_dynamicExtension& newTemporal, QVR_network& newUnrolled);

  // -2 without slices, -51 for nodes that can't have copies, -42 for too many of them.
  [[nodiscard]] int Test() const;
  int Build(QVR_intArray& handleMap);

 private:
  struct Recipe {
    int firstSlice;
    std::vector<TemporalParent> parents;  // in the order of the definition's dimensions
    const QVR_nodeDefinition* definition;
  };
  struct PlateNode {
    int handle;
    std::vector<Recipe> recipes;  // by slice, ascending
    std::size_t current = 0;      // the one of the slice at hand
  };

  [[nodiscard]] int TestNodes() const;
  [[nodiscard]] long long CountCells(const PlateNode& node) const;
  [[nodiscard]] long long CountCellsWithoutAnchors(int handle) const;
  int CloneSource(int copyCount);
  void WriteRecipes(PlateNode& node);
  void SortPlate();
  int AddSlice(int slice, QVR_intArray& handleMap);
  int AddCopies(int slice, QVR_intArray& handleMap);
  int FinishCopy(PlateNode& node, int copy, int slice, const QVR_intArray& handleMap);
  int Link(const std::vector<int>& parents, int child);
  // Without the numbers that depend on anchors: what later copies clone.
  int MakePlainDefinition(PlateNode& node, int copy, const std::vector<int>& parents);
  [[nodiscard]] bool HasAnchor(int handle) const;
  int ConnectTerminals(const QVR_intArray& handleMap);
  int MoveTerminals(int plateNode, int lastCopy);
  int RedirectParents(int terminal, const QVR_intArray& handleMap);
  int EnterEvidence(const QVR_intArray& handleMap);
  [[nodiscard]] int PlaceInPlate(int handle) const { return places[static_cast<std::size_t>(handle)]; }
  [[nodiscard]] int CopyOf(int place, int slice, const QVR_intArray& handleMap) const;

  QVR_network& source;
  QVR_dynamicExtension& temporal;
  QVR_network& unrolled;
  std::vector<PlateNode> plate;  // by handle, ascending
  std::vector<int> places;       // by handle: the place in plate, or -1
  std::vector<int> sorted;       // places in plate, parents of the same slice before children
};

}  // namespace qvr

#endif
