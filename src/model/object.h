// The root of the engine's classes with virtual operations.
#ifndef QVR_MODEL_OBJECT_H
#define QVR_MODEL_OBJECT_H

namespace qvr {

class QVR_object {
 public:
  QVR_object() = default;
  QVR_object(const QVR_object&) = default;
  QVR_object& operator=(const QVR_object&) = default;

  // Empties the object; with `deep` its parts as well.
  virtual void CleanUp(int deep);
  // Works out whether the object is whole and may be used.
  virtual void CheckReady(int deep);
  // Works out whether the object's content makes sense. Never changes the content.
  virtual void CheckConsistency(int deep);
  virtual ~QVR_object() = default;

  [[nodiscard]] bool IsReady() const { return (flags & kReady) != 0; }
  [[nodiscard]] bool IsConsistent() const { return (flags & kConsistent) != 0; }

 protected:
  void SetReady(bool ready) { flags = ready ? (flags | kReady) : (flags & ~kReady); }
  void SetConsistent(bool consistent) { flags = consistent ? (flags | kConsistent) : (flags & ~kConsistent); }

 private:
  static constexpr int kReady = 1;
  static constexpr int kConsistent = 2;
  int flags = kConsistent;  // a constructor calls SetReady when construction is complete
};

}  // namespace qvr

#endif
