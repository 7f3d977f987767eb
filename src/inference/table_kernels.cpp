// Runs are worked off in blocks of at most eight cells, whose factors or sums stay in registers while the
// summed offsets are gone through: no loop depends on what it has just stored.
#include "inference/table_kernels.h"

namespace qvr {

namespace {

constexpr int kBlock = 8;

struct Assign {
  static void Cell(double& target, double /*source*/, double factor) { target = factor; }
};

struct Multiply {
  static void Cell(double& target, double source, double factor) { target = source * factor; }
};

// How the factor moves along a run; known to the compiler, so that factors are loaded as vectors.
enum class Step { Constant, Unit, Any };

Step StepOf(const SlabPlan& plan) {
  return plan.runStep == 0 ? Step::Constant : plan.runStep == 1 ? Step::Unit : Step::Any;
}

template <Step step>
inline int Stride(const SlabPlan& plan) {
  return step == Step::Constant ? 0 : step == Step::Unit ? 1 : plan.runStep;
}

// One block: the same `width` cells at every summed offset.
template <typename Operation, Step step, int width>
inline void ExtendBlock(double* target, const double* source, const double* factors, const SlabPlan& plan) {
  double factor[width];
  for (int i = 0; i < width; ++i) {
    factor[i] = factors[i * Stride<step>(plan)];
  }
  for (int k = 0; k < plan.summedCount; ++k) {
    double* to = target + plan.summed[k];
    const double* from = source + plan.summed[k];
    double cell[width];  // read before anything is written: source and target may be the same
    for (int i = 0; i < width; ++i) {
      Operation::Cell(cell[i], from[i], factor[i]);
    }
    for (int i = 0; i < width; ++i) {
      to[i] = cell[i];
    }
  }
}

template <typename Operation, Step step>
inline void ExtendTail(int width, double* target, const double* source, const double* factors,
                       const SlabPlan& plan) {
  switch (width) {
    case 1:
      return ExtendBlock<Operation, step, 1>(target, source, factors, plan);
    case 2:
      return ExtendBlock<Operation, step, 2>(target, source, factors, plan);
    case 3:
      return ExtendBlock<Operation, step, 3>(target, source, factors, plan);
    case 4:
      return ExtendBlock<Operation, step, 4>(target, source, factors, plan);
    case 5:
      return ExtendBlock<Operation, step, 5>(target, source, factors, plan);
    case 6:
      return ExtendBlock<Operation, step, 6>(target, source, factors, plan);
    case 7:
      return ExtendBlock<Operation, step, 7>(target, source, factors, plan);
    default:
      return;
  }
}

template <typename Operation, Step step, int width>
void ExtendShortRuns(double* target, const double* source, const double* small, const SlabPlan& plan) {
  for (int j = 0; j < plan.keptCount; ++j) {
    ExtendBlock<Operation, step, width>(target + plan.kept[j], source + plan.kept[j], small + plan.small[j],
                                        plan);
  }
}

template <typename Operation, Step step>
void ExtendLongRuns(double* target, const double* source, const double* small, const SlabPlan& plan) {
  const int whole = plan.runLength / kBlock * kBlock;
  const int stride = Stride<step>(plan);
  for (int j = 0; j < plan.keptCount; ++j) {
    double* to = target + plan.kept[j];
    const double* from = source + plan.kept[j];
    const double* factors = small + plan.small[j];
    for (int i = 0; i < whole; i += kBlock) {
      ExtendBlock<Operation, step, kBlock>(to + i, from + i, factors + i * stride, plan);
    }
    ExtendTail<Operation, step>(plan.runLength - whole, to + whole, from + whole, factors + whole * stride,
                                plan);
  }
}

template <typename Operation, Step step>
void ExtendRuns(double* target, const double* source, const double* small, const SlabPlan& plan) {
  switch (plan.runLength) {
    case 2:
      return ExtendShortRuns<Operation, step, 2>(target, source, small, plan);
    case 3:
      return ExtendShortRuns<Operation, step, 3>(target, source, small, plan);
    case 4:
      return ExtendShortRuns<Operation, step, 4>(target, source, small, plan);
    case 5:
      return ExtendShortRuns<Operation, step, 5>(target, source, small, plan);
    case 6:
      return ExtendShortRuns<Operation, step, 6>(target, source, small, plan);
    case 7:
      return ExtendShortRuns<Operation, step, 7>(target, source, small, plan);
    default:
      return ExtendLongRuns<Operation, step>(target, source, small, plan);
  }
}

template <typename Operation>
void Extend(double* target, const double* source, const double* small, const SlabPlan& plan) {
  switch (StepOf(plan)) {
    case Step::Constant:
      return ExtendRuns<Operation, Step::Constant>(target, source, small, plan);
    case Step::Unit:
      return ExtendRuns<Operation, Step::Unit>(target, source, small, plan);
    case Step::Any:
      return ExtendRuns<Operation, Step::Any>(target, source, small, plan);
  }
}

// Adds the block's cells at every summed offset up, cell by cell.
template <int width>
inline void SumBlock(const double* cells, const SlabPlan& plan, double* sums) {
  double sum[width] = {};
  for (int k = 0; k < plan.summedCount; ++k) {
    const double* from = cells + plan.summed[k];
    for (int i = 0; i < width; ++i) {
      sum[i] += from[i];
    }
  }
  for (int i = 0; i < width; ++i) {
    sums[i] += sum[i];
  }
}

inline void SumTail(int width, const double* cells, const SlabPlan& plan, double* sums) {
  switch (width) {
    case 1:
      return SumBlock<1>(cells, plan, sums);
    case 2:
      return SumBlock<2>(cells, plan, sums);
    case 3:
      return SumBlock<3>(cells, plan, sums);
    case 4:
      return SumBlock<4>(cells, plan, sums);
    case 5:
      return SumBlock<5>(cells, plan, sums);
    case 6:
      return SumBlock<6>(cells, plan, sums);
    case 7:
      return SumBlock<7>(cells, plan, sums);
    default:
      return;
  }
}

// Runs of the summed kind: the run's cells are added in lanes, the lanes at the end.
template <int width>
void AddShortSums(double* small, const double* slab, const SlabPlan& plan) {
  for (int j = 0; j < plan.keptCount; ++j) {
    double lanes[width] = {};
    SumBlock<width>(slab + plan.kept[j], plan, lanes);
    double sum = lanes[0];
    for (int i = 1; i < width; ++i) {
      sum += lanes[i];
    }
    small[plan.small[j]] += sum;
  }
}

// The cells behind the last whole block, each into a lane that the compiler can name.
inline void AddTail(int width, const double* cells, double* lanes) {
  switch (width) {
    case 7:
      lanes[6] += cells[6];
      [[fallthrough]];
    case 6:
      lanes[5] += cells[5];
      [[fallthrough]];
    case 5:
      lanes[4] += cells[4];
      [[fallthrough]];
    case 4:
      lanes[3] += cells[3];
      [[fallthrough]];
    case 3:
      lanes[2] += cells[2];
      [[fallthrough]];
    case 2:
      lanes[1] += cells[1];
      [[fallthrough]];
    case 1:
      lanes[0] += cells[0];
      [[fallthrough]];
    default:
      return;
  }
}

void AddLongSums(double* small, const double* slab, const SlabPlan& plan) {
  const int whole = plan.runLength / kBlock * kBlock;
  for (int j = 0; j < plan.keptCount; ++j) {
    double lanes[kBlock] = {};
    for (int k = 0; k < plan.summedCount; ++k) {
      const double* run = slab + plan.kept[j] + plan.summed[k];
      for (int i = 0; i < whole; i += kBlock) {
        for (int lane = 0; lane < kBlock; ++lane) {
          lanes[lane] += run[i + lane];
        }
      }
      AddTail(plan.runLength - whole, run + whole, lanes);
    }
    small[plan.small[j]] +=
        ((lanes[0] + lanes[1]) + (lanes[2] + lanes[3])) + ((lanes[4] + lanes[5]) + (lanes[6] + lanes[7]));
  }
}

// Runs of the kept kind: each cell of the run has a sum of its own.
template <int width>
void AddShortRows(double* small, const double* slab, const SlabPlan& plan) {
  for (int j = 0; j < plan.keptCount; ++j) {
    SumBlock<width>(slab + plan.kept[j], plan, small + plan.small[j]);
  }
}

void AddLongRows(double* small, const double* slab, const SlabPlan& plan) {
  const int whole = plan.runLength / kBlock * kBlock;
  for (int j = 0; j < plan.keptCount; ++j) {
    const double* cells = slab + plan.kept[j];
    double* sums = small + plan.small[j];
    for (int i = 0; i < whole; i += kBlock) {
      SumBlock<kBlock>(cells + i, plan, sums + i);
    }
    SumTail(plan.runLength - whole, cells + whole, plan, sums + whole);
  }
}

}  // namespace

void AssignSlab(double* slab, const double* small, const SlabPlan& plan) {
  Extend<Assign>(slab, slab, small, plan);
}

void MultiplySlab(double* target, const double* source, const double* small, const SlabPlan& plan) {
  Extend<Multiply>(target, source, small, plan);
}

void AddSlab(double* small, const double* slab, const SlabPlan& plan) {
  const bool summed = plan.runStep == 0;
  switch (plan.runLength) {
    case 2:
      return summed ? AddShortSums<2>(small, slab, plan) : AddShortRows<2>(small, slab, plan);
    case 3:
      return summed ? AddShortSums<3>(small, slab, plan) : AddShortRows<3>(small, slab, plan);
    case 4:
      return summed ? AddShortSums<4>(small, slab, plan) : AddShortRows<4>(small, slab, plan);
    case 5:
      return summed ? AddShortSums<5>(small, slab, plan) : AddShortRows<5>(small, slab, plan);
    case 6:
      return summed ? AddShortSums<6>(small, slab, plan) : AddShortRows<6>(small, slab, plan);
    case 7:
      return summed ? AddShortSums<7>(small, slab, plan) : AddShortRows<7>(small, slab, plan);
    default:
      return summed ? AddLongSums(small, slab, plan) : AddLongRows(small, slab, plan);
  }
}

void DivideTable(double* __restrict target, const double* __restrict divisor, std::size_t size) {
  for (std::size_t i = 0; i < size; ++i) {
    // Divides in any case, so that the choice behind it needs no branch.
    const double quotient = target[i] / (divisor[i] != 0.0 ? divisor[i] : 1.0);
    target[i] = divisor[i] != 0.0 ? quotient : 0.0;
  }
}

}  // namespace qvr
