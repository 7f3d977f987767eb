// Loads texts and looks at what becomes of them.
#ifndef QVR_TESTS_FORMATS_TEXT_READERS_H
#define QVR_TESTS_FORMATS_TEXT_READERS_H

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "formats/format_table.h"
#include "support/log_guard.h"
#include "support/network_builder.h"
#include "support/test_folder.h"

namespace qvr {

class TextReaders : public ::testing::Test {
 protected:
  int Load(FormatCode format, const std::string& text) {
    GetErrorLog().Clear();
    return network.LoadFile(folder.Write("text", text).c_str(), format, nullptr);
  }
  [[nodiscard]] int Find(const char* id) const { return network.FindNode(id); }
  // Each of these, in order, is part of the message of its place.
  static void ExpectMessages(const std::vector<std::string>& parts) {
    const std::vector<std::string> messages = LogGuard::Messages();
    ASSERT_EQ(messages.size(), parts.size()) << ::testing::PrintToString(messages);
    for (std::size_t i = 0; i < parts.size(); ++i) {
      EXPECT_NE(messages[i].find(parts[i]), std::string::npos) << messages[i] << " vs " << parts[i];
    }
  }

  const TestFolder folder;
  const LogGuard guard;
  QVR_network network;
};

using Cells = std::vector<double>;

}  // namespace qvr

#endif
