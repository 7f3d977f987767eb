// Reads what one test leaves in the error log, which all networks of the process share.
#ifndef QVR_SUPPORT_LOG_GUARD_H
#define QVR_SUPPORT_LOG_GUARD_H

#include <string>
#include <vector>

#include "model/error_log.h"

namespace qvr {

// Starts with an empty log, and leaves an empty one behind.
class LogGuard {
 public:
  LogGuard() { GetErrorLog().Clear(); }
  ~LogGuard() { GetErrorLog().Clear(); }
  LogGuard(const LogGuard&) = delete;
  LogGuard& operator=(const LogGuard&) = delete;

  [[nodiscard]] static std::vector<std::string> Messages() {
    std::vector<std::string> messages;
    for (int i = 0; i < GetErrorLog().GetCount(); ++i) {
      messages.emplace_back(GetErrorLog().GetMessage(i));
    }
    return messages;
  }
  [[nodiscard]] static std::vector<std::string> Messages(int code) {
    std::vector<std::string> messages;
    for (int i = 0; i < GetErrorLog().GetCount(); ++i) {
      if (GetErrorLog().GetCode(i) == code) {
        messages.emplace_back(GetErrorLog().GetMessage(i));
      }
    }
    return messages;
  }
};

}  // namespace qvr

#endif
