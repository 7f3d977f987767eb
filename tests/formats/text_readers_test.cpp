// What the readers make of files that other programs write, and what they say of faults.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "definitions/equation.h"
#include "formats/text_readers.h"

namespace qvr {
namespace {

TEST_F(TextReaders, ErgoTellsFromWhereParentsAreCounted) {
  struct {
    const char* text;
    std::vector<std::string> parents;  // of each node in turn
    std::size_t notes;
  } const cases[] = {
      {"2 2 2 0 1 1", {"", "Node0"}, 0},
      {"2 2 2 0 1 0", {"", "Node0"}, 1},
      {"2 2 2 1 2 0", {"Node1", ""}, 0},
      {"3 2 2 3 0 1 1 0 /*probabilities*/ 2 1 1 4 1 1 1 1 3 1 1 1", {"", "Node0", ""}, 0},
      {"3 2 3 2 0 0 1 1 /* Probabilities */ 2 1 1 3 1 1 1 6 1 1 1 1 1 1", {"", "", "Node1"}, 1},
  };
  for (const auto& c : cases) {
    ASSERT_EQ(Load(kFormatErgo, c.text), 0) << c.text;
    EXPECT_EQ(LogGuard::Messages().size(), c.notes) << c.text;
    for (std::size_t i = 0; i < c.parents.size(); ++i) {
      const QVR_intArray& parents = network.GetParents(static_cast<int>(i));
      EXPECT_EQ(parents.GetNumItems() == 0 ? "" : "Node" + std::to_string(parents[0]), c.parents[i])
          << c.text;
    }
  }
}

TEST_F(TextReaders, ErgoGoesOnBehindFaults) {
  ASSERT_EQ(Load(kFormatErgo,
                 "3\n1 2 2\n0 -1 1 7\n/* Other */ x y\n/*Names*/\na b\nc\nc\n/*Labels*/ l1 l2\nm1 m2 n1 n2\n"
                 "/* Probabilities */ 2 3 1\n3 1 1 1\n2 0 0\n/* Centers */ 1 2 3 4 5 -6"),
            0);
  ExpectMessages({"(line 2) : ERROR: '1' : Invalid number of states",
                  "(line 3) : ERROR:'-1' : Invalid number of parents",
                  "(line 4) : ERROR: (\"Other\") : Unknown Section", "ERROR: [c] Duplicated Identifier",
                  "ERROR: Couldn't Add Arc From Parent Node (\"7\")",
                  "(line 12) : ERROR:'c' : Invalid table size"});
  EXPECT_EQ(NumbersOf(network, Find("a_b")), (Cells{0.75, 0.25}));
  EXPECT_EQ(NumbersOf(network, 2), (Cells{0.5, 0.5}));
  EXPECT_EQ(network.NodeAt(2)->info->screen.position.centerY, -6);
  EXPECT_STREQ(network.NodeAt(2)->definition->GetOutcomeNames()->Get(1), "n2");
  EXPECT_EQ(Load(kFormatErgo, "-3"), -2);
  EXPECT_EQ(Load(kFormatErgo, "1000000 2 2"), -2);
  EXPECT_EQ(Load(kFormatErgo, "0"), 0);
  EXPECT_EQ(Load(kFormatErgo, ""), -127);
}

TEST_F(TextReaders, NeticaTakesEveryFormOfTable) {
  struct {
    const char* fields;
    int type;
    Cells cells;
  } const cases[] = {
      {"states = (x, y); parents = (A); probs = ((0.2, 0.8), (0.6 0.4);", kTypeCpt, {0.2, 0.8, 0.6, 0.4}},
      {"states = (x, y); parents = (A); probs = ((0.25), (1));", kTypeCpt, {0.25, 0.75, 1, 0}},
      {"states = (x, y); parents = (A); PROBS = (@imposs, 3, 1);", kTypeCpt, {0.5, 0.5, 0.75, 0.25}},
      {"numstates = 2; parents = (A); chance = DETERMIN; probs = (1, 0, 0.5, 0.5);",
       kTypeCpt,
       {1, 0, 0.5, 0.5}},
      {"states = (x, y); parents = (A); functable = (y, #0);", kTypeTruthTable, {0, 1, 1, 0}},
      {"discrete = FALSE; levels = (0, 1, 5); parents = (A); functable = (0.5, 3);",
       kTypeTruthTable,
       {1, 0, 0, 1}},
      {"kind = UTILITY; chance = DETERMIN; parents = (A); functable = (-5, 1e2);", kTypeTable, {-5, 100}},
      {"kind = DECISION; chance = DETERMIN; parents = (A); states = (x, y); functable = (x, y);",
       kTypeList,
       {}},
      {"discrete = FALSE; levels = (0, 1, 5); equation = \"B (A) = A + 1\"; probs = (.5, .5);",
       kTypeCpt,
       {0.5, 0.5}},
  };
  for (const auto& c : cases) {
    ASSERT_EQ(Load(kFormatNetica, "bnet n { node A { states = (t, f); probs = (.5, .5); }; node B { " +
                                      std::string(c.fields) + " }; };"),
              0);
    ExpectMessages({});
    ASSERT_GE(Find("B"), 0) << c.fields;
    EXPECT_EQ(network.NodeAt(Find("B"))->GetType(), c.type) << c.fields;
    EXPECT_EQ(NumbersOf(network, Find("B")), c.cells) << c.fields;
  }
}

TEST_F(TextReaders, NeticaTranslatesEquations) {
  ASSERT_EQ(Load(kFormatNetica,
                 "bnet n { node X { discrete = FALSE; levels = (-INFINITY, 0, 2, INFINITY);\n"
                 "  equation = \"p (X) = clip(0, 5, plus(NormalDist(X, 1, 2), 3))\"; };\n"
                 " node Y { discrete = FALSE; levels = (0, 1, 2); equation = \"no sign\"; }; };"),
            0);
  ExpectMessages({"(line 3) : Can't find the '=' sign in equation"});
  const auto* x = dynamic_cast<const QVR_equation*>(network.NodeAt(Find("X"))->definition.get());
  ASSERT_NE(x, nullptr);
  EXPECT_EQ(x->GetEquation().GetText(), "X=Trim(Sum(Normal(1,2),3),0,5)");
  EXPECT_EQ(x->GetLowerBound(), -2);
  EXPECT_EQ(x->GetUpperBound(), 4);
  EXPECT_EQ(x->GetDiscIntervals().size(), 3U);
  EXPECT_EQ(network.NodeAt(Find("Y"))->GetNumberOfOutcomes(), 2);
}

TEST_F(TextReaders, NeticaGoesOnBehindFaults) {
  ASSERT_EQ(Load(kFormatNetica,
                 "bnet n {\ntitle = \"caf\\C3\\A9\"; odd = 1; visual V1 { odd = 2; };\n"
                 "node A { kind = ASSUME; odd = \"};\"; states = (x, y); visual V1 { center = (1); odd; };\n"
                 "  probs = (1, 2, 3); };\n}\nnode A { };\nnode C { kind = CONSTANT; };\n"
                 "node B { parents = (A, Z); numstates = 20000; probs = (1, 3, 1, 1); };\n};"),
            0);
  ExpectMessages(
      {"(line 2) : ERROR: 'odd' : Unknown Net Statement", "ERROR: 'odd' : Unknown Visual Net Statement",
       "(line 3) : ERROR: nodes of type ASSUME not supported (yet)", "ERROR: 'odd' : Unknown Node Statement",
       "ERROR: Wrong Center Coordinates", "ERROR: 'odd' : Unknown Visual Node Statement",
       "(line 4) : ERROR: Node [A] was expecting 2 numbers but 3 were read",
       "ERROR: Couldn't Create Node (\"A\")", "ERROR: 'CONSTANT' : Unknown Node Type",
       "ERROR: '20000' : Invalid number of states", "ERROR: Couldn't add arc from node [Z] to node [B]"});
  EXPECT_EQ(network.GetNumberOfNodes(), 2);
  EXPECT_EQ(NumbersOf(network, Find("B")), (Cells{0.25, 0.75, 0.5, 0.5}));
  EXPECT_EQ(network.GetSubmodels().GetSubmodel(QVR_submodelHandler::kMainSubmodel)->header.GetName(),
            "caf\xE9");
  EXPECT_EQ(Load(kFormatNetica, "net n {}"), -127);
  ExpectMessages({"(line 1) : ERROR: 'net' : 'bnet' expected"});
}

TEST_F(TextReaders, HuginGoesOnBehindFaults) {
  ASSERT_EQ(
      Load(kFormatHugin,
           "net { odd = 1; node_size = (1); HR_X = \"};\"; name = \"n\"; label = \"l\"; }\n"
           "node A { states = (\"a 0\" b 2); position = (1.5 -3 4); label = \"}\"; other = (1 2); }\n"
           "continuous node X { }\nfunction F { a = 1; }\nnode A { }\nnode _B { states = (_x \"y\"); }\n"
           "utility U { }\n decision D { states = (\"go\" \"stay\"); }\n"
           "potential (A | ) { data = (1 2 1); experience = (1); }\n"
           "potential (_B | A) { data = (1 2 3); odd = 4; }\n"
           "potential (D) { model_data = (1); }\npotential (X | A) { data = normal(0, 1); }\npotential (A Z) "
           "{ }\npotential (A | Z) { data = (9 "
           "9); }\n"
           "potential (A | _B) { }\npotential (U | D _B) { data = ((0 -5)(1 2)); }\npotential (D | A) { }"),
      0);
  ExpectMessages({"(line 1) : ERROR: 'odd' : Unknown Net Statement", "ERROR: Wrong node size",
                  "(line 2) : ERROR: Wrong position coordinates",
                  "ERROR: : Continuous nodes not supported (yet)", "ERROR: 'function' : Unknown Node Type",
                  "ERROR: Couldn't Create Node (\"A\")", "ERROR: 'odd' : Unknown potential statement",
                  "(line 10) : ERROR: Node [x_B] was expecting 6 numbers but 3 were read",
                  "ERROR: 'model_data' : Unknown potential statement",
                  "ERROR: Undirected arcs not (yet) supported", "ERROR: Node (\"Z\") not found",
                  "ERROR: Couldn't add arc from parent node (\"_B\")"});
  EXPECT_EQ(NumbersOf(network, Find("A")), (Cells{0.25, 0.5, 0.25}));
  EXPECT_EQ(NumbersOf(network, Find("U")), (Cells{0, -5, 1, 2}));
  EXPECT_EQ(network.NodeAt(Find("x_B"))->GetNumberOfOutcomes(), 2);
  EXPECT_EQ(ListOf(network.GetParents(Find("x_B"))), std::vector<int>{Find("A")});
  EXPECT_EQ(ListOf(network.GetParents(Find("D"))), std::vector<int>{Find("A")});
  EXPECT_EQ(network.GetSubmodels().GetSubmodel(QVR_submodelHandler::kMainSubmodel)->header.GetName(), "n");
  ASSERT_EQ(Load(kFormatHugin, "class K { label = \"l\"; node A { } potential (A) { data = (1 3); } }"), 0);
  ExpectMessages({});
  EXPECT_EQ(NumbersOf(network, Find("A")), (Cells{0.25, 0.75}));
  EXPECT_EQ(Load(kFormatHugin, "bnet n {}"), -127);
}

TEST_F(TextReaders, KiReadsNodesThenDefinitions) {
  ASSERT_EQ(
      Load(kFormatKi,
           "DIAGNOSTIC network \"n 1\";\nVERSION = 1; position = (10, 20); odd = 3;\n"
           "standard A { NAME = \"is &node\"; CLASSTYPE = \"mandatory observable\"; odd = 1; type = discrete "
           "(3);\n"
           "  fault bad { NAME = \"&state A\"; odd = 2; } standard \"o k\" { DEFINITION = \"fine\"; }; }\n"
           "odd A { cost = 1; }\nstandard A { }\nstandard B { fault bad { NAME = \"bad A\"; } standard ok { "
           "} }\nci C { OBSERVABLE = FALSE; }\n"
           "network { standard A { PROB = (0.25, 0.75); } standard B { parent = A; PROB = (.1 .9 0); odd = "
           "1; };\n"
           "  ci C { parent = (A, Z); PROB = (.3 .7 0 1 .5 .5); } odd D { }; standard E { } }"),
      0);
  ExpectMessages({"(line 2) : ERROR: 'odd' : Unknown Node Statement",
                  "(line 3) : ERROR: 'odd' : Unknown Node Field",
                  "(line 4) : ERROR: 'odd' : Unknown State Field", "ERROR: 'o k' : Invalid state name",
                  "Wrong number of outcomes", "ERROR: 'odd' : Unknown Node Statement",
                  "ERROR: Couldn't Create Node (\"A\")", "ERROR: 'bad A' : Fault label is not unique.",
                  "ERROR: Couldn't guess [\"C\"] diagnosys type: 'auxiliary' assumed",
                  "ERROR: 'odd' : Unknown Node Definition Field", "ERROR: Wrong number of Probabilities",
                  "ERROR: Couldn't Find Node (\"Z\")", "ERROR: 'odd' : Unknown Node Definition Statement",
                  "ERROR: Couldn't Find Node (\"E\")"});
  const QVR_node& a = *network.NodeAt(Find("A"));
  EXPECT_EQ(a.info->header.GetName(), "is A");
  EXPECT_EQ(a.extra->diagnosisType, 1);
  EXPECT_EQ(a.extra->mandatory, 1);
  EXPECT_EQ(ListOf(a.extra->GetFaultStates()), (std::vector<int>{1, 0}));
  EXPECT_STREQ(a.extra->GetFaultLabels().Get(0), "bad A");
  EXPECT_EQ(NumbersOf(network, Find("A")), (Cells{0.25, 0.75}));
  const Cells c = CellsOf(network, Find("C"));
  ASSERT_EQ(c.size(), 4U);
  EXPECT_NEAR(c[0], 1 - 0.7 * 0.5, 1e-12);  // the parent or the leak puts the node at its first outcome
  for (const std::string& binary : {std::string("PK\3\4"), std::string("diagnostic\0network", 18)}) {
    EXPECT_EQ(Load(kFormatKi, binary), -127);
    ExpectMessages({"ERROR: Unable to parse file"});
  }
}

}  // namespace
}  // namespace qvr
