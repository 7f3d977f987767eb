#include "decision/temporal_order.h"

#include <algorithm>

#include "model/error_log.h"
#include "model/network.h"

namespace qvr {

namespace {

bool IsDecision(const QVR_network& network, int handle) {
  return (network.NodeAt(handle)->GetType() & kTypeBitDecision) != 0;
}

bool InformsDecision(const QVR_network& network, int handle) {
  const QVR_intArray& children = network.GetChildren(handle);
  return std::any_of(children.begin(), children.end(),
                     [&network](int child) { return IsDecision(network, child); });
}

bool AreLinked(const QVR_network& network, int a, int b) {
  return network.GetParents(a).Contains(b) != 0 || network.GetParents(b).Contains(a) != 0;
}

// The place behind the group that starts at `start`: it ends with a decision, or with the list.
int EndOfGroup(const QVR_network& network, const QVR_intArray& temporal, int start) {
  int end = start;
  while (end < temporal.GetNumItems()) {
    if (IsDecision(network, temporal[end++])) {
      break;
    }
  }
  return end;
}

void LinkDecisions(QVR_network& network, int last, int next) {
  if (network.AddArc(last, next, kOrdinaryLayer) >= 0) {
    GetErrorLog().Log(QVR_OUT_OF_RANGE, "Temporal order assumed: node [" + network.NodeAt(last)->GetId() +
                                            "] before node [" + network.NodeAt(next)->GetId() + "]");
  }
}

}  // namespace

bool IsChanceType(int type) { return (type & kTypeBitDiscrete) != 0 && (type & kTypeBitDecision) == 0; }

int GatherTemporalNodes(QVR_network& network, QVR_intArray& temporal) {
  temporal.Flush();
  QVR_intArray order;
  network.GetDecisionFirstOrder(order);
  for (int handle : order) {
    const QVR_nodeValue* value = network.NodeAt(handle)->value.get();
    if (value == nullptr || value->HasEvidence()) {
      continue;
    }
    if (IsDecision(network, handle) || InformsDecision(network, handle)) {
      if (int status = temporal.Add(handle); status < 0) {
        return status;
      }
    }
  }
  return QVR_OKAY;
}

void AssumeTemporalOrder(QVR_network& network, const QVR_intArray& temporal) {
  int end = EndOfGroup(network, temporal, 0);
  while (end < temporal.GetNumItems()) {
    const int last = temporal[end - 1];
    const int start = end;
    end = EndOfGroup(network, temporal, start);
    const int next = temporal[end - 1];
    const bool isLinked = std::any_of(temporal.begin() + start, temporal.begin() + end,
                                      [&](int member) { return AreLinked(network, member, last); });
    if (!isLinked && IsDecision(network, next)) {
      LinkDecisions(network, last, next);
    }
  }
}

}  // namespace qvr
