#include "app/command/node_answer.h"

#include "app/command/network_input.h"

namespace qvr {

namespace {

std::string_view EvidenceKind(const QVR_nodeValue& value) {
  if (value.HasRealEvidence()) {
    return "observed";
  }
  if (value.HasEvidence()) {
    return "deduced";
  }
  return (value.GetFlags() & kValueVirtualEvidence) != 0 ? "soft" : "";
}

void TakeTable(const QVR_Dmatrix& table, NodeAnswer& answer) {
  const std::span<const double> cells = table.GetItems().View();
  answer.values.assign(cells.begin(), cells.end());
  for (int i = 0; i < table.GetNumDimensions(); ++i) {
    answer.dimensions.push_back(table.GetDimension(i));
  }
}

NodeAnswer AnswerOf(QVR_network& network, int handle) {
  QVR_node& node = *network.NodeAt(handle);
  QVR_nodeValue& value = *node.value;
  NodeAnswer answer;
  answer.id = NodeId(network, handle);
  answer.type = node.definition->GetTypeName();
  answer.outcomes = OutcomeIds(node);
  answer.isProbability = value.GetValueType() == kValueBeliefVector;
  answer.evidence = EvidenceKind(value);
  answer.valid = value.IsValueValid();
  const bool hasNumbers = answer.valid || network.GetBeliefAlgorithm() == ALG_LOOPY_BELIEF;
  if (const QVR_Dmatrix* const table = value.GetMatrix(); table != nullptr && hasNumbers) {
    TakeTable(*table, answer);
    for (const int parent : value.GetIndexingParents()) {
      answer.indexingParents.push_back({NodeId(network, parent), OutcomeIds(*network.NodeAt(parent))});
    }
  }
  return answer;
}

}  // namespace

std::string NodeAnswer::CellCondition(std::size_t cell, std::string_view separator) const {
  std::vector<std::size_t> places(indexingParents.size());
  std::size_t rest = cell / static_cast<std::size_t>(dimensions.back());
  for (std::size_t i = places.size(); i-- > 0;) {
    const std::size_t count = indexingParents[i].outcomes.size();
    places[i] = rest % count;
    rest /= count;
  }
  std::string text;
  for (std::size_t i = 0; i < places.size(); ++i) {
    text += i == 0 ? "" : separator;
    text += indexingParents[i].id + "=" + indexingParents[i].outcomes[places[i]];
  }
  return text;
}

std::vector<NodeAnswer> CollectAnswers(QVR_network& network, const std::vector<int>& handles) {
  std::vector<NodeAnswer> answers;
  for (const int handle : handles) {
    const QVR_node* const node = network.NodeAt(handle);
    if (node->definition != nullptr && node->value != nullptr) {
      answers.push_back(AnswerOf(network, handle));
    }
  }
  return answers;
}

}  // namespace qvr
