// The products over "all neighbours but one" come from products over those before and those after it, so
// that a family costs no more than a few walks over its table, and a node with many children no more than
// one over their messages.
#include "inference/polytree_messages.h"

#include <algorithm>

#include "inference/table_rescale.h"
#include "model/node.h"

namespace qvr {
namespace {

// Two numbers of at most 1 may multiply to less than a double can hold while everything beside their
// product is 0. With both lifted it keeps its bits, and a sum over the largest table is still finite.
constexpr double kLift = 0x1p400;

// Larger by the square of the lift, which the rescaling takes away again.
double Product(double a, double b) { return (a * kLift) * (b * kLift); }

void MultiplyBy(std::span<double> target, std::span<const double> factor) {
  for (std::size_t i = 0; i < target.size(); ++i) {
    target[i] = Product(target[i], factor[i]);
  }
  RescaleToUnit(target);
}

void SetDelta(std::span<double> target, int outcome) {
  std::fill(target.begin(), target.end(), 0.0);
  target[static_cast<std::size_t>(outcome)] = 1.0;
}

bool GoesAlong(const PolyNode& x, const PolyLink& link, PolyDirection direction) {
  return (link.node == x.inward) == (direction == PolyDirection::Inward);
}

// Sums out the last dimension, with a weight for each of its items. The result may stand in the place of
// the table, at its front.
void SumOutLast(std::span<const double> table, std::span<const double> weights, std::span<double> result) {
  const double* cell = table.data();
  for (double& entry : result) {
    double sum = 0.0;
    for (const double weight : weights) {
      sum += Product(*cell++, weight);
    }
    entry = sum;
  }
  RescaleToUnit(result);
}

// Sums out all dimensions but the last, with a weight for each combination of their items.
void SumOutRows(std::span<const double> table, std::span<const double> weights, std::span<double> result) {
  std::fill(result.begin(), result.end(), 0.0);
  const double* cell = table.data();
  for (const double weight : weights) {
    for (double& entry : result) {
      entry += Product(weight, *cell++);
    }
  }
  RescaleToUnit(result);
}

}  // namespace

std::span<const double> PolyMessages::ProductOf(std::size_t count) const {
  return std::span(products).subspan(productStarts[count], productStarts[count + 1] - productStarts[count]);
}

void PolyMessages::EnterFamily(const PolyNode& x) {
  products.assign(1, 1.0);
  productStarts.assign({0, 1});
  for (const PolyLink& link : x.parents) {
    const std::size_t start = productStarts[productStarts.size() - 2];
    const std::size_t end = products.size();
    products.resize(end + (end - start) * link.piMessage.size());
    double* product = products.data() + end;
    for (std::size_t row = start; row < end; ++row) {
      for (const double entry : link.piMessage) {
        *product++ = Product(products[row], entry);
      }
    }
    RescaleToUnit(std::span(products).subspan(end));
    productStarts.push_back(products.size());
  }
}

void PolyMessages::ComputePi(PolyNode& x) const {
  if (x.evidence >= 0) {
    SetDelta(x.pi, x.evidence);
    return;
  }
  SumOutRows(x.table, ProductOf(x.parents.size()), x.pi);
}

void PolyMessages::ComputeLambda(PolyNode& x) {
  if (x.evidence >= 0) {
    SetDelta(x.lambda, x.evidence);
    return;
  }
  std::fill(x.lambda.begin(), x.lambda.end(), 1.0);
  for (const PolyLink& link : x.children) {
    MultiplyBy(x.lambda, link.lambdaMessage);
  }
}

void PolyMessages::ComputeBelief(const PolyNode& x) {
  if (x.evidence >= 0) {
    return;
  }
  const std::span<double> belief = x.node->value->GetMatrix()->GetItems().Vector();
  std::copy(x.lambda.begin(), x.lambda.end(), belief.begin());
  MultiplyBy(belief, x.pi);
  double sum = 0.0;
  for (const double entry : belief) {
    sum += entry;
  }
  if (sum == 0.0) {
    std::fill(belief.begin(), belief.end(), x.outcomeCount == 1 ? 1.0 : 0.0);
    return;
  }
  for (double& entry : belief) {
    entry /= sum;
  }
}

void PolyMessages::SendPi(const PolyNode& x, PolyDirection direction) {
  if (x.evidence >= 0) {
    for (const PolyLink& link : x.children) {
      if (GoesAlong(x, link, direction)) {
        SetDelta(link.piMessage, x.evidence);
      }
    }
    return;
  }
  MultiplyLaterChildren(x);
  earlier.assign(x.pi.size(), 1.0);
  for (std::size_t child = 0; child < x.children.size(); ++child) {
    const PolyLink& link = x.children[child];
    if (GoesAlong(x, link, direction)) {
      std::copy(earlier.begin(), earlier.end(), link.piMessage.begin());
      MultiplyBy(link.piMessage, std::span(later).subspan(child * x.pi.size(), x.pi.size()));
    }
    MultiplyBy(earlier, link.lambdaMessage);
  }
}

void PolyMessages::MultiplyLaterChildren(const PolyNode& x) {
  const std::size_t size = x.pi.size();
  later.resize(x.children.size() * size);
  std::span<const double> product = x.pi;
  for (std::size_t child = x.children.size(); child-- > 0;) {
    const std::span<double> place = std::span(later).subspan(child * size, size);
    std::copy(product.begin(), product.end(), place.begin());
    if (child + 1 < x.children.size()) {
      MultiplyBy(place, x.children[child + 1].lambdaMessage);
    }
    product = place;
  }
}

void PolyMessages::SendLambda(const PolyNode& x, PolyDirection direction) {
  rowWeights.resize(ProductOf(x.parents.size()).size());
  SumOutLast(x.table, x.lambda, rowWeights);
  for (std::size_t parent = x.parents.size(); parent-- > 0;) {
    const PolyLink& link = x.parents[parent];
    const std::span<double> weights = std::span(rowWeights).first(ProductOf(parent + 1).size());
    if (GoesAlong(x, link, direction)) {
      SumOutRows(weights, ProductOf(parent), link.lambdaMessage);
    }
    SumOutLast(weights, link.piMessage, weights.first(ProductOf(parent).size()));
  }
}

}  // namespace qvr
