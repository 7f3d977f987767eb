// Good and bad batch folders around a network of two nodes, whose posteriors are worked out here.
#include <gtest/gtest.h>

#include <algorithm>

#include "app/batch_folder.h"

namespace qvr {
namespace {

constexpr const char* kNetwork = R"(<?xml version="1.0"?>
<orbel version="1.0" id="two_nodes"><nodes>
<cpt id="a"><state id="yes"/><state id="no"/><probabilities>0.00002 0.99998</probabilities></cpt>
<cpt id="b"><state id="x"/><state id="y"/><state id="z"/><parents>a</parents>
<probabilities>0.1 0.9 0 0.5 0.25 0.25</probabilities></cpt>
</nodes></orbel>)";

constexpr int kNone = -1;

// What is known of the two nodes, as outcome numbers.
struct Evidence {
  int a;
  int b;
};

// The posterior cells of a and b, from the six products of the joint table.
std::array<double, 5> Posteriors(Evidence evidence) {
  constexpr double kPrior[2] = {0.00002, 0.99998};
  constexpr double kTable[2][3] = {{0.1, 0.9, 0}, {0.5, 0.25, 0.25}};
  std::array<double, 5> cells{};
  double sum = 0;
  for (int a = 0; a < 2; ++a) {
    for (int b = 0; b < 3; ++b) {
      if ((evidence.a == kNone || evidence.a == a) && (evidence.b == kNone || evidence.b == b)) {
        const double p = kPrior[a] * kTable[a][b];
        cells[static_cast<std::size_t>(a)] += p;
        cells[static_cast<std::size_t>(2 + b)] += p;
        sum += p;
      }
    }
  }
  for (double& cell : cells) {
    cell /= sum;
  }
  return cells;
}

std::string ExpectedTable(const std::vector<Evidence>& cases) {
  std::string text = "b,b,b,a,a,\n0,1,2,0,1,\n";
  for (const Evidence& evidence : cases) {
    const std::array<double, 5> p = Posteriors(evidence);
    char line[200];
    std::snprintf(line, sizeof line, "%g,%g,%g,%g,%g,\n", p[2], p[3], p[4], p[0], p[1]);
    text += line;
  }
  return text;
}

class BatchRunner : public testing::Test {
 protected:
  BatchRunner() {
    folder.Write("kvtnetwork.xqvr", kNetwork);
    folder.Write("csvofsymps.csv", "a\nb\n");
    folder.Write("csvofresult.csv", "b\na\n");
    folder.Write("csvofanalyzedata.csv", "-1,0\n");
  }

  void ExpectSuccess(const std::string& table, const std::string& shellCommands = "") {
    const RunOutcome outcome = folder.Run(shellCommands);
    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_EQ(outcome.output, "");
    EXPECT_EQ(folder.Read("resultdata.csv"), table);
  }

  // Exit code 1, one line that holds all the words, and not a trace in the folder.
  void ExpectFailure(const std::vector<std::string>& words, const std::string& shellCommands = "") {
    const std::set<std::string> filesBefore = folder.FileNames();
    const std::string tableBefore = folder.Read("resultdata.csv");
    const RunOutcome outcome = folder.Run(shellCommands);
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_EQ(std::count(outcome.output.begin(), outcome.output.end(), '\n'), 1) << outcome.output;
    for (const std::string& word : words) {
      EXPECT_NE(outcome.output.find(word), std::string::npos) << word << " isn't in " << outcome.output;
    }
    EXPECT_EQ(folder.FileNames(), filesBefore);
    EXPECT_EQ(folder.Read("resultdata.csv"), tableBefore);
  }

  BatchFolder folder;
};

TEST_F(BatchRunner, ReadsCases) {
  const struct {
    const char* purpose;
    const char* cases;
    std::vector<Evidence> expected;
  } kCases[] = {
      {"one case without evidence", "-1,-1\n", {{kNone, kNone}}},
      {"each kind of evidence", "0,-1\n-1,1\n1,2\n-1,0\n", {{0, kNone}, {kNone, 1}, {1, 2}, {kNone, 0}}},
      {"the same evidence again", "-1,2\n-1,2\n", {{kNone, 2}, {kNone, 2}}},
      {"outcomes that don't exist retract",
       "1,1\n2,3\n1,1\n-7,100\n",
       {{1, 1}, {kNone, kNone}, {1, 1}, {kNone, kNone}}},
      {"no line end at the end", "1,1\n0,0", {{1, 1}, {0, 0}}},
      {"byte order mark and CR LF",
       "\xEF\xBB\xBF"
       "1,1\r\n0,0\r\n",
       {{1, 1}, {0, 0}}},
      {"trailing commas", "1,1,\n0,0,\n", {{1, 1}, {0, 0}}},
      {"white space, signs and what follows a number",
       " 1,+1\n\t\v0x3,0.9\n-0,1-1\n",
       {{1, 1}, {0, 0}, {0, 1}}},
      {"surplus columns", "1,1,5\n0,0,6,7\n", {{1, 1}, {0, 0}}},
      {"evidence that is impossible is refused", "0,2\n", {{0, kNone}}},
      {"evidence of the case before still rules out that of this one",
       "1,2\n0,-1\n",
       {{1, 2}, {kNone, kNone}}},
  };
  for (const auto& item : kCases) {
    SCOPED_TRACE(item.purpose);
    folder.Write("csvofanalyzedata.csv", item.cases);
    ExpectSuccess(ExpectedTable(item.expected));
  }
}

TEST_F(BatchRunner, ReadsNames) {
  for (const char* names : {"a,Node A,yes\nb,\n",
                            "\xEF\xBB\xBF"
                            "a\r\nb,\r\n",
                            "a\nb"}) {
    SCOPED_TRACE(names);
    folder.Write("csvofsymps.csv", names);
    ExpectSuccess(ExpectedTable({{kNone, 0}}));
  }
  folder.Write("csvofsymps.csv", nullptr);
  ExpectSuccess(ExpectedTable({{kNone, kNone}}));
  folder.Write("csvofresult.csv", nullptr);
  ExpectSuccess("\n\n\n");
  folder.Write("kvtnetwork.xqvr", nullptr);
  ExpectSuccess("\n\n\n");
}

TEST_F(BatchRunner, ReplacesAnOldTable) {
  folder.Write("resultdata.csv", "old\n");
  const std::set<std::string> filesBefore = folder.FileNames();
  ExpectSuccess(ExpectedTable({{kNone, 0}}));
  EXPECT_EQ(folder.FileNames(), filesBefore);
}

TEST_F(BatchRunner, RefusesBadInput) {
  constexpr const char* kCases = "csvofanalyzedata.csv";
  constexpr const char* kInvalid = "invalid stoi argument";
  constexpr const char* kOutOfRange = "stoi argument out of range";
  const struct {
    const char* file;
    const char* text;
    std::vector<std::string> words;
  } kBad[] = {
      {kCases, nullptr, {kCases}},
      {kCases, "", {kCases}},
      {kCases, "\n1,1\n", {"csvofanalyzedata.csv:1"}},
      {kCases, "\r\n1,1\r\n", {"csvofanalyzedata.csv:1"}},
      {kCases, "a,b\n1,1\n", {"csvofanalyzedata.csv:1:1", kInvalid, "'a'"}},
      {kCases, "1,1\n1, \n", {"csvofanalyzedata.csv:2:2", kInvalid}},
      {kCases, "1,,1\n", {"csvofanalyzedata.csv:1:2", kInvalid}},
      {kCases, "1,1,,\n", {"csvofanalyzedata.csv:1:3", kInvalid}},
      {kCases, "1,+-1\n", {"csvofanalyzedata.csv:1:2", kInvalid}},
      {kCases, "1,1\n1,2147483648\n", {"csvofanalyzedata.csv:2:2", kOutOfRange}},
      {kCases, "-99999999999999999999,1\n", {"csvofanalyzedata.csv:1:1", kOutOfRange}},
      {kCases, "1,1,1\n1,1\n", {"csvofanalyzedata.csv:2"}},
      {kCases, "1,1\n\n1,1\n", {"csvofanalyzedata.csv:2"}},
      {kCases, "1\n", {kCases, "csvofsymps.csv"}},
      {"csvofsymps.csv", "a\nnobody\n", {"csvofsymps.csv:2", "'nobody'"}},
      {"csvofsymps.csv", "a\n\n", {"csvofsymps.csv:2"}},
      {"csvofsymps.csv", ",\nb\n", {"csvofsymps.csv:1", "''"}},
      {"csvofresult.csv", "a\nb\n no\033body\n", {"csvofresult.csv:3", "' no?body'"}},
      {"csvofresult.csv", "\r\na\n", {"csvofresult.csv:1"}},
      {"kvtnetwork.xqvr", nullptr, {"kvtnetwork.xqvr"}},
      {"kvtnetwork.xqvr", "<orbel", {"kvtnetwork.xqvr"}},
      {"kvtnetwork.xqvr",
       "<orbel version='1.0' id='n'><nodes><cpt id='a'><state id='x'/><state id='y'/>\n"
       "<probabilities>1</probabilities></cpt></nodes></orbel>",
       {"kvtnetwork.xqvr", "SetProbabilities failed"}},
  };
  folder.Write("resultdata.csv", "old\n");
  for (const auto& item : kBad) {
    SCOPED_TRACE(std::string(item.file) + " is " + (item.text == nullptr ? "missing" : item.text));
    const std::string before = folder.Read(item.file);
    folder.Write(item.file, item.text);
    ExpectFailure(item.words);
    folder.Write(item.file, before.c_str());
  }
  ExpectSuccess(ExpectedTable({{kNone, 0}}));
}

TEST_F(BatchRunner, KeepsTheOldTableWhenItCannotWrite) {
  folder.Write("resultdata.csv", "old\n");
  ExpectFailure({"resultdata.csv"}, "ulimit -f 0;");
  folder.Write("resultdata.csv", nullptr);
  std::filesystem::create_directories(folder.Path() / "resultdata.csv" / "occupied");
  ExpectFailure({"resultdata.csv"});
}

}  // namespace
}  // namespace qvr
