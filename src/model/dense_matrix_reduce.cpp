// Normalising, selecting and summing. The cost is that of the selected cells, not of the table.
#include <algorithm>
#include <utility>

#include "model/dense_matrix.h"
#include "model/status.h"
#include "model/strided_walk.h"

namespace qvr {
namespace {

// The cells of a matrix in which some dimensions are fixed, in storage order, as runs of `count` cells
// that lie `step` apart. Neighbouring free dimensions are taken together, so that runs are long.
class SelectedCells {
 public:
  // -2 for a pattern that is too short or fixes a place that isn't there.
  int Select(const QVR_Dmatrix& matrix, std::span<const int> pattern);
  // Where the present run starts.
  [[nodiscard]] int Start() const { return origin + walk.First(); }
  [[nodiscard]] int Count() const { return count; }
  [[nodiscard]] int Step() const { return step; }
  bool NextRun() { return walk.Next(); }

 private:
  StridedWalk walk;
  int origin = 0;
  int count = 1;
  int step = 1;
};

int SelectedCells::Select(const QVR_Dmatrix& matrix, std::span<const int> pattern) {
  const int dimensions = matrix.GetNumDimensions();
  if (pattern.size() < static_cast<std::size_t>(dimensions)) {
    return QVR_OUT_OF_RANGE;
  }
  for (int i = 0; i < dimensions; ++i) {
    const int fixed = pattern[static_cast<std::size_t>(i)];
    const int size = matrix.GetDimension(i);
    const int stride = matrix.GetStride(i);
    if (fixed >= size) {
      return QVR_OUT_OF_RANGE;
    }
    if (fixed >= 0) {
      origin += fixed * stride;
    } else if (count == 1 || step == size * stride) {
      count *= size;
      step = stride;
    } else {
      if (walk.AddDimension(count, step, 0) < 0) {
        return QVR_OUT_OF_MEMORY;
      }
      count = size;
      step = stride;
    }
  }
  return QVR_OKAY;
}

}  // namespace

void QVR_Dmatrix::Normalize() {
  if (GetNumDimensions() == 0) {
    return;
  }
  const int length = dimensions[GetNumDimensions() - 1];
  for (double *run = &items[0], *const end = run + GetNumElements(); run != end; run += length) {
    double sum = 0.0;
    for (int i = 0; i < length; ++i) {
      sum += run[i];
    }
    if (sum == 0.0) {
      std::fill_n(run, length, 1.0 / length);
    } else if (sum != 1.0) {
      std::for_each(run, run + length, [sum](double& x) { x /= sum; });
    }
  }
}

int QVR_Dmatrix::CompleteColumn(const QVR_intArray& coordinates) {
  return AreValidCoordinates(coordinates) != 0 ? CompleteColumn(CoordinatesToIndex(coordinates))
                                               : QVR_OUT_OF_RANGE;
}

int QVR_Dmatrix::CompleteColumn(int index) {
  if (index < 0 || index >= GetNumElements()) {
    return QVR_OUT_OF_RANGE;
  }
  const int length = dimensions[GetNumDimensions() - 1];
  const int first = index - index % length;
  double others = 0.0;
  for (int i = first; i < first + length; ++i) {
    others += i == index ? 0.0 : items[i];
  }
  items[index] = 1.0 - others;
  return QVR_OKAY;
}

int QVR_Dmatrix::AllEqual(double x, std::span<const int> pattern) const {
  if (GetNumElements() == 0) {
    return QVR_OUT_OF_RANGE;
  }
  SelectedCells cells;
  if (const int status = cells.Select(*this, pattern); status < 0) {
    return status;
  }
  do {
    const double* const run = &items[cells.Start()];
    for (int i = 0; i < cells.Count(); ++i) {
      if (!(run[i * cells.Step()] == x)) {
        return 0;
      }
    }
  } while (cells.NextRun());
  return 1;
}

int QVR_Dmatrix::AllEqual(double x, int dimensionA, int valueA, int dimensionB, int valueB) const {
  if (!HasDimension(dimensionA) || !HasDimension(dimensionB) ||
      (dimensionA == dimensionB && valueA != valueB)) {
    return QVR_OUT_OF_RANGE;
  }
  QVR_intArray pattern;
  if (const int status = pattern.SetSize(GetNumDimensions()); status < 0) {
    return status;
  }
  pattern.Fill(-1);
  pattern[dimensionA] = valueA;
  pattern[dimensionB] = valueB;
  return AllEqual(x, pattern.View());
}

int QVR_Dmatrix::MakeSlice(int dimension, int index, QVR_Dmatrix& out) const {
  QVR_Dmatrix slice;
  if (const int status = slice.ShapeLike(*this, dimension, 0); status < 0) {
    return status;
  }
  const Blocks blocks = BlocksOf(dimension);
  const double* from = &items[0] + index * blocks.inner;
  double* to = &slice.items[0];
  for (int outer = 0; outer < blocks.outer; ++outer, from += blocks.count * blocks.inner) {
    if (blocks.inner == 1) {
      *to++ = *from;
    } else {
      to = std::copy_n(from, blocks.inner, to);
    }
  }
  out = std::move(slice);
  return QVR_OKAY;
}

int QVR_Dmatrix::SliceOut(int dimension, int index, QVR_intArray& outDimensions,
                          QVR_doubleArray& outItems) const {
  if (!HasItem(dimension, index)) {
    return QVR_OUT_OF_RANGE;
  }
  if (GetNumDimensions() == 1) {
    return QVR_OKAY;
  }
  QVR_Dmatrix slice;
  if (const int status = MakeSlice(dimension, index, slice); status < 0) {
    return status;
  }
  outDimensions.Swap(slice.dimensions);
  outItems.Swap(slice.items);
  return QVR_OKAY;
}

int QVR_Dmatrix::Reduce(int dimension, int index) { return ReduceTo(dimension, index, *this); }

int QVR_Dmatrix::ReduceTo(int dimension, int index, QVR_Dmatrix& out) const {
  if (!HasItem(dimension, index)) {
    return QVR_OUT_OF_RANGE;
  }
  if (GetNumDimensions() == 1) {
    out.CleanUp();
    return QVR_OKAY;
  }
  return MakeSlice(dimension, index, out);
}

int QVR_Dmatrix::ReduceByPattern(const QVR_intArray& pattern, QVR_Dmatrix& out) const {
  SelectedCells cells;
  if (const int status = cells.Select(*this, pattern.View()); status < 0) {
    return status;
  }
  QVR_intArray sizes;
  for (int i = 0; i < GetNumDimensions(); ++i) {
    if (pattern[i] < 0 && sizes.Add(dimensions[i]) < 0) {
      return QVR_OUT_OF_MEMORY;
    }
  }
  if (GetNumDimensions() > 0 && sizes.GetNumItems() == 0) {
    sizes.Add(1);
  }
  QVR_Dmatrix selected;
  if (const int status = selected.SetDimensions({sizes.begin(), sizes.end()}); status < 0) {
    return status;
  }
  if (GetNumElements() > 0) {
    double* to = &selected.items[0];
    do {
      const double* const run = &items[cells.Start()];
      for (int i = 0; i < cells.Count(); ++i) {
        *to++ = run[i * cells.Step()];
      }
    } while (cells.NextRun());
  }
  out = std::move(selected);
  return QVR_OKAY;
}

int QVR_Dmatrix::SumOutWeighted(int dimension, const QVR_doubleArray& weights) {
  return SumOutWeighted(dimension, weights, *this);
}

int QVR_Dmatrix::SumOutWeighted(int dimension, const QVR_doubleArray& weights, QVR_Dmatrix& out) const {
  if (!HasDimension(dimension) || weights.Length() != dimensions[dimension]) {
    return QVR_OUT_OF_RANGE;
  }
  if (GetNumDimensions() == 1) {
    out.CleanUp();
    return QVR_OKAY;
  }
  QVR_Dmatrix sums;
  if (const int status = sums.ShapeLike(*this, dimension, 0); status < 0) {
    return status;
  }
  const Blocks blocks = BlocksOf(dimension);
  const double* from = &items[0];
  double* to = &sums.items[0];
  for (int outer = 0; outer < blocks.outer; ++outer, to += blocks.inner) {
    for (const double weight : weights.View()) {
      for (int i = 0; i < blocks.inner; ++i) {
        to[i] += *from++ * weight;
      }
    }
  }
  out = std::move(sums);
  return QVR_OKAY;
}

int QVR_Dmatrix::SumOutProduct(int dimension, const QVR_Dmatrix& other, const QVR_intArray& map) {
  const int matched = other.GetNumDimensions();
  QVR_intArray otherSteps;  // for each dimension of this matrix; 0 where the other one hasn't got it
  if (!HasDimension(dimension) || map.Length() < matched) {
    return QVR_OUT_OF_RANGE;
  }
  if (const int status = otherSteps.SetSize(GetNumDimensions()); status < 0) {
    return status;
  }
  for (int i = 0; i < matched; ++i) {
    if (!HasDimension(map[i]) || otherSteps[map[i]] != 0 || other.dimensions[i] != dimensions[map[i]]) {
      return QVR_OUT_OF_RANGE;
    }
    otherSteps[map[i]] = other.strides[i];
  }
  if (otherSteps[dimension] == 0) {
    return QVR_OUT_OF_RANGE;
  }
  if (GetNumDimensions() == 1) {
    CleanUp();
    return QVR_OKAY;
  }
  QVR_Dmatrix sums;
  StridedWalk walk;
  for (int i = 0; i < GetNumDimensions(); ++i) {
    if (i != dimension && walk.AddDimension(dimensions[i], strides[i], otherSteps[i]) < 0) {
      return QVR_OUT_OF_MEMORY;
    }
  }
  if (const int status = sums.ShapeLike(*this, dimension, 0); status < 0) {
    return status;
  }
  double* to = &sums.items[0];
  do {
    double sum = 0.0;
    for (int k = 0; k < dimensions[dimension]; ++k) {
      sum += items[walk.First() + k * strides[dimension]] *
             other.items[walk.Second() + k * otherSteps[dimension]];
    }
    *to++ = sum;
  } while (walk.Next());
  *this = std::move(sums);
  return QVR_OKAY;
}

int QVR_Dmatrix::Sum(const QVR_Dmatrix& a, const QVR_Dmatrix& b) {
  if (SameShape(a) == 0 || SameShape(b) == 0) {
    return QVR_OUT_OF_RANGE;
  }
  for (int i = 0; i < GetNumElements(); ++i) {
    items[i] = a.items[i] + b.items[i];
  }
  return QVR_OKAY;
}

}  // namespace qvr
