// Elimination of a component's moral graph by smallest clique table: the cliques of a join tree.
#ifndef QVR_INFERENCE_TRIANGULATION_H
#define QVR_INFERENCE_TRIANGULATION_H

#include <cstdint>
#include <span>
#include <vector>

#include "inference/component_shape.h"

namespace qvr {

inline constexpr int kMaxCliqueMembers = 30;
inline constexpr std::int64_t kMaxCliqueEntries = 0x40000000;  // of one clique, whatever the limit
inline constexpr std::int64_t kDefaultSizeLimit = 0x10000000;  // of all cliques together

// Cliques in creation order, as flat lists of component positions.
struct EliminationCliques {
  std::vector<int> memberStart;  // one more than there are cliques
  std::vector<int> members;      // in the order of elimination
  std::vector<int> separatorStart;
  std::vector<int> separators;          // the members that live on in later cliques
  std::vector<std::int64_t> tableSize;  // product over the members, an observed one counting as 1

  [[nodiscard]] int Count() const { return static_cast<int>(tableSize.size()); }
  void Clear();
};

// False when the component is refused: a clique of more than 30 members or 0x40000000 entries, or more
// than `sizeLimit` entries in all.
[[nodiscard]] bool Triangulate(const ComponentShape& shape, std::int64_t sizeLimit, EliminationCliques& out);

}  // namespace qvr

#endif
