// Tables of canonical nodes, written down row by row from what each model means.
#ifndef QVR_SUPPORT_CANONICAL_REFERENCE_H
#define QVR_SUPPORT_CANONICAL_REFERENCE_H

#include <vector>

#include "model/network.h"

namespace qvr {

// The distribution of the more severe (lower) of two independent outcomes.
[[nodiscard]] std::vector<double> MoreSevere(const std::vector<double>& a, const std::vector<double>& b);

// The node's conditional table, the last parent fastest: of a canonical node computed from its parameters
// alone, of another node as it stands. Empty for a node without a table.
[[nodiscard]] std::vector<double> ReferenceTable(QVR_network& network, int handle);

}  // namespace qvr

#endif
