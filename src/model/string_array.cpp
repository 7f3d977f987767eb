#include "model/string_array.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <new>

#include "model/status.h"

namespace qvr {
namespace {

constexpr char kEmptyText[] = "";

}  // namespace

void QVR_stringArray::TextDeleter::operator()(const char* text) const {
  if (text != kEmptyText) {
    delete[] text;
  }
}

QVR_stringArray::Text QVR_stringArray::Duplicate(const char* text) {
  if (text == nullptr) {
    return nullptr;
  }
  if (*text == '\0') {
    return Text(kEmptyText);
  }
  const std::size_t length = std::strlen(text) + 1;
  char* const copy = new char[length];
  std::memcpy(copy, text, length);
  return Text(copy);
}

std::vector<QVR_stringArray::Text> QVR_stringArray::Duplicate(const std::vector<Text>& items) {
  std::vector<Text> copies;
  copies.reserve(items.size());
  for (const Text& item : items) {
    copies.push_back(Duplicate(item.get()));
  }
  return copies;
}

void QVR_array::CleanUp(int deep) {
  size = 0;
  numItems = 0;
  delta = 10;
  QVR_object::CleanUp(deep);
}

QVR_stringArray::QVR_stringArray(const QVR_stringArray& other)
    : QVR_array(other), items(Duplicate(other.items)) {}

void QVR_stringArray::CleanUp(int deep) {
  items = std::vector<Text>();
  QVR_array::CleanUp(deep);
  EntriesChanged();
}

void QVR_stringArray::CheckReady(int /*deep*/) { SetReady(delta > 0 && numItems >= 0 && numItems <= size); }

int QVR_stringArray::SetItem(int i, const char* text) {
  if (!IsReady()) {
    return QVR_OBJECT_NOT_READY;
  }
  if (i < 0 || i >= size) {
    return QVR_OUT_OF_RANGE;
  }
  Text copy;
  try {
    copy = Duplicate(text);
  } catch (const std::bad_alloc&) {
    copy = nullptr;  // the entry becomes null
  }
  items[static_cast<std::size_t>(i)] = std::move(copy);
  EntriesChanged();
  return QVR_OKAY;
}

int QVR_stringArray::Add(const char* text) { return Insert(numItems, text); }

int QVR_stringArray::Insert(int i, const char* text) {
  if (!IsReady()) {
    return QVR_OBJECT_NOT_READY;
  }
  if (i < 0 || i > numItems) {
    return QVR_OUT_OF_RANGE;
  }
  if (numItems == size && size > std::numeric_limits<int>::max() - delta) {
    return QVR_OUT_OF_MEMORY;
  }
  try {
    Text copy = Duplicate(text);
    if (numItems == size) {
      items.resize(static_cast<std::size_t>(size + delta));  // the capacity grows geometrically
      size += delta;
    }
    std::move_backward(items.begin() + i, items.begin() + numItems, items.begin() + numItems + 1);
    items[static_cast<std::size_t>(i)] = std::move(copy);
  } catch (const std::bad_alloc&) {
    return QVR_OUT_OF_MEMORY;
  }
  ++numItems;
  EntriesChanged();
  return QVR_OKAY;
}

int QVR_stringArray::SetSize(int n) {
  if (n < 0) {
    return QVR_OUT_OF_RANGE;
  }
  if (!IsReady()) {
    CleanUp(0);
  }
  numItems = 0;
  EntriesChanged();
  if (n == size) {
    return QVR_OKAY;
  }
  CleanUp(0);
  try {
    items.resize(static_cast<std::size_t>(n));
  } catch (const std::bad_alloc&) {
    return QVR_OUT_OF_MEMORY;
  }
  size = n;
  return QVR_OKAY;
}

int QVR_stringArray::Delete(int i) {
  if (!IsReady() || i < 0 || i >= size) {
    return QVR_OUT_OF_RANGE;
  }
  items[static_cast<std::size_t>(i)] = nullptr;
  if (i < numItems) {
    std::move(items.begin() + i + 1, items.begin() + numItems, items.begin() + i);
  }
  if (numItems > 0) {
    --numItems;
    items[static_cast<std::size_t>(numItems)] = nullptr;
  }
  EntriesChanged();
  return QVR_OKAY;
}

int QVR_stringArray::Find(const char* text) const {
  if (!IsReady() || text == nullptr) {
    return QVR_OUT_OF_RANGE;
  }
  for (int i = 0; i < numItems; ++i) {
    const char* const item = Get(i);
    if (item != nullptr && std::strcmp(item, text) == 0) {
      return i;
    }
  }
  return QVR_OUT_OF_RANGE;
}

const char* QVR_stringArray::Get(int i) const {
  return i >= 0 && i < size ? items[static_cast<std::size_t>(i)].get() : nullptr;
}

void QVR_stringArray::Flush() {
  for (Text& item : items) {
    item = nullptr;
  }
  numItems = 0;
  EntriesChanged();
}

int QVR_stringArray::Copy(const QVR_stringArray& other) {
  if (!other.IsReady()) {
    return QVR_OBJECT_NOT_READY;
  }
  if (this == &other) {
    return QVR_OKAY;
  }
  try {
    items = Duplicate(other.items);
  } catch (const std::bad_alloc&) {
    return QVR_OUT_OF_MEMORY;
  }
  size = other.size;
  numItems = other.numItems;
  delta = other.delta;
  SetReady(true);
  EntriesChanged();
  return QVR_OKAY;
}

int QVR_stringArray::AddEmpty() { return QVR_stringArray::Insert(numItems, ""); }

int QVR_stringArray::Permute(const QVR_intArray& order) {
  const std::span<const int> places(order.begin(), order.end());
  const int n = order.GetNumItems();
  if (n != numItems && n != size) {
    return QVR_OUT_OF_RANGE;
  }
  if (const int status = TestPermutation(places); status < 0) {
    return status;
  }
  try {
    std::vector<Text> permuted;
    permuted.reserve(places.size());
    for (const int place : places) {
      permuted.push_back(std::move(items[static_cast<std::size_t>(place)]));
    }
    std::move(permuted.begin(), permuted.end(), items.begin());
  } catch (const std::bad_alloc&) {
    return QVR_OUT_OF_MEMORY;
  }
  EntriesChanged();
  return QVR_OKAY;
}

}  // namespace qvr
