// Changes of the matrix that add, move and remove whole slices, in flat loops over runs of cells.
#include <algorithm>
#include <utility>

#include "model/dense_matrix.h"
#include "model/status.h"
#include "model/strided_walk.h"

namespace qvr {

int QVR_Dmatrix::AddDimension(int size) { return InsertDimension(GetNumDimensions(), size); }

int QVR_Dmatrix::InsertDimension(int position, int size) {
  const int count = GetNumDimensions();
  if (position < 0 || position > count || size < 1) {
    return QVR_OUT_OF_RANGE;
  }
  QVR_intArray sizes;
  if (sizes.Reset(count + 1) < 0) {
    return QVR_OUT_OF_MEMORY;
  }
  std::copy_n(dimensions.Vector().begin(), count, sizes.Vector().begin());
  std::copy_backward(sizes.Vector().begin() + position, sizes.Vector().begin() + count,
                     sizes.Vector().begin() + count + 1);
  sizes[position] = size;
  QVR_Dmatrix result;
  if (const int status = result.SetDimensions(sizes, count + 1); status < 0) {
    return status;
  }
  if (count > 0) {
    const Blocks blocks = result.BlocksOf(position);
    const double* from = &items[0];
    double* to = &result.items[0];
    for (int outer = 0; outer < blocks.outer; ++outer, from += blocks.inner) {
      for (int item = 0; item < blocks.count; ++item) {
        to = std::copy_n(from, blocks.inner, to);
      }
    }
  }
  *this = std::move(result);
  return QVR_OKAY;
}

int QVR_Dmatrix::ChangeItemCount(int dimension, int newSize) {
  QVR_Dmatrix result;
  if (const int status = result.ShapeLike(*this, dimension, newSize); status < 0) {
    return status;
  }
  const Blocks old = BlocksOf(dimension);
  const int kept = std::min(old.count, newSize) * old.inner;
  for (int outer = 0; outer < old.outer; ++outer) {
    std::copy_n(&items[0] + outer * old.count * old.inner, kept,
                &result.items[0] + outer * newSize * old.inner);
  }
  *this = std::move(result);
  return QVR_OKAY;
}

int QVR_Dmatrix::AddItem(int dimension) {
  return HasDimension(dimension) ? ChangeItemCount(dimension, dimensions[dimension] + 1) : QVR_OUT_OF_RANGE;
}

int QVR_Dmatrix::RemoveLastItem(int dimension) {
  if (!HasDimension(dimension) || dimensions[dimension] == 1) {
    return QVR_OUT_OF_RANGE;
  }
  return ChangeItemCount(dimension, dimensions[dimension] - 1);
}

int QVR_Dmatrix::ShiftItemsDown(int dimension, int index) {
  if (!HasItem(dimension, index)) {
    return QVR_OUT_OF_RANGE;
  }
  const Blocks blocks = BlocksOf(dimension);
  double* block = &items[0];
  for (int outer = 0; outer < blocks.outer; ++outer) {
    double* const end = block + blocks.count * blocks.inner;
    std::copy(block + (index + 1) * blocks.inner, end, block + index * blocks.inner);
    std::fill(end - blocks.inner, end, 0.0);
    block = end;
  }
  return QVR_OKAY;
}

int QVR_Dmatrix::ShiftItemsUp(int dimension, int index, double x) {
  if (!HasItem(dimension, index)) {
    return QVR_OUT_OF_RANGE;
  }
  const Blocks blocks = BlocksOf(dimension);
  double* block = &items[0];
  for (int outer = 0; outer < blocks.outer; ++outer) {
    double* const end = block + blocks.count * blocks.inner;
    double* const opened = block + index * blocks.inner;
    std::copy_backward(opened, end - blocks.inner, end);
    std::fill_n(opened, blocks.inner, x);
    block = end;
  }
  return QVR_OKAY;
}

int QVR_Dmatrix::PermuteItems(int dimension, const QVR_intArray& order) {
  if (!HasDimension(dimension) || order.Length() != dimensions[dimension]) {
    return QVR_OUT_OF_RANGE;
  }
  QVR_Dmatrix result;
  int status = TestPermutation(order.View());
  if (status >= 0) {
    status = result.SetDimensions(dimensions.Vector());
  }
  if (status < 0) {
    return status;
  }
  const Blocks blocks = BlocksOf(dimension);
  double* to = &result.items[0];
  for (int outer = 0; outer < blocks.outer; ++outer) {
    for (const int item : order.View()) {
      to = std::copy_n(&items[0] + (outer * blocks.count + item) * blocks.inner, blocks.inner, to);
    }
  }
  *this = std::move(result);
  return QVR_OKAY;
}

int QVR_Dmatrix::PermuteDimensions(const QVR_intArray& order) {
  const int count = GetNumDimensions();
  if (order.Length() != count) {
    return QVR_OUT_OF_RANGE;
  }
  if (const int status = TestPermutation(order.View()); status < 0) {
    return status;
  }
  if (count == 0) {
    return QVR_OKAY;
  }
  QVR_intArray sizes;
  StridedWalk walk;  // over all but the last new dimension
  for (const int old : order.View()) {
    const bool isLast = sizes.GetNumItems() == count - 1;
    if (sizes.Add(dimensions[old]) < 0 ||
        (!isLast && walk.AddDimension(dimensions[old], strides[old], 0) < 0)) {
      return QVR_OUT_OF_MEMORY;
    }
  }
  QVR_Dmatrix result;
  if (const int status = result.SetDimensions(sizes.View()); status < 0) {
    return status;
  }
  const int length = sizes[count - 1];
  const int step = strides[order[count - 1]];
  double* to = &result.items[0];
  do {
    for (int i = 0; i < length; ++i) {
      *to++ = items[walk.First() + i * step];
    }
  } while (walk.Next());
  *this = std::move(result);
  return QVR_OKAY;
}

}  // namespace qvr
