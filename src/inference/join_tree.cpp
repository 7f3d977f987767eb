#include "inference/join_tree.h"

#include <chrono>
#include <cmath>
#include <new>
#include <numeric>
#include <stdexcept>
#include <string>

#include "inference/join_tree_propagation.h"
#include "inference/join_tree_statistics.h"
#include "inference/thread_scratch.h"
#include "model/error_log.h"
#include "model/network.h"

namespace qvr {

namespace {

thread_local JoinTreeStatistics statistics;

// Adds the time that it lives to a sum.
class Stopwatch {
 public:
  explicit Stopwatch(double& newSum) : sum(newSum), start(std::chrono::steady_clock::now()) {}
  ~Stopwatch() { sum += std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count(); }
  Stopwatch(const Stopwatch&) = delete;
  Stopwatch& operator=(const Stopwatch&) = delete;

 private:
  double& sum;
  std::chrono::steady_clock::time_point start;
};

void ReportZeros(const QVR_node& node) {
  const std::string who = node.info ? node.GetId() : "with handle=" + std::to_string(node.handle);
  GetErrorLog().Log(QVR_ZERO_POTENTIAL, "All potential entries are zeros for node " + who);
}

// The normalised marginal becomes the node's value. False for a marginal that sums to zero or to no number;
// the value is then invalid, so that nobody takes an old result for this update's.
bool StorePosterior(const RelevanceNode& record, std::span<const double> marginal) {
  const double total = std::accumulate(marginal.begin(), marginal.end(), 0.0);
  if (!(total > 0.0 && std::isfinite(total))) {
    record.node->value->SetValueInvalid();
    return false;
  }
  WritePosterior(record, marginal, total);
  MarkValid(record);
  return true;
}

struct Workspace {
  ComponentShape shape;
  JoinTreeStructure tree;
  JoinTreePropagation propagation;
  std::vector<unsigned char> wanted;  // by position
};

// Targets and pending nodes are wanted.
void MarkWanted(const RelevanceComponent& component, std::span<const unsigned char> pending,
                std::vector<unsigned char>& wanted) {
  wanted.clear();
  for (const RelevanceNode* record : component.nodes) {
    bool isWanted = record->target;
    if (record->node != nullptr && record->evidence < 0 && !pending.empty()) {
      isWanted = isWanted || pending[static_cast<std::size_t>(record->node->handle)] != 0;
    }
    wanted.push_back(isWanted && HoldsPosterior(*record) ? 1 : 0);
  }
}

// No node of the component stays pending once all are written.
void ClearPending(const RelevanceComponent& component, std::span<unsigned char> pending) {
  for (const RelevanceNode* record : component.nodes) {
    if (record->node != nullptr && record->evidence < 0 && !pending.empty()) {
      pending[static_cast<std::size_t>(record->node->handle)] = 0;
    }
  }
}

int WritePosteriors(const RelevanceComponent& component, const Workspace& work) {
  int zeros = 0;
  for (const int clique : work.tree.sorted) {
    const auto at = static_cast<std::size_t>(clique);
    for (int i = work.tree.posteriors.start[at]; i < work.tree.posteriors.start[at + 1]; ++i) {
      const auto place = static_cast<std::size_t>(i);
      const auto position = static_cast<std::size_t>(work.tree.posteriors.items[place]);
      const RelevanceNode& record = *component.nodes[position];
      if (work.wanted[position] != 0 && !StorePosterior(record, work.propagation.Marginal(place))) {
        ReportZeros(*record.node);
        ++zeros;
      }
    }
  }
  return zeros;
}

}  // namespace

const JoinTreeStatistics& LastJoinTreeStatistics() { return statistics; }

void ResetJoinTreeStatistics() { statistics = {}; }

bool JoinTree::Solve(std::span<unsigned char> pending, std::int64_t sizeLimit) {
  const ThreadScratch<Workspace> work;
  {
    const Stopwatch watch(statistics.compileSeconds);
    DescribeComponent(component, work->shape);
    if (!CompileJoinTree(work->shape, sizeLimit == 0 ? kDefaultSizeLimit : sizeLimit, work->tree)) {
      return false;
    }
  }
  const Stopwatch watch(statistics.propagateSeconds);
  statistics.cliqueEntries += work->tree.totalSize;
  work->propagation.Prepare(work->tree, component);
  MarkWanted(component, pending, work->wanted);
  work->propagation.Collect();
  work->propagation.Distribute(work->wanted);
  errorCount += WritePosteriors(component, *work);
  ClearPending(component, pending);
  return true;
}

bool JoinTree::Run(std::span<unsigned char> pending, std::int64_t sizeLimit) {
  try {
    return Solve(pending, sizeLimit);
  } catch (const std::bad_alloc&) {
    return false;
  } catch (const std::length_error&) {
    return false;
  }
}

}  // namespace qvr
