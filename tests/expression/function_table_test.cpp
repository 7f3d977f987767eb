// Every function of the language against reference values from the literature.
#include <gtest/gtest.h>

#include <cmath>
#include <string>

#include "expression/compiled_expression.h"
#include "expression/formula_support.h"
#include "expression/function_catalogue.h"
#include "expression/function_expression.h"
#include "expression/value_table.h"

namespace qvr {
namespace {

// Digits from tables: Abramowitz and Stegun for the transcendental ones. 1/0 and 0/0 stand for infinity and
// for what is no number.
constexpr const char* kCases = R"(
  Abs(-3) => 3;  Acos(0.5) => 1.0471975511965979;  Acos(2) => 0/0;  And(1,2,3) => 1;  And(1,0,3) => 0;
  And(0/0,1) => 1;  Asin(0.5) => 0.5235987755982989;  Atan(1) => 0.7853981633974483;
  Atan2(1,-1) => 2.356194490192345;  Combin(5,2) => 10;  Combin(-5.9,2.9) => 10;  Combin(2,3) => 1/0;
  Combin(100,200) => 1/0;  Combin(200,100) => 9.0548514656103281e58;  Combin(170,0) => 1;
  Combin(1e9,2) => 499999999500000000;  Combin(1e9,5e8) => 1/0;  Cos(1) => 0.5403023058681398;
  Cosh(1) => 1.5430806348152437;  Exp(1) => 2.718281828459045;  Fact(5.9) => 120;  Fact(0) => 1;
  Fact(-1) => 0;  Fact(170) => 7.257415615307994e306;  Fact(171) => 1/0;  Fact(1e9) => 1/0;
  Fact(0/0) => 0/0;  FactDouble(7) => 105;  FactDouble(8) => 384;  FactDouble(-2) => 0;
  FactDouble(1e300) => 1/0;  Gammaln(0.5) => 0.5723649429247001;  Gammaln(10) => 12.801827480081469;
  GCD(-12,18) => 6;  GCD(7.9,0) => 7;  GCD(0,0) => 0;  GCD(1e300,2) => 0/0;  If(0,1,2) => 2;
  If(0/0,1,2) => 1;  LCM(4,-6) => 12;  LCM(0,0) => 0;  LCM(0/0,1) => 0/0;
  LCM(9007199254740992,9007199254740991) => 9007199254740992*9007199254740991;
  Ln(10) => 2.302585092994046;  Ln(-1) => 0/0;  Log(8,2) => 3;  Log10(1000) => 3;  Max(1,5,3) => 5;
  Min(4,2,3) => 2;  Multinomial(2,3,4) => 1260;  Multinomial(100,100) => 9.0548514656103281e58;
  Multinomial(-1,2) => 1/0;  Or(0,0) => 0;  Or(0,-1) => 1;  Pi() => 3.141592653589793;  Pow10(2) => 100;
  Round(-0.5) => 0;  Round(2.5) => 3;  Sign(-7) => -1;  Sign(0) => 0;  Sign(2) => 1;
  Sin(1) => 0.8414709848078965;  Sinh(1) => 1.1752011936438014;  Sqr(-3) => 9;
  Sqrt(2) => 1.4142135623730951;  SqrtPi(2) => 2.5066282746310002;  Sum(1,2,3.5) => 6.5;
  SumSq(1,2,3) => 14;  Switch(0,10,20) => 10;  Switch(2.9,10,20) => 20;  Switch(5,10,20) => 20;
  Switch(1e300,10,20) => 20;  Switch(0/0,10,20) => 10;  Tan(1) => 1.5574077246549023;
  Tanh(1) => 0.7615941559557649;  Trim(5,0,1) => 1;  Trim(-5,0,1) => 0;  Trim(0.5,0,1) => 0.5;
  Truncate(-1.9) => -1;  Truncate(1.9) => 1;  Xor(1,1,1) => 1;  Xor(1,1,0) => 0;

  Beta(0/0,1) => 0/0;  Beta(1/0,1) => 0/0;  Beta(-1,2) => 0/0;  Gamma(1/0,1) => 0/0;  Gamma(0/0,1) => 0/0;
  Exponential(0/0) => 0/0;  Weibull(0/0,1) => 0/0;  Normal(0,0/0) => 0/0;  Binomial(1/0,0.5) => 0/0;
  Binomial(1e17,0.5) => 0/0;  Binomial(2.5,1) => 3;  Binomial(0,0.5) => 0;  Binomial(0/0,1) => 0;
  Binomial(1e15,1) => 1e15;  Bernoulli(1) => 1;  Bernoulli(0) => 0
)";

TEST(FunctionTable, GivesReferenceValues) {
  for (const auto& [call, reference, unused] : ReadCases(kCases)) {
    const double value = ParseOrFail(call)->EvaluateSigned();
    const double expected = ParseOrFail(reference)->EvaluateSigned();
    if (std::isfinite(expected)) {
      EXPECT_NEAR(value, expected, 2e-10 * std::abs(expected) + 1e-15) << call;
    } else {
      EXPECT_TRUE(std::isnan(expected) ? std::isnan(value) : value == expected) << call << " gave " << value;
    }
  }
}

// Only calls built by hand lack arguments; these count as no numbers.
TEST(FunctionTable, ReadsNothingBehindTheArguments) {
  const ValueTable none;
  for (const char* name : {"Max", "Min", "Multinomial", "Sum", "SumSq", "Switch", "CustomPDF", "Normal"}) {
    const std::unique_ptr<QVR_function> call = MakeFunction(name);
    EXPECT_TRUE(std::isnan(call->Evaluate())) << name;
    EXPECT_TRUE(std::isnan(CompiledExpression(*call, none).Evaluate(none))) << name;
  }
}

TEST(FunctionTable, HoldsEveryNameOnceAndFindsItInAnyCase) {
  std::size_t covered = Distributions().size();
  for (const FunctionRow& row : PlainFunctions()) {
    const bool hasCase = std::string(kCases).find(std::string(" ") + row.name + "(") != std::string::npos;
    EXPECT_TRUE(hasCase) << row.name;
    covered += hasCase ? 1 : 0;
  }
  EXPECT_EQ(covered, 51U);
  EXPECT_EQ(LookupFunctionRow("gcd"), LookupFunctionRow("GCD"));
  EXPECT_STREQ(LookupFunctionRow("GAMMALN")->name, "Gammaln");
  EXPECT_STREQ(LookupFunctionRow("cUsToMpDf")->name, "CustomPDF");
  for (const char* absent : {"", "Si", "Sine", "Sin ", "_", "zzz"}) {
    EXPECT_EQ(LookupFunctionRow(absent), nullptr) << absent;
  }
}

}  // namespace
}  // namespace qvr
