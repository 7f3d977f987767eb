#include "app/command/progress_bar.h"

#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <string>

namespace qvr {

namespace {

constexpr std::size_t kWidth = 30;
constexpr std::chrono::milliseconds kPause(100);

// As minutes and seconds.
std::string Duration(double seconds) {
  constexpr double kLongest = 359'999;
  const long whole = std::lround(std::min(seconds, kLongest));
  const std::string rest = std::to_string(whole % 60);
  return std::to_string(whole / 60) + (rest.size() == 1 ? ":0" : ":") + rest;
}

}  // namespace

ProgressBar::ProgressBar(std::size_t newTotal) : total(newTotal), isTerminal(isatty(STDERR_FILENO) == 1) {}

ProgressBar::~ProgressBar() {
  if (wasDrawn) {
    std::fputs("\r\033[K", stderr);
  }
}

void ProgressBar::Show(std::size_t done) {
  if (!isTerminal) {
    return;
  }
  const std::unique_lock lock(mutex, std::try_to_lock);
  const Clock::time_point now = Clock::now();
  if (!lock.owns_lock() || now - lastDrawn < kPause) {
    return;
  }
  lastDrawn = now;
  wasDrawn = true;
  Draw(done, std::chrono::duration<double>(now - start).count());
}

void ProgressBar::Draw(std::size_t done, double seconds) const {
  const double rate = static_cast<double>(done) / seconds;
  const double left = static_cast<double>(total - done) / rate;
  const std::size_t filled = kWidth * done / total;
  const std::string bar = std::string(filled, '#') + std::string(kWidth - filled, '.');
  std::fprintf(stderr, "\r[%s] %zu of %zu cases, %.3g a second, %s left\033[K", bar.c_str(), done, total,
               rate, Duration(left).c_str());
}

}  // namespace qvr
