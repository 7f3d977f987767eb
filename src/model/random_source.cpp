#include "model/random_source.h"

#include <atomic>
#include <ctime>

namespace qvr {

namespace {

constexpr double kLargestDraw = 32767.0;
constexpr double kMargin = 1e-11;

// A linear congruential generator that shows 15 of its 32 bits.
struct ShortStream {
  std::uint32_t state;

  int Next() {
    state = state * 214013U + 2531011U;
    return static_cast<int>((state >> 16) & 0x7fffU);
  }
};

thread_local ShortStream uniformStream{1};
thread_local ShortStream sampleStream{0};

std::uint32_t ClockSeed() {
  return static_cast<std::uint32_t>(std::clock()) ^ static_cast<std::uint32_t>(std::time(nullptr));
}

// Sources made within one tick of the clock would otherwise run on one stream.
std::uint32_t FreshSeed() {
  static std::atomic<std::uint32_t> count{0};
  return ClockSeed() ^ (++count * 2654435769U);
}

}  // namespace

double NextUniform() { return uniformStream.Next() / kLargestDraw; }

double NextSampleUniform() {
  const int draw = sampleStream.Next();
  if (draw == 0) {
    return kMargin;
  }
  return draw / kLargestDraw == 1.0 ? 1.0 - kMargin : draw / kLargestDraw;
}

void SeedSampleStream() { sampleStream.state = ClockSeed() & 0x7fffU; }

QVR_randomSource::QVR_randomSource(std::uint32_t seed) { x ^= seed == 0 ? FreshSeed() : seed; }

std::uint32_t QVR_randomSource::Step() {
  x = 314527869U * x + 1234567U;
  y ^= y << 5;
  y ^= y >> 7;
  y ^= y << 22;
  const std::uint64_t t = 4294584393ULL * z + c;
  z = static_cast<std::uint32_t>(t);
  c = static_cast<std::uint32_t>(t >> 32);
  return x + y + z;
}

double QVR_randomSource::NextDouble() {
  const std::uint32_t high = Step() >> 6;
  const std::uint32_t low = Step() >> 5;
  return (high * 134217728.0 + low) * 0x1p-53;
}

}  // namespace qvr
