// The temporal part: the number of slices, and for nodes of the plate the parents and the table of each
// order.
#include "formats/xml_net_saver.h"
#include "model/dynamic_extension.h"

namespace qvr {

void XmlNetworkSaver::WriteDynamic() {
  QVR_dynamicExtension* temporal = network.GetDynamicExtension();
  bool isTemporal = false;
  for (int handle = network.FirstNode(); handle >= 0; handle = network.NextNode(handle)) {
    isTemporal = isTemporal || network.GetDynamicType(handle) != kDynamicNormal;
  }
  if (!isTemporal || temporal == nullptr) {
    return;
  }
  if (temporal->GetSliceCount() < 1 && temporal->GetMaxOrder() == 0) {
    return;  // nothing to solve, and nothing to lose
  }
  AddAttribute("numslices", temporal->GetSliceCount());
  const ScopedElement dynamic(*this, "dynamic");
  inDynamic = true;
  for (const int handle : network.GetTopologicalOrder()) {
    for (const int order : temporal->GetTemporalOrders(handle)) {
      WriteTemporalDefinition(*temporal, handle, order);
    }
  }
  inDynamic = false;
}

void XmlNetworkSaver::WriteTemporalDefinition(QVR_dynamicExtension& temporal, int handle, int order) {
  QVR_intArray parents;
  for (const int parent : temporal.GetTemporalParents(handle, order)) {
    parents.Add(parent);
  }
  temporalParents = &parents;
  mainDefinition = network.NodeAt(handle)->definition.get();
  AddAttribute("id", network.NodeAt(handle)->GetId().c_str());
  AddAttribute("order", order);
  Visit(*temporal.GetTemporalDefinition(handle, order));
  CloseElement(currentElement.c_str());
  temporalParents = nullptr;
  mainDefinition = nullptr;
}

}  // namespace qvr
