// The elements of influence diagrams in the XML network format.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "definitions/mau.h"
#include "definitions/truth_table.h"
#include "formats/xml_net_loader.h"
#include "support/log_guard.h"
#include "support/network_builder.h"

namespace qvr {
namespace {

using Strings = std::vector<std::string>;
using Doubles = std::vector<double>;

// Some nodes to hang others on, all on line 2; the nodes under test start line 3.
bool Load(const std::string& nodes, QVR_network& network) {
  constexpr const char* kBase =
      "<orbel id='n' version='1'><nodes>\n"
      "<cpt id='c'><state id='x'/><state id='y'/><state id='z'/><probabilities>.5 .25 "
      ".25</probabilities></cpt>"
      "<decision id='d'><parents>c</parents><state id='yes'/><state id='no'/></decision>"
      "<utility id='u'><utilities>7</utilities><parents/></utility>"
      "<utility id='v'><parents>d c</parents><utilities>1 2 3 4 5 6</utilities></utility>\n";
  GetErrorLog().Clear();
  return LoadXmlNetwork(nullptr, (kBase + nodes + "</nodes></orbel>").c_str(), network, nullptr);
}

TEST(XmlDecisionElements, LoadWithTheirNumbers) {
  const LogGuard guard;
  QVR_network network;
  ASSERT_TRUE(
      Load("<deterministic id='t'><resultingstates>b a\nb</resultingstates><parents>c</parents>"
           "<state id='a'/><state id='b' fault='true'/><property id='p'>q</property></deterministic>"
           "<mau id='m'><parents>u d v</parents><weights>.5 1 0 -2</weights></mau>"
           "<maux id='e'><expression>u</expression><parents>d u</parents>"
           "<expression> m - 2 * v </expression></maux>"
           "<maux id='f'><expression>3</expression></maux>",
           network))
      << LogGuard::Messages()[0];
  EXPECT_EQ(GetErrorLog().GetCount(), 0);
  EXPECT_EQ(network.CheckInvariants(), "");
  QVR_stringArray states;
  ASSERT_EQ(dynamic_cast<QVR_truthTable&>(*network.NodeAt(4)->definition).GetResultingStates(states), 0);
  EXPECT_EQ(Strings({states.Get(0), states.Get(1), states.Get(2)}), (Strings{"b", "a", "b"}));
  EXPECT_EQ(network.NodeAt(4)->extra->GetFaultStates()[1], 1);
  QVR_doubleArray* utilities = nullptr;
  ASSERT_EQ(network.NodeAt(3)->definition->GetDataArray(utilities), 0);
  EXPECT_EQ(Doubles(&(*utilities)[0], &(*utilities)[0] + 6), (Doubles{1, 2, 3, 4, 5, 6}));
  const QVR_Dmatrix& weights = dynamic_cast<QVR_mau&>(*network.NodeAt(5)->definition).GetWeights();
  EXPECT_EQ(weights.Subscript(3), -2);
  const auto& mixed = dynamic_cast<QVR_mau&>(*network.NodeAt(6)->definition);
  ASSERT_EQ(mixed.GetExpressionTable()->GetSize(), 2);
  EXPECT_EQ((*mixed.GetExpressionTable())[1].GetText(), "m-2*v");
  EXPECT_EQ(network.GetNumberOfParents(6), 4);  // the formulas have added two
  EXPECT_EQ(network.GetNumberOfParents(7), 0);
}

TEST(XmlDecisionElements, ReportEachErrorAtItsPlace) {
  const LogGuard guard;
  const std::string two = "<state id='a'/><state id='b'/>";
  const std::string states = "<parents>c</parents>" + two + "<resultingstates>";
  std::string manyDecisions;
  for (int i = 0; i < 30; ++i) {
    manyDecisions += "<decision id='k" + std::to_string(i) + "'>" + two + "</decision>";
  }
  const auto below = [](const std::string& others, int count) {
    std::string list = "<parents>" + others;
    for (int i = 0; i < count; ++i) {
      list += " k" + std::to_string(i);
    }
    return list + "</parents>";
  };
  const auto deterministic = [&](const std::string& content) {
    return "<deterministic id='t'>" + states + content + "</resultingstates></deterministic>";
  };
  const struct {
    std::string nodes;
    const char* error;
  } cases[] = {
      {deterministic("a b"), "Invalid number of resulting states: 2, expected 3"},
      {deterministic("a b q a b a"), "Invalid number of resulting states: 6, expected 3"},
      {deterministic("a q p"), "Invalid resulting state: p"},
      {"<deterministic id='t'>" + two + "</deterministic>",
       "Invalid number of resulting states: 0, expected 1"},
      {"<decision id='e'/>", "Required element 'state' not present in element 'decision'"},
      {"<utility id='w'><parents>d</parents><utilities>1</utilities></utility>", "SetUtilities failed"},
      {"<utility id='w'><parents>u</parents><utilities>1</utilities></utility>", "AddArc failed"},
      {"<utility id='w'><utilities>1 x</utilities></utility>",
       "Can't read list of doubles, failed at element 2"},
      {"<mau id='m'><parents>d u</parents><weights>1</weights></mau>", "SetWeights failed"},
      {"<mau id='m'><parents>c</parents><weights>1</weights></mau>", "AddArc failed"},
      {"<maux id='m'><parents>d u</parents><expression>u</expression></maux>",
       "Invalid number of expressions: 1, expected 2"},
      {"<maux id='m'><expression>1+</expression></maux>", "Invalid expression: "},
      {"<maux id='m'><expression>c+u</expression></maux>",
       "SetExpressions failed: 'only non-descendant utility/ALU/MAU nodes are allowed'"},
      {"<maux id='m'><expression>Normal(0,1)</expression></maux>",
       "SetExpressions failed: 'Distributions not allowed'"},
      // Tables of gigabytes that the file doesn't fill.
      {manyDecisions + "<utility id='w'>" + below("", 21) + "<utilities>1</utilities></utility>",
       "SetUtilities failed"},
      {manyDecisions + "<mau id='m'>" + below("u v", 20) + "<weights>1</weights></mau>", "SetWeights failed"},
      {manyDecisions + "<maux id='m'>" + below("u v", 20) + "<expression>1</expression></maux>",
       "Invalid number of expressions: 1, expected 1048576"},
      {manyDecisions + "<maux id='m'>" + below("u", 30) + "<expression>1</expression></maux>",
       "AddArc failed"},
      {manyDecisions + "<deterministic id='t'>" + below("", 20) + two +
           "<resultingstates>a</resultingstates></deterministic>",
       "Invalid number of resulting states: 1, expected 1048576"},
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(row.error);
    QVR_network network;
    const std::int64_t before = QVR_Dmatrix::MemoryInUse();
    EXPECT_FALSE(Load(row.nodes, network));
    EXPECT_LT(QVR_Dmatrix::MemoryInUse() - before, 1 << 20);
    const Strings messages = LogGuard::Messages(QVR_FILE_IO_FAILED);
    ASSERT_EQ(messages.size(), 1U);
    EXPECT_TRUE(messages[0].starts_with("Error at 3, ")) << messages[0];
    EXPECT_NE(messages[0].find(std::string(": ") + row.error), std::string::npos) << messages[0];
    EXPECT_EQ(network.CheckInvariants(), "");
  }
  QVR_network network;
  EXPECT_TRUE(Load(manyDecisions + "<decision id='e'>" + below("", 30) + two + "</decision>", network))
      << "parents of a decision make no table";
}

}  // namespace
}  // namespace qvr
