#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "formats/xml_net_loader.h"
#include "model/dynamic_extension.h"
#include "support/log_guard.h"

namespace qvr {
namespace {

constexpr const char* kNodes =
    "<orbel id='net' version='1.0'><nodes>\n"
    "<cpt id='A' dynamic='anchor'><state id='a'/><state id='b'/><probabilities>.5 .5</probabilities></cpt>\n"
    "<cpt id='S'><state id='s'/><state id='t'/><probabilities>.5 .5</probabilities></cpt>\n"
    "<cpt id='P' dynamic='plate'><state id='p'/><state id='q'/><parents>A S</parents>"
    "<probabilities>.5 .5 .5 .5 .5 .5 .5 .5</probabilities></cpt>\n"
    "<deterministic id='T' dynamic='plate'><state id='u'/><state id='v'/><parents>P</parents>"
    "<resultingstates>u v</resultingstates></deterministic>\n"
    "<noisyadder id='N' dynamic='plate'><state id='x'/><state id='y'/><dstates>0</dstates></noisyadder>\n"
    "</nodes>\n";

bool Load(const std::string& dynamic, QVR_network& network) {
  const std::string text = kNodes + dynamic + "</orbel>";
  return LoadXmlNetwork(nullptr, text.c_str(), network, nullptr);
}

TEST(XmlTemporal, ReportsErrors) {
  const auto withSlices = [](const std::string& content) {
    return "<dynamic numslices='2'>" + content + "</dynamic>";
  };
  const std::string numbers = "<probabilities>.5 .5 .5 .5 .5 .5 .5 .5</probabilities></cpt>";
  const std::pair<std::string, const char*> cases[] = {
      {"<dynamic/>", "8, 0: Required attribute 'numslices' not found in element 'dynamic'"},
      {"<dynamic numslices='-3'/>", "Invalid slice count: -3, non-negative integer expected"},
      {withSlices("<cpt id='X' order='1'/>"), "Invalid node identifier: 'X'"},
      {withSlices("<cpt id='S' order='1'/>"), "Node is not part of temporal plate: 'S'"},
      {withSlices("<cpt id='P' order='0'/>"), "Invalid temporal order: 0, positive value expected"},
      {withSlices("<noisyadder id='N' order='1' function='x'/>"), "Invalid noisy adder function: 'x'"},
      {withSlices("<cpt id='P' order='1'><parents> </parents>" + numbers), "No temporal parents specified"},
      {withSlices("<cpt id='P' order='1'><parents>A</parents>" + numbers), "AddTemporalArc failed"},
      {withSlices("<cpt id='P' order='1'><parents>P</parents>" + numbers +
                  "<cpt id='P' order='1'><parents>P</parents>" + numbers),
       "AddTemporalArc failed"},
      {withSlices("<deterministic id='P' "
                  "order='1'><parents>P</parents><resultingstates>p</resultingstates></deterministic>"),
       "Invalid temporal defintion type"},
      {withSlices("<cpt id='P' order='1'><parents>P</parents><probabilities>1 0</probabilities></cpt>"),
       "SetProbabilities failed"},
      {withSlices("<deterministic id='T' order='1'><parents>T</parents><resultingstates>u v "
                  "u</resultingstates></deterministic>"),
       "Invalid number of resulting states: 3, expected 4"},
      {withSlices("<deterministic id='T' order='1'><parents>T</parents><resultingstates>u v u "
                  "w</resultingstates></deterministic>"),
       "Invalid resulting state: w"},
      {withSlices("<noisyadder id='N' order='1'><parents>N</parents><dstates>0</dstates></noisyadder>"),
       "Size of distinguished state vector is invalid: 1, expected2"},
  };
  for (const auto& [content, message] : cases) {
    SCOPED_TRACE(content);
    const LogGuard log;
    QVR_network network;
    EXPECT_FALSE(Load(content, network));
    const std::vector<std::string> messages = LogGuard::Messages();
    ASSERT_EQ(messages.size(), 1U);
    EXPECT_NE(messages[0].find(message), std::string::npos) << messages[0];
    EXPECT_EQ(network.CheckInvariants(), "");
  }
}

// The parents of a table are the ordinary ones but anchors, and then all of lower orders, however the file
// orders its elements.
TEST(XmlTemporal, ReadsTablesOfOrders) {
  const std::string first =
      "<cpt id='P' order='1'><parents>T P</parents><probabilities>1 0 .9 .1 .8 .2 .7 .3 .6 .4 .5 .5 .4 .6 .3 "
      ".7"
      "</probabilities></cpt>";
  for (const bool ascending : {true, false}) {
    QVR_network network;
    std::string numbers;
    for (int cell = 0; cell < (ascending ? 32 : 8); ++cell) {
      numbers += " .5";
    }
    const std::string last =
        "<cpt id='P' order='3'><parents>N</parents><probabilities>" + numbers + "</probabilities></cpt>";
    const std::string content = ascending ? first + last : last + first;
    ASSERT_TRUE(Load("<dynamic numslices='9'>" + content + "</dynamic>", network));
    const int node = network.FindNode("P");
    const int sibling = network.FindNode("S");
    QVR_dynamicExtension& temporal = *network.GetDynamicExtension();
    EXPECT_EQ(temporal.GetSliceCount(), 9);
    using Parents = std::vector<TemporalParent>;
    const Parents lower = {{sibling, 0}, {network.FindNode("T"), 1}, {node, 1}};
    Parents higher = lower;
    higher.push_back({network.FindNode("N"), 3});
    EXPECT_EQ(temporal.GetTableParents(node, 1), lower);
    EXPECT_EQ(temporal.GetTableParents(node, 3), higher);
    EXPECT_EQ(network.CheckInvariants(), "");
  }
}

}  // namespace
}  // namespace qvr
