#include "model/strided_walk.h"

#include "model/status.h"

namespace qvr {

int StridedWalk::AddDimension(int count, int firstStep, int secondStep) {
  if (counts.Add(count) < 0 || firstSteps.Add(firstStep) < 0 || secondSteps.Add(secondStep) < 0) {
    return QVR_OUT_OF_MEMORY;
  }
  return position.Add(0);
}

bool StridedWalk::Next() {
  for (int i = counts.GetNumItems() - 1; i >= 0; --i) {
    if (++position[i] < counts[i]) {
      first += firstSteps[i];
      second += secondSteps[i];
      return true;
    }
    position[i] = 0;
    first -= firstSteps[i] * (counts[i] - 1);
    second -= secondSteps[i] * (counts[i] - 1);
  }
  return false;
}

}  // namespace qvr
