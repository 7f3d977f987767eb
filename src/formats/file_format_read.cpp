// Token readers of the speakers. Nothing here recurses on what stands in the file.
#include <limits>

#include "formats/ascii_case.h"
#include "formats/file_format.h"
#include "formats/number_token.h"
#include "model/error_log.h"
#include "model/special_numbers.h"

namespace qvr {
namespace {

// A file of nothing but faults would otherwise fill the memory with messages.
constexpr int kMaxReports = 100'000;

bool EndsReading(int code) {
  return code == QVR_NO_MORE_TOKENS || code == QVR_UNEXPECTED_EOF || code == QVR_FILE_ERROR_102 ||
         code == QVR_FILE_IO_FAILED || code == QVR_OUT_OF_RANGE;
}

std::string DescribeExpected(int type, const char* text) {
  if (text != nullptr) {
    return "'" + std::string(text) + "'";
  }
  switch (type) {
    case kTokenIdentifier:
      return "Identifier";
    case kTokenInteger:
      return "Integer";
    case kTokenReal:
      return "Real Number";
    case kTokenPunctuator:
      return "Punctuator";
    case kTokenString:
      return "String";
    default:
      return "";
  }
}

}  // namespace

int QVR_fileFormat::StartReading(const char* fileName, int lexerTable) {
  lexer = std::make_unique<QVR_lexicalAnalizer>(lexerTable);
  reportCount = 0;
  return lexer->OpenFile(fileName);
}

int QVR_fileFormat::Peek() {
  token = {};
  return lexer == nullptr ? QVR_OUT_OF_RANGE : lexer->GetToken(token);
}

bool QVR_fileFormat::PeekIs(std::string_view text) const {
  return caseSensitive ? token.text == text : EqualIgnoringCase(token.text, text);
}

int QVR_fileFormat::Report(int code, const std::string& message) {
  return ReportAt(GetLine(), code, message);
}

int QVR_fileFormat::GetLine() const { return lexer == nullptr ? 0 : lexer->GetLineCount(); }

int QVR_fileFormat::ReportAt(int line, int code, const std::string& message) {
  if (code == QVR_OKAY || ++reportCount > kMaxReports) {
    return code;
  }
  return GetErrorLog().Log(code, message.c_str(), ("(line " + std::to_string(line) + ") : ").c_str());
}

int QVR_fileFormat::ReportUnknown(const char* message) {
  return Report(QVR_SYNTAX_ERROR, "ERROR: '" + std::string(token.text) + "' : " + message);
}

int QVR_fileFormat::PeekIsType(int type) {
  const int status = Peek();
  if (status == QVR_OKAY) {
    return token.type == type ? 1 : 0;
  }
  return EndsReading(status) ? QVR_NO_MORE_TOKENS : 0;
}

int QVR_fileFormat::NextIsInteger() { return PeekIsType(kTokenInteger); }

int QVR_fileFormat::NextIsString() { return PeekIsType(kTokenString); }

int QVR_fileFormat::NextIsPunctuator(const char* text) {
  const int isString = PeekIsType(kTokenString);
  return isString == 0 ? static_cast<int>(token.type != kTokenUnknown && token.text == text)
                       : (isString < 0 ? isString : 0);
}

int QVR_fileFormat::NextIsKeyword(const char* text) {
  const int isIdentifier = PeekIsType(kTokenIdentifier);
  return isIdentifier == 1 && !PeekIs(text) ? 0 : isIdentifier;
}

int QVR_fileFormat::NextIsOneOf(const char* const* list) {
  int result = PeekIsType(kTokenIdentifier);
  if (result == 1) {
    result = 0;
    for (; *list != nullptr && result == 0; ++list) {
      result = PeekIs(*list) ? 1 : 0;
    }
  }
  return result;
}

// The tables let no identifier begin with "_", but the writers' own names for what has none do.
int QVR_fileFormat::NextIsIdentifier() {
  const int isIdentifier = PeekIsType(kTokenIdentifier);
  if (isIdentifier != 0 || token.type != kTokenPunctuator || token.text != "_") {
    return isIdentifier;
  }
  Consume();
  const int isBehind = PeekIsType(kTokenIdentifier);
  lexer->Back();
  Peek();
  return isBehind == 1 ? 1 : 0;
}

int QVR_fileFormat::ReadIdentifier(std::string& out) {
  const int isIdentifier = NextIsIdentifier();
  if (isIdentifier != 1) {
    return isIdentifier < 0 ? isIdentifier : QVR_SYNTAX_ERROR;
  }
  out = token.text;
  Consume();
  if (token.type == kTokenPunctuator) {
    Peek();
    out += token.text;
    Consume();
  }
  return QVR_OKAY;
}

int QVR_fileFormat::ReadString(std::string& out) {
  const int isString = NextIsString();
  if (isString != 1) {
    return isString < 0 ? isString : QVR_SYNTAX_ERROR;
  }
  out = token.text;
  Consume();
  return QVR_OKAY;
}

int QVR_fileFormat::ReadWord(std::string& out) {
  if (NextIsIdentifier() == 1) {
    return ReadIdentifier(out);
  }
  if (NextIsNumber() != 1 && NextIsString() != 1) {
    return Expect(kTokenString, nullptr);
  }
  out = token.text;
  Consume();
  return QVR_OKAY;
}

int QVR_fileFormat::ReadInt(int& out) {
  const int isInteger = NextIsInteger();
  if (isInteger != 1) {
    return isInteger < 0 ? isInteger : QVR_SYNTAX_ERROR;
  }
  const char* end = nullptr;
  const long long value = ReadLeadingInteger(std::string(token.text).c_str(), end);
  if (value < std::numeric_limits<int>::min() || value > std::numeric_limits<int>::max()) {
    return QVR_SYNTAX_ERROR;
  }
  out = static_cast<int>(value);
  Consume();
  return QVR_OKAY;
}

// A number may end in its dot; the lexer's type doesn't tell that from a lone dot.
bool QVR_fileFormat::AtNumber() const {
  return token.type == kTokenInteger || token.type == kTokenReal ||
         (token.type == kTokenDot && token.text.size() > 1);
}

// At one of the names of the special values, which the lexer takes for identifiers.
bool QVR_fileFormat::AtSpecialNumber() const {
  return token.type == kTokenIdentifier &&
         (token.text == "NA" || token.text == "ILLEGAL" || token.text == "UNDEF");
}

int QVR_fileFormat::NextIsNumber() {
  const int isReal = PeekIsType(kTokenReal);
  return isReal == 0 && (AtNumber() || AtSpecialNumber()) ? 1 : isReal;
}

int QVR_fileFormat::ReadNumber(double& out) {
  const int isNumber = NextIsNumber();
  if (isNumber != 1) {
    return isNumber < 0 ? isNumber : QVR_SYNTAX_ERROR;
  }
  std::string text(token.text);
  const bool isUndefined = text == "UNDEF";
  if (isUndefined) {
    text += '.';
  }
  if (TextToDouble(text.c_str(), out) < 0) {
    return QVR_SYNTAX_ERROR;
  }
  Consume();
  return isUndefined ? TryExpect(kTokenDot, ".") : QVR_OKAY;
}

int QVR_fileFormat::TryExpect(int type, const char* text) {
  const int status = Peek();
  if (status < 0) {
    return status;
  }
  const bool isPunctuator = type == kTokenPunctuator && text != nullptr && token.type != kTokenString;
  if ((token.type == type || isPunctuator) && (text == nullptr || PeekIs(text))) {
    Consume();
    return QVR_OKAY;
  }
  return QVR_SYNTAX_ERROR;
}

int QVR_fileFormat::Expect(int type, const char* text) {
  errorText.clear();
  if (lexer == nullptr) {
    errorText = "ERROR: Unable to parse file";
    return GetErrorLog().Log(QVR_SYNTAX_ERROR, errorText);
  }
  return ReportMismatch(TryExpect(type, text), type, text);
}

// Whatever went wrong with reading this. What the lexer found wrong has been logged.
int QVR_fileFormat::ReportMismatch(int status, int type, const char* text) {
  const std::string expected = DescribeExpected(type, text);
  if (status == QVR_NO_MORE_TOKENS) {
    errorText =
        expected.empty() ? "ERROR: Unexpected End of File" : "ERROR: End of File : Expecting " + expected;
    return Report(QVR_SYNTAX_ERROR, errorText);
  }
  if (status == QVR_SYNTAX_ERROR) {
    errorText = "ERROR: '" + std::string(token.text) +
                "' : " + (expected.empty() ? "Unexpected" : expected + " expected");
    return Report(QVR_SYNTAX_ERROR, errorText);
  }
  return status;
}

int QVR_fileFormat::ExpectIdentifier(std::string& out) {
  return ReportMismatch(ReadIdentifier(out), kTokenIdentifier, nullptr);
}

int QVR_fileFormat::ExpectString(std::string& out) {
  return ReportMismatch(ReadString(out), kTokenString, nullptr);
}

int QVR_fileFormat::ExpectStringField(std::string& out) {
  Consume();
  const int status = Expect(kTokenPunctuator, "=");
  return status < 0 ? status : ExpectString(out);
}

int QVR_fileFormat::ExpectNumber(double& out) { return ReportMismatch(ReadNumber(out), kTokenReal, nullptr); }

int QVR_fileFormat::ExpectInt(int& out) { return ReportMismatch(ReadInt(out), kTokenInteger, nullptr); }

int QVR_fileFormat::ReadList(const std::function<int()>& readItem) {
  if (const int status = Expect(kTokenPunctuator, "("); status < 0) {
    return status;
  }
  bool goesOn = NextIsPunctuator(")") != 1;
  while (goesOn) {
    if (const int status = readItem(); status < 0) {
      return status;
    }
    goesOn = commaSeparated ? TryExpect(kTokenPunctuator, ",") == QVR_OKAY : NextIsPunctuator(")") != 1;
  }
  return Expect(kTokenPunctuator, ")");
}

int QVR_fileFormat::ReadTextList(QVR_stringArray& list, int (QVR_fileFormat::*readItem)(std::string&)) {
  if (!list.IsReady()) {
    return QVR_OBJECT_NOT_READY;
  }
  list.Flush();
  std::string item;
  const int status = ReadList([&] {
    const int result = (this->*readItem)(item);
    return result < 0 ? result : list.Add(item.c_str());
  });
  if (status < 0) {
    list.Flush();
  }
  return status;
}

int QVR_fileFormat::ReadIdentifierList(QVR_stringArray& list) {
  return ReadTextList(list, &QVR_fileFormat::ExpectIdentifier);
}

int QVR_fileFormat::ReadStringList(QVR_stringArray& list) {
  return ReadTextList(list, &QVR_fileFormat::ExpectString);
}

template <typename T>
int QVR_fileFormat::ReadNumberList(NumberArray<T>& list, int (QVR_fileFormat::*readItem)(T&)) {
  list.CleanUp();
  T item{};
  const int status = ReadList([&] {
    const int result = (this->*readItem)(item);
    return result < 0 ? result : list.Add(item);
  });
  if (status < 0) {
    list.CleanUp();
  }
  return status;
}

int QVR_fileFormat::ReadDoubleList(QVR_doubleArray& list) {
  return ReadNumberList(list, &QVR_fileFormat::ExpectNumber);
}

int QVR_fileFormat::ReadIntList(QVR_intArray& list) {
  return ReadNumberList(list, &QVR_fileFormat::ExpectInt);
}

int QVR_fileFormat::ReadLooseNumbers(QVR_doubleArray& list) {
  list.CleanUp();
  int status = QVR_OKAY;
  while (status == QVR_OKAY && !AtBlockEnd() && NextIsPunctuator(";") == 0) {
    double number = 0;
    if (NextIsNumber() != 1) {
      Consume();
      continue;
    }
    status = ExpectNumber(number);
    status = status < 0 ? status : list.Add(number);
  }
  if (status < 0) {
    list.CleanUp();
  }
  return status;
}

int QVR_fileFormat::ReadField(const char* name, int tokenType) {
  const int isName = NextIsKeyword(name);
  if (isName != 1) {
    return isName < 0 ? isName : QVR_WRONG_FIELD;
  }
  Consume();
  if (const int status = Expect(kTokenPunctuator, "="); status < 0) {
    return status;
  }
  const int isThere = tokenType == kTokenIdentifier ? NextIsIdentifier()
                      : tokenType == kTokenReal     ? NextIsNumber()
                                                    : PeekIsType(tokenType);
  if (isThere == 1) {
    return QVR_OKAY;
  }
  return ReportMismatch(isThere < 0 ? isThere : QVR_SYNTAX_ERROR, tokenType, nullptr);
}

int QVR_fileFormat::ReadIntField(const char* name, int& value) {
  const int status = ReadField(name, kTokenInteger);
  return status < 0 ? status : ExpectInt(value);
}

int QVR_fileFormat::ReadBoolField(const char* name, bool& value) {
  if (const int status = ReadField(name, kTokenIdentifier); status < 0) {
    return status;
  }
  Peek();
  const bool isTrue = PeekIs("TRUE");
  if (!isTrue && !PeekIs("FALSE")) {
    return Report(QVR_SYNTAX_ERROR, "ERROR: (\"" + std::string(token.text) + "\") : int Expected");
  }
  value = isTrue;
  Consume();
  return QVR_OKAY;
}

int QVR_fileFormat::ReadBlockEnd() { return Expect(kTokenPunctuator, "}"); }

bool QVR_fileFormat::AtFileEnd() {
  int status = Peek();
  while (status == QVR_LEXICAL_ERROR) {
    status = Peek();
  }
  return status < 0;
}

bool QVR_fileFormat::AtBlockEnd() {
  return AtFileEnd() || (token.type == kTokenPunctuator && token.text == "}");
}

// Walks to where `stop` says true with the number of open braces; that token is left.
int QVR_fileFormat::SkipTo(const std::function<bool(long long)>& stop) {
  long long depth = 0;
  for (;;) {
    const int status = Peek();
    if (EndsReading(status)) {
      return status == QVR_NO_MORE_TOKENS ? GetErrorLog().Log(status, nullptr) : status;
    }
    if (status == QVR_OKAY && token.type == kTokenPunctuator) {
      if (stop(depth)) {
        return QVR_OKAY;
      }
      depth += token.text == "{" ? 1 : 0;
      depth -= token.text == "}" ? 1 : 0;
    }
    Consume();
  }
}

int QVR_fileFormat::SkipBlock() {
  return SkipTo([this](long long depth) { return depth == 0 && (token.text == ";" || token.text == "}"); });
}

void QVR_fileFormat::SkipToBlockEnd() {
  while (SkipBlock() == QVR_OKAY && TryExpect(kTokenPunctuator, ";") == QVR_OKAY) {
  }
}

int QVR_fileFormat::SkipBracedSection() {
  const int status = SkipTo([this](long long depth) {
    return (depth == 0 && token.text == ";") || (depth <= 1 && token.text == "}");
  });
  if (status == QVR_OKAY) {
    Consume();
  }
  return status;
}

void QVR_fileFormat::ReadStatements(const std::function<int()>& readStatement) {
  while (!AtBlockEnd()) {
    const long long before = lexer->GetProgress();
    const int status = readStatement();
    if (status < 0) {
      SkipBlock();
    }
    if (status == kEndsInBlock) {
      TryExpect(kTokenPunctuator, ";");
    } else if (Expect(kTokenPunctuator, ";") < 0) {
      SkipBlock();
      TryExpect(kTokenPunctuator, ";");
    }
    if (lexer->GetProgress() == before) {
      Consume();
    }
  }
}

void QVR_fileFormat::ReadDocument(const std::function<int()>& readSection) {
  while (!AtFileEnd()) {
    const long long before = lexer->GetProgress();
    if (TryExpect(kTokenPunctuator, "}") < 0 && readSection() < 0) {
      SkipSection();
    }
    TryExpect(kTokenPunctuator, ";");
    if (lexer->GetProgress() == before) {
      Consume();
    }
  }
}

}  // namespace qvr
