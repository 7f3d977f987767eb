#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "formats/format_table.h"
#include "model/network.h"
#include "support/log_guard.h"
#include "support/network_builder.h"
#include "support/test_folder.h"

namespace qvr {
namespace {

using Strings = std::vector<std::string>;

TEST(FormatTable, GoesByTheTextBehindTheLastDot) {
  struct {
    const char* name;
    int format;
  } const cases[] = {
      {"a.b.XQVR", 8}, {"a.qqvr", 8},  {"x.qvr", 4}, {"x.erg", 1},  {"x.Dne", 2},     {"x.dsc", 3},
      {"x.net", 5},    {"x.xml03", 6}, {".dxp", 7},  {"xqvr", -2},  {"a.xqvr.b", -2}, {"a.xqv", -2},
      {"a.xqvrx", -2}, {"a.", -2},     {"", -2},     {nullptr, -2},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(GetFormatFromExtension(c.name), c.format) << (c.name == nullptr ? "null" : c.name);
  }
}

class LoadFile : public ::testing::Test {
 protected:
  [[nodiscard]] std::string Write(const std::string& name, const std::string& content) const {
    return folder.Write(name, content);
  }
  int Load(const std::string& path, int format = 0) {
    GetErrorLog().Clear();
    return network.LoadFile(path.c_str(), format, nullptr);
  }

  const TestFolder folder;
  const LogGuard guard;
  QVR_network network;
};

constexpr const char* kHead =
    "<?xml version='1.0' encoding='ISO-8859-1'?>\n<orbel id='b' version='1.0'>";  // a node may have the same
const std::string kNodes =
    "<properties><property id='p'>v</property></properties><nodes>"
    "<cpt id='a' target='true'><state id='n'/><state id='y'/><probabilities>.5 .5</probabilities></cpt>"
    "<cpt id='b'><state id='n'/><state id='y'/><parents>a</parents><probabilities>1 0 0 "
    "1</probabilities></cpt>";
const std::string kComplete = kHead + kNodes + "</nodes></orbel>";

TEST_F(LoadFile, LoadsTwiceIntoOneNetwork) {
  const std::string path = Write("a.b.XQVR", kComplete);
  network.SetRelevanceMask(5);
  for (int round = 0; round < 2; ++round) {
    EXPECT_EQ(Load(path), 0) << LogGuard::Messages()[0];
    EXPECT_EQ(GetErrorLog().GetCount(), 0);
    EXPECT_EQ(network.GetNumberOfNodes(), 2);
    EXPECT_EQ(network.FindNode("b"), 1);
    EXPECT_EQ(network.GetTargetCount(), 1);
    EXPECT_EQ(network.userProperties.GetCount(), 1);
    EXPECT_EQ(network.GetRelevanceMask(), 5U);
    EXPECT_EQ(network.GetLoadFlags(), 0U);
    EXPECT_TRUE(network.IsReady());
    EXPECT_TRUE(network.IsConsistent());
    EXPECT_EQ(network.CheckInvariants(), "");
  }
  EXPECT_EQ(network.AddNode(kTypeCpt, "a"), -2) << "the duplicate test is on again";
}

TEST_F(LoadFile, AFailureKeepsWhatWasReadAndRestoresTheNetworksState) {
  EXPECT_EQ(Load(Write("whole.xqvr", kComplete)), 0);
  network.creation.creator = "me";
  network.documentation.titles.Add("t");
  network.SetRelevanceMask(5);
  const std::string path = Write("half.qqvr", kHead + kNodes + "<cpt id='a'/></nodes></orbel>");
  EXPECT_EQ(Load(path), QVR_FILE_IO_FAILED);
  EXPECT_EQ(LogGuard::Messages(), Strings{"Error at 2, " + std::to_string(28 + kNodes.size()) +
                                          " while loading " + path + ": Duplicated node identifier: 'a'"});
  EXPECT_EQ(network.GetNumberOfNodes(), 2);
  EXPECT_EQ(network.GetNumberOfParents(1), 1);
  EXPECT_EQ(network.creation.creator, "");
  EXPECT_EQ(network.documentation.titles.GetNumItems(), 0);
  EXPECT_EQ(network.GetRelevanceMask(), 5U);
  EXPECT_EQ(network.GetLoadFlags(), 0U);
  EXPECT_EQ(network.CheckInvariants(), "");
}

TEST_F(LoadFile, AnUnknownFormatLeavesTheNetworkAlone) {
  ASSERT_EQ(Load(Write("a.xqvr", kComplete)), 0);
  for (const char* name : {"a", "a.txt", "a.bif"}) {
    EXPECT_EQ(Load(name), QVR_OUT_OF_RANGE) << name;
    EXPECT_EQ(LogGuard::Messages(QVR_OUT_OF_RANGE), Strings{"Unknown File Format"}) << name;
  }
  EXPECT_EQ(Load("a.xqvr", 99), QVR_OUT_OF_RANGE);
  GetErrorLog().Clear();
  EXPECT_EQ(network.LoadFile(nullptr, 0, nullptr), QVR_OUT_OF_RANGE);
  EXPECT_EQ(LogGuard::Messages(QVR_OUT_OF_RANGE), Strings{"Unknown File Format"});
  EXPECT_EQ(network.GetNumberOfNodes(), 2);
}

TEST_F(LoadFile, AFileThatCannotBeOpenedLeavesTheNetworkEmpty) {
  ASSERT_EQ(Load(Write("a.xqvr", kComplete)), 0);
  EXPECT_EQ(Load("/no/such/file", 8), QVR_FILE_IO_FAILED);
  EXPECT_EQ(GetErrorLog().GetCode(0), QVR_FILE_IO_FAILED);
  EXPECT_EQ(LogGuard::Messages(),
            Strings{"Error at 0, 0 while loading /no/such/file: Can't open file /no/such/file"});
  EXPECT_EQ(network.GetNumberOfNodes(), 0);
  EXPECT_EQ(network.GetTargetCount(), 0);
}

TEST_F(LoadFile, InconsistentTablesAndUnknownContentAreNoted) {
  const std::string path =
      Write("a b.xqvr", std::string(kHead) +
                            "<nodes><cpt id='a' new=''><state id='n'/><state id='y'/>"
                            "<probabilities>.5 .6</probabilities></cpt></nodes></orbel>");
  EXPECT_EQ(Load(path), 0);
  EXPECT_EQ(LogGuard::Messages(QVR_FILE_ERROR_100)[0],
            "Warning: Ignored unknown attribute 'new' in 'cpt' at 2, 35 while loading " + path);
  EXPECT_FALSE(network.IsConsistent());
  EXPECT_EQ(LogGuard::Messages(QVR_INCONSISTENT),
            Strings{"ERROR: Node [a] is not consistent. Inference may not be correct"});
}

}  // namespace
}  // namespace qvr
