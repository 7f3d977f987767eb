// Arrays of int and of double, used as a list (numItems counts) or as a fixed vector (size counts).
#ifndef QVR_MODEL_NUMBER_ARRAY_H
#define QVR_MODEL_NUMBER_ARRAY_H

#include <concepts>
#include <cstddef>
#include <initializer_list>
#include <memory>
#include <span>

namespace qvr {

// T is int or double. Few elements stand in the array itself, so that the typical parent list, shape or
// cursor needs no allocation. Elements newly made by SetSize are 0. Nothing checks an index.
template <typename T>
class NumberArray {
 public:
  static constexpr int kInlineRoom = sizeof(T) == sizeof(int) ? 8 : 4;  // so many need no allocation

  NumberArray() = default;
  NumberArray(std::initializer_list<T> list);  // a list of these items
  NumberArray(const NumberArray&) = delete;    // copying goes through Copy, which can fail
  NumberArray& operator=(const NumberArray&) = delete;
  NumberArray(NumberArray&& other) noexcept { TakeFrom(other); }  // leaves `other` empty
  NumberArray& operator=(NumberArray&& other) noexcept;
  ~NumberArray() = default;

  [[nodiscard]] int GetSize() const { return size; }
  [[nodiscard]] int GetNumItems() const { return numItems; }
  // What an operation that takes an array as an argument goes by: the list's items, or without any
  // the whole vector.
  [[nodiscard]] int Length() const { return numItems > 0 ? numItems : size; }

  T& operator[](int index) { return items[index]; }
  const T& operator[](int index) const { return items[index]; }

  // The list's items, for range loops. Invalidated by any operation that grows.
  const T* begin() const { return items; }
  const T* end() const { return items + numItems; }
  // The first Length() elements.
  [[nodiscard]] std::span<const T> View() const { return {items, static_cast<std::size_t>(Length())}; }
  // All GetSize() elements.
  [[nodiscard]] std::span<T> Vector() { return {items, static_cast<std::size_t>(size)}; }
  [[nodiscard]] std::span<const T> Vector() const { return {items, static_cast<std::size_t>(size)}; }

  // Makes a fixed vector of n elements and numItems 0. An equal size keeps the elements, another loses
  // them. -2 for a negative n; -42 with size 0 when memory is short.
  int SetSize(int n);
  // numItems 0; makes room for n elements, never less than before. -2 for a negative n, or -42.
  int Reset(int n);
  void CleanUp();
  void Flush() { numItems = 0; }
  // Appends. The room doubles when it is used up; -42 leaves the array as it was.
  int Add(T x);
  // -2 unless 0 <= i <= numItems; -42 leaves the array as it was.
  int Insert(int i, T x);
  // -2 unless 0 <= i < size. A place at or beyond numItems lowers the count and shifts nothing.
  int Delete(int i);
  // Stores x into all `size` elements.
  void Fill(T x);
  // -42 leaves this array empty.
  int Copy(const NumberArray& other);
  // A fixed vector of these elements.
  int Assign(std::span<const T> elements);
  // Copies min of both sizes; neither counter changes.
  void CopyPrefix(const NumberArray& other);
  // new[i] = old[order[i]]. -2, with nothing changed, unless `order` is a permutation of 0 to its own
  // numItems - 1, and that equals this array's numItems or else its size.
  int Permute(const NumberArray<int>& order);
  void Swap(NumberArray& other) noexcept;

  // Integer arrays only, on the first numItems elements.
  int AddUnique(T x) requires std::same_as<T, int>;                 // -2 if x is there already
  int DeleteValue(T x) requires std::same_as<T, int>;               // -2 if absent
  [[nodiscard]] int Find(T x) const requires std::same_as<T, int>;  // the first position, or -2
  [[nodiscard]] int Contains(T x) const requires std::same_as<T, int>;

 private:
  int PlaceOf(T x) const;
  void TakeFrom(NumberArray& other) noexcept;
  // `size` becomes n; the elements have no particular value and numItems is 0. -42 leaves the array empty.
  int Replace(int n);
  int Grow();

  std::unique_ptr<T[]> heap;  // null while the elements stand in inlineItems
  T inlineItems[kInlineRoom] = {};
  T* items = inlineItems;
  int size = 0;
  int numItems = 0;
};

// -2 unless each of 0 to size - 1 occurs exactly once; -42 if memory is short.
[[nodiscard]] int TestPermutation(std::span<const int> order);
[[nodiscard]] inline bool IsPermutation(std::span<const int> order) { return TestPermutation(order) == 0; }

using QVR_intArray = NumberArray<int>;
using QVR_doubleArray = NumberArray<double>;

extern template class NumberArray<int>;
extern template class NumberArray<double>;

}  // namespace qvr

#endif
