#include "model/object.h"

namespace qvr {

void QVR_object::CleanUp(int /*deep*/) { SetReady(true); }

void QVR_object::CheckReady(int /*deep*/) { SetReady(true); }

void QVR_object::CheckConsistency(int /*deep*/) { SetConsistent(true); }

}  // namespace qvr
