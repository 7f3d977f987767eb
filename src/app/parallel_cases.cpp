// Cases are dealt out in chunks. A chunk starts from the evidence that the evidence calls of all earlier
// cases leave; a network of its own, the scout, makes these calls without updates, unless a worker has come
// by there.
//
// A case needs only the update after its last evidence call, as long as that writes every result. Whether it
// does shows by a mark put into the results before. Where an update fails, a run on one thread reads the
// numbers of an older one; then the case is entered again with every update, and if that isn't enough, with
// the cases before it, from further and further back.
#include "app/parallel_cases.h"

#include <algorithm>
#include <atomic>
#include <bit>
#include <cstdint>
#include <exception>
#include <functional>
#include <iterator>
#include <memory>
#include <mutex>
#include <new>
#include <thread>
#include <utility>

#include "app/evidence_snapshot.h"
#include "model/special_numbers.h"

namespace qvr {

namespace {

using Rows = std::vector<std::vector<double>>;

// No update writes this: a NaN with a payload of our own.
constexpr double kUnwritten = std::bit_cast<double>(std::uint64_t{0x7ff8'5157'0000'c0de});

constexpr std::size_t kLargestChunk = 64;
constexpr std::size_t kChunksPerJob = 8;

// An observed node shows its evidence; solvers needn't write it.
void MarkResults(const CaseRun& run) {
  for (QVR_node* const node : run.ResultNodes()) {
    if (!node->value->HasEvidence()) {
      node->value->GetMatrix()->Fill(kUnwritten);
    }
  }
}

bool IsWritten(const std::vector<double>& row) {
  return std::none_of(row.begin(), row.end(), [](double cell) { return SameBits(cell, kUnwritten); });
}

struct Chunk {
  std::size_t number;
  std::size_t first;
  std::size_t end;
};

// Deals out the chunks in order, and knows the evidence that each starts from. For several threads.
class ChunkQueue {
 public:
  ChunkQueue(CaseRun& newScout, std::size_t newCaseCount, int jobs)
      : scout(newScout), caseCount(newCaseCount) {
    const std::size_t share = caseCount / (static_cast<std::size_t>(jobs) * kChunksPerJob);
    chunkSize = std::clamp<std::size_t>(share, 1, kLargestChunk);
    starts.resize((caseCount + chunkSize - 1) / chunkSize + 1);
    starts[0] = EvidenceSnapshot(scout.Network());
  }

  // False when there are no more.
  bool Take(Chunk& chunk) {
    const std::lock_guard lock(mutex);
    if (next + 1 >= starts.size()) {
      return false;
    }
    chunk = ChunkAt(next++);
    while (known < chunk.number) {
      Advance();
    }
    return true;
  }
  [[nodiscard]] Chunk ChunkAt(std::size_t number) const {
    return {number, number * chunkSize, std::min((number + 1) * chunkSize, caseCount)};
  }
  // For a chunk that was taken, or an earlier one.
  [[nodiscard]] EvidenceSnapshot StartOf(std::size_t number) {
    const std::lock_guard lock(mutex);
    return starts[number];
  }
  // A worker's network is at the end of the chunk.
  void Finish(std::size_t number, const QVR_network& network) {
    const std::lock_guard lock(mutex);
    if (known == number) {
      starts[++known] = EvidenceSnapshot(network);
    }
  }
  // Nobody gets another chunk.
  void Stop() {
    const std::lock_guard lock(mutex);
    next = starts.size();
  }

 private:
  // The scout walks the last chunk whose start is known.
  void Advance() {
    if (scoutAt != known) {
      starts[known].EnterInto(scout.Network());
    }
    const Chunk chunk = ChunkAt(known);
    for (std::size_t caseNumber = chunk.first; caseNumber < chunk.end; ++caseNumber) {
      scout.EnterEvidence(caseNumber);
    }
    starts[++known] = EvidenceSnapshot(scout.Network());
    scoutAt = known;
  }

  std::mutex mutex;
  CaseRun& scout;
  std::size_t caseCount;
  std::size_t chunkSize;
  std::vector<EvidenceSnapshot> starts;  // by chunk, and the end of the last
  std::size_t known = 0;                 // the last chunk with a known start
  std::size_t scoutAt = 0;               // the chunk at whose start the scout stands
  std::size_t next = 0;
};

class ChunkWorker {
 public:
  ChunkWorker(const QVR_network& newNetwork, const BatchNodes& nodes, const IntColumns& caseColumns)
      : network(newNetwork), run(WholeCopy(network), nodes, caseColumns) {}

  // Writes the rows of the chunk's cases. The network ends with the evidence after the last.
  Failure RunChunk(ChunkQueue& queue, const Chunk& chunk, Rows& rows) {
    StartFrom(queue.StartOf(chunk.number));
    for (std::size_t caseNumber = chunk.first; caseNumber < chunk.end; ++caseNumber) {
      std::vector<double>& row = rows[caseNumber];
      const EvidenceSnapshot before(network);
      EnterWithOneUpdate(caseNumber);
      if (Failure failure = run.ReadPosteriors(row)) {
        return failure;
      }
      if (!IsWritten(row) && !RunAlone(before, caseNumber, row)) {
        return RunFromFarther(queue, chunk, caseNumber, rows);
      }
    }
    return std::nullopt;
  }
  [[nodiscard]] const QVR_network& Network() const { return network; }

 private:
  static QVR_network& WholeCopy(QVR_network& copy) {
    if (!copy.IsReady()) {
      throw std::bad_alloc();
    }
    return copy;
  }

  // The last update before was made with this evidence.
  void StartFrom(const EvidenceSnapshot& evidence) {
    evidence.EnterInto(network);
    MarkResults(run);
    network.UpdateBeliefs();
  }

  void EnterWithOneUpdate(std::size_t caseNumber) {
    if (run.EnterEvidence(caseNumber)) {
      MarkResults(run);
      network.UpdateBeliefs();
    }
  }

  // Every update of the case, for a case whose last one leaves older numbers. False if they are older still.
  bool RunAlone(const EvidenceSnapshot& before, std::size_t caseNumber, std::vector<double>& row) {
    StartFrom(before);
    run.EnterCase(caseNumber);
    row.clear();
    return !run.ReadPosteriors(row) && IsWritten(row);
  }

  // The case, and the rest of the chunk, after as many earlier cases as it takes.
  Failure RunFromFarther(ChunkQueue& queue, const Chunk& chunk, std::size_t failed, Rows& rows) {
    for (std::size_t back = 0;; back = 2 * back + 1) {
      const Chunk start = queue.ChunkAt(chunk.number - std::min(back, chunk.number));
      StartFrom(queue.StartOf(start.number));
      for (std::size_t caseNumber = start.first; caseNumber < failed; ++caseNumber) {
        run.EnterCase(caseNumber);
      }
      std::vector<double> row;
      run.EnterCase(failed);
      if (Failure failure = run.ReadPosteriors(row)) {
        return failure;
      }
      if (IsWritten(row) || start.number == 0) {
        rows[failed] = std::move(row);
        break;
      }
    }
    for (std::size_t caseNumber = failed + 1; caseNumber < chunk.end; ++caseNumber) {
      run.EnterCase(caseNumber);
      rows[caseNumber].clear();
      if (Failure failure = run.ReadPosteriors(rows[caseNumber])) {
        return failure;
      }
    }
    return std::nullopt;
  }

  QVR_network network;
  CaseRun run;
};

// What ended the run first, in whatever thread.
class FirstFault {
 public:
  void Note(Failure newFailure) {
    const std::lock_guard lock(mutex);
    if (!failure) {
      failure = std::move(newFailure);
    }
  }
  void Note(std::exception_ptr newException) {
    const std::lock_guard lock(mutex);
    exception = std::move(newException);
  }
  // Once all threads have ended: throws what one of them threw.
  [[nodiscard]] Failure Result() const {
    if (exception) {
      std::rethrow_exception(exception);
    }
    return failure;
  }

 private:
  std::mutex mutex;
  Failure failure;
  std::exception_ptr exception;
};

// Whether the evidence alone decides what an update writes. Samplers also need the random numbers of one
// thread, and what is no discrete chance node may keep something from update to update.
bool ForgetsAllButEvidence(const QVR_network& network) {
  switch (network.GetBeliefAlgorithm()) {
    case ALG_JOIN_TREE:
    case ALG_POLYTREE:
    case ALG_CLIQUE_TREE:
    case ALG_RELEVANCE_BATCHES:
    case ALG_RELEVANCE_HALVING:
      return IsDiscreteChanceNetwork(network);
    default:
      return false;
  }
}

// The update before the first case. False, with results as new ones are, if it leaves one out: then numbers
// older than the first case might be read.
bool FirstUpdateWritesAll(const CaseRun& run) {
  MarkResults(run);
  run.Network().UpdateBeliefs();
  std::vector<double> row;
  if (!run.ReadPosteriors(row) && IsWritten(row)) {
    return true;
  }
  for (QVR_node* const node : run.ResultNodes()) {
    node->value->GetMatrix()->Fill(0.0);
  }
  return false;
}

}  // namespace

Failure RunCasesOnThreads(QVR_network& network, const BatchNodes& nodes, const IntColumns& caseColumns,
                          int jobs, const CaseProgress& progress, Rows& resultRows) {
  CaseRun scout(network, nodes, caseColumns);
  const std::size_t caseCount = caseColumns[0].size();
  if (!ForgetsAllButEvidence(network) || !FirstUpdateWritesAll(scout)) {
    return RunAllCases(scout, caseCount, progress, resultRows);
  }
  ChunkQueue queue(scout, caseCount, jobs);
  Rows rows(caseCount);
  std::atomic<std::size_t> done = 0;
  FirstFault fault;
  std::vector<std::unique_ptr<ChunkWorker>> workers;  // the scout's network must stand still while copied
  for (std::size_t i = 0; i < std::min(caseCount, static_cast<std::size_t>(jobs)); ++i) {
    workers.push_back(std::make_unique<ChunkWorker>(network, nodes, caseColumns));
  }
  const auto work = [&](ChunkWorker& worker) {
    try {
      for (Chunk chunk; queue.Take(chunk);) {
        if (Failure failure = worker.RunChunk(queue, chunk, rows)) {
          fault.Note(std::move(failure));
          queue.Stop();
          return;
        }
        queue.Finish(chunk.number, worker.Network());
        done += chunk.end - chunk.first;
        if (progress) {
          progress(done);
        }
      }
    } catch (...) {
      fault.Note(std::current_exception());
      queue.Stop();
    }
  };
  {
    std::vector<std::jthread> threads;
    for (std::size_t i = 1; i < workers.size(); ++i) {
      threads.emplace_back(work, std::ref(*workers[i]));
    }
    work(*workers[0]);
  }
  if (Failure failure = fault.Result()) {
    return failure;
  }
  std::move(rows.begin(), rows.end(), std::back_inserter(resultRows));
  return std::nullopt;
}

}  // namespace qvr
