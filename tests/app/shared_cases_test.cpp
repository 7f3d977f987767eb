// Batch folders with independent answers, where a checkout has them beside it.
#include <gtest/gtest.h>

#include <algorithm>

#include "app/batch_folder.h"

namespace qvr {
namespace {

namespace fs = std::filesystem;

// The result table has six significant digits.
constexpr double kTolerance = 2e-6;

#ifdef NDEBUG
constexpr bool kReleaseBuild = true;
#else
constexpr bool kReleaseBuild = false;
#endif

// Large networks; with sanitizers on they would take minutes.
bool IsSlow(const std::string& name) { return name == "barley" || name == "pigs" || name == "andes"; }

fs::path CaseFolder() { return fs::path(QVR_SHARED_DIR) / "cases"; }

std::vector<std::string> CaseNames() {
  std::vector<std::string> names;
  std::error_code absent;
  for (const fs::directory_entry& entry : fs::directory_iterator(CaseFolder(), absent)) {
    if (entry.is_directory()) {
      names.push_back(entry.path().filename().string());
    }
  }
  std::sort(names.begin(), names.end());
  return names.empty() ? std::vector<std::string>{"absent"} : names;
}

// The comma-separated fields of each line; what follows the last comma isn't one.
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

class SharedCases : public testing::TestWithParam<std::string> {};

TEST_P(SharedCases, MatchIndependentAnswers) {
  const fs::path source = CaseFolder() / GetParam();
  if (!fs::exists(source)) {
    GTEST_SKIP() << "no batch folders in " << CaseFolder();
  }
  if (!kReleaseBuild && IsSlow(GetParam())) {
    GTEST_SKIP() << "only in release";
  }
  const BatchFolder folder;
  for (const char* name : {"kvtnetwork.xqvr", "csvofanalyzedata.csv", "csvofsymps.csv", "csvofresult.csv"}) {
    fs::copy_file(source / name, folder.Path() / name);
  }
  const RunOutcome outcome = folder.Run();
  ASSERT_EQ(outcome.exitCode, 0) << outcome.output;

  const std::vector<std::vector<std::string>> expected = CellsOf(ReadWhole(source / "expected.csv"));
  const std::vector<std::vector<std::string>> actual = CellsOf(folder.Read("resultdata.csv"));
  ASSERT_GE(expected.size(), 3U);
  ASSERT_EQ(actual.size(), expected.size());
  EXPECT_EQ(actual[0], expected[0]);
  EXPECT_EQ(actual[1], expected[1]);
  for (std::size_t row = 2; row < expected.size(); ++row) {
    ASSERT_EQ(actual[row].size(), expected[row].size());
    for (std::size_t column = 0; column < expected[row].size(); ++column) {
      EXPECT_NEAR(std::stod(actual[row][column]), std::stod(expected[row][column]), kTolerance)
          << "case " << row - 2 << ", " << expected[0][column] << " " << expected[1][column];
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Folders, SharedCases, testing::ValuesIn(CaseNames()),
                         [](const testing::TestParamInfo<std::string>& folder) { return folder.param; });

}  // namespace
}  // namespace qvr
