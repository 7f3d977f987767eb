// A temporary folder to run qvr-batch in.
#ifndef QVR_TESTS_APP_BATCH_FOLDER_H
#define QVR_TESTS_APP_BATCH_FOLDER_H

#include <filesystem>
#include <set>
#include <string>
#include <vector>

namespace qvr {

struct RunOutcome {
  int exitCode = -1;   // -1 if the program didn't end by itself
  std::string output;  // of both streams
};

class BatchFolder {
 public:
  BatchFolder();
  ~BatchFolder();
  BatchFolder(const BatchFolder&) = delete;
  BatchFolder& operator=(const BatchFolder&) = delete;

  // A null text removes the file.
  void Write(const std::string& name, const char* text) const;
  [[nodiscard]] std::string Read(const std::string& name) const;
  // The inputs of a run.
  void CopyInputs(const std::filesystem::path& from) const;
  [[nodiscard]] std::set<std::string> FileNames() const;
  [[nodiscard]] const std::filesystem::path& Path() const { return path; }

  // Runs qvr-batch, behind shell commands that set the stage.
  [[nodiscard]] RunOutcome Run(const std::string& shellCommands = "") const;

 private:
  std::filesystem::path path;
};

// The comma-separated fields of each line of a text; what follows the last comma isn't one.
[[nodiscard]] std::vector<std::vector<std::string>> CellsOf(const std::string& text);

}  // namespace qvr

#endif
