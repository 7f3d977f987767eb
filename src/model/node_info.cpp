#include "model/node_info.h"

#include "model/error_log.h"
#include "model/identifier.h"
#include "model/network.h"

namespace qvr {

namespace {

// The network that holds the header's node in its table; null for a node that is only a copy.
QVR_network* HoldingNetwork(const QVR_node* owner) {
  QVR_network* network = owner != nullptr ? owner->network : nullptr;
  return network != nullptr && network->NodeAt(owner->handle) == owner ? network : nullptr;
}

}  // namespace

void QVR_header::CheckConsistency(int /*deep*/) { SetConsistent(IsValidIdentifier(id)); }

int QVR_header::SetId(const char* text) {
  if (text == nullptr || !IsValidIdentifier(text)) {
    return GetErrorLog().Log(QVR_ILLEGAL_IDENTIFIER, "Illegal identifier");
  }
  std::string newId = text;
  QVR_network* network = HoldingNetwork(owner);
  if (network != nullptr) {
    if (!network->ChangeNodeId(owner->handle, id.c_str(), newId.c_str())) {
      return QVR_ILLEGAL_IDENTIFIER;
    }
    network->IdentifierStored(owner->handle, id, newId);
  }
  if (submodels != nullptr) {
    submodels->IdentifierStored(submodelSlot, id, newId);
  }
  id = std::move(newId);
  return QVR_OKAY;
}

int QVR_header::SetName(const char* text) {
  name = std::string(text != nullptr ? text : "");
  return QVR_OKAY;
}

int QVR_header::SetComment(const char* text) {
  comment = std::string(text != nullptr ? text : "");
  return QVR_OKAY;
}

int QVR_header::Copy(const QVR_header& other) {
  if (!other.IsReady()) {
    return QVR_OBJECT_NOT_READY;
  }
  if (int status = SetId(other.id.c_str()); status < 0) {
    return status;
  }
  name = other.name;
  comment = other.comment;
  return QVR_OKAY;
}

void QVR_header::Clone(const QVR_header& other) {
  id = other.id;
  name = other.name;
  comment = other.comment;
}

QVR_nodeInfo::QVR_nodeInfo(const QVR_nodeInfo& other)
    : QVR_object(other),
      screen(other.screen),
      userProperties(other.userProperties),
      documentation(other.documentation) {
  header.Clone(other.header);
}

void QVR_nodeInfo::CleanUp(int deep) {
  if (QVR_network* network = HoldingNetwork(header.owner)) {
    network->IdentifierStored(header.owner->handle, header.GetId(), std::string());
  }
  header.Clone(QVR_header());
  screen = QVR_screenInfo();
  userProperties.CleanUp(deep);
  documentation.CleanUp(deep);
  QVR_object::CleanUp(deep);
}

void QVR_nodeInfo::CheckReady(int deep) {
  if (deep != 0) {
    header.CheckReady(deep);
    screen.CheckReady(deep);
    userProperties.CheckReady(deep);
    documentation.CheckReady(deep);
  }
  SetReady(header.IsReady() && screen.IsReady() && userProperties.IsReady() && documentation.IsReady());
}

void QVR_nodeInfo::CheckConsistency(int deep) {
  if (deep != 0) {
    header.CheckConsistency(deep);
    userProperties.CheckConsistency(deep);
    documentation.CheckConsistency(deep);
  }
  SetConsistent(header.IsConsistent() && userProperties.IsConsistent() && documentation.IsConsistent());
}

}  // namespace qvr
