#include "app/command/output.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <system_error>
#include <utility>

#include "formats/latin1.h"
#include "model/error_log.h"

namespace qvr {

namespace {

// A file of nothing but mistakes shouldn't flood the terminal.
constexpr int kMostMessages = 100;

int writeError = 0;  // errno of the first failed write

// How many bytes follow the first one of a character; -1 for a byte that can't begin one.
int ContinuationCount(unsigned char first) {
  if (first < 0x80) {
    return 0;
  }
  if (first >= 0xC2 && first < 0xE0) {
    return 1;
  }
  if (first >= 0xE0 && first < 0xF0) {
    return 2;
  }
  return first >= 0xF0 && first < 0xF5 ? 3 : -1;
}

// Names of files and of unknown elements come into the log as they are.
bool IsUtf8(std::string_view text) {
  int open = 0;
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    if (open > 0 && (byte & 0xC0) == 0x80) {
      --open;
    } else if (open > 0 || (open = ContinuationCount(byte)) < 0) {
      return false;
    }
  }
  return open == 0;
}

}  // namespace

void PrintResult(std::string_view utf8) {
  if (std::fwrite(utf8.data(), 1, utf8.size(), stdout) != utf8.size() && writeError == 0) {
    writeError = errno;
  }
}

Failure FinishOutput() {
  if (std::fflush(stdout) != 0 && writeError == 0) {
    writeError = errno;
  }
  if (writeError == 0) {
    return std::nullopt;
  }
  return "can't write the results: " + std::generic_category().message(writeError);
}

void PrintNote(const std::string& utf8) { std::fprintf(stderr, "note: %s\n", utf8.c_str()); }

std::string MessageLine(int i) {
  std::string text = GetErrorLog().GetMessage(i);
  if (!IsUtf8(text)) {
    text = ToUtf8(text);
  }
  std::replace(text.begin(), text.end(), '\n', ' ');
  return OneLine(std::move(text)) + "\n";
}

void PrintMessages() {
  QVR_errorLog& log = GetErrorLog();
  for (int i = 0; i < log.GetCount() && i < kMostMessages; ++i) {
    std::fputs(MessageLine(i).c_str(), stderr);
  }
  if (log.GetCount() > kMostMessages) {
    std::fprintf(stderr, "... and %d more messages\n", log.GetCount() - kMostMessages);
  }
  log.Clear();
}

}  // namespace qvr
