// A temporary folder to run qvr-batch in.
#ifndef QVR_TESTS_APP_BATCH_FOLDER_H
#define QVR_TESTS_APP_BATCH_FOLDER_H

#include <filesystem>
#include <string>

#include "app/run_shell.h"
#include "support/test_folder.h"

namespace qvr {

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
    return RunShell(command);
  }
};

}  // namespace qvr

#endif
