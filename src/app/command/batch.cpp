// qvr batch: a table of cases, on one or several threads.
#include <utility>

#include "app/batch_runner.h"
#include "app/command/commands.h"
#include "app/command/network_input.h"
#include "app/command/progress_bar.h"
#include "app/parallel_cases.h"
#include "app/result_table.h"
#include "model/error_log.h"

namespace qvr {

namespace {

struct BatchInput {
  IntColumns cases;
  StringRows symptomNames;
  StringRows resultNames;
};

void Choose(const std::string& folder, const std::string& given, std::string& file) {
  if (!given.empty()) {
    file = given;
  } else if (!folder.empty()) {
    file = folder + (folder.ends_with('/') ? "" : "/") + file;
  }
}

BatchFiles FilesOf(const BatchOptions& options) {
  BatchFiles files;
  Choose(options.folder, options.network, files.network);
  Choose(options.folder, options.cases, files.cases);
  Choose(options.folder, options.symptomNames, files.symptomNames);
  Choose(options.folder, options.resultNames, files.resultNames);
  Choose(options.folder, options.results, files.results);
  return files;
}

Failure ReadInput(const BatchFiles& files, BatchInput& input) {
  const CsvTable table;
  if (Failure failure = table.ReadIntTable(files.cases, input.cases)) {
    return failure;
  }
  if (Failure failure = table.ReadStringTable(files.resultNames, input.resultNames)) {
    return failure;
  }
  if (Failure failure = table.ReadStringTable(files.symptomNames, input.symptomNames)) {
    return failure;
  }
  return CheckWidth(files, input.symptomNames, input.cases);
}

// The columns as NODE=OUTCOME.
std::vector<std::string> NamedColumns(const QVR_network& network, const BatchNodes& nodes) {
  std::vector<std::string> columns;
  for (const NamedNode& result : nodes.results) {
    for (const std::string& outcome : OutcomeIds(*network.NodeAt(result.handle))) {
      columns.push_back(NodeId(network, result.handle) + "=" + outcome);
    }
  }
  return columns;
}

}  // namespace

Failure Batch(const BatchOptions& options) {
  const BatchFiles files = FilesOf(options);
  BatchInput input;
  if (Failure failure = ReadInput(files, input)) {
    return failure;
  }
  QVR_network network;
  BatchNodes nodes;
  if (Failure failure = PrepareNetwork(files, input.symptomNames, input.resultNames, network, nodes)) {
    return failure;
  }
  network.SetBeliefAlgorithm(ALG_JOIN_TREE);
  ApplySolver(options.solver, network);

  std::vector<std::vector<double>> rows;
  std::vector<std::string> header;
  if (options.header) {
    header = NamedColumns(network, nodes);
  } else {
    DescribeColumns(network, nodes, rows.emplace_back(), header);
  }
  {
    ProgressBar bar(input.cases[0].size());
    const CaseProgress progress = [&bar](std::size_t done) { bar.Show(done); };
    if (Failure failure = RunCasesOnThreads(network, nodes, input.cases, options.jobs, progress, rows)) {
      return failure;
    }
  }
  GetErrorLog().Clear();  // refused evidence is part of the job
  return WriteResultTable(files.results, rows, header,
                          {.digits = options.precision, .endsWithComma = !options.header});
}

}  // namespace qvr
