// From what a node's block of Netica's format states to the node.
#include <algorithm>
#include <cmath>
#include <utility>

#include "definitions/equation.h"
#include "definitions/truth_table.h"
#include "definitions/utility_table.h"
#include "formats/foreign_network.h"
#include "formats/netica_equation.h"
#include "formats/netica_speaker.h"
#include "formats/table_exchange.h"
#include "model/network.h"
#include "model/special_numbers.h"

namespace qvr {

void QVR_neticaSpeaker::ApplyNode(NeticaNode& node) {
  if (const int status = MakeNode(node); status < 0) {
    Report(status, "ERROR: Couldn't Create Node (\"" + node.name + "\")");
    return;
  }
  QVR_nodeInfo& info = *network.NodeAt(node.handle)->info;
  info.header.SetName(node.title.c_str());
  info.header.SetComment(node.comment.c_str());
  SetNodeCentre(network, node.handle, node.centerX, node.centerY);
  if (node.width > 0 && node.height > 0) {
    info.screen.position.width = node.width;
    info.screen.position.height = node.height;
  }
  if (network.NodeAt(node.handle)->GetType() != kTypeEquation) {
    AddParents(node);
    SetTable(node);
  }
  network.NodeAt(node.handle)->CheckReady(1);
  if (!network.NodeAt(node.handle)->IsReady()) {
    names.DeleteNode(node.name);
  }
}

// A continuous node without a table may be an equation; if that is refused it has the outcomes that it
// states.
int QVR_neticaSpeaker::MakeNode(NeticaNode& node) {
  const bool isEquation =
      node.IsContinuous() && !node.equation.empty() && !node.hasProbs && !node.hasFunctable;
  node.handle =
      names.AddNode(isEquation ? static_cast<int>(kTypeEquation) : node.GetDiscreteType(), node.name);
  if (node.handle < 0) {
    return node.handle;
  }
  QVR_node& made = *network.NodeAt(node.handle);
  if (isEquation) {
    if (MakeEquation(node)) {
      return QVR_OKAY;
    }
    if (made.ChangeType(node.GetDiscreteType()) < 0) {
      Report(QVR_OUT_OF_RANGE, "ERROR: Type of node [" + node.name + "] unsupported");
    }
  }
  if (made.definition == nullptr || made.GetType() == kTypeTable) {
    return QVR_OKAY;
  }
  QVR_stringArray states;
  for (const std::string& state : node.states) {
    states.Add(state.c_str());
  }
  const int count = std::min(node.CountOutcomes(), kMaxStatedOutcomes);
  int status = QVR_OKAY;
  if (!node.states.empty()) {
    status = SetOutcomeNames(network, node.handle, states);
  } else if (count > 0) {
    status = made.definition->SetNumberOfOutcomes(count);
  }
  Report(status, "ERROR: Couldn't set the states of node [" + node.name + "]");
  return QVR_OKAY;
}

bool QVR_neticaSpeaker::MakeEquation(NeticaNode& node) {
  std::string message;
  const ExpressionPtr parsed = ParseNeticaEquation(node.equation, message);
  if (parsed == nullptr) {
    Report(QVR_OUT_OF_RANGE, message);
    return false;
  }
  std::vector<std::string> variables;
  parsed->GetVariables(variables);
  for (const std::string& variable : variables) {
    if (const int parent = names.Find(variable); parent >= 0) {
      parsed->RenameVariable(variable, network.NodeAt(parent)->GetId());
    }
  }
  QVR_node& made = *network.NodeAt(node.handle);
  const std::string text = made.GetId() + "=(" + parsed->GetText() + ")";
  if (static_cast<QVR_equation&>(*made.definition).SetEquation(text.c_str()) < 0) {
    return false;
  }
  SetLevels(node);
  return true;
}

void QVR_neticaSpeaker::SetLevels(const NeticaNode& node) {
  const std::vector<double> levels = node.FiniteLevels();
  if (levels.size() < 2) {
    return;
  }
  auto& equation = static_cast<QVR_equation&>(*network.NodeAt(node.handle)->definition);
  int status = equation.SetBounds(levels.front(), levels.back());
  if (status == QVR_OKAY && levels.size() > 2) {
    std::vector<DiscretizationInterval> intervals;
    const bool hasNames = node.states.size() + 1 == levels.size();
    const bool isReversed = node.levels.front() > node.levels.back();
    for (std::size_t i = 0; i + 1 < levels.size(); ++i) {
      const std::size_t state = isReversed ? levels.size() - 2 - i : i;
      intervals.push_back({hasNames ? node.states[state] : "State" + std::to_string(i), levels[i + 1]});
    }
    status = equation.SetDiscIntervals(std::move(intervals));
  }
  Report(status, "ERROR: Couldn't set the levels of node [" + node.name + "]");
}

void QVR_neticaSpeaker::AddParents(const NeticaNode& node) {
  for (const std::string& parent : node.parents) {
    const int handle = names.Find(parent);
    const int status = handle < 0 ? handle : AddTableParent(network, handle, node.handle, node.CountCells());
    Report(status, "ERROR: Couldn't add arc from node [" + parent + "] to node [" + node.name + "]");
  }
}

void QVR_neticaSpeaker::SetTable(const NeticaNode& node) {
  QVR_node& made = *network.NodeAt(node.handle);
  const int type = made.GetType();
  if (type == kTypeList || (!node.hasProbs && !node.hasFunctable)) {
    return;
  }
  if (type != kTypeTable && !node.hasProbs) {
    SetResultingStates(node);
    return;
  }
  int status = QVR_OKAY;
  std::size_t count = node.probs.size();
  if (type == kTypeTable) {
    QVR_doubleArray utilities;
    count = node.functable.size();
    for (const std::string& entry : node.functable) {
      double number = 0;
      status = std::min(status, TextToDouble(entry.c_str(), number));
      utilities.Add(number);
    }
    status = status < 0 ? status : static_cast<QVR_table&>(*made.definition).SetUtilities(utilities);
  } else {
    const int outcomes = made.GetNumberOfOutcomes();
    status = SetProbabilityRows(network, node.handle,
                                node.CompleteTable(made.definition->GetSize() / outcomes, outcomes));
  }
  Report(status, WrongCountMessage(network, node.handle, static_cast<int>(count)));
}

void QVR_neticaSpeaker::SetResultingStates(const NeticaNode& node) {
  const std::vector<int> found = node.FindOutcomes();
  QVR_intArray outcomes;
  for (std::size_t i = 0; i < found.size(); ++i) {
    if (found[i] < 0 && !node.functable[i].starts_with('@')) {
      Report(QVR_OUT_OF_RANGE, "ERROR: '" + node.functable[i] + "' : Invalid state");
    }
    outcomes.Add(std::max(found[i], 0));
  }
  QVR_node& made = *network.NodeAt(node.handle);
  const int status = made.definition->SetResultingStates(outcomes);
  const int expected = made.definition->GetSize() / made.GetNumberOfOutcomes();
  Report(status, WrongCountMessage(made.GetId(), expected, outcomes.GetNumItems()));
}

}  // namespace qvr
