// Runs programs as a user does.
#ifndef QVR_TESTS_APP_RUN_SHELL_H
#define QVR_TESTS_APP_RUN_SHELL_H

#include <sys/wait.h>

#include <array>
#include <cstdio>
#include <string>

namespace qvr {

struct RunOutcome {
  int exitCode = -1;   // -1 if the program didn't end by itself
  std::string output;  // of standard output
};

inline RunOutcome RunShell(const std::string& command) {
  RunOutcome outcome;
  std::FILE* const pipe = popen(command.c_str(), "r");
  std::array<char, 4096> block;
  for (std::size_t length = 0; (length = std::fread(block.data(), 1, block.size(), pipe)) > 0;) {
    outcome.output.append(block.data(), length);
  }
  const int status = pclose(pipe);
  outcome.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  return outcome;
}

}  // namespace qvr

#endif
