// qvr batch: the same files as qvr-batch, byte for byte, on any number of threads.
#include <gtest/gtest.h>

#include <filesystem>
#include <random>

#include "app/batch_folder.h"
#include "app/shared_cases.h"

namespace qvr {
namespace {

namespace fs = std::filesystem;

RunOutcome RunQvr(const BatchFolder& folder, const std::string& arguments) {
  return RunShell("cd '" + folder.Path().string() + "' && '" QVR_COMMAND "' batch " + arguments + " 2>&1");
}

void ExpectSameFiles(const BatchFolder& folder) {
  const RunOutcome reference = folder.Run();
  ASSERT_EQ(reference.exitCode, 0) << reference.output;
  for (const char* jobs : {"1", "2", "3"}) {
    const RunOutcome run = RunQvr(folder, "--output threads.csv --jobs " + std::string(jobs));
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.output, "");
    EXPECT_EQ(folder.Read("threads.csv"), folder.Read("resultdata.csv")) << jobs << " jobs";
  }
}

class SharedBatches : public testing::TestWithParam<std::string> {};

TEST_P(SharedBatches, AreTheSame) {
  const BatchFolder folder;
  if (!CopyCaseFolder(GetParam(), folder.Path())) {
    GTEST_SKIP() << "no batch folder, or one for release only";
  }
  ExpectSameFiles(folder);
}

INSTANTIATE_TEST_SUITE_P(Folders, SharedBatches, testing::ValuesIn(CaseNames()),
                         [](const testing::TestParamInfo<std::string>& folder) { return folder.param; });

// Each of x, y and z alone rules out one outcome of h; together they are impossible, which only an update
// finds out. Its failure leaves older numbers to be read. `d` copies z, so that evidence is deduced.
constexpr const char* kContradiction = R"(<orbel version="1.0" id="n"><nodes>
<cpt id="h"><state id="a"/><state id="b"/><state id="c"/><probabilities>0.2 0.3 0.5</probabilities></cpt>
<cpt id="x"><state id="n"/><state id="y"/><parents>h</parents><probabilities>1 0 0.3 0.7 0.4 0.6</probabilities></cpt>
<cpt id="y"><state id="n"/><state id="y"/><parents>h</parents><probabilities>0.2 0.8 1 0 0.1 0.9</probabilities></cpt>
<cpt id="z"><state id="n"/><state id="y"/><parents>h</parents><probabilities>0.6 0.4 0.3 0.7 1 0</probabilities></cpt>
<cpt id="d"><state id="n"/><state id="y"/><parents>z</parents><probabilities>1 0 0 1</probabilities></cpt>
<cpt id="w"><state id="n"/><state id="y"/><parents>d</parents><probabilities>0.1 0.9 0.8 0.2</probabilities></cpt>
</nodes></orbel>)";

// Random cases, with runs of contradictory ones that are longer than what a thread takes at a time.
std::string LingeringCases(unsigned seed) {
  std::mt19937 random(seed);
  std::string text;
  for (int line = 0; line < 300; ++line) {
    if (random() % 60 == 0) {
      const unsigned length = random() % 3 == 0 ? 150 : 4;
      for (unsigned i = 0; i < length; ++i) {
        text += "1,1,1,-1\n";
      }
    }
    for (int column = 0; column < 4; ++column) {
      text += std::to_string(static_cast<int>(random() % 4) % 3 - 1) + (column < 3 ? "," : "\n");
    }
  }
  return text;
}

TEST(CommandBatch, ContradictionsLinger) {
  const BatchFolder folder;
  folder.Write("kvtnetwork.xqvr", kContradiction);
  folder.Write("csvofresult.csv", "h\nw\nz\nd\n");
  for (const char* symptoms : {"x\ny\nz\nd\n", "z\nx\ny\nw\n"}) {
    folder.Write("csvofsymps.csv", symptoms);
    for (const unsigned seed : {1U, 2U}) {
      SCOPED_TRACE(seed);
      folder.Write("csvofanalyzedata.csv", LingeringCases(seed).c_str());
      ExpectSameFiles(folder);
    }
  }
}

// Nothing can be kept from update to update in a decision network: one thread does it.
TEST(CommandBatch, DecisionsAreTheSame) {
  const BatchFolder folder;
  folder.Write("kvtnetwork.xqvr", R"(<orbel version="1.0" id="n"><nodes>
<cpt id="f"><state id="c"/><state id="m"/><probabilities>0.3 0.7</probabilities></cpt>
<decision id="d"><state id="x"/><state id="y"/><parents>f</parents></decision>
<utility id="u"><utilities>60 0 80 100</utilities><parents>f d</parents></utility></nodes></orbel>)");
  folder.Write("csvofsymps.csv", "f\nd\n");
  folder.Write("csvofresult.csv", "d\nf\n");
  folder.Write("csvofanalyzedata.csv", "-1,-1\n0,-1\n1,1\n-1,-1\n0,0\n");
  ExpectSameFiles(folder);
}

class CommandBatchOptions : public testing::Test {
 protected:
  CommandBatchOptions() {
    fs::create_directory(folder.Path() / "in");
    folder.Write("in/kvtnetwork.xqvr", R"(<orbel version="1.0" id="n"><nodes>
<cpt id="a"><state id="yes"/><state id="no"/><probabilities>0.25 0.75</probabilities></cpt>
<cpt id="b"><state id="x"/><state id="y"/><probabilities>0.0009765625 0.9990234375</probabilities></cpt>
</nodes></orbel>)");
    folder.Write("in/csvofsymps.csv", "a\n");
    folder.Write("in/csvofresult.csv", "a\nb\n");
    folder.Write("in/csvofanalyzedata.csv", "-1\n1\n");
  }
  BatchFolder folder;
};

TEST_F(CommandBatchOptions, ChooseFilesAndStyle) {
  const std::string plain =
      "a,a,b,b,\n0,1,0,1,\n0.25,0.75,0.000976562,0.999023,\n0,1,0.000976562,0.999023,\n";
  EXPECT_EQ(RunQvr(folder, "--dir in").exitCode, 0);
  EXPECT_EQ(folder.Read("in/resultdata.csv"), plain);
  EXPECT_EQ(
      RunQvr(folder,
             "--network in/kvtnetwork.xqvr --cases in/csvofanalyzedata.csv --symptoms in/csvofsymps.csv "
             "--results in/csvofresult.csv -o mine.csv")
          .exitCode,
      0);
  EXPECT_EQ(folder.Read("mine.csv"), plain);
  EXPECT_EQ(RunQvr(folder, "--dir in/ --header --precision 10 -j 2 -o mine.csv").exitCode, 0);
  EXPECT_EQ(folder.Read("mine.csv"),
            "a=yes,a=no,b=x,b=y\n0.25,0.75,0.0009765625,0.9990234375\n0,1,0.0009765625,0.9990234375\n");
}

TEST_F(CommandBatchOptions, RefuseWrongUse) {
  folder.Write("bad.csv", "a\nnobody\n");
  folder.Write("words.csv", "1\none\n");
  const struct {
    const char* arguments;
    int exitCode;
    const char* word;
  } kCases[] = {
      {"--dir in --jobs 0", 2, "--jobs"},
      {"--dir in --precision 18", 2, "--precision"},
      {"--dir in -a quick", 2, "quick"},
      {"", 1, "qvr batch: csvofanalyzedata.csv: can't open the file"},
      {"--dir in --network absent.xqvr", 1, "absent.xqvr"},
      {"--dir in --results bad.csv", 1, "bad.csv:2: the network has no node 'nobody'"},
      {"--dir in --symptoms bad.csv", 1,
       "in/csvofanalyzedata.csv:1: the line has 1 fields, bad.csv has 2 lines"},
      {"--dir in --cases words.csv", 1, "words.csv:2:1: invalid stoi argument"},
      {"--dir in -o no/folder.csv", 1, "no/folder.csv"},
  };
  for (const auto& item : kCases) {
    const RunOutcome run = RunQvr(folder, item.arguments);
    EXPECT_EQ(run.exitCode, item.exitCode) << item.arguments;
    EXPECT_NE(run.output.find(item.word), std::string::npos) << item.arguments << ": " << run.output;
    EXPECT_FALSE(fs::exists(folder.Path() / "in/resultdata.csv")) << item.arguments;
  }
}

}  // namespace
}  // namespace qvr
