#include "model/error_log.h"

#include <memory>
#include <new>

#include "model/status.h"

namespace qvr {
namespace {

// Holds a flag up for the length of a scope.
class RaisedFlag {
 public:
  explicit RaisedFlag(bool& newFlag) : flag(newFlag) { flag = true; }
  RaisedFlag(const RaisedFlag&) = delete;
  RaisedFlag& operator=(const RaisedFlag&) = delete;
  ~RaisedFlag() { flag = false; }

 private:
  bool& flag;
};

}  // namespace

QVR_errorLog& GetErrorLog() {
  static QVR_errorLog log;
  return log;
}

// Only the codes meant for users have a text of their own; those raised with a text of the caller share
// the one of success.
const char* ErrorText(int code) {
  switch (code) {
    case QVR_OKAY:
    case QVR_GENERAL_ERROR:
    case QVR_ERROR_3:
    case QVR_WRONG_SIZE:
    case QVR_NO_SAMPLES:
    case QVR_HAS_CHILDREN:
    case QVR_FILE_ERROR_100:
    case QVR_FILE_ERROR_101:
    case QVR_FILE_ERROR_102:
    case QVR_SYNTAX_ERROR:
    case QVR_OBJECT_NOT_READY:
    case QVR_INCONSISTENT:
      return "NO ERROR";
    case QVR_OUT_OF_RANGE:
      return "OUT OF RANGE";
    case QVR_ILLEGAL_IDENTIFIER:
      return "ILLEGAL IDENTIFIER";
    case QVR_DUPLICATED_IDENTIFIER:
      return "DUPLICATED IDENTIFIER";
    case QVR_OUT_OF_MEMORY:
      return "OUT OF MEMORY";
    case QVR_WRONG_NODE_TYPE:
      return "WRONG NODE TYPE";
    case QVR_FILE_IO_FAILED:
      return "FILE I/O FAILED";
    case QVR_NO_MORE_TOKENS:
      return "NO MORE TOKENS";
    case QVR_LEXICAL_ERROR:
      return "LEXICAL ERROR. CHARACTER UNKNOWN";
    case QVR_UNEXPECTED_EOF:
      return "UNEXPECTED END OF FILE";
    default:
      return "UNKNOWN ERROR CODE";
  }
}

QVR_errorLog::~QVR_errorLog() { SetHandler(nullptr, 0); }

int QVR_errorLog::Log(int code, const char* text, const char* prefix) {
  if (code == QVR_OKAY) {
    return QVR_OKAY;
  }
  const char* whole = text != nullptr ? text : ErrorText(code);
  std::string joined;
  if (prefix != nullptr) {
    try {
      joined.append(prefix).append(whole);
    } catch (const std::bad_alloc&) {
      return code;  // the entry is lost, the failure isn't
    }
    whole = joined.c_str();
  }
  const std::lock_guard<std::recursive_mutex> lock(mutex);
  if (handler != nullptr && !inHandler) {
    CallHandler(code, whole);
  } else {
    Append(code, whole);
  }
  return code;
}

void QVR_errorLog::CallHandler(int code, const char* text) {
  const RaisedFlag raised(inHandler);
  handler->LogMessage(code, text);
}

void QVR_errorLog::Append(int code, const char* text) {
  if (codes.Add(code) == QVR_OKAY && messages.Add(text) < 0) {
    codes.Delete(codes.GetNumItems() - 1);
  }
}

void QVR_errorLog::SetHandler(IErrorRedirect* newHandler, int newOwned) {
  const std::lock_guard<std::recursive_mutex> lock(mutex);
  const std::unique_ptr<IErrorRedirect> former(ownsHandler != 0 && handler != newHandler ? handler : nullptr);
  handler = newHandler;
  ownsHandler = newHandler != nullptr && newOwned != 0 ? 1 : 0;
}

int QVR_errorLog::GetCount() const {
  const std::lock_guard<std::recursive_mutex> lock(mutex);
  return codes.GetNumItems();
}

const char* QVR_errorLog::GetMessage(int i) const {
  const std::lock_guard<std::recursive_mutex> lock(mutex);
  return i < codes.GetNumItems() ? messages.Get(i) : nullptr;
}

int QVR_errorLog::GetCode(int i) const {
  const std::lock_guard<std::recursive_mutex> lock(mutex);
  return i >= 0 && i < codes.GetNumItems() ? codes[i] : 0;
}

void QVR_errorLog::Clear() {
  const std::lock_guard<std::recursive_mutex> lock(mutex);
  messages.CleanUp(0);
  codes.CleanUp();
}

}  // namespace qvr
