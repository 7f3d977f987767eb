// From the utility of every scenario back to that of every choice, the last decision first.
#include <algorithm>
#include <limits>
#include <span>

#include "decision/cooper_solver.h"
#include "decision/temporal_order.h"
#include "model/special_numbers.h"
#include "model/strided_walk.h"

namespace qvr {

namespace {

// Lines along the last dimension of a table, and what goes with each in another: its numbers there start at
// the second place of the walk.
int WalkLines(const QVR_Dmatrix& table, const std::vector<int>& otherSteps, StridedWalk& walk) {
  for (int i = 0; i + 1 < table.GetNumDimensions(); ++i) {
    const int step = otherSteps.empty() ? 0 : otherSteps[static_cast<std::size_t>(i)];
    if (int status = walk.AddDimension(table.GetDimension(i), table.GetStride(i), step); status < 0) {
      return status;
    }
  }
  return QVR_OKAY;
}

// The last dimension goes; `cells` has one number for each of its lines, in order.
int ReplaceLines(const std::vector<double>& cells, QVR_Dmatrix& table) {
  if (int status = table.RemoveDimension(table.GetNumDimensions() - 1); status < 0) {
    return status;
  }
  std::copy(cells.begin(), cells.end(), table.GetItems().Vector().begin());
  return QVR_OKAY;
}

// A cell that no scenario reached is no choice; a line of nothing else can't be reached itself.
double GreatestOf(std::span<const double> line) {
  double greatest = std::numeric_limits<double>::lowest();
  bool isReached = false;
  for (double cell : line) {
    if (!IsUndefined(cell)) {
      isReached = true;
      greatest = cell > greatest ? cell : greatest;
    }
  }
  return isReached ? greatest : kUndefined;
}

double ExpectationOf(std::span<const double> line, std::span<const double> weights) {
  double sum = 0;
  bool isReached = false;
  for (std::size_t i = 0; i < line.size(); ++i) {
    if (!IsUndefined(line[i]) && !IsUndefined(weights[i])) {
      isReached = true;
      sum += line[i] * weights[i];
    }
  }
  return isReached ? sum : kUndefined;
}

std::span<const double> LineAt(const QVR_Dmatrix& table, int start) {
  const int length = table.GetDimension(table.GetNumDimensions() - 1);
  return table.GetItems().Vector().subspan(static_cast<std::size_t>(start), static_cast<std::size_t>(length));
}

int MaximizeOut(QVR_Dmatrix& utilities) {
  StridedWalk lines;
  if (int status = WalkLines(utilities, {}, lines); status < 0) {
    return status;
  }
  std::vector<double> greatest;
  do {
    greatest.push_back(GreatestOf(LineAt(utilities, lines.First())));
  } while (lines.Next());
  return ReplaceLines(greatest, utilities);
}

}  // namespace

int QVR_CooperSolver::ExtractPolicies() {
  if (ValueOf(overallUtility).GetIndexingParents().GetNumItems() == 0) {
    return QVR_OKAY;
  }
  QVR_Dmatrix utilities;
  int status = ExpandUtility(utilities);
  for (int place = evaluated.GetNumItems() - 1; status >= 0 && place >= 0; --place) {
    const int handle = evaluated[place];
    const bool isObservation = IsChanceType(network->NodeAt(handle)->GetType());
    if (!isObservation) {
      status = StorePolicy(handle, utilities);
    }
    if (status >= 0 && place > 0) {
      status = isObservation ? AverageOut(handle, utilities) : MaximizeOut(utilities);
    }
  }
  return status;
}

// The overall utility with a dimension for each of `evaluated`, and no other.
int QVR_CooperSolver::ExpandUtility(QVR_Dmatrix& utilities) {
  QVR_nodeValue& overall = ValueOf(overallUtility);
  if (int status = utilities.Copy(*overall.GetMatrix()); status < 0) {
    return status;
  }
  int status = utilities.RemoveDimension(utilities.GetNumDimensions() - 1);
  for (int i = 0; status >= 0 && i < evaluated.GetNumItems(); ++i) {
    if (overall.GetIndexingParents().Contains(evaluated[i]) == 0) {
      status = utilities.InsertDimension(i, network->NodeAt(evaluated[i])->GetNumberOfOutcomes());
    }
  }
  return status;
}

// The decision's own choices are the last dimension.
int QVR_CooperSolver::StorePolicy(int decision, const QVR_Dmatrix& utilities) {
  const int status = ValueOf(decision).SetValueMatrix(utilities);
  ValueOf(decision).SetValueValid();
  return status;
}

int QVR_CooperSolver::AverageOut(int observation, QVR_Dmatrix& utilities) {
  QVR_nodeValue& value = ValueOf(observation);
  const QVR_Dmatrix& posterior = *value.GetMatrix();
  std::vector<int> steps;
  for (int i = 0; i + 1 < utilities.GetNumDimensions(); ++i) {
    const int dimension = value.GetIndexingParents().Find(evaluated[i]);
    steps.push_back(dimension >= 0 ? posterior.GetStride(dimension) : 0);
  }
  StridedWalk lines;
  if (int status = WalkLines(utilities, steps, lines); status < 0) {
    return status;
  }
  std::vector<double> expectations;
  do {
    expectations.push_back(
        ExpectationOf(LineAt(utilities, lines.First()), LineAt(posterior, lines.Second())));
  } while (lines.Next());
  return ReplaceLines(expectations, utilities);
}

}  // namespace qvr
