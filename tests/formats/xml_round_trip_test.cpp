// What is saved in the XML network format comes back, and the old file stays when it can't be.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <map>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "formats/xml_net_loader.h"
#include "formats/xml_net_saver.h"
#include "support/log_guard.h"
#include "support/network_builder.h"
#include "support/network_equality.h"
#include "support/random_cases.h"
#include "support/random_rich_network.h"
#include "support/test_folder.h"

namespace qvr {
namespace {

std::string Save(QVR_network& network) {
  std::string text;
  EXPECT_TRUE(SaveXmlNetwork(nullptr, &text, network, nullptr));
  return text;
}

void Load(const std::string& text, QVR_network& network) {
  GetErrorLog().Clear();
  EXPECT_TRUE(LoadXmlNetwork(nullptr, text.c_str(), network, nullptr));
  EXPECT_EQ(LogGuard::Messages(), std::vector<std::string>());
  EXPECT_EQ(network.CheckInvariants(), "");
}

// Every value of an update, by the node's identifier.
NetworkFields ListAnswers(QVR_network& network) {
  NetworkFields answers;
  answers.Add("status", network.UpdateBeliefs());
  std::map<std::string, int> handles;
  for (const int handle : AllNodes(network)) {
    handles[network.NodeAt(handle)->GetId()] = handle;
  }
  for (const auto& [id, handle] : handles) {
    answers.Add(id, ValueOf(network, handle).IsValueValid() ? "valid" : "not valid");
    answers.AddAll(id, BeliefOf(network, handle));
  }
  return answers;
}

TEST(XmlRoundTrip, KeepsRandomNetworks) {
  const LogGuard guard;
  constexpr RichKind kKinds[] = {RichKind::kChance, RichKind::kInfluence, RichKind::kEquations,
                                 RichKind::kMixed};
  int solved = 0;
  for (unsigned seed = 0; seed < 200; ++seed) {
    SCOPED_TRACE(seed);
    const RichKind kind = kKinds[seed % 4];
    TestRandom random(seed);
    QVR_network made;
    QVR_network loaded;
    QVR_network again;
    ASSERT_TRUE(FillRichNetwork(kind, random, made));
    ASSERT_TRUE(AddRandomCosts(random, made));
    ASSERT_TRUE(!random.Chance(0.4) || AddRandomPlate(random, made));
    AddRandomCases(made, 3, random);
    const std::string text = Save(made);
    Load(text, loaded);
    ASSERT_EQ(FirstDifference(made, loaded, 1e-15), "") << text;
    ASSERT_EQ(Save(loaded), text);
    Load(text, again);
    ASSERT_EQ(FirstDifference(loaded, again, 0), "");
    if (kind == RichKind::kChance || kind == RichKind::kInfluence) {
      const NetworkFields answers = ListAnswers(loaded);
      solved += answers.numbers.front().second == QVR_OKAY ? 1 : 0;
      ASSERT_EQ(FirstDifference(answers, ListAnswers(again), 0), "");
      ASSERT_EQ(FirstDifference(answers, ListAnswers(made), 1e-12), "");
    }
  }
  EXPECT_GT(solved, 80) << "of the 100 networks that a solver takes";
}

class SaveFile : public ::testing::Test {
 protected:
  int Save(const std::string& path, int format = 0) {
    GetErrorLog().Clear();
    return network.SaveFile(path.c_str(), format, nullptr);
  }

  const LogGuard guard;
  const TestFolder folder;
  QVR_network network;
};

TEST_F(SaveFile, LeavesTheOldFileWhereItFails) {
  AddChance(network, "a", 2, {}, {0.5, 0.5});
  const std::string old = folder.Write("old.xqvr", "old");
  std::filesystem::create_directories(folder.Path("dir.xqvr"));
  struct {
    std::string path;
    int format;
    int result;
    std::vector<std::string> log;
  } const cases[] = {
      {folder.Path("a.txt"), 0, QVR_OUT_OF_RANGE, {"Unknown File Format"}},
      {old, 99, QVR_OUT_OF_RANGE, {"Unknown File Format"}},
      {folder.Path("dir.xqvr"), 0, QVR_FILE_IO_FAILED, {}},
      {old + "/below.xqvr", 0, QVR_FILE_IO_FAILED, {}},
      {"/dev/full", 8, QVR_FILE_IO_FAILED, {}},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(Save(c.path, c.format), c.result) << c.path;
    EXPECT_EQ(LogGuard::Messages(), c.log) << c.path;
  }
  EXPECT_EQ(network.SaveFile(nullptr, 8, nullptr), QVR_OUT_OF_RANGE);
  const int unknown = network.AddNode(kTypeEquationScc, "scc");
  EXPECT_EQ(Save(old), QVR_OUT_OF_RANGE);
  EXPECT_EQ(LogGuard::Messages(QVR_WRONG_NODE_TYPE), std::vector<std::string>{"Node [scc] can't be saved"});
  EXPECT_EQ(folder.Read("old.xqvr"), "old");
  EXPECT_EQ(folder.FileNames(), (std::set<std::string>{"old.xqvr", "dir.xqvr"}));

  network.DeleteNode(unknown);
  EXPECT_EQ(Save(old), QVR_OKAY);
  QVR_network loaded;
  EXPECT_EQ(loaded.LoadFile(old.c_str(), 0, nullptr), QVR_OKAY);
  EXPECT_EQ(FirstDifference(network, loaded, 0), "");
}

// In memory where that's possible: a disk under load would take a second for a round.
TEST_F(SaveFile, AKilledProcessLeavesAWholeFile) {
  const std::filesystem::path memory = "/dev/shm";
  const TestFolder quick(std::filesystem::exists(memory) ? memory : std::filesystem::temp_directory_path());
  std::string texts[2];
  for (int i = 0; i < 200; ++i) {
    AddChance(network, ("n" + std::to_string(i)).c_str(), 2, {}, {0.25, 0.75});
  }
  const std::string path = quick.Path("net.xqvr");
  const auto start = std::chrono::steady_clock::now();
  for (std::string& text : texts) {
    network.sampleCount += 1;
    ASSERT_EQ(Save(path), QVR_OKAY);
    text = quick.Read("net.xqvr");
  }
  const std::chrono::duration<double, std::micro> twoSaves = std::chrono::steady_clock::now() - start;
  const int longest = static_cast<int>(std::clamp(twoSaves.count(), 1e3, 5e4));
  TestRandom random(7);
  std::set<std::string> seen;
  int interrupted = 0;
  for (int round = 0; round < 200; ++round) {
    const pid_t child = fork();
    if (child == 0) {
      for (;;) {
        network.sampleCount ^= 3;  // 1001 and 1002 by turns
        network.SaveFile(path.c_str(), 0, nullptr);
      }
    }
    ASSERT_GT(child, 0);
    std::this_thread::sleep_for(std::chrono::microseconds(random.Below(longest)));
    kill(child, SIGKILL);
    waitpid(child, nullptr, 0);
    const std::string found = quick.Read("net.xqvr");
    ASSERT_TRUE(found == texts[0] || found == texts[1]) << "after " << round << " kills";
    seen.insert(found);
    std::set<std::string> others = quick.FileNames();
    others.erase("net.xqvr");
    ASSERT_LE(others.size(), 1U);
    for (const std::string& other : others) {
      ++interrupted;
      std::filesystem::remove(quick.Path(other));
    }
  }
  EXPECT_EQ(seen.size(), 2U) << "no save was completed";
  EXPECT_GT(interrupted, 0) << "no save was interrupted";
}

// Each step for each node would take hours, a call for each level of submodels the stack.
TEST(XmlRoundTrip, TakesLargeNetworksInLinearTime) {
  constexpr int kNodes = 100'000;
  constexpr int kDepth = 1000;
  QVR_network network;
  const UpdateFlagsOff quiet(network, UPDATE_TRACK_CHANGES);
  int submodel = QVR_submodelHandler::kMainSubmodel;
  for (int i = 0; i < kDepth; ++i) {
    submodel = network.GetSubmodels().CreateSubmodel(submodel, nullptr);
  }
  for (int i = 0; i < kNodes; ++i) {
    const std::vector<int> parents = i == 0 ? std::vector<int>{} : std::vector<int>{i - 1};
    const std::vector<double> table(i == 0 ? 2 : 4, 0.5);
    ASSERT_EQ(AddChance(network, ("n" + std::to_string(i)).c_str(), 2, parents, table), i);
    network.NodeAt(i)->SetSubmodel(i % 100 == 0 ? submodel : QVR_submodelHandler::kMainSubmodel);
  }
  const auto start = std::chrono::steady_clock::now();
  const std::string text = Save(network);
  QVR_network loaded;
  Load(text, loaded);
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(20));
  EXPECT_EQ(loaded.GetNumberOfNodes(), kNodes);
  EXPECT_EQ(loaded.GetSubmodels().GetParent(loaded.NodeAt(0)->submodel), submodel - 1);
}

}  // namespace
}  // namespace qvr
