// How the index into a small table moves while one walks through a large one in flat order.
#ifndef QVR_INFERENCE_TABLE_PLAN_H
#define QVR_INFERENCE_TABLE_PLAN_H

#include <cstdint>
#include <span>
#include <vector>

namespace qvr {

// A large table is walked in slabs, blocks over its last dimensions that fit the first cache level; the
// dimensions before them form an odometer.
struct SlabShape {
  int outerDimensions = 0;
  int slabSize = 1;
  std::int64_t slabCount = 1;
};

// Within a slab every cell is the sum of an offset that moves the small index (kept) and one that doesn't
// (summed). Neighbouring cells of the same kind form runs: entry j of the kept offsets, entry k of the
// summed ones and i below the run's length name the slab's cell kept[j] + summed[k] + i. It belongs to
// the small table's cell small[j], plus i * runStep where the run is of the kept kind.
struct TablePlan {
  int outerStrides =
      0;           // places in PlanArena::numbers: of the small table's stride for each outer dimension,
  int kept = 0;    // of the kept offsets,
  int small = 0;   // of the small table's offsets, as many,
  int summed = 0;  // and of the summed offsets
  int keptCount = 1;
  int summedCount = 1;
  int runLength = 1;
  int runStep = 0;  // 0 for a run of the summed kind
};

// What the plans of one tree point into.
struct PlanArena {
  std::vector<int> numbers;

  [[nodiscard]] const int* At(int place) const { return numbers.data() + place; }
};

[[nodiscard]] SlabShape ChooseSlab(std::span<const int> sizes);

// `strides` gives the small table's stride for each dimension of the large one, 0 for a dimension that it
// doesn't have.
[[nodiscard]] TablePlan MakePlan(std::span<const int> sizes, std::span<const int> strides,
                                 const SlabShape& slab, PlanArena& arena);

}  // namespace qvr

#endif
