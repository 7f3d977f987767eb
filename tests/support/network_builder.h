// Short verbs with which tests build networks and read results.
#ifndef QVR_SUPPORT_NETWORK_BUILDER_H
#define QVR_SUPPORT_NETWORK_BUILDER_H

#include <vector>

#include "model/network.h"

namespace qvr {

// A chance node with outcomes State0, State1, ... and this table (rows by parent combination, the last
// parent fastest). The handle, or the code of the first step that failed.
int AddChance(QVR_network& network, const char* id, int outcomeCount, const std::vector<int>& parents,
              const std::vector<double>& table);
// An equation node; parents follow from the text. The handle, or the code of the first step that failed.
int AddEquation(QVR_network& network, const char* id, const char* text, double lower = -1.0,
                double upper = 1.0);
// -2 if the node has no table of this length.
int SetTable(QVR_network& network, int handle, const std::vector<double>& table);
// Null for a node without a table.
[[nodiscard]] QVR_Dmatrix* TableOf(QVR_network& network, int handle);
// The numbers of its table; empty for a node without one.
[[nodiscard]] std::vector<double> CellsOf(QVR_network& network, int handle);
// The same for a utility as well.
[[nodiscard]] std::vector<double> NumbersOf(QVR_network& network, int handle);
[[nodiscard]] inline std::vector<int> ListOf(const QVR_intArray& list) { return {list.begin(), list.end()}; }
[[nodiscard]] std::vector<int> AllNodes(const QVR_network& network);
[[nodiscard]] QVR_nodeValue& ValueOf(QVR_network& network, int handle);
// The value's numbers as they stand, valid or not.
[[nodiscard]] std::vector<double> BeliefOf(QVR_network& network, int handle);
// Of the definition and, unless it refuses, of the network's list.
int ReorderParents(QVR_network& network, int handle, const QVR_intArray& order);
int SetLikelihoods(QVR_network& network, int handle, const std::vector<double>& likelihoods);

}  // namespace qvr

#endif
