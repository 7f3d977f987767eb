// The base of all speakers: objects that read and write one file format. It holds what the text formats are
// built from: readers of tokens and lists, writers of fields and blocks.
#ifndef QVR_FORMATS_FILE_FORMAT_H
#define QVR_FORMATS_FILE_FORMAT_H

#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "formats/lexer.h"
#include "formats/text_file.h"
#include "model/number_array.h"
#include "model/object.h"
#include "model/string_array.h"

namespace qvr {

class IXmlBinding;
class IXmlWriterExtension;
class QVR_network;

// A speaker serves one network and one file.
//
// Readers return 0 or a code: -2 without a lexer, -111 at the end of the file, -127 for a token that isn't
// what it should be, -129 for the wrong field, -567 for a target that isn't ready, and the codes of the
// lexer, which has logged them. Lists are emptied first, and empty after a failure.
// Writers of fields do nothing for a null name. They return the text file's status, which the final
// QVR_textFile::Close sums up.
class QVR_fileFormat : public QVR_object {
 public:
  explicit QVR_fileFormat(QVR_network& newNetwork) : network(newNetwork) { SetReady(true); }
  QVR_fileFormat(const QVR_fileFormat&) = delete;
  QVR_fileFormat& operator=(const QVR_fileFormat&) = delete;

  // Fills the network, which the caller has emptied. A failure has been logged; what was read before it
  // stays.
  [[nodiscard]] virtual int ReadFile(const char* fileName) = 0;
  // Writes the network. The file is replaced when all is written: -103 leaves an old one as it was.
  [[nodiscard]] virtual int WriteFile(const char* fileName) = 0;
  // True if the speaker itself refuses identifiers that occur twice: the network needn't.
  [[nodiscard]] virtual bool AcceptsDuplicateIds() const { return false; }
  // True if no file of the format can state a cycle: the network needn't look for one.
  [[nodiscard]] virtual bool VouchesForGraph() const { return false; }
  // What reads or writes the front-end's extensions, for formats that have them.
  virtual void SetExtension(IXmlBinding* /*newExtension*/) {}
  virtual void SetExtension(IXmlWriterExtension* /*newExtension*/) {}

  // --- reading: file_format_read.cpp
  // To the ";" or "}" that ends the present statement, which is left. -111 and the like, logged.
  virtual int SkipBlock();
  // The same for a statement of the document.
  virtual int SkipSection() { return SkipBlock(); }
  virtual int ReadIdentifierList(QVR_stringArray& list);
  virtual int ReadStringList(QVR_stringArray& list);
  virtual int ReadDoubleList(QVR_doubleArray& list);
  virtual int ReadIntList(QVR_intArray& list);
  // --- writing: file_format_write.cpp. A `flag` of 0 takes the list's items, any other the whole vector.
  virtual int WriteIdentifierListField(const char* name, const QVR_stringArray& list, int flag);
  virtual int WriteIdentifierList(const QVR_stringArray& list, int flag);
  virtual int WriteStringListField(const char* name, const QVR_stringArray& list, int flag);
  virtual int WriteStringList(const QVR_stringArray& list, int flag);
  virtual int WriteDoubleListField(const char* name, const QVR_doubleArray& list, int flag);
  virtual int WriteDoubleList(const QVR_doubleArray& list, int flag);
  virtual int WriteIntListField(const char* name, const QVR_intArray& list, int flag);
  virtual int WriteIntList(const QVR_intArray& list, int flag);
  // --- fields. Reading consumes the name and "=" and looks at the value, which must have the type.
  virtual int ReadField(const char* name, int tokenType);
  virtual int ReadIntField(const char* name, int& value);
  virtual int ReadBoolField(const char* name, bool& value);  // "TRUE" or "FALSE"
  virtual int WriteStringField(const char* name, const char* text, bool isQuoted, bool isEscaped);
  virtual int WriteIntField(const char* name, int value);
  virtual int WriteBoolField(const char* name, bool value);
  virtual int WriteQuotedField(const char* name, const char* text);
  // --- blocks
  virtual int ReadBlockHeader(const char* /*name*/) { return QVR_OKAY; }
  virtual int ReadBlockEnd();
  virtual int WriteBlockHeader(const char* /*name*/) { return QVR_OKAY; }
  virtual int WriteBlockEnd();
  // Whether "}" or the end of what can be read is next, unknown characters passed over.
  virtual bool AtBlockEnd();
  // Logs the message under the code, with the lexer's line in front. Returns the code; 0 does nothing.
  virtual int Report(int code, const std::string& message);
  // Bracket the inside of a quoted string, so that long ones can go over several lines.
  virtual int BeginLiteral() { return QVR_OKAY; }
  virtual int EndLiteral() { return QVR_OKAY; }

 protected:
  // --- tokens. None of these consumes what isn't right, and only Expect reports.
  int StartReading(const char* fileName, int lexerTable);
  int Peek();  // fills `token`
  void Consume() { lexer->Consume(); }
  [[nodiscard]] bool PeekIs(std::string_view text) const;
  int ReadNumber(double& out);  // also one of the special values by name
  int ReadInt(int& out);        // as far as its digits go; -127 outside 32 bits
  int ReadString(std::string& out);
  int ReadIdentifier(std::string& out);  // may begin with one "_"
  int ReadWord(std::string& out);        // an identifier, number or string as it stands; reports
  // 1, 0, or -111 where no token can be read.
  int NextIsComma() { return NextIsPunctuator(","); }
  int NextIsOpenParen() { return NextIsPunctuator("("); }
  int NextIsNumber();
  int NextIsIdentifier();
  int NextIsInteger();
  int NextIsString();
  int NextIsKeyword(const char* text);
  int NextIsOneOf(const char* const* list);  // ends with a null
  int NextIsPunctuator(const char* text);
  // Consumes a token of the type and, unless null, with the text. A punctuator may have any type but that of
  // a string: the lexer has types of their own for "=" and "/".
  int TryExpect(int type, const char* text);
  int Expect(int type, const char* text);  // -127, reported
  // Reads one, or reports what stands in its place.
  int ExpectIdentifier(std::string& out);
  int ExpectString(std::string& out);
  int ExpectStringField(std::string& out);  // consumes the name first, and "="
  int ExpectNumber(double& out);
  int ExpectInt(int& out);
  // All numbers up to the ";" or the block's end, whatever stands between them. Reports.
  int ReadLooseNumbers(QVR_doubleArray& list);
  [[nodiscard]] virtual int GetLine() const;  // that Report names: the lexer's, or 0
  int ReportAt(int line, int code, const std::string& message);
  int ReportUnknown(const char* message);  // "ERROR: '<token>' : <message>" under -127

  // --- loops that always make progress, whatever stands in the file
  bool AtFileEnd();  // or at the end of what can be read; passes over unknown characters
  // Statements up to the end of the block, which is left. A statement that fails is skipped; the ";" is this
  // loop's business.
  // A statement that ends in a block, and says so, needs no ";".
  static constexpr int kEndsInBlock = 1;
  void ReadStatements(const std::function<int()>& readStatement);
  // The same to the end of the file: skips by SkipSection, and needs no ";".
  void ReadDocument(const std::function<int()>& readSection);
  // To the "}" of the present block, past all ";", or to the end of the file.
  void SkipToBlockEnd();
  // Consumes a statement that ends in a block: up to the "}" of its first "{", or to a ";" before that.
  int SkipBracedSection();

  // --- writing
  int StartWriting(const char* fileName) { return textFile.Open(fileName, kOpenForWriting); }
  int Write(std::string_view text) { return textFile.Write(text, kWriteIndented); }
  int WriteIndented(std::string_view text) { return textFile.WriteIndented(text, kWriteIndented); }
  // The head on a line of its own, and "{" one level in; what follows is one more level in.
  int OpenBlock(std::string_view head);
  int CloseBlock(std::string_view text);                                      // the reverse, with "}" or "};"
  int WriteField(const char* name, const std::function<void()>& writeValue);  // " = " and ";" are its own
  int WriteQuoted(std::string_view text);
  int WriteBetweenQuotes(std::string_view content);  // which is escaped already
  // What of a field's text is written: no more than 10,210 bytes.
  [[nodiscard]] static std::string_view CutText(const char* text);
  [[nodiscard]] virtual std::string EscapeText(std::string_view text) const;
  // As DoubleToText, with the illegal value for what isn't finite, which couldn't be read back.
  [[nodiscard]] static std::string NumberToText(double value);

  QVR_textFile textFile;  // the output
  QVR_network& network;
  std::unique_ptr<QVR_lexicalAnalizer> lexer;  // null outside a read
  QVR_token token;                             // last peeked
  std::string errorText;                       // of the last Expect that failed
  bool caseSensitive = true;                   // how keywords are compared
  bool commaSeparated = true;                  // lists; else their items are separated by blanks

 private:
  [[nodiscard]] bool AtNumber() const;
  [[nodiscard]] bool AtSpecialNumber() const;
  int ReportMismatch(int status, int type, const char* text);
  int SkipTo(const std::function<bool(long long)>& stop);
  int PeekIsType(int type);
  // Reads "(", items separated by ",", and ")". `readItem` reports.
  int ReadList(const std::function<int()>& readItem);
  int ReadTextList(QVR_stringArray& list, int (QVR_fileFormat::*readItem)(std::string&));
  template <typename T>
  int ReadNumberList(NumberArray<T>& list, int (QVR_fileFormat::*readItem)(T&));
  int WriteList(int count, const std::function<void(int)>& writeItem);

  int reportCount = 0;
};

}  // namespace qvr

#endif
