// What an update found for a node, apart from how it is shown.
#ifndef QVR_APP_COMMAND_NODE_ANSWER_H
#define QVR_APP_COMMAND_NODE_ANSWER_H

#include <string>
#include <string_view>
#include <vector>

#include "model/network.h"

namespace qvr {

// A node that indexes an answer, or that is answered, with the names of its outcomes. Texts are in UTF-8.
struct AnswerDimension {
  std::string id;
  std::vector<std::string> outcomes;
};

// Values go by the indexing parents, in order, and last by the node's own outcomes if it has any; the last
// dimension fastest. kUndefined marks a cell that no scenario came to.
struct NodeAnswer {
  std::string id;
  std::string type;
  std::vector<std::string> outcomes;
  bool isProbability = false;
  std::string_view evidence;  // "observed", "deduced" or "soft"; empty without
  bool valid = false;
  std::vector<double> values;  // empty where the update left none
  std::vector<int> dimensions;
  std::vector<AnswerDimension> indexingParents;

  // The outcomes of the indexing parents at a cell, as "A=x, B=y".
  [[nodiscard]] std::string CellCondition(std::size_t cell, std::string_view separator) const;
  // Of a node with outcomes.
  [[nodiscard]] const std::string& CellOutcome(std::size_t cell) const {
    return outcomes[cell % outcomes.size()];
  }
};

// Of the nodes, in their order; those without definition are left out. An answer that isn't valid keeps its
// numbers only where the algorithm leaves all unmarked, as loopy belief propagation does.
[[nodiscard]] std::vector<NodeAnswer> CollectAnswers(QVR_network& network, const std::vector<int>& handles);

}  // namespace qvr

#endif
