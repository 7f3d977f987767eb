// The independent answers that a checkout may have beside it: models, each with a JSON file of its own.
#ifndef QVR_SUPPORT_SHARED_ANSWERS_H
#define QVR_SUPPORT_SHARED_ANSWERS_H

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <functional>
#include <sstream>
#include <string>

#include "model/network.h"

namespace qvr {

// False if the folder isn't there. Else `compare` gets each model, loaded, and the words of its answers: all
// names with their quotes, numbers, and no more of JSON.
inline bool ForEachAnswer(const std::filesystem::path& folder,
                          const std::function<void(QVR_network&, std::istream&)>& compare) {
  if (!std::filesystem::exists(folder)) {
    return false;
  }
  for (const std::filesystem::directory_entry& entry : std::filesystem::directory_iterator(folder)) {
    std::filesystem::path path = entry.path();
    if (path.extension() != ".xqvr") {
      continue;
    }
    SCOPED_TRACE(path.string());
    QVR_network network;
    if (network.LoadFile(path.c_str(), 0, nullptr) < 0) {
      ADD_FAILURE() << "it doesn't load";
      continue;
    }
    std::stringstream whole;
    whole << std::ifstream(path.replace_extension(".json")).rdbuf();
    std::string text = whole.str();
    std::replace_if(
        text.begin(), text.end(), [](char c) { return std::string("{}[]:,").find(c) != std::string::npos; },
        ' ');
    std::istringstream words(text);
    compare(network, words);
  }
  return true;
}

}  // namespace qvr

#endif
