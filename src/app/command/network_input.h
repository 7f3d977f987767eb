// What the commands share: a network from a file, the solver that the options name, evidence.
#ifndef QVR_APP_COMMAND_NETWORK_INPUT_H
#define QVR_APP_COMMAND_NETWORK_INPUT_H

#include <string>
#include <vector>

#include "app/command/commands.h"
#include "model/network.h"

namespace qvr {

// The names of the option --algorithm, by BeliefAlgorithm, and of --decision-algorithm, by DecisionAlgorithm.
[[nodiscard]] const std::vector<std::string>& AlgorithmNames();
[[nodiscard]] const std::vector<std::string>& DecisionAlgorithmNames();

[[nodiscard]] Failure OpenNetwork(const std::string& file, QVR_network& network);
// The names must be known ones.
void ApplySolver(const SolverOptions& options, QVR_network& network);
// An outcome is given by its identifier, or else by its number.
[[nodiscard]] Failure EnterEvidence(const EvidenceOptions& options, QVR_network& network);
// `id` in the engine's text. `node` is null after a failure.
[[nodiscard]] Failure FindNode(QVR_network& network, const std::string& id, QVR_node*& node);
[[nodiscard]] Failure UpdateFailure(int status);

// The network's and a node's texts in UTF-8.
[[nodiscard]] std::string NetworkId(const QVR_network& network);
[[nodiscard]] std::string NodeId(const QVR_network& network, int handle);
[[nodiscard]] std::vector<std::string> OutcomeIds(const QVR_node& node);  // empty without outcomes

}  // namespace qvr

#endif
