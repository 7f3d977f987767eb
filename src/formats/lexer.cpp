#include "formats/lexer.h"

#include "model/error_log.h"

namespace qvr {
namespace {

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
// A binary file would otherwise fill the memory with messages.
constexpr int kMaxUnknownMessages = 100'000;

constexpr const char* kOpenString = "ERROR: UNEXPECTED END OF FILE. UNTERMINATED STRING";
constexpr const char* kOpenBlockComment = "ERROR: UNEXPECTED END OF FILE. UNMATCHED '/*'";
constexpr const char* kOpenNestedComment = "ERROR: UNEXPECTED END OF FILE. UNMATCHED '/#'";

// The state that the automaton accepted in, as a type.
int TypeOfState(int state) {
  switch (state) {
    case 10:
    case 12:
    case 14:
      return kTokenInteger;
    case 11:
    case 13:
    case 15:
      return kTokenReal;
    default:
      return state;
  }
}

}  // namespace

QVR_lexicalAnalizer::QVR_lexicalAnalizer(int tableNumber) : table(GetLexerTable(tableNumber)) {
  SetReady(table != nullptr);
}

int QVR_lexicalAnalizer::OpenFile(const char* fileName) {
  if (table == nullptr) {
    return QVR_OUT_OF_RANGE;
  }
  if (const int status = input.Open(fileName, kOpenForReading); status < 0) {
    return status;
  }
  end = 0;
  historyCount = 0;
  historyIndex = 0;
  if (NextLine() == QVR_OKAY && buffer.starts_with(kByteOrderMark)) {
    cursor = kByteOrderMark.size();
  }
  return end == QVR_FILE_IO_FAILED ? end : QVR_OKAY;
}

// After the last line, or an error, every further token gives the same code.
int QVR_lexicalAnalizer::NextLine() {
  const int status = end < 0 ? end : input.ReadLine(buffer);
  if (status == QVR_OKAY) {
    cursor = 0;
    return QVR_OKAY;
  }
  buffer.clear();
  cursor = 0;
  if (end == 0) {
    end = status == QVR_FILE_ERROR_102 ? QVR_NO_MORE_TOKENS : GetErrorLog().Log(status, nullptr);
  }
  return end;
}

int QVR_lexicalAnalizer::GetToken(QVR_token& token) {
  if (historyIndex == historyCount) {
    const int status = Scan();
    if (status == QVR_LEXICAL_ERROR) {
      return FailOnUnknown(token);
    }
    if (status < 0) {
      token = {};
      return status;
    }
    Remember();
  }
  const Record& record = HistoryAt(historyIndex);
  token = {record.type, record.text};
  return QVR_OKAY;
}

void QVR_lexicalAnalizer::Consume() {
  if (historyIndex < historyCount) {
    ++historyIndex;
    ++progress;
  }
}

int QVR_lexicalAnalizer::Back() {
  if (historyIndex == 0) {
    return QVR_OUT_OF_RANGE;
  }
  --historyIndex;
  --progress;
  return QVR_OKAY;
}

void QVR_lexicalAnalizer::Remember() {
  if (historyCount == kHistorySize) {
    historyFirst = (historyFirst + 1) % kHistorySize;
    --historyCount;
    --historyIndex;
  }
  Record& record = HistoryAt(historyCount);
  record.type = tokenType;
  record.text.swap(tokenText);
  ++historyCount;
}

int QVR_lexicalAnalizer::PeekCharacter() {
  std::string_view rest;
  const int status = PeekLine(rest);
  return status < 0 ? status : static_cast<unsigned char>(rest.front());
}

int QVR_lexicalAnalizer::PeekLine(std::string_view& rest) {
  while (cursor >= buffer.size()) {
    if (const int status = NextLine(); status < 0) {
      return status;
    }
  }
  rest = std::string_view(buffer).substr(cursor);
  return QVR_OKAY;
}

void QVR_lexicalAnalizer::ConsumeCharacters(std::size_t count) {
  cursor += count;
  progress += static_cast<long long>(count);
}

int QVR_lexicalAnalizer::SkipDelimiters() {
  constexpr std::string_view kDelimiters = " \t\n";
  for (;;) {
    while (cursor < buffer.size() && kDelimiters.find(buffer[cursor]) != std::string_view::npos) {
      ++cursor;
    }
    if (cursor < buffer.size()) {
      return QVR_OKAY;
    }
    if (const int status = NextLine(); status < 0) {
      return status;
    }
  }
}

int QVR_lexicalAnalizer::Scan() {
  for (;;) {
    if (const int status = SkipDelimiters(); status < 0) {
      return status;
    }
    const int action = RunAutomaton();
    switch (action) {
      case kAccept:
        return QVR_OKAY;
      case kStartString:
        return ScanString();
      case kUnknown:
        return QVR_LEXICAL_ERROR;
      case kSkip:
        ++cursor;
        break;
      default:
        if (const int status = SkipComment(action); status < 0) {
          return status;
        }
    }
  }
}

// From the first state to what the table says other than the next one.
int QVR_lexicalAnalizer::RunAutomaton() {
  int state = 0;
  tokenText.clear();
  for (;;) {
    const int next = (*table)[static_cast<std::size_t>(state)]
                             [static_cast<std::size_t>(GetCharacterClass(CurrentCharacter()))];
    if (next == kSkip || next >= kLexerStates) {
      tokenType = TypeOfState(state);
      return next;
    }
    tokenText.push_back(buffer[cursor]);
    ++cursor;
    state = next;
  }
}

// The content from the opening quote on. Once a line was continued, white space up to the next character
// isn't part of it.
int QVR_lexicalAnalizer::ScanString() {
  bool continued = false;
  ++cursor;
  for (;;) {
    if (cursor >= buffer.size()) {
      if (NextLine() < 0) {
        return end == QVR_FILE_IO_FAILED ? end : FailAtEnd(kOpenString);
      }
      continue;
    }
    const char c = buffer[cursor++];
    if (c == '"') {
      tokenType = kTokenString;
      return QVR_OKAY;
    }
    if (c == '\0') {
      return FailAtEnd(kOpenString);
    }
    if (c == '\\') {
      continued = ScanEscape();
    } else if (c != '\n' && c != '\r' && !(continued && (c == ' ' || c == '\t' || c == '\b'))) {
      continued = false;
      tokenText.push_back(c);
    }
  }
}

// What stands behind a backslash. True if that continues the line.
bool QVR_lexicalAnalizer::ScanEscape() {
  constexpr std::string_view kEscapes = "\"\\bnrt";
  constexpr std::string_view kCharacters = "\"\\\b\n\r\t";
  const char c = cursor < buffer.size() ? buffer[cursor] : '\n';
  if (c == ' ' || c == '\t' || c == '\b' || c == '\r' || c == '\n') {
    return true;
  }
  if (c == '|') {
    ++cursor;
  } else if (const std::size_t escape = kEscapes.find(c); escape != std::string_view::npos) {
    tokenText.push_back(kCharacters[escape]);
    ++cursor;
  } else {
    tokenText.push_back('\\');
  }
  return false;
}

int QVR_lexicalAnalizer::SkipComment(int action) {
  if (action == kLineComment) {
    cursor = buffer.size();
    return QVR_OKAY;
  }
  ++cursor;
  return action == kBlockComment ? SkipBlockComment() : SkipNestedComment();
}

int QVR_lexicalAnalizer::SkipBlockComment() {
  for (;;) {
    const std::size_t closing = buffer.find("*/", cursor);
    if (closing != std::string::npos) {
      cursor = closing + 2;
      return QVR_OKAY;
    }
    if (NextLine() < 0) {
      return end == QVR_FILE_IO_FAILED ? end : FailAtEnd(kOpenBlockComment);
    }
  }
}

int QVR_lexicalAnalizer::SkipNestedComment() {
  long long depth = 1;
  while (depth > 0) {
    const std::string_view two = std::string_view(buffer).substr(cursor, 2);
    if (two.empty()) {
      if (NextLine() < 0) {
        return end == QVR_FILE_IO_FAILED ? end : FailAtEnd(kOpenNestedComment);
      }
    } else if (two == "/#" || two == "#/") {
      depth += two == "/#" ? 1 : -1;
      cursor += 2;
    } else {
      ++cursor;
    }
  }
  return QVR_OKAY;
}

int QVR_lexicalAnalizer::FailOnUnknown(QVR_token& token) {
  ++progress;
  ++unknownCount;
  tokenText.assign(1, buffer[cursor]);
  ++cursor;
  token = {kTokenUnknown, tokenText};
  if (unknownCount <= kMaxUnknownMessages) {
    GetErrorLog().Log(QVR_LEXICAL_ERROR,
                      "ERROR: Line " + std::to_string(GetLineCount()) + " : UNKNOWN CHARACTER");
  }
  return QVR_LEXICAL_ERROR;
}

int QVR_lexicalAnalizer::FailAtEnd(const char* message) {
  end = QVR_NO_MORE_TOKENS;
  buffer.clear();
  cursor = 0;
  return GetErrorLog().Log(QVR_UNEXPECTED_EOF, message);
}

}  // namespace qvr
