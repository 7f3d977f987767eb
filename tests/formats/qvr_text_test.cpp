// The engine's own text format: what it keeps of all classes of nodes, and what the reader says of faults.
#include <algorithm>
#include <cmath>

#include "formats/text_readers.h"
#include "model/special_numbers.h"
#include "support/network_equality.h"
#include "support/random_rich_network.h"

namespace qvr {
namespace {

// Back to what they are in a new network: the format has no words for these.
void ResetWhatIsNotWritten(QVR_network& network) {
  const QVR_network usual;
  network.discSamples = usual.discSamples;
  network.discAvoidZero = usual.discAvoidZero;
  network.rejectOutliers = usual.rejectOutliers;
  network.SetEpisParameters(usual.GetEpisParameters());
  for (const int handle : AllNodes(network)) {
    for (int i = 0; i < network.NodeAt(handle)->GetNumberOfOutcomes(); ++i) {
      QVR_documentation& links = *network.NodeAt(handle)->extra->GetStateDocumentation(i);
      links.titles.Flush();
      links.links.Flush();
    }
  }
}

// Eight decimals behind the point, and all digits of what is greater. Tables may follow from parameters.
std::string FindLoss(QVR_network& made, QVR_network& loaded) {
  const NetworkFields a = ListFields(made);
  NetworkFields b = ListFields(loaded);
  for (std::size_t i = 0; i < std::min(a.numbers.size(), b.numbers.size()); ++i) {
    const auto& [path, number] = a.numbers[i];
    const double tolerance = path.ends_with(".table") ? 1e-7 : 5.1e-9;
    if (std::abs(number - b.numbers[i].second) <= tolerance && !IsUndefined(number) &&
        !IsNotAvailable(number)) {
      b.numbers[i].second = number;
    }
  }
  return FirstDifference(a, b, 1e-15);
}

TEST_F(TextReaders, QvrTextKeepsRandomNetworks) {
  for (unsigned seed = 0; seed < 100; ++seed) {
    SCOPED_TRACE(seed);
    TestRandom random(seed);
    QVR_network made;
    QVR_network loaded;
    ASSERT_TRUE(FillRichNetwork(static_cast<RichKind>(seed % 4), random, made));
    ASSERT_TRUE(AddRandomCosts(random, made));
    ResetWhatIsNotWritten(made);
    GetErrorLog().Clear();
    ASSERT_EQ(made.SaveFile(folder.Path("a.qvr").c_str(), 0, nullptr), 0);
    ASSERT_EQ(loaded.LoadFile(folder.Path("a.qvr").c_str(), 0, nullptr), 0);
    ExpectMessages({});
    ASSERT_EQ(loaded.CheckInvariants(), "");
    ASSERT_EQ(FindLoss(made, loaded), "") << folder.Read("a.qvr");
    // Whatever the first file says, the second one says as well.
    ASSERT_EQ(loaded.SaveFile(folder.Path("b.qvr").c_str(), 0, nullptr), 0);
    ASSERT_EQ(folder.Read("a.qvr"), folder.Read("b.qvr"));
  }
}

TEST_F(TextReaders, QvrTextKeepsLongTexts) {
  const std::string text = std::string(90, 'w') + "  \\ \"q\" \t\n\xE9 // /* " + std::string(80, ' ') + "|;}";
  const int a = AddChance(network, "a", 2, {}, {0.25, 0.75});
  QVR_node& node = *network.NodeAt(a);
  node.info->header.SetComment(text.c_str());
  node.info->userProperties.Add("p", text.c_str());
  node.info->screen.arcFlags = QVR_screenInfo::kShowOutArcs;
  node.extra->SetStateComment(0, text.c_str());
  ASSERT_EQ(network.SaveFile(folder.Path("a.qvr").c_str(), 0, nullptr), 0);
  QVR_network loaded;
  ASSERT_EQ(loaded.LoadFile(folder.Path("a.qvr").c_str(), 0, nullptr), 0);
  ExpectMessages({});
  EXPECT_EQ(FindLoss(network, loaded), "");
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
  ASSERT_EQ(Load(kFormatText, "net _Unnamed_Network_ { HEADER = { ID = _Unnamed_Network_; }; };"), 0);
  ExpectMessages({});
  EXPECT_EQ(network.GetSubmodels().GetSubmodel(QVR_submodelHandler::kMainSubmodel)->header.GetId(),
            "x_Unnamed_Network_");
  EXPECT_EQ(Load(kFormatText, "bnet n { node a { }; };"), 0);
  ExpectMessages({});
  EXPECT_EQ(network.GetNumberOfNodes(), 0);
}

}  // namespace
}  // namespace qvr
