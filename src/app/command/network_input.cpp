#include "app/command/network_input.h"

#include <algorithm>
#include <set>

#include "app/command/assignment.h"
#include "formats/latin1.h"
#include "model/error_log.h"
#include "model/random_source.h"
#include "model/special_numbers.h"

namespace qvr {

namespace {

// The place of a known name.
int IdOf(const std::vector<std::string>& names, const std::string& name) {
  return static_cast<int>(std::find(names.begin(), names.end(), name) - names.begin());
}

std::string Quoted(const std::string& latin1) { return "'" + ToUtf8(latin1) + "'"; }

// -2 for a text that is neither the identifier of an outcome nor its number.
int FindOutcome(const QVR_node& node, const std::string& text) {
  const int named = node.definition->GetOutcomeNames()->Find(text.c_str());
  if (named >= 0) {
    return named;
  }
  const bool isNumber = !text.empty() && text.find_first_not_of("0123456789") == std::string::npos;
  const int number = isNumber ? ParseIntClamped(text.c_str()) : QVR_OUT_OF_RANGE;
  return number < node.GetNumberOfOutcomes() ? number : QVR_OUT_OF_RANGE;
}

// The code, and its text where that says something about a failure.
std::string DescribeCode(int status) {
  const std::string text = ErrorText(status);
  const bool saysNothing = text == ErrorText(QVR_OKAY) || text == ErrorText(1);
  return "code " + std::to_string(status) + (saysNothing ? "" : ", " + text);
}

Failure Refusal(const Assignment& given, int status) {
  return "evidence " + Quoted(given.name + "=" + given.value) + " is refused: " + DescribeCode(status);
}

Failure EnterOutcome(QVR_node& node, const Assignment& given) {
  const int outcome = FindOutcome(node, given.value);
  if (outcome < 0) {
    return "node " + Quoted(given.name) + " has no outcome " + Quoted(given.value);
  }
  const int status = node.value->SetEvidence(outcome);
  if (status < 0) {
    return Refusal(given, status);
  }
  return std::nullopt;
}

Failure EnterNumber(QVR_node& node, const Assignment& given) {
  const std::optional<double> number = ParseNumber(given.value);
  if (!number) {
    return "node " + Quoted(given.name) + " has no outcomes, and " + Quoted(given.value) + " is no number";
  }
  const int status = node.value->SetEvidenceValue(*number);
  if (status < 0) {
    return Refusal(given, status);
  }
  return std::nullopt;
}

Failure EnterHard(QVR_node& node, const Assignment& given) {
  return node.definition->GetOutcomeNames() != nullptr ? EnterOutcome(node, given) : EnterNumber(node, given);
}

Failure EnterSoft(QVR_node& node, const Assignment& given) {
  const std::optional<std::vector<double>> numbers = ParseNumbers(given.value);
  const int outcomeCount = node.GetNumberOfOutcomes();
  if (!numbers || static_cast<int>(numbers->size()) != outcomeCount) {
    return "soft evidence on " + Quoted(given.name) + " needs " + std::to_string(std::max(outcomeCount, 0)) +
           " numbers";
  }
  QVR_doubleArray likelihoods;
  if (const int status = likelihoods.Assign(*numbers); status < 0) {
    return Refusal(given, status);
  }
  const int status = node.value->SetVirtualEvidence(likelihoods);
  if (status < 0) {
    return Refusal(given, status);
  }
  return std::nullopt;
}

// Enters each text, by `enter`; none about a node that an earlier one was about.
Failure EnterEach(QVR_network& network, const std::vector<std::string>& texts, std::set<std::string>& seen,
                  Failure (*enter)(QVR_node&, const Assignment&)) {
  for (const std::string& text : texts) {
    const std::optional<Assignment> given = SplitAssignment(text);
    if (!given) {
      return "evidence '" + text + "' isn't of the form NODE=VALUE";
    }
    if (!seen.insert(given->name).second) {
      return "evidence on " + Quoted(given->name) + " is given twice";
    }
    QVR_node* node = nullptr;
    if (Failure failure = FindNode(network, given->name, node)) {
      return failure;
    }
    if (Failure failure = enter(*node, *given)) {
      return failure;
    }
  }
  return std::nullopt;
}

}  // namespace

const std::vector<std::string>& AlgorithmNames() {
  static const std::vector<std::string> kNames = {
      "join-tree",          "logic-sampling",         "polytree",          "likelihood-weighting",
      "self-importance",    "likelihood-weighting-2", "backward-sampling", "adaptive-importance",
      "message-importance", "loopy-belief",           "clique-tree",       "relevance-batches",
      "relevance-halving"};
  return kNames;
}

const std::vector<std::string>& DecisionAlgorithmNames() {
  static const std::vector<std::string> kNames = {"cooper", "shachter"};
  return kNames;
}

Failure OpenNetwork(const std::string& file, QVR_network& network) {
  const int status = network.LoadFile(file.c_str(), 0, nullptr);
  if (status == QVR_OKAY) {
    return std::nullopt;
  }
  return file + ": can't load the network: " + DescribeCode(status);
}

void ApplySolver(const SolverOptions& options, QVR_network& network) {
  if (!options.algorithm.empty()) {
    network.SetBeliefAlgorithm(IdOf(AlgorithmNames(), options.algorithm));
  }
  if (!options.decisionAlgorithm.empty()) {
    network.SetDecisionAlgorithm(IdOf(DecisionAlgorithmNames(), options.decisionAlgorithm));
  }
  if (options.samples) {
    network.sampleCount = *options.samples;
  }
  if (options.seed) {
    SeedRandomStreams(*options.seed);
  }
}

Failure EnterEvidence(const EvidenceOptions& options, QVR_network& network) {
  std::set<std::string> seen;
  if (Failure failure = EnterEach(network, options.evidence, seen, EnterHard)) {
    return failure;
  }
  return EnterEach(network, options.soft, seen, EnterSoft);
}

Failure FindNode(QVR_network& network, const std::string& id, QVR_node*& node) {
  node = network.NodeAt(network.FindNode(id.c_str()));
  if (node == nullptr) {
    return "the network has no node " + Quoted(id);
  }
  if (node->definition == nullptr || node->value == nullptr) {
    node = nullptr;
    return "node " + Quoted(id) + " has no definition";
  }
  return std::nullopt;
}

Failure UpdateFailure(int status) {
  if (status >= 0) {
    return std::nullopt;
  }
  return "the update failed: " + DescribeCode(status);
}

std::string NetworkId(const QVR_network& network) {
  const QVR_submodelHandler& submodels = network.GetSubmodels();
  return ToUtf8(submodels.GetSubmodel(QVR_submodelHandler::kMainSubmodel)->header.GetId());
}

std::string NodeId(const QVR_network& network, int handle) { return ToUtf8(network.NodeAt(handle)->GetId()); }

std::vector<std::string> OutcomeIds(const QVR_node& node) {
  const QVR_stringArray* const names = node.definition ? node.definition->GetOutcomeNames() : nullptr;
  std::vector<std::string> ids;
  for (int i = 0; names != nullptr && i < names->GetNumItems(); ++i) {
    const char* const name = names->Get(i);
    ids.push_back(ToUtf8(name != nullptr ? name : ""));
  }
  return ids;
}

}  // namespace qvr
