#include "decision/relevance_mask_off.h"

#include "model/network.h"

namespace qvr {

RelevanceMaskOff::RelevanceMaskOff(QVR_network& newNetwork)
    : network(newNetwork), saved(newNetwork.GetRelevanceMask()) {
  network.SetRelevanceMask(0);
}

RelevanceMaskOff::~RelevanceMaskOff() { Restore(); }

void RelevanceMaskOff::Restore() {
  if (isOff) {
    network.SetRelevanceMask(saved);
    isOff = false;
  }
}

}  // namespace qvr
