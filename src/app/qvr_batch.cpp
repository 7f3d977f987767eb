// qvr-batch: runs the cases of the working directory through its network.
#include <algorithm>
#include <csignal>
#include <cstdio>
#include <exception>

#include "app/batch_runner.h"
#include "app/result_table.h"

namespace {

qvr::Failure RunBatch() {
  const qvr::CsvTable table;
  qvr::IntColumns caseColumns;
  if (qvr::Failure failure = table.ReadIntTable(qvr::kCaseFile, caseColumns)) {
    return failure;
  }
  qvr::StringRows resultNames;
  if (qvr::Failure failure = table.ReadStringTable(qvr::kResultNameFile, resultNames)) {
    return failure;
  }
  qvr::StringRows symptomNames;
  if (qvr::Failure failure = table.ReadStringTable(qvr::kSymptomNameFile, symptomNames)) {
    return failure;
  }
  std::vector<std::vector<double>> resultRows;
  std::vector<std::string> resultHeader;
  if (qvr::Failure failure =
          qvr::RunCases(symptomNames, resultNames, caseColumns, resultRows, resultHeader)) {
    return failure;
  }
  return qvr::WriteResultTable(qvr::kResultFile, resultRows, resultHeader);
}

// Texts from files may hold line ends and other control characters; a failure stays one line.
void PrintFailure(std::string text) {
  std::replace_if(
      text.begin(), text.end(), [](char c) { return static_cast<unsigned char>(c) < ' ' || c == '\x7f'; },
      '?');
  std::fprintf(stderr, "qvr-batch: %s\n", text.c_str());
}

}  // namespace

int main() {
  // A limit on file sizes then fails the write, and the run ends like any other that can't write.
  std::signal(SIGXFSZ, SIG_IGN);
  try {
    if (qvr::Failure failure = RunBatch()) {
      PrintFailure(*failure);
      return 1;
    }
  } catch (const std::exception&) {  // what containers throw when memory is short
    std::fputs("qvr-batch: out of memory\n", stderr);
    return 1;
  }
  return 0;
}
