// The tables of importance sampling from loopy messages.
#ifndef QVR_INFERENCE_MESSAGE_IMPORTANCE_H
#define QVR_INFERENCE_MESSAGE_IMPORTANCE_H

#include "inference/importance_sampler.h"
#include "model/network_settings.h"

namespace qvr {

// Multiplies what `rounds` rounds of messages say of each outcome into the node's rows, and clips those of
// the observed nodes' ancestors by the parameters.
void FollowMessages(ImportanceSampler& sampler, int rounds, const EpisParameters& parameters);

}  // namespace qvr

#endif
