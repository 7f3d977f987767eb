// A hash index from identifiers to the handles that bear them.
#ifndef QVR_MODEL_IDENTIFIER_INDEX_H
#define QVR_MODEL_IDENTIFIER_INDEX_H

#include <cstdint>
#include <set>
#include <string>
#include <string_view>
#include <unordered_map>

namespace qvr {

// Several handles may bear one text ("@" nodes, files with duplicates).
class IdentifierIndex {
 public:
  void Insert(std::string_view text, int handle);
  void Erase(std::string_view text, int handle);
  void Clear();
  // The lowest handle with this text, or -2.
  [[nodiscard]] int Find(std::string_view text) const;
  // The lowest handle with this text that isn't `except`, or -2.
  [[nodiscard]] int FindOther(std::string_view text, int except) const;
  // The least number from `first` on that no text has behind the base. Fast when asked time and again with
  // the same base.
  std::int64_t FirstFreeNumber(std::string_view base, std::int64_t first);

 private:
  struct Hash {
    using is_transparent = void;
    std::size_t operator()(std::string_view text) const { return std::hash<std::string_view>{}(text); }
  };
  std::unordered_map<std::string, int, Hash, std::equal_to<>> lowest;
  std::unordered_map<std::string, std::set<int>, Hash, std::equal_to<>> others;  // seldom used
  // The numbers that all stand behind `base` in some text, from `from` up to, but not including, `upTo`.
  struct TakenNumbers {
    std::string base;
    std::int64_t from = 0;
    std::int64_t upTo = 0;
  };
  TakenNumbers taken;
};

}  // namespace qvr

#endif
