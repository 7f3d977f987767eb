// Evidence pre-propagation importance sampling (EPIS-BN, Yuan and Druzdzel 2003): a few rounds of loopy
// messages tell each node what lies below it; its rows times that message are nearly the best tables to draw
// from.
#include "inference/message_importance.h"

#include <algorithm>

#include "inference/clip_rules.h"
#include "inference/message_rounds.h"
#include "inference/sample_net_run.h"
#include "inference/solver_runs.h"
#include "inference/table_rows.h"
#include "model/network.h"

namespace qvr {

void FollowMessages(ImportanceSampler& sampler, int rounds, const EpisParameters& parameters) {
  const SampleNet& net = sampler.net;
  MessageRounds messages(net);
  messages.Run(rounds);
  for (std::size_t place = 0; place < net.nodes.size(); ++place) {
    const SampleNode& node = net.nodes[place];
    if (node.evidence >= 0) {
      continue;
    }
    const std::span<const double> lambda = messages.LambdaOf(place);
    const std::span<double> importance = sampler.ImportanceOf(node);
    for (std::size_t start = 0; start < importance.size(); start += lambda.size()) {
      const auto row = importance.subspan(start, lambda.size());
      std::transform(row.begin(), row.end(), lambda.begin(), row.begin(), std::multiplies<>());
    }
    NormaliseRows(importance, node.outcomeCount);
    if (sampler.IsAdjustable(place)) {
      ClipByEpsilon(parameters, node.outcomeCount, importance);
    }
    sampler.ImportanceChanged(node);
  }
}

int RunMessageImportance(QVR_network& network) {
  const EpisParameters& parameters = network.GetEpisParameters();
  const int rounds = std::min(network.ComputeLevels(), parameters.propLength);
  return RunSampleNet(network, [&network, &parameters, rounds](SampleNet& net) {
    ImportanceSampler sampler(net);
    FollowMessages(sampler, rounds, parameters);
    SeedSampleStream();
    return sampler.Estimate(network.sampleCount);
  });
}

}  // namespace qvr
