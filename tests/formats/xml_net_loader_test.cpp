#include "formats/xml_net_loader.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "formats/xml_version.h"
#include "model/network.h"
#include "support/log_guard.h"
#include "support/network_builder.h"

namespace qvr {
namespace {

using Strings = std::vector<std::string>;
using Doubles = std::vector<double>;

std::string Document(const std::string& nodes) {
  return "<orbel id='net' version='1.0'>\n<nodes>\n" + nodes + "</nodes>\n</orbel>";
}

bool Load(const std::string& text, QVR_network& network) {
  GetErrorLog().Clear();
  return LoadXmlNetwork(nullptr, text.c_str(), network, nullptr);
}

constexpr const char* kTwoStates = "<state id='s0'/><state id='s1'/>";

// A node on one line with two states; the children are up to the caller.
std::string Cpt(const std::string& id, const std::string& children) {
  return "<cpt id='" + id + "'>" + kTwoStates + children + "</cpt>\n";
}
std::string Root(const std::string& id) { return Cpt(id, "<probabilities>.5 .5</probabilities>"); }

std::string Equation(const std::string& id, const std::string& formula, const std::string& intervals = "") {
  return "<equation id='" + id + "'><definition>" + formula + "</definition>" +
         (intervals.empty() ? "" : "<discretization>" + intervals + "</discretization>") + "</equation>\n";
}

struct ErrorCase {
  const char* what;
  std::string text;
  const char* error;  // position and message
};

const ErrorCase kErrorCases[] = {
    {"root", "<net/>", "1, 0: Unknown root element 'net', expected 'orbel'"},
    {"no id", "<orbel version='1.0'/>", "1, 0: Required attribute 'id' not found in element 'orbel'"},
    {"version before the rest", "<orbel id='a' version='1.5' numsamples='x'/>",
     "1, 0: Invalid version number '1.5', expected 1.0\nPlease download most recent version of ORBEL/Tarvo "
     "from:\nhttps://qvr.example.org/"},
    {"sample count", "<orbel id='a' version='1' numsamples='x' discavoidzero='x'/>",
     "1, 0: Integer value expected for attribute 'numsamples'"},
    {"a section twice", "<orbel id='a' version='1'><cases/><cases/></orbel>",
     "1, 34: Multiple occurences of 'cases' not allowed in 'orbel'"},
    {"loopy settings out of order",
     "<orbel id='a' version='1'><algparams><epis proplen='1' numstates1='9' numstates2='8' numstates3='20' "
     "eps1='1' eps2='1' eps3='1' eps4='1'/></algparams></orbel>",
     "1, 37: Invalid EPIS parameters"},
    {"network property",
     "<orbel id='a' version='1'><properties><property id='p'/><property id='p'/></properties></orbel>",
     "1, 74: Can't add network property: 'p'"},
    {"node without id", Document("<cpt/>"), "3, 0: Required attribute 'id' not found in element 'cpt'"},
    {"diagnosis word", Document("<cpt id='a' diagtype='Target' dynamic='x'/>"),
     "3, 0: Unknown diagnosis node type: 'Target'"},
    {"dynamic word", Document("<cpt id='a' dynamic='plates'/>"), "3, 0: Unknown dynamic node type: 'plates'"},
    {"node twice", Document(Root("a") + Root("a")), "4, 0: Duplicated node identifier: 'a'"},
    {"parent unknown", Document(Cpt("b", "<parents>a</parents>") + Root("a")),
     "3, 54: Node parent not found: : 'a'"},
    {"parent twice", Document(Root("a") + Cpt("b", "<parents>a a</parents>")),
     "4, 56: Duplicate parent: 'a'"},
    {"own parent", Document(Cpt("b", "<parents>b</parents><probabilities/>")), "3, 80: AddArc failed"},
    {"state twice", Document("<cpt id='a'><state id='s'/><state id='s'/></cpt>"),
     "3, 27: Duplicate state identifier: 's'"},
    {"two defaults",
     Document("<cpt id='a'><state id='s' default='true'/><state id='t' default='true'/></cpt>"),
     "3, 42: Duplicate default state attribute at state: 't'"},
    {"no states", Document("<cpt id='a'><probabilities>1 0</probabilities></cpt>"),
     "3, 46: Required element 'state' not present in element 'cpt'"},
    {"no table", Document(Cpt("a", "")), "3, 44: SetProbabilities failed"},
    {"short table", Document(Cpt("a", "<probabilities>1</probabilities>")), "3, 76: SetProbabilities failed"},
    {"no number", Document(Cpt("a", "<probabilities>1\n0x1 .5. 2</probabilities>")),
     "4, 0: Can't read list of doubles, failed at element 3"},
    {"formula syntax", Document(Equation("x", "x=(1")), "3, 33: Invalid expression: ')' expected"},
    {"formula of unknown", Document(Equation("x", "x=y")),
     "3, 45: SetEquation failed: 'Unknown node identifier: y'"},
    {"no formula", Document("<equation id='x'/>"), "3, 18: SetEquation failed: 'Equation cannot be empty.'"},
    {"bound", Document("<equation id='x'><definition lower='a'>x=0</definition></equation>"),
     "3, 17: Floating point value expected for attribute 'lower'"},
    {"one interval", Document(Equation("x", "x=0", "<interval upper='0'/>")),
     "3, 99: SetDiscIntervals failed: 'x'"},
    {"no interval", Document(Equation("x", "x=0", " ")),
     "3, 62: Required element 'interval' not present in element 'discretization'"},
    {"chance parent", Document(Root("a") + "<equation id='x'><parents>a</parents></equation>"),
     "4, 37: AddArc failed"},
    {"node property", Document(Cpt("a", "<property id='2'/>")), "3, 62: Can't add node property: '2'"},
};

TEST(XmlNetLoader, ReportsEachErrorOnceAtItsPlace) {
  const LogGuard guard;
  for (const ErrorCase& c : kErrorCases) {
    QVR_network network;
    EXPECT_FALSE(Load(c.text, network)) << c.what;
    EXPECT_EQ(LogGuard::Messages(QVR_FILE_IO_FAILED), Strings{std::string("Error at ") + c.error}) << c.what;
    EXPECT_EQ(network.CheckInvariants(), "");
  }
}

Doubles Settings(const QVR_network& network) {
  const EpisParameters& e = network.GetEpisParameters();
  Doubles settings = {e.eps1, e.eps2, e.eps3, e.eps4};
  for (const int setting :
       {network.sampleCount, network.discSamples, int{network.rejectOutliers}, int{network.discAvoidZero},
        e.propLength, e.numStates1, e.numStates2, e.numStates3}) {
    settings.push_back(setting);
  }
  return settings;
}

TEST(XmlNetLoader, TakesSettingsAndPropertiesOrTheirDefaults) {
  const LogGuard guard;
  QVR_network network;
  EXPECT_TRUE(
      Load("<orbel id='2' version='1.0' numsamples='5' discsamples='-6' discavoidzero='false' "
           "rejectoutliers='true'>"
           "<algparams><epis proplen='2' numstates1='1' numstates2='3' numstates3='4' eps1='.5' eps2='.25' "
           "eps3='.125' eps4='7'/></algparams>"
           "<properties><property id='p'>a\\nb\\\\n \\x\\\" &#233;\\</property><property "
           "id='q'/></properties></orbel>",
           network));
  // A network's bad identifier is no reason to stop.
  EXPECT_EQ(LogGuard::Messages(), Strings{"Illegal identifier"});
  EXPECT_EQ(Settings(network), (Doubles{.5, .25, .125, 7, 5, -6, 1, 0, 2, 1, 3, 4}));
  ASSERT_EQ(network.userProperties.GetCount(), 2);
  EXPECT_STREQ(network.userProperties.GetValue(0), "a\nb\\n x\" \xE9\\");
  EXPECT_STREQ(network.userProperties.GetValue(1), "");

  for (const std::string accepted : {"1.0", "1", "", "new", "1.0beta", "0.9"}) {
    EXPECT_TRUE(Load("<orbel id='net' version='" + accepted + "'/>", network)) << accepted;
  }
  EXPECT_EQ(GetErrorLog().GetCount(), 0);
  EXPECT_EQ(network.GetSubmodels().GetSubmodel(QVR_submodelHandler::kMainSubmodel)->header.GetId(), "net");
  EXPECT_EQ(Settings(network), (Doubles{.5, .25, .125, 7, 1000, 10000, 0, 1, 2, 1, 3, 4}));
}

std::vector<int> Diagnostics(const QVR_network& network, int handle) {
  const QVR_extraDefinition& extra = *network.NodeAt(handle)->extra;
  std::vector<int> all = {extra.diagnosisType, extra.ranked, extra.mandatory, extra.setAsDefault,
                          extra.GetDefaultOutcome()};
  all.insert(all.end(), extra.GetFaultStates().begin(), extra.GetFaultStates().end());
  return all;
}

TEST(XmlNetLoader, BuildsNodesWhateverTheOrderOfTheirElements) {
  const LogGuard guard;
  QVR_network network;
  ASSERT_TRUE(Load(Document("<cpt id='a' target='true' diagtype='observation' ranked='true' dynamic=''>"
                            "<probabilities>0.25 0.5 0.25</probabilities>"
                            "<state id='low' label='fl'/><state id='mid' default='true' fault='true'/>"
                            "<state id='high' fault='true'/><property id='p'>\\tx</property></cpt>"
                            "<cpt id='n' mandatory='true'><state id='n'/><state id='y'/>"
                            "<probabilities>1 0</probabilities></cpt>"
                            "<cpt id='b'><property id='p'/><state id='no'/><state id='yes'/>"
                            "<probabilities>1 0 .5\n.5 0 1 1e-1 9e-1\t+.125 0x1p-1 0 1</probabilities>"
                            "<parents> n\n\ta </parents></cpt>"),
                   network))
      << LogGuard::Messages()[0];
  EXPECT_EQ(GetErrorLog().GetCount(), 0);
  const int a = network.FindNode("a");
  const int n = network.FindNode("n");
  const int b = network.FindNode("b");
  ASSERT_TRUE(a == 0 && n == 1 && b == 2);
  EXPECT_EQ(network.IsTarget(a), 1);
  EXPECT_EQ(network.GetTargetCount(), 1);
  EXPECT_EQ(ListOf(network.GetParents(b)), (std::vector<int>{n, a}));
  EXPECT_EQ(Diagnostics(network, a), (std::vector<int>{1, 1, 0, 1, 1, 0, 1, 1}));
  EXPECT_EQ(Diagnostics(network, n), (std::vector<int>{2, 0, 1, 0, 0, 0, 0}));
  EXPECT_STREQ(network.NodeAt(a)->extra->GetFaultLabels().Get(0), "fl");
  EXPECT_STREQ(network.NodeAt(a)->extra->GetFaultLabels().Get(1), "");
  EXPECT_STREQ(network.NodeAt(a)->info->userProperties.GetValue(0), "\tx");
  EXPECT_STREQ(network.NodeAt(a)->definition->GetOutcomeNames()->Get(2), "high");
  EXPECT_EQ(CellsOf(network, b), (Doubles{1, 0, .5, .5, 0, 1, .1, .9, .125, .5, 0, 1}));
  EXPECT_EQ(network.CheckInvariants(), "");
}

TEST(XmlNetLoader, BuildsEquations) {
  const LogGuard guard;
  QVR_network network;
  ASSERT_TRUE(
      Load(Document(Equation("y", "y = Normal(0, 1)") + Equation("z", "z=3") +
                    "<equation id='x' target='true'><parents>y z</parents><discretization>"
                    "<interval label='low' upper='-1e1'/><interval upper='0.5'/>"
                    "<interval label='high' upper='99'/></discretization>"
                    "<definition lower='-20' upper='20'> x = z *\n(y &lt; z) </definition></equation>"),
           network))
      << LogGuard::Messages()[0];
  EXPECT_EQ(GetErrorLog().GetCount(), 0);
  const auto& x = dynamic_cast<const QVR_equation&>(*network.NodeAt(2)->definition);
  EXPECT_EQ(x.GetEquation().GetText(), "x=z*(y<z)");
  ASSERT_EQ(network.GetNumberOfParents(2), 2);
  EXPECT_EQ(network.GetParents(2)[0], 1);  // the order of the formula
  EXPECT_TRUE(x.GetLowerBound() == -20 && x.GetUpperBound() == 20);
  Strings ids;
  Doubles bounds;
  for (const DiscretizationInterval& interval : x.GetDiscIntervals()) {
    ids.push_back(interval.id);
    bounds.push_back(interval.upperBound);
  }
  EXPECT_EQ(ids, (Strings{"low", "o__1__", "high"}));
  EXPECT_EQ(bounds, (Doubles{-10, 0.5, 20}));
  const auto& y = dynamic_cast<const QVR_equation&>(*network.NodeAt(0)->definition);
  EXPECT_TRUE(y.GetLowerBound() == -1 && y.GetUpperBound() == 1 && y.GetDiscIntervals().empty());
  EXPECT_EQ(network.CheckInvariants(), "");
}

TEST(XmlNetLoader, LooksNodesUpByTheIdentifierTheyGot) {
  const LogGuard guard;
  QVR_network network;
  EXPECT_TRUE(Load(Document(Root("@x") + Root("7up") +
                            Cpt("c",
                                "<parents>@x Node1</parents><probabilities>"
                                "1 0 1 0 1 0 1 0</probabilities>")),
                   network));
  EXPECT_EQ(network.GetNumberOfParents(2), 2);
  EXPECT_EQ(LogGuard::Messages(), Strings{"Illegal identifier"});
}

TEST(XmlNetLoader, SkipsWhatItDoesNotKnow) {
  const LogGuard guard;
  QVR_network network;
  EXPECT_TRUE(Load("<orbel id='x' version='1' new=''>\n<nodes>\n<magic><cpt id='m'/></magic>\n" + Root("a") +
                       "</nodes>\n</orbel>",
                   network));
  EXPECT_EQ(LogGuard::Messages(QVR_FILE_ERROR_100),
            (Strings{"Warning: Ignored unknown attribute 'new' in 'orbel' at 1, 0",
                     "Warning: Ignored unknown element 'magic' at 3, 0",
                     "XML contains unknown elements and/or attributes. " + UpgradeNotice()}));
  EXPECT_EQ(network.GetNumberOfNodes(), 1);
}

TEST(XmlNetLoader, GivesExtensionsToTheirBinding) {
  const LogGuard guard;
  XmlBinding front(nullptr, "front", kXmlInherit);
  struct {
    IXmlBinding* binding;
    const char* content;
    Strings log;
  } const cases[] = {
      {&front, "<front/>", {}},
      {&front,
       "<other/><front/>",
       {"Warning: Ignored unknown element 'other' at 1, 38",
        "XML contains unknown elements and/or attributes. " + UpgradeNotice()}},
      {&front, "", {"Error at 1, 38: Required element 'front' not present in element 'extensions'"}},
      {nullptr, "<tarvo version='1.0' name='x'/>", {}},
      {nullptr,
       "<front/>",
       {"Warning: Ignored unknown element 'front' at 1, 38",
        "Error at 1, 46: Required element 'tarvo' not present in element 'extensions'"}},
      {&NoReaderExtension(),
       "<tarvo version='9'/>",
       {"Warning: Ignored unknown element 'tarvo' at 1, 38",
        "XML contains unknown elements and/or attributes. " + UpgradeNotice()}},
  };
  for (const auto& c : cases) {
    QVR_network network;
    GetErrorLog().Clear();
    const std::string text =
        std::string("<orbel id='a' version='1'><extensions>") + c.content + "</extensions></orbel>";
    const bool isError = !c.log.empty() && c.log.back().starts_with("Error");
    EXPECT_NE(LoadXmlNetwork(nullptr, text.c_str(), network, c.binding), isError);
    EXPECT_EQ(LogGuard::Messages(), c.log);
  }
}

std::string NumberedId(const char* base, int number) {
  std::string id = base;
  id += std::to_string(number);
  return id;
}

std::string ManyRoots(int count) {
  std::string nodes;
  for (int i = 0; i < count; ++i) {
    nodes += Root(NumberedId("n", i));
  }
  return nodes;
}

std::string ParentsOf(int count) {
  std::string list = "<parents>";
  for (int i = 0; i < count; ++i) {
    list += NumberedId("n", i) + " ";
  }
  return list + "</parents>";
}

TEST(XmlNetLoader, RefusesTablesThatTheFileDoesNotFill) {
  const LogGuard guard;
  struct {
    int parents;
    int states;
    const char* message;
  } const cases[] = {
      {60, 2, "AddArc failed"},
      {28, 2, "AddArc failed"},
      {27, 3, "SetNumberOfOutcomes failed"},
      {27, 2, "SetProbabilities failed"},
      {3, 2, "SetProbabilities failed"},
  };
  for (const auto& c : cases) {
    std::string states;
    for (int i = 0; i < c.states; ++i) {
      states += NumberedId("<state id='s", i) + "'/>";
    }
    const std::string child =
        "<cpt id='c'>" + ParentsOf(c.parents) + states + "<probabilities>1 0</probabilities></cpt>";
    QVR_network network;
    const std::int64_t before = QVR_Dmatrix::MemoryInUse();
    EXPECT_FALSE(Load(Document(ManyRoots(c.parents) + child), network));
    EXPECT_LT(QVR_Dmatrix::MemoryInUse() - before, 1 << 20);
    ASSERT_EQ(GetErrorLog().GetCount(), 1);
    EXPECT_TRUE(LogGuard::Messages()[0].ends_with(c.message)) << LogGuard::Messages()[0];
  }
}

// Each would take minutes if any step looked through everything that came before it.
TEST(XmlNetLoader, LoadsLargeNetworksInLinearTime) {
  const LogGuard guard;
  constexpr int kStates = 50'000;
  std::string states;
  std::string numbers;
  for (int i = 0; i < kStates; ++i) {
    states += NumberedId("<state id='s", i) + NumberedId("' label='f", i) + "'/>";
    numbers += i == 0 ? "1 " : "0 ";
  }
  QVR_network wide;
  EXPECT_TRUE(
      Load(Document("<cpt id='a'>" + states + "<probabilities>" + numbers + "</probabilities></cpt>"), wide));
  EXPECT_EQ(wide.NodeAt(0)->GetNumberOfOutcomes(), kStates);

  constexpr int kNodes = 10'000;
  const std::string hub = ManyRoots(1);
  std::string leaves;
  for (int i = 1; i < kNodes; ++i) {
    leaves += Cpt(NumberedId("n", i), "<parents>n0</parents><probabilities>1 0 0 1</probabilities>");
  }
  QVR_network many;
  EXPECT_TRUE(Load(Document(hub + leaves), many));
  EXPECT_EQ(many.GetNumberOfChildren(0), kNodes - 1);

  QVR_network refused;
  EXPECT_FALSE(Load(Document(ManyRoots(kNodes) + Cpt("c", ParentsOf(kNodes))), refused));
}

}  // namespace
}  // namespace qvr
