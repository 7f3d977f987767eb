#include "model/number_array.h"

#include <algorithm>
#include <limits>
#include <new>
#include <vector>

#include "model/status.h"

namespace qvr {

int TestPermutation(std::span<const int> order) {
  std::vector<bool> seen;
  try {
    seen.resize(order.size());
  } catch (const std::bad_alloc&) {
    return QVR_OUT_OF_MEMORY;
  }
  for (const int index : order) {
    if (index < 0 || static_cast<std::size_t>(index) >= order.size() ||
        seen[static_cast<std::size_t>(index)]) {
      return QVR_OUT_OF_RANGE;
    }
    seen[static_cast<std::size_t>(index)] = true;
  }
  return QVR_OKAY;
}

template <typename T>
NumberArray<T>::NumberArray(std::initializer_list<T> list) {
  if (Assign({list.begin(), list.size()}) == QVR_OKAY) {
    numItems = size;
  }
}

template <typename T>
NumberArray<T>& NumberArray<T>::operator=(NumberArray&& other) noexcept {
  if (this != &other) {
    TakeFrom(other);
  }
  return *this;
}

template <typename T>
void NumberArray<T>::TakeFrom(NumberArray& other) noexcept {
  heap = std::move(other.heap);
  items = heap != nullptr ? heap.get() : inlineItems;
  size = other.size;
  numItems = other.numItems;
  if (heap == nullptr) {
    std::copy_n(other.inlineItems, kInlineRoom, inlineItems);  // a fixed length needs no call
  }
  other.CleanUp();
}

template <typename T>
int NumberArray<T>::Replace(int n) {
  CleanUp();
  if (n > kInlineRoom) {
    try {
      heap = std::make_unique_for_overwrite<T[]>(static_cast<std::size_t>(n));
    } catch (const std::bad_alloc&) {
      return QVR_OUT_OF_MEMORY;
    }
    items = heap.get();
  }
  size = n;
  return QVR_OKAY;
}

template <typename T>
int NumberArray<T>::SetSize(int n) {
  if (n < 0) {
    return QVR_OUT_OF_RANGE;
  }
  numItems = 0;
  if (n == size) {
    return QVR_OKAY;
  }
  const int status = Replace(n);
  Fill(T{});
  return status;
}

template <typename T>
int NumberArray<T>::Reset(int n) {
  if (n < 0) {
    return QVR_OUT_OF_RANGE;
  }
  numItems = 0;
  return n > size ? SetSize(n) : QVR_OKAY;
}

template <typename T>
void NumberArray<T>::CleanUp() {
  heap.reset();
  items = inlineItems;
  size = 0;
  numItems = 0;
}

template <typename T>
int NumberArray<T>::Grow() {
  if (size > std::numeric_limits<int>::max() / 2) {
    return QVR_OUT_OF_MEMORY;
  }
  NumberArray larger;
  if (const int status = larger.Replace(size == 0 ? kInlineRoom : 2 * size); status < 0) {
    return status;
  }
  std::fill(std::copy_n(items, size, larger.items), larger.items + larger.size, T{});
  larger.numItems = numItems;
  TakeFrom(larger);
  return QVR_OKAY;
}

template <typename T>
int NumberArray<T>::Add(T x) {
  return Insert(numItems, x);
}

template <typename T>
int NumberArray<T>::Insert(int i, T x) {
  if (i < 0 || i > numItems) {
    return QVR_OUT_OF_RANGE;
  }
  if (size == numItems) {
    if (const int status = Grow(); status < 0) {
      return status;
    }
  }
  std::copy_backward(items + i, items + numItems, items + numItems + 1);
  items[i] = x;
  ++numItems;
  return QVR_OKAY;
}

template <typename T>
int NumberArray<T>::Delete(int i) {
  if (i < 0 || i >= size) {
    return QVR_OUT_OF_RANGE;
  }
  if (i < numItems) {
    std::copy(items + i + 1, items + numItems, items + i);
  }
  numItems = std::max(numItems - 1, 0);
  return QVR_OKAY;
}

template <typename T>
void NumberArray<T>::Fill(T x) {
  std::fill_n(items, size, x);
}

template <typename T>
int NumberArray<T>::Copy(const NumberArray& other) {
  if (this == &other) {
    return QVR_OKAY;
  }
  if (size != other.size) {
    if (const int status = Replace(other.size); status < 0) {
      return status;
    }
  }
  std::copy_n(other.items, size, items);
  numItems = other.numItems;
  return QVR_OKAY;
}

template <typename T>
int NumberArray<T>::Assign(std::span<const T> elements) {
  if (elements.size() > static_cast<std::size_t>(std::numeric_limits<int>::max())) {
    return QVR_OUT_OF_MEMORY;
  }
  numItems = 0;
  if (elements.size() == static_cast<std::size_t>(size)) {
    std::copy(elements.begin(), elements.end(), items);
    return QVR_OKAY;
  }
  NumberArray fresh;  // the elements may be this array's own
  if (const int status = fresh.Replace(static_cast<int>(elements.size())); status < 0) {
    return status;
  }
  std::copy(elements.begin(), elements.end(), fresh.items);
  TakeFrom(fresh);
  return QVR_OKAY;
}

template <typename T>
void NumberArray<T>::CopyPrefix(const NumberArray& other) {
  if (this != &other) {
    std::copy_n(other.items, std::min(size, other.size), items);
  }
}

template <typename T>
int NumberArray<T>::Permute(const NumberArray<int>& order) {
  const std::span<const int> places(order.begin(), order.end());
  const int n = order.GetNumItems();
  if (n != numItems && n != size) {
    return QVR_OUT_OF_RANGE;
  }
  if (const int status = TestPermutation(places); status < 0) {
    return status;
  }
  try {
    std::vector<T> permuted;
    permuted.reserve(places.size());
    for (const int place : places) {
      permuted.push_back(items[place]);
    }
    std::copy(permuted.begin(), permuted.end(), items);
  } catch (const std::bad_alloc&) {
    return QVR_OUT_OF_MEMORY;
  }
  return QVR_OKAY;
}

template <typename T>
void NumberArray<T>::Swap(NumberArray& other) noexcept {
  if (this != &other) {
    NumberArray kept;
    kept.TakeFrom(other);
    other.TakeFrom(*this);
    TakeFrom(kept);
  }
}

template <typename T>
int NumberArray<T>::PlaceOf(T x) const {
  const T* const place = std::find(begin(), end(), x);
  return place == end() ? QVR_OUT_OF_RANGE : static_cast<int>(place - begin());
}

template <typename T>
int NumberArray<T>::AddUnique(T x) requires std::same_as<T, int> {
  return PlaceOf(x) >= 0 ? QVR_OUT_OF_RANGE : Add(x);
}

template <typename T>
int NumberArray<T>::DeleteValue(T x) requires std::same_as<T, int> {
  const int place = PlaceOf(x);
  return place < 0 ? QVR_OUT_OF_RANGE : Delete(place);
}

template <typename T>
int NumberArray<T>::Find(T x) const requires std::same_as<T, int> {
  return PlaceOf(x);
}

template <typename T>
int NumberArray<T>::Contains(T x) const requires std::same_as<T, int> {
  return PlaceOf(x) >= 0 ? 1 : 0;
}

template class NumberArray<int>;
template class NumberArray<double>;

}  // namespace qvr
