// Seeded makers of canonical nodes.
#ifndef QVR_SUPPORT_RANDOM_CANONICAL_H
#define QVR_SUPPORT_RANDOM_CANONICAL_H

#include <vector>

#include "support/random_network.h"

namespace qvr {

inline constexpr int kCanonicalTypes[] = {kTypeNoisyMax, kTypeNoisyAdder, kTypeCast, kTypeDeMorgan};

// A permutation of 0 to count - 1.
[[nodiscard]] std::vector<int> RandomOrder(int count, TestRandom& random);
// New numbers for a node of any discrete class. False if any was refused.
[[nodiscard]] bool SetRandomNumbers(QVR_network& network, int handle, const TableStyle& style,
                                    TestRandom& random);
// A node of any discrete class with its first numbers: the handle, or the code of the first step that failed.
// CAST and DeMorgan nodes have two outcomes, whatever the count.
int AddOfType(QVR_network& network, int type, const char* id, int outcomeCount,
              const std::vector<int>& parents);
// As FillNetwork, with canonical nodes between the others. False if any step was refused.
[[nodiscard]] bool FillMixedNetwork(const ParentLists& parents, const std::vector<int>& outcomeCounts,
                                    const TableStyle& style, TestRandom& random, QVR_network& network);

}  // namespace qvr

#endif
