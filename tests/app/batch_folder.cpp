#include "app/batch_folder.h"

#include <sys/wait.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace qvr {

namespace fs = std::filesystem;

BatchFolder::BatchFolder() {
  std::string name = (fs::temp_directory_path() / "qvr_batch_XXXXXX").string();
  if (mkdtemp(name.data()) == nullptr) {
    throw std::runtime_error("no temporary folder");
  }
  path = name;
}

BatchFolder::~BatchFolder() {
  std::error_code ignored;
  fs::remove_all(path, ignored);
}

void BatchFolder::Write(const std::string& name, const char* text) const {
  if (text == nullptr) {
    fs::remove(path / name);
  } else {
    std::ofstream(path / name, std::ios::binary) << text;
  }
}

std::string BatchFolder::Read(const std::string& name) const {
  std::ostringstream text;
  text << std::ifstream(path / name, std::ios::binary).rdbuf();
  return text.str();
}

void BatchFolder::CopyInputs(const fs::path& from) const {
  for (const char* name : {"kvtnetwork.xqvr", "csvofanalyzedata.csv", "csvofsymps.csv", "csvofresult.csv"}) {
    fs::copy_file(from / name, path / name);
  }
}

std::set<std::string> BatchFolder::FileNames() const {
  std::set<std::string> names;
  for (const fs::directory_entry& entry : fs::directory_iterator(path)) {
    names.insert(entry.path().filename().string());
  }
  return names;
}

RunOutcome BatchFolder::Run(const std::string& shellCommands) const {
  const std::string command = "cd '" + path.string() + "' && " + shellCommands + " '" QVR_BATCH "' 2>&1";
  RunOutcome outcome;
  std::FILE* const pipe = popen(command.c_str(), "r");
  if (pipe == nullptr) {
    return outcome;
  }
  std::array<char, 4096> block;
  for (std::size_t length = 0; (length = std::fread(block.data(), 1, block.size(), pipe)) > 0;) {
    outcome.output.append(block.data(), length);
  }
  const int status = pclose(pipe);
  outcome.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  return outcome;
}

std::vector<std::vector<std::string>> CellsOf(const std::string& text) {
  std::vector<std::vector<std::string>> rows;
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);) {
    std::istringstream cells(line);
    rows.emplace_back();
    for (std::string cell; std::getline(cells, cell, ',');) {
      rows.back().push_back(cell);
    }
  }
  return rows;
}

}  // namespace qvr
