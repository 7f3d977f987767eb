// A flag that is raised for as long as a scope lasts.
#ifndef QVR_DEFINITIONS_RAISED_FLAG_H
#define QVR_DEFINITIONS_RAISED_FLAG_H

namespace qvr {

class RaisedFlag {
 public:
  explicit RaisedFlag(bool& newFlag) : flag(newFlag) { flag = true; }
  ~RaisedFlag() { flag = false; }
  RaisedFlag(const RaisedFlag&) = delete;
  RaisedFlag& operator=(const RaisedFlag&) = delete;

 private:
  bool& flag;
};

}  // namespace qvr

#endif
