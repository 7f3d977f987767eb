#include "model/submodel.h"

namespace qvr {

QVR_submodel::QVR_submodel(const QVR_submodel& other) = default;

}  // namespace qvr
