#include "inference/sample_net_run.h"

#include "model/network.h"

namespace qvr {

namespace {

void InvalidateUnobserved(QVR_network& network) {
  for (int handle = network.FirstNode(); handle >= 0; handle = network.NextNode(handle)) {
    QVR_nodeValue* value = network.NodeAt(handle)->value.get();
    if (value != nullptr && !value->HasEvidence()) {
      value->SetValueInvalid();
    }
  }
}

}  // namespace

int RunSampleNet(QVR_network& network, const SampleNetRunner& runner) {
  InvalidateUnobserved(network);
  ComponentList list;
  if (const int status = RelevanceReduce(network, true, true, list); status < 0) {
    return status;
  }
  std::vector<RelevanceNode*> sorted;
  for (const RelevanceComponent& component : list.components) {
    SortTopologically(component.nodes, sorted);
    SampleNet net(component, sorted);
    if (runner(net) < 0) {
      return ReportNoSamples();
    }
  }
  return QVR_OKAY;
}

}  // namespace qvr
