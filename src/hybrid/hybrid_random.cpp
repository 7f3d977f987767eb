#include "hybrid/hybrid_random.h"

namespace qvr {

QVR_randomSource& MessageSource() {
  thread_local QVR_randomSource source(0);
  return source;
}

QVR_randomSource& DensitySource() {
  thread_local QVR_randomSource source(0);
  return source;
}

QVR_randomSource& OutcomeSource() {
  thread_local QVR_randomSource source(0);
  return source;
}

}  // namespace qvr
