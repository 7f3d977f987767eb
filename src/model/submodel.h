// Submodels group nodes on the screen; inference ignores them.
#ifndef QVR_MODEL_SUBMODEL_H
#define QVR_MODEL_SUBMODEL_H

#include "model/node_info.h"

namespace qvr {

class QVR_submodel : public QVR_object {
 public:
  QVR_submodel() { SetReady(true); }
  QVR_submodel(const QVR_submodel& other);
  QVR_submodel& operator=(const QVR_submodel&) = delete;

  QVR_header header;
  QVR_screenInfo screen;
  QVR_rectangle windowPosition;
  int backgroundColor = QVR_screenInfo::kInherit;
  QVR_textBoxList textBoxes;
  QVR_userProperties userProperties;
  QVR_documentation documentation;
};

}  // namespace qvr

#endif
