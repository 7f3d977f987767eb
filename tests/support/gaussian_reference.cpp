#include "support/gaussian_reference.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "support/network_builder.h"

namespace qvr {

namespace {

constexpr double kWide = 1e6;

std::string Exact(double number) {
  char text[40];
  std::snprintf(text, sizeof text, "%.17g", number);
  return text;
}

std::string NameOf(int node) { return "x" + std::to_string(node); }

}  // namespace

// Row by row along the arcs: cov(x, y) = sum of coefficient * cov(parent of x, y) for every earlier y.
GaussianReference::GaussianReference(const GaussianModel& model) {
  for (std::size_t i = 0; i < model.size(); ++i) {
    double mean = model[i].intercept;
    std::vector<double> row(i, 0.0);
    double variance = model[i].deviation * model[i].deviation;
    for (const GaussianTerm& term : model[i].terms) {
      mean += term.coefficient * Mean(term.parent);
      for (std::size_t j = 0; j < i; ++j) {
        row[j] += term.coefficient * Covariance(term.parent, static_cast<int>(j));
      }
    }
    for (const GaussianTerm& term : model[i].terms) {
      variance += term.coefficient * row[static_cast<std::size_t>(term.parent)];
    }
    for (std::size_t j = 0; j < i; ++j) {
      covariances[j].push_back(row[j]);
    }
    row.push_back(variance);
    means.push_back(mean);
    covariances.push_back(row);
  }
}

// The Schur complement of one variable at a time.
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
    GaussianNode node{4 * random.Unit() - 2, {}, 0.5 + 1.5 * random.Unit()};
    for (int parent : list) {
      const double size = 0.3 + 0.9 * random.Unit();
      node.terms.push_back({parent, random.Chance(0.5) ? size : -size});
    }
    model.push_back(node);
  }
  return model;
}

std::string GaussianFormula(const GaussianModel& model, int node) {
  const GaussianNode& described = model[static_cast<std::size_t>(node)];
  std::string text = NameOf(node) + "=" + Exact(described.intercept);
  for (const GaussianTerm& term : described.terms) {
    text +=
        (term.coefficient < 0 ? "-" : "+") + Exact(std::abs(term.coefficient)) + "*" + NameOf(term.parent);
  }
  return described.deviation > 0 ? text + "+Normal(0," + Exact(described.deviation) + ")" : text;
}

bool FillWithEquations(const GaussianModel& model, QVR_network& network) {
  bool filled = true;
  for (int i = 0; i < static_cast<int>(model.size()); ++i) {
    filled = AddEquation(network, NameOf(i).c_str(), GaussianFormula(model, i).c_str(), -kWide, kWide) == i &&
             filled;
  }
  return filled;
}

}  // namespace qvr
