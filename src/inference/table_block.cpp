#include "inference/table_block.h"

#include <sys/mman.h>

#include <cstdlib>
#include <new>

namespace qvr {

namespace {

constexpr std::size_t kHugePage = std::size_t{2} << 20;

}  // namespace

void TableBlock::Release::operator()(double* doomed) const { std::free(doomed); }

double* TableBlock::Reserve(std::size_t count) {
  if (count > capacity) {
    capacity = 0;
    cells.reset();
    const bool large = count * sizeof(double) >= kHugePage;
    const std::size_t alignment = large ? kHugePage : 64;
    const std::size_t bytes = (count * sizeof(double) + alignment - 1) / alignment * alignment;
    cells.reset(static_cast<double*>(std::aligned_alloc(alignment, bytes)));
    if (!cells) {
      throw std::bad_alloc();
    }
    if (large) {
      madvise(cells.get(), bytes,
              MADV_HUGEPAGE);  // fewer misses of the address cache on tables of many pages
    }
    capacity = bytes / sizeof(double);
  }
  return cells.get();
}

}  // namespace qvr
