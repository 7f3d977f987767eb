// The two halves of the function table, and what they share.
#ifndef QVR_EXPRESSION_FUNCTION_CATALOGUE_H
#define QVR_EXPRESSION_FUNCTION_CATALOGUE_H

#include <span>

#include "expression/function_row.h"

namespace qvr {

[[nodiscard]] std::span<const FunctionRow> PlainFunctions();
[[nodiscard]] std::span<const FunctionRow> Distributions();

// The logarithm of the gamma function for x > 0 (Lanczos 1964).
[[nodiscard]] double Gammaln(double x);

}  // namespace qvr

#endif
