// Copies of a network: equal in all that is copied, and sharing nothing.
#include <gtest/gtest.h>

#include <memory>

#include "support/describe_network.h"
#include "support/log_guard.h"
#include "support/network_builder.h"
#include "support/random_network.h"

namespace qvr {
namespace {

// A network that has some of everything.
std::unique_ptr<QVR_network> MakeSource() {
  auto network = std::make_unique<QVR_network>();
  TestRandom random(5);
  EXPECT_TRUE(FillNetwork(RandomParents(12, 3, 6, random), RandomOutcomeCounts(12, 2, 4, 1e9, random), {},
                          random, *network));
  EXPECT_EQ(network->DeleteNode(4), QVR_OKAY);
  for (int i = 0; i < 2; ++i) {
    EXPECT_GE(network->AddNode(kTypeCpt, "@"), 0);
  }
  const int group = network->GetSubmodels().CreateSubmodel(QVR_submodelHandler::kMainSubmodel, "group");
  QVR_node& node = *network->NodeAt(7);
  EXPECT_EQ(node.SetSubmodel(group), QVR_OKAY);
  node.info->header.SetComment("a comment");
  node.info->userProperties.Add("key", "value");
  node.info->screen.position.width = 123;
  node.extra->SetFault(1, 1);
  node.extra->SetFaultName(0, "broken");
  node.extra->SetDefaultOutcome(1);
  node.extra->GetStateDocumentation(1)->titles.Add("title");
  node.extra->question = "why";
  EXPECT_EQ(ValueOf(*network, 3).SetEvidence(1), QVR_OKAY);
  EXPECT_EQ(SetLikelihoods(*network, 6,
                           std::vector<double>(
                               static_cast<std::size_t>(network->NodeAt(6)->GetNumberOfOutcomes()), 0.5)),
            QVR_OKAY);
  ValueOf(*network, 8).SetValueValid();
  EXPECT_EQ(network->AddArc(2, 7, kCostLayer), QVR_OKAY);
  EXPECT_EQ(network->AddArc(5, 7, kCostLayer), QVR_OKAY);
  QVR_doubleArray costs;
  for (int i = 0; i < node.cost->GetCosts().GetNumElements(); ++i) {
    costs.Add(i);
  }
  EXPECT_EQ(node.cost->SetCosts(costs), QVR_OKAY);
  EXPECT_EQ(network->SetTarget(9), QVR_OKAY);
  QVR_case& scenario = *network->GetCases().AddCase("case");
  scenario.modified = 5;
  EXPECT_EQ(scenario.AddTemporalEvidence(7, 3, 1), QVR_OKAY);
  EXPECT_EQ(scenario.AddSoftEvidence(2, std::vector<double>{.5, .25}), QVR_OKAY);
  EXPECT_EQ(scenario.AddTarget(2), QVR_OKAY);
  network->GetCases().tracking = 0;
  network->creation.creator = "someone";
  network->userProperties.Add("QVR_KEY", "1");
  network->documentation.titles.Add("left behind");
  network->sampleCount = 17;
  network->tag = 4;
  network->SetBeliefAlgorithm(11);
  network->SetEpisParameters({.eps4 = 3});
  network->SetSamplingPasses(9);
  return network;
}

// Changes every node and some lists, then deletes all.
void Spoil(QVR_network& network) {
  for (int handle : AllNodes(network)) {
    QVR_node& node = *network.NodeAt(handle);
    node.SetId(("spoilt" + std::to_string(handle)).c_str());
    node.extra->SetFaultName(0, "spoilt");
    ValueOf(network, handle).ClearEvidence();
    TableOf(network, handle)->Fill(0.25);
    node.cost->CleanUp(1);
    node.definition->RenameOutcome(0, "spoilt");
  }
  network.userProperties.Add("spoilt", "");
  for (int handle : AllNodes(network)) {
    network.DeleteNode(handle);
  }
}

TEST(NetworkCopy, IsEqualAndIndependent) {
  const LogGuard log;
  auto source = MakeSource();
  const std::string description = Describe(*source);
  QVR_network copy(*source);
  EXPECT_EQ(Describe(copy), description);
  for (int handle : AllNodes(copy)) {
    EXPECT_EQ(ValueOf(copy, handle).GetFlags(), ValueOf(*source, handle).GetFlags());
    EXPECT_EQ(BeliefOf(copy, handle), BeliefOf(*source, handle));
  }
  EXPECT_EQ(copy.documentation.titles.GetNumItems(), 0);
  EXPECT_EQ(copy.FindNode("@"), source->FindNode("@"));
  Spoil(*source);
  EXPECT_EQ(Describe(copy), description);
  source.reset();
  QVR_network second;
  second.AddNode(kTypeCpt, "goes");
  ASSERT_EQ(second.Assign(copy), QVR_OKAY);
  EXPECT_EQ(second.Assign(second), QVR_OKAY);
  EXPECT_EQ(second.FindNode("goes"), -2);
  Spoil(copy);
  EXPECT_EQ(Describe(second), description);
  EXPECT_EQ(GetErrorLog().GetCount(), 0);
}

TEST(NetworkCopy, TemporalTypesStayBehindOnDemand) {
  auto source = MakeSource();
  ASSERT_EQ(source->SetDynamicType(11, kDynamicTerminal), QVR_OKAY);
  QVR_network whole(*source);
  EXPECT_EQ(whole.GetDynamicType(11), kDynamicTerminal);
  QVR_network timeless;
  ASSERT_EQ(timeless.AssignWithoutTime(*source), QVR_OKAY);
  EXPECT_EQ(timeless.GetDynamicType(11), kDynamicNormal);
  EXPECT_EQ(Describe(timeless), Describe(*source));
}

TEST(NetworkCopy, WithoutMemoryNothingHalfMadeStays) {
  QVR_network source;
  ASSERT_GE(AddChance(source, "wide", 100, {}, std::vector<double>(100, 0.01)), 0);
  ASSERT_GE(AddChance(source, "wider", 100, {0}, std::vector<double>(10000, 0.01)), 0);
  QVR_network copy;
  QVR_Dmatrix::SetMemoryCeiling(QVR_Dmatrix::MemoryInUse() + 10000);
  EXPECT_EQ(copy.Assign(source), QVR_OUT_OF_MEMORY);
  EXPECT_FALSE(copy.IsReady());
  EXPECT_EQ(copy.GetNumberOfNodes(), 0);
  QVR_Dmatrix::SetMemoryCeiling(std::int64_t{1} << 34);
  EXPECT_EQ(copy.Assign(source), QVR_OKAY);
  EXPECT_EQ(Describe(copy), Describe(source));
}

}  // namespace
}  // namespace qvr
