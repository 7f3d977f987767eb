// What the readers of other programs' files do to a network besides naming its nodes.
#ifndef QVR_FORMATS_FOREIGN_NETWORK_H
#define QVR_FORMATS_FOREIGN_NETWORK_H

#include <cstddef>
#include <optional>
#include <span>
#include <string>

namespace qvr {

class QVR_network;

// The network's identifier, repaired if need be, and its name. An empty text leaves them.
void SetNetworkName(QVR_network& network, std::string name);
// As AddArc; and -42 for a table that can't be, or that is large and has more cells than the file has numbers
// for the child: a few words mustn't ask for gigabytes.
int AddTableParent(QVR_network& network, int parent, int child, std::size_t numberCount);
// The cells of the node's table; 0 for a decision.
[[nodiscard]] int GetTableSize(const QVR_network& network, int handle);
// The table of a chance node (see SetProbabilityRows) or the numbers of a utility. -2 unless there are
// GetTableSize of them.
int SetTable(QVR_network& network, int handle, std::span<const double> numbers);
// Screen coordinates, rounded. Nothing for what is no coordinate.
[[nodiscard]] std::optional<int> ToCoordinate(double number);
void SetNodeCentre(QVR_network& network, int handle, int x, int y);

}  // namespace qvr

#endif
