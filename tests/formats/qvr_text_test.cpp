// The engine's own text format: what it keeps of all classes of nodes, and what the reader says of faults.
#include "definitions/equation.h"
#include "definitions/mau.h"
#include "definitions/noisy_max.h"
#include "formats/text_readers.h"

namespace qvr {
namespace {

TEST_F(TextReaders, QvrTextKeepsWhatOtherFormatsLose) {
  const std::string longText =
      std::string(90, 'w') + "  \\ \"q\" \t\n\xE9 // /* " + std::string(80, ' ') + "|;}";
  QVR_submodelHandler& submodels = network.GetSubmodels();
  const int outer = submodels.CreateSubmodel(QVR_submodelHandler::kMainSubmodel, "outer");
  const int inner = submodels.CreateSubmodel(outer, "inner");
  const int late = submodels.CreateSubmodel(QVR_submodelHandler::kMainSubmodel, "late");
  ASSERT_EQ(submodels.MoveSubmodel(outer, late), 0);
  submodels.GetSubmodel(inner)->header.SetComment(longText.c_str());
  const int a = AddChance(network, "a", 3, {}, {0.25, 0.5, 0.25});
  const int d = network.AddNode(kTypeList, "d");
  const int u = network.AddNode(kTypeTable, "u");
  const int m = network.AddNode(kTypeMau, "m");
  const int x = AddEquation(network, "x", "x=1", -3, 4);
  const int y = AddEquation(network, "y", "y=x*2+Normal(0,1)");
  ASSERT_EQ(network.AddArc(a, u, kOrdinaryLayer) + network.AddArc(d, m, kOrdinaryLayer) +
                network.AddArc(u, m, kOrdinaryLayer) + network.AddArc(a, d, kCostLayer),
            0);
  std::string reason;
  const std::vector<std::string> formulas = {"u*2", "u+1"};
  ASSERT_EQ(static_cast<QVR_mau&>(*network.NodeAt(m)->definition).SetExpressions(formulas, reason), 0);
  ASSERT_EQ(
      static_cast<QVR_equation&>(*network.NodeAt(x)->definition).SetDiscIntervals({{"low", 0.5}, {"", 4}}),
      0);
  QVR_doubleArray costs;
  for (const double cost : {1.5, -2.0, kNotAvailable}) {
    costs.Add(cost);
  }
  ASSERT_EQ(network.NodeAt(d)->cost->SetCosts(costs), 0);
  QVR_node& node = *network.NodeAt(a);
  node.SetSubmodel(inner);
  node.info->header.SetComment(longText.c_str());
  node.info->userProperties.Add("p", longText.c_str());
  node.info->documentation.titles.Add("t");
  node.info->documentation.links.Add("l");
  node.info->screen.arcFlags = QVR_screenInfo::kShowOutArcs;
  node.extra->diagnosisType = 1;
  node.extra->SetFault(2, 1);
  node.extra->SetDefaultOutcome(1);
  node.extra->SetStateComment(0, longText.c_str());
  network.SetTarget(a);
  network.sampleCount = 77;
  ASSERT_EQ(network.SaveFile(folder.Path("a.qvr").c_str(), 0, nullptr), 0);
  QVR_network loaded;
  ASSERT_EQ(loaded.LoadFile(folder.Path("a.qvr").c_str(), 0, nullptr), 0);
  ExpectMessages({});
  const QVR_node& read = *loaded.NodeAt(loaded.FindNode("a"));
  EXPECT_EQ(read.info->header.GetComment(), longText);
  EXPECT_STREQ(read.info->userProperties.GetValue(0), longText.c_str());
  EXPECT_STREQ(read.extra->GetStateComments().Get(0), longText.c_str());
  EXPECT_EQ(loaded.GetSubmodels().GetSubmodel(read.submodel)->header.GetComment(), longText);
  EXPECT_EQ(ListOf(read.extra->GetFaultStates()), (std::vector<int>{0, 0, 1}));
  const QVR_Dmatrix& readCosts = loaded.NodeAt(loaded.FindNode("d"))->cost->GetCosts();
  EXPECT_EQ(readCosts.Subscript(1), -2.0);
  EXPECT_TRUE(IsNotAvailable(readCosts.Subscript(2)));
  const auto& equation = static_cast<const QVR_equation&>(*loaded.NodeAt(loaded.FindNode("x"))->definition);
  EXPECT_EQ(equation.GetUpperBound(), 4);
  EXPECT_EQ(equation.GetDiscIntervals().at(0).id, "low");
  EXPECT_EQ(loaded.GetNumberOfParents(loaded.FindNode("y")), 1);
  EXPECT_EQ(y, network.FindNode("y"));
  // Whatever the first file says, the second one says as well.
  ASSERT_EQ(loaded.SaveFile(folder.Path("b.qvr").c_str(), 0, nullptr), 0);
  EXPECT_EQ(folder.Read("a.qvr"), folder.Read("b.qvr"));
}

// A noisy-or of two causes against the formula: 1 - (1 - leak) times what each present cause leaves.
TEST_F(TextReaders, QvrTextReadsNoisyOrAndAnd) {
  const std::string parents =
      "net n { node a { TYPE = CPT; DEFINITION = { PROBABILITIES = (0.5, 0.5); }; };\n"
      "node b { TYPE = CPT; DEFINITION = { PROBABILITIES = (0.5, 0.5); }; };\n";
  const std::string child =
      "PARENTS = (a, b); DEFINITION = { PROBABILITIES = (0.8, 0.2, 0.6, 0.4, 0.1, 0.9); }; }; };";
  ASSERT_EQ(Load(kFormatText, parents + "node c { TYPE = NOISY_OR; " + child), 0);
  ExpectMessages({});
  EXPECT_STREQ(network.NodeAt(2)->definition->GetTypeName(), "NOISY_MAX");
  const Cells table = CellsOf(network, 2);
  ASSERT_EQ(table.size(), 8U);
  const double both = 1 - 0.9 * (0.2 / 0.9) * (0.4 / 0.9);  // compound parameters have the leak in them
  const double expected[] = {both, 1 - both, 0.8, 0.2, 0.6, 0.4, 0.1, 0.9};
  for (std::size_t i = 0; i < table.size(); ++i) {
    EXPECT_NEAR(table[i], expected[i], 1e-12) << i;
  }
  // The same of the complements: outcomes and the parents' states change places.
  ASSERT_EQ(Load(kFormatText, parents + "node c { TYPE = NOISY_AND; " + child), 0);
  ExpectMessages({});
  EXPECT_STREQ(network.NodeAt(2)->definition->GetOutcomeNames()->Get(0), "State1");
  const Cells reversed = CellsOf(network, 2);
  for (std::size_t row = 0; row < 4; ++row) {
    EXPECT_NEAR(reversed[2 * row], expected[2 * (3 - row)], 1e-12) << row;
  }
}

TEST_F(TextReaders, QvrTextGoesOnBehindFaults) {
  ASSERT_EQ(
      Load(kFormatText,
           "net n {\nodd { a; }; ODD = 1; HEADER = { ID = 5; ODD = \"};\"; NAME = \"t\"; };\nSHOWAS = 9; /# "
           "/# #/ #/\n"
           "SCREENCOMMENT = { (1, 2), \";\" }; SCREENCOMMENT = { (1, 2, 3, 4), \"box\" };\n"
           "submodel s { PARENT = nowhere; }; submodel s { HEADER = { }; };\n"
           "node c { PARENTS = (z, a); TYPE = NONSENSE; SUBMODEL = nowhere; odd; TARGET = 1;\n"
           "  DEFINITION = { PROBABILITIES = (1, 2, 3);\n NAMESTATES = (x); UTILITIES = (1); ODD = (; };\n"
           "  EXTRA_DEFINITION = { STATECOMMENTS = (\"1\"); DEFAULT_STATE = 5; }; };\n"
           "node a { TYPE = NOISY_MAX; PARENTS = (c); DEFINITION = { STRENGTHS = ((x, x)); PROBABILITIES = "
           "(1); }; }\n"
           "node a { }; node _b_ { PARENTS = (c, c, _b_); DEFINITION = { PROBABILITIES = (0.25, 0.75, 1, 0); "
           "}; };\n"
           "OBSERVATION_COST { node z { }; node a { PARENTS = (c, a); COSTS = (1, 2, 3); }; };\n};"),
      0);
  ExpectMessages({"(line 2) : ERROR: 'odd' : Unknown Net Statement",
                  "ERROR: 'ODD' : Unknown Net Field",
                  "ERROR: '5' : Identifier expected",
                  "ERROR: 'ODD' : Unknown Header Statement",
                  "(line 4) : ERROR: Wrong Number Of Screen Coordinates",
                  "(line 5) : ERROR: (\"nowhere\") : Unknown Submodel",
                  "ERROR: Couldn't Create Submodel (\"s\")",
                  "(line 6) : ERROR: 'NONSENSE' : Unknown Node Type",
                  "Invalid submodel",
                  "ERROR: 'odd' : Unknown Node Statement",
                  "ERROR: '1' : Identifier expected",
                  "ERROR: 'ODD' : Unknown Definition Statement",
                  "(line 8) : ERROR: Node [c] was expecting 2 numbers but 1 were read",
                  "(line 6) : ERROR: Couldn't add arc from node [z] to node [c]",
                  "(line 6) : ERROR: Couldn't add arc from node [a] to node [c]",
                  "(line 7) : ERROR: Node [c] was expecting 2 numbers but 3 were read",
                  "(line 8) : ERROR: 'UTILITIES' : Unknown Definition Statement",
                  "(line 9) : Wrong number of state comments",
                  "SetDefaultOutcome failed",
                  "ERROR: NoisyMAX strengths are inconsistent for parent 0",
                  "ERROR: Node [a] was expecting 6 numbers but 1 were read",
                  "(line 11) : ERROR: 'node' : ';' expected",
                  "ERROR: Couldn't add arc from node [c] to node [x_b_]",
                  "ERROR: Couldn't add arc from node [_b_] to node [x_b_]",
                  "(line 12) : ERROR: Couldn't Find Node (\"z\")",
                  "ERROR: Couldn't add cost arc from node [a] to node [a]",
                  "ERROR: Node [a] was expecting 2 numbers but 3 were read"});
  EXPECT_EQ(network.GetNumberOfNodes(), 3);
  EXPECT_EQ(NumbersOf(network, Find("x_b_")), (Cells{0.25, 0.75, 1, 0}));
  const QVR_submodel& main = *network.GetSubmodels().GetSubmodel(QVR_submodelHandler::kMainSubmodel);
  EXPECT_EQ(main.textBoxes.boxes.GetNumItems(), 1);
  EXPECT_EQ(main.header.GetName(), "t");
  EXPECT_EQ(Load(kFormatText, "bnet n { node a { }; };"), 0);
  ExpectMessages({});
  EXPECT_EQ(network.GetNumberOfNodes(), 0);
}

}  // namespace
}  // namespace qvr
