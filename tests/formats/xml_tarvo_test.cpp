// What the front-end keeps in XML network files.
#include <gtest/gtest.h>

#include <climits>
#include <string>
#include <vector>

#include "formats/xml_net_loader.h"
#include "formats/xml_net_saver.h"
#include "formats/xml_screen_geometry.h"
#include "formats/xml_version.h"
#include "model/network.h"
#include "support/log_guard.h"

namespace qvr {
namespace {

const std::string kCommon =
    "<name>N\\na</name><interior color='0102ff'/><outline color='a0B0c0' width='4'/>"
    "<font name='f' size='8' color='ff0000'/><position>10 20 31 60</position><comment>c</comment>";

// A document with two nodes and this content of the front-end's section.
bool Load(const std::string& content, const std::string& attributes, QVR_network& network) {
  GetErrorLog().Clear();
  const std::string version = attributes.starts_with(" version") ? "" : " version='1.0'";
  const std::string text =
      "<orbel id='net' version='1'><nodes><cpt id='a'><state id='x'/><state id='y'/>"
      "<probabilities>1 0</probabilities></cpt><utility id='u'><utilities>1</utilities></utility></nodes>"
      "<extensions><tarvo name='title'" +
      version + attributes + ">" + content + "</tarvo></extensions></orbel>";
  return LoadXmlNetwork(nullptr, text.c_str(), network, nullptr);
}

TEST(XmlTarvo, FillsNodesAndSubmodels) {
  const LogGuard guard;
  QVR_network network;
  ASSERT_TRUE(
      Load("<comment>about</comment>"
           "<node id='u' faultnameformat='inherit'>" +
               kCommon +
               "</node>"
               "<submodel id='S'>" +
               kCommon + "<window>0 0 5 7</window><submodel id='T'>" + kCommon + "<node id='a'>" + kCommon +
               "<question>why?</question><link title='t' path='p'/><defcomment row='0' col='1'>d</defcomment>"
               "<state id='y' globalid='9' faultname='broken'><fix>mend</fix><comment>s\\tt</comment>"
               "<link title='t1' path='p1'/><link title='t2' path=''/></state><barchart width='3'/></node>"
               "<textbox><caption>two\\nlines</caption><font name='f' size='1' color='000000' bold='true'/>"
               "<position>-4 -6 4 6</position></textbox></submodel></submodel>"
               "<arccomment parent='a' child='u' order='1'>x</arccomment>"
               "<qualcolors left='000000' center='111111' right='222222' blend='yes'/>",
           " faultnameformat='state' app='any' arcwidth='2' arccolor='00ff00'", network))
      << LogGuard::Messages().back();
  EXPECT_EQ(LogGuard::Messages(), std::vector<std::string>());
  QVR_submodelHandler& handler = network.GetSubmodels();
  const QVR_header& header = handler.GetSubmodel(QVR_submodelHandler::kMainSubmodel)->header;
  EXPECT_EQ(header.GetId() + header.GetName() + header.GetComment(), "nettitleabout");
  EXPECT_EQ(network.reservedMode, 2);

  const QVR_node& inner = *network.NodeAt(0);
  EXPECT_EQ(inner.info->header.GetName() + inner.info->header.GetComment(), "N\nac");
  const QVR_screenInfo& screen = inner.info->screen;
  EXPECT_EQ(screen.color, 0xFF0201);
  EXPECT_EQ(screen.borderColor, 0xC0B0A0);
  EXPECT_EQ(screen.fontColor, 0x0000FF);
  EXPECT_EQ(screen.borderThickness, 4);
  EXPECT_EQ(screen.position.width, 21);
  EXPECT_EQ(screen.position.centerX, 20);
  EXPECT_EQ(screen.position.height, 40);
  EXPECT_EQ(screen.position.centerY, 40);
  EXPECT_EQ(inner.extra->showAs, 2) << "as the network when the node doesn't say";
  EXPECT_EQ(network.NodeAt(1)->extra->showAs, 4);
  EXPECT_EQ(inner.extra->question, "why?");
  EXPECT_STREQ(inner.info->documentation.links.Get(0), "p");
  EXPECT_STREQ(inner.extra->GetFaultNames().Get(1), "broken");
  EXPECT_STREQ(inner.extra->GetStateComments().Get(1), "s\tt");
  EXPECT_STREQ(inner.extra->GetRepairInfo().Get(1), "mend");
  EXPECT_STREQ(inner.extra->FindStateDocumentation(1)->titles.Get(1), "t2");

  const int outerHandle = handler.FindSubmodel("S");
  const int innerHandle = handler.FindSubmodel("T");
  EXPECT_EQ(handler.GetParent(innerHandle), outerHandle);
  EXPECT_EQ(inner.submodel, innerHandle);
  EXPECT_EQ(network.NodeAt(1)->submodel, QVR_submodelHandler::kMainSubmodel);
  EXPECT_EQ(handler.GetSubmodel(outerHandle)->windowPosition.height, 7);
  const QVR_textBoxList& boxes = handler.GetSubmodel(innerHandle)->textBoxes;
  EXPECT_STREQ(boxes.texts.Get(0), "two\nlines");
  EXPECT_EQ(boxes.boxes.Get(0).height, 12);
}

std::string Nested(int depth) {
  std::string text;
  for (int i = 0; i < depth; ++i) {
    text += "<submodel id='s" + std::to_string(i) + "'>" + kCommon;
  }
  for (int i = 0; i < depth; ++i) {
    text += "</submodel>";
  }
  return text;
}

TEST(XmlTarvo, RefusesWhatIsMalformed) {
  const LogGuard guard;
  const auto node = [](const std::string& content) { return "<node id='a'>" + content + "</node>"; };
  struct {
    std::string content;
    std::string attributes;
    std::string message;  // empty for none
  } const cases[] = {
      {"", " faultnameformat='inherit'", "Inherited fault name format not allowed here"},
      {"", " faultnameformat='all'", "Invalid fault name format: 'all'"},
      {"", " arccolor='12345'", "Color specification 'rrggbb' expected"},
      {"", " version='1.1'", "Invalid version number '1.1', expected 1.0\n" + UpgradeNotice()},
      {"<node id='b'/>", "", "Node 'b' doesn't exist in ORBEL network"},
      {"<node id='a' faultnameformat='x'/>", "", "Invalid fault name format: 'x'"},
      {node("<interior color='12345g'/>"), "", "Color specification 'rrggbb' expected"},
      {node("<interior color='-12345'/>"), "", "Color specification 'rrggbb' expected"},
      {node("<outline color='000000' width='thin'/>"), "", "Invalid width attribute"},
      {node("<outline color='000000' width='-1'/>"), "", "Invalid width attribute"},
      {node("<position>1 2 3</position>"), "", "Exactly 4 integers expected"},
      {node("<position>1 2 3 4 5</position>"), "", "Exactly 4 integers expected"},
      {node("<position>1 2 3.5 4</position>"), "", "Can't read list of integers, failed at element 3"},
      {node("<state id='z'/>"), "", "Invalid state id: 'z'"},
      {"<node id='u'><state id='x'/></node>", "", "Invalid state id: 'x'"},
      {node("<name/>"), "", "Required element 'interior' not present in element 'node'"},
      {"<submodel id='7'/>", "", "Can't create submodel '7'"},
      {"<submodel id='net'/>", "", "Can't create submodel 'net'"},
      {Nested(1000), "", ""},
      {Nested(1001), "", "Can't create submodel 's1000'"},
      {"<plate leftwidth='1' rightwidth='x'/>", "", "Integer value expected for attribute 'rightwidth'"},
  };
  for (const auto& c : cases) {
    QVR_network network;
    const bool loaded = Load(c.content, c.attributes, network);
    EXPECT_EQ(loaded, c.message.empty()) << c.content << c.attributes;
    const std::string last = GetErrorLog().GetCount() == 0 ? "" : LogGuard::Messages().back();
    EXPECT_TRUE(last.ends_with(c.message)) << last;
    EXPECT_EQ(network.CheckInvariants(), "");
  }
}

TEST(XmlTarvo, BoxesKeepWhatAnIntCanHold) {
  using Numbers = std::vector<int>;
  struct {
    ScreenBox box;
    Numbers numbers;  // centres and sizes
  } const cases[] = {
      {{{10, 0, 31, 1}}, {20, 0, 21, 1}},
      {{{-3, 5, -10, -6}}, {-6, 0, -7, -11}},
      {{{INT_MIN, INT_MAX, INT_MAX, INT_MIN}}, {-1, 0, INT_MAX, INT_MIN}},
  };
  for (const auto& c : cases) {
    QVR_rectangle box;
    SetBox(c.box, box);
    for (int round = 0; round < 2; ++round) {
      EXPECT_EQ((Numbers{box.centerX, box.centerY, box.width, box.height}), c.numbers);
      SetBox(BoxOf(box), box);
    }
  }
}

// The text itself, where other programs read it.
TEST(XmlTarvo, WritesTheSectionAsTheFrontEndReadsIt) {
  const LogGuard guard;
  QVR_network network;
  ASSERT_TRUE(Load(
      "<node id='a' faultnameformat='user'>" + kCommon + "<state id='x'><comment>m</comment></state></node>",
      "", network));
  network.SetTarget(0);
  network.SetDynamicType(0, kDynamicPlate);
  network.NodeAt(0)->cost->SetCosts({2.5});
  std::string text;
  ASSERT_TRUE(SaveXmlNetwork(nullptr, &text, network, &NoWriterExtension()));
  const std::string document =
      "<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?>\n"
      "<orbel version=\"1.0\" id=\"net\" numsamples=\"1000\" discsamples=\"10000\">\n\t<nodes>\n"
      "\t\t<cpt id=\"a\" target=\"true\" dynamic=\"plate\">\n"
      "\t\t\t<state id=\"x\" />\n\t\t\t<state id=\"y\" />\n"
      "\t\t\t<probabilities>1 0</probabilities>\n\t\t</cpt>\n"
      "\t\t<utility id=\"u\">\n\t\t\t<utilities>1</utilities>\n\t\t</utility>\n\t</nodes>\n\t<dynamic "
      "numslices=\"10\">\n\t</dynamic>\n"
      "\t<observationcost>\n\t\t<node id=\"a\">\n\t\t\t<cost>2.5</cost>\n\t\t</node>\n"
      "\t</observationcost>\n";
  EXPECT_EQ(text, document + "</orbel>\n");
  network.SetDynamicType(0, kDynamicNormal);
  network.reservedMode = 4;  // to inherit is for nodes alone: it couldn't be read back
  text.clear();
  ASSERT_TRUE(SaveXmlNetwork(nullptr, &text, network, nullptr));
  const std::string section =
      "\t<extensions>\n"
      "\t\t<tarvo version=\"1.0\" app=\"ORBEL Mar 25 2016\" name=\"title\" faultnameformat=\"nodestate\">\n"
      "\t\t\t<node id=\"a\" faultnameformat=\"user\">\n\t\t\t\t<name>N\\na</name>\n"
      "\t\t\t\t<interior color=\"0102ff\" />\n\t\t\t\t<outline color=\"a0b0c0\" width=\"4\" />\n"
      "\t\t\t\t<font color=\"ff0000\" name=\"MS Sans Serif\" size=\"8\" />\n"
      "\t\t\t\t<position>10 20 31 60</position>\n\t\t\t\t<comment>c</comment>\n"
      "\t\t\t\t<state id=\"x\">\n\t\t\t\t\t<comment>m</comment>\n\t\t\t\t</state>\n\t\t\t</node>\n";
  EXPECT_NE(text.find(section), std::string::npos) << text;
}

}  // namespace
}  // namespace qvr
