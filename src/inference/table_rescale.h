// Keeps the tables of message passing clear of underflow by factors that lose no bits.
#ifndef QVR_INFERENCE_TABLE_RESCALE_H
#define QVR_INFERENCE_TABLE_RESCALE_H

#include <span>

namespace qvr {

// 0 for a table without positive entries. Entries that are no numbers don't count.
[[nodiscard]] double LargestEntry(std::span<const double> table);

// If the largest entry is finite and above 0, multiplies the table by the power of two that brings it
// into [0.5, 1). Otherwise every bit stays.
void RescaleToUnit(std::span<double> table);

// The same, but only if the largest entry is outside 2^-256 to 2^256.
void RescaleTable(std::span<double> table);

// Multiplies the dividend by a power of two, if need be, so that no quotient of it and the divisor becomes
// infinite. Entries of 0 in the divisor don't count.
void KeepQuotientsFinite(std::span<double> dividend, std::span<const double> divisor);

}  // namespace qvr

#endif
