// qvr infer: the posteriors of a network, given evidence.
#include <cstdio>

#include "app/command/answer_formats.h"
#include "app/command/commands.h"
#include "app/command/network_input.h"
#include "app/command/node_answer.h"
#include "app/command/output.h"
#include "formats/latin1.h"

namespace qvr {

namespace {

// The nodes to show: those asked for, or else the network's own targets, or else all.
Failure ChooseNodes(const std::vector<std::string>& targets, QVR_network& network,
                    std::vector<int>& handles) {
  if (!targets.empty()) {
    network.ClearAllTargets();
  }
  for (std::string id : targets) {
    ConvertToLatin1(id);
    QVR_node* node = nullptr;
    if (Failure failure = FindNode(network, id, node)) {
      return failure;
    }
    if (network.IsTarget(node->handle) == 0) {
      network.SetTarget(node->handle);
      handles.push_back(node->handle);
    }
  }
  for (int handle = network.FirstNode(); handle >= 0 && targets.empty(); handle = network.NextNode(handle)) {
    if (network.GetTargetCount() == 0 || network.IsTarget(handle) == 1) {
      handles.push_back(handle);
    }
  }
  return std::nullopt;
}

std::string Format(const std::string& format, const QVR_network& network, int status,
                   const std::vector<NodeAnswer>& answers) {
  if (format == "json") {
    return AnswersAsJson(NetworkId(network), status, answers);
  }
  if (status < 0) {
    return "";  // has no place for the code
  }
  return format == "csv" ? AnswersAsCsv(answers) : AnswersAsTable(answers);
}

}  // namespace

Failure Infer(const InferOptions& options) {
  QVR_network network;
  if (Failure failure = OpenNetwork(options.file, network)) {
    return failure;
  }
  ApplySolver(options.solver, network);
  std::vector<int> handles;
  if (Failure failure = ChooseNodes(options.targets, network, handles)) {
    return failure;
  }
  if (Failure failure = EnterEvidence(options.evidence, network)) {
    return failure;
  }
  const int status = network.UpdateBeliefs();
  const std::vector<NodeAnswer> answers = CollectAnswers(network, handles);
  PrintResult(Format(options.format, network, status, answers));
  if (network.GetBeliefAlgorithm() == ALG_LOOPY_BELIEF && status >= 0) {
    PrintNote("loopy-belief can't tell how near its numbers are, and marks none valid");
  }
  return UpdateFailure(status);
}

}  // namespace qvr
