// The matrix's shape and memory, and access to its elements.
#include "model/dense_matrix.h"

#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cassert>
#include <limits>
#include <utility>

#include "model/status.h"

namespace qvr {
namespace {

constexpr std::int64_t kCeilingNotSet = -1;
// Small matrices hold their elements themselves.
std::int64_t AllocatedBytes(std::int64_t total) {
  return total <= QVR_doubleArray::kInlineRoom ? 0 : total * static_cast<std::int64_t>(sizeof(double));
}

std::atomic<std::int64_t> memoryInUse{0};
std::atomic<std::int64_t> memoryCeiling{kCeilingNotSet};

std::int64_t DefaultCeiling() {
  const long pages = sysconf(_SC_PHYS_PAGES);
  const long pageBytes = sysconf(_SC_PAGESIZE);
  if (pages <= 0 || pageBytes <= 0) {
    return std::numeric_limits<std::int64_t>::max() / 2;
  }
  return std::int64_t{pages} * pageBytes / 4 * 3;
}

std::int64_t Ceiling() {
  const std::int64_t ceiling = memoryCeiling.load(std::memory_order_relaxed);
  if (ceiling != kCeilingNotSet) {
    return ceiling;
  }
  static const std::int64_t byDefault = DefaultCeiling();
  return byDefault;
}

// Takes the bytes, which may be negative, into the total; false if that would pass the ceiling.
bool Charge(std::int64_t bytes) {
  const std::int64_t before = memoryInUse.fetch_add(bytes, std::memory_order_relaxed);
  if (bytes <= 0 || before + bytes <= Ceiling()) {
    return true;
  }
  memoryInUse.fetch_sub(bytes, std::memory_order_relaxed);
  return false;
}

int CountElements(std::span<const int> sizes, std::int64_t& total) {
  if (std::any_of(sizes.begin(), sizes.end(), [](int size) { return size < 1; })) {
    return QVR_OUT_OF_RANGE;
  }
  total = sizes.empty() ? 0 : 1;
  for (const int size : sizes) {
    total *= size;
    if (total > QVR_Dmatrix::kMaxElements) {
      return QVR_OUT_OF_MEMORY;
    }
  }
  return QVR_OKAY;
}

}  // namespace

QVR_Dmatrix::QVR_Dmatrix(const QVR_intArray& sizes) { SetDimensions(sizes.View()); }

QVR_Dmatrix::QVR_Dmatrix(const QVR_Dmatrix& other) {
  if (Copy(other) < 0) {
    throw std::bad_alloc();
  }
}

QVR_Dmatrix::QVR_Dmatrix(QVR_Dmatrix&& other) noexcept
    : dimensions(std::move(other.dimensions)),
      strides(std::move(other.strides)),
      items(std::move(other.items)),
      accountedBytes(std::exchange(other.accountedBytes, 0)) {}

QVR_Dmatrix& QVR_Dmatrix::operator=(QVR_Dmatrix&& other) noexcept {
  if (this != &other) {
    Release();
    dimensions = std::move(other.dimensions);
    strides = std::move(other.strides);
    items = std::move(other.items);
    accountedBytes = std::exchange(other.accountedBytes, 0);
  }
  return *this;
}

void QVR_Dmatrix::Release() {
  if (accountedBytes != 0) {
    Charge(-std::exchange(accountedBytes, 0));
  }
}

void QVR_Dmatrix::SetMemoryCeiling(std::int64_t bytes) {
  memoryCeiling.store(std::max(bytes, std::int64_t{0}), std::memory_order_relaxed);
}

std::int64_t QVR_Dmatrix::MemoryInUse() { return memoryInUse.load(std::memory_order_relaxed); }

int QVR_Dmatrix::Copy(const QVR_Dmatrix& other) {
  if (this == &other) {
    return QVR_OKAY;
  }
  if (!HasShape(other.dimensions.Vector())) {
    if (const int status = SetDimensions(other.dimensions.Vector()); status < 0) {
      return status;
    }
  }
  items.CopyPrefix(other.items);
  return QVR_OKAY;
}

void QVR_Dmatrix::Swap(QVR_Dmatrix& other) noexcept {
  dimensions.Swap(other.dimensions);
  strides.Swap(other.strides);
  items.Swap(other.items);
  std::swap(accountedBytes, other.accountedBytes);
}

int QVR_Dmatrix::SetDimensions(std::span<const int> sizes) {
  std::int64_t total = 0;
  if (const int status = CountElements(sizes, total); status < 0) {
    return status;
  }
  if (HasShape(sizes)) {
    Fill(0.0);
    return QVR_OKAY;
  }
  const std::int64_t newBytes = AllocatedBytes(total);
  const std::int64_t moreBytes = newBytes - accountedBytes;
  if (!Charge(moreBytes)) {
    return QVR_OUT_OF_MEMORY;
  }
  QVR_intArray newStrides;
  QVR_doubleArray newItems;
  const int count = static_cast<int>(sizes.size());
  if (newStrides.SetSize(count) < 0 || newItems.SetSize(static_cast<int>(total)) < 0 ||
      dimensions.Assign(sizes) < 0) {
    memoryInUse.fetch_sub(moreBytes, std::memory_order_relaxed);
    return QVR_OUT_OF_MEMORY;
  }
  for (int i = count - 1, stride = 1; i >= 0; --i) {
    newStrides[i] = stride;
    stride *= dimensions[i];
  }
  strides = std::move(newStrides);
  items = std::move(newItems);
  accountedBytes = newBytes;
  return QVR_OKAY;
}

int QVR_Dmatrix::SetDimensions(const QVR_intArray& sizes, int count) {
  if (count < 0 || count > sizes.GetSize()) {
    return QVR_OUT_OF_RANGE;
  }
  return SetDimensions(sizes.Vector().first(static_cast<std::size_t>(count)));
}

void QVR_Dmatrix::CleanUp() {
  Release();
  dimensions.CleanUp();
  strides.CleanUp();
  items.CleanUp();
}

bool QVR_Dmatrix::HasShape(std::span<const int> sizes) const {
  const std::span<const int> own = dimensions.Vector();
  return std::equal(own.begin(), own.end(), sizes.begin(), sizes.end());
}

int QVR_Dmatrix::SameShape(const QVR_Dmatrix& other) const {
  return HasShape(other.dimensions.Vector()) && GetNumElements() == other.GetNumElements() ? 1 : 0;
}

int QVR_Dmatrix::ResizeDimension(int dimension, int newSize) {
  if (!HasDimension(dimension) || newSize < 1) {
    return QVR_OUT_OF_RANGE;
  }
  if (newSize == dimensions[dimension]) {
    return QVR_OKAY;
  }
  QVR_intArray sizes;
  if (const int status = sizes.Copy(dimensions); status < 0) {
    return status;
  }
  sizes[dimension] = newSize;
  return SetDimensions(sizes.Vector());
}

bool QVR_Dmatrix::HasItem(int dimension, int index) const {
  return HasDimension(dimension) && index >= 0 && index < dimensions[dimension];
}

QVR_Dmatrix::Blocks QVR_Dmatrix::BlocksOf(int dimension) const {
  const int count = dimensions[dimension];
  const int inner = strides[dimension];
  return {GetNumElements() / (count * inner), count, inner};
}

int QVR_Dmatrix::ShapeLike(const QVR_Dmatrix& other, int dimension, int size) {
  QVR_intArray sizes;
  for (int i = 0; i < other.GetNumDimensions(); ++i) {
    const int own = i == dimension ? size : other.dimensions[i];
    if (own > 0 && sizes.Add(own) < 0) {
      return QVR_OUT_OF_MEMORY;
    }
  }
  return SetDimensions({sizes.begin(), sizes.end()});
}

int QVR_Dmatrix::CoordinatesToIndex(const QVR_intArray& coordinates) const {
  int index = 0;
  for (int i = 0; i < GetNumDimensions(); ++i) {
    index += coordinates[i] * strides[i];
  }
  return index;
}

int QVR_Dmatrix::IndexToCoordinates(int index, QVR_intArray& coordinates) const {
  if (index < 0 || index >= GetNumElements()) {
    return QVR_OUT_OF_RANGE;
  }
  if (const int status = coordinates.Reset(GetNumDimensions()); status < 0) {
    return status;
  }
  for (int i = 0; i < GetNumDimensions(); ++i) {
    coordinates[i] = index / strides[i];
    index %= strides[i];
  }
  return QVR_OKAY;
}

int QVR_Dmatrix::AreValidCoordinates(const QVR_intArray& coordinates) const {
  if (GetNumDimensions() == 0 || coordinates.Length() < GetNumDimensions()) {
    return 0;
  }
  for (int i = 0; i < GetNumDimensions(); ++i) {
    if (!HasItem(i, coordinates[i])) {
      return 0;
    }
  }
  return 1;
}

double* QVR_Dmatrix::CheckedSubscript(const QVR_intArray& coordinates) {
  return AreValidCoordinates(coordinates) != 0 ? &Subscript(coordinates) : nullptr;
}

int QVR_Dmatrix::NextCoordinates(QVR_intArray& coordinates) const {
  const int count = GetNumDimensions();
  if (coordinates.Length() < count) {
    return QVR_OUT_OF_RANGE;
  }
  int i = count - 1;
  while (i >= 0 && coordinates[i] >= dimensions[i] - 1) {
    --i;
  }
  if (i < 0) {
    return QVR_OUT_OF_RANGE;
  }
  ++coordinates[i];
  for (++i; i < count; ++i) {
    coordinates[i] = 0;
  }
  return QVR_OKAY;
}

void QVR_Dmatrix::CheckInvariants() const {
  assert(strides.GetSize() == GetNumDimensions());
  assert(dimensions.GetNumItems() == 0 && strides.GetNumItems() == 0);
  [[maybe_unused]] std::int64_t total = GetNumDimensions() == 0 ? 0 : 1;
  for (int i = GetNumDimensions() - 1; i >= 0; --i) {
    assert(dimensions[i] >= 1 && strides[i] == total);
    total *= dimensions[i];
  }
  assert(total == GetNumElements() && total <= kMaxElements);
  assert(accountedBytes == AllocatedBytes(total));
}

}  // namespace qvr
