// The solver of influence diagrams that answers for every policy.
#ifndef QVR_DECISION_COOPER_SOLVER_H
#define QVR_DECISION_COOPER_SOLVER_H

#include <map>
#include <utility>
#include <vector>

#include "model/network.h"
#include "model/number_array.h"

namespace qvr {

// Turns the diagram into a network of chances and solves that once for each scenario: each combination of
// the decisions, and of what is observed before them, on which a utility depends (Cooper, "A method for using
// belief networks as influence diagrams", 1988). The best policy then follows by going back through the
// nodes in the order of time: the greatest number at a decision, the expectation at an observation.
//
// Results stand in the values of the diagram, each indexed by the scenario nodes on which it depends, and
// hold kUndefined where no scenario came to a cell. Handles are the same in the diagram and in the private
// copy.
class QVR_CooperSolver {
 public:
  QVR_CooperSolver() = default;
  virtual ~QVR_CooperSolver();
  QVR_CooperSolver(const QVR_CooperSolver&) = delete;
  QVR_CooperSolver& operator=(const QVR_CooperSolver&) = delete;

  // One solve for each object. Adds arcs where the diagram leaves the order of decisions open. Without a
  // utility, which is logged under -2, chance nodes get their posteriors with open decisions uniform. A code
  // other than 0 is logged, and leaves all values invalid: -5 if the evidence is impossible as it stands,
  // -42, or what else ended a discrete update. Single scenarios that are impossible are logged under -5 and
  // end nothing.
  int Solve(QVR_network& diagram);

 protected:
  // For subclasses that watch a run; `phase` is 0 for a scenario, 1 for the posterior of an observation.
  virtual void Reset() {}
  virtual void BeforeEvaluation(int /*phase*/) {}
  virtual void AfterEvaluation(int /*phase*/) {}

 private:
  // Where the posterior of a node of `work` goes in its value in the diagram.
  struct Result {
    QVR_nodeValue* source = nullptr;
    QVR_Dmatrix* table = nullptr;  // of the diagram's value; null for a node that has no posterior
    int cellCount = 0;
    std::vector<std::pair<int, int>> steps = {};  // places in `evaluated`, and their strides in the table
  };

  // cooper_solver.cpp
  int SolveForPolicies();
  int FindOverallUtility();
  int AddOverallUtility(const QVR_intArray& candidates);
  void DeleteAddedUtility();
  int MakeWork();
  int PrepareAndEvaluate();
  int GiveUp(int status);
  void RescaleExpectedUtilities();
  void ComputeMultiAttributeUtilities();
  void CopyValidFlags();
  void InvalidateOpenDecisions();

  // cooper_dependence.cpp
  int FindRelevantNodes();
  int ReinitializeResults();
  int FindEvaluated();
  bool DependsOn(int handle, int observed);
  int IndexResults();
  int IndexDecision(int decision);
  int IndexDependents(int observed);
  void MarkAbsentResults();
  void SaveLikelihoods();
  void RestoreLikelihoods(int handle);
  [[nodiscard]] bool IsSolvedFor(int handle) const;

  // cooper_scenarios.cpp
  int Evaluate();
  bool EnterOutcome(int depth, int outcome);
  int EvaluateScenario();
  int EvaluateObservation(int depth);
  int SolveWork(int phase);
  bool IsContradictory();
  void FindImpossiblePrefix();
  void LogScenario() const;
  void BringWorkUpToDate();
  void PlanResults();
  [[nodiscard]] Result MakeResult(int handle) const;
  [[nodiscard]] int PlaceInTable(const Result& result) const;
  [[nodiscard]] bool IsAnswered() const;
  void StoreResult(const Result& result) const;

  // cooper_policies.cpp
  int ExtractPolicies();
  int ExpandUtility(QVR_Dmatrix& utilities);
  int StorePolicy(int decision, const QVR_Dmatrix& utilities);
  int AverageOut(int observation, QVR_Dmatrix& utilities);

  [[nodiscard]] QVR_nodeValue& ValueOf(int handle) { return *network->NodeAt(handle)->value; }
  [[nodiscard]] QVR_nodeValue& WorkValueOf(int handle) { return *work.NodeAt(handle)->value; }

  QVR_network* network = nullptr;  // the diagram; not owned
  QVR_network work;                // the private copy that gets evaluated
  QVR_intArray utilityNodes;       // parents before children; an added one is last
  QVR_intArray temporal;           // open decisions and observations, in the order of time
  QVR_intArray evaluated;          // those of `temporal` that matter to the overall utility
  QVR_intArray currentOutcomes;    // of `evaluated`, in the present scenario
  int overallUtility = -1;         // the node that stands for the whole diagram
  bool addedUtility = false;       // it was made here, and has to go
  bool hasUtility = true;

  std::map<int, QVR_doubleArray> likelihoods;  // soft findings of `temporal`, which observing a node drops
  std::vector<Result> scenarioResults;         // of nodes that depend on the scenario
  std::vector<Result> observationResults;      // of `evaluated`
  std::vector<Result> constantResults;         // of nodes that don't depend on it
  bool isWorkCurrent = false;          // the last thing that happened to `work` was an update that succeeded
  bool looksForContradictions = true;  // unless what the user observed is one
  // The first so many outcomes of the present scenario contradict the model; -1 if that isn't known of any.
  int impossiblePrefix = -1;
};

}  // namespace qvr

#endif
