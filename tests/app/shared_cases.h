// The batch folders that a checkout may have beside it.
#ifndef QVR_TESTS_APP_SHARED_CASES_H
#define QVR_TESTS_APP_SHARED_CASES_H

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

namespace qvr {

#ifdef NDEBUG
inline constexpr bool kReleaseBuild = true;
#else
inline constexpr bool kReleaseBuild = false;
#endif

inline std::filesystem::path CaseFolder() { return std::filesystem::path(QVR_SHARED_DIR) / "cases"; }

// "absent" alone if there are none.
inline std::vector<std::string> CaseNames() {
  std::vector<std::string> names;
  std::error_code absent;
  for (const std::filesystem::directory_entry& entry :
       std::filesystem::directory_iterator(CaseFolder(), absent)) {
    if (entry.is_directory()) {
      names.push_back(entry.path().filename().string());
    }
  }
  std::sort(names.begin(), names.end());
  return names.empty() ? std::vector<std::string>{"absent"} : names;
}

// Large networks; with sanitizers on they would take minutes.
inline bool IsSlow(const std::string& name) {
  return !kReleaseBuild && (name == "barley" || name == "pigs" || name == "andes");
}

// The inputs of a batch run. False if there are none, or none that this build can run in reasonable time.
inline bool CopyCaseFolder(const std::string& name, const std::filesystem::path& target) {
  const std::filesystem::path source = CaseFolder() / name;
  if (!std::filesystem::exists(source) || IsSlow(name)) {
    return false;
  }
  for (const char* file : {"kvtnetwork.xqvr", "csvofanalyzedata.csv", "csvofsymps.csv", "csvofresult.csv"}) {
    std::filesystem::copy_file(source / file, target / file);
  }
  return true;
}

}  // namespace qvr

#endif
