// A flag that is raised for as long as a scope lasts.
#ifndef QVR_MODEL_RAISED_FLAG_H
#define QVR_MODEL_RAISED_FLAG_H

namespace qvr {

class RaisedFlag {
 public:
  explicit RaisedFlag(bool& newFlag) : flag(newFlag), outer(newFlag) { flag = true; }
  ~RaisedFlag() { flag = outer; }
  RaisedFlag(const RaisedFlag&) = delete;
  RaisedFlag& operator=(const RaisedFlag&) = delete;

 private:
  bool& flag;
  bool outer;
};

}  // namespace qvr

#endif
