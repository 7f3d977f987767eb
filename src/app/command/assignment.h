// Arguments of the form NAME=VALUE.
#ifndef QVR_APP_COMMAND_ASSIGNMENT_H
#define QVR_APP_COMMAND_ASSIGNMENT_H

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace qvr {

struct Assignment {
  std::string name;
  std::string value;
};

// In the engine's text. Nothing unless there is something on both sides of the first "=".
[[nodiscard]] std::optional<Assignment> SplitAssignment(std::string_view argument);
// Nothing unless the whole text is one finite number.
[[nodiscard]] std::optional<double> ParseNumber(const std::string& text);
// Numbers between commas. Nothing if one isn't.
[[nodiscard]] std::optional<std::vector<double>> ParseNumbers(std::string_view text);

}  // namespace qvr

#endif
