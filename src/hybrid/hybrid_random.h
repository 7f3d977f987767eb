// The random streams of the hybrid solver, apart from that of the distributions. All belong to the thread.
#ifndef QVR_HYBRID_HYBRID_RANDOM_H
#define QVR_HYBRID_HYBRID_RANDOM_H

#include "model/random_source.h"

namespace qvr {

[[nodiscard]] QVR_randomSource& MessageSource();
[[nodiscard]] QVR_randomSource& DensitySource();
[[nodiscard]] QVR_randomSource& OutcomeSource();

}  // namespace qvr

#endif
