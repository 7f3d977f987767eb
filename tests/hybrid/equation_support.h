// Short verbs of the tests of equation networks.
#ifndef QVR_HYBRID_EQUATION_SUPPORT_H
#define QVR_HYBRID_EQUATION_SUPPORT_H

#include <map>
#include <string>
#include <vector>

#include "definitions/equation.h"
#include "definitions/equation_scc.h"
#include "model/random_source.h"
#include "support/log_guard.h"
#include "support/network_builder.h"
#include "values/eq_evaluation.h"

namespace qvr {

using Doubles = std::vector<double>;
using Strings = std::vector<std::string>;

// Fixes what is drawn, and keeps the log to itself.
struct SeededRun {
  explicit SeededRun(unsigned seed) { SeedRandomStreams(seed); }
  ~SeededRun() { SeedRandomStreams(0); }
  SeededRun(const SeededRun&) = delete;
  SeededRun& operator=(const SeededRun&) = delete;

  LogGuard log;
};

inline QVR_valEqEvaluation& EquationValueOf(QVR_network& network, int handle) {
  return dynamic_cast<QVR_valEqEvaluation&>(ValueOf(network, handle));
}

inline QVR_equation& EquationOf(QVR_network& network, int handle) {
  return dynamic_cast<QVR_equation&>(*network.NodeAt(handle)->definition);
}

// Intervals of equal width between new bounds.
inline int CutEvenly(QVR_network& network, int handle, double lower, double upper, int count) {
  EquationOf(network, handle).SetBounds(lower, upper);
  std::vector<DiscretizationInterval> intervals;
  for (int i = 1; i <= count; ++i) {
    intervals.push_back({"i" + std::to_string(i), lower + (upper - lower) * i / count});
  }
  return EquationOf(network, handle).SetDiscIntervals(intervals);
}

// A node of a simultaneous set with these unknowns and parents. The handle, or -1 if something was refused.
inline int AddUnknown(QVR_network& network, const char* id, const char* text, const Strings& unknowns,
                      const std::vector<int>& parents = {}) {
  const int handle = network.AddNode(kTypeEquationScc, id);
  auto& definition = dynamic_cast<QVR_equationSCC&>(*network.NodeAt(handle)->definition);
  for (const std::string& name : unknowns) {
    definition.sccVariables[name] = 0.0;
  }
  return network.AddArcs(parents, handle) < 0 || definition.SetEquation(text) < 0 ? -1 : handle;
}

}  // namespace qvr

#endif
