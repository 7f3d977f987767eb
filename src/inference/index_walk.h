// How the index into a small table moves while a large one is read from end to end.
#ifndef QVR_INFERENCE_INDEX_WALK_H
#define QVR_INFERENCE_INDEX_WALK_H

#include <array>
#include <cstddef>
#include <span>

namespace qvr {

// An odometer over the large table's dimensions: its first level is a run of neighbouring entries, along
// which the small index moves by an even step. Good for tables of up to 0x40000000 entries.
class IndexWalk {
 public:
  // Dimensions are added from the last, which varies fastest, to the first. `step` is how far the small
  // index moves with this dimension, 0 for one that the small table doesn't have.
  void AddDimension(int size, int step);

  [[nodiscard]] int GetRunLength() const { return levels[0].size; }
  [[nodiscard]] int GetRunStep() const { return levels[0].step; }
  // The small index at the start of the present run.
  [[nodiscard]] std::ptrdiff_t GetIndex() const { return index; }
  // To the next run; behind the last one stands the first again.
  void NextRun();

 private:
  struct Level {
    int size = 1;
    int step = 0;
    int place = 0;
  };
  static constexpr int kMaxLevels = 32;  // each but the first has a size of at least 2

  std::array<Level, kMaxLevels> levels{};
  int levelCount = 1;
  std::ptrdiff_t index = 0;
};

// large[i] *= small[the index at i], over the whole of `large`.
void MultiplyAlong(IndexWalk walk, std::span<double> large, const double* small);
// small[the index at i] += large[i], likewise.
void AddAlong(IndexWalk walk, std::span<const double> large, double* small);

}  // namespace qvr

#endif
