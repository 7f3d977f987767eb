#include "formats/lexer.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/log_guard.h"
#include "support/test_folder.h"

namespace qvr {
namespace {

class Lexer : public ::testing::Test {
 protected:
  // Every token as type:text, and the codes in between, up to the end of the file.
  std::string Tokens(int table, const std::string& content) {
    GetErrorLog().Clear();
    QVR_lexicalAnalizer lexer(table);
    EXPECT_EQ(lexer.OpenFile(folder.Write("text", content).c_str()), 0);
    std::string all;
    for (QVR_token token;;) {
      const int status = lexer.GetToken(token);
      if (status == QVR_NO_MORE_TOKENS) {
        return all;
      }
      all += (all.empty() ? "" : " ") + std::to_string(status < 0 ? status : token.type) + ":";
      all += token.text;
      lexer.Consume();
    }
  }

  const TestFolder folder;
  const LogGuard guard;
};

TEST_F(Lexer, CutsTextsByItsTables) {
  struct {
    int table;
    std::string content;
    std::string tokens;
  } const cases[] = {
      {1, "1.5e-3 12 -12 + 1e5 1. -1. -. .5", "3:1.5e-3 2:12 2:-12 9:+ 2:1e5 7:1. 7:-1. 3:-. 3:.5"},
      {1, "abc=def a$b _x A_1", "1:abc 5:= 1:def 1:a 8:$ 1:b 8:_ 1:x 1:A_1"},
      {2, "abc=def /*Names */ 1 -2.5 x|y", "1:abc=def 8:/ 1:*Names 8:* 8:/ 2:1 3:-2.5 1:x|y"},
      {1, "/# a /# b #/ c #/ d // e\nf /* g\n */h", "1:d 1:f 1:h"},
      {3, "% a\nb 1e25", "1:b 2:1e25"},
      {4, "(a | b, c) 1", "8:( 1:a 1:b 1:c 8:) 2:1"},
      {5, "-1", "8:- 2:1"},
      {1,
       "\xEF\xBB\xBF"
       "a\r\n\tb\r\n",
       "1:a 1:b"},
      {1, std::string("a\0b", 3), "1:a 1:b"},
      {1, "a\x01z = == ===b", "-126:\x01 1:z 5:= 6:== -126:= 1:b"},
      {1, "", ""},
      {1, "\"a \\\"b\\\\\\q\\n\\t;}\" c", "70:a \"b\\\\q\n\t;} 1:c"},
      {1, "\"one \\ \n   two\\ \r\n\t \\|  three\" x", "70:one two  three 1:x"},
      {1, "\"raw\r\n line\\\nend\"", "70:raw lineend"},
      {1, "\"open", "-128:"},
      {1, std::string("\"a\0b\" c", 7), "-128:"},
      {1, "\"a\\ \n", "-128:"},
      {1, "a /* b", "1:a -128:"},
      {1, "a /# /# #/", "1:a -128:"},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(Tokens(c.table, c.content), c.tokens) << c.content;
  }
  Tokens(1, "a\n\n\x80");
  EXPECT_EQ(LogGuard::Messages(QVR_LEXICAL_ERROR),
            std::vector<std::string>{"ERROR: Line 3 : UNKNOWN CHARACTER"});
  const std::string longWord(100'000, 'x');
  EXPECT_EQ(Tokens(1, "/*" + longWord + "*/ \"" + longWord + "\""), "70:" + longWord);
}

TEST_F(Lexer, GoesBackOverItsLastTokens) {
  QVR_lexicalAnalizer lexer(kLexerDefault);
  ASSERT_EQ(lexer.OpenFile(folder.Write("text", "a b c d e f g").c_str()), 0);
  QVR_token token;
  const auto present = [&] { return lexer.GetToken(token) < 0 ? "none" : std::string(token.text); };
  EXPECT_EQ(lexer.Back(), -2);
  for (int i = 0; i < 6; ++i) {
    present();
    lexer.Consume();
  }
  EXPECT_EQ(lexer.Back(), 0);
  EXPECT_EQ(present(), "f");  // the one just consumed
  EXPECT_EQ(lexer.Back(), 0);
  EXPECT_EQ(present(), "e");  // the one before that wasn't
  EXPECT_EQ(lexer.Back() + lexer.Back() + lexer.Back(), 0);
  EXPECT_EQ(present(), "b");
  EXPECT_EQ(lexer.Back(), -2);
  std::string rest;
  for (; present() != "none"; lexer.Consume()) {
    rest += present();
  }
  EXPECT_EQ(rest, "bcdefg");
  EXPECT_EQ(QVR_lexicalAnalizer(6).OpenFile("text"), -2);
}

// Whatever is written, broken lines included, is read as the same tokens.
TEST_F(Lexer, ReadsBackWhatATextFileBreaks) {
  const std::string contents[] = {
      std::string(300, 'w'), "a  b   c    d     e      f       g        h         i",
      std::string(200, ' ') + "x", "q\\\"q\\\\ \\n" + std::string(90, 'z') + "\\\\\\\\\\\\\\\\",
      std::string(50, '\b') + "y"};
  for (int lineLength : {2, 3, 10, 70}) {
    for (int indentation : {0, 3, 40}) {
      const std::string path = folder.Path("broken");
      QVR_textFile file;
      ASSERT_EQ(file.Open(path.c_str(), kOpenForWriting), 0);
      ASSERT_EQ(file.SetLineLength(lineLength), 0);
      for (int i = 0; i < indentation; ++i) {
        file.Indent();
      }
      for (const std::string& content : contents) {
        file.WriteIndented("name = \"", kWriteIndented);
        file.SetContinuation("\\ ");
        file.Write(content, kWriteIndented);
        file.SetContinuation(nullptr);
        file.Write("\"; \"uncut  text\" (0.25, 0.75);\n", kWriteIndented);
      }
      ASSERT_EQ(file.Close(), 0);
      std::string expected;
      for (const std::string& content : contents) {
        expected += "name = \"" + content + "\"; \"uncut  text\" (0.25, 0.75);\n";
      }
      QVR_lexicalAnalizer broken(kLexerDefault);
      QVR_lexicalAnalizer whole(kLexerDefault);
      ASSERT_EQ(broken.OpenFile(path.c_str()), 0);
      ASSERT_EQ(whole.OpenFile(folder.Write("whole", expected).c_str()), 0);
      int status = 0;
      for (QVR_token a, b; status == 0; broken.Consume(), whole.Consume()) {
        status = whole.GetToken(b);
        ASSERT_EQ(broken.GetToken(a), status);
        ASSERT_EQ(a.text, b.text) << lineLength << " " << indentation;
      }
    }
  }
}

}  // namespace
}  // namespace qvr
