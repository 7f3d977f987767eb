// A network as a text: what two equal networks share, and what one that failed a test looked like.
#ifndef QVR_SUPPORT_DESCRIBE_NETWORK_H
#define QVR_SUPPORT_DESCRIBE_NETWORK_H

#include <string>

#include "model/network.h"

namespace qvr {

// Settings, submodels and all that is entered. Leaves out what an update writes and what copies drop.
[[nodiscard]] std::string Describe(QVR_network& network);
// The saved cases alone, with nodes by identifier: in a loaded network they may have other handles.
[[nodiscard]] std::string DescribeCases(const QVR_network& network);

}  // namespace qvr

#endif
