// The dense table of doubles behind every conditional table, utility table and posterior.
#ifndef QVR_MODEL_DENSE_MATRIX_H
#define QVR_MODEL_DENSE_MATRIX_H

#include <cstdint>
#include <span>

#include "model/number_array.h"

namespace qvr {

// Row-major, the last dimension fastest. A definition's table has the parents' outcome counts in parent
// order, then the node's own outcomes, so the numbers of one parent combination lie side by side.
// Array arguments have the length Length(). A failed operation leaves the matrix as it was: -2 for bad
// arguments, -42 for more than kMaxElements or for more than all matrices of the process may hold.
class QVR_Dmatrix {
 public:
  static constexpr std::int64_t kMaxElements = 0x10000000;

  QVR_Dmatrix() = default;
  // Empty if a size is below 1 or the matrix would be too large.
  explicit QVR_Dmatrix(const QVR_intArray& sizes);
  QVR_Dmatrix(const QVR_Dmatrix& other);  // std::bad_alloc if memory is short
  QVR_Dmatrix(QVR_Dmatrix&& other) noexcept;
  QVR_Dmatrix& operator=(const QVR_Dmatrix&) = delete;  // copying goes through Copy
  QVR_Dmatrix& operator=(QVR_Dmatrix&& other) noexcept;
  ~QVR_Dmatrix() {
    if (accountedBytes != 0) {
      Release();
    }
  }

  // The ceiling in bytes for all matrices of the process together; at first three quarters of the
  // physical memory.
  static void SetMemoryCeiling(std::int64_t bytes);
  [[nodiscard]] static std::int64_t MemoryInUse();

  int Copy(const QVR_Dmatrix& other);
  void Swap(QVR_Dmatrix& other) noexcept;

  // New elements are 0.0. A count of 0 empties the matrix.
  int SetDimensions(std::span<const int> sizes);
  int SetDimensions(const QVR_intArray& sizes, int count);
  void CleanUp();
  [[nodiscard]] int GetNumDimensions() const { return dimensions.GetSize(); }
  [[nodiscard]] int GetDimension(int i) const { return dimensions[i]; }
  [[nodiscard]] int GetStride(int i) const { return strides[i]; }
  [[nodiscard]] int GetNumElements() const { return items.GetSize(); }
  [[nodiscard]] const QVR_intArray& GetDimensions() const { return dimensions; }
  // True if the matrix has exactly these sizes.
  [[nodiscard]] bool HasShape(std::span<const int> sizes) const;
  [[nodiscard]] int SameShape(const QVR_Dmatrix& other) const;
  void Fill(double x) { items.Fill(x); }
  // The new dimension replicates the old elements. An empty matrix becomes one-dimensional, of 0.0.
  int AddDimension(int size);
  int InsertDimension(int position, int size);
  // One more item at the end of the dimension, all 0.0.
  int AddItem(int dimension);
  int RemoveLastItem(int dimension);  // -2 also for a dimension of size 1
  // Slices move one place; no size changes. Down: the slice at index goes, the last becomes 0.0.
  // Up: the last goes, the one at index becomes x.
  int ShiftItemsDown(int dimension, int index);
  int ShiftItemsUp(int dimension, int index, double x);
  // All contents are lost unless the size is the same.
  int ResizeDimension(int dimension, int newSize);
  // The slice at position i becomes the one that was at order[i].
  int PermuteItems(int dimension, const QVR_intArray& order);
  int PermuteDimensions(const QVR_intArray& order);

  // Unchecked.
  [[nodiscard]] int CoordinatesToIndex(const QVR_intArray& coordinates) const;
  int IndexToCoordinates(int index, QVR_intArray& coordinates) const;
  [[nodiscard]] int AreValidCoordinates(const QVR_intArray& coordinates) const;
  double& Subscript(const QVR_intArray& coordinates) { return items[CoordinatesToIndex(coordinates)]; }
  double& Subscript(int index) { return items[index]; }
  [[nodiscard]] double Subscript(int index) const { return items[index]; }
  // Null for coordinates that aren't valid.
  [[nodiscard]] double* CheckedSubscript(const QVR_intArray& coordinates);
  // Advances an odometer, the last coordinate fastest. -2 at the end, with all at their maxima.
  int NextCoordinates(QVR_intArray& coordinates) const;
  QVR_doubleArray& GetItems() { return items; }
  [[nodiscard]] const QVR_doubleArray& GetItems() const { return items; }

  // Makes every run along the last dimension sum to 1; a run of zeros becomes uniform.
  void Normalize();
  // Sets one element to 1 less the others of its run along the last dimension.
  int CompleteColumn(const QVR_intArray& coordinates);
  int CompleteColumn(int index);
  // 1 if every selected element equals x exactly, 0 at the first that doesn't, -2 for a bad selection
  // or an empty matrix. A negative element of the pattern leaves its dimension free.
  [[nodiscard]] int AllEqual(double x, std::span<const int> pattern) const;
  [[nodiscard]] int AllEqual(double x, const QVR_intArray& pattern) const {
    return AllEqual(x, pattern.View());
  }
  [[nodiscard]] int AllEqual(double x, int dimensionA, int valueA, int dimensionB, int valueB) const;
  // The elements with the dimension fixed, and the sizes left. 0 with untouched outputs on a
  // one-dimensional matrix.
  int SliceOut(int dimension, int index, QVR_intArray& outDimensions, QVR_doubleArray& outItems) const;
  int Reduce(int dimension, int index);
  int ReduceTo(int dimension, int index, QVR_Dmatrix& out) const;
  // With every dimension fixed `out` is the one selected element.
  int ReduceByPattern(const QVR_intArray& pattern, QVR_Dmatrix& out) const;
  int RemoveDimension(int dimension) { return Reduce(dimension, 0); }
  // Removes the dimension by summing over it with one weight for each of its items.
  int SumOutWeighted(int dimension, const QVR_doubleArray& weights);
  int SumOutWeighted(int dimension, const QVR_doubleArray& weights, QVR_Dmatrix& out) const;
  // Multiplies by `other`, whose dimension i is this matrix's dimension map[i], and sums out.
  int SumOutProduct(int dimension, const QVR_Dmatrix& other, const QVR_intArray& map);
  // This matrix becomes a plus b; all three have the same shape.
  int Sum(const QVR_Dmatrix& a, const QVR_Dmatrix& b);

  // Asserts that strides, sizes and the accounted memory agree.
  void CheckInvariants() const;

 private:
  // One dimension's view of the table: `outer` blocks of `count` slices of `inner` cells each.
  struct Blocks {
    int outer;
    int count;
    int inner;
  };

  void Release();
  [[nodiscard]] bool HasDimension(int i) const { return i >= 0 && i < GetNumDimensions(); }
  [[nodiscard]] bool HasItem(int dimension, int index) const;
  [[nodiscard]] Blocks BlocksOf(int dimension) const;
  // Zeros in the shape of `other`, but with `size` items in the one dimension, or for 0 without it.
  int ShapeLike(const QVR_Dmatrix& other, int dimension, int size);
  int ChangeItemCount(int dimension, int newSize);
  // The slice, as ReduceTo, of a matrix of at least two dimensions.
  int MakeSlice(int dimension, int index, QVR_Dmatrix& out) const;

  QVR_intArray dimensions;
  QVR_intArray strides;
  QVR_doubleArray items;
  std::int64_t accountedBytes = 0;  // what this matrix has of the process's total
};

}  // namespace qvr

#endif
