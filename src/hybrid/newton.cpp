#include "hybrid/newton.h"

#include <algorithm>
#include <bit>
#include <cmath>

#include "hybrid/linear_system.h"
#include "model/status.h"

namespace qvr {

namespace {

constexpr double kSmallStep = 0.0001;  // of all unknowns together

void Prepare(std::size_t n, NewtonWork& work) {
  work.converged = false;
  work.residuals.resize(n);
  work.moved.resize(n);
  work.jacobian.resize(n * n);
  work.rhs.resize(n);
  work.remembered.clear();
}

// Column by column; expects the residuals at x.
void FillJacobian(std::vector<double>& x, EquationSystem& system, double tolerance, NewtonWork& work) {
  const std::size_t n = x.size();
  for (std::size_t j = 0; j < n; ++j) {
    const double before = x[j];
    const double size = std::abs(before);
    x[j] += size > 1.0 ? size * tolerance : tolerance;
    const double step = x[j] - before;
    system.FindResiduals(x, work.moved);
    x[j] = before;
    for (std::size_t i = 0; i < n; ++i) {
      work.jacobian[i * n + j] = (work.moved[i] - work.residuals[i]) / step;
    }
  }
}

// J * next = J * x - f(x).
void FillRightSide(const std::vector<double>& x, NewtonWork& work) {
  const std::size_t n = x.size();
  for (std::size_t i = 0; i < n; ++i) {
    double sum = -work.residuals[i];
    for (std::size_t j = 0; j < n; ++j) {
      sum += work.jacobian[i * n + j] * x[j];
    }
    work.rhs[i] = sum;
  }
}

double Distance(const std::vector<double>& a, const std::vector<double>& b) {
  double sum = 0.0;
  for (std::size_t i = 0; i < a.size(); ++i) {
    sum += std::abs(a[i] - b[i]);
  }
  return sum;
}

bool AllFinite(const std::vector<double>& x) {
  return std::all_of(x.begin(), x.end(), [](double number) { return std::isfinite(number); });
}

}  // namespace

int NewtonSolve(std::vector<double>& x, EquationSystem& system, double tolerance, int& iterations,
                NewtonWork& work) {
  Prepare(x.size(), work);
  const int limit = iterations;
  iterations = 0;
  while (iterations < limit) {
    ++iterations;
    system.FindResiduals(x, work.residuals);
    FillJacobian(x, system, tolerance, work);
    FillRightSide(x, work);
    work.next = x;
    const int status = SolveLinear(work.jacobian, work.rhs, work.next, x.size());
    const double delta = Distance(x, work.next);
    x.swap(work.next);
    if (delta < kSmallStep) {
      work.converged = status == QVR_OKAY;
      break;
    }
    if (!AllFinite(x) || x == work.remembered) {
      break;
    }
    if (std::has_single_bit(static_cast<unsigned>(iterations))) {
      work.remembered = x;  // finds every circle sooner or later (Brent 1980)
    }
  }
  return QVR_OKAY;
}

}  // namespace qvr
