// The one log of failures, shared by all networks of the process and safe to use from any thread.
#ifndef QVR_MODEL_ERROR_LOG_H
#define QVR_MODEL_ERROR_LOG_H

#include <mutex>
#include <string>

#include "model/number_array.h"
#include "model/string_array.h"

namespace qvr {

// Takes messages in place of the log's lists. What it logs itself while it is called goes to the lists.
class IErrorRedirect {
 public:
  virtual ~IErrorRedirect() = default;
  virtual void LogMessage(int code, const char* text) = 0;
};

class QVR_errorLog {
 public:
  QVR_errorLog() = default;
  ~QVR_errorLog();
  QVR_errorLog(const QVR_errorLog&) = delete;
  QVR_errorLog& operator=(const QVR_errorLog&) = delete;

  // Stores prefix and text joined, or ErrorText(code) for a null text; a code of 0 does nothing.
  // Returns the code, so that a failing operation can end with it.
  int Log(int code, const char* text, const char* prefix = nullptr);
  int Log(int code, const std::string& text) { return Log(code, text.c_str()); }

  // Null returns to the lists. With `newOwned` 1 the log destroys the handler when it is replaced or
  // at the end of the program.
  void SetHandler(IErrorRedirect* newHandler, int newOwned);

  [[nodiscard]] int GetCount() const;
  // Null and 0 for a bad index. The text stays valid until Clear.
  [[nodiscard]] const char* GetMessage(int i) const;
  [[nodiscard]] int GetCode(int i) const;
  void Clear();

 private:
  mutable std::recursive_mutex mutex;  // a handler may log while it is called
  void Append(int code, const char* text);
  void CallHandler(int code, const char* text);

  QVR_stringArray messages;
  QVR_intArray codes;
  IErrorRedirect* handler = nullptr;
  char ownsHandler = 0;
  bool inHandler = false;
};

[[nodiscard]] QVR_errorLog& GetErrorLog();
// The standard text of a code; "UNKNOWN ERROR CODE" for one that has none.
[[nodiscard]] const char* ErrorText(int code);

}  // namespace qvr

#endif
