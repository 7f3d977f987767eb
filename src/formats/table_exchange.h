// Tables between a network and the files of other programs.
#ifndef QVR_FORMATS_TABLE_EXCHANGE_H
#define QVR_FORMATS_TABLE_EXCHANGE_H

#include <string>

#include "model/number_array.h"
#include "model/string_array.h"

namespace qvr {

class QVR_Dmatrix;
class QVR_network;

// A state count that a file only states, without naming the states.
inline constexpr int kMaxStatedOutcomes = 10'000;

// Gives a chance node the numbers of a file as its table, rows in the order of the table. Files hold counts,
// zeros and rounded numbers: a row that sums to 1 within 5e-6 stays as it is, another positive one is divided
// by its sum, a row of zeros becomes uniform, and one with a negative number stays and makes the node
// inconsistent. -2 for another length, -51 for a node of another type.
int SetProbabilityRows(QVR_network& network, int handle, QVR_doubleArray numbers);
// What is said of numbers that are too few or too many, for the whole table if no other number is expected.
[[nodiscard]] std::string WrongCountMessage(const std::string& id, int expected, int count);
[[nodiscard]] std::string WrongCountMessage(const QVR_network& network, int handle, int count);
// Outcomes and names of a node without children, repaired as the definition does it; for fewer than two
// names only their number counts.
int SetOutcomeNames(QVR_network& network, int handle, const QVR_stringArray& names);

// Chance nodes of all kinds that have a table over discrete parents.
[[nodiscard]] bool HasProbabilities(int type);
// Whether the node can be written as a table: a chance node of any kind, a decision or a utility.
[[nodiscard]] bool HasWritableTable(QVR_network& network, int handle);
// The full table of such a node; null for a decision.
[[nodiscard]] const QVR_Dmatrix* GetWritableTable(QVR_network& network, int handle);

}  // namespace qvr

#endif
