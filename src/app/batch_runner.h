// A batch run: enters cases as evidence, one after the other, and collects the posteriors of the results.
#ifndef QVR_APP_BATCH_RUNNER_H
#define QVR_APP_BATCH_RUNNER_H

#include <string>
#include <vector>

#include "app/csv_table.h"

namespace qvr {

// The files of a run, in the working directory.
inline constexpr const char* kCaseFile = "csvofanalyzedata.csv";
inline constexpr const char* kResultNameFile = "csvofresult.csv";
inline constexpr const char* kSymptomNameFile = "csvofsymps.csv";
inline constexpr const char* kNetworkFile = "kvtnetwork.xqvr";
inline constexpr const char* kResultFile = "resultdata.csv";

// Loads the network and runs every case on it. Column i of the cases is the evidence on the node that row i
// of `symptomNames` names in its first field; an outcome that the node doesn't have leaves it unobserved.
// Evidence stays from case to case until its column says otherwise. The first of `resultRows` holds the
// outcome numbers, each further one the posteriors after a case; `resultHeader` names the node of each
// column. Fails without results for a network that doesn't load (unless there are no names at all), an
// unknown name and a result without outcomes.
[[nodiscard]] Failure RunCases(const StringRows& symptomNames, const StringRows& resultNames,
                               const IntColumns& caseColumns, std::vector<std::vector<double>>& resultRows,
                               std::vector<std::string>& resultHeader);

}  // namespace qvr

#endif
