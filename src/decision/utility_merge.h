// All utilities of a diagram as one table.
#ifndef QVR_DECISION_UTILITY_MERGE_H
#define QVR_DECISION_UTILITY_MERGE_H

namespace qvr {

class QVR_network;

// Both work on a private copy that notices nothing: its relevanceMask is 0.

// Multiplies each utility table by the weight with which it counts in the whole: 1, or the sum over the
// multi-attribute nodes that combine it of theirs times its weight there. These nodes go. Where weights
// depend on decisions, the utilities do from then on. -2, logged, for a node with formulas or an arc that is
// refused.
[[nodiscard]] int ApplyUtilityWeights(QVR_network& work);

// Replaces all utility tables by one that holds their sums; `merged` gets its handle. -2 if it can't be made,
// logged if that is for having too many parents: 21, or fewer with too many combinations.
[[nodiscard]] int MergeUtilities(QVR_network& work, int& merged);

}  // namespace qvr

#endif
