// An odometer over a choice of dimensions that follows two tables at once by their strides.
#ifndef QVR_MODEL_STRIDED_WALK_H
#define QVR_MODEL_STRIDED_WALK_H

#include "model/number_array.h"

namespace qvr {

// Visits all combinations, the dimension added last fastest. Starts on the first one.
class StridedWalk {
 public:
  // `firstStep` and `secondStep` are the strides of the dimension in the two tables. -42 if memory is short.
  int AddDimension(int count, int firstStep, int secondStep);
  bool Next();  // false at the end
  [[nodiscard]] int First() const { return first; }
  [[nodiscard]] int Second() const { return second; }

 private:
  QVR_intArray counts;
  QVR_intArray firstSteps;
  QVR_intArray secondSteps;
  QVR_intArray position;
  int first = 0;
  int second = 0;
};

}  // namespace qvr

#endif
