#include "inference/relevance_decomposition.h"

#include <algorithm>

#include "inference/join_tree.h"
#include "inference/relevance.h"
#include "inference/solver_runs.h"
#include "model/network.h"
#include "model/special_numbers.h"

namespace qvr {
namespace {

constexpr const char* kBatchSizeKey = "QVR_REL_DECOMP_THRESHOLD";
constexpr const char* kHalfLimitKey = "QVR_REL_DECOMP_THRESHOLD2";
constexpr const char* kGroupLimitKey = "QVR_REL_DECOMP_THRESHOLD3";
constexpr const char* kNoFallbackKey = "QVR_REL_DECOMP_DISABLE_FALLBACK";
constexpr int kDefaultBatchSize = 32;
constexpr int kDefaultHalfLimit = 0x10000;
constexpr int kLargestLimit = 0x10000000;  // a file can't ask for a tree of more than 2 GiB

// The user property as a number, or the fallback where it is absent or below 1.
int PositiveProperty(const QVR_network& network, const char* key, int fallback) {
  const int place = network.userProperties.Find(key);
  const int number = place < 0 ? 0 : ParseIntClamped(network.userProperties.GetValue(place));
  return number < 1 ? fallback : number;
}

int LimitProperty(const QVR_network& network, const char* key, int fallback) {
  return std::min(PositiveProperty(network, key, fallback), kLargestLimit);
}

// Targets with known evidence are answered already; a tree over their ancestors could only be refused.
bool IsAnswered(const RelevanceComponent& component) {
  return std::none_of(component.nodes.begin(), component.nodes.end(),
                      [](const RelevanceNode* record) { return record->target && record->evidence < 0; });
}

void AnswerSingleNode(const RelevanceNode& record, std::span<unsigned char> pending) {
  ApplySingleNodeComponent(record);
  if (record.node != nullptr && !pending.empty()) {
    pending[static_cast<std::size_t>(record.node->handle)] = 0;
  }
}

}  // namespace

bool RunComponents(QVR_network& network, std::span<unsigned char> pending, int sizeLimit, int& errorCount) {
  ComponentList list;
  if (RelevanceReduce(network, true, true, list) < 0) {
    return false;
  }
  for (const RelevanceComponent& component : list.components) {
    if (IsAnswered(component)) {
      continue;
    }
    if (component.nodes.size() == 1) {
      AnswerSingleNode(*component.nodes.front(), pending);
    } else if (JoinTree tree(component, errorCount); !tree.Run(pending, sizeLimit)) {
      return false;
    }
  }
  return true;
}

int RunJoinTreeWithFallback(QVR_network& network) {
  int errorCount = 0;
  if (RunComponents(network, {}, 0, errorCount)) {
    return errorCount > 0 ? QVR_ZERO_POTENTIAL : QVR_OKAY;
  }
  if (network.GetTargetCount() == 1 || network.userProperties.Find(kNoFallbackKey) >= 0) {
    return QVR_OUT_OF_MEMORY;
  }
  return RunRelevanceBatches(network);
}

int RunRelevanceBatches(QVR_network& network) {
  const int batchSize = PositiveProperty(network, kBatchSizeKey, kDefaultBatchSize);
  const int groupLimit = LimitProperty(network, kGroupLimitKey, 0);
  const int halfLimit =
      groupLimit != 0 ? groupLimit : LimitProperty(network, kHalfLimitKey, kDefaultHalfLimit);
  TargetGroups targets(network);
  std::vector<int> group;
  for (const int handle : targets.PendingNodes()) {
    if (!targets.IsPending(handle)) {
      continue;  // an earlier group has answered it
    }
    group.push_back(handle);
    if (static_cast<int>(group.size()) == batchSize) {
      if (!targets.SolveGroup(group, groupLimit, halfLimit)) {
        return QVR_OUT_OF_MEMORY;
      }
      group.clear();
    }
  }
  return group.empty() || targets.SolveGroup(group, groupLimit, halfLimit) ? QVR_OKAY : QVR_OUT_OF_MEMORY;
}

int RunRelevanceHalving(QVR_network& network) {
  const int halfLimit = LimitProperty(network, kHalfLimitKey, kDefaultHalfLimit);
  TargetGroups targets(network);
  return targets.SolveRange(targets.PendingNodes(), halfLimit) ? QVR_OKAY : QVR_OUT_OF_MEMORY;
}

TargetGroups::TargetGroups(QVR_network& newNetwork) : network(newNetwork) { PrepareTargets(); }

TargetGroups::~TargetGroups() { RestoreTargets(); }

// Allocates everything before the first target goes.
void TargetGroups::PrepareTargets() {
  pending.assign(static_cast<std::size_t>(network.LastNode() + 1), 0);
  savedTargets.reserve(static_cast<std::size_t>(network.GetTargetCount()));
  for (int handle = network.FirstNode(); handle >= 0; handle = network.NextNode(handle)) {
    const bool target = network.IsTarget(handle) == 1;
    if (target) {
      savedTargets.push_back(handle);
    }
    const QVR_node& node = *network.NodeAt(handle);
    const bool observed = node.value && node.value->HasEvidence();
    pending[static_cast<std::size_t>(handle)] = !observed && (target || network.GetTargetCount() == 0);
  }
  network.ClearAllTargets();
}

void TargetGroups::RestoreTargets() {
  network.ClearAllTargets();
  for (const int handle : savedTargets) {
    network.SetTarget(handle);
  }
}

std::vector<int> TargetGroups::PendingNodes() {
  std::vector<int> nodes;
  for (const int handle : network.GetTopologicalOrder()) {
    if (IsPending(handle)) {
      nodes.push_back(handle);
    }
  }
  std::reverse(nodes.begin(), nodes.end());
  return nodes;
}

bool TargetGroups::SolveGroup(std::span<const int> group, int groupLimit, int halfLimit) {
  for (const int handle : group) {
    network.SetTarget(handle);
  }
  const bool single = group.size() == 1;
  const bool solved = Run(single ? 0 : groupLimit);
  for (const int handle : group) {
    network.UnsetTarget(handle);
  }
  return solved || (!single && SolveHalves(group, halfLimit));
}

bool TargetGroups::SolveRange(std::span<const int> range, int limit) {
  for (const int handle : range) {
    if (IsPending(handle)) {
      network.SetTarget(handle);
    }
  }
  if (network.GetTargetCount() == 0) {
    return true;
  }
  const bool single = range.size() == 1;
  const bool solved = Run(single ? 0 : limit);
  network.ClearAllTargets();
  return solved || (!single && SolveHalves(range, limit));
}

// The upper part holds nodes nearer the roots, whose trees are small.
bool TargetGroups::SolveHalves(std::span<const int> range, int limit) {
  const std::size_t half = range.size() / 2;
  return SolveRange(range.subspan(half), limit) && SolveRange(range.first(half), limit);
}

// Tables that lost all probability are logged by the tree; the groups' counts aren't added up.
bool TargetGroups::Run(int sizeLimit) {
  int errors = 0;
  return RunComponents(network, pending, sizeLimit, errors);
}

}  // namespace qvr
