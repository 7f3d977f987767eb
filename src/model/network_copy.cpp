#include <new>

#include "model/dynamic_extension.h"
#include "model/network.h"

namespace qvr {

namespace {

int CopyArcs(QVR_nodeEntry& entry, const QVR_nodeEntry& source) {
  int status = entry.parents.Copy(source.parents);
  if (status == QVR_OKAY) {
    status = entry.children.Copy(source.children);
  }
  if (status == QVR_OKAY) {
    status = entry.costParents.Copy(source.costParents);
  }
  return status == QVR_OKAY ? entry.costChildren.Copy(source.costChildren) : status;
}

}  // namespace

QVR_network::QVR_network(const QVR_network& other) : QVR_network() { Assign(other); }

int QVR_network::Assign(const QVR_network& other) { return CopyFrom(other, true); }

int QVR_network::AssignWithoutTime(const QVR_network& other) { return CopyFrom(other, false); }

int QVR_network::CopyFrom(const QVR_network& other, bool withTime) {
  if (this == &other) {
    return QVR_OKAY;
  }
  if (!other.IsReady()) {
    return QVR_OBJECT_NOT_READY;
  }
  CleanUp(1);
  SetReady(false);
  int status = QVR_OUT_OF_MEMORY;
  try {
    status = CopyTable(other);
    if (status >= 0 && withTime && other.dynamicExtension) {
      dynamicExtension = std::make_unique<QVR_dynamicExtension>(*this);
      status = dynamicExtension->Assign(*other.dynamicExtension);
    }
    creation = other.creation;
  } catch (const std::bad_alloc&) {
    status = QVR_OUT_OF_MEMORY;
  }
  if (status >= 0) {
    status = userProperties.Copy(other.userProperties);
  }
  if (status < 0) {
    CleanUp(1);
    SetReady(false);
    return status;
  }
  plateCount = withTime ? other.plateCount : 0;
  if (!withTime) {
    for (QVR_nodeEntry& entry : nodes) {
      entry.dynamicType = kDynamicNormal;
    }
  }
  delta = other.delta;
  static_cast<NetworkOptions&>(*this) = other;
  static_cast<SolverSettings&>(*this) = other;
  const UpdateFlagsOff quiet(*this, UPDATE_TRACK_CHANGES);
  CheckReady(0);
  return QVR_OKAY;
}

int QVR_network::CopyTable(const QVR_network& other) {
  if (int status = submodels.Assign(other.submodels); status < 0) {
    return status;
  }
  nodes.resize(other.nodes.size());
  for (int handle = 0; handle < GetTableSize(); ++handle) {
    QVR_nodeEntry& entry = Entry(handle);
    const QVR_nodeEntry& source = other.Entry(handle);
    entry.dynamicType = source.dynamicType;
    entry.flags = source.flags;
    entry.level = source.level;
    if (int status = CopyArcs(entry, source); status < 0) {
      return status;
    }
    if (!source.node) {
      continue;
    }
    entry.node = std::make_unique<QVR_node>(*source.node);
    entry.node->Bind(this, handle);
  }
  ids = other.ids;
  cases.Assign(other.cases);
  numNodes = other.numNodes;
  lowestFree = other.lowestFree;
  targetCount = other.targetCount;
  valuesInUse = other.valuesInUse;
  return topologicalOrder.Copy(other.topologicalOrder);
}

}  // namespace qvr
