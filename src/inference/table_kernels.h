// The hot loops over tables: everything that touches a slab's cells. Portable forms; others may stand
// behind the same declarations.
#ifndef QVR_INFERENCE_TABLE_KERNELS_H
#define QVR_INFERENCE_TABLE_KERNELS_H

#include <cstddef>

#include "inference/table_plan.h"

namespace qvr {

// A plan with its offsets at hand.
struct SlabPlan {
  const int* kept;
  const int* small;
  const int* summed;
  int keptCount;
  int summedCount;
  int runLength;
  int runStep;
};

[[nodiscard]] inline SlabPlan Resolve(const TablePlan& plan, const PlanArena& arena) {
  return {arena.At(plan.kept), arena.At(plan.small), arena.At(plan.summed), plan.keptCount,
          plan.summedCount,    plan.runLength,       plan.runStep};
}

// slab[cell] = small[its cell].
void AssignSlab(double* slab, const double* small, const SlabPlan& plan);
// target[cell] = source[cell] * small[its cell]; the two slabs may be the same.
void MultiplySlab(double* target, const double* source, const double* small, const SlabPlan& plan);
// small[its cell] += slab[cell]. The plan must have a runStep of 0 or 1, as all but those of node tables do.
void AddSlab(double* small, const double* slab, const SlabPlan& plan);
// target[i] /= divisor[i], and 0 where the divisor is 0. The tables don't overlap.
void DivideTable(double* target, const double* divisor, std::size_t size);

}  // namespace qvr

#endif
