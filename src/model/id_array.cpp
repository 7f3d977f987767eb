// The identifier array. Long arrays look names up in a hash index, which follows what happens at the end
// of the array and in single entries and is dropped by everything else.
#include <algorithm>
#include <cstdint>
#include <new>
#include <unordered_map>

#include "model/identifier.h"
#include "model/status.h"
#include "model/string_array.h"

namespace qvr {
namespace {

constexpr int kScanLimit = 16;  // up to here a scan beats building and asking an index

struct TextHash {
  using is_transparent = void;
  std::size_t operator()(std::string_view text) const { return std::hash<std::string_view>{}(text); }
};

template <typename Value>
using TextMap = std::unordered_map<std::string, Value, TextHash, std::equal_to<>>;

}  // namespace

// Of the list's texts that aren't empty.
struct QVR_idArray::Index {
  struct Place {
    int first;
    int count;
  };
  // The numbers from `from` up to, but not including, `upTo` all stand behind the base in some name.
  struct TakenNumbers {
    std::int64_t from = 0;
    std::int64_t upTo = 0;
  };

  // `position` lies behind those of equal texts.
  void Append(const char* text, int position);
  // False if it can't follow, since the text stands elsewhere as well.
  bool Remove(std::string_view text);
  std::int64_t FirstFreeNumber(const std::string& base, std::int64_t first);

  TextMap<Place> places;
  TextMap<TakenNumbers> taken;  // by base
};

void QVR_idArray::Index::Append(const char* text, int position) {
  if (text == nullptr || *text == '\0') {
    return;
  }
  ++places.try_emplace(text, Place{position, 0}).first->second.count;
}

bool QVR_idArray::Index::Remove(std::string_view text) {
  const auto found = places.find(text);
  if (found == places.end()) {
    return true;  // an empty text
  }
  if (found->second.count > 1) {
    return false;
  }
  places.erase(found);
  for (std::size_t length = text.size(); length > 1 && text[length - 1] >= '0' && text[length - 1] <= '9';) {
    --length;
    if (const auto base = taken.find(text.substr(0, length)); base != taken.end()) {
      taken.erase(base);
    }
  }
  return true;
}

std::int64_t QVR_idArray::Index::FirstFreeNumber(const std::string& base, std::int64_t first) {
  TakenNumbers& known = taken[base];
  const bool continues = known.from <= first && first <= known.upTo;
  std::int64_t number = continues ? known.upTo : first;
  while (places.contains(base + std::to_string(number))) {
    ++number;
  }
  known = {continues ? known.from : first, number};
  return number;
}

QVR_idArray::QVR_idArray(bool newAllowEmpty, int newDelta)
    : QVR_stringArray(newDelta), allowEmpty(newAllowEmpty) {}

QVR_idArray::QVR_idArray(const QVR_idArray& other) : QVR_stringArray(other), allowEmpty(other.allowEmpty) {}

QVR_idArray::~QVR_idArray() = default;

void QVR_idArray::EntriesChanged() { index.reset(); }

QVR_idArray::Index* QVR_idArray::IndexNow() const {
  if (index == nullptr && GetNumItems() > kScanLimit) {
    try {
      auto built = std::make_unique<Index>();
      built->places.reserve(static_cast<std::size_t>(GetNumItems()));
      for (int i = 0; i < GetNumItems(); ++i) {
        built->Append(Get(i), i);
      }
      index = std::move(built);
    } catch (const std::bad_alloc&) {
      return nullptr;
    }
  }
  return index.get();
}

int QVR_idArray::FindId(std::string_view text) const {
  if (Index* const lookup = text.empty() ? nullptr : IndexNow(); lookup != nullptr) {
    const auto found = lookup->places.find(text);
    return found == lookup->places.end() ? QVR_OUT_OF_RANGE : found->second.first;
  }
  for (int i = 0; i < GetNumItems(); ++i) {
    if (Get(i) != nullptr && text == Get(i)) {
      return i;
    }
  }
  return QVR_OUT_OF_RANGE;
}

bool QVR_idArray::IsTaken(std::string_view text, int except) const {
  if (Index* const lookup = IndexNow(); lookup != nullptr) {
    const auto found = lookup->places.find(text);
    return found != lookup->places.end() && (found->second.count > 1 || found->second.first != except);
  }
  for (int i = 0; i < GetNumItems(); ++i) {
    if (i != except && Get(i) != nullptr && text == Get(i)) {
      return true;
    }
  }
  return false;
}

int QVR_idArray::IsValidNew(const char* text) const { return IsValidAt(text, -1); }

int QVR_idArray::IsValidAt(const char* text, int i) const {
  if (text == nullptr) {
    return 0;
  }
  if (*text == '\0') {
    return allowEmpty ? 1 : 0;
  }
  return IsPlainIdentifier(text) && !IsTaken(text, i) ? 1 : 0;
}

void QVR_idArray::CheckConsistency(int /*deep*/) {
  bool consistent = true;
  for (int i = 0; i < GetNumItems() && consistent; ++i) {
    consistent = IsValidAt(Get(i), i) != 0;
  }
  SetConsistent(consistent);
}

int QVR_idArray::SetItem(int i, const char* text) {
  if (IsValidAt(text, i) == 0) {
    return QVR_OUT_OF_RANGE;
  }
  std::unique_ptr<Index> kept = std::move(index);
  const bool follows = kept != nullptr && i >= 0 && i < GetNumItems();
  const std::string old = follows && Get(i) != nullptr ? Get(i) : "";
  const int status = QVR_stringArray::SetItem(i, text);
  if (follows && status == QVR_OKAY) {
    if (!kept->Remove(old)) {
      return QVR_OKAY;
    }
    kept->Append(Get(i), i);
  }
  index = std::move(kept);
  return status;
}

int QVR_idArray::InsertUnchecked(int i, const char* text) {
  std::unique_ptr<Index> kept = std::move(index);
  const int status = QVR_stringArray::Insert(i, text);
  if (status == QVR_OKAY && i < GetNumItems() - 1) {
    return QVR_OKAY;  // what stood behind has moved
  }
  if (status == QVR_OKAY && kept != nullptr) {
    kept->Append(Get(i), i);
  }
  index = std::move(kept);
  return status;
}

int QVR_idArray::Add(const char* text) { return Insert(GetNumItems(), text); }

int QVR_idArray::Insert(int i, const char* text) {
  return IsValidNew(text) != 0 ? InsertUnchecked(i, text) : QVR_OUT_OF_RANGE;
}

std::string QVR_idArray::MakeUniqueId(const char* base, int first) const {
  std::string id = base != nullptr && *base != '\0' ? base : "x";
  MakeValidIdentifier(id);
  if (first < 0 && !IsTaken(id, -1)) {
    return id;
  }
  std::int64_t number = std::max(first, 0);
  if (Index* const lookup = IndexNow(); lookup != nullptr) {
    number = lookup->FirstFreeNumber(id, number);
  } else {
    while (IsTaken(id + std::to_string(number), -1)) {
      ++number;
    }
  }
  return id + std::to_string(number);
}

int QVR_idArray::AddUniqueId(const char* base, int first) {
  return InsertUnchecked(GetNumItems(), MakeUniqueId(base, first).c_str());
}

int QVR_idArray::InsertUniqueId(const char* base, int first, int i) {
  return InsertUnchecked(i, MakeUniqueId(base, first).c_str());
}

int QVR_idArray::AddRepaired(const char* text) {
  if (Add(text) == QVR_OKAY) {
    return QVR_OKAY;
  }
  std::string repaired = text != nullptr ? text : "";
  MakeValidIdentifier(repaired);
  if (Add(repaired.c_str()) == QVR_OKAY) {
    return QVR_OKAY;
  }
  return AddUniqueId(repaired.c_str(), 2);
}

int QVR_idArray::MakeAllValid() {
  if (GetNumItems() == 0) {
    return QVR_OKAY;
  }
  QVR_idArray repaired(allowEmpty, GetDelta());
  for (int i = 0; i < GetNumItems(); ++i) {
    if (repaired.AddRepaired(Get(i)) < 0) {
      return QVR_OUT_OF_RANGE;
    }
  }
  return QVR_stringArray::Copy(repaired) < 0 ? QVR_OUT_OF_RANGE : QVR_OKAY;
}

int QVR_idArray::Copy(const QVR_stringArray& other) { return QVR_stringArray::Copy(other); }

int QVR_idArray::Copy(const QVR_idArray& other) {
  const int status = QVR_stringArray::Copy(other);
  if (status == QVR_OKAY) {
    allowEmpty = other.allowEmpty;
  }
  return status;
}

}  // namespace qvr
