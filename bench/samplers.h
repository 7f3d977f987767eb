// What samples cost.
#ifndef QVR_BENCH_SAMPLERS_H
#define QVR_BENCH_SAMPLERS_H

#include "workload.h"

namespace qvr {

struct Sampler {
  int id;
  const char* name;
};

// All stochastic algorithms; ids 3 and 5 are one.
inline constexpr Sampler kSamplers[] = {
    {ALG_LOGIC_SAMPLING, "logic"},         {ALG_LIKELIHOOD_WEIGHTING, "likelihood"},
    {ALG_SELF_IMPORTANCE, "self"},         {ALG_BACKWARD_SAMPLING, "backward"},
    {ALG_ADAPTIVE_IMPORTANCE, "adaptive"}, {ALG_MESSAGE_IMPORTANCE, "message"},
};

void PrintSamplerHeader();
// Prints a row without and one with evidence: million node draws a second (samples times nodes of the
// network, whether a sample came to its end or not) for each sampler, and the learning phase in
// milliseconds. Leaves out very large networks. False if the network or its evidence can't be had.
bool MeasureSamplers(const Workload& workload);

}  // namespace qvr

#endif
