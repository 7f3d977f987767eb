// Loopy belief propagation by itself: the beliefs after the rounds asked for are the answer. They are written
// but not marked valid, since nothing says how near they are unless the component is singly connected.
#include <numeric>

#include "inference/message_rounds.h"
#include "inference/sample_net_run.h"
#include "inference/solver_runs.h"
#include "model/network.h"

namespace qvr {

namespace {

int RunRounds(const SampleNet& net, int rounds) {
  MessageRounds messages(net);
  messages.Run(rounds);
  for (std::size_t place = 0; place < net.nodes.size(); ++place) {
    const RelevanceNode& record = *net.records[place];
    if (record.evidence >= 0) {
      WriteCertainty(record);
    } else {
      const std::span<const double> belief = messages.BeliefOf(place);
      const double sum = std::accumulate(belief.begin(), belief.end(), 0.0);
      WritePosterior(record, belief, sum > 0 ? sum : 1);
    }
  }
  return QVR_OKAY;
}

}  // namespace

int RunLoopyBelief(QVR_network& network) {
  const int rounds = network.GetEpisParameters().propLength;
  return RunSampleNet(network, [rounds](SampleNet& net) { return RunRounds(net, rounds); });
}

}  // namespace qvr
