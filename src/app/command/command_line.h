// The command line of qvr.
#ifndef QVR_APP_COMMAND_COMMAND_LINE_H
#define QVR_APP_COMMAND_COMMAND_LINE_H

namespace qvr {

// Runs the command that the arguments name. The exit code: 0 done, 1 failed, 2 wrong use.
[[nodiscard]] int RunCommandLine(int argumentCount, const char* const* arguments);

}  // namespace qvr

#endif
