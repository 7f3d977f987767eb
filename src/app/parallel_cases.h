// A batch run on several threads, with the answers of one.
#ifndef QVR_APP_PARALLEL_CASES_H
#define QVR_APP_PARALLEL_CASES_H

#include <vector>

#include "app/batch_runner.h"

namespace qvr {

// As RunAllCases, bit for bit, on `jobs` threads with a copy of the network each. An exact solver on discrete
// chance nodes forgets everything but the evidence between two updates, so that a case can start from the
// evidence that earlier ones leave, and needs one update. All other networks and solvers get one thread.
[[nodiscard]] Failure RunCasesOnThreads(QVR_network& network, const BatchNodes& nodes,
                                        const IntColumns& caseColumns, int jobs, const CaseProgress& progress,
                                        std::vector<std::vector<double>>& resultRows);

}  // namespace qvr

#endif
