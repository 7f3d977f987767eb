// Rectangles of the screen metadata and arrays of them.
#ifndef QVR_MODEL_RECTANGLE_H
#define QVR_MODEL_RECTANGLE_H

#include <vector>

#include "model/object.h"
#include "model/string_array.h"

namespace qvr {

class QVR_rectangle : public QVR_object {
 public:
  QVR_rectangle() { SetReady(true); }

  int centerX = 0;
  int centerY = 0;
  int width = 0;
  int height = 0;
};

class QVR_rectangleArray : public QVR_array {
 public:
  explicit QVR_rectangleArray(int newDelta = 10) : QVR_array(newDelta) {}

  void CleanUp(int deep) override;

  // Copies the four numbers in only if the rectangle is ready. -42 with the array unchanged.
  int Add(const QVR_rectangle& rectangle);
  // A default rectangle outside 0 to size - 1.
  [[nodiscard]] const QVR_rectangle& Get(int i) const;

 private:
  std::vector<QVR_rectangle> items;  // `size` entries
  QVR_rectangle defaultRectangle;
};

}  // namespace qvr

#endif
