#include "inference/virtual_evidence_guard.h"

#include <array>

#include "model/error_log.h"

namespace qvr {
namespace {

constexpr const char* kTemporaryId = "@";

std::vector<int> NodesWithVirtualEvidence(const QVR_network& network) {
  std::vector<int> handles;
  for (int handle = network.FirstNode(); handle >= 0; handle = network.NextNode(handle)) {
    const QVR_node& node = *network.NodeAt(handle);
    if (node.value && (node.value->GetFlags() & kValueVirtualEvidence) != 0) {
      handles.push_back(handle);
    }
  }
  return handles;
}

void FillTable(QVR_Dmatrix& table, std::span<const double> likelihoods) {
  int cell = 0;
  for (const double likelihood : likelihoods) {
    table.Subscript(cell++) = likelihood;
    table.Subscript(cell++) = 1.0 - likelihood;
  }
}

}  // namespace

int VirtualEvidenceGuard::Enter() {
  const std::vector<int> handles = NodesWithVirtualEvidence(network);
  if (handles.empty()) {
    return QVR_OKAY;
  }
  children.reserve(handles.size());  // so that a child, once made, is never lost
  const UpdateFlagsOff quiet(network, UPDATE_TRACK_CHANGES);
  QVR_doubleArray likelihoods;
  for (const int handle : handles) {
    const QVR_node& node = *network.NodeAt(handle);
    const int status = node.value->GetVirtualEvidence(likelihoods);
    if (status < 0 || likelihoods.Length() != node.GetNumberOfOutcomes()) {
      continue;
    }
    if (const int result = AddObservedChild(handle, likelihoods.View()); result < 0) {
      return result;
    }
  }
  return QVR_OKAY;
}

int VirtualEvidenceGuard::AddObservedChild(int handle, std::span<const double> likelihoods) {
  const int child = CreateChild();
  if (child < 0) {
    return child;
  }
  if (const int status = Link(handle, child, static_cast<int>(likelihoods.size())); status < 0) {
    if (status == QVR_OUT_OF_MEMORY) {
      return status;  // the evidence may not be lost
    }
    GetErrorLog().Log(QVR_WRONG_NODE_TYPE, "Arc rejected by child node");
    DeleteLast();
    return QVR_OKAY;
  }
  QVR_node& node = *network.NodeAt(child);
  QVR_Dmatrix* table = nullptr;
  if (const int status = node.definition->GetMatrix(table); status < 0) {
    return status;
  }
  FillTable(*table, likelihoods);
  return node.value->SetEvidence(0);
}

int VirtualEvidenceGuard::CreateChild() {
  const int child = network.AddNode(kTypeCpt, kTemporaryId);
  if (child < 0) {
    return child;
  }
  children.push_back(child);
  const QVR_node& node = *network.NodeAt(child);
  QVR_Dmatrix* table = nullptr;  // without cells if memory is short
  const bool complete = node.definition && node.value && node.definition->GetMatrix(table) >= 0;
  return complete && table->GetNumElements() > 0 ? child : QVR_OUT_OF_MEMORY;
}

// Appends to the arc lists and shapes the table directly: a new leaf closes no cycle, and neither a
// temporal rule nor the list of parent types may cost a node its virtual evidence.
int VirtualEvidenceGuard::Link(int parent, int child, int outcomeCount) {
  QVR_Dmatrix* table = nullptr;
  if (const int status = network.NodeAt(child)->definition->GetMatrix(table); status < 0) {
    return status;
  }
  const std::array<int, 2> shape = {outcomeCount, 2};
  if (const int status = table->SetDimensions(shape); status < 0) {
    return status;
  }
  if (const int status = network.Entry(child).parents.Add(parent); status < 0) {
    return status;
  }
  return network.Entry(parent).children.Add(child);
}

// Undoes the last child's creation alone. DeleteNode would look for the node in every other value, which
// takes quadratic time where thousands of nodes have likelihoods.
void VirtualEvidenceGuard::DeleteLast() {
  const int child = children.back();
  children.pop_back();
  for (const int parent : network.Entry(child).parents) {
    QVR_intArray& siblings = network.Entry(parent).children;
    // The newest arc stands last, if it was made at all.
    const int last = siblings.GetNumItems() - 1;
    if (last >= 0 && siblings[last] == child) {
      siblings.Delete(last);
    }
  }
  network.FreeSlot(child);
}

VirtualEvidenceGuard::~VirtualEvidenceGuard() {
  const UpdateFlagsOff quiet(network, UPDATE_TRACK_CHANGES);
  while (!children.empty()) {
    DeleteLast();
  }
}

}  // namespace qvr
