// The elements of canonical nodes: what they set, and how each of their faults is reported.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "definitions/noisy_adder.h"
#include "definitions/noisy_max.h"
#include "formats/xml_net_loader.h"
#include "model/network.h"
#include "support/log_guard.h"
#include "support/network_builder.h"

namespace qvr {
namespace {

using Doubles = std::vector<double>;

std::string Element(const std::string& name, const std::string& text) {
  return "<" + name + ">" + text + "</" + name + ">";
}

// Two roots, a of three and b of two outcomes, and one more node.
std::string Document(const std::string& node) {
  return "<orbel id='net' version='1.0'><nodes>"
         "<cpt id='a'><state id='x'/><state id='y'/><state id='z'/><probabilities>.2 .3 "
         ".5</probabilities></cpt>"
         "<cpt id='b'><state id='x'/><state id='y'/><probabilities>.4 .6</probabilities></cpt>\n" +
         node + "</nodes></orbel>";
}

bool Load(const std::string& text, QVR_network& network) {
  GetErrorLog().Clear();
  return LoadXmlNetwork(nullptr, text.c_str(), network, nullptr);
}

constexpr const char* kStates = "<state id='s'/><state id='t'/>";
constexpr const char* kParents = "<parents>a b</parents>";

std::string Cast(const std::string& children) {
  return "<cast id='n'>" + std::string(kParents) + children + "</cast>";
}
std::string DeMorgan(const std::string& children) {
  return "<demorgan id='n'>" + std::string(kParents) + children + "</demorgan>";
}
std::string NoisyMax(const std::string& children) {
  return "<noisymax id='n'>" + std::string(kStates) + kParents + children + "</noisymax>";
}
std::string Adder(const std::string& children, const char* function = "average") {
  return "<noisyadder id='n' function='" + std::string(function) + "'>" + kStates + kParents + children +
         "</noisyadder>";
}

const std::string kRows = Element("parameters", ".5 .5 .25 .75 0 1 .6 .4 0 1 .1 .9");

TEST(XmlCanonical, LoadsEachElement) {
  const LogGuard guard;
  struct {
    std::string node;
    Doubles table;  // a's outcomes, then b's, then the node's
  } const cases[] = {
      {Cast(Element("baseline", " 0.5") + Element("pweights", ".5 0") + Element("nweights", "-.5 0") +
            "<property id='p'>q</property>"),
       {.75, .25, .75, .25, .25, .75, .25, .75, .25, .75, .25, .75}},
      {DeMorgan(Element("priorbelief", "0") + Element("types", "cause inhibitor") +
                Element("weights", ".5 1")),
       {0, 1, .5, .5, 0, 1, 0, 1, 0, 1, 0, 1}},
      // y owns the first row, z the second; x and b's y are without effect.
      {NoisyMax(Element("strengths", "2 0 1 0 1 9") + Element("parameters", ".5 .5 0 1 0 1 0 1 0 1 0 1")),
       {0, 1, 0, 1, .5, .5, .5, .5, 0, 1, 0, 1}},
      {NoisyMax(Element("parameters", ".5 .5 0 1 0 1 .5 .5 0 1 0 1")),
       {.75, .25, .5, .5, .5, .5, 0, 1, .5, .5, 0, 1}},
      {Adder(Element("dstates", "1 2 1") + Element("weights", "1 0 1") +
             Element("parameters", "1 0 .5 .5 0 1 0 1 0 1 0 1")),
       {.5, .5, .5, .5, .25, .75, .25, .75, 0, 1, 0, 1}},
      {Adder(Element("dstates", "1 2 1"), "singlefault"), {.5, .5, .5, .5, .5, .5, .5, .5, .5, .5, .5, .5}},
  };
  for (const auto& c : cases) {
    QVR_network network;
    EXPECT_TRUE(Load(Document(c.node), network)) << c.node;
    EXPECT_TRUE(LogGuard::Messages().empty());
    const int handle = network.FindNode("n");
    const auto cells = TableOf(network, handle)->GetItems().Vector();
    ASSERT_EQ(cells.size(), c.table.size());
    for (std::size_t i = 0; i < cells.size(); ++i) {
      EXPECT_NEAR(cells[i], c.table[i], 1e-15) << c.node << " cell " << i;
    }
  }
}

TEST(XmlCanonical, ReportsEachFault) {
  const LogGuard guard;
  const std::string dstates = Element("dstates", "1 2 1");
  const struct {
    std::string node;
    const char* message;
  } cases[] = {
      {Cast(Element("baseline", "0.5 ")), "Can't read baseline"},
      {Cast(Element("baseline", "1.5")), "SetBaseline failed"},
      {Cast(Element("baseline", "1")), "SetPositiveWeights failed"},
      {Cast(Element("baseline", "1") + Element("pweights", "0 0")), "SetNegativeWeights failed"},
      {DeMorgan(Element("priorbelief", "")), "Can't read prior belief"},
      {DeMorgan(Element("priorbelief", "-1")), "SetPriorBelief failed"},
      {DeMorgan(Element("priorbelief", "1") + Element("weights", "1")), "SetParentWeights failed"},
      {DeMorgan(Element("priorbelief", "1") + Element("weights", "1 1")), "SetParentTypes failed"},
      {DeMorgan(Element("types", "cause Cause")), "Invalid parent type 'Cause' at element 2"},
      {NoisyMax(""), "Invalid weights vector size 0, expected 12"},
      {NoisyMax(Element("strengths", "0 1x")), "Can't read list of integers, failed at element 2"},
      {NoisyMax(Element("strengths", "0 1 2 0") + kRows), "SetParentOutcomeStrengths failed"},
      {NoisyMax(Element("strengths", "0 1 1 0 1") + kRows), "SetParentOutcomeStrengths failed"},
      {NoisyMax(Element("strengths", "0 1 2147483648 0 1") + kRows),
       "Can't read list of integers, failed at element 3"},
      {NoisyMax(Element("strengths", "0 1 -2147483648 0 1") + kRows), "SetParentOutcomeStrengths failed"},
      {NoisyMax("<state id='u'/>" + kRows), "Invalid weights vector size 12, expected 18"},
      {"<noisymax id='n'><state id='s'/></noisymax>", "SetNumberOfOutcomes failed"},
      {Adder("", "sum"), "Invalid noisy adder function: 'sum'"},
      {Adder(""), "Size of distinguished state vector is invalid: 0, expected3"},
      {Adder(Element("dstates", "2 0 0")), "SetDistinguishedState call fails"},
      {Adder(Element("dstates", "1 0 2")), "SetParentDistinguishedState call fails"},
      {Adder(dstates + Element("weights", "1 1")), "Invalid weights vector size 2, expected 3"},
      {Adder(dstates + Element("parameters", "1 0")), "Invalid weights vector size 2, expected 12"},
      {"<cast id='c'><baseline>1</baseline></cast>"
       "<noisymax id='n'><parents>c</parents>" +
           std::string(kStates) + "</noisymax>",
       "AddArc failed"},
  };
  for (const auto& c : cases) {
    QVR_network network;
    EXPECT_FALSE(Load(Document(c.node), network)) << c.node;
    const std::vector<std::string> messages = LogGuard::Messages(QVR_FILE_IO_FAILED);
    ASSERT_EQ(messages.size(), 1U) << c.node;
    EXPECT_TRUE(messages[0].ends_with(std::string(": ") + c.message)) << messages[0];
    EXPECT_EQ(network.CheckInvariants(), "");
  }
}

// Forty parents are no matter for a class that needs no table; a table of gigabytes out of few words is.
TEST(XmlCanonical, LoadsWideFamiliesAndRefusesWhatTheFileDoesNotFill) {
  const LogGuard guard;
  std::string roots;
  std::string list;
  std::string wide;
  std::string rows;
  std::string ones;
  for (int i = 0; i < 40; ++i) {
    const std::string id = "r" + std::to_string(i);
    roots += "<cpt id='" + id + "'>" + kStates + "<probabilities>.5 .5</probabilities></cpt>";
    list += id + " ";
    wide += i < 25 ? id + " " : "";
    rows += ".5 .5 0 1 ";
    ones += " 1";
  }
  std::string states;
  for (int i = 0; i < 20'000; ++i) {
    states += "<state id='s" + std::to_string(i) + "'/>";
  }
  const struct {
    std::string node;
    const char* message;  // empty: loads
  } cases[] = {
      {"<noisymax id='n'><parents>" + list + "</parents>" + kStates + Element("parameters", rows + "0 1") +
           "</noisymax>",
       ""},
      {"<noisymax id='n'><parents>" + list + "</parents>" + states + "</noisymax>",
       "Invalid weights vector size 0, expected 1620000"},
      {"<noisyadder id='n'><parents>" + list + "</parents>" + states + Element("dstates", "7" + ones) +
           "</noisyadder>",
       ""},
      {"<cast id='n'><parents>" + list + "</parents><baseline>.5</baseline></cast>", "AddArc failed"},
      {"<cast id='n'><parents>" + wide + "</parents><baseline>.5</baseline></cast>",
       "SetPositiveWeights failed"},
      {"<demorgan id='n'><parents>" + wide + "</parents><priorbelief>.5</priorbelief></demorgan>",
       "SetParentWeights failed"},
  };
  for (const auto& c : cases) {
    QVR_network network;
    const std::int64_t before = QVR_Dmatrix::MemoryInUse();
    EXPECT_EQ(Load(Document(roots + c.node), network), *c.message == '\0');
    EXPECT_LT(QVR_Dmatrix::MemoryInUse() - before, *c.message == '\0' ? 1 << 24 : 1 << 21);
    const std::vector<std::string> messages = LogGuard::Messages();
    EXPECT_EQ(messages.size(), *c.message == '\0' ? 0U : 1U);
    EXPECT_TRUE(messages.empty() || messages[0].ends_with(c.message)) << messages[0];
  }
}

}  // namespace
}  // namespace qvr
