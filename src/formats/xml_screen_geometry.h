// How colours and rectangles of the screen stand in files.
#ifndef QVR_FORMATS_XML_SCREEN_GEOMETRY_H
#define QVR_FORMATS_XML_SCREEN_GEOMETRY_H

#include <string>

#include "model/rectangle.h"

namespace qvr {

// Six hexadecimal digits in the order red, green, blue; in memory red is the lowest byte.
[[nodiscard]] bool ReadColor(const std::string& text, int& color);
[[nodiscard]] std::string ColorToText(int color);  // of its lower 24 bits

// left, top, right, bottom; in memory centre and size. What an int can't hold is clamped.
struct ScreenBox {
  int sides[4];
};
[[nodiscard]] ScreenBox BoxOf(const QVR_rectangle& rectangle);
void SetBox(const ScreenBox& box, QVR_rectangle& rectangle);

}  // namespace qvr

#endif
