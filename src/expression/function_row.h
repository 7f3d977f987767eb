// The row of a function or distribution in the table behind every call in a formula.
#ifndef QVR_EXPRESSION_FUNCTION_ROW_H
#define QVR_EXPRESSION_FUNCTION_ROW_H

#include <string_view>

namespace qvr {

inline constexpr int kMaxArguments = 64;

// The signed values of a call's arguments; those behind `count` have no meaning.
struct ArgumentBlock {
  double values[kMaxArguments];
  int count = 0;
};

struct FunctionRow {
  const char* name;
  int arity;  // a fixed count, or minus the least count of a call with at most kMaxArguments
  double (*evaluate)(const ArgumentBlock& arguments);  // a distribution draws one sample
  // Null for plain functions. `density` and `moments` have conventions of their own, which callers rely on;
  // `trueDensity` is that of the law that samples follow, 0 outside its support.
  double (*density)(double x, const ArgumentBlock& arguments) = nullptr;
  void (*moments)(double& mean, double& variance, const ArgumentBlock& arguments) = nullptr;
  double (*trueDensity)(double x, const ArgumentBlock& arguments) = nullptr;
};

// By name, ignoring the case of A to Z; null if there is no such function.
[[nodiscard]] const FunctionRow* LookupFunctionRow(std::string_view name);

}  // namespace qvr

#endif
