#include "formulas.h"

#include <chrono>
#include <cstdio>
#include <string>

#include "expression/compiled_expression.h"
#include "expression/expression.h"
#include "expression/value_table.h"

namespace qvr {
namespace {

constexpr double kSecondsToSpend = 0.2;

constexpr const char* kFormulas[] = {
    "a+b*h-c/(a+1)",
    "a*a*a+3*b^2-Sqrt(c)*Exp(-h/2)",
    "If(a>b,Min(a,b,c,h),Max(a*2,b-c))+Sin(h)*Cos(a)",
};
constexpr const char* kDraws[] = {
    "Uniform(0,1)",   "Normal(0,1)",    "Exponential(2)", "Gamma(2.5,1)",     "Beta(2,3)",
    "Weibull(1,1.5)", "Lognormal(0,1)", "Bernoulli(0.3)", "Binomial(10,0.3)", "Triangular(0,1,3)",
};

// Keeps the compiler from leaving out what nobody reads.
volatile double sink;

// The seconds that one call of `step` takes.
template <typename Step>
double SecondsPerCall(Step step) {
  using Clock = std::chrono::steady_clock;
  const auto start = Clock::now();
  double elapsed = 0;
  long long calls = 0;
  while (elapsed < kSecondsToSpend) {
    for (int i = 0; i < 100; ++i) {
      step();
    }
    calls += 100;
    elapsed = std::chrono::duration<double>(Clock::now() - start).count();
  }
  return elapsed / static_cast<double>(calls);
}

void FillTable(ValueTable& table) {
  double value = 0.5;
  for (const char* name : {"a", "b", "c", "h"}) {
    table[table.GetOrAddVariable(name)] = value;
    value += 0.75;
  }
}

bool MeasureFormula(const char* text) {
  ExpressionPtr formula = QVR_expression::Parse(text, nullptr, nullptr);
  if (!formula) {
    std::fprintf(stderr, "%s doesn't parse\n", text);
    return false;
  }
  ValueTable table;
  FillTable(table);
  const double parse = SecondsPerCall([text] { sink = QVR_expression::Parse(text, nullptr, nullptr)->sign; });
  formula->Bind(&table);
  const double tree = SecondsPerCall([&formula] { sink = formula->EvaluateSigned(); });
  CompiledExpression program(*formula, table);
  const double compiled = SecondsPerCall([&program, &table] { sink = program.Evaluate(table); });
  const double perNode = 1e9 / formula->CountNodes();
  std::printf("%-50s %6d %10.1f %10.1f %10.1f\n", text, formula->CountNodes(), parse * perNode,
              tree * perNode, compiled * perNode);
  return true;
}

bool MeasureDraws(const char* text) {
  const ExpressionPtr law = QVR_expression::Parse(text, nullptr, nullptr);
  if (!law) {
    std::fprintf(stderr, "%s doesn't parse\n", text);
    return false;
  }
  const ValueTable none;
  CompiledExpression program(*law, none);
  const double seconds = SecondsPerCall([&program, &none] { sink = program.Evaluate(none); });
  std::printf("%-50s %10.1f\n", text, 1e-6 / seconds);
  return true;
}

}  // namespace

bool MeasureFormulas() {
  bool allMeasured = true;
  std::printf("\n%-50s %6s %10s %10s %10s\n", "formula, ns a node", "nodes", "parse", "tree", "compiled");
  for (const char* text : kFormulas) {
    allMeasured = MeasureFormula(text) && allMeasured;
  }
  std::printf("\n%-50s %10s\n", "distribution", "M draws/s");
  for (const char* text : kDraws) {
    allMeasured = MeasureDraws(text) && allMeasured;
  }
  return allMeasured;
}

}  // namespace qvr
