// The commands of qvr through its program: what they print, and how they refuse wrong use.
#include <gtest/gtest.h>

#include <cmath>
#include <map>
#include <nlohmann/json.hpp>
#include <vector>

#include "app/command_folder.h"

namespace qvr {
namespace {

// With b = x the posterior of a is 3/4, 1/4: its prior is even.
constexpr const char* kPair = R"(
<cpt id="a"><state id="yes"/><state id="no"/><probabilities>0.5 0.5</probabilities></cpt>
<cpt id="b"><state id="x"/><state id="y"/><parents>a</parents><probabilities>0.75 0.25 0.25 0.75</probabilities></cpt>)";

// The moral graph is a square with one diagonal: two cliques of three binary nodes.
constexpr const char* kDiamond = R"(
<cpt id="a" target="true"><state id="y"/><state id="n"/><probabilities>0.5 0.5</probabilities></cpt>
<cpt id="b"><state id="y"/><state id="n"/><parents>a</parents><probabilities>.6 .4 .5 .5</probabilities></cpt>
<cpt id="c"><state id="y"/><state id="n"/><parents>a</parents><probabilities>.3 .7 .2 .8</probabilities></cpt>
<cpt id="d"><state id="y"/><state id="n"/><parents>b c</parents>
<probabilities>.1 .9 .2 .8 .3 .7 .4 .6</probabilities></cpt>)";

// A forecast, the choice that knows it, and the harvest: cold has probability 0.31.
constexpr const char* kGarden = R"(
<cpt id="Frost"><state id="yes"/><state id="no"/><probabilities>0.3 0.7</probabilities></cpt>
<cpt id="Forecast"><state id="cold"/><state id="mild"/><parents>Frost</parents>
<probabilities>0.8 0.2 0.1 0.9</probabilities></cpt>
<decision id="Cover"><state id="do"/><state id="leave"/><parents>Forecast</parents></decision>
<utility id="Harvest"><utilities>60 0 80 100</utilities><parents>Frost Cover</parents></utility>)";

class Command : public testing::Test {
 protected:
  Command() {
    folder.WriteNetwork("pair.xqvr", kPair);
    folder.WriteNetwork("diamond.xqvr", kDiamond);
    folder.WriteNetwork("garden.xqvr", kGarden);
    folder.WriteNetwork("copy.xqvr", R"(
<cpt id="a"><state id="yes"/><state id="no"/><probabilities>0.5 0.5</probabilities></cpt>
<deterministic id="b"><state id="x"/><state id="y"/><parents>a</parents>
<resultingstates>x y</resultingstates></deterministic>)");
  }

  // Exit code 0 and nothing on standard error.
  std::string Output(const std::string& arguments) {
    const CommandOutcome run = folder.Run(arguments);
    EXPECT_EQ(run.exitCode, 0) << arguments;
    EXPECT_EQ(run.errors, "") << arguments;
    return run.output;
  }
  nlohmann::json Json(const std::string& arguments) {
    return nlohmann::json::parse(Output(arguments + " --format json"));
  }
  void ExpectWords(const std::string& text, const std::vector<std::string>& words) {
    for (const std::string& word : words) {
      EXPECT_NE(text.find(word), std::string::npos) << word << " isn't in " << text;
    }
  }

  CommandFolder folder;
};

TEST_F(Command, PrintsExactText) {
  const std::string full = "\u2588\u2588\u2588\u2588\u2588\u2588\u2588\u2588\u2588\u2588";  // a quarter
  const struct {
    const char* arguments;
    std::string output;
  } kCases[] = {
      {"infer pair.xqvr -e b=x",
       "a (CPT)\n  yes  0.75        " + full + full + full + "\n  no   0.25        " + full +
           "\nb (CPT, observed)\n  x  1           " + full + full + full + full + "\n  y  0\n"},
      {"infer pair.xqvr --evidence b=0 -t a --format csv",
       "node,condition,outcome,value,valid\na,,yes,0.75,true\na,,no,0.25,true\n"},
      {"infer pair.xqvr --soft b=3,1 -t a --format csv -a polytree",
       "node,condition,outcome,value,valid\na,,yes,0.625,true\na,,no,0.375,true\n"},
      {"infer copy.xqvr -e b=y -t a",
       "a (CPT, deduced)\n  yes  0\n  no   1           " + full + full + full + full + "\n"},
      {"eval 1+2*3", "7\n"},
      {"eval '-x^2' x=3", "9\n"},  // the sign binds closer than the power
      {"eval '-h' h=2", "-2\n"},
      {"eval 'x/y' x=1 --seed 4 y=-8", "-0.125\n"},
      {"eval 'If(x>1,10,20)' x=1.5", "10\n"},
      {"check pair.xqvr", "pair.xqvr: 2 nodes, no fault found\n"},
      {"--version", "qvr 0.1.0\n"},
  };
  for (const auto& item : kCases) {
    EXPECT_EQ(Output(item.arguments), item.output) << item.arguments;
  }
}

TEST_F(Command, TellsAnswersAsJson) {
  const nlohmann::json pair = Json("infer pair.xqvr -e b=x -t a");
  EXPECT_EQ(pair, nlohmann::json::parse(R"({"network": "net", "status": 0, "nodes": [{"id": "a",
    "type": "CPT", "outcomes": ["yes", "no"], "valid": true, "values": [0.75, 0.25], "dimensions": [2]}]})"));

  const nlohmann::json garden = Json("infer garden.xqvr -t Cover -t Harvest")["nodes"];
  ASSERT_EQ(garden.size(), 2U);
  EXPECT_EQ(garden[0]["indexingParents"], nlohmann::json({"Forecast"}));
  EXPECT_EQ(garden[0]["dimensions"], nlohmann::json({2, 2}));
  const double expected[] = {20.0 / 0.31, 7.0 / 0.31, 54.0 / 0.69, 63.0 / 0.69};
  for (std::size_t i = 0; i < 4; ++i) {
    EXPECT_NEAR(garden[0]["values"][i].get<double>(), expected[i], 1e-9);
  }
  EXPECT_FALSE(garden[1].contains("outcomes"));

  // Without a utility the choices have no value.
  folder.WriteNetwork("idle.xqvr",
                      "<decision id=\"d\"><state id=\"x\"/><state id=\"y\"/></decision>"
                      "<utility id=\"u\"><utilities>5</utilities></utility>");
  const nlohmann::json idle = Json("infer idle.xqvr -t d")["nodes"][0];
  EXPECT_EQ(idle["values"], nlohmann::json({nullptr, nullptr}));
}

TEST_F(Command, TellsWhatIsNotValid) {
  const CommandOutcome loopy = folder.Run("infer pair.xqvr -e b=x -t a -a loopy-belief --format json");
  EXPECT_EQ(loopy.exitCode, 0);
  ExpectWords(loopy.errors, {"note: loopy-belief"});
  const nlohmann::json node = nlohmann::json::parse(loopy.output)["nodes"][0];
  EXPECT_EQ(node["valid"], false);
  EXPECT_NEAR(node["values"][0].get<double>(), 0.75, 1e-9);

  const nlohmann::json best =
      Json("infer garden.xqvr --decision-algorithm shachter -e Forecast=cold -t Cover -t Frost")["nodes"];
  EXPECT_EQ(best[0]["values"], nlohmann::json({1.0, 0.0}));
  EXPECT_EQ(best[1]["valid"], false);
  EXPECT_FALSE(best[1].contains("values"));
}

TEST_F(Command, SamplersTakeSeedAndCount) {
  const std::string arguments = "infer diamond.xqvr -e d=y -a likelihood-weighting --format csv --samples ";
  EXPECT_EQ(Output(arguments + "200 --seed 5"), Output(arguments + "200 --seed 5"));
  EXPECT_NE(Output(arguments + "200 --seed 5"), Output(arguments + "300 --seed 5"));
}

TEST_F(Command, RefusesWrongUse) {
  const struct {
    const char* arguments;
    int exitCode;
    std::vector<std::string> words;  // on standard error
  } kCases[] = {
      {"", 2, {"subcommand"}},
      {"nonsense", 2, {"nonsense"}},
      {"infer", 2, {"FILE"}},
      {"infer pair.xqvr --nonsense", 2, {"--nonsense"}},
      {"infer pair.xqvr -a fast", 2, {"fast", "join-tree"}},
      {"infer pair.xqvr --decision-algorithm x", 2, {"cooper"}},
      {"infer pair.xqvr --format xml", 2, {"xml"}},
      {"infer pair.xqvr --samples 0", 2, {"--samples"}},
      {"infer pair.xqvr --seed -1", 2, {"--seed"}},
      {"infer pair.xqvr -e a", 2, {"'a'", "NODE=OUTCOME"}},
      {"infer pair.xqvr -e a=", 2, {"NODE=OUTCOME"}},
      {"infer pair.xqvr --soft a=0.1,x", 2, {"'a=0.1,x'"}},
      {"infer absent.xqvr", 1, {"Can't open file absent.xqvr\n", "qvr infer: absent.xqvr", "-103"}},
      {"infer pair.foo", 1, {"Unknown File Format\n", "qvr infer: pair.foo"}},
      {"infer pair.xqvr -e nobody=yes", 1, {"qvr infer: the network has no node 'nobody'"}},
      {"infer pair.xqvr -e gr\u00f6\u00dfe=1", 1, {"'gr\u00f6\u00dfe'"}},
      {"infer pair.xqvr -t nobody", 1, {"'nobody'"}},
      {"infer pair.xqvr -e a=maybe", 1, {"node 'a' has no outcome 'maybe'"}},
      {"infer pair.xqvr -e a=2", 1, {"'2'"}},
      {"infer pair.xqvr -e a=99999999999", 1, {"'99999999999'"}},
      {"infer pair.xqvr -e a=0 --soft a=1,1", 1, {"'a'", "twice"}},
      {"infer pair.xqvr --soft a=1,1,1", 1, {"'a'", "2 numbers"}},
      {"infer pair.xqvr --soft a=0,0", 1, {"'a=0,0' is refused"}},
      {"infer copy.xqvr -e a=yes -e b=y", 1, {"'b=y' is refused", "-26"}},
      {"infer garden.xqvr -e Harvest=5", 1, {"'Harvest=5' is refused"}},
      {"infer diamond.xqvr -a polytree", 1, {"qvr infer: the update failed"}},
      {"eval '1+*'", 1, {"qvr eval: character 3"}},
      {"eval 'x+y' x=1", 1, {"'y'"}},
      {"eval 1 x=1", 1, {"'x=1'"}},
      {"eval x x=a", 2, {"'x=a'"}},
      {"eval", 2, {"EXPR"}},
      {"sample pair.xqvr", 2, {"--count"}},
      {"sample pair.xqvr --count -5", 2, {"--count"}},
      {"sample garden.xqvr --count 1", 1, {"'Cover'"}},
      {"draw pair.xqvr picture.gif", 2, {"picture.gif"}},
      {"draw pair.xqvr", 2, {"OUT"}},
      {"draw pair.xqvr no/folder.dot", 1, {"qvr draw: no/folder.dot"}},
      {"info", 2, {"FILE"}},
      {"info absent.xqvr", 1, {"qvr info: absent.xqvr"}},
      {"check", 2, {"FILE"}},
      {"infer pair.xqvr >/dev/full", 1, {"can't write the results"}},
  };
  for (const auto& item : kCases) {
    SCOPED_TRACE(item.arguments);
    const CommandOutcome run = folder.Run(item.arguments);
    EXPECT_EQ(run.exitCode, item.exitCode);
    EXPECT_EQ(run.output, "");
    ExpectWords(run.errors, item.words);
  }
}

TEST_F(Command, KeepsTheStatusOfAFailedUpdate) {
  const CommandOutcome run = folder.Run("infer diamond.xqvr -a polytree --format json");
  EXPECT_EQ(run.exitCode, 1);
  EXPECT_LT(nlohmann::json::parse(run.output)["status"], 0);
}

TEST_F(Command, ChecksFiles) {
  folder.WriteNetwork("bad.xqvr", R"(
<cpt id="a" h="red"><state id="x"/><state id="y"/><probabilities>0.5 0.6</probabilities></cpt>
<cpt id="b"><state id="x"/><state id="y"/><parents>a</parents><probabilities>0.5 0.5 -0.5 1.5</probabilities></cpt>
<cpt id="c"><state id="x"/><state id="y"/><probabilities>nan 1</probabilities></cpt>
<noisymax id="d"><state id="x"/><state id="y"/><parents>a</parents><strengths>0 1</strengths>
<parameters>0.5 0.6 0 1 0.1 0.9</parameters></noisymax>
<cpt id="e"><state id="x"/><state id="y"/><probabilities>0 1</probabilities></cpt><gr&#xf6;sse/>)");
  const CommandOutcome cut = folder.Run("check bad.xqvr");
  EXPECT_EQ(cut.exitCode, 1);
  ExpectWords(cut.output, {"Error at 7, "});

  std::string text = folder.Read("bad.xqvr");
  text.replace(text.find("<gr&#xf6;sse/>"), 14, "<gr\u00f6sse/>");
  folder.Write("bad.xqvr", text);
  const CommandOutcome run = folder.Run("check bad.xqvr");
  EXPECT_EQ(run.exitCode, 1);
  ExpectWords(run.output, {"unknown attribute 'h' in 'cpt' at 2, ", "'gr\u00f6sse' at",
                           "node 'a': the numbers sum to 1.1", "node 'b': given a=y: the number -0.5",
                           "node 'c': a number is missing", "node 'd': "});
  EXPECT_EQ(run.output.find("node 'e'"), std::string::npos);
}

TEST_F(Command, DescribesNetworks) {
  ExpectWords(Output("info diamond.xqvr"),
              {"nodes           4\n", "CPT           4\n", "arcs            4, at most 2 parents\n",
               "18 numbers, at most 8 (d)", "2 cliques in 1 component\n",
               "width         2, the largest clique has 8 entries\n", "16 entries\n"});
  ExpectWords(Output("info garden.xqvr"), {"LIST          1\n", "at most 4 scenarios"});
}

TEST_F(Command, SamplesTheJointDistribution) {
  constexpr int kCount = 20'000;
  const std::string text = Output("sample pair.xqvr --seed 7 --count " + std::to_string(kCount));
  EXPECT_EQ(text, Output("sample pair.xqvr --seed 7 --count " + std::to_string(kCount)));
  EXPECT_NE(text, Output("sample pair.xqvr --seed 8 --count " + std::to_string(kCount)));
  std::istringstream lines(text);
  std::string line;
  std::getline(lines, line);
  EXPECT_EQ(line, "a,b");
  std::map<std::string, int> counts;
  while (std::getline(lines, line)) {
    ++counts[line];
  }
  EXPECT_EQ(counts.size(), 4U);
  for (const auto& [cells, p] :
       std::map<std::string, double>{{"yes,x", 0.375}, {"yes,y", 0.125}, {"no,x", 0.125}, {"no,y", 0.375}}) {
    EXPECT_NEAR(counts[cells], kCount * p, 5 * std::sqrt(kCount * p * (1 - p))) << cells;
  }
}

TEST_F(Command, DrawsGraphs) {
  Output("draw garden.xqvr plain.dot");
  const std::string plain = folder.Read("plain.dot");
  EXPECT_TRUE(plain.starts_with("digraph"));
  ExpectWords(plain,
              {"label=\"Frost\", shape=ellipse", "label=\"Cover\", shape=box",
               "label=\"Harvest\", shape=hexagon", "n0 -> n1;", "n1 -> n2;", "n0 -> n3;", "n2 -> n3;"});
  Output("draw pair.xqvr bars.dot -e b=x");
  ExpectWords(folder.Read("bars.dot"), {"<b>b (observed)</b>", "0.75<", "width=\"45\""});

  const CommandOutcome absent = folder.Run("draw pair.xqvr a.svg", "PATH=/nowhere");
  EXPECT_EQ(absent.exitCode, 1);
  ExpectWords(absent.errors, {"Graphviz"});
  if (RunShell("command -v dot").exitCode != 0) {
    GTEST_SKIP() << "Graphviz isn't installed";
  }
  for (const char* graph : {"garden.xqvr", "pair.xqvr -e b=x"}) {
    Output("draw " + std::string(graph).insert(std::string(graph).find(".xqvr") + 5, " a.svg"));
    ExpectWords(folder.Read("a.svg"), {"<svg", "</svg>"});
    Output("draw " + std::string(graph).insert(std::string(graph).find(".xqvr") + 5, " a.png"));
    EXPECT_TRUE(folder.Read("a.png").starts_with("\x89PNG"));
  }
  EXPECT_EQ(folder.Run("draw pair.xqvr no/folder.svg").exitCode, 1);
}

TEST_F(Command, HelpsAndCompletes) {
  const std::string commands =
      RunShell("bash -c \"source '" QVR_SOURCE_DIR "/src/app/command/qvr.bash'; COMP_WORDS=('" QVR_COMMAND
               "' ''); COMP_CWORD=1; _qvr; echo \\${COMPREPLY[@]}\"")
          .output;
  EXPECT_EQ(commands, "infer batch info check sample eval draw --help --version\n");
  ExpectWords(Output("--help"), {"Example: qvr "});
  for (const std::string command : {"infer", "batch", "info", "check", "sample", "eval", "draw"}) {
    ExpectWords(Output(command + " --help"), {"Example: qvr " + command});
  }
  const struct {
    const char* words;
    const char* expected;
  } kCases[] = {
      {"infer -a li", "likelihood-weighting likelihood-weighting-2\n"},
      {"infer --format ''", "table json csv\n"},
      {"batch --pre", "--precision\n"},
      {"info pai", "pair.xqvr\n"},
  };
  for (const auto& item : kCases) {
    const std::string script =
        "source '" QVR_SOURCE_DIR "/src/app/command/qvr.bash'\nCOMP_WORDS=('" QVR_COMMAND "' " +
        std::string(item.words) + ")\nCOMP_CWORD=$((${#COMP_WORDS[@]} - 1))\n_qvr\necho ${COMPREPLY[@]}\n";
    folder.Write("complete.sh", script);
    EXPECT_EQ(RunShell("cd '" + folder.Path().string() + "' && bash complete.sh").output, item.expected)
        << item.words;
  }
}

}  // namespace
}  // namespace qvr
