#include "model/identifier_index.h"

#include <algorithm>

#include "model/status.h"

namespace qvr {

void IdentifierIndex::Insert(std::string_view text, int handle) {
  const auto [place, isNew] = lowest.try_emplace(std::string(text), handle);
  if (isNew || place->second == handle) {
    return;
  }
  others[place->first].insert(std::max(handle, place->second));
  place->second = std::min(handle, place->second);
}

void IdentifierIndex::Erase(std::string_view text, int handle) {
  const auto place = lowest.find(text);
  if (place == lowest.end()) {
    return;
  }
  const auto rest = others.find(text);
  if (rest == others.end()) {
    if (place->second == handle) {
      lowest.erase(place);
      taken = {};
    }
    return;
  }
  if (place->second == handle) {
    place->second = *rest->second.begin();
    rest->second.erase(rest->second.begin());
  } else {
    rest->second.erase(handle);
  }
  if (rest->second.empty()) {
    others.erase(rest);
  }
}

void IdentifierIndex::Clear() {
  lowest.clear();
  others.clear();
  taken = {};
}

std::int64_t IdentifierIndex::FirstFreeNumber(std::string_view base, std::int64_t first) {
  const bool continues = taken.base == base && taken.from <= first && first <= taken.upTo;
  std::int64_t number = continues ? taken.upTo : first;
  std::string candidate;
  for (;; ++number) {
    candidate.assign(base).append(std::to_string(number));
    if (!lowest.contains(candidate)) {
      break;
    }
  }
  taken = {std::string(base), continues ? taken.from : first, number};
  return number;
}

int IdentifierIndex::Find(std::string_view text) const {
  const auto place = lowest.find(text);
  return place == lowest.end() ? QVR_OUT_OF_RANGE : place->second;
}

int IdentifierIndex::FindOther(std::string_view text, int except) const {
  const int found = Find(text);
  if (found != except) {
    return found;
  }
  const auto rest = others.find(text);
  return rest == others.end() ? QVR_OUT_OF_RANGE : *rest->second.begin();
}

}  // namespace qvr
