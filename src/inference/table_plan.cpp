#include "inference/table_plan.h"

namespace qvr {

namespace {

// 32 KiB: a slab, its product and the small tables beside them stay in the first two cache levels, and the
// odometer of the outer dimensions costs nothing beside the slab's cells.
constexpr int kSlabCells = 4096;

// Adds a dimension in front of a list of offsets that stands at the arena's end.
void Extend(std::vector<int>& numbers, int start, int size, int stride) {
  const std::size_t count = numbers.size() - static_cast<std::size_t>(start);
  numbers.reserve(numbers.size() + count * static_cast<std::size_t>(size - 1));
  for (int item = 1; item < size; ++item) {
    for (std::size_t i = 0; i < count; ++i) {
      numbers.push_back(numbers[static_cast<std::size_t>(start) + i] + item * stride);
    }
  }
}

enum class Kind { Kept, Summed };

// The offsets of all dimensions of one kind between `first` and `end`, the last fastest. `steps` are the
// strides to add up, of the slab or of the small table.
int AddOffsets(PlanArena& arena, std::span<const int> sizes, std::span<const int> strides,
               std::span<const int> steps, int first, Kind kind) {
  const int start = static_cast<int>(arena.numbers.size());
  arena.numbers.push_back(0);
  for (auto d = static_cast<int>(sizes.size()) - 1; d >= first; --d) {
    const auto at = static_cast<std::size_t>(d);
    if ((strides[at] != 0) == (kind == Kind::Kept)) {
      Extend(arena.numbers, start, sizes[at], steps[at]);
    }
  }
  return start;
}

}  // namespace

SlabShape ChooseSlab(std::span<const int> sizes) {
  SlabShape slab;
  slab.outerDimensions = static_cast<int>(sizes.size());
  while (slab.outerDimensions > 0) {
    const int size = sizes[static_cast<std::size_t>(slab.outerDimensions - 1)];
    if (slab.slabSize > 1 && static_cast<std::int64_t>(slab.slabSize) * size > kSlabCells) {
      break;
    }
    slab.slabSize *= size;
    --slab.outerDimensions;
  }
  for (int d = 0; d < slab.outerDimensions; ++d) {
    slab.slabCount *= sizes[static_cast<std::size_t>(d)];
  }
  return slab;
}

TablePlan MakePlan(std::span<const int> sizes, std::span<const int> strides, const SlabShape& slab,
                   PlanArena& arena) {
  TablePlan plan;
  const auto outer = static_cast<std::size_t>(slab.outerDimensions);
  plan.outerStrides = static_cast<int>(arena.numbers.size());
  arena.numbers.insert(arena.numbers.end(), strides.begin(), strides.begin() + slab.outerDimensions);
  std::size_t end = sizes.size();
  if (end > outer) {
    --end;
    plan.runLength = sizes[end];
    plan.runStep = strides[end];
    while (end > outer && strides[end - 1] == plan.runStep * plan.runLength) {
      --end;
      plan.runLength *= sizes[end];
    }
  }
  int slabStrides[32];
  int stride = plan.runLength;
  for (std::size_t d = end; d-- > outer;) {
    slabStrides[d] = stride;
    stride *= sizes[d];
  }
  const auto inner = sizes.first(end);
  const int first = slab.outerDimensions;
  const std::span<const int> steps(slabStrides, end);
  plan.kept = AddOffsets(arena, inner, strides, steps, first, Kind::Kept);
  plan.keptCount = static_cast<int>(arena.numbers.size()) - plan.kept;
  plan.small = AddOffsets(arena, inner, strides, strides, first, Kind::Kept);
  plan.summed = AddOffsets(arena, inner, strides, steps, first, Kind::Summed);
  plan.summedCount = static_cast<int>(arena.numbers.size()) - plan.summed;
  return plan;
}

}  // namespace qvr
