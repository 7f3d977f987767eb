// Working memory that a thread keeps between uses: fresh pages cost more than the arithmetic on them.
#ifndef QVR_INFERENCE_THREAD_SCRATCH_H
#define QVR_INFERENCE_THREAD_SCRATCH_H

#include <memory>
#include <utility>
#include <vector>

namespace qvr {

// Lends a T of the calling thread for its own lifetime; a nested use gets another one. The content is
// what the last user left: T's users clear what they need, keeping the room. Stays on its thread.
template <typename T>
class ThreadScratch {
 public:
  ThreadScratch() : object(Take()) {}
  ~ThreadScratch() { Idle().push_back(std::move(object)); }
  ThreadScratch(const ThreadScratch&) = delete;
  ThreadScratch& operator=(const ThreadScratch&) = delete;

  T& operator*() const { return *object; }
  T* operator->() const { return object.get(); }

 private:
  static std::vector<std::unique_ptr<T>>& Idle() {
    static thread_local std::vector<std::unique_ptr<T>> idle;
    return idle;
  }
  static std::unique_ptr<T> Take() {
    auto& idle = Idle();
    if (idle.capacity() < idle.size() + 8) {
      idle.reserve(idle.size() + 8);  // so that giving back never allocates
    }
    if (idle.empty()) {
      return std::make_unique<T>();
    }
    std::unique_ptr<T> taken = std::move(idle.back());
    idle.pop_back();
    return taken;
  }

  std::unique_ptr<T> object;
};

}  // namespace qvr

#endif
