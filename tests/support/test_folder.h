// A temporary folder that goes with the test.
#ifndef QVR_SUPPORT_TEST_FOLDER_H
#define QVR_SUPPORT_TEST_FOLDER_H

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <set>
#include <sstream>
#include <stdexcept>
#include <string>

namespace qvr {

inline std::string ReadWhole(const std::filesystem::path& path) {
  std::ostringstream text;
  text << std::ifstream(path, std::ios::binary).rdbuf();
  return text.str();
}

class TestFolder {
 public:
  explicit TestFolder(const std::filesystem::path& parent = std::filesystem::temp_directory_path()) {
    std::string name = (parent / "qvr_test_XXXXXX").string();
    if (mkdtemp(name.data()) == nullptr) {
      throw std::runtime_error("no temporary folder");
    }
    path = name;
  }
  ~TestFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path, ignored);
  }
  TestFolder(const TestFolder&) = delete;
  TestFolder& operator=(const TestFolder&) = delete;

  [[nodiscard]] const std::filesystem::path& Path() const { return path; }
  [[nodiscard]] std::string Path(const std::string& name) const { return (path / name).string(); }
  // Returns the path of the file.
  std::string Write(const std::string& name, const std::string& content) const {
    std::ofstream(path / name, std::ios::binary) << content;
    return Path(name);
  }
  [[nodiscard]] std::string Read(const std::string& name) const { return ReadWhole(path / name); }
  [[nodiscard]] std::set<std::string> FileNames() const {
    std::set<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(path)) {
      names.insert(entry.path().filename().string());
    }
    return names;
  }

 private:
  std::filesystem::path path;
};

}  // namespace qvr

#endif
