// How far a long run is, on a terminal.
#ifndef QVR_APP_COMMAND_PROGRESS_BAR_H
#define QVR_APP_COMMAND_PROGRESS_BAR_H

#include <chrono>
#include <cstddef>
#include <mutex>

namespace qvr {

// Draws itself on standard error, a few times a second; not at all where that is no terminal. Gone at the
// end.
class ProgressBar {
 public:
  explicit ProgressBar(std::size_t newTotal);
  ~ProgressBar();
  ProgressBar(const ProgressBar&) = delete;
  ProgressBar& operator=(const ProgressBar&) = delete;

  // From any thread.
  void Show(std::size_t done);

 private:
  using Clock = std::chrono::steady_clock;

  void Draw(std::size_t done, double seconds) const;

  std::mutex mutex;
  const std::size_t total;
  const bool isTerminal;
  const Clock::time_point start = Clock::now();
  Clock::time_point lastDrawn = start;
  bool wasDrawn = false;
};

}  // namespace qvr

#endif
