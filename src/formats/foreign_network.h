// What readers and writers of text files do alike with a network and its nodes.
#ifndef QVR_FORMATS_FOREIGN_NETWORK_H
#define QVR_FORMATS_FOREIGN_NETWORK_H

#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "model/number_array.h"

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
// The same for a list of two. False, with neither set, for any other.
bool ToCoordinates(const QVR_doubleArray& numbers, int& first, int& second);
void SetNodeCentre(QVR_network& network, int handle, int x, int y);
// Whether there's anything to write of what observing the node costs.
[[nodiscard]] bool HasCost(const QVR_network& network, int handle);
// What stands for an identifier where only letters, digits and "_" can: the engine's auxiliary names begin
// with "@".
[[nodiscard]] std::string MakeWrittenId(const std::string& id, const char* substitute);
// The same for all nodes, by handle. No two are the same.
[[nodiscard]] std::vector<std::string> MakeWrittenIds(const QVR_network& network);

}  // namespace qvr

#endif
