// Seeded networks with everything that files keep.
#ifndef QVR_SUPPORT_RANDOM_RICH_NETWORK_H
#define QVR_SUPPORT_RANDOM_RICH_NETWORK_H

#include <string>

#include "support/random_network.h"

namespace qvr {

// What kinds of nodes a network has.
enum class RichKind { kChance, kInfluence, kEquations, kMixed };

// Latin-1 with markup and quotes; with `lines` also line feeds and tabs, which attributes lose.
[[nodiscard]] std::string RandomText(TestRandom& random, bool lines);

// Fills an empty network, whose handles are no order of parents before children. False if any step was
// refused.
[[nodiscard]] bool FillRichNetwork(RichKind kind, TestRandom& random, QVR_network& network);
// Costs of observations, some not available, and cost arcs.
[[nodiscard]] bool AddRandomCosts(TestRandom& random, QVR_network& network);

// Moves nodes into a plate and around it, and adds temporal arcs with tables; perhaps for no slices.
[[nodiscard]] bool AddRandomPlate(TestRandom& random, QVR_network& network);

}  // namespace qvr

#endif
