#include "formats/lexer_tables.h"

#include <string_view>

namespace qvr {
namespace {

enum CharacterClass : std::uint8_t {
  kLetter = 0,  // other than e and E
  kDigit = 1,
  kUnderscore = 2,
  kSlash = 3,
  kEquals = 4,
  kStar = 5,
  kHash = 6,
  kDot = 7,
  kSign = 8,
  kQuote = 9,
  kPunctuator = 10,
  kSpace = 11,
  kOther = 12,
  kPercent = 13,
  kComma = 14,
  kBar = 15,
  kExponent = 16,  // e and E
};

constexpr std::array<std::uint8_t, 256> MakeClasses() {
  std::array<std::uint8_t, 256> classes{};
  classes.fill(kOther);
  const auto assign = [&classes](std::string_view characters, CharacterClass characterClass) {
    for (char c : characters) {
      classes[static_cast<unsigned char>(c)] = characterClass;
    }
  };
  assign("ABCDFGHIJKLMNOPQRSTUVWXYZabcdfghijklmnopqrstuvwxyz", kLetter);
  assign("eE", kExponent);
  assign("0123456789", kDigit);
  assign("_", kUnderscore);
  assign("/", kSlash);
  assign("=", kEquals);
  assign("*", kStar);
  assign("#", kHash);
  assign(".", kDot);
  assign("+-", kSign);
  assign("\"", kQuote);
  assign("!@$^&()[]{};:'<>?`~\\", kPunctuator);
  assign(std::string_view(" \n\t\r\0", 5), kSpace);
  assign("%", kPercent);
  assign(",", kComma);
  assign("|", kBar);
  return classes;
}

constexpr std::array<std::uint8_t, 256> kClasses = MakeClasses();

// States: 1 identifier, 2 and 3 digits before and behind the dot, 4 slash, 5 and 6 one and two equals signs,
// 7 dot, 8 punctuator, 9 sign, 10 and 11 behind the e of an integer and of a decimal, 12 and 13 behind the
// exponent's sign, 14 and 15 its digits.
constexpr LexerTable kDefaultTable = {{
    {1, 2, 8, 4, 5, 8, 8, 7, 9, 70, 8, 0, 90, 8, 8, 8, 1},
    {1, 1, 1, 95, 95, 95, 95, 95, 95, 95, 95, 95, 90, 95, 95, 95, 1},
    {95, 2, 95, 95, 95, 95, 95, 7, 95, 95, 95, 95, 95, 95, 95, 95, 10},
    {95, 3, 95, 95, 95, 95, 95, 95, 95, 95, 95, 95, 95, 95, 95, 95, 11},
    {95, 95, 95, 75, 95, 80, 85, 95, 95, 95, 95, 95, 95, 95, 95, 95, 95},
    {95, 95, 95, 95, 6, 95, 95, 95, 95, 95, 95, 95, 95, 95, 95, 95, 95},
    {95, 95, 95, 95, 90, 95, 95, 95, 95, 95, 95, 95, 95, 95, 95, 95, 95},
    {95, 3, 95, 95, 95, 95, 95, 95, 95, 95, 95, 95, 95, 95, 95, 95, 95},
    {95, 95, 95, 95, 95, 95, 95, 95, 95, 95, 95, 95, 95, 95, 95, 95, 95},
    {95, 2, 95, 95, 95, 95, 95, 3, 95, 95, 95, 95, 95, 95, 95, 95, 95},
    {95, 14, 95, 95, 95, 95, 95, 95, 12, 95, 95, 95, 95, 95, 95, 95, 95},
    {95, 15, 95, 95, 95, 95, 95, 95, 13, 95, 95, 95, 95, 95, 95, 95, 95},
    {95, 14, 95, 95, 95, 95, 95, 95, 95, 95, 95, 95, 95, 95, 95, 95, 95},
    {95, 15, 95, 95, 95, 95, 95, 95, 95, 95, 95, 95, 95, 95, 95, 95, 95},
    {95, 14, 95, 95, 95, 95, 95, 95, 95, 95, 95, 95, 95, 95, 95, 95, 95},
    {95, 15, 95, 95, 95, 95, 95, 95, 95, 95, 95, 95, 95, 95, 95, 95, 95},
}};

constexpr LexerTable MakeBlankSeparatedTable() {
  LexerTable table = kDefaultTable;
  table[0] = {1, 2, 1, 8, 1, 8, 1, 1, 9, 1, 1, 0, 90, 1, 1, 1, 1};
  table[1] = {1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 95, 90, 1, 1, 1, 1};
  table[2] = {1, 2, 1, 1, 1, 1, 1, 7, 1, 1, 1, 95, 95, 1, 1, 1, 10};
  table[3] = {1, 3, 1, 1, 1, 1, 1, 1, 1, 1, 1, 95, 95, 1, 1, 1, 11};
  table[4] = {1, 1, 1, 95, 1, 95, 1, 1, 1, 1, 1, 95, 95, 1, 1, 1, 95};
  table[7] = {1, 3, 1, 95, 1, 95, 1, 1, 1, 1, 1, 95, 95, 1, 1, 1, 95};
  table[8] = {1, 1, 1, 95, 1, 95, 1, 1, 1, 1, 1, 95, 95, 1, 1, 1, 95};
  table[9] = {1, 2, 1, 95, 1, 95, 1, 3, 1, 1, 1, 95, 95, 1, 1, 1, 95};
  table[14] = {95, 10, 95, 95, 95, 95, 95, 95, 95, 95, 95, 95, 95, 95, 95, 95, 95};
  table[15] = {95, 11, 95, 95, 95, 95, 95, 95, 95, 95, 95, 95, 95, 95, 95, 95, 95};
  return table;
}

constexpr LexerTable MakePercentCommentsTable() {
  LexerTable table = kDefaultTable;
  table[0][kPercent] = kLineComment;
  table[14][kDigit] = 10;
  table[15][kDigit] = 11;
  return table;
}

constexpr LexerTable MakeNoSeparatorsTable() {
  LexerTable table = kDefaultTable;
  table[0][kComma] = kSkip;
  table[0][kBar] = kSkip;
  table[14][kDigit] = 10;
  table[15][kDigit] = 11;
  return table;
}

constexpr LexerTable MakeSignsApartTable() {
  LexerTable table = kDefaultTable;
  table[0][kSign] = 8;
  return table;
}

constexpr LexerTable kTables[] = {kDefaultTable, MakeBlankSeparatedTable(), MakePercentCommentsTable(),
                                  MakeNoSeparatorsTable(), MakeSignsApartTable()};

}  // namespace

const LexerTable* GetLexerTable(int number) {
  return number >= kLexerDefault && number <= kLexerSignsApart ? &kTables[number - 1] : nullptr;
}

int GetCharacterClass(char c) { return kClasses[static_cast<unsigned char>(c)]; }

}  // namespace qvr
