// Samplers and message rounds against the joint distribution. How far a sampler may be off is computed from
// the joint and from what it draws from, never from the run.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>

#include "agreement/engine_trial.h"
#include "inference/adaptive_importance.h"
#include "inference/message_importance.h"
#include "inference/sample_net_run.h"
#include "model/random_source.h"
#include "support/describe_network.h"
#include "support/log_guard.h"

namespace qvr {
namespace {

constexpr int kSamples = kSanitized ? 50000 : 200000;
constexpr double kErrors = 4.5;  // standard errors
constexpr int kUnbiasedIds[] = {ALG_LOGIC_SAMPLING,    ALG_LIKELIHOOD_WEIGHTING, ALG_LIKELIHOOD_WEIGHTING_2,
                                ALG_BACKWARD_SAMPLING, ALG_ADAPTIVE_IMPORTANCE,  ALG_MESSAGE_IMPORTANCE};

// The weight that a sampler gives to the states of the net.
using WeightOf = std::function<double(const SampleNet&)>;

double Cell(const SampleNet& net, std::size_t place) {
  const SampleNode& node = net.nodes[place];
  return net.TableOf(node)[RowOf(net, node) - node.firstCell + static_cast<std::size_t>(net.states[place])];
}

double ProductOfCells(const SampleNet& net, bool observedOnly) {
  double product = 1;
  for (std::size_t place = 0; place < net.nodes.size(); ++place) {
    product *= observedOnly && net.nodes[place].evidence < 0 ? 1 : Cell(net, place);
  }
  return product;
}

bool NextStates(SampleNet& net) {
  for (std::size_t place = 0; place < net.nodes.size(); ++place) {
    if (net.nodes[place].evidence < 0) {
      if (++net.states[place] < net.nodes[place].outcomeCount) {
        return true;
      }
      net.states[place] = 0;
    }
  }
  return false;
}

bool HasZeros(const SampleNet& net) {
  const auto cells = net.table.GetItems().Vector();
  return std::find(cells.begin(), cells.end(), 0.0) != cells.end();
}

// The standard error of a share of weights: with weights w over states x of probability P(x, e) and a share
// p, the variance for one sample is the sum of P(x, e) w(x) (1[x] - p)^2, by P(e)^2.
void ExpectNear(QVR_network& network, SampleNet& net, const JointAnswer& truth, const WeightOf& weightOf) {
  std::vector<double> sums(net.outcomeTotal, 0.0);
  double total = 0;
  double evidence = 0;
  for (std::size_t place = 0; place < net.nodes.size(); ++place) {
    net.states[place] = std::max(net.nodes[place].evidence, 0);
  }
  do {
    const double probability = ProductOfCells(net, false);
    const double term = probability > 0 ? probability * weightOf(net) : 0;
    evidence += probability;
    total += term;
    for (std::size_t place = 0; place < net.nodes.size(); ++place) {
      sums[net.nodes[place].firstOutcome + static_cast<std::size_t>(net.states[place])] += term;
    }
  } while (NextStates(net));
  // A draw of exactly 1 finds the last outcome, also where its probability is 0.
  const double step = HasZeros(net) ? 4 * static_cast<double>(net.nodes.size()) / 32767 / evidence : 1e-12;
  for (std::size_t place = 0; place < net.nodes.size(); ++place) {
    const int handle = net.records[place]->node->handle;
    const std::vector<double> found = BeliefOf(network, handle);
    const std::vector<double>& exact = truth.posteriors[static_cast<std::size_t>(handle)];
    ASSERT_EQ(found.size(), exact.size());
    for (std::size_t k = 0; k < exact.size(); ++k) {
      const double with = sums[net.nodes[place].firstOutcome + k];
      const double variance = with * (1 - exact[k]) * (1 - exact[k]) + (total - with) * exact[k] * exact[k];
      const double error = std::sqrt(std::max(variance, 0.0) / kSamples) / evidence;
      EXPECT_LE(std::abs(found[k] - exact[k]), kErrors * error + step) << "handle " << handle << " of " << k;
    }
  }
}

// What the weight of backward sampling comes to for given states: the sums over unknown parents for tables
// that are drawn from backwards, the cells of all others that aren't drawn from.
double BackwardWeight(const SampleNet& net) {
  std::vector<int> states(net.nodes.size(), -1);
  std::vector<bool> spent(net.nodes.size(), false);
  std::vector<bool> known(net.nodes.size(), false);
  double weight = 1;
  for (std::size_t place = 0; place < net.nodes.size(); ++place) {
    known[place] = net.nodes[place].evidence >= 0;
  }
  for (std::size_t start = 0; start < net.nodes.size(); ++start) {
    std::size_t at = start;
    while (net.nodes[start].evidence >= 0 && net.nodes[at].parentCount > 0 && !spent[at]) {
      const auto arcs = net.ArcsOf(net.nodes[at]);
      SampleNet sums = net;
      std::vector<std::size_t> open;
      for (const SampleArc& arc : arcs) {
        const auto parent = static_cast<std::size_t>(arc.parent);
        if (!known[parent]) {
          open.push_back(parent);
          sums.states[parent] = 0;
          known[parent] = true;
        }
      }
      spent[at] = !open.empty();
      double sum = 0;
      for (bool more = spent[at]; more;) {
        sum += Cell(sums, at);
        more = std::any_of(open.begin(), open.end(), [&sums](std::size_t parent) {
          sums.states[parent] = (sums.states[parent] + 1) % sums.nodes[parent].outcomeCount;
          return sums.states[parent] != 0;
        });
      }
      weight *= spent[at] ? sum : 1;
      at = static_cast<std::size_t>(arcs[0].parent);
    }
  }
  for (std::size_t place = 0; place < net.nodes.size(); ++place) {
    weight *= known[place] && !spent[place] ? Cell(net, place) : 1;
  }
  return weight;
}

// Runs the sampler on the one component and compares; the learning ones also show their proposal.
void RunAndCompare(QVR_network& network, int id, const JointAnswer& truth) {
  network.sampleCount = kSamples;
  network.SetBeliefAlgorithm(id);
  EXPECT_EQ(network.UpdateBeliefs(), QVR_OKAY);
  for (const int handle : AllNodes(network)) {
    EXPECT_TRUE(ValueOf(network, handle).IsValueValid());
  }
  const bool learns = id == ALG_ADAPTIVE_IMPORTANCE || id == ALG_MESSAGE_IMPORTANCE;
  EXPECT_EQ(RunSampleNet(network,
                         [&](SampleNet& net) {
                           ImportanceSampler sampler(net);
                           if (id == ALG_ADAPTIVE_IMPORTANCE) {
                             LearnImportance(sampler);
                           } else if (learns) {
                             FollowMessages(sampler, 5, network.GetEpisParameters());
                           }
                           if (learns) {
                             EXPECT_EQ(sampler.Estimate(kSamples), QVR_OKAY);
                           }
                           ExpectNear(network, net, truth, [&](const SampleNet& states) {
                             double weight = id == ALG_LOGIC_SAMPLING ? 1 : ProductOfCells(states, true);
                             for (std::size_t place = 0; learns && place < net.nodes.size(); ++place) {
                               const SampleNode& node = net.nodes[place];
                               const double proposed =
                                   sampler.ImportanceOf(node)[RowOf(states, node) - node.firstCell +
                                                              static_cast<std::size_t>(states.states[place])];
                               weight *= node.evidence < 0 ? Cell(states, place) / proposed : 1;
                             }
                             return id == ALG_BACKWARD_SAMPLING ? BackwardWeight(states) : weight;
                           });
                           return QVR_OKAY;
                         }),
            QVR_OKAY);
}

bool HasTinyEntries(QVR_network& network) {
  for (const int handle : AllNodes(network)) {
    for (const double cell : TableOf(network, handle)->GetItems().Vector()) {
      if (cell > 0 && cell < 0.01) {
        return true;  // too near the step of a stream of 15 bits
      }
    }
  }
  return false;
}

// Evidence on up to three nodes, of probability 0.01 or more. False if the network is no good for sampling.
bool MakeTrial(std::uint64_t seed, const TableStyle& style, QVR_network& network, JointAnswer& truth) {
  TestRandom random(seed);
  const int nodeCount = 4 + random.Below(5);
  const ParentLists parents = RandomParents(nodeCount, 3, nodeCount, random);
  EXPECT_TRUE(
      FillNetwork(parents, RandomOutcomeCounts(nodeCount, 2, 3, 4000, random), style, random, network));
  const std::vector<int> states = SampleStates(network, random);
  Observations entered(network);
  for (int i = 1 + random.Below(3); i > 0; --i) {
    const int handle = random.Below(nodeCount);
    entered.outcomes[static_cast<std::size_t>(handle)] = states[static_cast<std::size_t>(handle)];
    EXPECT_EQ(ValueOf(network, handle).SetEvidence(states[static_cast<std::size_t>(handle)]), QVR_OKAY);
  }
  truth = SumJoint(network, entered);
  return truth.evidenceProbability >= 0.01 && !HasTinyEntries(network);
}

TEST(Sampling, StaysWithinItsStandardErrors) {
  const std::uint64_t seed = FirstSeed();
  SeedRandomStreams(static_cast<std::uint32_t>(seed));
  int tried = 0;
  for (std::uint64_t i = 0; tried < 50; ++i) {
    SCOPED_TRACE("seed " + std::to_string(seed + i));
    QVR_network network;
    JointAnswer truth;
    if (!MakeTrial(seed + i, {.zeroFraction = i % 2 == 0 ? 0 : 0.3}, network, truth)) {
      continue;
    }
    ++tried;
    for (const int id : kUnbiasedIds) {
      SCOPED_TRACE("id " + std::to_string(id));
      RunAndCompare(network, id, truth);
    }
    ASSERT_FALSE(HasFailure()) << Describe(network);
  }
}

// The mean square, over runs and outcomes, of what the beliefs are off.
double MeanSquare(QVR_network& network, int id, int samples, int runs, const JointAnswer& truth) {
  network.SetBeliefAlgorithm(id);
  network.sampleCount = samples;
  double sum = 0;
  int count = 0;
  for (int run = 0; run < runs; ++run) {
    EXPECT_EQ(network.UpdateBeliefs(), QVR_OKAY);
    for (const int handle : AllNodes(network)) {
      const std::vector<double> found = BeliefOf(network, handle);
      for (std::size_t k = 0; k < found.size() && !ValueOf(network, handle).HasEvidence(); ++k) {
        const double error = found[k] - truth.posteriors[static_cast<std::size_t>(handle)][k];
        sum += error * error;
        ++count;
      }
    }
  }
  return count > 0 ? sum / count : 0;
}

// With likely evidence: where few samples carry the weight, the error of a few hundred is as large as errors
// between probabilities can be, and has not begun to fall.
TEST(Sampling, ErrsByTheRootOfTheSamples) {
  QVR_network network;
  JointAnswer truth;
  std::uint64_t seed = FirstSeed() + 1000;
  while (!MakeTrial(seed, {}, network, truth) || truth.evidenceProbability < 0.5) {
    network.CleanUp(1);
    ++seed;
  }
  SeedRandomStreams(static_cast<std::uint32_t>(seed));
  for (const int id : kUnbiasedIds) {
    const double few = MeanSquare(network, id, 200, 400, truth);
    const double many = MeanSquare(network, id, 200000, 40, truth);
    EXPECT_NEAR(std::log(few / many) / std::log(1000.0), 1, 0.1) << "id " << id;
  }
}

// A hidden chain that is rarely in state 0, with a signal at every step that hints at it. What is drawn along
// the arcs hardly ever gets there.
TEST(Sampling, LearnsUnlikelyEvidence) {
  constexpr int kSteps = 8;
  QVR_network network;
  Observations entered(network);
  int hidden = -1;
  for (int i = 0; i < kSteps; ++i) {
    const std::vector<double> moves =
        i == 0 ? std::vector{0.002, 0.998} : std::vector{0.8, 0.2, 0.002, 0.998};
    hidden = AddChance(network, nullptr, 2, i == 0 ? std::vector<int>{} : std::vector{hidden}, moves);
    const int signal = AddChance(network, nullptr, 2, {hidden}, {0.2, 0.8, 0.01, 0.99});
    ASSERT_EQ(ValueOf(network, signal).SetEvidence(0), QVR_OKAY);
    entered.outcomes[static_cast<std::size_t>(signal)] = 0;
  }
  const JointAnswer truth = SumJoint(network, entered);
  EXPECT_LT(truth.evidenceProbability, 1e-6);
  SeedRandomStreams(7);
  const double weighted = MeanSquare(network, ALG_LIKELIHOOD_WEIGHTING, 5000, 20, truth);
  for (const int id : {ALG_ADAPTIVE_IMPORTANCE, ALG_MESSAGE_IMPORTANCE}) {
    EXPECT_LT(10 * MeanSquare(network, id, 5000, 20, truth), weighted) << "id " << id;
  }
}

TEST(MessageRounds, AreExactOnTrees) {
  const std::uint64_t seed = FirstSeed() + 2000;
  for (std::uint64_t i = 0; i < 1000; ++i) {
    SCOPED_TRACE("seed " + std::to_string(seed + i));
    TestRandom random(seed + i);
    const int nodeCount = 3 + random.Below(8);
    QVR_network network;
    ASSERT_TRUE(FillNetwork(RandomParents(nodeCount, 3, nodeCount, random),
                            RandomOutcomeCounts(nodeCount, 2, 3, 1 << 14, random),
                            {.zeroFraction = i % 3 == 0 ? 0.3 : 0}, random, network));
    if (network.IsPolytree() != 1) {
      continue;
    }
    Observations entered(network);
    const std::vector<int> states = SampleStates(network, random);
    for (int k = random.Below(4); k > 0; --k) {
      const int handle = random.Below(nodeCount);
      entered.outcomes[static_cast<std::size_t>(handle)] = states[static_cast<std::size_t>(handle)];
      ValueOf(network, handle).SetEvidence(states[static_cast<std::size_t>(handle)]);
    }
    EpisParameters parameters;
    parameters.propLength = nodeCount;  // no path has more nodes
    ASSERT_EQ(network.SetEpisParameters(parameters), QVR_OKAY);
    EXPECT_LE(MeanSquare(network, ALG_LOOPY_BELIEF, 0, 1, SumJoint(network, entered)), 1e-20);
    ASSERT_FALSE(HasFailure()) << Describe(network);
  }
}

}  // namespace
}  // namespace qvr
