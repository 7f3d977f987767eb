// A temporary folder to run qvr-batch in.
#ifndef QVR_TESTS_APP_BATCH_FOLDER_H
#define QVR_TESTS_APP_BATCH_FOLDER_H

#include <gtest/gtest.h>
#include <sys/wait.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <set>
#include <sstream>
#include <string>
#include <vector>

namespace qvr {

struct RunOutcome {
  int exitCode = -1;   // -1 if the program didn't end by itself
  std::string output;  // of both streams
};

inline std::string ReadWhole(const std::filesystem::path& path) {
  std::ostringstream text;
  text << std::ifstream(path, std::ios::binary).rdbuf();
  return text.str();
}

class BatchFolder {
 public:
  BatchFolder() {
    std::string name = (std::filesystem::temp_directory_path() / "qvr_batch_XXXXXX").string();
    EXPECT_NE(mkdtemp(name.data()), nullptr);
    path = name;
  }
  ~BatchFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path, ignored);
  }
  BatchFolder(const BatchFolder&) = delete;
  BatchFolder& operator=(const BatchFolder&) = delete;

  // A null text removes the file.
  void Write(const std::string& name, const char* text) const {
    if (text == nullptr) {
      std::filesystem::remove(path / name);
    } else {
      std::ofstream(path / name, std::ios::binary) << text;
    }
  }
  [[nodiscard]] std::string Read(const std::string& name) const { return ReadWhole(path / name); }
  [[nodiscard]] std::set<std::string> FileNames() const {
    std::set<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(path)) {
      names.insert(entry.path().filename().string());
    }
    return names;
  }
  [[nodiscard]] const std::filesystem::path& Path() const { return path; }

  // Runs qvr-batch, behind shell commands that set the stage.
  [[nodiscard]] RunOutcome Run(const std::string& shellCommands = "") const {
    const std::string command = "cd '" + path.string() + "' && " + shellCommands + " '" QVR_BATCH "' 2>&1";
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

 private:
  std::filesystem::path path;
};

}  // namespace qvr

#endif
