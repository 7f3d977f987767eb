// Splits noisy-MAX nodes that are observed at their distinguished outcome. The probability of that outcome
// is a product with one factor for each parent, so the observation doesn't connect the parents, and nobody
// needs the node's table (Diez and Galan 2003 on such factorings).
#include <algorithm>

#include "definitions/noisy_max.h"
#include "inference/relevance_graph.h"
#include "model/network.h"
#include "model/special_numbers.h"

namespace qvr {

namespace {

constexpr const char* kSplitKey = "QVR_NOISYMAXRELEVANCE";
constexpr int kLeastParents = 2;

bool IsSplitOn(const QVR_network& network) {
  const int place = network.userProperties.Find(kSplitKey);
  return place < 0 ? network.noisyMaxRelevance != 0
                   : ParseIntClamped(network.userProperties.GetValue(place)) != 0;
}

bool Qualifies(const QVR_node& node) {
  return node.GetType() == kTypeNoisyMax && node.value && node.value->HasEvidence() &&
         (node.value->GetFlags() & kValueIgnoreParents) == 0 &&
         node.value->GetEvidence() == node.GetNumberOfOutcomes() - 1;
}

// One row for each outcome of the parent, with the leak folded in.
int FillFactor(const QVR_noisyMAX& definition, const QVR_Dmatrix& compound, int parentIndex,
               RelevanceNode& factor) {
  const std::vector<int>& owners = definition.GetStrengths(parentIndex);
  const int parentOutcomes = static_cast<int>(owners.size());
  const int width = factor.outcomeCount;
  const int leak = compound.GetDimension(0) - 1;
  const int offset = definition.GetParentOffset(parentIndex);
  const int sizes[] = {parentOutcomes, width};
  QVR_Dmatrix& table = MakeOwnTable(factor);
  if (const int status = table.SetDimensions(sizes); status < 0) {
    return status;
  }
  for (int place = 0; place < parentOutcomes; ++place) {
    const int row = place == parentOutcomes - 1 ? leak : offset + place;
    std::copy_n(compound.GetItems().Vector().data() + row * width, width,
                &table.Subscript(owners[static_cast<std::size_t>(place)] * width));
  }
  return QVR_OKAY;
}

int Split(RelevanceGraph& graph, RelevanceNode& record) {
  const auto& definition = static_cast<const QVR_noisyMAX&>(*record.node->definition);
  QVR_Dmatrix compound;
  if (const int status = definition.GetCompoundParameters(compound); status < 0) {
    return status;
  }
  for (std::size_t i = 0; i < record.parents.size(); ++i) {
    RelevanceNode& parent = *record.parents[i];
    RelevanceNode& factor = AddTemporaryRecord(graph, parent);
    factor.outcomeCount = record.outcomeCount;
    factor.evidence = record.evidence;
    std::replace(parent.children.begin(), parent.children.end(), &record, &factor);
    if (const int status = FillFactor(definition, compound, static_cast<int>(i), factor); status < 0) {
      return status;
    }
  }
  record.parents = {};
  const int sizes[] = {record.outcomeCount};
  QVR_Dmatrix& table = MakeOwnTable(record);
  if (const int status = table.SetDimensions(sizes); status < 0) {
    return status;
  }
  const std::span<const double> cells = compound.GetItems().Vector();
  std::copy_n(cells.end() - record.outcomeCount, record.outcomeCount, table.GetItems().Vector().begin());
  return QVR_OKAY;
}

}  // namespace

std::size_t CountSplitRecords(const QVR_network& network) {
  std::size_t count = 0;
  if (!IsSplitOn(network)) {
    return count;
  }
  for (int handle = network.FirstNode(); handle >= 0; handle = network.NextNode(handle)) {
    if (Qualifies(*network.NodeAt(handle))) {
      count += static_cast<std::size_t>(network.GetNumberOfParents(handle));
    }
  }
  return count;
}

int SplitNoisyMaxNodes(const QVR_network& network, RelevanceGraph& graph) {
  if (!IsSplitOn(network)) {
    return QVR_OKAY;
  }
  const std::size_t count = graph.nodes.size();  // those added aren't looked at
  for (std::size_t i = 0; i < count; ++i) {
    RelevanceNode& record = *graph.nodes[i];
    const auto parentCount = static_cast<int>(record.parents.size());
    if (Qualifies(*record.node) && parentCount >= kLeastParents &&
        parentCount == network.GetNumberOfParents(record.node->handle)) {
      if (const int status = Split(graph, record); status < 0) {
        return status;
      }
    }
  }
  return QVR_OKAY;
}

}  // namespace qvr
