// Batch folders with independent answers, where a checkout has them beside it.
#include <gtest/gtest.h>

#include "app/batch_folder.h"
#include "app/shared_cases.h"

namespace qvr {
namespace {

// The result table has six significant digits.
constexpr double kTolerance = 2e-6;

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
  const BatchFolder folder;
  if (!CopyCaseFolder(GetParam(), folder.Path())) {
    GTEST_SKIP() << "no batch folder, or one for release only";
  }
  const RunOutcome outcome = folder.Run();
  ASSERT_EQ(outcome.exitCode, 0) << outcome.output;

  const std::vector<std::vector<std::string>> expected =
      CellsOf(ReadWhole(CaseFolder() / GetParam() / "expected.csv"));
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
