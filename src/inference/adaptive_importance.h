// The learning phase of adaptive importance sampling.
#ifndef QVR_INFERENCE_ADAPTIVE_IMPORTANCE_H
#define QVR_INFERENCE_ADAPTIVE_IMPORTANCE_H

#include "inference/importance_sampler.h"

namespace qvr {

// Clips the tables of the observed nodes' ancestors by rule, then draws 25,000 samples and moves the tables
// after every 2,500 of them. Draws from the calling thread's SampleStream.
void LearnImportance(ImportanceSampler& sampler);

}  // namespace qvr

#endif
