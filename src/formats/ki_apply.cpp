// From what a KI file states to nodes.
#include <algorithm>

#include "definitions/cpt.h"
#include "definitions/noisy_max.h"
#include "formats/foreign_network.h"
#include "formats/ki_speaker.h"
#include "formats/table_exchange.h"
#include "model/network.h"

namespace qvr {
namespace {

constexpr int kTarget = 0;
constexpr int kAuxiliary = 2;

}  // namespace

void QVR_kiSpeaker::ApplyNode(int type, const FileNode& node) {
  const int handle = names.AddNode(type, node.name);
  if (handle < 0) {
    Report(handle, "ERROR: Couldn't Create Node (\"" + node.name + "\")");
    return;
  }
  QVR_node& made = *network.NodeAt(handle);
  made.info->header.SetName(node.title.c_str());
  made.info->header.SetComment(node.comment.c_str());
  ApplyStates(node, handle);
  const bool hasFault =
      std::any_of(node.states.begin(), node.states.end(), [](const State& state) { return state.isFault; });
  if (node.diagnosisType < 0 && !hasFault) {
    Report(QVR_OUT_OF_RANGE,
           "ERROR: Couldn't guess [\"" + node.name + "\"] diagnosys type: 'auxiliary' assumed");
  }
  made.extra->diagnosisType =
      node.diagnosisType >= 0 ? node.diagnosisType : (hasFault ? kTarget : kAuxiliary);
  made.extra->mandatory = node.isMandatory ? 1 : 0;
  made.extra->ranked = node.isRanked ? 1 : 0;
  made.extra->question = node.question;
}

void QVR_kiSpeaker::ApplyStates(const FileNode& node, int handle) {
  QVR_stringArray states;
  for (const State& state : node.states) {
    states.Add(state.name.c_str());
  }
  QVR_node& made = *network.NodeAt(handle);
  int status = QVR_OKAY;
  if (!node.states.empty()) {
    status = SetOutcomeNames(network, handle, states);
  } else if (node.outcomes > 0) {
    status = made.definition->SetNumberOfOutcomes(node.outcomes);
  }
  if (status < 0 || (node.outcomes > 0 && made.GetNumberOfOutcomes() != node.outcomes)) {
    Report(QVR_OUT_OF_RANGE, "Wrong number of outcomes");
  }
  for (std::size_t i = 0; i < node.states.size(); ++i) {
    const State& state = node.states[i];
    const int outcome = static_cast<int>(i);
    made.extra->SetFault(outcome, state.isFault ? 1 : 0);
    made.extra->SetStateComment(outcome, state.comment.c_str());
    if (!state.label.empty()) {
      made.extra->SetFaultLabel(outcome, state.label.c_str());
    }
  }
}

void QVR_kiSpeaker::ApplyDefinition(const FileDefinition& definition) {
  const int handle = names.Find(definition.name);
  if (handle < 0) {
    Report(QVR_OUT_OF_RANGE, "ERROR: Couldn't Find Node (\"" + definition.name + "\")");
    return;
  }
  const auto numberCount = static_cast<std::size_t>(definition.table.GetNumItems());
  const bool hasTable = network.NodeAt(handle)->GetType() == kTypeCpt;
  for (const std::string& parent : definition.parents) {
    const int parentHandle = names.Find(parent);
    if (parentHandle < 0) {
      Report(QVR_OUT_OF_RANGE, "ERROR: Couldn't Find Node (\"" + parent + "\")");
    } else {
      const int status = hasTable ? AddTableParent(network, parentHandle, handle, numberCount)
                                  : network.AddArc(parentHandle, handle, kOrdinaryLayer);
      Report(status, "ERROR: Couldn't add arc from node [" + parent + "] to node [" + definition.name + "]");
    }
  }
  if (definition.hasTable) {
    Report(ApplyTable(definition, handle), "ERROR: Wrong number of Probabilities");
  }
}

// Of a canonical node the parameters, or those with the leak in them.
int QVR_kiSpeaker::ApplyTable(const FileDefinition& definition, int handle) {
  QVR_nodeDefinition& made = *network.NodeAt(handle)->definition;
  if (made.GetType() == kTypeCpt) {
    return static_cast<QVR_cpt&>(made).SetProbabilities(definition.table);
  }
  auto& noisyMax = static_cast<QVR_noisyMAX&>(made);
  if (definition.table.GetNumItems() == noisyMax.GetCiWeights().GetNumElements()) {
    return noisyMax.SetValues(definition.table);
  }
  return noisyMax.SetCompoundParameters(definition.table);
}

}  // namespace qvr
