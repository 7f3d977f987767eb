// The names of a definition's outcomes, as far as all classes that have them treat them alike.
#ifndef QVR_DEFINITIONS_OUTCOME_NAMES_H
#define QVR_DEFINITIONS_OUTCOME_NAMES_H

#include "model/string_array.h"

namespace qvr {

inline constexpr int kLeastOutcomes = 2;

// An array of texts is used as a list or, without items, as a vector.
[[nodiscard]] int NameCount(const QVR_stringArray& names);
// The names as a list, untested; another identifier array also says whether empty ones are allowed. -567 if
// the source isn't ready, -42.
int TakeNames(QVR_idArray& target, const QVR_stringArray& names);
// The first `count` of the given names in place of the present ones; bad and repeated ones are repaired. -2
// if there are fewer. `given` may be the array itself.
int ReplaceNames(QVR_idArray& names, const QVR_stringArray& given, int count);
// One more name, one on the base with the first free number from the present count if it is refused.
int InsertName(QVR_idArray& names, int position, const char* name, const char* base);
// Adds names on the base, numbered from the present count, up to this count.
int FillUpNames(QVR_idArray& names, const char* base, int count);

}  // namespace qvr

#endif
