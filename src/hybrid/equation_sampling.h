// Forward sampling of an equation network: numbers are drawn along the arcs, pass by pass.
#ifndef QVR_HYBRID_EQUATION_SAMPLING_H
#define QVR_HYBRID_EQUATION_SAMPLING_H

#include <vector>

#include "hybrid/equation_solver.h"

namespace qvr {

// What is observed or a constant holds its number; a simultaneous set below nothing random is solved once.
class EquationSampling {
 public:
  EquationSampling(QVR_network& newNetwork, EquationSolver& newSolver)
      : network(newNetwork), solver(newSolver), numbers(newNetwork) {}

  // Empties all values, and fixes what doesn't change. Codes as EquationSolver::Run.
  int Prepare();
  void Draw();
  // -5, which is logged, if a node has no finite sample; it stays invalid, the others become valid.
  int Finish();

 private:
  struct SampledEquation {
    QVR_valEqEvaluation* value;
    int slot;
    double lower;  // what lies outside is rejected
    double upper;
    CompiledExpression program;
  };
  struct SampledSet {
    EquationComponent component;
    int patience;  // passes of Newton's method that may still be spent on finding no solution
    bool hasFailed = false;
  };
  // One step of a pass: places in `equations` or `sets`.
  struct Turn {
    bool isSet;
    std::size_t place;
  };

  [[nodiscard]] int TestForms();
  int Add(const EquationUnit& unit);
  int AddEquation(int handle);
  int AddSet(const EquationUnit& unit);
  void Fix(int handle, double number);
  [[nodiscard]] bool Varies(int handle) const { return varying[static_cast<std::size_t>(handle)] != 0; }
  [[nodiscard]] bool AnyVaries(const QVR_intArray& handles) const;
  [[nodiscard]] bool IsSetVarying(const EquationUnit& unit) const;
  // Evaluates the equation into the table, unless that is an outlier to be rejected.
  bool Accept(SampledEquation& equation);
  void DrawPass();
  void DrawEquation(SampledEquation& equation);
  void DrawSet(SampledSet& set);

  QVR_network& network;
  EquationSolver& solver;
  EquationNumbers numbers;
  std::vector<EquationUnit> order;
  std::vector<char> varying;  // by handle: may differ from pass to pass
  std::vector<SampledEquation> equations;
  std::vector<SampledSet> sets;
  std::vector<Turn> turns;
  bool rejectOutliers = false;
};

}  // namespace qvr

#endif
