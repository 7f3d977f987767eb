// The random streams. Every shared one belongs to its thread, so that two threads can work on two networks.
#ifndef QVR_MODEL_RANDOM_SOURCE_H
#define QVR_MODEL_RANDOM_SOURCE_H

#include <cstdint>

namespace qvr {

// A linear congruential generator that shows 15 of its 32 bits.
class ShortStream {
 public:
  static constexpr int kLargest = 32767;

  explicit ShortStream(std::uint32_t newState) : state(newState) {}

  // 0 to kLargest.
  int Next() {
    state = state * 214013U + 2531011U;
    return static_cast<int>((state >> 16) & 0x7fffU);
  }

 private:
  std::uint32_t state;
};

// The 15-bit stream of the older samplers, in [0, 1] with both ends. It starts at the same place in every
// thread: runs repeat.
[[nodiscard]] double NextUniform();

// The 15-bit stream of the learning samplers, within 1e-11 of [0, 1] but never 0 or 1.
[[nodiscard]] double NextSampleUniform();
// Starts it from the clock, unless SeedRandomStreams has fixed it: then it goes on.
void SeedSampleStream();

// What one draw of a ShortStream means to NextUniform and to NextSampleUniform.
[[nodiscard]] double UniformOf(int draw);
[[nodiscard]] double SampleUniformOf(int draw);

// The streams themselves, of the calling thread. Long loops draw from a copy and put it back.
[[nodiscard]] ShortStream& UniformStream();
[[nodiscard]] ShortStream& SampleStream();

// Fixes all streams of the calling thread, QVR_randomSource instances of seed 0 included: what is drawn
// afterwards is the same in every run, to the last bit. 0 lets them start as in a fresh thread again, most
// of them from the clock.
void SeedRandomStreams(std::uint32_t seed);

// JKISS (Jones 2010) with 53-bit doubles.
class QVR_randomSource {
 public:
  // A seed of 0 stands for one that differs from run to run and from source to source, and that follows
  // SeedRandomStreams.
  explicit QVR_randomSource(std::uint32_t seed);

  // In [0, 1).
  [[nodiscard]] double NextDouble();

 private:
  void Start(std::uint32_t seed);
  [[nodiscard]] std::uint32_t Step();

  std::uint32_t x = 0;
  std::uint32_t y = 0;
  std::uint32_t z = 0;
  std::uint32_t c = 0;
  bool followsThread;
  std::uint32_t startedIn = 0;  // the number of the thread's seeding; 0 before the first draw
};

}  // namespace qvr

#endif
