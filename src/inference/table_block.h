// The memory of one tree's tables: a single block, which goes back to the thread and not to the system.
#ifndef QVR_INFERENCE_TABLE_BLOCK_H
#define QVR_INFERENCE_TABLE_BLOCK_H

#include <cstddef>
#include <memory>

namespace qvr {

class TableBlock {
 public:
  // Room for `count` doubles, of any content. Throws std::bad_alloc.
  double* Reserve(std::size_t count);

 private:
  struct Release {
    void operator()(double* doomed) const;
  };
  std::unique_ptr<double[], Release> cells;
  std::size_t capacity = 0;
};

}  // namespace qvr

#endif
