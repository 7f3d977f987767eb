#include "model/dynamic_extension.h"

#include <limits>
#include <new>

namespace qvr {

QVR_dynamicExtension::QVR_dynamicExtension(QVR_network& newNetwork) : network(newNetwork) {
  if (!temporalNetwork.IsReady()) {
    throw std::bad_alloc();
  }
  temporalNetwork.BelongTo(*this);
  plateArea.centerX = 320;
  plateArea.centerY = 170;
  plateArea.width = 600;
  plateArea.height = 300;
  SetReady(true);
}

int QVR_dynamicExtension::Assign(const QVR_dynamicExtension& other) {
  if (int status = temporalNetwork.Assign(other.temporalNetwork); status < 0) {
    return status;
  }
  temporalNetwork.BelongTo(*this);
  shadows = other.shadows;
  shadowKeys = other.shadowKeys;
  orderTables = other.orderTables;
  tableKeys = other.tableKeys;
  evidence = other.evidence;
  maxOrder = other.maxOrder;
  sliceCount = other.sliceCount;
  plateArea = other.plateArea;
  leftWidth = other.leftWidth;
  rightWidth = other.rightWidth;
  return QVR_OKAY;
}

int QVR_dynamicExtension::SetSliceCount(int count) {
  if (count < 0) {
    return QVR_OUT_OF_RANGE;
  }
  sliceCount = count;
  network.TemporalPartChanged(kDefinitionReplaced);
  return QVR_OKAY;
}

QVR_dynamicExtension::KeyRange QVR_dynamicExtension::RangeOf(const KeyMap& map, int handle, int fromOrder) {
  return {map.lower_bound({handle, fromOrder}), map.upper_bound({handle, std::numeric_limits<int>::max()})};
}

int QVR_dynamicExtension::FindIn(const KeyMap& map, const Key& key) const {
  const auto found = map.find(key);
  return found != map.end() ? found->second : QVR_OUT_OF_RANGE;
}

bool QVR_dynamicExtension::IsInPlate(int handle) const {
  return network.GetDynamicType(handle) == kDynamicPlate;
}

bool QVR_dynamicExtension::HasOutcomes(int handle) const {
  return network.NodeAt(handle)->GetNumberOfOutcomes() > 0;
}

QVR_nodeDefinition& QVR_dynamicExtension::DefinitionOf(int innerHandle) const {
  return *temporalNetwork.NodeAt(innerHandle)->definition;
}

}  // namespace qvr
