// A batch run: enters cases as evidence, one after the other, and collects the posteriors of the results.
#ifndef QVR_APP_BATCH_RUNNER_H
#define QVR_APP_BATCH_RUNNER_H

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

#include "app/case_run.h"
#include "app/csv_table.h"

namespace qvr {

// Told how many cases are done, from whatever thread did the last.
using CaseProgress = std::function<void(std::size_t)>;

// Appends the outcome number and the node's identifier for each column of the results.
void DescribeColumns(const QVR_network& network, const BatchNodes& nodes,
                     std::vector<double>& outcomeIndexRow, std::vector<std::string>& resultHeader);
// Runs the cases one after the other, from a network without evidence, and appends a row for each. Evidence
// stays from case to case until its column says otherwise. `progress` may be empty.
[[nodiscard]] Failure RunAllCases(CaseRun& run, std::size_t caseCount, const CaseProgress& progress,
                                  std::vector<std::vector<double>>& resultRows);

// Loads the network of the working directory and runs every case on it. Column i of the cases is the evidence
// on the node that row i of `symptomNames` names in its first field; an outcome that the node doesn't have
// leaves it unobserved. Evidence stays from case to case until its column says otherwise. The first of
// `resultRows` holds the outcome numbers, each further one the posteriors after a case; `resultHeader` names
// the node of each column. Fails without results for a network that doesn't load (unless there are no names
// at all), an unknown name and a result without outcomes.
[[nodiscard]] Failure RunCases(const StringRows& symptomNames, const StringRows& resultNames,
                               const IntColumns& caseColumns, std::vector<std::vector<double>>& resultRows,
                               std::vector<std::string>& resultHeader);

}  // namespace qvr

#endif
