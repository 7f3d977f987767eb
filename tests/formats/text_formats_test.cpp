// What all text formats have to keep: networks, their posteriors, and the engine's health.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include "formats/format_table.h"
#include "support/log_guard.h"
#include "support/network_builder.h"
#include "support/random_canonical.h"
#include "support/test_folder.h"

namespace qvr {
namespace {

constexpr double kPrinted = 5.1e-9;
constexpr double kExpanded = 1e-7;  // of tables that follow from what is printed
constexpr double kPosterior = 2e-6;
constexpr double kConverted = 5e-6;  // the same of a file made from another one

struct Format {
  FormatCode code;
  const char* extension;
  bool hasDecisions;
  double tableTolerance = kPrinted;
};
constexpr Format kFormats[] = {{kFormatErgo, ".erg", false},         {kFormatNetica, ".dne", true},
                               {kFormatMicrosoft, ".dsc", true},     {kFormatText, ".qvr", true, kExpanded},
                               {kFormatHugin, ".net", true},         {kFormatXmlBif, ".xml03", true},
                               {kFormatKi, ".dxp", true, kExpanded}, {kFormatXml, ".xqvr", true}};

std::string JoinedLog() {
  std::string all;
  for (const std::string& message : LogGuard::Messages()) {
    all += message + "\n";
  }
  return all;
}

// Chance nodes of all kinds; with decisions some of them, and utilities below.
bool FillAny(std::uint64_t seed, bool withDecisions, QVR_network& network) {
  TestRandom random(seed);
  const int count = 2 + random.Below(7);
  const ParentLists parents = RandomParents(count, 3, 5, random);
  const std::vector<int> outcomes = RandomOutcomeCounts(count, 2, 5, 1 << 12, random);
  bool done = random.Chance(0.5) ? FillMixedNetwork(parents, outcomes, {0.2, 0.2}, random, network)
                                 : FillNetwork(parents, outcomes, {0.2, 0.2}, random, network);
  if (random.Chance(0.3)) {
    done = done && network.NodeAt(random.Below(count))->ChangeType(kTypeTruthTable) == 0;
  }
  for (int i = 0; withDecisions && i < 2; ++i) {
    const int node = network.AddNode(i == 0 ? kTypeList : kTypeTable, i == 0 ? "decision" : "utility");
    done = done && node >= 0 && network.AddArc(random.Below(count), node, kOrdinaryLayer) == 0;
    if (i == 1) {
      done = done && network.AddArc(node - 1, node, kOrdinaryLayer) == 0;
      QVR_doubleArray utilities;
      for (int cell = network.NodeAt(node)->definition->GetSize(); cell > 0; --cell) {
        utilities.Add(2 * random.Unit() - 1);  // the tolerance is that of probabilities
      }
      done = done && network.NodeAt(node)->definition->SetValues(utilities) == 0;
    }
  }
  return done;
}

std::vector<std::string> OutcomesOf(QVR_network& network, int handle) {
  std::vector<std::string> names;
  if (const QVR_stringArray* list = network.NodeAt(handle)->definition->GetOutcomeNames(); list != nullptr) {
    for (int i = 0; i < list->GetNumItems(); ++i) {
      names.emplace_back(list->Get(i));
    }
  }
  return names;
}

std::vector<std::string> ParentIds(const QVR_network& network, int handle) {
  std::vector<std::string> ids;
  for (int parent : network.GetParents(handle)) {
    ids.push_back(network.NodeAt(parent)->GetId());
  }
  return ids;
}

void ExpectNear(const std::vector<double>& a, const std::vector<double>& b, double tolerance) {
  ASSERT_EQ(a.size(), b.size());
  for (std::size_t i = 0; i < a.size(); ++i) {
    ASSERT_NEAR(a[i], b[i], tolerance);
  }
}

// Evidence that is likely, so that it doesn't blow up what printing has lost.
void ObserveLikeliest(QVR_network& a, QVR_network& b, int handle) {
  ASSERT_EQ(a.UpdateBeliefs(), 0);
  const std::vector<double> belief = BeliefOf(a, handle);
  const auto state = static_cast<int>(std::max_element(belief.begin(), belief.end()) - belief.begin());
  ASSERT_EQ(ValueOf(a, handle).SetEvidence(state), 0);
  ASSERT_EQ(ValueOf(b, b.FindNode(a.NodeAt(handle)->GetId().c_str())).SetEvidence(state), 0);
}

void ExpectSameNetwork(QVR_network& a, QVR_network& b, double tableTolerance, double tolerance = kPosterior) {
  ASSERT_EQ(a.GetNumberOfNodes(), b.GetNumberOfNodes());
  a.UpdateBeliefs();
  b.UpdateBeliefs();
  for (int node : AllNodes(a)) {
    SCOPED_TRACE(a.NodeAt(node)->GetId());
    const int other = b.FindNode(a.NodeAt(node)->GetId().c_str());
    ASSERT_GE(other, 0);
    EXPECT_EQ(OutcomesOf(a, node), OutcomesOf(b, other));
    EXPECT_EQ(ParentIds(a, node), ParentIds(b, other));
    ExpectNear(NumbersOf(a, node), NumbersOf(b, other), tableTolerance);
    ExpectNear(BeliefOf(a, node), BeliefOf(b, other), tolerance);
  }
}

class TextFormats : public ::testing::TestWithParam<Format> {
 protected:
  [[nodiscard]] std::string PathOf(const std::string& name) const {
    return folder.Path(name + GetParam().extension);
  }

  const TestFolder folder;
  const LogGuard guard;
};

TEST_P(TextFormats, KeepNetworks) {
  for (std::uint64_t seed = 1; seed <= 100; ++seed) {
    SCOPED_TRACE(seed);
    GetErrorLog().Clear();  // updates leave notes
    QVR_network network;
    ASSERT_TRUE(FillAny(seed, GetParam().hasDecisions, network));
    ASSERT_EQ(network.SaveFile(PathOf("a").c_str(), 0, nullptr), 0) << JoinedLog();
    QVR_network loaded;
    ASSERT_EQ(loaded.LoadFile(PathOf("a").c_str(), 0, nullptr), 0) << JoinedLog();
    ASSERT_EQ(JoinedLog(), "");
    ASSERT_EQ(loaded.CheckInvariants(), "");
    ExpectSameNetwork(network, loaded, GetParam().tableTolerance);
    if (HasFatalFailure()) {
      return;
    }
  }
}

TEST_P(TextFormats, ConvertToEachOther) {
  for (std::uint64_t seed = 1; seed <= 10; ++seed) {
    QVR_network network;
    QVR_network loaded;
    ASSERT_TRUE(FillAny(seed, false, network));
    ASSERT_EQ(network.SaveFile(PathOf("a").c_str(), 0, nullptr), 0);
    ASSERT_EQ(loaded.LoadFile(PathOf("a").c_str(), 0, nullptr), 0);
    for (const Format& other : kFormats) {
      SCOPED_TRACE(other.extension + std::to_string(seed));
      const std::string path = folder.Path(std::string("b") + other.extension);
      GetErrorLog().Clear();
      QVR_network converted;
      ASSERT_EQ(loaded.SaveFile(path.c_str(), 0, nullptr), 0) << JoinedLog();
      ASSERT_EQ(converted.LoadFile(path.c_str(), 0, nullptr), 0) << JoinedLog();
      ASSERT_EQ(JoinedLog(), "");
      ObserveLikeliest(network, converted, network.GetNumberOfNodes() - 1);
      ExpectSameNetwork(network, converted, kExpanded, kConverted);
      if (HasFatalFailure()) {
        return;
      }
    }
  }
}

// What a file is cut off behind, byte by byte, is refused or partly read, and never more than that.
TEST_P(TextFormats, SurviveTruncation) {
  QVR_network network;
  AddChance(network, "a", 2, {}, {0.25, 0.75});
  ASSERT_GE(AddChance(network, "b", 2, {0}, {0.5, 0.5, 0.125, 0.875}), 0);
  network.NodeAt(0)->info->header.SetComment("a \\ \"quoted\" text");
  ASSERT_EQ(network.SaveFile(PathOf("a").c_str(), 0, nullptr), 0);
  const std::string whole = folder.Read("a" + std::string(GetParam().extension));
  for (std::size_t length = 0; length < whole.size(); ++length) {
    QVR_network loaded;
    loaded.LoadFile(folder.Write("cut", whole.substr(0, length)).c_str(), GetParam().code, nullptr);
    ASSERT_EQ(loaded.CheckInvariants(), "") << length;
    ASSERT_LE(loaded.GetNumberOfNodes(), network.GetNumberOfNodes()) << length;
  }
}

// A network that the format can't hold leaves an older file as it was.
TEST_P(TextFormats, RefuseWhatTheyCannotHold) {
  QVR_network network;
  const bool hasEquations =
      GetParam().code == kFormatKi || GetParam().code == kFormatText || GetParam().code == kFormatXml;
  network.AddNode(hasEquations ? kTypeEquationScc : kTypeEquation, "x");
  const std::string path = folder.Write("old" + std::string(GetParam().extension), "old");
  EXPECT_EQ(network.SaveFile(path.c_str(), 0, nullptr), QVR_OUT_OF_RANGE);
  EXPECT_EQ(ReadWhole(path), "old");
  EXPECT_NE(JoinedLog(), "");
  EXPECT_EQ(network.SaveFile(folder.Path("none/x").c_str(), GetParam().code, nullptr) < 0, true);
}

// Names that no format's syntax may trip over, line ends and a byte-order mark.
TEST_P(TextFormats, KeepNamesAndTakeAnyLineEnds) {
  QVR_network network;
  const std::string longName(300, 'n');
  for (const char* id : {"node", "potential", "NA", "e5", "probs", longName.c_str()}) {
    const int node = AddChance(network, id, 2, {}, {0.25, 0.75});
    network.NodeAt(node)->info->header.SetName("caf\xE9 \\41 \"{;}\" %  //  /* \\C3");
    network.NodeAt(node)->definition->RenameOutcome(0, "UNDEF");
    if (node > 0) {
      ASSERT_EQ(network.AddArc(0, node, kOrdinaryLayer), 0);
    }
  }
  ASSERT_EQ(network.SaveFile(PathOf("a").c_str(), 0, nullptr), 0) << JoinedLog();
  std::string text = "\xEF\xBB\xBF" + folder.Read("a" + std::string(GetParam().extension));
  for (std::size_t i = 0; (i = text.find('\n', i)) != std::string::npos; i += 2) {
    text.insert(i, 1, '\r');
  }
  QVR_network loaded;
  ASSERT_EQ(loaded.LoadFile(folder.Write("b", text).c_str(), GetParam().code, nullptr), 0) << JoinedLog();
  EXPECT_EQ(JoinedLog(), "");
  ExpectSameNetwork(network, loaded, GetParam().tableTolerance);
  if (GetParam().code != kFormatErgo && GetParam().code != kFormatXmlBif) {
    EXPECT_EQ(loaded.NodeAt(1)->info->header.GetName(), network.NodeAt(1)->info->header.GetName());
  }
}

// The engine's own names are free of the rules for identifiers, and of those of every text format. XML writes
// them as they stand.
using NamesInText = TextFormats;

TEST_P(NamesInText, KeepAuxiliaryNodes) {
  QVR_network network;
  for (const char* id : {"@a\nb {", "@a b {", "x_a_b"}) {
    const int node = AddChance(network, id, 2, {}, {0.25, 0.75});
    ASSERT_TRUE(node == 0 || network.AddArc(0, node, kOrdinaryLayer) == 0);
  }
  ASSERT_EQ(network.SaveFile(PathOf("a").c_str(), 0, nullptr), 0) << JoinedLog();
  QVR_network loaded;
  ASSERT_EQ(loaded.LoadFile(PathOf("a").c_str(), 0, nullptr), 0);
  EXPECT_EQ(JoinedLog(), "");
  ASSERT_EQ(loaded.GetNumberOfNodes(), 3);
  EXPECT_EQ(loaded.GetNumberOfParents(2), 1);
}

std::string NameOfFormat(const ::testing::TestParamInfo<Format>& one) { return one.param.extension + 1; }

INSTANTIATE_TEST_SUITE_P(All, TextFormats, ::testing::ValuesIn(kFormats), NameOfFormat);
INSTANTIATE_TEST_SUITE_P(AllButXml, NamesInText,
                         ::testing::ValuesIn(std::begin(kFormats), std::end(kFormats) - 1), NameOfFormat);

// Files of other programs, where they are at hand.
class SampleFiles : public ::testing::Test {
 protected:
  void SetUp() override {
    if (!std::filesystem::exists(samples)) {
      GTEST_SKIP() << "no samples in " << samples;
    }
  }
  // The folder stands in for the extension: some aren't ours.
  static int FormatOf(const std::filesystem::path& path) {
    const int own = GetFormatFromExtension(path.c_str());
    return own > 0 ? own : GetFormatFromExtension(("." + path.parent_path().filename().string()).c_str());
  }
  void Load(const std::filesystem::path& path, QVR_network& network) {
    GetErrorLog().Clear();
    ASSERT_EQ(network.LoadFile(path.c_str(), FormatOf(path), nullptr), 0) << path << JoinedLog();
    EXPECT_GT(network.GetNumberOfNodes(), 0) << path;
    EXPECT_TRUE(network.IsConsistent()) << path;
    EXPECT_EQ(network.CheckInvariants(), "") << path;
    for (const std::string& message : LogGuard::Messages()) {
      EXPECT_TRUE(message.starts_with("(line ") || message.starts_with("Warning")) << path << message;
    }
  }

  const std::filesystem::path samples = std::filesystem::path(QVR_SHARED_DIR) / "formats" / "samples";
  const LogGuard guard;
};

TEST_F(SampleFiles, Load) {
  for (const Format& format : kFormats) {
    const std::filesystem::path files = samples / (format.extension + 1);
    if (!std::filesystem::exists(files)) {
      continue;
    }
    for (const auto& entry : std::filesystem::directory_iterator(files)) {
      QVR_network network;
      Load(entry.path(), network);
    }
  }
  for (const auto& entry : std::filesystem::directory_iterator(samples.parent_path() / "examples")) {
    if (FormatOf(entry.path()) > 0) {
      QVR_network network;
      Load(entry.path(), network);
    }
  }
}

// One network as several programs wrote it: names and order differ, posteriors don't.
TEST_F(SampleFiles, AgreeAcrossFormats) {
  const std::vector<std::vector<const char*>> groups = {
      {"net/asia_bnlearn.net", "net/chest_clinic_hugin.net", "erg/constructed_asia.erg", "dne/asia_old.dnet",
       "dne/chestclinic_unbbayes.dne", "dsc/asia_bnlearn.dsc", "xml03/asia_javabayes.xml03"},
      {"net/alarm_unbbayes.net", "dne/alarm_old.dnet", "xml03/alarm_javabayes.xml03"},
      {"net/cancer_bnlearn.net", "dsc/cancer_bnlearn.dsc"},
      {"dne/cancer_old.dnet", "xml03/cancer_javabayes.xml03"},
  };
  for (const auto& group : groups) {
    std::vector<double> expected;
    for (const char* file : group) {
      QVR_network network;
      Load(samples / file, network);
      ASSERT_EQ(network.UpdateBeliefs(), 0);
      std::vector<double> posteriors;
      for (int node : AllNodes(network)) {
        const std::vector<double> belief = BeliefOf(network, node);
        posteriors.insert(posteriors.end(), belief.begin(), belief.end());
      }
      std::sort(posteriors.begin(), posteriors.end());
      if (expected.empty()) {
        expected = posteriors;
      }
      SCOPED_TRACE(file);
      ExpectNear(posteriors, expected, 1e-6);
    }
  }
}

}  // namespace
}  // namespace qvr
