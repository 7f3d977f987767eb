// The two streams of a command.
#ifndef QVR_APP_COMMAND_OUTPUT_H
#define QVR_APP_COMMAND_OUTPUT_H

#include <string>
#include <string_view>

#include "app/failure.h"

namespace qvr {

// To standard output. What can't be written is told by FinishOutput.
void PrintResult(std::string_view utf8);
[[nodiscard]] Failure FinishOutput();
// To standard error.
void PrintNote(const std::string& utf8);
// A message of the error log as one line, with its end.
[[nodiscard]] std::string MessageLine(int i);
// The messages of the error log to standard error, and out of the log.
void PrintMessages();

}  // namespace qvr

#endif
