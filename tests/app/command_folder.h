// A temporary folder with small networks to run qvr in.
#ifndef QVR_TESTS_APP_COMMAND_FOLDER_H
#define QVR_TESTS_APP_COMMAND_FOLDER_H

#include <string>

#include "app/run_shell.h"
#include "support/test_folder.h"

namespace qvr {

struct CommandOutcome {
  int exitCode = -1;
  std::string output;
  std::string errors;
};

class CommandFolder : public TestFolder {
 public:
  // Behind shell text such as variables of the environment.
  [[nodiscard]] CommandOutcome Run(const std::string& arguments, const std::string& before = "") const {
    const RunOutcome run = RunShell("cd '" + Path().string() + "' && " + before + " '" QVR_COMMAND "' " +
                                    arguments + " 2>errors.txt");
    return {run.exitCode, run.output, Read("errors.txt")};
  }
  // A network of these elements.
  void WriteNetwork(const std::string& file, const std::string& nodes) const {
    Write(file, "<orbel version=\"1.0\" id=\"net\"><nodes>" + nodes + "</nodes></orbel>");
  }
};

}  // namespace qvr

#endif
