#include "support/gaussian_reference.h"

#include <algorithm>
#include <cmath>

#include "model/special_numbers.h"
#include "support/network_builder.h"

namespace qvr {

// Row by row along the arcs: cov(x, y) is the sum of coefficient * cov(parent of x, y) for every earlier y.
GaussianReference::GaussianReference(const GaussianModel& model) {
  for (const GaussianNode& node : model) {
    const std::size_t own = means.size();
    std::vector<double> row(own + 1, 0.0);
    means.push_back(node.intercept);
    row[own] = node.deviation * node.deviation;
    for (const GaussianTerm& term : node.terms) {
      means[own] += term.coefficient * Mean(term.parent);
      for (std::size_t j = 0; j < own; ++j) {
        row[j] += term.coefficient * Covariance(term.parent, static_cast<int>(j));
      }
    }
    for (const GaussianTerm& term : node.terms) {
      row[own] += term.coefficient * row[static_cast<std::size_t>(term.parent)];
    }
    for (std::size_t j = 0; j < own; ++j) {
      covariances[j].push_back(row[j]);
    }
    covariances.push_back(row);
  }
}

// The Schur complement of one variable.
void GaussianReference::Observe(int node, double value) {
  const std::vector<double> with = covariances[static_cast<std::size_t>(node)];
  const double variance = with[static_cast<std::size_t>(node)];
  const double surprise = (value - Mean(node)) / variance;
  for (std::size_t i = 0; i < means.size(); ++i) {
    means[i] += with[i] * surprise;
    for (std::size_t j = 0; j < means.size(); ++j) {
      covariances[i][j] -= with[i] * with[j] / variance;
    }
  }
}

double GaussianReference::Deviation(int node) const {
  return std::sqrt(std::max(0.0, Covariance(node, node)));
}

GaussianModel RandomGaussian(const ParentLists& parents, TestRandom& random) {
  GaussianModel model;
  for (const std::vector<int>& list : parents) {
    model.push_back({4 * random.Unit() - 2, {}, 0.5 + 1.5 * random.Unit()});
    for (int parent : list) {
      const double size = 0.3 + 0.9 * random.Unit();
      model.back().terms.push_back({parent, random.Chance(0.5) ? size : -size});
    }
  }
  return model;
}

std::string GaussianFormula(const GaussianModel& model, int node) {
  const GaussianNode& described = model[static_cast<std::size_t>(node)];
  std::string text = "x" + std::to_string(node) + "=" + FormatGeneral(described.intercept, 17);
  for (const GaussianTerm& term : described.terms) {
    text += (term.coefficient < 0 ? "-" : "+") + FormatGeneral(std::abs(term.coefficient), 17) + "*x" +
            std::to_string(term.parent);
  }
  return text + "+Normal(0," + FormatGeneral(described.deviation, 17) + ")";
}

bool FillWithEquations(const GaussianModel& model, QVR_network& network) {
  bool filled = true;
  for (int i = 0; i < static_cast<int>(model.size()); ++i) {
    const std::string name = "x" + std::to_string(i);
    filled = AddEquation(network, name.c_str(), GaussianFormula(model, i).c_str(), -1e6, 1e6) == i && filled;
  }
  return filled;
}

}  // namespace qvr
