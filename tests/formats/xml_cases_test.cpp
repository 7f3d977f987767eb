// The sections of observation costs and saved cases.
#include <gtest/gtest.h>

#include "formats/xml_net_loader.h"
#include "formats/xml_net_saver.h"
#include "model/network.h"
#include "model/special_numbers.h"
#include "support/log_guard.h"

namespace qvr {
namespace {

using Strings = std::vector<std::string>;

// Nodes a and b of two outcomes, equation x, utility u; then these sections on the second line.
std::string Document(const std::string& sections) {
  const std::string rest = "'><state id='no'/><state id='yes'/><probabilities>.5 .5</probabilities></cpt>";
  return "<orbel id='n' version='1'><nodes><cpt id='a" + rest + "<cpt dynamic='plate' id='b" + rest +
         "<equation id='x'><definition>x=1</definition></equation>"
         "<utility id='u'><utilities>1</utilities></utility></nodes>\n" +
         sections + "</orbel>";
}
std::string Costs(const std::string& nodes) {
  return Document("<observationcost>" + nodes + "</observationcost>");
}
std::string Case(const std::string& content) {
  return Document("<cases><case name='c'>" + content + "</case></cases>");
}

bool Load(const std::string& text, QVR_network& network) {
  GetErrorLog().Clear();
  return LoadXmlNetwork(nullptr, text.c_str(), network, nullptr);
}

TEST(XmlCases, MalformedSectionsAreRefused) {
  struct ErrorCase {
    std::string text;
    const char* error;
  };
  const ErrorCase cases[] = {
      {Costs("<node id='q'/>"), "Invalid node identifier: 'q'"},
      {Costs("<node/>"), "Required attribute 'id' not found in element 'node'"},
      {Costs("<node id='a'><parents>q</parents></node>"), "Node parent not found: : 'q'"},
      {Costs("<node id='a'><parents>b b</parents></node>"), "Duplicate parent: 'b'"},
      {Costs("<node id='a'><parents>a</parents><cost>1 2</cost></node>"), "AddArc failed"},
      {Costs("<node id='a'><parents>u</parents><cost>1</cost></node>"), "AddArc failed"},
      {Costs("<node id='a'><parents>b</parents><cost>1</cost></node>"), "SetCosts failed"},
      {Costs("<node id='a'/>"), "SetCosts failed"},
      {Costs("<node id='a'><cost>n/a1</cost></node>"), "Can't read list of doubles, failed at element 1"},
      {Document("<cases><case/></cases>"), "Required attribute 'name' not found in element 'case'"},
      {Document("<cases><case name='c'/><case name='c'/></cases>"), "Duplicate case name: 'c'"},
      {Document("<cases><case name=''/></cases>"), "Duplicate case name: ''"},
      {Document("<cases><case name='c' created='x'/></cases>"),
       "Integer value expected for attribute 'created'"},
      {Case("<evidence node='q' state='no'/>"), "Invalid node identifier: 'q'"},
      {Case("<evidence node='a' state='q'/>"), "Invalid outcome identifier: 'q'"},
      {Case("<evidence node='u' state='q'/>"), "Invalid outcome identifier: 'q'"},
      {Case("<evidence node='x' state='q'/>"), "Floating point value expected for attribute 'state'"},
      {Case("<evidence node='a' state='no' slice='4294967296'/>"),
       "Integer value expected for attribute 'slice'"},
      {Case("<evidence node='a' state='no'/><evidence node='a' state='yes'/>"),
       "Evidence 'yes' of node 'a' cannot be added."},
      {Case("<evidence node='b' state='no' slice='1'/><evidence node='b' state='yes' slice='1'/>"),
       "Evidence 'yes' of node 'b' cannot be added."},
      {Case("<softevidence node='q'>1</softevidence>"), "Invalid node identifier: 'q'"},
      {Case("<softevidence node='a'>1 x</softevidence>"), "Can't read list of doubles, failed at element 2"},
      {Case("<target node='a'/><softevidence node='a'/><softevidence node='a'>1</softevidence>"),
       "Can't add soft evidence"},
      {Case("<target node='q'/>"), "Can't add target node: 'q'"},
  };
  const LogGuard guard;
  for (const ErrorCase& c : cases) {
    QVR_network network;
    EXPECT_FALSE(Load(c.text, network)) << c.text;
    const Strings errors = LogGuard::Messages(QVR_FILE_IO_FAILED);
    ASSERT_EQ(errors.size(), 1U) << c.text;
    EXPECT_TRUE(errors[0].starts_with("Error at 2, ") && errors[0].ends_with(std::string(": ") + c.error))
        << errors[0] << " for " << c.text;
    EXPECT_EQ(network.CheckInvariants(), "");
  }
}

// Too much for a matrix, or for a single number.
TEST(XmlCases, CostsThatTheFileDoesNotFillAreRefused) {
  const LogGuard guard;
  std::string nodes = "<orbel id='n' version='1'><nodes>";
  std::string parents;
  for (int i = 0; i < 40; ++i) {
    const std::string id = 'n' + std::to_string(i);
    nodes += "<cpt id='" + id + "'><state id='s'/><state id='t'/><probabilities>1 0</probabilities></cpt>";
    parents += i > 0 ? " " + id : "";
  }
  for (const auto& [length, error] :
       {std::pair{parents.find(" n25"), "SetCosts failed"}, std::pair{parents.size(), "AddArc failed"}}) {
    QVR_network network;
    const std::int64_t before = QVR_Dmatrix::MemoryInUse();
    EXPECT_FALSE(Load(nodes + "</nodes><observationcost><node id='n0'><parents>" + parents.substr(0, length) +
                          "</parents><cost>1</cost></node></observationcost></orbel>",
                      network));
    EXPECT_LT(QVR_Dmatrix::MemoryInUse() - before, 1 << 20);
    EXPECT_TRUE(LogGuard::Messages().back().ends_with(error));
  }
}

TEST(XmlCases, WhatWasReadIsWrittenTheSame) {
  const LogGuard guard;
  QVR_network network;
  ASSERT_TRUE(Load(
      Document("<cases><case name='c &lt;' category='k' created='-9000000000' modified='9223372036854775807'>"
               "<target node='b'/><target node='a'/><target node='b'/>"
               "<evidence node='x' state='-2.5'/><evidence node='b' state='yes' slice='3'/>"
               "<evidence node='b' state='no' slice='0'/><softevidence node='a'> .25\n.5 1</softevidence>"
               "<description>line\\nback\\\\slash</description></case><case name='d'>"
               "<evidence node='a' state='yes' slice='-1'/></case></cases>"
               "<observationcost><node id='a'><parents>b</parents><cost>n/a 2</cost></node>"
               "<node id='u'><cost>.5</cost></node></observationcost>"),
      network))
      << LogGuard::Messages()[0];
  const QVR_case& scenario = *network.GetCases().GetCase(0);
  EXPECT_EQ(scenario.GetDescription(), "line\nback\\slash");
  EXPECT_EQ(scenario.GetTargets(), (std::vector<int>{1, 0}));
  ASSERT_EQ(scenario.GetEvidence().size(), 3U);
  EXPECT_EQ(scenario.GetEvidence()[1].temporal, (std::vector<std::pair<int, int>>{{3, 1}, {0, 0}}));
  EXPECT_EQ(scenario.GetEvidence()[2].softEvidence, (std::vector<double>{.25, .5, 1}));
  EXPECT_TRUE(IsNotAvailable(network.NodeAt(0)->cost->GetCosts().Subscript(0)));

  std::string text;
  ASSERT_TRUE(SaveXmlNetwork(nullptr, &text, network, &NoWriterExtension()));
  EXPECT_NE(text.find("\t<cases>\n\t\t<case name=\"c &lt;\" category=\"k\" created=\"-9000000000\" "
                      "modified=\"9223372036854775807\">\n"
                      "\t\t\t<description>line\\nback\\\\slash</description>\n"
                      "\t\t\t<evidence node=\"x\" state=\"-2.5\" />\n"
                      "\t\t\t<evidence node=\"b\" slice=\"3\" state=\"yes\" />\n"
                      "\t\t\t<evidence node=\"b\" slice=\"0\" state=\"no\" />\n"
                      "\t\t\t<softevidence node=\"a\">0.25 0.5 1</softevidence>\n"
                      "\t\t\t<target node=\"b\" />\n\t\t\t<target node=\"a\" />\n\t\t</case>\n"
                      "\t\t<case name=\"d\">\n\t\t\t<evidence node=\"a\" state=\"yes\" />\n\t\t</case>\n"
                      "\t</cases>\n"),
            std::string::npos)
      << text;
  QVR_network again;
  ASSERT_TRUE(Load(text, again)) << LogGuard::Messages()[0];
  std::string second;
  ASSERT_TRUE(SaveXmlNetwork(nullptr, &second, again, &NoWriterExtension()));
  EXPECT_EQ(second, text);
}

TEST(XmlCases, WhatCouldNotBeReadIsNotWritten) {
  const LogGuard guard;
  QVR_network network;
  ASSERT_TRUE(Load(Case("<evidence node='a' state='no'/>"), network));
  QVR_case& scenario = *network.GetCases().GetCase(0);
  EXPECT_EQ(network.SetDynamicType(0, kDynamicPlate), QVR_OKAY);  // its record stays discrete
  EXPECT_EQ(scenario.AddDiscreteEvidence(1, 7), QVR_OUT_OF_RANGE);
  EXPECT_EQ(scenario.AddContinuousEvidence(3, 1), QVR_OKAY);
  EXPECT_EQ(scenario.AddTarget(2), QVR_OKAY);
  network.GetCases().tracking = 0;
  network.DeleteNode(2);
  std::string text;
  ASSERT_TRUE(SaveXmlNetwork(nullptr, &text, network, &NoWriterExtension()));
  EXPECT_NE(
      text.find("<case name=\"c\">\n\t\t\t<evidence node=\"a\" slice=\"0\" state=\"no\" />\n\t\t</case>"),
      std::string::npos)
      << text;
}

// A gate's element has no states, so the reader doesn't learn how its outcomes are called.
TEST(XmlCases, OutcomesOfRenamedGatesAreFound) {
  const LogGuard guard;
  QVR_network network;
  const int gate = network.AddNode(kTypeCast, "g");
  QVR_stringArray names;
  names.Add("on");
  names.Add("off");
  ASSERT_EQ(network.NodeAt(gate)->definition->SetNumberOfOutcomes(names), QVR_OKAY);
  network.NodeAt(gate)->extra->SetFaultName(1, "fault");
  EXPECT_EQ(network.GetCases().AddCase("c")->AddDiscreteEvidence(gate, 1), QVR_OKAY);
  std::string text;
  ASSERT_TRUE(SaveXmlNetwork(nullptr, &text, network, nullptr));
  QVR_network loaded;
  ASSERT_TRUE(Load(text, loaded)) << LogGuard::Messages()[0];
  EXPECT_STREQ(loaded.NodeAt(0)->extra->GetFaultNames().Get(1), "fault");
  EXPECT_EQ(loaded.GetCases().GetCase(0)->GetEvidence()[0].outcome, 1);
}

}  // namespace
}  // namespace qvr
