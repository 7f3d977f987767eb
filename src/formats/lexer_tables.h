// The token rules of the text formats, as transition tables of one automaton.
#ifndef QVR_FORMATS_LEXER_TABLES_H
#define QVR_FORMATS_LEXER_TABLES_H

#include <array>
#include <cstdint>

namespace qvr {

inline constexpr int kLexerStates = 16;
inline constexpr int kLexerClasses = 17;

// What a table says of a state and a character besides the next state.
enum LexerAction : std::uint8_t {
  kSkip = 0,  // from state 0: the character belongs to no token
  kStartString = 70,
  kLineComment = 75,
  kBlockComment = 80,   // "/*"
  kNestedComment = 85,  // "/#"
  kUnknown = 90,
  kAccept = 95,  // the character isn't consumed
};

using LexerTable = std::array<std::array<std::uint8_t, kLexerClasses>, kLexerStates>;

// Numbers of the tables.
inline constexpr int kLexerDefault = 1;
inline constexpr int kLexerBlankSeparated = 2;  // nearly any run of printable characters is one identifier
inline constexpr int kLexerPercentComments = 3;
inline constexpr int kLexerNoSeparators = 4;  // "," and the vertical bar are white space
inline constexpr int kLexerSignsApart = 5;

// Null unless 1 to 5.
[[nodiscard]] const LexerTable* GetLexerTable(int number);
[[nodiscard]] int GetCharacterClass(char c);

}  // namespace qvr

#endif
