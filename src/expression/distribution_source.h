// Where distributions draw from.
#ifndef QVR_EXPRESSION_DISTRIBUTION_SOURCE_H
#define QVR_EXPRESSION_DISTRIBUTION_SOURCE_H

#include "model/random_source.h"

namespace qvr {

// The thread's shared source, or the one that a scope has put in its place.
[[nodiscard]] QVR_randomSource& CurrentDistributionSource();

// For its lifetime the calling thread's distributions draw from `source`, which it borrows.
class DistributionSourceScope {
 public:
  explicit DistributionSourceScope(QVR_randomSource& source);
  ~DistributionSourceScope();
  DistributionSourceScope(const DistributionSourceScope&) = delete;
  DistributionSourceScope& operator=(const DistributionSourceScope&) = delete;

 private:
  QVR_randomSource* outer;
};

}  // namespace qvr

#endif
