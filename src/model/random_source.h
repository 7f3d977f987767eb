// The random streams. Every shared one belongs to its thread, so that two threads can work on two networks.
#ifndef QVR_MODEL_RANDOM_SOURCE_H
#define QVR_MODEL_RANDOM_SOURCE_H

#include <cstdint>

namespace qvr {

// The 15-bit stream of the older samplers, in [0, 1] with both ends. It starts at the same place in every
// thread and is never seeded: runs repeat.
[[nodiscard]] double NextUniform();

// The 15-bit stream of the learning samplers, within 1e-11 of [0, 1] but never 0 or 1.
[[nodiscard]] double NextSampleUniform();
// Starts it from the clock.
void SeedSampleStream();

// JKISS (Jones 2010) with 53-bit doubles.
class QVR_randomSource {
 public:
  // A seed of 0 stands for one that differs from run to run and from source to source.
  explicit QVR_randomSource(std::uint32_t seed);

  // In [0, 1).
  [[nodiscard]] double NextDouble();

 private:
  [[nodiscard]] std::uint32_t Step();

  std::uint32_t x = 123456789;
  std::uint32_t y = 987654321;
  std::uint32_t z = 43219876;
  std::uint32_t c = 6543217;
};

}  // namespace qvr

#endif
