// Cuts a text file into tokens.
#ifndef QVR_FORMATS_LEXER_H
#define QVR_FORMATS_LEXER_H

#include <array>
#include <string>
#include <string_view>

#include "formats/lexer_tables.h"
#include "formats/text_file.h"
#include "model/object.h"

namespace qvr {

// The automaton's state at the end of a token, with the kinds of numbers as one.
enum TokenType : int {
  kTokenIdentifier = 1,
  kTokenInteger = 2,
  kTokenReal = 3,
  kTokenSlash = 4,
  kTokenEquals = 5,
  kTokenTwoEquals = 6,
  kTokenDot = 7,  // also a number that ends in its dot
  kTokenPunctuator = 8,
  kTokenSign = 9,
  kTokenString = 70,  // its text is the content, without quotes and escapes
  kTokenUnknown = 90,
};

struct QVR_token {
  int type = kTokenUnknown;
  std::string_view text;  // valid until four more tokens were read
};

// Lines, tokens and comments may have any length.
class QVR_lexicalAnalizer : public QVR_object {
 public:
  explicit QVR_lexicalAnalizer(int tableNumber);  // not ready unless 1 to 5

  // Skips a byte-order mark. -2 without a table; -103.
  int OpenFile(const char* fileName);
  // The present token, which stays so until Consume. -111 at the end of the file; logged: -103, -126 for an
  // unknown character, which is passed over, and -128 for a string or comment that the file ends in.
  int GetToken(QVR_token& token);
  void Consume();
  // Makes the token before the present one present again. -2 beyond the last five.
  int Back();

  // The next character, with no token in between; or the code that GetToken would give. Only behind Consume.
  int PeekCharacter();
  void ConsumeCharacter() { ConsumeCharacters(1); }  // one that PeekCharacter saw
  // The same for what is left of the line, which isn't empty.
  int PeekLine(std::string_view& rest);
  void ConsumeCharacters(std::size_t count);

  [[nodiscard]] int GetLineCount() const { return input.GetLineCount(); }
  // Grows with everything that is passed over, and shrinks with Back: two equal numbers mean that nothing
  // was.
  [[nodiscard]] long long GetProgress() const { return progress; }

 private:
  static constexpr int kHistorySize = 5;

  struct Record {
    int type = kTokenUnknown;
    std::string text;
  };

  int NextLine();
  int SkipDelimiters();
  [[nodiscard]] char CurrentCharacter() const { return cursor < buffer.size() ? buffer[cursor] : '\0'; }
  int Scan();
  int RunAutomaton();
  int ScanString();
  bool ScanEscape();
  int SkipComment(int action);
  int SkipBlockComment();
  int SkipNestedComment();
  int FailOnUnknown(QVR_token& token);
  int FailAtEnd(const char* message);
  void Remember();
  [[nodiscard]] Record& HistoryAt(int index) {
    return history[static_cast<std::size_t>((historyFirst + index) % kHistorySize)];
  }

  const LexerTable* table;
  QVR_textFile input;
  std::string buffer;      // the current line
  std::size_t cursor = 0;  // reading position in it
  int end = 0;             // the code that every further token gives, or 0
  std::string tokenText;   // of the token being scanned
  int tokenType = kTokenUnknown;
  std::array<Record, kHistorySize> history;  // a ring, so that no text moves
  int historyFirst = 0;                      // the place of the oldest
  int historyCount = 0;
  int historyIndex = 0;  // of the present token; historyCount if that isn't scanned yet
  long long progress = 0;
  int unknownCount = 0;
};

}  // namespace qvr

#endif
