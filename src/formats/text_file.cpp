#include "formats/text_file.h"

#include <algorithm>

#include "formats/atomic_file.h"
#include "model/error_log.h"

namespace qvr {
namespace {

// Ends the reader's skipping of what a continued line begins with.
constexpr std::string_view kEndOfSkipping = "\\|";

constexpr bool IsSkippedInContinuation(char c) { return c == ' ' || c == '\t' || c == '\b'; }

}  // namespace

QVR_textFile::QVR_textFile() { SetReady(true); }

QVR_textFile::~QVR_textFile() = default;

int QVR_textFile::Open(const char* fileName, int mode) {
  file.reset();
  output.reset();
  lineBuffer.clear();
  if (fileName != nullptr && mode == kOpenForReading) {
    file.reset(std::fopen(fileName, "rt"));
  } else if (fileName != nullptr && mode == kOpenForWriting) {
    output = std::make_unique<AtomicFile>(fileName);
    if (!output->IsOpen()) {
      output.reset();
    }
  }
  if (file == nullptr && output == nullptr) {
    return status = GetErrorLog().Log(QVR_FILE_IO_FAILED, "OPEN FILE FAILED");
  }
  lineCount = 0;
  return status = QVR_OKAY;
}

int QVR_textFile::Close() {
  int result = file != nullptr ? QVR_OKAY : QVR_FILE_IO_FAILED;
  if (output != nullptr) {
    output->Write(lineBuffer);
    result = output->Commit();
  }
  file.reset();
  output.reset();
  lineBuffer.clear();
  status = QVR_FILE_IO_FAILED;
  return result;
}

int QVR_textFile::ReadLine(std::string& line) {
  line.clear();
  if (file == nullptr) {
    return status = QVR_FILE_IO_FAILED;
  }
  int c = EOF;
  while ((c = getc_unlocked(file.get())) != EOF) {
    line.push_back(static_cast<char>(c));
    if (c == '\n') {
      break;
    }
  }
  if (std::ferror(file.get()) != 0) {
    return status = QVR_FILE_IO_FAILED;
  }
  if (line.empty()) {
    return status = QVR_FILE_ERROR_102;
  }
  if (line.ends_with("\r\n")) {
    line.erase(line.size() - 2, 1);
  }
  ++lineCount;
  return status = QVR_OKAY;
}

int QVR_textFile::Indent() {
  if (indentWidth * indentLevel >= kMaxLineLength) {
    return QVR_OUT_OF_RANGE;
  }
  ++indentLevel;
  return QVR_OKAY;
}

int QVR_textFile::Outdent() {
  if (indentLevel == 0) {
    return QVR_OUT_OF_RANGE;
  }
  --indentLevel;
  return QVR_OKAY;
}

int QVR_textFile::SetIndentWidth(int newWidth) {
  if (newWidth < 0 || newWidth >= lineLength) {
    return QVR_OUT_OF_RANGE;
  }
  indentWidth = newWidth;
  return QVR_OKAY;
}

int QVR_textFile::SetLineLength(int newLength) {
  if (newLength < 0 || newLength <= indentWidth) {
    return QVR_OUT_OF_RANGE;
  }
  lineLength = std::min(newLength, kMaxLineLength);
  return QVR_OKAY;
}

void QVR_textFile::SetContinuation(const char* text) {
  continuation = text == nullptr ? "" : text;
  literalStart = lineBuffer.size();
  lastBlank = 0;
  escaping = false;
}

template <typename WriteCharacter>
int QVR_textFile::WriteLines(std::string_view text, WriteMode mode, WriteCharacter write) {
  bool startsLine = false;
  for (char c : text) {
    if (c == '\n') {
      FlushLine();
      startsLine = true;
      continue;
    }
    if (lineBuffer.empty()) {
      StartLine(startsLine ? mode : kWritePlain);
    }
    write(c);
  }
  return status;
}

int QVR_textFile::Write(std::string_view text, WriteMode mode) {
  return WriteLines(text, mode, [this, mode](char c) {
    Put(c);
    if (GetColumn() > lineLength && !escaping) {
      BreakLine(mode);
    }
  });
}

int QVR_textFile::WriteIndented(std::string_view text, WriteMode mode) {
  if (lineBuffer.empty()) {
    StartLine(kWriteIndented);
  }
  return Write(text, mode);
}

int QVR_textFile::WriteRaw(std::string_view text, WriteMode mode) {
  return WriteLines(text, mode, [this](char c) { lineBuffer.push_back(c); });
}

void QVR_textFile::Put(char c) {
  const bool startsContinuedLine = IsLiteral() && literalStart == textStart && textStart == lineBuffer.size();
  if (startsContinuedLine && IsSkippedInContinuation(c)) {
    lineBuffer += kEndOfSkipping;
  }
  lineBuffer.push_back(c);
  TrackQuotes(c);
  if (c == ' ' && (IsLiteral() || !quoted)) {
    lastBlank = lineBuffer.size();
  }
}

// A literal stands between quotes that were, and will be, written outside it.
void QVR_textFile::TrackQuotes(char c) {
  if (escaping) {
    escaping = false;
  } else if (c == '\\') {
    escaping = IsLiteral() || quoted;
  } else if (c == '"' && !IsLiteral()) {
    quoted = !quoted;
  }
}

void QVR_textFile::BreakLine(WriteMode mode) {
  std::size_t place = 0;
  while (GetColumn() > lineLength && (place = FindBreak()) != 0) {
    const std::string rest = lineBuffer.substr(place);
    lineBuffer.resize(place);
    lineBuffer += continuation;
    FlushLine();
    StartLine(mode);
    literalStart = textStart;
    if (IsLiteral() && !rest.empty() && IsSkippedInContinuation(rest.front())) {
      lineBuffer += kEndOfSkipping;
    }
    lineBuffer += rest;
  }
}

// 0 if the line has to grow.
std::size_t QVR_textFile::FindBreak() const {
  if (lastBlank > textStart) {
    return lastBlank;
  }
  return IsLiteral() ? FindBreakInLiteral() : 0;
}

// In front of the literal if anything stands there, else as far to the right as the limit allows, but behind
// at least one character.
std::size_t QVR_textFile::FindBreakInLiteral() const {
  if (literalStart > textStart) {
    return literalStart;
  }
  if (lineBuffer.size() == textStart) {
    return 0;
  }
  const std::string_view line = lineBuffer;
  std::size_t place = textStart;
  std::size_t next = place + (line.substr(place).starts_with(kEndOfSkipping) ? kEndOfSkipping.size() : 0);
  do {
    place = next + (line[next] == '\\' ? 2 : 1);
    next = place;
  } while (next < line.size() && next + (line[next] == '\\' ? 2 : 1) <= static_cast<std::size_t>(lineLength));
  return place < line.size() ? place : 0;
}

void QVR_textFile::FlushLine() {
  lineBuffer.push_back('\n');
  status = output != nullptr && output->Write(lineBuffer) ? QVR_OKAY : QVR_FILE_IO_FAILED;
  lineBuffer.clear();
}

void QVR_textFile::StartLine(WriteMode mode) {
  const int indentation = mode == kWriteIndented ? indentWidth * indentLevel : 0;
  lineBuffer.assign(static_cast<std::size_t>(indentation), ' ');
  textStart = lineBuffer.size();
  lastBlank = 0;
}

}  // namespace qvr
