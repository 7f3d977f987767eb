// A temporary folder to run qvr-batch in.
#ifndef QVR_TESTS_APP_BATCH_FOLDER_H
#define QVR_TESTS_APP_BATCH_FOLDER_H

#include <sys/wait.h>

#include <array>
#include <cstdio>
#include <filesystem>
#include <string>

#include "support/test_folder.h"

namespace qvr {

struct RunOutcome {
  int exitCode = -1;   // -1 if the program didn't end by itself
  std::string output;  // of both streams
};

class BatchFolder : public TestFolder {
 public:
  // A null text removes the file.
  void Write(const std::string& name, const char* text) const {
    if (text == nullptr) {
      std::filesystem::remove(Path() / name);
    } else {
      TestFolder::Write(name, text);
    }
  }
  // Runs qvr-batch, behind shell commands that set the stage.
  [[nodiscard]] RunOutcome Run(const std::string& shellCommands = "") const {
    const std::string command = "cd '" + Path().string() + "' && " + shellCommands + " '" QVR_BATCH "' 2>&1";
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
};

}  // namespace qvr

#endif
