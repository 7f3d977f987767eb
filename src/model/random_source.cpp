#include "model/random_source.h"

#include <atomic>
#include <ctime>

namespace qvr {

namespace {

constexpr double kMargin = 1e-11;

constexpr std::uint32_t kUniformStart = 1;

thread_local ShortStream uniformStream{kUniformStart};
thread_local ShortStream sampleStream{0};

// What SeedRandomStreams left in this thread.
struct Seeding {
  std::uint32_t seed = 0;     // 0: the clock
  std::uint32_t number = 1;   // of the seeding
  std::uint32_t sources = 0;  // that have started since
};
thread_local Seeding threadSeeding;

// An odd number far from round, so that neighbouring counts and seeds lead to unlike states.
constexpr std::uint32_t kSpread = 2654435769U;

std::uint32_t ClockSeed() {
  return static_cast<std::uint32_t>(std::clock()) ^ static_cast<std::uint32_t>(std::time(nullptr));
}

// Sources that start within one tick of the clock would otherwise run on one stream.
std::uint32_t FreshSeed() {
  static std::atomic<std::uint32_t> count{0};
  if (threadSeeding.seed != 0) {
    return threadSeeding.seed ^ (++threadSeeding.sources * kSpread);
  }
  return ClockSeed() ^ (++count * kSpread);
}

}  // namespace

double UniformOf(int draw) { return draw / double{ShortStream::kLargest}; }

double SampleUniformOf(int draw) {
  if (draw == 0) {
    return kMargin;
  }
  return draw == ShortStream::kLargest ? 1.0 - kMargin : UniformOf(draw);
}

double NextUniform() { return UniformOf(uniformStream.Next()); }

double NextSampleUniform() { return SampleUniformOf(sampleStream.Next()); }

void SeedSampleStream() {
  if (threadSeeding.seed == 0) {
    sampleStream = ShortStream(ClockSeed() & 0x7fffU);
  }
}

ShortStream& UniformStream() { return uniformStream; }

ShortStream& SampleStream() { return sampleStream; }

void SeedRandomStreams(std::uint32_t seed) {
  threadSeeding = {.seed = seed, .number = threadSeeding.number + 1};
  uniformStream = ShortStream(seed == 0 ? kUniformStart : seed * kSpread);
  sampleStream = ShortStream(seed * kSpread);
}

QVR_randomSource::QVR_randomSource(std::uint32_t seed) : followsThread(seed == 0) {
  if (!followsThread) {
    Start(seed);
  }
}

void QVR_randomSource::Start(std::uint32_t seed) {
  x = 123456789U ^ seed;
  y = 987654321;
  z = 43219876;
  c = 6543217;
}

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
  if (followsThread && startedIn != threadSeeding.number) {
    startedIn = threadSeeding.number;
    Start(FreshSeed());
  }
  const std::uint32_t high = Step() >> 6;
  const std::uint32_t low = Step() >> 5;
  return (high * 134217728.0 + low) * 0x1p-53;
}

}  // namespace qvr
