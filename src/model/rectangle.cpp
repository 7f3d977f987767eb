#include "model/rectangle.h"

#include <limits>
#include <new>

#include "model/status.h"

namespace qvr {

void QVR_rectangleArray::CleanUp(int deep) {
  items = std::vector<QVR_rectangle>();
  QVR_array::CleanUp(deep);
}

int QVR_rectangleArray::Add(const QVR_rectangle& rectangle) {
  const QVR_rectangle entry = rectangle.IsReady() ? rectangle : QVR_rectangle();
  if (numItems == size) {
    if (size > std::numeric_limits<int>::max() - delta) {
      return QVR_OUT_OF_MEMORY;
    }
    try {
      items.resize(static_cast<std::size_t>(size + delta));
    } catch (const std::bad_alloc&) {
      return QVR_OUT_OF_MEMORY;
    }
    size += delta;
  }
  items[static_cast<std::size_t>(numItems++)] = entry;
  return QVR_OKAY;
}

const QVR_rectangle& QVR_rectangleArray::Get(int i) const {
  return i >= 0 && i < size ? items[static_cast<std::size_t>(i)] : defaultRectangle;
}

}  // namespace qvr
