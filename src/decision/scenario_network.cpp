#include "decision/scenario_network.h"

#include "definitions/utility_table.h"
#include "model/network.h"

namespace qvr {

namespace {

int ConvertUtility(QVR_node& node) {
  auto& utilities = dynamic_cast<QVR_table&>(*node.definition);
  if (int status = utilities.RescaleUtilities(0, 0, 0, 1); status < 0) {
    return status;
  }
  QVR_doubleArray* scaled = nullptr;
  QVR_doubleArray data;
  if (int status = utilities.GetDataArray(scaled); status < 0) {
    return status;
  }
  if (int status = data.Copy(*scaled); status < 0) {
    return status;
  }
  if (int status = node.ChangeType(kTypeCpt); status < 0) {
    return status;
  }
  QVR_doubleArray* chances = nullptr;
  if (node.definition->GetDataArray(chances) < 0 || chances->GetSize() / 2 != data.GetSize()) {
    return QVR_OUT_OF_MEMORY;  // the larger table was refused, and its parents with it
  }
  for (int row = 0; row < data.GetSize(); ++row) {
    (*chances)[2 * row] = data[row];
    (*chances)[2 * row + 1] = 1.0 - data[row];
  }
  return QVR_OKAY;
}

int ConvertOther(const QVR_network& work, QVR_node& node) {
  const bool keepsParents = node.GetType() != kTypeList;
  const int parentCount = work.GetNumberOfParents(node.handle);
  if (int status = node.ChangeType(kTypeCpt); status < 0) {
    return status;
  }
  const bool lostParents = keepsParents && work.GetNumberOfParents(node.handle) != parentCount;
  return lostParents ? QVR_OUT_OF_MEMORY : QVR_OKAY;
}

bool HasLikelihoods(const QVR_network& network) {
  for (int handle = network.FirstNode(); handle >= 0; handle = network.NextNode(handle)) {
    const QVR_nodeValue* value = network.NodeAt(handle)->value.get();
    if (value != nullptr && (value->GetFlags() & kValueVirtualEvidence) != 0) {
      return true;
    }
  }
  return false;
}

}  // namespace

int ConvertToChances(QVR_network& work) {
  QVR_intArray order;
  if (int status = order.Copy(work.GetTopologicalOrder()); status < 0) {
    return status;
  }
  for (int handle : order) {
    QVR_node& node = *work.NodeAt(handle);
    if (!node.definition) {
      continue;
    }
    const int status = node.GetType() == kTypeTable ? ConvertUtility(node) : ConvertOther(work, node);
    if (status < 0) {
      return status;
    }
  }
  return QVR_OKAY;
}

void PrepareForScenarios(QVR_network& work) {
  unsigned flags = (work.GetUpdateFlags() | UPDATE_TRACK_CHANGES) & ~UPDATE_PROPAGATE_EVIDENCE;
  if (!HasLikelihoods(work)) {
    flags |= UPDATE_PROPAGATE_EVIDENCE;
  }
  work.SetUpdateFlags(flags);
  work.SetRelevanceMask(kRelevanceEvidenceSet | kRelevanceEvidenceRetracted);
  work.InvalidateAll();
}

}  // namespace qvr
