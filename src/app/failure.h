// What ends a run.
#ifndef QVR_APP_FAILURE_H
#define QVR_APP_FAILURE_H

#include <optional>
#include <string>

namespace qvr {

// What ended a run, as one line for the user; nothing on success.
using Failure = std::optional<std::string>;

// Texts from files may hold line ends and other control characters, which become "?".
[[nodiscard]] std::string OneLine(std::string text);

}  // namespace qvr

#endif
