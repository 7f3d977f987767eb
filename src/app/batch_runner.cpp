#include "app/batch_runner.h"

#include "app/case_run.h"

namespace qvr {

void DescribeColumns(const QVR_network& network, const BatchNodes& nodes,
                     std::vector<double>& outcomeIndexRow, std::vector<std::string>& resultHeader) {
  for (const NamedNode& result : nodes.results) {
    const int outcomeCount = network.NodeAt(result.handle)->definition->GetOutcomeNames()->GetNumItems();
    for (int outcome = 0; outcome < outcomeCount; ++outcome) {
      resultHeader.push_back(result.id);
      outcomeIndexRow.push_back(outcome);
    }
  }
}

Failure RunAllCases(CaseRun& run, std::size_t caseCount, const CaseProgress& progress,
                    std::vector<std::vector<double>>& resultRows) {
  run.Network().UpdateBeliefs();
  for (std::size_t caseNumber = 0; caseNumber < caseCount; ++caseNumber) {
    run.EnterCase(caseNumber);
    std::vector<double>& probabilityRow = resultRows.emplace_back();
    if (Failure failure = run.ReadPosteriors(probabilityRow)) {
      return failure;
    }
    if (progress) {
      progress(caseNumber + 1);
    }
  }
  return std::nullopt;
}

Failure RunCases(const StringRows& symptomNames, const StringRows& resultNames, const IntColumns& caseColumns,
                 std::vector<std::vector<double>>& resultRows, std::vector<std::string>& resultHeader) {
  const BatchFiles files;
  if (Failure failure = CheckWidth(files, symptomNames, caseColumns)) {
    return failure;
  }
  QVR_network network;
  BatchNodes nodes;
  if (Failure failure = PrepareNetwork(files, symptomNames, resultNames, network, nodes)) {
    return failure;
  }
  network.SetBeliefAlgorithm(ALG_JOIN_TREE);
  DescribeColumns(network, nodes, resultRows.emplace_back(), resultHeader);
  CaseRun run(network, nodes, caseColumns);
  return RunAllCases(run, caseColumns[0].size(), nullptr, resultRows);
}

}  // namespace qvr
