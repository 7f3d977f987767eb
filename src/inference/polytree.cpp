// Exact messages on a singly connected network. Each arc carries two: pi, what the parent's side of the
// network tells the child of the parent's outcomes, and lambda, what the child's side tells the parent. A
// node's message to one neighbour follows from those of all others, so two passes over the tree compute
// each once: towards the first node, from the ends inward, and then back outward. A posterior is the
// normalised product of lambda and pi. Pearl 1988, section 4.3; the two passes as in Peot and Shachter 1991.
#include <algorithm>

#include "inference/polytree_messages.h"
#include "inference/solver_runs.h"
#include "model/error_log.h"
#include "model/network.h"

namespace qvr {
namespace {

// Before the first result, so that a node out of reach shows nothing by accident.
int ShapeValues(const PolyGraph& graph) {
  for (const PolyNode& record : graph.nodes) {
    QVR_nodeValue& value = *record.node->value;
    if (const int status = value.ShapeAsVector(record.outcomeCount); status < 0) {
      return status;
    }
    if (record.evidence >= 0) {
      value.GetMatrix()->Subscript(record.evidence) = 1.0;  // a new table doesn't say so yet
    }
  }
  return QVR_OKAY;
}

// The records of the tree around `first`, each before those behind it: parents in order, then children
// from the last to the first. An explicit stack, since a tree may be as deep as the network is large.
std::vector<PolyNode*> WalkTree(PolyNode& first) {
  std::vector<PolyNode*> order;
  std::vector<PolyNode*> open{&first};
  while (!open.empty()) {
    PolyNode& x = *open.back();
    open.pop_back();
    order.push_back(&x);
    const auto push = [&open, &x](const PolyLink& link) {
      if (link.node != x.inward) {
        link.node->inward = &x;
        open.push_back(link.node);
      }
    };
    std::for_each(x.children.begin(), x.children.end(), push);
    std::for_each(x.parents.rbegin(), x.parents.rend(), push);
  }
  return order;
}

bool IsParent(const PolyNode& x, const PolyNode* neighbour) {
  return std::any_of(x.parents.begin(), x.parents.end(),
                     [neighbour](const PolyLink& link) { return link.node == neighbour; });
}

void Collect(PolyNode& x, PolyMessages& messages) {
  messages.EnterFamily(x);
  if (IsParent(x, x.inward)) {
    PolyMessages::ComputeLambda(x);
    messages.SendLambda(x, PolyDirection::Inward);
  } else {
    messages.ComputePi(x);
    messages.SendPi(x, PolyDirection::Inward);
  }
}

void Distribute(PolyNode& x, PolyMessages& messages) {
  messages.EnterFamily(x);
  PolyMessages::ComputeLambda(x);
  messages.ComputePi(x);
  PolyMessages::ComputeBelief(x);
  messages.SendPi(x, PolyDirection::Outward);
  if (x.parents.size() > 1 || !IsParent(x, x.inward)) {
    messages.SendLambda(x, PolyDirection::Outward);
  }
}

}  // namespace

int RunPolytree(QVR_network& network) {
  if (network.GetNumberOfNodes() == 0) {
    return QVR_OKAY;
  }
  if (network.IsPolytree() == 0) {
    return GetErrorLog().Log(
        QVR_GENERAL_ERROR,
        "PolyTree algorithm can not be applied to this network, because it is not singly connected.");
  }
  PolyGraph graph;
  if (const int status = BuildPolyGraph(network, graph); status < 0) {
    return status;
  }
  if (const int status = ShapeValues(graph); status < 0) {
    return status;
  }
  const std::vector<PolyNode*> order = WalkTree(graph.nodes.front());
  PolyMessages messages;
  std::for_each(order.rbegin(), order.rend() - 1, [&](PolyNode* x) { Collect(*x, messages); });
  std::for_each(order.begin(), order.end(), [&](PolyNode* x) { Distribute(*x, messages); });
  for (const PolyNode& record : graph.nodes) {
    record.node->value->SetValueValid();
  }
  return QVR_OKAY;
}

}  // namespace qvr
