#include "app/failure.h"

#include <algorithm>

namespace qvr {

std::string OneLine(std::string text) {
  std::replace_if(
      text.begin(), text.end(), [](char c) { return static_cast<unsigned char>(c) < ' ' || c == '\x7f'; },
      '?');
  return text;
}

}  // namespace qvr
