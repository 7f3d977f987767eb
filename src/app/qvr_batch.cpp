// qvr-batch: runs the cases of the working directory through its network.
#include <csignal>
#include <cstdio>
#include <exception>

#include "app/batch_runner.h"
#include "app/failure.h"
#include "app/result_table.h"

namespace {

qvr::Failure RunBatch() {
  const qvr::BatchFiles files;
  const qvr::CsvTable table;
  qvr::IntColumns caseColumns;
  if (qvr::Failure failure = table.ReadIntTable(files.cases, caseColumns)) {
    return failure;
  }
  qvr::StringRows resultNames;
  if (qvr::Failure failure = table.ReadStringTable(files.resultNames, resultNames)) {
    return failure;
  }
  qvr::StringRows symptomNames;
  if (qvr::Failure failure = table.ReadStringTable(files.symptomNames, symptomNames)) {
    return failure;
  }
  std::vector<std::vector<double>> resultRows;
  std::vector<std::string> resultHeader;
  if (qvr::Failure failure =
          qvr::RunCases(symptomNames, resultNames, caseColumns, resultRows, resultHeader)) {
    return failure;
  }
  return qvr::WriteResultTable(files.results, resultRows, resultHeader);
}

}  // namespace

int main() {
  // A limit on file sizes then fails the write, and the run ends like any other that can't write.
  std::signal(SIGXFSZ, SIG_IGN);
  try {
    if (qvr::Failure failure = RunBatch()) {
      std::fprintf(stderr, "qvr-batch: %s\n", qvr::OneLine(*failure).c_str());
      return 1;
    }
  } catch (const std::exception&) {  // what containers throw when memory is short
    std::fputs("qvr-batch: out of memory\n", stderr);
    return 1;
  }
  return 0;
}
