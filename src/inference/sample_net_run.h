// The way through a network that the learning samplers and the message rounds share.
#ifndef QVR_INFERENCE_SAMPLE_NET_RUN_H
#define QVR_INFERENCE_SAMPLE_NET_RUN_H

#include <functional>

#include "inference/sample_network.h"

namespace qvr {

class QVR_network;

// Solves one component and writes its posteriors. 0 or a status code.
using SampleNetRunner = std::function<int(SampleNet&)>;

// Invalidates all values without evidence, reduces the network, and runs every component in turn, those of
// one record too. The first that fails ends the run with -5, logged. Else 0, or -42.
[[nodiscard]] int RunSampleNet(QVR_network& network, const SampleNetRunner& runner);

}  // namespace qvr

#endif
