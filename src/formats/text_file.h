// Text files: read by whole lines, written with indentation and broken where lines get too long.
#ifndef QVR_FORMATS_TEXT_FILE_H
#define QVR_FORMATS_TEXT_FILE_H

#include <cstddef>
#include <cstdio>
#include <memory>
#include <string>
#include <string_view>

#include "model/object.h"
#include "model/status.h"

namespace qvr {

class AtomicFile;

// Kept as codes, because callers hand them through.
inline constexpr int kOpenForReading = QVR_FILE_ERROR_100;
inline constexpr int kOpenForWriting = QVR_FILE_ERROR_101;

// What a line that begins within the text of one write call begins with.
enum WriteMode : int { kWritePlain = 1, kWriteIndented = 2 };

// A file written here stands under its name only after a successful Close: see AtomicFile.
class QVR_textFile : public QVR_object {
 public:
  static constexpr int kMaxLineLength = 1019;

  QVR_textFile();
  ~QVR_textFile() override;
  QVR_textFile(const QVR_textFile&) = delete;
  QVR_textFile& operator=(const QVR_textFile&) = delete;

  // -103, logged as "OPEN FILE FAILED".
  int Open(const char* fileName, int mode);
  // -103 if nothing is open, or if anything wasn't written, in which case an older file stays as it was.
  int Close();
  // A line with its line feed, which only the last may lack; a carriage return before it is dropped. -102 at
  // the end of the file, -103 for an error.
  int ReadLine(std::string& line);

  int Indent();                            // -2 when the indentation would leave no room on the longest line
  int Outdent();                           // -2 at level 0
  int SetIndentWidth(int newWidth);        // -2 unless 0 to lineLength - 1
  int SetLineLength(int newLength);        // -2 if negative or not above the indentation's width
  void SetContinuation(const char* text);  // null for none

  // A line that gets longer than lineLength is broken behind its last blank. Without a continuation that is
  // one outside double quotes, and a line that has none grows. With one, which goes to the end of every
  // broken line, the text is the inside of a quoted string: it may be broken anywhere but within an escape,
  // and a continued line that would begin with white space begins with a backslash and a bar. -103 from the
  // first failure of the file on.
  int Write(std::string_view text, WriteMode mode);
  int WriteIndented(std::string_view text, WriteMode mode);  // with the indentation first
  int WriteRaw(std::string_view text, WriteMode mode);       // breaks no lines

  [[nodiscard]] int GetStatus() const { return status; }
  [[nodiscard]] int GetLineCount() const { return lineCount; }  // lines read so far
  [[nodiscard]] int GetLineLength() const { return lineLength; }
  [[nodiscard]] int GetColumn() const { return static_cast<int>(lineBuffer.size()); }

 private:
  struct CloseFile {
    void operator()(std::FILE* opened) const { std::fclose(opened); }
  };

  [[nodiscard]] bool IsLiteral() const { return !continuation.empty(); }
  // Begins and ends the lines; `write` puts what stands between.
  template <typename WriteCharacter>
  int WriteLines(std::string_view text, WriteMode mode, WriteCharacter write);
  void Put(char c);
  void TrackQuotes(char c);
  void BreakLine(WriteMode mode);
  [[nodiscard]] std::size_t FindBreak() const;
  [[nodiscard]] std::size_t FindBreakInLiteral() const;
  void FlushLine();
  void StartLine(WriteMode mode);

  std::unique_ptr<std::FILE, CloseFile> file;  // while reading
  std::unique_ptr<AtomicFile> output;          // while writing
  int status = QVR_FILE_IO_FAILED;             // of the last operation
  int lineCount = 0;
  int lineLength = 70;
  int indentLevel = 0;
  int indentWidth = 1;
  std::string lineBuffer;  // the output line being built
  std::string continuation;

  std::size_t textStart = 0;     // of the line, behind its indentation
  std::size_t literalStart = 0;  // where the literal begins in the line; only while there's a continuation
  std::size_t lastBlank = 0;     // the place behind the last blank at which the line may be broken, or 0
  bool quoted = false;           // inside double quotes
  bool escaping = false;         // behind a backslash that waits for its character
};

}  // namespace qvr

#endif
