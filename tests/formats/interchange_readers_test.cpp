// What the Microsoft and XMLBIF readers make of other programs' files, and what they say of faults.
#include "formats/text_readers.h"

namespace qvr {
namespace {

TEST_F(TextReaders, MicrosoftPlacesRowsByTheirLabels) {
  struct {
    const char* rows;
    Cells cells;  // of b below the states x and y of a, and of d
  } const cases[] = {
      {"(1, 0) : 1, 0; (0, 1) = 0.5 0.5; (0, 0) : 0, 1; (1, 1) : 0.75, 0.25;",
       {0, 1, .5, .5, 1, 0, .75, .25}},
      {"(y, 0) 1 0; default : 3, 1;", {.75, .25, .75, .25, 1, 0, .75, .25}},
      {"(0, 0): 1,0; (0, 0): 0,1; (0, 0): 1,0; (0, 0): 0,1;", {1, 0, 0, 1, 1, 0, 0, 1}},
      {"(1, 1) : 0, 2;", {.5, .5, .5, .5, .5, .5, 0, 1}},
      {"", {.5, .5, .5, .5, .5, .5, .5, .5}},
  };
  for (const auto& c : cases) {
    ASSERT_EQ(Load(kFormatMicrosoft,
                   "network \"n\"\r\n{ version is 1; }\r\nproperties { type X = array of; }\r\n"
                   "node a { type = discrete[2] { \"x\", \"y\" }; label : informational; }\n"
                   "node default { name is \"d\"; type : discrete [2]; }\n"
                   "node b { type discrete[2] = { \"0-9\", 7 }; position = (-3, 4.6); }\n"
                   "probability(b | a, default) { " +
                       std::string(c.rows) + " }"),
              0);
    ExpectMessages({});
    EXPECT_EQ(NumbersOf(network, Find("b")), c.cells) << c.rows;
    EXPECT_EQ(network.NodeAt(Find("b"))->info->screen.position.centerY, 5);
    EXPECT_EQ(network.NodeAt(Find("default"))->info->header.GetName(), "d");
  }
}

TEST_F(TextReaders, MicrosoftGoesOnBehindFaults) {
  ASSERT_EQ(Load(kFormatMicrosoft,
                 "belief network x\nnode a { odd = { \"};\" }; type : discrete[3] = { \"s\", \"t\" }; }\n"
                 "node c { position : (1); }\nnode a { type : discrete[2]; }\nodd { ; }\n"
                 "node d { type : discrete[99999]; label : decision; position : (1e300, 1); }\n"
                 "node u { label : utility; type : discrete[1]; }\n"
                 "node e { type : discrete = { \"s\", ; }; } node f { type : discrete; }\n"
                 "probability (z | a) { 1; }\nutility (d) { 1; }\nprobability (a | a) { (0) : 1, 0; }\n"
                 "probability (a) { 1, 1, 1; 1, x; 1, 3; } probability (f | a) { (0): 1, 0; } probability "
                 "(f) { 1, 0; }\n"
                 "utility (u | d, a) { (1, 0) : -5;\n (2, 0) : 1; (0) : 1; }\ninformation (d | a) { }"),
            0);
  ExpectMessages({"(line 2) : ERROR: 'odd' : Unknown Node Statement",
                  "ERROR: '3' : Size of list doesn't match number of outcomes. Using list size",
                  "ERROR: Wrong position coordinates",
                  "ERROR: Node not ready (valid). Node (\"c\") deleted",
                  "ERROR: Couldn't Create Node (\"a\")",
                  "ERROR: 'odd' : Unknown Object",
                  "ERROR: '99999' : Couldn't set the number of outcomes",
                  "ERROR: Invalid coordinates",
                  "ERROR: '=' : Expecting number of states",
                  "(line 8) : ERROR: ';' : String expected",
                  "ERROR: Node not ready (valid). Node (\"e\") deleted",
                  "ERROR: ';' : Expecting number of states",
                  "ERROR: Node (\"z\") not found",
                  "ERROR: Unknown Node Type",
                  "ERROR: Couldn't add arc from parent node (\"a\")",
                  "ERROR: 'x' : ';' expected",
                  "was expecting 2 numbers but 3 were read",
                  "was expecting 2 numbers but 1 were read",
                  "(line 12) : ERROR: Invalid coordinates",
                  "(line 14) : ERROR: Invalid coordinates",
                  "(line 14) : ERROR: Invalid coordinates"});
  EXPECT_EQ(NumbersOf(network, Find("a")), (Cells{0.25, 0.75}));
  EXPECT_EQ(NumbersOf(network, Find("f")), (Cells{1, 0, 0.5, 0.5}));
  EXPECT_EQ(NumbersOf(network, Find("u")), (Cells{0, 0, -5, 0}));
  EXPECT_EQ(network.GetNumberOfParents(Find("d")), 1);
  EXPECT_EQ(Load(kFormatMicrosoft, "quantum network \"n\""), -2);
  ExpectMessages({"(line 1) : This type of network is not (yet) supported"});
}

const std::string kBif =
    "<?xml version='1.0'?><!-- http://x -->\n<!DOCTYPE BIF [ <!ELEMENT BIF (NETWORK)*> ]>\n"
    "<BIF VERSION='0.3' other=\"<\"><network>";

TEST_F(TextReaders, XmlBifTakesAnyTextAsNames) {
  ASSERT_EQ(
      Load(kFormatXmlBif,
           kBif +
               "<NAME> my net </NAME>"
               "<DEFINITION><GIVEN>a &lt;1&#62;</GIVEN><FOR>b</FOR>"
               "<TABLE> 1 <!-- > -- 9 --> 3\n0 0 </TABLE></DEFINITION>"
               "<VARIABLE><NAME>a &lt;1> <!-- c --></NAME><OUTCOME>caf\xC3\xA9</OUTCOME><OUTCOME>t</OUTCOME>"
               "<PROPERTY>x = 1</PROPERTY><PROPERTY>position=(-7 , 8.5)</PROPERTY></VARIABLE>"
               "<variable type='nature'><NAME>b</NAME><OUTCOME>s</OUTCOME><OUTCOME>t</OUTCOME></variable>"
               "<VARIABLE TYPE='utility'><NAME>a__1_</NAME><OUTCOME>v</OUTCOME></VARIABLE>"
               "<VARIABLE TYPE='decision'><NAME>&unknown;</NAME><OUTCOME>s</OUTCOME><OUTCOME>t</OUTCOME>"
               "</VARIABLE><DEFINITION><FOR>a__1_</FOR><GIVEN>&unknown;</GIVEN><TABLE>-1 1e2</TABLE>"
               "</DEFINITION><DEFINITION><FOR>&unknown;</FOR><GIVEN>b</GIVEN><TABLE>1</TABLE></DEFINITION>"
               "<DEFINITION><FOR>a &lt;1&gt;</FOR><TABLE>.25 .75</TABLE></DEFINITION></network></BIF>"),
      0);
  ExpectMessages({"caf\xE9 : Invalid outcome name"});
  const QVR_header& header = network.NodeAt(0)->info->header;
  EXPECT_EQ(header.GetName(), "a <1>");
  EXPECT_EQ(network.NodeAt(0)->info->screen.position.centerX, -7);
  EXPECT_EQ(NumbersOf(network, Find("b")), (Cells{0.25, 0.75, 0.5, 0.5}));
  EXPECT_EQ(NumbersOf(network, 2), (Cells{-1, 100}));
  EXPECT_EQ(network.GetNumberOfParents(3), 1);
  EXPECT_EQ(network.GetSubmodels().GetSubmodel(QVR_submodelHandler::kMainSubmodel)->header.GetId(), "my_net");
}

TEST_F(TextReaders, XmlBifTellsNamesOfOtherAlphabetsApart) {
  const std::string states = "</NAME><OUTCOME>s</OUTCOME><OUTCOME>t</OUTCOME></VARIABLE>";
  ASSERT_EQ(Load(kFormatXmlBif,
                 kBif + "<VARIABLE><NAME>\xE5\x8F\x98" + states + "<VARIABLE><NAME>&#x91CF;&#xE9;" + states +
                     "<DEFINITION><FOR>&#21464;</FOR><TABLE>.25 .75</TABLE></DEFINITION><DEFINITION>"
                     "<FOR>\xE9\x87\x8F\xC3\xA9</FOR><GIVEN>\xE5\x8F\x98</GIVEN><TABLE>1 0 0 1</TABLE>"
                     "</DEFINITION></NETWORK></BIF>"),
            0);
  ExpectMessages({});
  EXPECT_EQ(NumbersOf(network, 0), (Cells{0.25, 0.75}));
  EXPECT_EQ(NumbersOf(network, 1), (Cells{1, 0, 0, 1}));
  EXPECT_EQ(network.NodeAt(1)->info->header.GetName(), "?\xE9");
}

TEST_F(TextReaders, XmlBifGoesOnBehindFaults) {
  const std::string states = "<OUTCOME>s</OUTCOME><OUTCOME>t</OUTCOME></VARIABLE>\n";
  ASSERT_EQ(Load(kFormatXmlBif,
                 kBif + "\n<VARIABLE><NAME>a</NAME><odd><FOR/></odd><TABLE>1</TABLE></FOR>" + states +
                     "<VARIABLE TYPE='x'><NAME>x</NAME>" + states + "<VARIABLE><NAME>a</NAME>" + states +
                     "<VARIABLE><NAME>b</NAME><OUTCOME>s</OUTCOME></VARIABLE><OUTCOME>s</OUTCOME>\n"
                     "<DEFINITION><FOR>b</FOR><FOR>a</FOR><GIVEN>z</GIVEN><GIVEN>b</GIVEN><GIVEN>a</GIVEN>"
                     "<odd/><TABLE>1 2 3</TABLE></DEFINITION>\n<DEFINITION><FOR>a</FOR><TABLE>1 "
                     "x</TABLE></DEFINITION>"
                     "<DEFINITION><FOR>y</FOR></DEFINITION><DEFINITION></DEFINITION>\n<VARIABLE><NAME>c</"
                     "network></BIF>"),
            0);
  ExpectMessages(
      {"(line 4) : ERROR: 'ODD' : Unknown Node Field", "ERROR: 'TABLE' : Misplaced statement",
       "ERROR: 'FOR' : Misplaced statement", "ERROR: x : Unknown node type", "ERROR: Couldn't Create Node",
       "ERROR: Invalid Outcomes", "(line 7) : ERROR: 'OUTCOME' : Misplaced statement",
       "(line 8) : ERROR: a : Extra [FOR] entry. Ignored.", "ERROR: 'ODD' : Unknown Definition Field",
       "(line 9) : ERROR: 'x' : Real Number expected",
       "ERROR: Node [a] was expecting 2 numbers but 1 were read", "ERROR: [FOR] : Tag Not found",
       "(line 10) : ERROR: [NAME] : Tag Not found", "(line 10) : ERROR: [VARIABLE] : Tag Not found",
       "(line 8) : ERROR: z : Invalid parent", "(line 8) : ERROR: Couldn't add arc from node [b] to node [b]",
       "(line 8) : ERROR: Node [b] was expecting 4 numbers but 3 were read",
       "(line 9) : ERROR: y : Node not found"});
  EXPECT_EQ(network.GetNumberOfNodes(), 2);
  struct {
    const char* text;
    int result;
    const char* message;
  } const cases[] = {
      {"<BIF VERSION='0.5'/>", -2, "(line 1) : ERROR: Incorrect BIF Version"},
      {"<BIF/>", -2, "ERROR: Incorrect BIF Version"},
      {"\n net n", -127, "(line 2) : ERROR: 'net' : '<' expected"},
      {"<NETWORK>", -127, "ERROR: 'NETWORK' : 'BIF' expected"},
      {"<!-- only -->", -127, "ERROR: End of File : Expecting 'BIF'"},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(Load(kFormatXmlBif, c.text), c.result) << c.text;
    ExpectMessages({c.message});
    EXPECT_EQ(network.GetNumberOfNodes(), 0);
  }
}

}  // namespace
}  // namespace qvr
