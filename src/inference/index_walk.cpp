#include "inference/index_walk.h"

#include <cstdint>

namespace qvr {
namespace {

void MultiplyRun(double* run, int length, const double* small, int step) {
  for (int i = 0; i < length; ++i) {
    run[i] *= small[static_cast<std::ptrdiff_t>(i) * step];
  }
}

void ScaleRun(double* run, int length, double factor) {
  for (int i = 0; i < length; ++i) {
    run[i] *= factor;
  }
}

void AddRun(const double* run, int length, double* small, int step) {
  for (int i = 0; i < length; ++i) {
    small[static_cast<std::ptrdiff_t>(i) * step] += run[i];
  }
}

double SumRun(const double* run, int length) {
  double sum = 0.0;
  for (int i = 0; i < length; ++i) {
    sum += run[i];
  }
  return sum;
}

}  // namespace

void IndexWalk::AddDimension(int size, int step) {
  if (size == 1) {
    return;
  }
  Level& last = levels[static_cast<std::size_t>(levelCount - 1)];
  if (last.size == 1) {
    last = {size, step, 0};
  } else if (static_cast<std::int64_t>(last.size) * last.step == step) {
    last.size *= size;  // the two dimensions move as one
  } else {
    levels[static_cast<std::size_t>(levelCount++)] = {size, step, 0};
  }
}

void IndexWalk::NextRun() {
  for (int i = 1; i < levelCount; ++i) {
    Level& level = levels[static_cast<std::size_t>(i)];
    if (++level.place < level.size) {
      index += level.step;
      return;
    }
    level.place = 0;
    index -= static_cast<std::ptrdiff_t>(level.size - 1) * level.step;
  }
}

void MultiplyAlong(IndexWalk walk, std::span<double> large, const double* small) {
  const int length = walk.GetRunLength();
  const int step = walk.GetRunStep();
  for (std::size_t at = 0; at < large.size(); at += static_cast<std::size_t>(length)) {
    if (step == 0) {
      ScaleRun(large.data() + at, length, small[walk.GetIndex()]);
    } else {
      MultiplyRun(large.data() + at, length, small + walk.GetIndex(), step);
    }
    walk.NextRun();
  }
}

void AddAlong(IndexWalk walk, std::span<const double> large, double* small) {
  const int length = walk.GetRunLength();
  const int step = walk.GetRunStep();
  for (std::size_t at = 0; at < large.size(); at += static_cast<std::size_t>(length)) {
    if (step == 0) {
      small[walk.GetIndex()] += SumRun(large.data() + at, length);
    } else {
      AddRun(large.data() + at, length, small + walk.GetIndex(), step);
    }
    walk.NextRun();
  }
}

}  // namespace qvr
