#include "workload.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <fstream>

#include "model/error_log.h"
#include "support/random_network.h"

namespace qvr {
namespace {

using Evidence = std::vector<std::pair<int, int>>;

Workload Generated(const char* name, int mostOutcomes, const std::function<ParentLists(TestRandom&)>& shape) {
  constexpr std::uint64_t kSeed = 1;
  Workload workload{name, {}, {}};
  workload.load = [shape, mostOutcomes](QVR_network& network) {
    TestRandom random(kSeed);
    const ParentLists parents = shape(random);
    const int nodeCount = static_cast<int>(parents.size());
    const std::vector<int> counts = RandomOutcomeCounts(nodeCount, 2, mostOutcomes, HUGE_VAL, random);
    return FillNetwork(parents, counts, {}, random, network);
  };
  // Every tenth node, at a state drawn from the network.
  workload.evidence = [](QVR_network& network) {
    TestRandom random(kSeed);
    const std::vector<int> states = SampleStates(network, random);
    Evidence evidence;
    for (int handle = 9; handle < network.GetNumberOfNodes(); handle += 10) {
      evidence.emplace_back(handle, states[static_cast<std::size_t>(handle)]);
    }
    return evidence;
  };
  return workload;
}

std::vector<std::string> SplitLine(std::string line) {
  line.erase(std::remove(line.begin(), line.end(), '\r'), line.end());
  std::vector<std::string> fields(1);
  for (char c : line) {
    if (c == ',') {
      fields.emplace_back();
    } else {
      fields.back() += c;
    }
  }
  return fields;
}

// Handle and outcome for each field of a line of cases that is an outcome.
Evidence EvidenceOfLine(const std::vector<std::string>& fields, const std::vector<int>& symptoms) {
  Evidence evidence;
  for (std::size_t i = 0; i < std::min(fields.size(), symptoms.size()); ++i) {
    const int outcome = fields[i].empty() ? -1 : std::atoi(fields[i].c_str());
    if (symptoms[i] >= 0 && outcome >= 0) {
      evidence.emplace_back(symptoms[i], outcome);
    }
  }
  return evidence;
}

Evidence FirstCase(const std::string& folder, const QVR_network& network) {
  std::vector<int> symptoms;
  std::string line;
  std::ifstream names(folder + "/csvofsymps.csv");
  while (std::getline(names, line)) {
    symptoms.push_back(network.FindNode(SplitLine(line)[0].c_str()));
  }
  Evidence evidence;
  std::ifstream cases(folder + "/csvofanalyzedata.csv");
  while (evidence.empty() && std::getline(cases, line)) {
    evidence = EvidenceOfLine(SplitLine(line), symptoms);
  }
  return evidence;
}

}  // namespace

bool EnterEvidence(const Workload& workload, QVR_network& network) {
  const UpdateFlagsOff quiet(network, UPDATE_TRACK_CHANGES);
  for (const auto& [handle, outcome] : workload.evidence(network)) {
    if (network.NodeAt(handle)->value->SetEvidence(outcome) < 0) {
      std::fprintf(stderr, "%s: evidence refused\n", workload.name.c_str());
      return false;
    }
  }
  return true;
}

std::vector<Workload> GeneratedWorkloads() {
  return {
      Generated("chain_1000", 4, [](TestRandom&) { return ChainParents(1000); }),
      Generated("chain_100000", 2, [](TestRandom&) { return ChainParents(100000); }),
      Generated("tree_10000", 4, [](TestRandom& random) { return TreeParents(10000, random); }),
      Generated("grid_8x8", 2, [](TestRandom&) { return GridParents(8, 8); }),
      Generated("grid_14x14", 2, [](TestRandom&) { return GridParents(14, 14); }),
      Generated("random_100", 3, [](TestRandom& random) { return RandomParents(100, 3, 8, random); }),
      Generated("random_1000", 3, [](TestRandom& random) { return RandomParents(1000, 3, 8, random); }),
  };
}

Workload FolderWorkload(const std::string& folder) {
  const std::string path = folder.substr(0, folder.find_last_not_of('/') + 1);
  Workload workload{path.substr(path.find_last_of('/') + 1), {}, {}};
  workload.load = [path](QVR_network& network) {
    const int status = network.LoadFile((path + "/kvtnetwork.xqvr").c_str(), 0, nullptr);
    if (status < 0) {
      const char* message = GetErrorLog().GetMessage(GetErrorLog().GetCount() - 1);
      std::fprintf(stderr, "%s: %s\n", path.c_str(), message != nullptr ? message : ErrorText(status));
    }
    return status >= 0;
  };
  workload.evidence = [path](QVR_network& network) { return FirstCase(path, network); };
  return workload;
}

}  // namespace qvr
